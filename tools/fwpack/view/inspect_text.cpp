#include "tools/fwpack/view/inspect_text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

// Lines, indented by the blocks that they stand in.
class Writer {
 public:
  void Line(const std::string& text) { text_ += std::string(depth_ * kIndent, ' ') + text + "\n"; }
  void Field(const char* name, const std::string& value) { Line(std::string(name) + ": " + value); }
  void Field(const char* name, std::uint64_t value) { Field(name, std::to_string(value)); }
  template <class Body>
  void Block(const std::string& title, Body body) {
    Line(title);
    ++depth_;
    body();
    --depth_;
  }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  static constexpr std::size_t kIndent = 2;
  std::string text_{};
  std::size_t depth_ = 0;
};

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text.empty() ? "none" : text;
}

std::string Place(std::uint64_t offset, std::size_t length) {
  return " at offset " + std::to_string(offset) + ", " + std::to_string(length) + " bytes";
}

const char* YesNo(bool yes) {
  return yes ? "yes" : "no";
}

void WriteDeviceCode(Writer& out, LUMO_ERROR_CODE code) {
  if (code != LUMO_OK) out.Line("a device cannot decode it: " + DeviceCodeText(code));
}

void WriteName(Writer& out, const char* field, const NameView& name) {
  out.Field(field, name.text);
  if (!name.device_text) out.Line("  a device has no text for this name");
}

void WriteCert(Writer& out, const CertView& cert) {
  out.Block("certificate" + Place(cert.offset, cert.der.size()), [&] {
    WriteDeviceCode(out, cert.device_code);
    if (cert.x509 == nullptr) return out.Line("it cannot be decoded here");
    WriteName(out, "subject", cert.subject);
    WriteName(out, "issuer", cert.issuer);
    out.Field("serial", cert.serial.hex);
    out.Field("version", static_cast<std::uint64_t>(cert.version));
    out.Field("valid from", TimeText(cert.not_before));
    out.Field("valid to", TimeText(cert.not_after));
    out.Field("signed with", cert.signature_algorithm);
    out.Field("key", cert.key_algorithm +
                         (cert.key_bits != 0 ? ", " + std::to_string(cert.key_bits) + " bits" : ""));
    out.Field("CA", YesNo(cert.is_ca));
    out.Field("key usages", Joined(cert.key_usages));
    out.Field("extended key usages", Joined(cert.extended_key_usages));
  });
}

void WriteRevoked(Writer& out, const RevokedView& revoked) {
  const std::string reason = revoked.reason ? std::string(", ") + ReasonName(*revoked.reason) : "";
  out.Line("revoked: serial " + revoked.serial.hex + reason + ", from " + TimeText(revoked.date));
}

void WriteCrl(Writer& out, const CrlView& crl) {
  out.Block("CRL" + Place(crl.offset, crl.der.size()), [&] {
    WriteDeviceCode(out, crl.device_code);
    if (crl.x509 == nullptr) return out.Line("it cannot be decoded here");
    WriteName(out, "issuer", crl.issuer);
    out.Field("this update", TimeText(crl.this_update));
    out.Field("next update", crl.next_update ? TimeText(*crl.next_update) : "none");
    out.Field("signed with", crl.signature_algorithm);
    if (crl.number_hex) out.Field("number", *crl.number_hex);
    out.Field("revoked certificates", crl.revoked.size());
    for (const RevokedView& revoked : crl.revoked) WriteRevoked(out, revoked);
  });
}

const char* EncodingText(Encoding encoding) {
  return encoding == Encoding::kPem ? "PEM" : "DER";
}

void WriteBundle(Writer& out, const BundleView& bundle) {
  out.Block("CRL bundle, " + std::string(EncodingText(bundle.encoding)) + ", " +
                std::to_string(bundle.bytes.size()) + " bytes",
            [&] {
              for (const CrlView& crl : bundle.crls) WriteCrl(out, crl);
              for (const CertView& cert : bundle.certs) WriteCert(out, cert);
            });
}

void WriteAttributes(Writer& out, const char* title, const std::vector<AttributeView>& attributes) {
  std::vector<std::string> names;
  std::transform(attributes.begin(), attributes.end(), std::back_inserter(names),
                 [](const AttributeView& attribute) { return attribute.type; });
  out.Field(title, Joined(names));
}

void WriteSigner(Writer& out, const SignerView& signer) {
  out.Block("signer", [&] {
    WriteName(out, "certificate's issuer", signer.issuer);
    out.Field("certificate's serial", signer.serial.hex);
    out.Field("digest", signer.digest_algorithm);
    out.Field("signed with", signer.signature_algorithm);
    WriteAttributes(out, "signed attributes", signer.signed_attributes);
    if (signer.message_digest) out.Field("message digest", Hex(*signer.message_digest));
    if (signer.signing_time) out.Field("signing time", TimeText(*signer.signing_time));
    WriteAttributes(out, "unsigned attributes", signer.unsigned_attributes);
    out.Field("signature", std::to_string(signer.signature.size()) + " bytes");
  });
}

void WriteDecoded(Writer& out, const MessageView& message) {
  out.Field("content type", message.content_type);
  out.Field("detached", YesNo(message.is_detached));
  for (const SignerView& signer : message.signers) WriteSigner(out, signer);
}

