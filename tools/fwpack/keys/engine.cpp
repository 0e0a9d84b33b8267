#include "tools/fwpack/keys/engine.h"

#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/ui.h>

#include "tools/fwpack/error.h"
#include "tools/fwpack/keys/store.h"

namespace fwpack {
namespace {

constexpr char kEngineId[] = "pkcs11";

// What the engine's command LOAD_CERT_CTRL takes and gives.
struct CertRequest {
  const char* object = nullptr;
  X509* cert = nullptr;
};

void ReleaseEngine(ENGINE* engine) {
  (void)ENGINE_finish(engine);
  (void)ENGINE_free(engine);
}

[[noreturn]] void FailToStart(const std::string& what) {
  throw Error("PKCS #11: " + what + ": " + TakeOpenSslReasons());
}

void SetModule(ENGINE* engine, const std::string& module_path) {
  if (ENGINE_ctrl_cmd_string(engine, "MODULE_PATH", module_path.c_str(), 0) == 1) return;
  (void)ENGINE_free(engine);
  FailToStart(module_path + ": cannot be given to OpenSSL's engine");
}

}  // namespace

Pkcs11Engine::Pkcs11Engine(const std::optional<std::string>& module_path) {
  ERR_clear_error();
  ENGINE_load_dynamic();
  ENGINE* engine = ENGINE_by_id(kEngineId);
  if (engine == nullptr) {
    FailToStart(
        "this host has neither a provider nor an engine for OpenSSL; install one, such as the package "
        "libengine-pkcs11-openssl");
  }
  if (module_path) SetModule(engine, *module_path);
  if (ENGINE_init(engine) != 1) {
    (void)ENGINE_free(engine);
    FailToStart("OpenSSL's engine does not start");
  }
  engine_ = std::shared_ptr<ENGINE>(engine, ReleaseEngine);
  (void)ENGINE_ctrl_cmd(engine, "QUIET", 0, nullptr, nullptr, 1);
  ERR_clear_error();
}

KeyPtr Pkcs11Engine::LoadKey(const std::string& object, PassphraseReader& reader) {
  const UiMethodPtr ask = AskReader();
  auto* engine = static_cast<ENGINE*>(engine_.get());
  KeyPtr key(ENGINE_load_private_key(engine, object.c_str(), ask.get(), &reader));
  if (key == nullptr) reader.RethrowFailure();
  return key;
}

CertPtr Pkcs11Engine::LoadCert(const std::string& object, PassphraseReader& reader) {
  const UiMethodPtr ask = AskReader();
  auto* engine = static_cast<ENGINE*>(engine_.get());
  (void)ENGINE_ctrl_cmd(engine, "SET_USER_INTERFACE", 0, ask.get(), nullptr, 1);
  (void)ENGINE_ctrl_cmd(engine, "SET_CALLBACK_DATA", 0, &reader, nullptr, 1);
  CertRequest request{object.c_str(), nullptr};
  (void)ENGINE_ctrl_cmd(engine, "LOAD_CERT_CTRL", 0, &request, nullptr, 0);
  CertPtr cert(request.cert);
  (void)ENGINE_ctrl_cmd(engine, "SET_USER_INTERFACE", 0, nullptr, nullptr, 1);
  (void)ENGINE_ctrl_cmd(engine, "SET_CALLBACK_DATA", 0, nullptr, nullptr, 1);
  if (cert == nullptr) reader.RethrowFailure();
  return cert;
}

}  // namespace fwpack
