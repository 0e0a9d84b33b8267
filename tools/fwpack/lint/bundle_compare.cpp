#include "tools/fwpack/lint/bundle_compare.h"

#include "app/lumo_context.h"

namespace fwpack {
namespace {

// A decoded bundle and the context that owns it.
class Decoded {
 public:
  Decoded() = default;
  ~Decoded() {
    if (bundle_ != nullptr) (void)lumo_crl_free(context_.get(), bundle_);
  }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;

  LUMO_ERROR_CODE Decode(const std::string& root, const std::string& bundle) {
    LUMO_CTX_CREATE_PARAMS params;
    (void)FillCreateParams(&params);
    if (auto code = context_.Create(params); code != LUMO_OK) return code;
    if (auto code = lumo_verify_add_cert(context_.get(), Bytes(root), Length(root)); code != LUMO_OK)
      return code;
    return lumo_decode_crl(context_.get(), Bytes(bundle), Length(bundle), &bundle_);
  }
  [[nodiscard]] const LUMO_CRL_BUNDLE_INFO* bundle() const { return bundle_; }
  [[nodiscard]] LUMO_VRF_CTX context() const { return context_.get(); }

 private:
  static const TEV_BYTE* Bytes(const std::string& text) {
    return reinterpret_cast<const TEV_BYTE*>(text.data());
  }
  static TEV_UINT32 Length(const std::string& text) { return static_cast<TEV_UINT32>(text.size()); }

  LumoContext context_;
  LUMO_CRL_BUNDLE_INFO* bundle_ = nullptr;
};

}  // namespace

BundleComparison CompareBundles(const std::string& root, const std::string& offered,
                                const std::string& stored) {
  BundleComparison comparison;
  Decoded first;
  Decoded second;
  if (comparison.code = first.Decode(root, offered); comparison.code != LUMO_OK) return comparison;
  if (comparison.code = second.Decode(root, stored); comparison.code != LUMO_OK) return comparison;
  comparison.decoded = true;
  comparison.code = lumo_crl_compare(second.context(), first.bundle(), second.bundle(), &comparison.stat);
  return comparison;
}

}  // namespace fwpack
