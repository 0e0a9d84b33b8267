#ifndef FWVET_TOOLS_FWPACK_KEYS_ENGINE_H
#define FWVET_TOOLS_FWPACK_KEYS_ENGINE_H

#include <memory>
#include <optional>
#include <string>

#include "tools/fwpack/keys/passphrase.h"
#include "tools/fwpack/openssl_ptr.h"

namespace fwpack {

/// OpenSSL's PKCS #11 engine. The interface to engines is deprecated, and nothing but this class knows it.
/// Keys from it keep it alive. All of them must be gone before the program ends, for the library that drives
/// the token may not outlive its own end of the program.
class Pkcs11Engine {
 public:
  /// Starts the engine, with the library at `module_path` if that is given. Throws Error when this host has
  /// no engine or it does not start.
  explicit Pkcs11Engine(const std::optional<std::string>& module_path);

  /// Null when there is no such object, with OpenSSL's reasons left in its error queue. A failure of the
  /// reader is thrown again.
  KeyPtr LoadKey(const std::string& object, PassphraseReader& reader);
  CertPtr LoadCert(const std::string& object, PassphraseReader& reader);

 private:
  std::shared_ptr<void> engine_{};
};

}  // namespace fwpack

#endif
