#include "tools/fwpack/keys/key_files.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>

#include <string_view>
#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/keys/passphrase.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

using Pkcs12Ptr = OpenSslPtr<PKCS12, PKCS12_free>;
using ProviderPtr = OpenSslPtr<OSSL_PROVIDER, OSSL_PROVIDER_unload>;

void FreeCerts(STACK_OF(X509) * certs) {
  sk_X509_pop_free(certs, X509_free);
}
using CertStackPtr = OpenSslPtr<STACK_OF(X509), FreeCerts>;

// Of a file that does not decode. A passphrase that was used is the likely culprit.
[[noreturn]] void FailToDecode(const std::string& file, const PassphraseReader& passphrase,
                               const std::string& otherwise) {
  ERR_clear_error();
  passphrase.RethrowFailure();
  if (passphrase.was_used()) {
    throw Error(file +
                ": the private key cannot be decrypted: the passphrase is wrong or the file is damaged");
  }
  throw Error(file + ": " + otherwise);
}

Identity ParsePem(std::string_view bytes, const std::string& file, const PassphraseSource& source) {
  PassphraseReader passphrase(source, file);
  const BioPtr stream = ReadFrom(bytes);
  ERR_clear_error();
  Identity identity;
  identity.key.reset(PEM_read_bio_PrivateKey(stream.get(), nullptr, FillPassphrase, &passphrase));
  if (identity.key == nullptr) {
    const bool claims_key = bytes.find("PRIVATE KEY-----") != std::string_view::npos;
    FailToDecode(file, passphrase,
                 claims_key ? "holds a private key that is damaged or of an unknown kind"
                            : "holds no private key in PEM");
  }
  ERR_clear_error();
  if (bytes.find("-----BEGIN CERTIFICATE-----") == std::string_view::npos) return identity;
  identity.chain = CertsOf(bytes, file);
  for (auto cert = identity.chain.begin(); cert != identity.chain.end(); ++cert) {
    if (X509_check_private_key(cert->get(), identity.key.get()) != 1) continue;
    identity.cert = std::move(*cert);
    identity.chain.erase(cert);
    break;
  }
  ERR_clear_error();
  return identity;
}

bool IsUnsupported(unsigned long error) {
  const int reason = ERR_GET_REASON(error);
  return reason == ERR_R_UNSUPPORTED || reason == EVP_R_UNSUPPORTED_ALGORITHM ||
         reason == EVP_R_UNKNOWN_PBE_ALGORITHM || reason == EVP_R_UNSUPPORTED_CIPHER;
}

bool TakeErrorsAndTellUnsupported() {
  bool unsupported = false;
  while (const unsigned long error = ERR_get_error()) unsupported = unsupported || IsUnsupported(error);
  return unsupported;
}

// Takes the contents over. False when that fails.
bool Unpack(PKCS12* pkcs12, const char* passphrase, Identity& identity) {
  X509* cert = nullptr;
  EVP_PKEY* key = nullptr;
  STACK_OF(X509)* chain = nullptr;
  ERR_clear_error();
  const bool unpacked = PKCS12_parse(pkcs12, passphrase, &key, &cert, &chain) == 1;
  const CertStackPtr owned(chain);
  identity.key.reset(key);
  identity.cert.reset(cert);
  for (X509* further = sk_X509_shift(chain); further != nullptr; further = sk_X509_shift(chain)) {
    identity.chain.emplace_back(further);
  }
  return unpacked;
}

// With the ciphers that OpenSSL keeps apart by now, where the file wants them, and only while it does.
bool UnpackWithLegacy(PKCS12* pkcs12, const char* passphrase, const std::string& file, Identity& identity) {
  if (Unpack(pkcs12, passphrase, identity)) return true;
  if (!TakeErrorsAndTellUnsupported()) return false;
  const ProviderPtr legacy(OSSL_PROVIDER_try_load(nullptr, "legacy", 1));
  if (legacy == nullptr) {
    ERR_clear_error();
    throw Error(
        file +
        ": is encrypted with ciphers that this OpenSSL keeps in its legacy provider, which is not "
        "installed; install it, or convert the file where it can be read: openssl pkcs12 -legacy, then "
        "openssl pkcs12 -export");
  }
  return Unpack(pkcs12, passphrase, identity);
}

// The MAC tells a wrong passphrase without an attempt to decrypt; a file may lack it.
bool MayOpen(PKCS12* pkcs12, std::string_view passphrase) {
  return PKCS12_mac_present(pkcs12) != 1 ||
         PKCS12_verify_mac(pkcs12, passphrase.data(), static_cast<int>(passphrase.size())) == 1;
}

// None and the empty passphrase are tried first, for many tools make such files.
bool UnpackWithoutPassphrase(PKCS12* pkcs12, const std::string& file, Identity& identity) {
  return (MayOpen(pkcs12, {}) && UnpackWithLegacy(pkcs12, nullptr, file, identity)) ||
         (MayOpen(pkcs12, "") && UnpackWithLegacy(pkcs12, "", file, identity));
}

bool UnpackWithPassphrase(PKCS12* pkcs12, const std::string& file, const PassphraseSource& source,
                          Identity& identity) {
  PassphraseReader reader(source, file);
  const Secret& secret = reader.Get();
  return MayOpen(pkcs12, secret.text()) && UnpackWithLegacy(pkcs12, secret.c_str(), file, identity);
}

Identity ParsePkcs12(std::string_view bytes, const std::string& file, const PassphraseSource& source) {
  ERR_clear_error();
  const BioPtr stream = ReadFrom(bytes);
  const Pkcs12Ptr pkcs12(d2i_PKCS12_bio(stream.get(), nullptr));
  ERR_clear_error();
  if (pkcs12 == nullptr)
    throw Error(file + ": is neither PEM nor PKCS #12; `openssl pkey -inform DER` makes PEM of a key in DER");
  Identity identity;
  const bool unpacked = UnpackWithoutPassphrase(pkcs12.get(), file, identity) ||
                        UnpackWithPassphrase(pkcs12.get(), file, source, identity);
  ERR_clear_error();
  if (!unpacked) throw Error(file + ": cannot be decrypted: the passphrase is wrong or the file is damaged");
  if (identity.key == nullptr) throw Error(file + ": holds no private key");
  return identity;
}

}  // namespace

Identity LoadKeyFile(const std::filesystem::path& file, const PassphraseSource& passphrase) {
  const SecretBytes bytes = ReadSecretFile(file);
  const std::string_view text = TextOf(bytes);
  const bool is_pem = text.find("-----BEGIN ") != std::string_view::npos;
  return is_pem ? ParsePem(text, file.string(), passphrase) : ParsePkcs12(text, file.string(), passphrase);
}

}  // namespace fwpack
