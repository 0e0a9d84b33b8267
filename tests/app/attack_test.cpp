// Packages that try to pass for genuine. Each carries right tails; what is wrong lies in the signature or the
// CRLs.

#include <functional>

#include "app/fwvet.h"
#include "tests/app/app_fixture.h"
#include "tests/support/forged_messages.h"

namespace {

using der::Bytes;
using pki::Cert;

const world::ForgedMessages& Forged() {
  static const world::ForgedMessages messages(TheWorld(), der::FromText("software"));
  return messages;
}

// What the check says when begin refuses the signature with `code`.
std::string BeginRefuses(const std::string& code) {
  return "\r\nAdd signature file error, code " + code + ".\r\n\r\nverify failed.\r\n";
}
const std::string kAccepted = "\r\nverify success.\r\n";
const std::string kDigestDiffers = "\r\nverify failed.\r\n";

struct Attempt {
  Bytes signature;
  Bytes crl = TheWorld().Crls({});
};

struct Case {
  const char* name;
  std::function<Attempt()> make;
  std::string printed;
};

void PrintTo(const Case& attack, std::ostream* out) {
  *out << attack.name;
}

class Attack : public AppTest, public testing::WithParamInterface<Case> {};

TEST_P(Attack, EndsInItsVerdict) {
  const Attempt attempt = GetParam().make();
  const std::string path =
      Save("package", package::Build(Forged().content(), attempt.signature, attempt.crl));
  unsigned int verdict = 99;
  EXPECT_EQ(PrintedVerbosely([&] { verdict = FileCertCheck(path.c_str()); }), GetParam().printed);
  EXPECT_EQ(verdict, GetParam().printed == kAccepted ? 0U : 0xFFFFFFFFU);
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

// The time-stamp.
INSTANTIATE_TEST_SUITE_P(
    TimeStamp, Attack,
    testing::Values(Case{"OfAnotherSignature",
                         [] {
                           return Attempt{Forged().WithRawToken(
                               pki::MakeToken(Forged().GoodToken(), der::FromText("another")))};
                         },
                         BeginRefuses("88200402")},
                    Case{"OverTheContent",
                         [] {
                           return Attempt{Forged().WithRawToken(
                               pki::MakeToken(Forged().GoodToken(), Forged().content()))};
                         },
                         BeginRefuses("88200402")},
                    Case{"OfAHashThatIsNotKnown",
                         [] {
                           pki::TokenSpec token = Forged().GoodToken();
                           token.imprint_hash = "SHA1";
                           return Attempt{Forged().Message(TheWorld().signer, token)};
                         },
                         BeginRefuses("88200016")},
                    Case{"OfAnotherGoodHash",
                         [] {
                           pki::TokenSpec token = Forged().GoodToken();
                           token.imprint_hash = "SHA512";
                           return Attempt{Forged().Message(TheWorld().signer, token)};
                         },
                         kAccepted},
                    Case{"MissingAndOnlyASigningTime", [] { return Attempt{Forged().WithRawToken({})}; },
                         BeginRefuses("88100001")},
                    Case{"ThatIsTheMessageItself",
                         [] { return Attempt{Forged().WithRawToken(Forged().Message(TheWorld().signer))}; },
                         BeginRefuses("88100001")},
                    Case{"ByACodeSigner",
                         [] {
                           pki::TokenSpec token = Forged().GoodToken();
                           token.tsa = TheWorld().other_signer;
                           token.certs = {token.tsa};
                           return Attempt{Forged().Message(TheWorld().signer, token)};
                         },
                         BeginRefuses("88200007")},
                    Case{"FromBeforeTheCertificates",
                         [] {
                           pki::TokenSpec token = Forged().GoodToken();
                           token.time = pki::Utc(2019, 12, 31, 23, 59, 59);
                           return Attempt{Forged().Message(TheWorld().signer, token)};
                         },
                         BeginRefuses("88200013")}),
    CaseName);

// Who signs.
INSTANTIATE_TEST_SUITE_P(
    Signer, Attack,
    testing::Values(
        Case{"IsTheTimeStamper", [] { return Attempt{Forged().Message(TheWorld().tsa)}; },
             BeginRefuses("88200007")},
        Case{"IsSelfSigned",
             [] { return Attempt{Forged().Message(pki::SelfSigned(pki::CodeSignerSpec("stranger")))}; },
             BeginRefuses("88200301")},
        Case{"BearsTheRootsNameTwice",
             [] {
               pki::CertSpec spec = pki::CodeSignerSpec("app-root", {9});
               spec.issuer = spec.subject;
               spec.key = pki::KeyNamed("stranger");
               return Attempt{Forged().Message(pki::Issue(TheWorld().ca, spec))};
             },
             BeginRefuses("88200004")},
        Case{"WasIssuedByALeaf",
             [] {
               return Attempt{
                   Forged().Message(pki::Issue(TheWorld().signer, pki::CodeSignerSpec("leaf", {9})))};
             },
             BeginRefuses("88200004")},
        Case{"ChainsIntoACycle",
             [] {
               // Two CAs that issued each other.
               const Cert a_self = pki::SelfSigned(pki::CaSpec("cycle-a"));
               const Cert b = pki::Issue(a_self, pki::CaSpec("cycle-b", {5}));
               const Cert a = pki::Issue(b, pki::CaSpec("cycle-a", {6}));
               const Cert leaf = pki::Issue(a, pki::CodeSignerSpec("leaf", {9}));
               const Bytes crls = der::Concat(
                   TheWorld().Crls({}),
                   der::FromText(pki::PemBundle({pki::MakeCrl(a, {}), pki::MakeCrl(b, {})}, {a, b})));
               return Attempt{Forged().Message(leaf), crls};
             },
             BeginRefuses("88200004")}),
    CaseName);

// The CRLs of the package.
INSTANTIATE_TEST_SUITE_P(
    Crl, Attack,
    testing::Values(
        Case{"OfTheRightNameByAnotherKey",
             [] {
               Cert forger = TheWorld().ca;
               forger.key = pki::KeyNamed("stranger");
               const Bytes forged = der::FromText(pki::PemBundle({pki::MakeCrl(forger, {})}, {}));
               return Attempt{Forged().Message(TheWorld().signer),
                              der::Concat(TheWorld().Crls({.with_ca_crl = false}), forged)};
             },
             BeginRefuses("88200012")},
        Case{"OfASiblingOnly",
             [] {
               return Attempt{Forged().Message(TheWorld().signer), TheWorld().Crls({.with_ca_crl = false})};
             },
             BeginRefuses("88200012")},
        Case{"WithoutTheRootsOwn",
             [] {
               return Attempt{Forged().Message(TheWorld().signer), TheWorld().Crls({.with_root_crl = false})};
             },
             BeginRefuses("88200012")},
        Case{"ByACaThatMayNotSignCrls",
             [] {
               pki::CertSpec spec = pki::CaSpec("no-crl-ca", {8});
               spec.key_usage = "critical,keyCertSign";
               const Cert ca = pki::Issue(TheWorld().root, spec);
               const Cert leaf = pki::Issue(ca, pki::CodeSignerSpec("leaf", {9}));
               const Bytes crl = der::FromText(pki::PemBundle({pki::MakeCrl(ca, {})}, {ca}));
               return Attempt{Forged().Message(leaf), der::Concat(TheWorld().Crls({}), crl)};
             },
             BeginRefuses("88200012")},
        Case{"ThatIsOutOfDate",
             [] {
               const pki::CrlSpec stale{.next_update = pki::Utc(2024, 5, 31)};
               const Bytes crl = der::FromText(pki::PemBundle({pki::MakeCrl(TheWorld().ca, stale)}, {}));
               return Attempt{Forged().Message(TheWorld().signer),
                              der::Concat(TheWorld().Crls({.with_ca_crl = false}), crl)};
             },
             BeginRefuses("88200012")}),
    CaseName);

// The form of the message.
INSTANTIATE_TEST_SUITE_P(
    Form, Attack,
    testing::Values(
        Case{"IsAsItShouldBe", [] { return Attempt{Forged().Raw({Forged().RightDigest()})}; }, kAccepted},
        Case{"HasAnEmptyDigestAlgorithmSet",
             [] {
               return Attempt{Forged().Raw({Forged().RightDigest()},
                                           [](pki::RawSignedData& message, pki::RawSignerInfo&) {
                                             message.digest_algorithms = der::Set();
                                           })};
             },
             kAccepted},
        Case{"HasTwoSigners",
             [] {
               return Attempt{Forged().Raw({Forged().RightDigest()},
                                           [](pki::RawSignedData& message, pki::RawSignerInfo& by) {
                                             message.signer_infos = {by.Encode(), by.Encode()};
                                           })};
             },
             BeginRefuses("88200312")},
        Case{"HasThreeCertificates",
             [] {
               return Attempt{Forged().Message(TheWorld().signer, Forged().GoodToken(),
                                               {TheWorld().ca, TheWorld().tsa})};
             },
             BeginRefuses("88200312")},
        Case{"HasDroppedItsSignedAttributes",
             [] {
               return Attempt{Forged().Raw(
                   {Forged().RightDigest()},
                   [](pki::RawSignedData&, pki::RawSignerInfo& by) { by.signed_attributes = {}; })};
             },
             kDigestDiffers},
        Case{"HasChangedItsSignedAttributes",
             [] {
               return Attempt{Forged().Raw(
                   {world::MessageDigest(Bytes(32))}, [](pki::RawSignedData&, pki::RawSignerInfo& by) {
                     by.signed_attributes = der::Implicit(0, der::Set(Forged().RightDigest()));
                   })};
             },
             BeginRefuses("88200309")},
        Case{"HasNoMessageDigest",
             [] {
               return Attempt{Forged().Raw({pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData))})};
             },
             BeginRefuses("88000002")},
        Case{"HasADigestOfNoBytes", [] { return Attempt{Forged().Raw({world::MessageDigest({})})}; },
             BeginRefuses("88000002")},
        Case{"HasADigestOf31Bytes",
             [] {
               Bytes digest = pki::DigestOf("SHA256", Forged().content());
               digest.pop_back();
               return Attempt{Forged().Raw({world::MessageDigest(digest)})};
             },
             kDigestDiffers},
        Case{"HasADigestOf33Bytes",
             [] {
               Bytes digest = pki::DigestOf("SHA256", Forged().content());
               digest.push_back(0);
               return Attempt{Forged().Raw({world::MessageDigest(digest)})};
             },
             kDigestDiffers},
        Case{"HasADigestOfAMillionBytes",
             [] { return Attempt{Forged().Raw({world::MessageDigest(Bytes(1000000))})}; },
             BeginRefuses("880000ff")},
        Case{"HasAWrongDigestInFrontOfTheRightOne",
             [] {
               return Attempt{Forged().Raw({world::MessageDigest(Bytes(32)), Forged().RightDigest()})};
             },
             kAccepted},
        Case{"HasAWrongDigestBehindTheRightOne",
             [] {
               return Attempt{Forged().Raw({Forged().RightDigest(), world::MessageDigest(Bytes(32))})};
             },
             kDigestDiffers},
        Case{"HasALengthOf4GiB",
             [] { return Attempt{der::RawLength(0x30, der::LongLength(0xFFFFFFFF, 4), Bytes(100))}; },
             BeginRefuses("88200312")},
        Case{"HasNothingButNestedSequences",
             [] {
               Bytes nested;
               for (int i = 0; i < 100000; ++i)
                 nested.insert(nested.end(), {0x30, 0x84, 0x00, 0x00, 0x00, 0x10});
               return Attempt{nested};
             },
             BeginRefuses("88200312")}),
    CaseName);

// A signature over signed attributes is, bit for bit, also one over their encoding as content. Nothing on the
// device can tell the two apart: such a file passes, but it can only be those attributes themselves.
TEST_F(AppTest, TheSignedAttributesThemselvesPassAsContentAndNothingElseDoes) {
  const auto dropped = [](pki::RawSignedData&, pki::RawSignerInfo& by) { by.signed_attributes = {}; };
  const Bytes message = Forged().Raw({Forged().RightDigest()}, dropped);
  const Bytes attributes = der::Set(Forged().RightDigest());
  const std::string same = Save("attributes", package::Build(attributes, message, TheWorld().Crls({})));
  EXPECT_EQ(FileCertCheck(same.c_str()), 0U);
  Bytes longer = attributes;
  longer.push_back(0);
  const std::string other = Save("longer", package::Build(longer, message, TheWorld().Crls({})));
  EXPECT_EQ(FileCertCheck(other.c_str()), 0xFFFFFFFFU);
}

}  // namespace
