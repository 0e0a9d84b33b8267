#ifndef FWVET_TOOLS_FWPACK_KEYS_KEY_FILES_H
#define FWVET_TOOLS_FWPACK_KEYS_KEY_FILES_H

#include <filesystem>

#include "tools/fwpack/keys/identity.h"

// Private keys in files. The key may be of any kind and the certificate of any key: LoadIdentity judges.
namespace fwpack {

/// What a file holds: the private key of a PEM text (encrypted or not, PKCS #8 or the older forms), or that
/// of a PKCS #12 file with its certificate and chain; older ciphers of PKCS #12 included where OpenSSL has
/// its legacy provider. Throws Error that names file and remedy: no or no readable key, a wrong or missing
/// passphrase, ciphers that this OpenSSL lacks.
Identity LoadKeyFile(const std::filesystem::path& file, const PassphraseSource& passphrase);

}  // namespace fwpack

#endif
