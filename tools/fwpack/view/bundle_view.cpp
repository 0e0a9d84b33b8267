#include "tools/fwpack/view/bundle_view.h"

#include "tools/fwpack/view/ber.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/crl_view.h"
#include "tools/fwpack/view/decode_stop.h"
#include "tools/fwpack/view/pem_block.h"
#include "tools/fwpack/visible.h"
#include "verify/lumo_limits.h"

namespace fwpack {
namespace {

// Far more than a device takes, and few enough to keep hostile bundles from costing memory.
constexpr std::size_t kMaxObjects = 1024;
constexpr char kTooMany[] = "more than 1024 objects: the rest was not read";

class BundleReader {
 public:
  BundleReader(BundleView* view, std::uint64_t offset) : view_(view), offset_(offset) {}

  void ReadPem() {
    const std::string_view text = UpToZeroByte(view_->bytes);
    std::size_t at = 0;
    while (auto block = NextPemBlock(text, at)) {
      if (++view_->pem_blocks > kMaxObjects) return StopAt(block->offset, kTooMany);
      TakeBlock(*block);
      at = block->end;
    }
    if (view_->bytes.find_first_not_of('\0', text.size()) != std::string::npos)
      StopAt(text.size(), "a zero byte ends the text: what follows is not read");
    if (view_->pem_blocks == 0) StopAt(0, "there is no PEM block");
  }

  void ReadDer() {
    const std::string_view input = view_->bytes;
    if (input.empty()) return StopAt(0, "it is empty");
    std::size_t at = 0;
    for (std::size_t objects = 0; at < input.size(); ++objects) {
      if (objects == kMaxObjects) return StopAt(at, kTooMany);
      BerFault fault;
      const auto element = ReadBer(input, at, input.size(), &fault);
      const bool taken = element && TakeObject(WholeOf(input, *element), offset_ + at);
      if (!taken && objects != 0 && input.size() - at < kDerPaddingLimit) return;
      if (!element) return StopAt(fault.offset, fault.reason);
      if (!taken) {
        const Stop stop = DecodeStop("certificate or CRL", WholeOf(input, *element), "");
        return StopAt(at + stop.offset, stop.reason);
      }
      at = element->end();
    }
  }

 private:
  void StopAt(std::uint64_t at, std::string reason) {
    view_->stops.push_back({.offset = offset_ + at, .reason = std::move(reason)});
  }

  void TakeBlock(const PemBlock& block) {
    if (!block.der) return StopAt(block.offset, block.fault);
    const std::uint64_t offset = offset_ + block.offset;
    if (block.label == "CERTIFICATE") {
      if (!TakeCert(ViewCert(*block.der, offset)))
        StopAt(block.offset, "in the PEM block, " + DecodeStop("certificate", *block.der, "").reason);
    } else if (block.label == "X509 CRL") {
      if (!TakeCrl(ViewCrl(*block.der, offset)))
        StopAt(block.offset, "in the PEM block, " + DecodeStop("CRL", *block.der, "").reason);
    } else {
      StopAt(block.offset, "a device skips PEM blocks labelled '" + Visible(block.label) + "'");
    }
  }

  bool TakeCert(CertView cert) {
    const bool readable = cert.x509 != nullptr;
    if (readable || cert.device_code == LUMO_OK) view_->certs.push_back(std::move(cert));
    return readable;
  }

  bool TakeCrl(CrlView crl) {
    const bool readable = crl.x509 != nullptr;
    if (readable || crl.device_code == LUMO_OK) view_->crls.push_back(std::move(crl));
    return readable;
  }

  bool TakeObject(std::string_view der, std::uint64_t offset) {
    return TakeCert(ViewCert(der, offset)) || TakeCrl(ViewCrl(der, offset));
  }

  BundleView* view_;
  std::uint64_t offset_;
};

}  // namespace

BundleView ViewBundle(std::string_view bytes, std::uint64_t offset) {
  BundleView view;
  view.bytes = bytes;
  const bool is_pem = bytes.starts_with(kPemStart);
  const bool is_der =
      !is_pem && (UpToZeroByte(bytes).find(kPemStart) == std::string_view::npos || bytes.starts_with('\x30'));
  view.encoding = is_der ? Encoding::kDer : Encoding::kPem;
  BundleReader reader(&view, offset);
  if (is_der) {
    reader.ReadDer();
    return view;
  }
  if (!is_pem) {
    view.stops.push_back(
        {.offset = offset,
         .reason = "there is text in front of the first PEM block: a device takes all of it for DER"});
  }
  reader.ReadPem();
  return view;
}

}  // namespace fwpack
