#ifndef FWVET_TOOLS_FWPACK_LINT_DEVICE_STORE_H
#define FWVET_TOOLS_FWPACK_LINT_DEVICE_STORE_H

#include <optional>
#include <string_view>
#include <vector>

#include "tools/fwpack/lint/lint.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_vrf.h"

namespace fwpack {

/// A context of the device's library with the device's root. Throws Error when there is no memory for it.
class DeviceContext {
 public:
  explicit DeviceContext(const CertView& root);
  ~DeviceContext();
  DeviceContext(const DeviceContext&) = delete;
  DeviceContext& operator=(const DeviceContext&) = delete;

  [[nodiscard]] LUMO_VRF* vrf() const { return static_cast<LUMO_VRF*>(ctx_); }
  /// Adds a bundle as the device does.
  [[nodiscard]] LUMO_ERROR_CODE AddCrl(std::string_view bytes) const;

 private:
  LUMO_VRF_CTX ctx_ = nullptr;
};

/// A certificate and what issued it, up to a self-signed one or to where the device finds no issuer.
struct Chain {
  const char* whose = "";
  std::vector<LUMO_X509_CERT*> certs{};  // of the store, the leaf first; empty: there is no leaf
  bool ends_in_root = false;
};

/// The device's certificates and CRLs in a run, gathered by its own functions in its own order: root, bundle,
/// signature, time-stamp token. Nothing is judged. The views must live as long as the store.
class DeviceStore {
 public:
  /// Throws Error when there is no memory.
  explicit DeviceStore(const LintInput& input);

  [[nodiscard]] LUMO_VRF* vrf() const { return ctx_.vrf(); }
  /// What loading the package's bundle gave.
  [[nodiscard]] LUMO_ERROR_CODE bundle_code() const { return bundle_code_; }
  /// The chains of signer and time stamper: of those of them that the device can decode.
  [[nodiscard]] const std::vector<Chain>& chains() const { return chains_; }

 private:
  void Load(const MessageView& view, OwnedMessage& message) const;

  DeviceContext ctx_;
  OwnedMessage signature_;
  OwnedMessage token_;
  LUMO_ERROR_CODE bundle_code_ = LUMO_OK;
  std::vector<Chain> chains_{};
};

/// What the device's comparison of bundles knows of one, on the device's root alone.
class DeviceBundle {
 public:
  /// Throws Error when there is no memory.
  DeviceBundle(const CertView& root, std::string_view bytes);
  ~DeviceBundle();
  DeviceBundle(const DeviceBundle&) = delete;
  DeviceBundle& operator=(const DeviceBundle&) = delete;

  /// Null when the device cannot decode the bundle for a comparison.
  [[nodiscard]] const LUMO_CRL_BUNDLE_INFO* info() const { return info_; }
  /// How this bundle, offered, relates to a stored one.
  [[nodiscard]] LUMO_CRL_PERIOD_STAT CompareWith(const DeviceBundle& stored) const;

 private:
  DeviceContext ctx_;
  LUMO_CRL_BUNDLE_INFO* info_ = nullptr;
};

/// Whether the device's bundle, though sound, finds no room beside the package's in a run.
bool DeviceCrlIsCrowdedOut(const LintInput& input);

/// Whether the device finds the certificate to be self-signed; none when it cannot tell.
std::optional<bool> DeviceFindsSelfSigned(const LUMO_VRF* vrf, const CertView& cert);

}  // namespace fwpack

#endif
