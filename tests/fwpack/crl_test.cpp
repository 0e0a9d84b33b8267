#include "tools/fwpack/crl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"
#include "verify/lumo.h"

using fwpack::CrlBundleOptions;
using fwpack::MakeCrlBundle;
using fwpack::ParseRevocation;
using fwpack::ParseUtcTime;
using packtest::ErrorOf;
using packtest::Pki;
using packtest::ReadText;
using testing::HasSubstr;
using testing::Not;

namespace {

CrlBundleOptions BundleFor(const ScratchDir& dir, const std::string& this_update = "2025-01-01") {
  CrlBundleOptions options;
  options.pki = Pki("");
  options.this_update = ParseUtcTime(this_update);
  options.out = dir / "bundle.pem";
  return options;
}

// Adds one more certificate of the issuing CA, for the key of "signer".
void AddSigner(const std::filesystem::path& pki, const std::string& name) {
  const fwpack::CertSpec spec{.kind = fwpack::CertKind::kCodeSigner,
                              .common_name = name,
                              .not_before = ParseUtcTime("2024-01-01"),
                              .not_after = ParseUtcTime("2040-01-01")};
  const fwpack::KeyPtr key = fwpack::LoadKey(pki / "signer.key");
  const fwpack::KeyPtr issuer_key = fwpack::LoadKey(pki / "issuing-ca.key");
  const fwpack::CertPtr issuer = fwpack::LoadCert(pki / "issuing-ca.pem");
  const fwpack::CertPtr cert = fwpack::MakeCert(spec, key.get(), issuer.get(), issuer_key.get());
  packtest::WriteText(pki / (name + ".pem"), fwpack::CertToPem(cert.get()));
}

int Compare(const std::string& offered, const std::string& stored) {
  return packtest::Device(ReadText(Pki("root.pem"))).Compare(offered, stored);
}

// The CRL number `index` of a bundle in the words of the openssl program.
std::string DescribeCrl(const ScratchDir& dir, std::size_t index) {
  const std::string bundle = ReadText(dir / "bundle.pem");
  const std::string begin = "-----BEGIN X509 CRL-----";
  std::size_t at = bundle.find(begin);
  for (; index > 0; --index) at = bundle.find(begin, at + 1);
  packtest::WriteText(dir / "one.crl", bundle.substr(at));
  const ToolResult result = packtest::OpenSsl({"crl", "-in", dir / "one.crl", "-noout", "-text"});
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

}  // namespace

TEST(ParseRevocation, TakesNameReasonAndDate) {
  const fwpack::Revocation name = ParseRevocation("signer");
  EXPECT_EQ(name.name, "signer");
  EXPECT_EQ(name.reason, -1);
  EXPECT_FALSE(name.date.has_value());
  EXPECT_EQ(ParseRevocation("signer:keyCompromise").reason, 1);
  EXPECT_EQ(ParseRevocation("signer:aACompromise").reason, 10);
  const fwpack::Revocation all = ParseRevocation("tsa:superseded:2025-01-02T03:04:05Z");
  EXPECT_EQ(all.reason, 4);
  EXPECT_EQ(all.date, ParseUtcTime("2025-01-02T03:04:05Z"));
  const fwpack::Revocation undated = ParseRevocation("tsa::2025-01-02");
  EXPECT_EQ(undated.reason, -1);
  EXPECT_EQ(undated.date, ParseUtcTime("2025-01-02"));
}

TEST(ParseRevocation, RefusesTheRest) {
  EXPECT_THAT(ErrorOf([] { (void)ParseRevocation(""); }), HasSubstr("names no certificate"));
  EXPECT_THAT(ErrorOf([] { (void)ParseRevocation(":superseded"); }), HasSubstr("names no certificate"));
  EXPECT_THAT(ErrorOf([] { (void)ParseRevocation("../x"); }), HasSubstr("without path"));
  EXPECT_THAT(ErrorOf([] { (void)ParseRevocation("x:bored"); }), HasSubstr("keyCompromise"));
  EXPECT_THAT(ErrorOf([] { (void)ParseRevocation("x:superseded:soon"); }), HasSubstr("is no time"));
}

TEST(CrlBundle, RevokesInTheCrlOfTheIssuer) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  options.revocations = {ParseRevocation("signer:keyCompromise:2024-06-01"), ParseRevocation("tsa-ca"),
                         ParseRevocation("tsa:cessationOfOperation")};
  MakeCrlBundle(options);
  const std::string root = DescribeCrl(dir, 0);
  EXPECT_THAT(root, HasSubstr("Last Update: Jan  1 00:00:00 2025 GMT"));
  EXPECT_THAT(root, HasSubstr("Revocation Date: Jan  1 00:00:00 2025 GMT"));
  EXPECT_THAT(root, Not(HasSubstr("Reason Code")));
  const std::string issuing = DescribeCrl(dir, 1);
  EXPECT_THAT(issuing, HasSubstr("Revocation Date: Jun  1 00:00:00 2024 GMT"));
  EXPECT_THAT(issuing, HasSubstr("Key Compromise"));
  EXPECT_THAT(DescribeCrl(dir, 2), HasSubstr("Cessation Of Operation"));
}

TEST(CrlBundle, WithLaterUpdatesIsNewerToTheDevice) {
  const ScratchDir dir;
  MakeCrlBundle(BundleFor(dir));
  const std::string offered = ReadText(dir / "bundle.pem");
  const std::string stored = ReadText(Pki("bundle.pem"));
  EXPECT_EQ(Compare(offered, stored), SCPS_NEW);
  EXPECT_EQ(Compare(stored, offered), SCPS_OLD);
  EXPECT_EQ(Compare(stored, stored), SCPS_SAME);
}

