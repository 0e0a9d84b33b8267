#include "tests/fwpack/lint/lint_fixture.h"

namespace linttest {
namespace {

using pki::Utc;

// Two CAs more, and a package and an older bundle with their CRLs.
Sample WithCasNamed(const pki::Name& one, const pki::Name& other) {
  const auto make = [](const pki::Name& name, std::uint8_t serial) {
    pki::CertSpec spec = pki::CaSpec("", {serial});
    spec.subject = name;
    spec.key = Maker().ca.key;
    return pki::Issue(Maker().root, spec);
  };
  const Cert first = make(one, 7);
  const Cert second = make(other, 8);
  const auto plan_in = [&](int month) {
    const pki::CrlSpec spec{.this_update = Utc(2024, month, 1)};
    Plan plan{.crls = {}, .bundle_certs = {Maker().ca, first, second}};
    for (const Cert& cert : {Maker().root, Maker().ca, first, second})
      plan.crls.push_back(pki::MakeCrl(cert, spec));
    return plan;
  };
  return {.package = PackageOf(plan_in(5)), .device_crl = BundleOf(plan_in(4))};
}

Sample WithNamesWithoutText() {
  const auto name = [](const char* value) { return pki::Name{{"serialNumber", value}}; };
  return WithCasNamed(name("1"), name("2"));
}

Sample WithNamesOfOneText() {
  const auto name = [](char last) { return pki::Name{{"O", std::string(130, 'o') + last}}; };
  return WithCasNamed(name('1'), name('2'));
}

Sample WithManyCrls(std::size_t count, bool as_der) {
  Plan plan{.der_bundle = as_der};
  for (const Bytes& crl : ManyCrls(count)) plan.crls.push_back(crl);
  return Of(plan);
}

Sample WithTwoCrlsOfOneIssuer() {
  Plan plan;
  plan.crls.push_back(pki::MakeCrl(Maker().ca, {.this_update = Utc(2024, 5, 2)}));
  return Of(plan);
}

Sample WithUnknownBlock() {
  const Bytes block = der::FromText(pki::Pem("NOTE", der::FromText("something to read")));
  return Of({.bundle = der::Concat(BundleOf({}), block)});
}

Sample TooLong() {
  Bytes bundle = BundleOf({});
  bundle.resize(32769, '\n');
  return Of({.bundle = bundle});
}

Sample WithManyCerts(std::uint8_t count) {
  Plan plan{.der_bundle = true};
  for (std::uint8_t i = 0; i < count; ++i)
    plan.bundle_certs.push_back(SignerFrom(pki::CodeSignerSpec("spare", {0x20, i})));
  return Of(plan);
}

Sample WithManyBlocks(std::size_t crls) {
  Plan plan{.pem_signature = true};
  for (const Bytes& crl : ManyCrls(crls)) plan.crls.push_back(crl);
  return Of(plan);
}

// 1 for the root, 8 and 6 for the bundles, 2 for the signature.
Sample WithManyBlocksOnTheDevice() {
  Plan stored;
  for (const Bytes& crl : ManyCrls(3)) stored.crls.push_back(crl);
  Sample sample = WithManyBlocks(5);
  sample.device_crl = BundleOf(stored);
  return sample;
}

// The device's bundle revokes the signer, and nobody hears it.
Sample WithDeviceCrlCrowdedOut() {
  const pki::CrlSpec revoking{.this_update = Utc(2024, 5, 20),
                              .revoked = {world::Revoke(Maker().signer, Utc(2024, 5, 2), 1)}};
  Sample sample = WithManyCrls(10, false);
  sample.device_crl =
      BundleOf({.crls = {pki::MakeCrl(Maker().root, {}), pki::MakeCrl(Maker().ca, revoking)}});
  return sample;
}

Sample OnALostFlash() {
  Sample sample = Of({});
  sample.flash_is_lost = true;
  return sample;
}

Sample WithStoredText() {
  Sample sample = Of({});
  sample.device_crl = Bytes(200, 'x');
  return sample;
}

Sample WithStored(pki::Time root_update, pki::Time ca_update) {
  Sample sample = Of({});
  sample.device_crl = BundleOf({.crls = {pki::MakeCrl(Maker().root, {.this_update = root_update}),
                                         pki::MakeCrl(Maker().ca, {.this_update = ca_update})}});
  return sample;
}

}  // namespace

std::vector<Case> BrokenBundles() {
  constexpr Outcome kRefused = Outcome::kRefused;
  constexpr Outcome kAccepted = Outcome::kAccepted;
  constexpr Outcome kKept = Outcome::kKept;
  return {
      {"TwoNamesWithoutText", "name-no-text", WithNamesWithoutText, kKept},
      {"TwoNamesOfOneText", "name-same-text", WithNamesOfOneText, kKept},
      {"Garbage", "bundle-refused", [] { return Of({.bundle = Bytes(500, 'x')}); }, kRefused},
      {"CertificatesOnly", "bundle-no-crl", [] { return Of({.crls = {}}); }, kRefused},
      {"SeventeenCrls", "bundle-too-many-crls", [] { return WithManyCrls(15, true); }, kRefused},
      {"OneByteAboveTheRoom", "bundle-too-long", TooLong, Outcome::kCleared},
      {"CrlsOnly", "bundle-no-certificate", [] { return Of({.bundle_certs = {}}); }, kKept},
      {"IssuerInTheSignatureOnly", "bundle-crl-not-valid", [] { return Of({.bundle_certs = {Maker().tsa}}); },
       kKept},
      {"TwoCrlsOfOneIssuer", "bundle-duplicate-issuer", WithTwoCrlsOfOneIssuer, kKept},
      {"UnknownBlock", "bundle-ignored-part", WithUnknownBlock, kAccepted},
      {"SeventeenCertificates", "capacity-certificates", [] { return WithManyCerts(13); }, kRefused},
      {"SeventeenBuffers", "capacity-raw-buffers", [] { return WithManyBlocks(11); }, kRefused},
      {"DeviceTakesBuffers", "capacity-raw-buffers", WithManyBlocksOnTheDevice, kRefused},
      {"RevocationUnheard", "capacity-device-crl", WithDeviceCrlCrowdedOut, kAccepted},
      {"NeitherAreaGood", "device-flash-lost", OnALostFlash, kAccepted},
      {"NoCrlStored", "device-crl-unreadable", WithStoredText, kAccepted},
      {"RootNewerAndCaOlder", "device-crl-mixed",
       [] { return WithStored(Utc(2024, 5, 20), Utc(2024, 4, 1)); }, kKept},
      {"AllNewer", "device-crl-newer", [] { return WithStored(Utc(2024, 5, 20), Utc(2024, 5, 20)); }, kKept},
  };
}

}  // namespace linttest
