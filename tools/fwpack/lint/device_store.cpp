#include "tools/fwpack/lint/device_store.h"

#include "tools/fwpack/error.h"
#include "verify/lumo_load.h"
#include "verify/lumo_pki_store.h"

namespace fwpack {
namespace {

const TEV_BYTE* OctetsOf(std::string_view bytes) {
  return reinterpret_cast<const TEV_BYTE*>(bytes.data());
}

TEV_UINT32 LengthOf(std::string_view bytes) {
  return static_cast<TEV_UINT32>(bytes.size());
}

void Start(LumoContext& ctx, const CertView& root) {
  LUMO_CTX_CREATE_PARAMS params;
  if (FillCreateParams(&params) != 0 || ctx.Create(params) != LUMO_OK)
    throw Error("the device's library cannot be started; is there memory left?");
  // A root that the device cannot load is no finding of the package's.
  if (!root.der.empty()) (void)lumo_verify_add_cert(ctx.get(), OctetsOf(root.der), LengthOf(root.der));
}

LUMO_ERROR_CODE AddCrl(LUMO_VRF_CTX ctx, std::string_view bytes) {
  return lumo_verify_add_crl(ctx, OctetsOf(bytes), LengthOf(bytes));
}

}  // namespace

DeviceStore::DeviceStore(const LintInput& input)
    : signature_(static_cast<LUMO_VRF*>(nullptr)), token_(static_cast<LUMO_VRF*>(nullptr)) {
  Start(ctx_, input.root);
}

}  // namespace fwpack
