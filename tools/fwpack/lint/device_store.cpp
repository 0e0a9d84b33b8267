#include "tools/fwpack/lint/device_store.h"

#include "platform/lumo_plt_impl.h"
#include "tools/fwpack/error.h"
#include "verify/lumo_ctx.h"
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

Chain ChainOf(const LUMO_VRF* vrf, const char* whose, const LUMO_PKCS7_SIGNER_INFO& signer) {
  Chain chain{.whose = whose};
  LUMO_X509_CERT* cert = lumo_pki_find_cert_by_issuer_sn(vrf, &signer.issuer_sn.issuer, &signer.issuer_sn.sn);
  // A chain of distinct certificates is no longer than the store.
  while (cert != nullptr && chain.certs.size() <= kListCapacity) {
    chain.certs.push_back(cert);
    TEV_BOOL is_self_signed = 0;
    if (lumo_x509_is_self_signed(vrf, cert, &is_self_signed) != LUMO_OK) break;
    chain.ends_in_root = is_self_signed != 0;
    if (chain.ends_in_root) break;
    cert = _tevFindCertIssuer(vrf, cert);
  }
  return chain;
}

// Takes the room that the text of a PEM signature takes from the first check on.
void TakeRoomOfSignature(const LintInput& input, LUMO_VRF* vrf) {
  if (!input.package.signature || input.package.signature->encoding != Encoding::kPem) return;
  OwnedBytes room(vrf);
  if (lumo_alloc_bytes(vrf, 1, room) != LUMO_OK) throw Error("there is no memory left");
  (void)lumo_keep_raw(vrf, room);
}

}  // namespace

DeviceContext::DeviceContext(const CertView& root) {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof params;
  if (lumo_set_callback_funcs(&params.callback_funcs) != 0 ||
      lumo_verify_create_ctx(&ctx_, &params) != LUMO_OK)
    throw Error("the device's library cannot be started; is there memory left?");
  // A root that the device cannot load is no finding of the package's.
  if (!root.der.empty()) (void)lumo_verify_add_cert(ctx_, OctetsOf(root.der), LengthOf(root.der));
}

DeviceContext::~DeviceContext() {
  (void)lumo_vrf_ctx_free(ctx_);
}

LUMO_ERROR_CODE DeviceContext::AddCrl(std::string_view bytes) const {
  return lumo_verify_add_crl(ctx_, OctetsOf(bytes), LengthOf(bytes));
}

DeviceStore::DeviceStore(const LintInput& input)
    : ctx_(input.root), signature_(ctx_.vrf()), token_(ctx_.vrf()) {
  const PackageView& package = input.package;
  if (package.bundle) bundle_code_ = ctx_.AddCrl(package.bundle->bytes);
  if (package.signature) Load(*package.signature, signature_);
  if (package.token) Load(package.token->message, token_);
  for (const auto& [whose, message] :
       {std::pair{"time stamper", &token_}, std::pair{"signer", &signature_}}) {
    if (!*message || (*message)->signed_data.signer_infos.infos.num == 0) continue;
    chains_.push_back(ChainOf(vrf(), whose, (*message)->signed_data.signer_infos.infos.data[0]));
  }
}

void DeviceStore::Load(const MessageView& view, OwnedMessage& message) const {
  TEV_UINT32 consumed = 0;
  const auto code =
      lumo_pkcs7_decode_signed(vrf(), OctetsOf(view.der), LengthOf(view.der), message.out(), &consumed);
  if (code == LUMO_OK) (void)_tevAddCertToStore(vrf(), &message->signed_data.certificates, 0);
}

DeviceBundle::DeviceBundle(const CertView& root, std::string_view bytes) : ctx_(root) {
  (void)lumo_decode_crl(ctx_.vrf(), OctetsOf(bytes), LengthOf(bytes), &info_);
}

DeviceBundle::~DeviceBundle() {
  if (info_ != nullptr) (void)lumo_crl_free(ctx_.vrf(), info_);
}

LUMO_CRL_PERIOD_STAT DeviceBundle::CompareWith(const DeviceBundle& stored) const {
  // As the device does: what cannot be decoded counts as worse than the other, or as not comparable.
  if (info_ == nullptr) return SCPS_MIX;
  if (stored.info_ == nullptr) return SCPS_NEW;
  LUMO_CRL_PERIOD_STAT stat = SCPS_MIX;
  (void)lumo_crl_compare(stored.ctx_.vrf(), info_, stored.info_, &stat);
  return stat;
}

bool DeviceCrlIsCrowdedOut(const LintInput& input) {
  if (!input.device_crl || !input.package.bundle) return false;
  const DeviceContext alone(input.root);
  if (alone.AddCrl(input.device_crl->bytes) != LUMO_OK) return false;
  const DeviceStore store(input);
  if (store.bundle_code() != LUMO_OK) return false;
  TakeRoomOfSignature(input, store.vrf());
  return lumo_verify_add_crl(store.vrf(), OctetsOf(input.device_crl->bytes),
                             LengthOf(input.device_crl->bytes)) != LUMO_OK;
}

std::optional<bool> DeviceFindsSelfSigned(const LUMO_VRF* vrf, const CertView& cert) {
  if (cert.der.empty()) return std::nullopt;
  OwnedCert decoded(vrf);
  TEV_UINT32 consumed = 0;
  if (lumo_x509_decode_cert(vrf, OctetsOf(cert.der), LengthOf(cert.der), decoded.out(), &consumed) != LUMO_OK)
    return std::nullopt;
  TEV_BOOL is_self_signed = 0;
  if (lumo_x509_is_self_signed(vrf, decoded.get(), &is_self_signed) != LUMO_OK) return std::nullopt;
  return is_self_signed != 0;
}

}  // namespace fwpack
