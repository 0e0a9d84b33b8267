#include "fuzz/fuzz_context.h"

#include <cstdlib>

#include "platform/lumo_plt_impl.h"

FuzzContext::FuzzContext() {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof(params);
  lumo_set_callback_funcs(&params.callback_funcs);
  if (lumo_verify_create_ctx(&ctx_, &params) != LUMO_OK) std::abort();
}

FuzzContext::~FuzzContext() {
  lumo_vrf_ctx_free(ctx_);
}
