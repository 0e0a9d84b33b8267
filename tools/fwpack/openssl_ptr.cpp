#include "tools/fwpack/openssl_ptr.h"

#include <openssl/err.h>

#include "tools/fwpack/error.h"

namespace fwpack {

std::string TakeOpenSslReasons() {
  std::string reasons;
  for (unsigned long code = ERR_get_error(); code != 0; code = ERR_get_error()) {
    const char* reason = ERR_reason_error_string(code);
    if (reason == nullptr) continue;
    if (!reasons.empty()) reasons += "; ";
    reasons += reason;
  }
  return reasons.empty() ? "no reason given" : reasons;
}

void RequireOpenSsl(bool ok, const std::string& what) {
  if (!ok) throw Error(what + ": " + TakeOpenSslReasons());
}

}  // namespace fwpack
