#include "tools/fwpack/sign.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tests/support/test_package.h"

using fwpack::SignatureForm;
using packtest::ErrorOf;
using packtest::NamesIn;
using packtest::Parts;
using packtest::Pki;
using packtest::ReadText;
using packtest::SignFiles;
using packtest::SignPackage;
using testing::HasSubstr;

namespace {

// Content, options to sign it, and what the openssl program says about the package.
class FwpackSign : public testing::Test {
 protected:
  FwpackSign() : options_(packtest::SignWith(dir_ / "content", dir_ / "package")) {
    packtest::WriteText(dir_ / "content", "software of the board");
  }

  Parts SignAndSplit() {
    SignPackage(options_);
    Parts parts = packtest::Split(dir_ / "package");
    WriteWholeFile(dir_ / "content-part", parts.content);
    WriteWholeFile(dir_ / "signature", parts.signature);
    return parts;
  }

  // Others check the signature, up to the root, at the time of the time-stamp.
  ToolResult VerifySignature(const std::string& form) {
    return packtest::OpenSsl({"cms", "-verify", "-inform", form, "-in", dir_ / "signature", "-binary",
                              "-content", dir_ / "content-part", "-purpose", "any", "-CAfile",
                              Pki("root.pem"), "-attime", packtest::Seconds(packtest::kTime), "-out",
                              "/dev/null"});
  }

  // Others check the time-stamp over the signature value.
  ToolResult VerifyTimeStamp(const Parts& parts) {
    const packtest::Stamp stamp = packtest::StampOf(parts.signature);
    WriteWholeFile(dir_ / "value", stamp.value);
    WriteWholeFile(dir_ / "token", stamp.token);
    return packtest::OpenSsl({"ts", "-verify", "-in", dir_ / "token", "-token_in", "-data", dir_ / "value",
                              "-CAfile", Pki("root.pem"), "-attime", packtest::Seconds(packtest::kTime)});
  }

  std::string Describe() {
    const ToolResult result =
        packtest::OpenSsl({"cms", "-cmsout", "-print", "-inform", "DER", "-in", dir_ / "signature"});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  // A certificate ("x509") or CRL ("crl") of the development PKI.
  std::string InDer(const std::string& kind, const std::string& name) {
    const ToolResult made =
        packtest::OpenSsl({kind, "-in", Pki(name), "-outform", "DER", "-out", dir_ / "object.der"});
    EXPECT_EQ(made.status, 0) << made.err;
    return ReadText(dir_ / "object.der");
  }

  static std::uint32_t DeviceVerdict(const Parts& parts) {
    return packtest::Device(ReadText(Pki("root.pem"))).Verify(parts);
  }

  ScratchDir dir_{};
  SignFiles options_;
};

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

}  // namespace

TEST_F(FwpackSign, IsAcceptedByOthersAndByTheDevice) {
  const Parts parts = SignAndSplit();
  const ToolResult signature = VerifySignature("DER");
  EXPECT_EQ(signature.status, 0) << signature.err;
  const ToolResult stamp = VerifyTimeStamp(parts);
  EXPECT_EQ(stamp.status, 0) << stamp.out << stamp.err;
  EXPECT_EQ(DeviceVerdict(parts), 0U);
}

TEST_F(FwpackSign, IsRejectedByAllWhenTheContentChanges) {
  Parts parts = SignAndSplit();
  parts.content[3] ^= 1U;
  WriteWholeFile(dir_ / "content-part", parts.content);
  EXPECT_NE(VerifySignature("DER").status, 0);
  EXPECT_EQ(DeviceVerdict(parts), 1U);
}

TEST_F(FwpackSign, LaysOutContentSignatureCrlAndEnd) {
  const Parts parts = SignAndSplit();
  EXPECT_EQ(der::ToText(parts.content), "software of the board");
  EXPECT_EQ(der::ToText(parts.crl), ReadText(Pki("bundle.pem")));
  EXPECT_EQ(parts.end, der::Bytes(32));
  const std::size_t whole = parts.content.size() + parts.signature.size() + 68 + parts.crl.size() + 68 + 32;
  EXPECT_EQ(std::filesystem::file_size(dir_ / "package"), whole);
}

TEST_F(FwpackSign, ClosesEachBlockWithATailOfRightMagicLengthsAndCrcs) {
  const Parts parts = SignAndSplit();
  for (const auto& [payload, tail] :
       {std::pair{parts.signature, parts.signature_tail}, {parts.crl, parts.crl_tail}}) {
    EXPECT_EQ(der::ToText(tail).substr(0, 2), "QZ");
    der::Bytes expected = tail;
    package::PutU32(expected, package::kCodeLenAt, static_cast<std::uint32_t>(payload.size()));
    package::PutU32(expected, package::kTotalLenAt, static_cast<std::uint32_t>(payload.size() + 68));
    const std::uint16_t payload_crc = package::Crc16(payload, payload.size());
    expected[64] = static_cast<std::uint8_t>(payload_crc >> 8U);
    expected[65] = static_cast<std::uint8_t>(payload_crc & 0xFFU);
    package::Reseal(expected);
    EXPECT_EQ(tail, expected);
  }
}

TEST_F(FwpackSign, ReadsContentOfAnySizeInPieces) {
  const std::size_t piece = 1U << 20U;
  for (const std::size_t size : {std::size_t{1}, piece - 1, piece, piece + 1, 3 * piece}) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * 31 + i / 251);
    packtest::WriteText(dir_ / "content", content);
    const Parts parts = SignAndSplit();
    EXPECT_EQ(der::ToText(parts.content), content);
    EXPECT_EQ(VerifySignature("DER").status, 0) << size;
    EXPECT_EQ(DeviceVerdict(parts), 0U) << size;
  }
}