void WriteMessage(Writer& out, const std::string& title, const MessageView& message) {
  out.Block(title + ", " + EncodingText(message.encoding) + Place(message.offset, message.der.size()), [&] {
    WriteDeviceCode(out, message.device_code);
    if (message.cms == nullptr) out.Line("it cannot be decoded here");
    if (message.cms != nullptr) WriteDecoded(out, message);
    for (const CertView& cert : message.certs) WriteCert(out, cert);
  });
}

void WriteToken(Writer& out, const TokenView& token) {
  out.Block("time-stamp", [&] {
    if (token.message.cms != nullptr && !token.stop) {
      out.Field("time", TimeText(token.time));
      out.Field("policy", token.policy);
      out.Field("serial", token.serial.hex);
      out.Field("imprint", token.imprint_algorithm + " " + Hex(token.imprint));
      if (token.nonce_hex) out.Field("nonce", *token.nonce_hex);
    }
    WriteMessage(out, "token", token.message);
  });
}

std::string VersionText(const SEFS& record) {
  const auto number = [](std::uint16_t value) { return std::to_string(value) + "."; };
  return number(record.wVersionV) + number(record.wVersionR) +
         FieldText(record.aucVersionLLL, sizeof record.aucVersionLLL) + "." + number(record.wVersionC) +
         number(record.wVersionSP) + number(record.wVersionB) + std::to_string(record.wVersionD);
}

std::string BuildTimeText(const SEFS& record) {
  char text[64];
  (void)std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u, tick %u", record.wYear,
                      record.ucMonth, record.ucDay, record.ucHour, record.ucMinute, record.ucSecond,
                      record.ucTick);
  return text;
}

std::string CrcText(std::uint16_t crc, std::optional<bool> good) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%04x, ", crc);
  return std::string(text) + (!good ? "not compared" : *good ? "right" : "wrong");
}

void WriteTail(Writer& out, const std::string& title, const TailView& tail) {
  const SEFS& record = tail.record;
  out.Block(title + Place(tail.offset, sizeof record), [&] {
    out.Field("magic", FieldText(record.aucMagicNum, sizeof record.aucMagicNum) +
                           (tail.has_magic ? "" : ", which is none"));
    out.Field("format version", record.wEFSVersion);
    out.Field("product", FieldText(record.aucProductName, sizeof record.aucProductName));
    out.Field("version", VersionText(record));
    out.Field("version of the packing tool", record.ucEfsToolVer);
    out.Field("build time", BuildTimeText(record));
    out.Field("file type", record.wFileType);
    out.Field("code type", record.wCodeType);
    out.Field("reserved", record.reserved2);
    out.Field("description", FieldText(record.aucDesc, sizeof record.aucDesc));
    out.Field("padding", FieldText(record.padding, sizeof record.padding));
    out.Field("total length", record.dwTotalLen);
    out.Field("code length", record.dwCodeLen);
    out.Field("payload CRC", CrcText(record.wCodeCrc, tail.payload_crc_is_good));
    out.Field("record CRC", CrcText(record.wEFSCrc, tail.crc_is_good));
  });
}

void WriteLayout(Writer& out, const PackageView& package) {
  out.Block("layout", [&] {
    for (const Region& region : LayoutOf(package)) {
      char text[128];
      (void)std::snprintf(text, sizeof text, "%10llu  %10llu  %s",
                          static_cast<unsigned long long>(region.offset),
                          static_cast<unsigned long long>(region.length), region.name.c_str());
      out.Line(text);
    }
  });
}

void WritePackage(Writer& out, const PackageView& package) {
  WriteLayout(out, package);
  if (package.signature_block && package.signature_block->tail)
    WriteTail(out, "tail record of the signature", *package.signature_block->tail);
  if (package.crl_block && package.crl_block->tail)
    WriteTail(out, "tail record of the CRLs", *package.crl_block->tail);
  if (package.signature) WriteMessage(out, "signature", *package.signature);
  if (package.token) WriteToken(out, *package.token);
  if (package.bundle) WriteBundle(out, *package.bundle);
}

}  // namespace

std::string TimeText(const TimeView& time) {
  const std::string encoded =
      std::string(time.generalized ? "GeneralizedTime" : "UTCTime") + " '" + time.encoded + "'";
  const std::string meant = time.meant ? FormatUtcTime(*time.meant) : "no time that exists";
  if (!IsReadDifferently(time))
    return meant + " (" + encoded + "; a device reads it " + (time.device ? "the same" : "as no time") + ")";
  return meant + " (" + encoded + "), but a device " +
         (time.device ? "reads it as " + FormatUtcTime(*time.device) : "cannot read it");
}

std::string InspectText(const Inspection& inspection) {
  Writer out;
  out.Line(Visible(inspection.path) + ": " + KindName(inspection.kind) + ", " +
           std::to_string(inspection.size) + " bytes");
  for (const Stop& stop : inspection.stops)
    out.Line("stopped at offset " + std::to_string(stop.offset) + ": " + stop.reason);
  if (inspection.package) WritePackage(out, *inspection.package);
  if (inspection.tail) WriteTail(out, "tail record", *inspection.tail);
  if (inspection.signature) WriteMessage(out, "signature", *inspection.signature);
  if (inspection.token) WriteToken(out, *inspection.token);
  if (inspection.bundle) WriteBundle(out, *inspection.bundle);
  if (inspection.cert) WriteCert(out, *inspection.cert);
  return out.text();
}

}  // namespace fwpack
