#include "tools/fwpack/keys/pkcs11.h"

#include <openssl/err.h>
#include <openssl/provider.h>

#include <cstdlib>
#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/keys/engine.h"
#include "tools/fwpack/keys/passphrase.h"
#include "tools/fwpack/keys/pkcs11_uri.h"
#include "tools/fwpack/keys/store.h"

namespace fwpack {
namespace {

// One object of a token, with what it takes to get at it.
class TokenObject {
 public:
  TokenObject(const std::string& uri, const PassphraseSource& pin)
      : uri_(ParsePkcs11Uri(uri)), reader_(Pin(pin)) {
    if (uri_.pin && !pin.file && !pin.variable) reader_.Preset(TextOf(*uri_.pin), "the pin-value");
  }

  [[nodiscard]] const Pkcs11Uri& uri() const { return uri_; }
  PassphraseReader& reader() { return reader_; }

 private:
  [[nodiscard]] PassphraseReader Pin(const PassphraseSource& given) const {
    PassphraseSource source = given;
    if (!given.file && !given.variable && uri_.pin_file) source.file = *uri_.pin_file;
    return {source, uri_.object, "PIN"};
  }

  Pkcs11Uri uri_;
  PassphraseReader reader_;
};

// The provider has an environment variable of its own for what the engine calls PKCS11_MODULE_PATH.
void NameModuleToProvider(const std::optional<std::string>& module_path) {
  constexpr char kOfProvider[] = "PKCS11_PROVIDER_MODULE";
  const char* of_engine = std::getenv("PKCS11_MODULE_PATH");
  if (module_path) {
    (void)setenv(kOfProvider, module_path->c_str(), 1);
  } else if (of_engine != nullptr) {
    (void)setenv(kOfProvider, of_engine, 0);
  }
}

// A provider stays loaded until the program ends: keys need it as long as they live.
bool HasProvider(const std::optional<std::string>& module_path) {
  NameModuleToProvider(module_path);
  ERR_set_mark();
  bool loaded = false;
  for (const char* name : {"pkcs11", "pkcs11prov"}) {
    loaded = loaded || OSSL_PROVIDER_available(nullptr, name) == 1 ||
             OSSL_PROVIDER_try_load(nullptr, name, 1) != nullptr;
  }
  ERR_pop_to_mark();
  return loaded;
}

CertPtr FindCert(TokenObject& token, const std::string& object) {
  ERR_clear_error();
  CertPtr cert = HasProvider(token.uri().module_path)
                     ? LoadStoredCert(object, token.reader())
                     : Pkcs11Engine(token.uri().module_path).LoadCert(object, token.reader());
  ERR_clear_error();
  return cert;
}

}  // namespace

KeyPtr LoadTokenKey(const std::string& uri, const PassphraseSource& pin) {
  TokenObject token(uri, pin);
  const std::string& object = token.uri().object;
  ERR_clear_error();
  KeyPtr key = HasProvider(token.uri().module_path)
                   ? LoadStoredKey(object, token.reader())
                   : Pkcs11Engine(token.uri().module_path).LoadKey(object, token.reader());
  if (key != nullptr) return key;
  throw Error(
      object +
      ": no such private key, or a wrong PIN; check the token's and the object's name with pkcs11-tool: " +
      TakeOpenSslReasons());
}

CertPtr LoadTokenCert(const std::string& uri, const PassphraseSource& pin) {
  TokenObject token(uri, pin);
  return FindCert(token, token.uri().object);
}

CertPtr LoadTokenCertBeside(const std::string& key_uri, const PassphraseSource& pin) {
  TokenObject token(key_uri, pin);
  return FindCert(token, CertificateUri(token.uri().object));
}

}  // namespace fwpack
