#ifndef FWVET_TOOLS_FWPACK_KEYS_IDENTITY_H
#define FWVET_TOOLS_FWPACK_KEYS_IDENTITY_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"

// Who signs: a certificate and the private key to it, from wherever release engineers keep them.
namespace fwpack {

/// Where a passphrase or PIN comes from. None of the first two: asked for at the terminal, and when standard
/// input is none, the key is refused with an error that names these ways.
struct PassphraseSource {
  std::optional<std::filesystem::path> file{};  // its first line
  std::optional<std::string> variable{};        // name of an environment variable
};

struct IdentitySource {
  std::string key{};  // a PEM file (encrypted or not), a PKCS #12 file, or a "pkcs11:" URI (RFC 7512)
  std::string
      cert{};  // a file, or a "pkcs11:" URI; empty: the one beside the key in PKCS #12 or in the token
  PassphraseSource passphrase{};
};

struct Identity {
  CertPtr cert{};
  KeyPtr key{};
  std::vector<CertPtr> chain{};  // further certificates of a PKCS #12 file
};

/// Throws Error, naming file and remedy: unreadable or damaged, a wrong or missing passphrase, no RSA key, a
/// certificate that is not the key's, a token without such a key, no PKCS #11 provider or engine on this
/// host.
Identity LoadIdentity(const IdentitySource& source);

}  // namespace fwpack

#endif
