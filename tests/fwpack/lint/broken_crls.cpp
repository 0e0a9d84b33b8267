#include "tests/fwpack/lint/lint_fixture.h"

namespace linttest {
namespace {

using pki::Utc;

Sample WithCaCrl(const Bytes& crl) {
  return Of({.crls = {pki::MakeCrl(Maker().root, {}), crl}});
}

Sample WithCaCrl(const pki::CrlSpec& spec) {
  return WithCaCrl(pki::MakeCrl(Maker().ca, spec));
}

pki::Extension Point(const Bytes& field) {
  return {.oid = "2.5.29.28", .critical = true, .value = der::Seq(field)};
}

Sample WithEntries(std::size_t count) {
  return WithCaCrl({.revoked = std::vector<pki::Revoked>(count, {.serial = {9}, .date = Utc(2024, 4, 1)})});
}

Sample OfVersion1() {
  pki::RawCrl raw;
  raw.version.clear();
  raw.issuer = pki::SubjectOf(Maker().ca);
  return WithCaCrl(pki::SignedFrame(raw.Tbs(), Maker().ca.key));
}

Sample WithoutCrlSign() {
  pki::CertSpec spec = pki::CaSpec("issuing-ca", {2});
  spec.key_usage = "critical,keyCertSign";
  const Cert ca = CaFrom(spec);
  return Of({.certs = {{Maker().signer, ca}}, .bundle_certs = {ca}});
}

// An indirect CRL of the root's for all certificates.
Sample WithIndirect(std::uint8_t octet) {
  const pki::CrlSpec spec{.extra = {Point(der::Tlv(0x84, Bytes{octet}))}};
  return Of({.crls = {pki::MakeCrl(Maker().root, spec)}});
}

Sample WithEndedCrl() {
  Plan plan;
  plan.crls.push_back(
      pki::MakeCrl(Maker().ca, {.this_update = Utc(2023, 1, 1), .next_update = Utc(2024, 1, 1)}));
  return Of(plan);
}

Sample WithRootEntry(std::size_t serial_bytes) {
  const pki::CrlSpec spec{.revoked = {{.serial = Bytes(serial_bytes, 0x11), .date = Utc(2024, 4, 1)}}};
  return Of({.crls = {pki::MakeCrl(Maker().root, spec), pki::MakeCrl(Maker().ca, {})}});
}

}  // namespace

std::vector<Case> BrokenCrls() {
  constexpr Outcome kRefused = Outcome::kRefused;
  constexpr Outcome kAccepted = Outcome::kAccepted;
  return {
      {"EntriesAreUndecodable", "crl-undecodable", [] { return WithEntries(21); }, kRefused},
      {"TwentyOneEntries", "crl-too-many-entries", [] { return WithEntries(21); }, kRefused},
      {"Endless", "crl-no-next-update", [] { return WithCaCrl(pki::CrlSpec{.next_update = std::nullopt}); },
       kRefused},
      {"Version1", "crl-version-1", OfVersion1, kRefused},
      {"Sha1", "crl-unsupported-digest", [] { return WithCaCrl(pki::CrlSpec{.digest = "SHA1"}); }, kRefused},
      {"CaWithoutCrlSign", "crl-issuer-without-crl-sign", WithoutCrlSign, kRefused},
      {"SignedByAnotherKey", "crl-issuer-missing",
       [] { return WithCaCrl(pki::MakeCrl({.der = Maker().ca.der, .key = Maker().tsa.key}, {})); }, kRefused},
      {"EndedCrl", "crl-ends-before-timestamp", WithEndedCrl, kAccepted},
      {"Entry33Bytes", "crl-serial-too-long", [] { return WithRootEntry(33); }, kAccepted},
      {"IndirectTrueAs01", "crl-boolean-not-ff", [] { return WithIndirect(0x01); }, kRefused},
      {"Indirect", "crl-indirect", [] { return WithIndirect(0xFF); }, kAccepted},
      {"ForUsersOnly", "crl-partial",
       [] { return WithCaCrl(pki::CrlSpec{.extra = {Point(der::Tlv(0x81, Bytes{0xFF}))}}); }, kAccepted},
      {"Delta", "crl-critical-extension",
       [] {
         return WithCaCrl(
             pki::CrlSpec{.extra = {{.oid = "2.5.29.27", .critical = true, .value = der::Integer(1)}}});
       },
       kAccepted},
      {"SignerTakenOffTheCrl", "crl-remove-from-crl",
       [] { return WithCaCrl(pki::CrlSpec{.revoked = {world::Revoke(Maker().signer, Utc(2024, 4, 1), 8)}}); },
       kRefused},
      {"CrlOfCaLeftOut", "chain-no-crl", [] { return Of({.crls = {pki::MakeCrl(Maker().root, {})}}); },
       kRefused},
  };
}

}  // namespace linttest
