#include "tools/fwpack/keys/identity.h"

#include <openssl/err.h>

#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/keys/key_files.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

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

}  // namespace

Identity LoadIdentity(const IdentitySource& source) {
  Identity identity = LoadKeyFile(source.key, source.passphrase);
  RequireRsa(identity, source.key);
  if (!source.cert.empty()) identity.cert = LoadCert(source.cert);
  if (identity.cert == nullptr) {
    throw Error(source.key + ": no certificate beside the key; name the file that holds it");
  }
  RequireCertOfKey(identity, source.cert.empty() ? source.key : source.cert, source.key);
  return identity;
}

}  // namespace fwpack
