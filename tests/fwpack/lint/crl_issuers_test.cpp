#include "tools/fwpack/lint/crl_issuers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/fwpack/lint/lint_fixture.h"
#include "tests/support/run_tool.h"
#include "tools/fwpack/lint/lint.h"
#include "tools/fwpack/lint/scene.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/package_view.h"

namespace {

using der::Bytes;
using fwpack::CrlIssuer;
using fwpack::CrlIssuers;
using linttest::Cert;
using linttest::Maker;

constexpr char kName[] = "many-of-this-name";

pki::Extension KeyId(std::uint8_t id) {
  return {.oid = "2.5.29.14", .value = der::Tlv(0x04, Bytes{id})};
}

pki::Extension NamesKey(std::uint8_t id) {
  return {.oid = "2.5.29.35", .value = der::Seq(der::Tlv(0x80, Bytes{id}))};
}

// May sign no CRLs, so that the device takes it for nobody's issuer.
pki::CertSpec OfThatName(const std::vector<pki::Extension>& extra = {}) {
  return {
      .subject = pki::Cn(kName), .key = Maker().signer.key, .key_usage = "digitalSignature", .extra = extra};
}

Cert Owner(const std::vector<pki::Extension>& extra = {}) {
  return pki::Issue(Maker().root, OfThatName(extra));
}

// Of the owner's name, with a key of the same length that is nobody's.
Cert Decoy(std::size_t number) {
  Bytes modulus = pki::ModulusOf(Maker().signer.key);
  modulus[modulus.size() / 2] ^= static_cast<std::uint8_t>(number + 1);
  pki::RawCert raw = pki::RawCertFrom(OfThatName(), pki::SubjectOf(Maker().root));
  raw.public_key = pki::RsaPublicKeyInfo(modulus, pki::ExponentOf(Maker().signer.key));
  return linttest::FromRaw(raw, nullptr, Maker().root);
}

std::vector<Cert> Decoys(std::size_t count) {
  std::vector<Cert> decoys;
  for (std::size_t i = 0; i < count; ++i) decoys.push_back(Decoy(i));
  return decoys;
}

std::vector<Cert> BehindDecoys(std::size_t count, const Cert& last) {
  std::vector<Cert> certs = Decoys(count);
  certs.push_back(last);
  return certs;
}

std::vector<Bytes> CrlsOf(const Cert& issuer, std::size_t count, const pki::CrlSpec& like = {}) {
  std::vector<Bytes> crls;
  for (std::size_t i = 0; i < count; ++i) {
    pki::CrlSpec spec = like;
    spec.this_update += static_cast<pki::Time>(i) * pki::kDay;
    crls.push_back(pki::MakeCrl(issuer, spec));
  }
  return crls;
}

// The owner's CRL, signed with a key that no certificate has.
Bytes ForgedCrl() {
  return pki::MakeCrl({.der = Owner().der, .key = Maker().tsa.key}, {});
}

/// A package in views.
class Viewed {
 public:
  explicit Viewed(const linttest::Plan& plan) {
    WriteWholeFile(dir_ / "package", linttest::PackageOf(plan));
    package_ = fwpack::ViewPackage(dir_ / "package");
  }
  Viewed(const Viewed&) = delete;
  Viewed& operator=(const Viewed&) = delete;
  [[nodiscard]] const fwpack::LintInput& input() const { return input_; }
  [[nodiscard]] const fwpack::CrlView& crl(std::size_t at = 0) const { return package_.bundle->crls.at(at); }

