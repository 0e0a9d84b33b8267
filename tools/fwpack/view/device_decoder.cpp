#include "tools/fwpack/view/device_decoder.h"

#include <cstdio>

#include "platform/lumo_plt_impl.h"
#include "tools/fwpack/error.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_asn1_def.h"
#include "verify/asn1/lumo_base64.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_pem.h"

namespace fwpack {
namespace {

class Context {
 public:
  Context() {
    LUMO_CTX_CREATE_PARAMS params{};
    params.st_size = sizeof params;
    if (lumo_set_callback_funcs(&params.callback_funcs) != 0 ||
        lumo_verify_create_ctx(&ctx_, &params) != LUMO_OK)
      throw Error("the device's library cannot be started; is there memory left?");
  }
  ~Context() { (void)lumo_vrf_ctx_free(ctx_); }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  [[nodiscard]] LUMO_VRF_CTX handle() const { return ctx_; }
  [[nodiscard]] const LUMO_VRF* get() const { return lumo_vrf_of(ctx_); }

 private:
  LUMO_VRF_CTX ctx_ = nullptr;
};

// One context serves the decoders of single objects: they leave nothing in it.
const LUMO_VRF* Library() {
  static const Context context;
  return context.get();
}

const TEV_BYTE* OctetsOf(std::string_view bytes) {
  return reinterpret_cast<const TEV_BYTE*>(bytes.data());
}

TEV_UINT32 LengthOf(std::string_view bytes) {
  return static_cast<TEV_UINT32>(bytes.size());
}

template <class Owned, auto Decode>
LUMO_ERROR_CODE CodeOf(std::string_view der) {
  if (der.empty()) return LUMO_ERR_PARAM;
  Owned object(Library());
  TEV_UINT32 consumed = 0;
  return Decode(Library(), OctetsOf(der), LengthOf(der), object.out(), &consumed);
}

}  // namespace

LUMO_ERROR_CODE DeviceCertCode(std::string_view der) {
  return CodeOf<OwnedCert, lumo_x509_decode_cert>(der);
}

LUMO_ERROR_CODE DeviceCrlCode(std::string_view der) {
  return CodeOf<OwnedCrl, lumo_x509_decode_crl>(der);
}

LUMO_ERROR_CODE DeviceMessageCode(std::string_view der) {
  return CodeOf<OwnedMessage, lumo_pkcs7_decode_signed>(der);
}

LUMO_ERROR_CODE DeviceBundleCode(std::string_view bytes) {
  const Context fresh;
  return lumo_verify_add_crl(fresh.handle(), OctetsOf(bytes), LengthOf(bytes));
}

std::optional<std::string> DeviceNameText(std::string_view der) {
  if (der.empty()) return std::nullopt;
  using OwnedName = CtxOwned<LUMO_X509_NAME, lumo_free>;
  OwnedName name(Library());
  TEV_UINT32 length = 0;
  if (lumo_decode_as(Library(), OctetsOf(der), LengthOf(der), LUMO_X509_NAME_item, name.out(), &length) !=
      LUMO_OK)
    return std::nullopt;
  OwnedText text(Library());
  if (lumo_convert_from_x509_name(Library(), name.get(), text.out(), &length) != LUMO_OK) return std::nullopt;
  if (length == 0) return std::nullopt;
  return std::string(text.get(), length);
}

std::optional<UtcTime> DeviceTime(std::string_view characters, bool generalized) {
  const LUMO_BER_TAG_CODE code = generalized ? CBT_GENERALIZEDTIME : CBT_UTCTIME;
  const LUMO_ASN_OCTS time{.len = LengthOf(characters),
                           .tag = {.cls = CBC_UNIV, .form = CBF_PRIM, .code = code},
                           .octs = OctetsOf(characters)};
  TEV_TIME_T seconds = 0;
  if (lumo_convert_datetime_to_time(&time, &seconds) != LUMO_OK) return std::nullopt;
  return seconds;
}

std::optional<std::string> DeviceBase64(std::string_view text) {
  OwnedBytes bytes(Library());
  TEV_UINT32 size = 0;
  if (lumo_decode_base64_text(Library(), text.data(), LengthOf(text), bytes, &size) != LUMO_OK)
    return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes.get()), size);
}

std::string DeviceCodeText(LUMO_ERROR_CODE code) {
  char value[16];
  (void)std::snprintf(value, sizeof value, "0x%08x", static_cast<unsigned int>(code));
  return std::string(value) + " " + lumo_error_name(code) + ": " + lumo_error_meaning(code);
}

}  // namespace fwpack
