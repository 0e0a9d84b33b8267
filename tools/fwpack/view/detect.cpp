#include "tools/fwpack/view/detect.h"

#include "tools/fwpack/der.h"
#include "tools/fwpack/tail.h"
#include "tools/fwpack/view/ber.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/pem_block.h"

namespace fwpack {
namespace {

constexpr std::string_view kMagic = "QZ";
constexpr std::uint8_t kOid = 0x06;

InspectKind KindOfPem(std::string_view text) {
  const auto first = NextPemBlock(text, 0);
  if (!first) return InspectKind::kPackage;
  if (first->label == "CMS" || first->label == "PKCS7") return InspectKind::kSignature;
  const bool is_only = !NextPemBlock(text, first->end).has_value();
  return is_only && first->label == "CERTIFICATE" ? InspectKind::kCert : InspectKind::kBundle;
}

// A message begins with an identifier; a certificate is the only object of its file.
InspectKind KindOfDer(std::string_view bytes) {
  BerElement outer{.tag = der_tag::kSequence, .offset = 0, .header = 2, .length = 0};
  if (const auto whole = ReadBer(bytes, 0, bytes.size())) outer = *whole;
  const auto length_octets = bytes.size() > 1 ? static_cast<std::uint8_t>(bytes[1]) : std::uint8_t{0};
  if (outer.length == 0 && length_octets > 0x80) outer.header = 2U + (length_octets & 0x7FU);
  const bool is_message =
      bytes.size() > outer.header && static_cast<std::uint8_t>(bytes[outer.header]) == kOid;
  if (is_message) return InspectKind::kSignature;
  const bool is_cert = outer.end() == bytes.size() && ViewCert(bytes).x509 != nullptr;
  return is_cert ? InspectKind::kCert : InspectKind::kBundle;
}

}  // namespace

bool EndsLikeAPackage(PackageFile& file) {
  if (file.device_size() < kEndPadSize + kTailSize) return false;
  const auto at = file.device_size() - static_cast<std::uint32_t>(kEndPadSize + kTailSize);
  return file.Read(at, static_cast<std::uint32_t>(kMagic.size())) == kMagic;
}

InspectKind DetectKind(std::string_view bytes) {
  if (bytes.size() == kTailSize && bytes.starts_with(kMagic)) return InspectKind::kTail;
  if (bytes.starts_with(static_cast<char>(der_tag::kSequence))) return KindOfDer(bytes);
  return KindOfPem(UpToZeroByte(bytes));
}

}  // namespace fwpack