 private:
  ScratchDir dir_;
  fwpack::PackageView package_{};
  fwpack::CertView root_ = fwpack::ViewCert(der::ToText(Maker().root.der));
  std::optional<fwpack::BundleView> none_{};
  fwpack::LintInput input_{.package = package_, .root = root_, .device_crl = none_};
};

TEST(CrlIssuers, FindsTheOwnerOfTheKeyAmongEqualNames) {
  const Viewed viewed({.crls = CrlsOf(Owner(), 1), .bundle_certs = BehindDecoys(5, Owner())});
  const fwpack::Scene scene(viewed.input());
  const CrlIssuer issuer = CrlIssuers().Of(scene, viewed.crl());
  EXPECT_TRUE(issuer.is_known);
  EXPECT_FALSE(issuer.device_finds);
  ASSERT_NE(issuer.key_owner, nullptr);
  EXPECT_EQ(issuer.key_owner->der, der::ToText(Owner().der));
}

TEST(CrlIssuers, VerifiesNoMoreSignaturesThanItMay) {
  const Viewed viewed({.crls = CrlsOf(Owner(), 1), .bundle_certs = BehindDecoys(5, Owner())});
  const fwpack::Scene scene(viewed.input());
  EXPECT_FALSE(CrlIssuers(5).Of(scene, viewed.crl()).is_known);
  EXPECT_NE(CrlIssuers(6).Of(scene, viewed.crl()).key_owner, nullptr);
}

TEST(CrlIssuers, CountsTheSignaturesOfAllCrlsTogether) {
  const Viewed viewed({.crls = CrlsOf(Owner(), 3), .bundle_certs = BehindDecoys(5, Owner())});
  const fwpack::Scene scene(viewed.input());
  CrlIssuers issuers(12);
  EXPECT_TRUE(issuers.Of(scene, viewed.crl(0)).is_known);
  EXPECT_TRUE(issuers.Of(scene, viewed.crl(1)).is_known);
  EXPECT_FALSE(issuers.Of(scene, viewed.crl(2)).is_known);
}

TEST(CrlIssuers, SearchesOnceForEachCrl) {
  const Viewed viewed({.crls = CrlsOf(Owner(), 2), .bundle_certs = BehindDecoys(5, Owner())});
  const fwpack::Scene scene(viewed.input());
  CrlIssuers issuers(12);
  for (int i = 0; i < 3; ++i) EXPECT_NE(issuers.Of(scene, viewed.crl(0)).key_owner, nullptr);
  EXPECT_NE(issuers.Of(scene, viewed.crl(1)).key_owner, nullptr) << "there are six signatures left for it";
}

TEST(CrlIssuers, TriesEqualKeysOnce) {
  const Viewed viewed({.crls = {ForgedCrl()}, .bundle_certs = std::vector<Cert>(20, Owner())});
  const fwpack::Scene scene(viewed.input());
  const CrlIssuer issuer = CrlIssuers(1).Of(scene, viewed.crl());
  EXPECT_TRUE(issuer.is_known);
  EXPECT_EQ(issuer.key_owner, nullptr);
}

TEST(CrlIssuers, TriesTheKeyThatTheCrlNamesFirst) {
  const Cert owner = Owner({KeyId(7)});
  const Viewed viewed(
      {.crls = CrlsOf(owner, 1, {.extra = {NamesKey(7)}}), .bundle_certs = BehindDecoys(20, owner)});
  const fwpack::Scene scene(viewed.input());
  EXPECT_NE(CrlIssuers(1).Of(scene, viewed.crl()).key_owner, nullptr);
}

TEST(CrlIssuers, FindsTheOwnerAlsoWhenTheCrlNamesAnotherKey) {
  const Cert owner = Owner({KeyId(7)});
  const Viewed viewed(
      {.crls = CrlsOf(owner, 1, {.extra = {NamesKey(8)}}), .bundle_certs = BehindDecoys(2, owner)});
  const fwpack::Scene scene(viewed.input());
  EXPECT_NE(CrlIssuers().Of(scene, viewed.crl()).key_owner, nullptr);
}

TEST(CrlIssuers, TriesNoKeyThatIsTooShortForTheSignature) {
  pki::CertSpec other_length = OfThatName();
  other_length.key = pki::KeyNamed("crl-issuers-short", 1024);
  const Viewed viewed(
      {.crls = CrlsOf(Owner(), 1), .bundle_certs = {pki::Issue(Maker().root, other_length), Owner()}});
  const fwpack::Scene scene(viewed.input());
  EXPECT_NE(CrlIssuers(1).Of(scene, viewed.crl()).key_owner, nullptr);
}

std::size_t CountOf(const std::vector<fwpack::Finding>& findings, std::string_view rule) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [rule](const fwpack::Finding& finding) { return finding.rule->id == rule; }));
}

TEST(CrlIssuers, GivesUpOnManyEqualNamesWithoutAFalseFinding) {
  constexpr std::size_t kDecoys = 31;
  constexpr std::size_t kCrls = 32;
  const Viewed viewed({.crls = CrlsOf(Owner(), kCrls), .bundle_certs = BehindDecoys(kDecoys, Owner())});
  const auto findings = fwpack::Lint(viewed.input());
  EXPECT_EQ(CountOf(findings, "crl-issuer-missing"), 0U);
  EXPECT_EQ(CountOf(findings, "crl-issuer-without-crl-sign"), fwpack::kMaxVerifications / (kDecoys + 1));
}

}  // namespace