TEST_F(FwpackSign, KeepsLineEndsOfTextAsTheyAre) {
  const std::string content = "one\ntwo\r\nthree\rfour\0five";
  packtest::WriteText(dir_ / "content", content);
  EXPECT_EQ(DeviceVerdict(SignAndSplit()), 0U);
  EXPECT_EQ(VerifySignature("DER").status, 0);
}

TEST_F(FwpackSign, WritesPemWhenAskedTo) {
  options_.form = SignatureForm::kPem;
  const Parts parts = SignAndSplit();
  EXPECT_THAT(der::ToText(parts.signature), testing::StartsWith("-----BEGIN CMS-----\n"));
  EXPECT_THAT(der::ToText(parts.signature), testing::EndsWith("-----END CMS-----\n"));
  EXPECT_EQ(VerifySignature("PEM").status, 0);
  EXPECT_EQ(DeviceVerdict(parts), 0U);
}

TEST_F(FwpackSign, UsesOneDigestForSignatureAndTimeStamp) {
  for (const char* digest : {"sha256", "sha384", "sha512"}) {
    options_.digest = digest;
    const Parts parts = SignAndSplit();
    EXPECT_THAT(Describe(), HasSubstr(std::string("algorithm: ") + digest));
    EXPECT_EQ(VerifySignature("DER").status, 0) << digest;
    EXPECT_EQ(VerifyTimeStamp(parts).status, 0) << digest;
    const ToolResult token = packtest::OpenSsl({"ts", "-reply", "-in", dir_ / "token", "-token_in", "-text"});
    EXPECT_THAT(token.out, HasSubstr(std::string("Hash Algorithm: ") + digest));
    EXPECT_EQ(DeviceVerdict(parts), 0U) << digest;
  }
}

TEST_F(FwpackSign, HasTheGivenTimeInSignatureTimeStampAndTails) {
  const Parts parts = SignAndSplit();
  EXPECT_THAT(Describe(), HasSubstr("UTCTIME:Jun  1 12:34:50 2025 GMT"));
  EXPECT_EQ(VerifyTimeStamp(parts).status, 0);
  const ToolResult token = packtest::OpenSsl({"ts", "-reply", "-in", dir_ / "token", "-token_in", "-text"});
  EXPECT_THAT(token.out, HasSubstr("Time stamp: Jun  1 12:34:50 2025 GMT"));
  EXPECT_EQ(der::Bytes(parts.crl_tail.begin() + 34, parts.crl_tail.begin() + 39),
            (der::Bytes{6, 1, 12, 34, 50}));
}

TEST_F(FwpackSign, CarriesSignerAndIssuerAndNoMoreThanTheDeviceDecodes) {
  options_.ca = {Pki("root.pem"), Pki("tsa-ca.pem"), Pki("issuing-ca.pem"), Pki("signer2.pem")};
  SignAndSplit();
  const std::string message = Describe();
  EXPECT_EQ(Count(message, "d.certificate:"), 2U);
  EXPECT_THAT(message, HasSubstr("subject: CN=Development Signer 1"));
  EXPECT_THAT(message, HasSubstr("subject: CN=Development Issuing CA"));
}

TEST_F(FwpackSign, CarriesTheSignerAloneWhenItsIssuerIsNotGiven) {
  options_.ca.clear();
  const Parts parts = SignAndSplit();
  EXPECT_EQ(Count(Describe(), "d.certificate:"), 1U);
  EXPECT_EQ(DeviceVerdict(parts), 0U);  // the bundle has the issuers
}

TEST_F(FwpackSign, CarriesNoRootEvenWhenItIsTheIssuer) {
  options_.signer_cert = Pki("issuing-ca.pem");
  options_.signer_key = Pki("issuing-ca.key");
  options_.ca = {Pki("root.pem"), Pki("tsa-ca.pem")};
  SignAndSplit();
  EXPECT_EQ(Count(Describe(), "d.certificate:"), 1U);
}

TEST_F(FwpackSign, NamesTheSignerByIssuerAndSerialNumberAndHasSignedAttributes) {
  SignAndSplit();
  const std::string message = Describe();
  EXPECT_THAT(message, HasSubstr("d.issuerAndSerialNumber:"));
  EXPECT_THAT(message, HasSubstr("object: messageDigest"));
  EXPECT_THAT(message, HasSubstr("object: contentType"));
  EXPECT_THAT(message, HasSubstr("eContent: <ABSENT>"));
  EXPECT_THAT(message, HasSubstr("algorithm: rsaEncryption"));
  EXPECT_THAT(message, HasSubstr("object: id-smime-aa-timeStampToken"));
}

