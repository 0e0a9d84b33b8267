#ifndef FWVET_TOOLS_FWPACK_KEYS_PKCS11_H
#define FWVET_TOOLS_FWPACK_KEYS_PKCS11_H

#include <string>

#include "tools/fwpack/keys/identity.h"

// Keys and certificates in tokens, through OpenSSL's PKCS #11 provider where this host has one, else through
// the engine. The library that drives the token is the URI's module-path, else that of the environment
// variable PKCS11_MODULE_PATH, else what the provider or engine is set up with.
namespace fwpack {

/// The private key that a "pkcs11:" URI names; it stays in the token, and signing with it is the token's
/// work. The PIN comes from `pin`, else from the URI, else from the terminal, and only when the token wants
/// one. Throws Error that shows no PIN: no such token or key, a wrong PIN, no provider and no engine.
KeyPtr LoadTokenKey(const std::string& uri, const PassphraseSource& pin);

/// The certificate that a "pkcs11:" URI names, by the same rules; null when the token has none there.
CertPtr LoadTokenCert(const std::string& uri, const PassphraseSource& pin);

/// The same for the certificate beside the key that `key_uri` names.
CertPtr LoadTokenCertBeside(const std::string& key_uri, const PassphraseSource& pin);

}  // namespace fwpack

#endif
