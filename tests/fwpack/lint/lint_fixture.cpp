#include "tests/fwpack/lint/lint_fixture.h"

#include <ostream>

#include "tests/support/test_package.h"

namespace linttest {
namespace {

constexpr std::size_t kPayloadCrcAt = 64;

pki::CrlSpec IssuedIn(int month) {
  return {.this_update = pki::Utc(2024, month, 1)};
}

}  // namespace

const world::World& Maker() {
  static const world::World maker(pki::SelfSigned(pki::CaSpec("lint-root")));
  return maker;
}

Bytes SignatureOf(const Plan& plan) {
  if (plan.signature) return *plan.signature;
  const pki::TokenSpec token{.tsa = plan.tsa, .time = plan.time, .certs = {plan.tsa}};
  const pki::SignerSpec signer{.signer = plan.signer, .digest = plan.digest, .token = token};
  const Bytes message =
      pki::MakeCms({.content = plan.content,
                    .signers = {signer},
                    .certs = plan.certs ? *plan.certs : std::vector<Cert>{plan.signer, Maker().ca}});
  return plan.pem_signature ? der::FromText(pki::Pem("CMS", message)) : message;
}

Bytes BundleOf(const Plan& plan) {
  if (plan.bundle) return *plan.bundle;
  if (!plan.der_bundle) return der::FromText(pki::PemBundle(plan.crls, plan.bundle_certs));
  Bytes bundle;
  for (const Bytes& crl : plan.crls) bundle = der::Concat(bundle, crl);
  for (const Cert& cert : plan.bundle_certs) bundle = der::Concat(bundle, cert.der);
  return bundle;
}

Bytes Block(const Bytes& payload, std::size_t gap, std::uint16_t crc_error) {
  const auto length = static_cast<std::uint32_t>(payload.size());
  Bytes tail = package::Tail(static_cast<std::uint32_t>(length + gap + package::kTailSize), length);
  const unsigned crc = package::Crc16(payload, payload.size()) ^ crc_error;
  tail[kPayloadCrcAt] = static_cast<std::uint8_t>(crc >> 8U);
  tail[kPayloadCrcAt + 1] = static_cast<std::uint8_t>(crc);
  package::Reseal(tail);
  return der::Concat(payload, Bytes(gap, 'g'), tail);
}

Bytes PackageOf(const Plan& plan) {
  return der::Concat(plan.content, Block(SignatureOf(plan)), Block(BundleOf(plan)), Bytes(package::kEndPad));
}

Sample Of(const Plan& plan) {
  return {.package = PackageOf(plan)};
}

Bytes OlderBundle() {
  return BundleOf({.crls = {pki::MakeCrl(Maker().root, IssuedIn(4)), pki::MakeCrl(Maker().ca, IssuedIn(4))}});
}

std::vector<Bytes> ManyCrls(std::size_t count) {
  std::vector<Bytes> crls;
  for (std::size_t i = 0; i < count; ++i)
    crls.push_back(pki::MakeCrl(
        Maker().ca, {.this_update = pki::Utc(2024, 3, 1) + static_cast<pki::Time>(i) * pki::kDay}));
  return crls;
}

Cert SignerFrom(pki::CertSpec spec) {
  if (!spec.key) spec.key = Maker().signer.key;
  return pki::Issue(Maker().ca, spec);
}

Cert CaFrom(pki::CertSpec spec) {
  spec.key = Maker().ca.key;
  return pki::Issue(Maker().root, spec);
}

Cert FromRaw(const pki::RawCert& raw, const pki::Key& key, const Cert& issuer) {
  return {.der = pki::SignedFrame(raw.Tbs(), issuer.key), .key = key};
}

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.rule << ": " << each.name;
}

}  // namespace linttest
