#ifndef FWVET_APP_LUMO_CONTEXT_H
#define FWVET_APP_LUMO_CONTEXT_H

#include "app/checked_file.h"
#include "verify/lumo.h"

/// A verify context that is released with its owner.
class LumoContext {
 public:
  LumoContext() = default;
  ~LumoContext() {
    if (ctx_ != nullptr) (void)lumo_vrf_ctx_free(ctx_);
  }
  LumoContext(const LumoContext&) = delete;
  LumoContext& operator=(const LumoContext&) = delete;

  /// Creates the context, once; the status of lumo_verify_create_ctx.
  LUMO_ERROR_CODE Create(const LUMO_CTX_CREATE_PARAMS& params) {
    return lumo_verify_create_ctx(&ctx_, &params);
  }
  /// The handle, null before a successful Create.
  [[nodiscard]] LUMO_VRF_CTX get() const { return ctx_; }

 private:
  LUMO_VRF_CTX ctx_ = nullptr;
};

/// Zeroes the parameters and fills their callback table with the platform's functions. Returns the status of
/// lumo_set_callback_funcs, 0 for success.
int FillCreateParams(LUMO_CTX_CREATE_PARAMS* params);

/// A new buffer with the kRootCertSize bytes of the compiled-in root certificate; null when it cannot be
/// allocated.
OwnedBytes MakeRootCert();

#endif
