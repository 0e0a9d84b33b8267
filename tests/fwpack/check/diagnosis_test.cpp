// Each kind of refusal: its step, its culprit, its code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>

#include "tests/fwpack/check/check_fixture.h"
#include "tests/support/forged_messages.h"
#include "tools/fwpack/check/diagnosis.h"
#include "tools/fwpack/check/steps.h"

namespace {

using checktest::Maker;
using der::Bytes;
using fwpack::CheckResult;
using fwpack::Reason;
using testing::HasSubstr;
using world::CrlPlan;
using world::PackagePlan;
namespace steps = fwpack::steps;

const world::ForgedMessages& Forged() {
  static const world::ForgedMessages messages(Maker(), der::FromText("software"));
  return messages;
}

Bytes Build(const Bytes& signature, const Bytes& crl = Maker().Crls({})) {
  return package::Build(Forged().content(), signature, crl);
}

Bytes Stamped(const std::function<void(pki::TokenSpec&)>& change) {
  pki::TokenSpec token = Forged().GoodToken();
  change(token);
  return Build(Forged().Message(Maker().signer, token));
}

pki::Cert Signer(const std::function<void(pki::CertSpec&)>& change) {
  pki::CertSpec spec = pki::CodeSignerSpec("odd-signer", {9});
  change(spec);
  return pki::Issue(Maker().ca, spec);
}

// A signer under a CA of its own, both with their CRLs.
Bytes UnderCa(const std::function<void(pki::CertSpec&)>& change) {
  pki::CertSpec spec = pki::CaSpec("sub-ca", {8});
  change(spec);
  const pki::Cert ca = pki::Issue(Maker().root, spec);
  const pki::Cert leaf = pki::Issue(ca, pki::CodeSignerSpec("leaf", {9}));
  return Build(Forged().Message(leaf),
               der::Concat(Maker().Crls({}), der::FromText(pki::PemBundle({pki::MakeCrl(ca, {})}, {ca}))));
}

Bytes RevokingCrls(const pki::Cert& cert, std::optional<int> reason = std::nullopt) {
  CrlPlan plan{.root_update = pki::Utc(2024, 5, 3), .ca_update = pki::Utc(2024, 5, 3)};
  (&cert == &Maker().ca ? plan.by_root : plan.by_ca) = {world::Revoke(cert, pki::Utc(2024, 5, 2), reason)};
  return Maker().Crls(plan);
}

Bytes WithoutCaCrlBut(const Bytes& crl) {
  return der::Concat(Maker().Crls({.with_ca_crl = false}), der::FromText(pki::PemBundle({crl}, {})));
}

// A signer info over a right digest, to be bent.
Bytes Bent(const std::function<void(pki::RawSignedData&, pki::RawSignerInfo&)>& bend) {
  const Bytes digest =
      pki::Attribute(pki::kOidMessageDigest, der::OctetString(pki::DigestOf("SHA256", Forged().content())));
  pki::RawSignerInfo info = pki::SignAttributes(Maker().signer, {digest});
  info.unsigned_attributes = pki::TokenAttributes(pki::MakeToken(Forged().GoodToken(), info.signature));
  pki::RawSignedData message;
  message.certificates = {Maker().signer.der};
  bend(message, info);
  message.signer_infos.push_back(info.Encode());
  return Build(message.Encode());
}

// A package whose time-stamp token is made piece by piece around a right statement.
Bytes RawStamped(const std::function<Bytes(const Bytes&)>& make_token) {
  const Bytes digest =
      pki::Attribute(pki::kOidMessageDigest, der::OctetString(pki::DigestOf("SHA256", Forged().content())));
  pki::RawSignerInfo info = pki::SignAttributes(Maker().signer, {digest});
  info.unsigned_attributes =
      pki::TokenAttributes(make_token(pki::MakeTstInfo(Forged().GoodToken(), info.signature)));
  pki::RawSignedData message;
  message.certificates = {Maker().signer.der};
  message.signer_infos = {info.Encode()};
  return Build(message.Encode());
}

struct Refused {
  const char* name;
  std::function<Bytes()> package;
  const char* step;
  const char* where;
  LUMO_ERROR_CODE code;
  const char* explanation;
};

void PrintTo(const Refused& refused, std::ostream* out) {
  *out << refused.name;
}

class Diagnosis : public testing::TestWithParam<Refused> {
 protected:
  checktest::Files files_;
};

TEST_P(Diagnosis, NamesStepCulpritAndCode) {
  const Refused& expected = GetParam();
  const CheckResult result = files_.Check(expected.package());
  EXPECT_FALSE(result.accepted);
  ASSERT_EQ(result.reasons.size(), 1U);
  const Reason& reason = result.reasons.front();
  EXPECT_EQ(reason.step, expected.step);
  EXPECT_THAT(reason.where, HasSubstr(expected.where));
  EXPECT_EQ(reason.code, expected.code) << lumo_error_name(reason.code);
  EXPECT_THAT(reason.explanation, HasSubstr(expected.explanation));
  const std::string meaning = expected.code == 0 ? "" : lumo_error_meaning(expected.code);
  EXPECT_THAT(reason.explanation, HasSubstr(meaning));
  EXPECT_NE(reason.remedy, "");
}

std::string NameOf(const testing::TestParamInfo<Refused>& info) {
  return info.param.name;
}

const Refused kBlocks[] = {
    {"EmptyFile", [] { return Bytes{}; }, steps::kLastTail, "CRL block", 0, "too short"},
    {"FileOf99Bytes", [] { return Bytes(99); }, steps::kLastTail, "CRL block", 0, "too short"},
    {"NoTail", [] { return Bytes(1000); }, steps::kLastTail, "CRL block", 0,
     "at offset 900: the magic is missing"},
    {"DamagedCrlTail",
     [] {
       Bytes file = Maker().Package({});
       file.at(file.size() - package::kEndPad - 10) ^= 1;
       return file;
     },
     steps::kCrlBlock, "CRL block", 0, "its CRC is wrong"},
    {"CrlLengthOutOfTheFile",
     [] { return der::Concat(Bytes(100), package::Tail(168, 500), Bytes(package::kEndPad)); },
     steps::kCrlBlock, "CRL block", 0, "500 bytes at offset 0"},
    {"NoSignatureTail",
     [] { return der::Concat(Bytes(100), package::Block(Maker().Crls({})), Bytes(package::kEndPad)); },
     steps::kSignatureBlock, "signature block", 0, "at offset 32: the magic is missing"},
    {"NoRoomForASignatureTail",
     [] { return der::Concat(Bytes(10), package::Block(Bytes(10)), Bytes(package::kEndPad)); },
     steps::kSignatureBlock, "signature block", 0, "no room for its tail record"},
    {"SignatureLengthOutOfTheFile",
     [] {
       return der::Concat(Bytes(100), package::Tail(168, 0xFFFFFFF0U), package::Block(Maker().Crls({})),
                          Bytes(package::kEndPad));
     },
     steps::kSignatureBlock, "signature block", 0, "4294967280 bytes at offset 0"},
};
INSTANTIATE_TEST_SUITE_P(Blocks, Diagnosis, testing::ValuesIn(kBlocks), NameOf);

const Refused kBundles[] = {
    {"EmptyBundle", [] { return Maker().Package({.raw_crl = Bytes{}}); }, steps::kLoadCrls, "CRL block",
     LUMO_ERR_PARAM, "holds no bytes"},
    {"GarbageBundle", [] { return Maker().Package({.raw_crl = Bytes(64, 'x')}); }, steps::kLoadCrls,
     "CRL block", LUMO_ERR_CRL_DECODE, "nothing in it can be decoded"},
    {"SeventeenCrls",
     [] {
       std::vector<Bytes> crls;
       for (int i = 0; i < 17; ++i) crls.push_back(pki::MakeCrl(Maker().ca, {.this_update = pki::kDay * i}));
       return Maker().Package({.raw_crl = der::FromText(pki::PemBundle(crls, {}))});
     },
     steps::kLoadCrls, "CRL block", LUMO_ERR_CRL_DECODE, "more than 16 CRLs"},
    {"NoCrlOfTheRoot", [] { return Maker().Package({.crl = {.with_root_crl = false}}); },
     steps::kJudgeStamper, "'CN = issuing-ca' (serial 02", LUMO_ERR_CRL_NOT_FOUND,
     "there is no CRL of its issuer 'CN = e2e-root'"},
    {"NoCrlOfTheCa", [] { return Maker().Package({.crl = {.with_ca_crl = false}}); }, steps::kJudgeStamper,
     "'CN = time-stamper' (serial 04", LUMO_ERR_CRL_NOT_FOUND,
     "there is no CRL of its issuer 'CN = issuing-ca'"},
    {"StaleCrl",
     [] {
       return Build(Forged().Message(Maker().signer),
                    WithoutCaCrlBut(pki::MakeCrl(Maker().ca, {.next_update = pki::Utc(2024, 5, 31)})));
     },
     steps::kJudgeStamper, "'CN = time-stamper'", LUMO_ERR_CRL_NOT_FOUND,
     "CRL of 'CN = issuing-ca' (this update 2024-05-01T00:00:00Z): it ends at 2024-05-31T00:00:00Z, judged "
     "at "
     "2024-06-01T12:00:00Z"},
    {"ForgedCrl",
     [] {
       pki::Cert forger = Maker().ca;
       forger.key = pki::KeyNamed("stranger");
       return Build(Forged().Message(Maker().signer), WithoutCaCrlBut(pki::MakeCrl(forger, {})));
     },
     steps::kJudgeStamper, "'CN = time-stamper'", LUMO_ERR_CRL_NOT_FOUND, "has the key that signed it"},
};
INSTANTIATE_TEST_SUITE_P(Bundles, Diagnosis, testing::ValuesIn(kBundles), NameOf);

const Refused kStamps[] = {
    {"NoStamp", [] { return Build(Forged().WithRawToken({})); }, steps::kReadStamp, "time-stamp",
     LUMO_ERR_PARAM, "the signature carries none"},
    {"BrokenStamp", [] { return Build(Forged().WithRawToken(der::Seq(der::Integer(1)))); }, steps::kReadStamp,
     "time-stamp", LUMO_ERR_PKCS7_DECODE, "it cannot be decoded"},
    {"StampWithoutStatement", [] { return Build(Forged().WithRawToken(Forged().Message(Maker().signer))); },
     steps::kReadStamp, "time-stamp", LUMO_ERR_PARAM, "it carries no TSTInfo"},
    {"StampOfNobody",
     [] {
       return RawStamped([](const Bytes& statement) {
         pki::RawSignedData token;
         token.content = pki::TstContent(statement);
         return token.Encode();
       });
     },
     steps::kReadStamp, "time-stamp", LUMO_ERR_TSA_SIGNATURE, "nobody signed it"},
    {"StampOfAnotherSignature",
     [] {
       return Build(Forged().WithRawToken(pki::MakeToken(Forged().GoodToken(), der::FromText("another"))));
     },
     steps::kCompareImprint, "time-stamp", LUMO_ERR_TST_IMPRINT, ""},
    {"StampOfSha1", [] { return Stamped([](auto& token) { token.imprint_hash = "SHA1"; }); },
     steps::kCompareImprint, "time-stamp", LUMO_ERR_TST_HASH_ALGO, ""},
    {"StampWithoutItsCertificate", [] { return Stamped([](auto& token) { token.certs = {}; }); },
     steps::kFindStamper, "serial 04, issued by 'CN = issuing-ca'", LUMO_ERR_TSA_NOT_FOUND, "neither"},
    {"StampByACodeSigner",
     [] {
       return Stamped([](auto& token) {
         token.tsa = Maker().other_signer;
         token.certs = {token.tsa};
       });
     },
     steps::kJudgeStamper, "'CN = other-signer' (serial 03", LUMO_ERR_CERT_USAGE, "is not timeStamping"},
    {"StampFromBeforeTheCertificates",
     [] { return Stamped([](auto& token) { token.time = pki::Utc(2019, 12, 31); }); }, steps::kJudgeStamper,
     "'CN = e2e-root'", LUMO_ERR_CERT_NOT_YET_VALID,
     "valid from 2020-01-01T00:00:00Z to 2040-01-01T00:00:00Z, judged at 2019-12-31T00:00:00Z"},
    {"StampSignedBySomebodyElse",
     [] {
       return RawStamped([](const Bytes& statement) {
         const Bytes digest =
             pki::Attribute(pki::kOidMessageDigest, der::OctetString(pki::DigestOf("SHA256", statement)));
         pki::RawSignedData token;
         token.content = pki::TstContent(statement);
         token.certificates = {Maker().tsa.der};
         token.signer_infos = {
             pki::SignAttributes({.der = Maker().tsa.der, .key = Maker().signer.key}, {digest}).Encode()};
         return token.Encode();
       });
     },
     steps::kVerifyStamp, "'CN = time-stamper'", LUMO_ERR_SIGNATURE_INVALID, ""},
};
INSTANTIATE_TEST_SUITE_P(Stamps, Diagnosis, testing::ValuesIn(kStamps), NameOf);

const Refused kSigners[] = {
    {"SelfSignedSigner",
     [] { return Build(Forged().Message(pki::SelfSigned(pki::CodeSignerSpec("stranger")))); },
     steps::kFindSigner, "serial 01, issued by 'CN = stranger'", LUMO_ERR_SIGNER_NOT_FOUND, "self-signed"},
    {"SignerOfAnotherPurpose", [] { return Build(Forged().Message(Maker().tsa)); }, steps::kJudgeSigner,
     "'CN = time-stamper'", LUMO_ERR_CERT_USAGE, "is not codeSigning"},
    {"SignerWithoutDigitalSignature",
     [] { return Build(Forged().Message(Signer([](auto& spec) { spec.key_usage = "keyAgreement"; }))); },
     steps::kJudgeSigner, "'CN = odd-signer' (serial 09", LUMO_ERR_CERT_USAGE, "lacks digitalSignature"},
    {"ExpiredSigner",
     [] {
       return Build(Forged().Message(Signer([](auto& spec) { spec.not_after = pki::Utc(2024, 1, 1); })));
     },
     steps::kJudgeSigner, "'CN = odd-signer'", LUMO_ERR_CERT_EXPIRED, "to 2024-01-01T00:00:00Z"},
    {"SignerToCome",
     [] {
       return Build(Forged().Message(Signer([](auto& spec) { spec.not_before = pki::Utc(2025, 1, 1); })));
     },
     steps::kJudgeSigner, "'CN = odd-signer'", LUMO_ERR_CERT_NOT_YET_VALID,
     "valid from 2025-01-01T00:00:00Z"},
    {"SignerOfSha1", [] { return Build(Forged().Message(Signer([](auto& spec) { spec.digest = "SHA1"; }))); },
     steps::kJudgeSigner, "'CN = odd-signer'", LUMO_ERR_ISSUER_NOT_FOUND, "the algorithm that signed it"},
    {"SignerUnderAnExpiredCa",
     [] { return UnderCa([](auto& spec) { spec.not_after = pki::Utc(2024, 1, 1); }); }, steps::kJudgeSigner,
     "'CN = sub-ca' (serial 08", LUMO_ERR_CERT_EXPIRED, "to 2024-01-01T00:00:00Z"},
    {"SignerUnderACaWithoutCrlSign",
     [] { return UnderCa([](auto& spec) { spec.key_usage = "keyCertSign"; }); }, steps::kJudgeSigner,
     "'CN = leaf'", LUMO_ERR_CRL_NOT_FOUND, "no certificate of that name with cRLSign"},
    {"SignerUnderACaWithoutKeyCertSign",
     [] { return UnderCa([](auto& spec) { spec.key_usage = "cRLSign"; }); }, steps::kJudgeSigner,
     "'CN = leaf'", LUMO_ERR_ISSUER_NOT_FOUND, "'CN = sub-ca' lacks keyCertSign"},
    {"SignerUnderACaThatIsNone",
     [] { return UnderCa([](auto& spec) { spec.basic_constraints = "CA:FALSE"; }); }, steps::kJudgeSigner,
     "'CN = leaf'", LUMO_ERR_ISSUER_NOT_FOUND, "is no CA's"},
    {"SignerUnderAnotherRoot",
     [] { return world::World(pki::SelfSigned(pki::CaSpec("another-root"))).Package({}); },
     steps::kJudgeStamper, "'CN = issuing-ca' (serial 02, issued by 'CN = another-root')",
     LUMO_ERR_ISSUER_NOT_FOUND, "no certificate of its issuer 'CN = another-root' is there"},
    {"SignerUnderAForgedRoot",
     [] {
       pki::CertSpec spec = pki::CaSpec("e2e-root");
       spec.key = pki::KeyNamed("another-root");
       return world::World(pki::SelfSigned(spec)).Package({});
     },
     steps::kJudgeStamper, "'CN = issuing-ca'", LUMO_ERR_ISSUER_NOT_FOUND, "does not verify it"},
    {"RevokedSigner", [] { return Maker().Package({.raw_crl = RevokingCrls(Maker().signer, 4)}); },
     steps::kJudgeSigner, "'CN = signer' (serial 02", LUMO_ERR_CERT_REVOKED,
     "CRL of 'CN = issuing-ca' (this update 2024-05-03T00:00:00Z) lists it from 2024-05-02T00:00:00Z on, "
     "reason 4"},
    {"RevokedStamper", [] { return Maker().Package({.raw_crl = RevokingCrls(Maker().tsa)}); },
     steps::kJudgeStamper, "'CN = time-stamper' (serial 04", LUMO_ERR_CERT_REVOKED,
     "CRL of 'CN = issuing-ca'"},
    {"RevokedCa", [] { return Maker().Package({.raw_crl = RevokingCrls(Maker().ca)}); }, steps::kJudgeStamper,
     "'CN = issuing-ca' (serial 02", LUMO_ERR_CERT_REVOKED, "CRL of 'CN = e2e-root'"},
};
INSTANTIATE_TEST_SUITE_P(Signers, Diagnosis, testing::ValuesIn(kSigners), NameOf);

const Refused kMessages[] = {
    {"GarbageSignature", [] { return Build(Bytes(64, 'x')); }, steps::kReadSignature, "signature",
     LUMO_ERR_PKCS7_DECODE, "more than 2 certificates"},
    {"EmptySignature", [] { return Build({}); }, steps::kReadSignature, "signature", LUMO_ERR_PARAM, ""},
    {"ShortSignature", [] { return Build(Bytes(37, 0x30)); }, steps::kReadSignature, "signature",
     LUMO_ERR_FORMAT, ""},
    {"SignatureOfAWrongLabel",
     [] { return Build(der::FromText(pki::Pem("SIGNATURE", Forged().Message(Maker().signer)))); },
     steps::kReadSignature, "signature", LUMO_ERR_FORMAT, ""},
    {"SignatureOfBrokenBase64",
     [] { return Build(der::FromText("-----BEGIN CMS-----\nMIIB AAAA\n-----END CMS-----\n")); },
     steps::kReadSignature, "signature", LUMO_ERR_BASE64, ""},
    {"ChangedAttributes",
     [] {
       return Bent([](auto&, auto& info) {
         info.signed_attributes =
             der::Implicit(0, der::Set(pki::Attribute(pki::kOidMessageDigest, der::OctetString(Bytes(32)))));
       });
     },
     steps::kVerifySignature, "'CN = signer'", LUMO_ERR_SIGNATURE_INVALID, ""},
    {"UnstorableCertificate",
     [] {
       return Bent([](auto& message, auto&) {
         pki::CertSpec spec = pki::CodeSignerSpec("sha1-signer", {9});
         spec.digest = "SHA1";
         message.certificates.push_back(pki::SelfSigned(spec).der);
       });
     },
     steps::kKeepCertificates, "'CN = sha1-signer'", LUMO_ERR_SIGN_ALGO, ""},
    {"MessageOfNobody",
     [] {
       pki::RawSignedData nobody;
       nobody.certificates = {Maker().signer.der};
       return Build(nobody.Encode());
     },
     steps::kHashContent, "content", LUMO_ERR_NOT_STARTED, ""},
    {"EmptyContent", [] { return Maker().Package({.content = {}}); }, steps::kHashContent, "content",
     LUMO_ERR_PARAM, "there is no content"},
    {"ChangedContent",
     [] {
       Bytes file = Maker().Package({});
       file[0] ^= 1;
       return file;
     },
     steps::kCompareContent, "content", 0, "not what was signed"},
};
INSTANTIATE_TEST_SUITE_P(Messages, Diagnosis, testing::ValuesIn(kMessages), NameOf);

class DeviceDiagnosis : public testing::Test {
 protected:
  Reason ReasonOn(const Bytes& device_crl, const Bytes& package = Maker().Package({})) {
    const CheckResult result = files_.Check(package, checktest::FlashWith(device_crl));
    EXPECT_FALSE(result.accepted);
    return result.reasons.empty() ? Reason{} : result.reasons.front();
  }
  checktest::Files files_;
};

TEST_F(DeviceDiagnosis, TellsARevocationThatOnlyTheDeviceKnowsOf) {
  const Reason reason = ReasonOn(RevokingCrls(Maker().signer));
  EXPECT_EQ(reason.step, std::string(steps::kRecheck) + ": " + steps::kJudgeSigner);
  EXPECT_THAT(reason.where, HasSubstr("'CN = signer' (serial 02"));
  EXPECT_EQ(reason.code, static_cast<LUMO_ERROR_CODE>(LUMO_ERR_CERT_REVOKED));
  EXPECT_THAT(reason.explanation, HasSubstr("those on the device do"));
}

// The device prints its line about a revocation for this one too.
TEST_F(DeviceDiagnosis, TellsWhatOnlyLooksLikeARevocation) {
  std::vector<Bytes> crls;
  for (int i = 0; i < 12; ++i) crls.push_back(pki::MakeCrl(Maker().ca, {.this_update = pki::kDay * i}));
  const Bytes many = der::FromText(pki::PemBundle(crls, {}));
  const Bytes package = Maker().Package({.pem_signature = true});
  const CheckResult result = files_.Check(package, checktest::FlashWith(many));
  ASSERT_THAT(result.run.process.output, HasSubstr("has been revoked"));
  ASSERT_EQ(result.reasons.size(), 1U);
  const Reason& reason = result.reasons.front();
  EXPECT_EQ(reason.step, std::string(steps::kRecheck) + ": " + steps::kReadSignature);
  EXPECT_EQ(reason.code, static_cast<LUMO_ERROR_CODE>(LUMO_ERR_LIST_FULL));
  EXPECT_THAT(reason.explanation, HasSubstr("more than 16 PEM blocks"));
  EXPECT_THAT(reason.explanation, HasSubstr("reports this as a revocation, which it is not"));
}

TEST_F(DeviceDiagnosis, TellsThatTheDeviceWouldNotComeToAnEnd) {
  const fwpack::IsolatedRun ended{.signal = SIGXCPU};
  const auto reasons = fwpack::FindReasons(
      {.after = fwpack::DeviceSetup{}, .package = "package", .process = ended, .device_crl = std::nullopt});
  ASSERT_EQ(reasons.size(), 1U);
  EXPECT_EQ(reasons.front().step, steps::kCrash);
  EXPECT_THAT(reasons.front().explanation, HasSubstr("the device's code would not come to an end"));
  CheckResult result;
  result.run.process = ended;
  result.reasons = reasons;
  EXPECT_EQ(fwpack::ExitStatusOf(result), 2);
}

TEST_F(DeviceDiagnosis, BlamesThePackageFirst) {
  const Reason reason = ReasonOn(RevokingCrls(Maker().signer), Maker().Package({.raw_crl = Bytes(64, 'x')}));
  EXPECT_EQ(reason.step, steps::kLoadCrls);
}

TEST_F(DeviceDiagnosis, ShowsNamesWithoutTheirControlCharacters) {
  pki::CertSpec spec = pki::CodeSignerSpec("odd", {9});
  spec.subject = pki::Cn("\x1b[31m\nred");
  spec.key = pki::KeyNamed("odd-signer");
  spec.not_after = pki::Utc(2024, 1, 1);
  const CheckResult result = files_.Check(Build(Forged().Message(pki::Issue(Maker().ca, spec))));
  ASSERT_EQ(result.reasons.size(), 1U);
  EXPECT_THAT(result.reasons.front().where, HasSubstr("'CN = \\x1b[31m\\nred'"));
}

}  // namespace
