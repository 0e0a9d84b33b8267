#ifndef FWVET_TOOLS_FWPACK_KEYS_PKCS11_URI_H
#define FWVET_TOOLS_FWPACK_KEYS_PKCS11_URI_H

#include <optional>
#include <string>

#include "tools/fwpack/secret_bytes.h"

// Names of objects in tokens, "pkcs11:token=...;object=...?pin-source=..." (RFC 7512).
namespace fwpack {

/// Whether a key or certificate is named by such a URI rather than by a file. The scheme may be in capitals.
bool IsPkcs11Uri(const std::string& text);

struct Pkcs11Uri {
  std::string object{};                      // all in front of "?" and without any PIN: fit to be shown
  std::optional<std::string> pin_file{};     // of pin-source
  std::optional<SecretBytes> pin{};          // of pin-value
  std::optional<std::string> module_path{};  // the library that drives the token
};

/// Takes a URI apart; a PIN is found where RFC 7512 puts it and where older tools do, among the other
/// attributes. Throws Error for what is no such URI, without showing any PIN: other query attributes, a
/// pin-source that is no file, percent signs that encode nothing, a pin-value in capitals or inside another
/// attribute.
Pkcs11Uri ParsePkcs11Uri(const std::string& text);

/// The URI of the certificate beside a key: the same name with the type of a certificate.
std::string CertificateUri(const std::string& key_object);

}  // namespace fwpack

#endif
