#ifndef FWVET_TOOLS_FWPACK_LINT_DEVICE_STORE_H
#define FWVET_TOOLS_FWPACK_LINT_DEVICE_STORE_H

#include <optional>
#include <string_view>
#include <vector>

#include "app/lumo_context.h"
#include "tools/fwpack/lint/lint.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_vrf.h"

namespace fwpack {

/// A certificate and what issued it, up to a self-signed one or to where the device finds no issuer.
struct Chain {
  std::vector<LUMO_X509_CERT*> certs{};  // of the store, the leaf first; empty: there is no leaf
  bool ends_in_root = false;
};

/// The device's certificates and CRLs in a run, gathered by its own functions in its own order: root, bundle,
/// signature, time-stamp token, and its own bundle at last. Nothing is judged.
class DeviceStore {
 public:
  /// The views must live as long as the store. Throws Error without memory.
  explicit DeviceStore(const LintInput& input);
  DeviceStore(const DeviceStore&) = delete;
  DeviceStore& operator=(const DeviceStore&) = delete;

  [[nodiscard]] LUMO_VRF* vrf() const { return static_cast<LUMO_VRF*>(ctx_.get()); }
  /// What loading the package's bundle gave.
  [[nodiscard]] LUMO_ERROR_CODE bundle_code() const { return bundle_code_; }
  /// The device's bundle did not fit, though it would alone.
  [[nodiscard]] bool device_crl_is_crowded_out() const { return crowded_out_; }
  /// Raw buffers that the run needs, as far as loading came; above kListCapacity when they do not suffice.
  [[nodiscard]] std::size_t raw_buffers() const { return raw_buffers_; }
  /// Whether the device decodes the signature, or the token, and it has a signer.
  [[nodiscard]] bool has_signer() const { return SignerOf(signature_) != nullptr; }
  [[nodiscard]] bool has_stamper() const { return SignerOf(token_) != nullptr; }
  [[nodiscard]] const Chain& signer() const { return signer_; }
  [[nodiscard]] const Chain& stamper() const { return stamper_; }

 private:
  static const LUMO_PKCS7_SIGNER_INFO* SignerOf(const OwnedMessage& message);
  void LoadMessage(const MessageView& view, OwnedMessage& message);
  void LoadDeviceCrl(const LintInput& input);
  [[nodiscard]] std::size_t UsedRaw() const;
  [[nodiscard]] Chain ChainOf(const OwnedMessage& message) const;

  LumoContext ctx_;
  OwnedMessage signature_;
  OwnedMessage token_;
  LUMO_ERROR_CODE bundle_code_ = LUMO_OK;
  bool crowded_out_ = false;
  std::size_t raw_buffers_ = 0;
  Chain signer_{};
  Chain stamper_{};
};

/// What the device's comparison knows of the CRLs of a bundle, on the device's root alone.
class DeviceBundle {
 public:
  DeviceBundle(const CertView& root, std::string_view bytes);
  ~DeviceBundle();
  DeviceBundle(const DeviceBundle&) = delete;
  DeviceBundle& operator=(const DeviceBundle&) = delete;

  /// Null when the device cannot decode the bundle for a comparison.
  [[nodiscard]] const LUMO_CRL_BUNDLE_INFO* info() const { return info_; }
  /// How this bundle, offered, relates to a stored one.
  [[nodiscard]] LUMO_CRL_PERIOD_STAT CompareWith(const DeviceBundle& stored) const;

 private:
  LumoContext ctx_;
  LUMO_CRL_BUNDLE_INFO* info_ = nullptr;
};

/// Whether the device finds the certificate to be self-signed; none when it cannot tell or decode it.
std::optional<bool> DeviceFindsSelfSigned(const LUMO_VRF* vrf, const CertView& cert);

}  // namespace fwpack

#endif
