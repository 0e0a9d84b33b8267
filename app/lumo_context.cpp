#include "app/lumo_context.h"

#include "app/root_cert.h"
#include "platform/bounded.h"
#include "platform/lumo_plt_impl.h"

int FillCreateParams(LUMO_CTX_CREATE_PARAMS* params) {
  (void)memset_s(params, sizeof *params, 0, sizeof *params);
  params->st_size = sizeof *params;
  return lumo_set_callback_funcs(&params->callback_funcs);
}

OwnedBytes MakeRootCert() {
  OwnedBytes cert = AllocateBytes(kRootCertSize);
  if (!cert) return cert;
  (void)memset_s(cert.get(), kRootCertSize, 0, kRootCertSize);
  JoinRootCert(cert.get());
  return cert;
}