TEST(CrlBundle, CanRenewOneIssuerAlone) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  options.issuers = {"issuing-ca"};
  MakeCrlBundle(options);
  EXPECT_THAT(DescribeCrl(dir, 0), HasSubstr("Last Update: Jan  1 00:00:00 2024 GMT"));
  EXPECT_THAT(DescribeCrl(dir, 1), HasSubstr("Last Update: Jan  1 00:00:00 2025 GMT"));
  const std::string issuing_newer = ReadText(dir / "bundle.pem");
  options.issuers = {"root", "tsa-ca"};
  MakeCrlBundle(options);
  EXPECT_EQ(Compare(issuing_newer, ReadText(Pki("bundle.pem"))), SCPS_NEW);
  EXPECT_EQ(Compare(issuing_newer, ReadText(dir / "bundle.pem")), SCPS_MIX);
}

TEST(CrlBundle, ReplacesAnEarlierOne) {
  const ScratchDir dir;
  packtest::WriteText(dir / "bundle.pem", "earlier");
  MakeCrlBundle(BundleFor(dir));
  EXPECT_THAT(ReadText(dir / "bundle.pem"), Not(HasSubstr("earlier")));
}

TEST(CrlBundle, NeverReplacesAKey) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  packtest::WriteText(dir / "bundle.pem", ReadText(Pki("signer.key")));
  EXPECT_THAT(ErrorOf([&options] { MakeCrlBundle(options); }), HasSubstr("bundle.pem: holds a private key"));
  EXPECT_EQ(ReadText(dir / "bundle.pem"), ReadText(Pki("signer.key")));
}

TEST(CrlBundle, NeverReplacesAFileOfThePki) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  options.pki = dir / "pki";
  std::filesystem::copy(Pki(""), options.pki);
  std::filesystem::create_symlink("pki/tsa.pem", dir / "link");
  for (const char* out :
       {"pki/root.pem", "pki/signer.pem", "pki/root.crl", "pki/../pki/tsa-ca.crl", "link"}) {
    options.out = dir / out;
    const std::string before = ReadText(options.out);
    EXPECT_THAT(ErrorOf([&options] { MakeCrlBundle(options); }),
                HasSubstr("is a file of the PKI and will not be overwritten"))
        << out;
    EXPECT_EQ(ReadText(options.out), before) << out;
  }
}

TEST(CrlBundle, MayReplaceTheBundlesOfThePki) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  options.pki = dir / "pki";
  std::filesystem::copy(Pki(""), options.pki);
  std::filesystem::copy_file(options.pki / "bundle.pem", options.pki / "second.pem");
  for (const char* out : {"bundle.pem", "second.pem"}) {
    options.out = options.pki / out;
    MakeCrlBundle(options);
    EXPECT_NE(ReadText(options.out), ReadText(Pki("bundle.pem"))) << out;
  }
}

TEST(CrlBundle, TakesAsManyEntriesAsTheDeviceDecodesAndNoMore) {
  const ScratchDir dir;
  CrlBundleOptions options = BundleFor(dir);
  options.pki = dir / "pki";
  std::filesystem::copy(Pki(""), options.pki);
  for (int i = 0; i < 20; ++i) {
    const std::string name = "more" + std::to_string(i);
    AddSigner(options.pki, name);
    options.revocations.push_back(ParseRevocation(name));
  }
  MakeCrlBundle(options);
  EXPECT_EQ(Compare(ReadText(dir / "bundle.pem"), ReadText(Pki("bundle.pem"))), SCPS_NEW);
  options.revocations.push_back(ParseRevocation("signer"));
  EXPECT_THAT(ErrorOf([&options] { MakeCrlBundle(options); }), HasSubstr("at most 20"));
}

TEST(CrlBundle, RefusesWhatThePkiDoesNotHave) {
  struct Case {
    const char* error;
    std::function<void(CrlBundleOptions&)> change;
  };
  const Case cases[] = {
      {"--revoke: 'nobody' is no certificate of",
       [](CrlBundleOptions& o) { o.revocations = {ParseRevocation("nobody")}; }},
      {"--revoke: 'signer' is named twice",
       [](CrlBundleOptions& o) { o.revocations.assign(2, ParseRevocation("signer")); }},
      {"'signer' is no issuer", [](CrlBundleOptions& o) { o.issuers = {"signer"}; }},
      {"whose CRL is not made new",
       [](CrlBundleOptions& o) {
         o.issuers = {"root"};
         o.revocations = {ParseRevocation("signer")};
       }},
      {"--next-update", [](CrlBundleOptions& o) { o.next_update = o.this_update; }},
      {"no digest", [](CrlBundleOptions& o) { o.digest = "md5"; }},
      {"there are issuing-ca, root, signer, signer2, tsa, tsa-ca",
       [](CrlBundleOptions& o) { o.revocations = {ParseRevocation("bundle")}; }},
      {"/nowhere: is no development PKI; `fwpack devpki` makes one",
       [](CrlBundleOptions& o) { o.pki = "/nowhere"; }},
  };
  for (const Case& c : cases) {
    const ScratchDir dir;
    CrlBundleOptions options = BundleFor(dir);
    c.change(options);
    EXPECT_THAT(ErrorOf([&options] { MakeCrlBundle(options); }), HasSubstr(c.error));
    EXPECT_TRUE(packtest::NamesIn(dir.path()).empty());
  }
}
