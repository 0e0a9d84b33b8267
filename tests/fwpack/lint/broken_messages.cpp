#include "tests/fwpack/lint/lint_fixture.h"
#include "tests/support/test_package.h"

namespace linttest {
namespace {

using pki::Utc;

// A signature from its parts: the signed attributes, then what `change` makes of the signer and the message.
struct RawParts {
  pki::RawSignerInfo signer{};
  pki::RawSignedData message{};
};

std::vector<Bytes> Attributes(const Bytes& content) {
  return {pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData)),
          pki::Attribute(pki::kOidMessageDigest, der::OctetString(pki::DigestOf("SHA256", content)))};
}

Sample RawSample(const std::vector<Bytes>& attributes, const std::function<void(RawParts&)>& change) {
  const Plan plan;
  RawParts parts;
  parts.signer = pki::SignAttributes(plan.signer, attributes);
  const pki::TokenSpec token{.tsa = plan.tsa, .time = plan.time, .certs = {plan.tsa}};
  parts.signer.unsigned_attributes = pki::TokenAttributes(pki::MakeToken(token, parts.signer.signature));
  parts.message.certificates = {plan.signer.der, Maker().ca.der};
  change(parts);
  parts.message.signer_infos = {parts.signer.Encode()};
  return Of({.signature = parts.message.Encode()});
}

Sample RawSample(const std::function<void(RawParts&)>& change) {
  return RawSample(Attributes(Plan{}.content), change);
}

Sample Signed(const std::vector<pki::SignerSpec>& signers) {
  const Plan plan;
  return Of({.signature = pki::MakeCms(
                 {.content = plan.content, .signers = signers, .certs = {plan.signer, Maker().ca}})});
}

Sample WithFrame(std::size_t gap, std::uint16_t crc_error) {
  const Plan plan;
  return {.package = der::Concat(plan.content, Block(SignatureOf(plan), gap, crc_error),
                                 Block(BundleOf(plan)), Bytes(package::kEndPad))};
}

void NameByKey(RawParts& parts) {
  parts.signer.version = der::Integer(3);
  parts.signer.sid = der::Implicit(0, der::OctetString("an identifier"));
}

void CarryCrl(RawParts& parts) {
  parts.message.crls = der::Implicit(1, der::Set(pki::MakeCrl(Maker().ca, {})));
}

void CarryContent(RawParts& parts) {
  parts.message.content =
      der::Seq(der::Oid(pki::kOidData), der::Explicit(0, der::OctetString("something else")));
}

void NamePss(RawParts& parts) {
  parts.signer.signature_algorithm = der::Seq(der::Oid("1.2.840.113549.1.1.10"));
}

Sample WithTrailingBytes() {
  return Of({.signature = der::Concat(SignatureOf({}), der::FromText("trail"))});
}

Sample Cut() {
  Bytes signature = SignatureOf({});
  signature.resize(signature.size() - 1);
  return Of({.signature = signature});
}

Sample ImprintOfSha1() {
  const pki::TokenSpec token{.tsa = Maker().tsa, .imprint_hash = "SHA1", .certs = {Maker().tsa}};
  return Signed({{.signer = Maker().signer, .token = token}});
}

std::vector<pki::SignerSpec> TwoSigners() {
  const pki::TokenSpec token{.tsa = Maker().tsa, .certs = {Maker().tsa}};
  return {{.signer = Maker().signer, .token = token}, {.signer = Maker().other_signer, .token = token}};
}

}  // namespace

std::vector<Case> BrokenMessages() {
  constexpr Outcome kRefused = Outcome::kRefused;
  constexpr Outcome kAccepted = Outcome::kAccepted;
  return {
      {"EmptyContent", "package-empty-content", [] { return Of({.content = {}}); }, kRefused},
      {"WrongPayloadCrc", "package-payload-crc", [] { return WithFrame(0, 1); }, kAccepted},
      {"GapBeforeTail", "package-gap", [] { return WithFrame(7, 0); }, kAccepted},
      {"CutMessage", "message-undecodable", Cut, kRefused},
      {"ThreeCertificates", "message-too-many-certificates",
       [] {
         return Of({.certs = {{Maker().signer, Maker().ca, Maker().other_signer}}});
       },
       kRefused},
      {"TwoSigners", "message-too-many-signers", [] { return Signed(TwoSigners()); }, kRefused},
      {"NoSigner", "message-no-signer", [] { return Signed({}); }, kRefused},
      {"NoToken", "message-no-timestamp", [] { return Signed({{.signer = Maker().signer}}); }, kRefused},
      {"SignerByKeyIdentifier", "message-key-identifier", [] { return RawSample(NameByKey); }, kRefused},
      {"Sha1Signer", "message-unsupported-digest", [] { return Of({.digest = "SHA1"}); }, kRefused},
      {"Sha1Imprint", "message-unsupported-digest", ImprintOfSha1, kRefused},
      {"NamedPss", "message-signature-algorithm", [] { return RawSample(NamePss); }, kAccepted},
      {"NoMessageDigest", "message-no-digest-attribute",
       [] {
         return RawSample({pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData))}, [](RawParts&) {});
       },
       kRefused},
      {"OtherContentInside", "message-carries-content", [] { return RawSample(CarryContent); }, kAccepted},
      {"CrlInside", "message-carries-crls", [] { return RawSample(CarryCrl); }, kAccepted},
      {"BytesBehindMessage", "message-trailing-bytes", WithTrailingBytes, kAccepted},
  };
}

}  // namespace linttest