TEST_F(FwpackSign, FailsWithOneLineThatNamesTheFileAndLeavesNothingBehind) {
  struct Case {
    const char* error;
    std::function<void(const ScratchDir&, SignFiles&)> change;
  };
  const Case cases[] = {
      {"none: cannot be opened", [](const ScratchDir& dir, SignFiles& o) { o.content = dir / "none"; }},
      {"is empty", [](const ScratchDir& dir, SignFiles&) { packtest::WriteText(dir / "content", ""); }},
      {"cannot be", [](const ScratchDir& dir, SignFiles& o) { o.content = dir.path(); }},
      {"is the content itself", [](const ScratchDir&, SignFiles& o) { o.package = o.content; }},
      {"is no regular file", [](const ScratchDir& dir, SignFiles& o) { o.package = dir.path(); }},
      {"signer.pem: the certificate is not that of the key",
       [](const ScratchDir&, SignFiles& o) { o.signer_key = Pki("tsa.key"); }},
      {"tsa.pem: the certificate is not that of the key",
       [](const ScratchDir&, SignFiles& o) { o.tsa_key = Pki("signer.key"); }},
      {"signer.pem: holds no private key",
       [](const ScratchDir&, SignFiles& o) { o.signer_key = Pki("signer.pem"); }},
      {"signer.key: holds no certificate",
       [](const ScratchDir&, SignFiles& o) { o.signer_cert = Pki("signer.key"); }},
      {"holds 2 certificates where one is wanted",
       [](const ScratchDir&, SignFiles& o) { o.signer_cert = Pki("bundle.pem"); }},
      {"issuing-ca.pem: holds no CRL",
       [](const ScratchDir&, SignFiles& o) { o.crl = Pki("issuing-ca.pem"); }},
      {"no digest 'sha1'", [](const ScratchDir&, SignFiles& o) { o.digest = "sha1"; }},
      {"for time-stamps",
       [](const ScratchDir&, SignFiles& o) {
         o.tsa_cert = Pki("signer2.pem");
         o.tsa_key = Pki("signer2.key");
       }},
  };
  const SignFiles good = options_;
  for (const Case& c : cases) {
    options_ = good;
    packtest::WriteText(dir_ / "content", "software");
    c.change(dir_, options_);
    EXPECT_THAT(ErrorOf([this] { SignPackage(options_); }), HasSubstr(c.error));
    EXPECT_THAT(NamesIn(dir_.path()), testing::ElementsAre("content"));
  }
}

TEST_F(FwpackSign, KeepsAnEarlierPackageWhenItFails) {
  packtest::WriteText(dir_ / "package", "earlier");
  packtest::WriteText(dir_ / "content", "");
  EXPECT_THAT(ErrorOf([this] { SignPackage(options_); }), HasSubstr("is empty"));
  EXPECT_EQ(ReadText(dir_ / "package"), "earlier");
  EXPECT_THAT(NamesIn(dir_.path()), testing::ElementsAre("content", "package"));
}

TEST_F(FwpackSign, SaysThatAKeyIsEncryptedInsteadOfAskingForAPassphrase) {
  const ToolResult made = packtest::OpenSsl({"pkey", "-in", Pki("signer.key"), "-aes256", "-passout",
                                             "pass:secret", "-out", dir_ / "encrypted.key"});
  ASSERT_EQ(made.status, 0) << made.err;
  options_.signer_key = dir_ / "encrypted.key";
  EXPECT_THAT(ErrorOf([this] { SignPackage(options_); }), HasSubstr("encrypted.key: needs a passphrase"));
}

TEST_F(FwpackSign, TakesACertificateInDerToo) {
  packtest::WriteText(dir_ / "signer.der", InDer("x509", "signer.pem"));
  options_.signer_cert = dir_ / "signer.der";
  EXPECT_EQ(DeviceVerdict(SignAndSplit()), 0U);
}

TEST_F(FwpackSign, TakesABundleInDerInAnyOrder) {
  const std::string certs = InDer("x509", "issuing-ca.pem") + InDer("x509", "tsa-ca.pem");
  const std::string crls =
      InDer("crl", "root.crl") + InDer("crl", "issuing-ca.crl") + InDer("crl", "tsa-ca.crl");
  for (const std::string& bundle : {certs + crls, crls + certs}) {
    packtest::WriteText(dir_ / "bundle.der", bundle);
    options_.crl = dir_ / "bundle.der";
    EXPECT_EQ(DeviceVerdict(SignAndSplit()), 0U);
  }
  packtest::WriteText(dir_ / "bundle.der", certs);
  EXPECT_THAT(ErrorOf([this] { SignPackage(options_); }), HasSubstr("bundle.der: holds no CRL"));
}
