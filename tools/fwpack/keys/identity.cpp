#include "tools/fwpack/keys/identity.h"

#include <openssl/err.h>

#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/keys/key_files.h"
#include "tools/fwpack/keys/pkcs11.h"
#include "tools/fwpack/keys/pkcs11_uri.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

// What messages call a key or certificate: never with the PIN that a URI may hold.
std::string Shown(const std::string& source) {
  return IsPkcs11Uri(source) ? ParsePkcs11Uri(source).object : source;
}

void RequireRsa(const Identity& identity, const std::string& key) {
  if (EVP_PKEY_get_base_id(identity.key.get()) != EVP_PKEY_RSA) {
    throw Error(key + ": is no RSA key; the device verifies no other signatures");
  }
}

void RequireCertOfKey(const Identity& identity, const std::string& cert, const std::string& key) {
  const bool matches = X509_check_private_key(identity.cert.get(), identity.key.get()) == 1;
  ERR_clear_error();
  if (!matches) throw Error(cert + ": the certificate is not that of the key " + key);
}

// The certificate that is named, or else the one beside a token's key; null for another key without a name.
CertPtr LoadNamedCert(const IdentitySource& source) {
  if (source.cert.empty())
    return IsPkcs11Uri(source.key) ? LoadTokenCertBeside(source.key, source.passphrase) : nullptr;
  if (!IsPkcs11Uri(source.cert)) return LoadCert(source.cert);
  CertPtr cert = LoadTokenCert(source.cert, source.passphrase);
  if (cert == nullptr) throw Error(Shown(source.cert) + ": no such certificate in the token");
  return cert;
}

}  // namespace

Identity LoadIdentity(const IdentitySource& source) {
  Identity identity;
  if (IsPkcs11Uri(source.key)) {
    identity.key = LoadTokenKey(source.key, source.passphrase);
  } else {
    identity = LoadKeyFile(source.key, source.passphrase);
  }
  const std::string key = Shown(source.key);
  RequireRsa(identity, key);
  if (CertPtr named = LoadNamedCert(source)) identity.cert = std::move(named);
  if (identity.cert == nullptr)
    throw Error(key + ": no certificate comes with this key; name its file with --signer-cert or --tsa-cert");
  RequireCertOfKey(identity, source.cert.empty() ? key : Shown(source.cert), key);
  return identity;
}

}  // namespace fwpack
