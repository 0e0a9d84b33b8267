#include "verify/lumo_load.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/support/run_tool.h"
#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;
using der::Concat;

const pki::Cert& Root() {
  static const pki::Cert root = pki::SelfSigned(pki::CaSpec("root"));
  return root;
}
const pki::Cert& Ca() {
  static const pki::Cert ca = pki::Issue(Root(), pki::CaSpec("issuing-ca", {2}));
  return ca;
}
Bytes CrlOf(const pki::Cert& issuer, long number = 1) {
  return pki::MakeCrl(issuer, {.number = number});
}
const Bytes& RootCrl() {
  static const Bytes crl = CrlOf(Root());
  return crl;
}
/// Certificates that differ in nothing but their serial numbers.
std::vector<pki::Cert> Certs(std::uint8_t count) {
  std::vector<pki::Cert> certs;
  for (std::uint8_t i = 0; i < count; ++i) {
    certs.push_back(pki::Issue(Root(), pki::CodeSignerSpec("signer", {static_cast<std::uint8_t>(i + 1)})));
  }
  return certs;
}
std::vector<Bytes> Crls(long count) {
  std::vector<Bytes> crls;
  for (long i = 0; i < count; ++i) crls.push_back(CrlOf(Root(), i + 1));
  return crls;
}
Bytes InARow(const std::vector<Bytes>& objects) {
  Bytes all;
  for (const Bytes& object : objects) all = Concat(all, object);
  return all;
}
Bytes PemOfAll(const std::string& label, const std::vector<Bytes>& objects) {
  Bytes all;
  for (const Bytes& object : objects) all = Concat(all, PemOf(label, object));
  return all;
}
std::vector<Bytes> DersOf(const std::vector<pki::Cert>& certs) {
  std::vector<Bytes> ders;
  ders.reserve(certs.size());
  for (const pki::Cert& cert : certs) ders.push_back(cert.der);
  return ders;
}

/// What the decoder makes of an input, released at the end.
class LumoLoad : public ::testing::Test {
 protected:
  LUMO_ERROR_CODE Decode(const Bytes& data) {
    return _tevDecodeCertCrl(context_.vrf(), data.data(), static_cast<TEV_UINT32>(data.size()),
                             &decoded_.certs, &decoded_.crls);
  }
  [[nodiscard]] TEV_UINT32 certs() const { return decoded_.certs.num(); }
  [[nodiscard]] TEV_UINT32 crls() const { return decoded_.crls.num(); }
  [[nodiscard]] TEV_UINT32 stored_certs() const { return context_.store().cert_store.num(); }
  [[nodiscard]] TEV_UINT32 stored_crls() const { return context_.store().crl_store.num(); }
  [[nodiscard]] TEV_UINT32 raws() const { return context_.vrf()->raw_set.num; }

  VerifyContext context_;
  DecodedObjects decoded_{context_.vrf()};
};

TEST_F(LumoLoad, NullAndEmptyArgumentsAreRefused) {
  const Bytes& data = Root().der;
  LUMO_VRF_CTX ctx = context_.handle();
  EXPECT_EQ(lumo_verify_add_cert(nullptr, data.data(), 40), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_cert(ctx, nullptr, 40), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_cert(ctx, data.data(), 0), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl(nullptr, data.data(), 40), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl(ctx, nullptr, 40), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl(ctx, data.data(), 0), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_cert_file(nullptr, "x"), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, ""), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl_file(nullptr, "x"), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl_file(ctx, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_add_crl_file(ctx, ""), LUMO_ERR_PARAM);
  EXPECT_EQ(raws(), 0u);
}

// Which inputs are taken at all.

TEST_F(LumoLoad, InputBelowThirtyEightBytesIsNoObject) {
  EXPECT_EQ(Decode(Bytes(37, 0x30)), LUMO_ERR_FORMAT);
  EXPECT_EQ(Decode(der::FromText("-----BEGIN X-----\n-----END X-----\n\n\n\n")), LUMO_ERR_FORMAT);
  EXPECT_EQ(raws(), 0u);
}

TEST_F(LumoLoad, ThirtyEightBytesAreLookedAt) {
  EXPECT_EQ(Decode(der::FromText("-----BEGIN X-----\n-----END X-----\n\n\n\n\n")), LUMO_OK);
  EXPECT_EQ(Decode(Bytes(38, 0x5A)), LUMO_ERR_BER_TAG);
}

TEST_F(LumoLoad, PemThatDoesNotStartWithItsMarkerCountsAsDer) {
  EXPECT_EQ(Decode(Concat(der::FromText("\n"), PemOf("CERTIFICATE", Root().der))), LUMO_ERR_BER_TAG);
}

// DER.

TEST_F(LumoLoad, DerObjectsInARowAreAllTaken) {
  EXPECT_EQ(Decode(InARow({Root().der, RootCrl(), Ca().der, CrlOf(Ca())})), LUMO_OK);
  EXPECT_EQ(certs(), 2u);
  EXPECT_EQ(crls(), 2u);
  EXPECT_EQ(raws(), 1u);
}

TEST_F(LumoLoad, DerIsCopied) {
  Bytes data = Root().der;
  ASSERT_EQ(Decode(data), LUMO_OK);
  data.assign(data.size(), 0);
  TEV_BOOL self_signed = 0;
  EXPECT_EQ(lumo_x509_is_self_signed(context_.vrf(), decoded_.certs.at(0), &self_signed), LUMO_OK);
  EXPECT_EQ(self_signed, 1u);
}

TEST_F(LumoLoad, DerCertificateFollowedByThirtyTwoZerosLoads) {
  EXPECT_EQ(Decode(Concat(Root().der, Bytes(32, 0))), LUMO_OK);
  EXPECT_EQ(certs(), 1u);
}

TEST_F(LumoLoad, DerCertificateFollowedByThirtyThreeZerosFailsWithTheCrlDecodersError) {
  const Bytes zeros(33, 0);
  OwnedCrl crl(context_.vrf());
  TEV_UINT32 consumed = 0;
  const LUMO_ERROR_CODE crl_code =
      lumo_x509_decode_crl(context_.vrf(), zeros.data(), 33, crl.out(), &consumed);
  ASSERT_NE(crl_code, LUMO_OK);
  EXPECT_EQ(Decode(Concat(Root().der, zeros)), crl_code);
  EXPECT_EQ(certs(), 1u);
}

TEST_F(LumoLoad, ALoadThatFailsHalfWayStoresNothing) {
  EXPECT_NE(context_.AddCert(Concat(Root().der, Bytes(33, 0))), LUMO_OK);
  EXPECT_EQ(stored_certs(), 0u);
}

TEST_F(LumoLoad, DerOfNeitherKindEndsTheWalk) {
  EXPECT_EQ(Decode(InARow({Root().der, der::Seq(Bytes(60, 0x02)), Ca().der})), LUMO_ERR_BER_TAG);
  EXPECT_EQ(certs(), 1u);
}

TEST_F(LumoLoad, AnObjectCutShortIsNoObject) {
  Bytes data = Root().der;
  data.pop_back();
  EXPECT_EQ(Decode(data), LUMO_ERR_BER_LENGTH);
}

// PEM.

TEST_F(LumoLoad, PemOfACertificateAnotherLabelAndACrlYieldsBothObjects) {
  EXPECT_EQ(Decode(Concat(PemOf("CERTIFICATE", Root().der), PemOf("EC PARAMETERS", Bytes(10, 1)),
                          PemOf("X509 CRL", RootCrl()))),
            LUMO_OK);
  EXPECT_EQ(certs(), 1u);
  EXPECT_EQ(crls(), 1u);
  EXPECT_EQ(raws(), 2u);
}

TEST_F(LumoLoad, PemWithAnyLineEndAndTextAroundItsBlocksLoads) {
  const Bytes note = der::FromText("a note\n");
  EXPECT_EQ(Decode(Concat(der::FromText(pki::Pem("CERTIFICATE", Root().der, "\r\n")), note,
                          der::FromText(pki::Pem("X509 CRL", RootCrl(), "\r\n")), note)),
            LUMO_OK);
  EXPECT_EQ(certs(), 1u);
  EXPECT_EQ(crls(), 1u);
}

TEST_F(LumoLoad, PemWhoseLastBlockHasNoEndFailsAndKeepsWhatCameBefore) {
  EXPECT_EQ(Decode(Concat(PemOf("CERTIFICATE", Root().der), PemOf("X509 CRL", RootCrl()),
                          der::FromText("-----BEGIN CERTIFICATE-----\nMIIB\n"))),
            0x88200305);
  EXPECT_EQ(certs(), 1u);
  EXPECT_EQ(crls(), 1u);
}

TEST_F(LumoLoad, PemWhoseEndMarkerIsNotClosedFails) {
  EXPECT_EQ(Decode(Concat(PemOf("CERTIFICATE", Root().der),
                          der::FromText("-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE----"))),
            0x88200305);
  EXPECT_EQ(certs(), 1u);
}

/// A PEM block with `mark` in the place of its first line break.
Bytes WithoutFirstLineBreak(const std::string& label, const Bytes& der, const std::string& mark) {
  std::string text = pki::Pem(label, der);
  return der::FromText(text.replace(text.find('\n'), 1, mark));
}

TEST_F(LumoLoad, ACertificatesTextBeginsOneCharacterBehindItsHeader) {
  EXPECT_EQ(Decode(WithoutFirstLineBreak("CERTIFICATE", Root().der, "A")), LUMO_OK);
  EXPECT_EQ(certs(), 1u) << "whatever stands in the line break's place";
  EXPECT_EQ(Decode(WithoutFirstLineBreak("CERTIFICATE", Root().der, "")), LUMO_OK);
  EXPECT_EQ(certs(), 1u) << "the first character of the text is lost";
}

TEST_F(LumoLoad, ACrlsTextBeginsRightBehindItsHeader) {
  EXPECT_EQ(Decode(WithoutFirstLineBreak("X509 CRL", RootCrl(), "")), LUMO_OK);
  EXPECT_EQ(crls(), 1u);
  EXPECT_EQ(Decode(WithoutFirstLineBreak("X509 CRL", RootCrl(), "A")), LUMO_OK);
  EXPECT_EQ(crls(), 1u);
}

struct SkippedBlock {
  const char* name;
  std::string text;

  friend void PrintTo(const SkippedBlock& row, std::ostream* out) { *out << row.name; }
};

class LumoLoadSkips : public LumoLoad, public ::testing::WithParamInterface<SkippedBlock> {};

TEST_P(LumoLoadSkips, TheBlockAndTakesWhatFollows) {
  EXPECT_EQ(Decode(Concat(der::FromText(GetParam().text), PemOf("CERTIFICATE", Root().der))), LUMO_OK);
  EXPECT_EQ(certs(), 1u);
  EXPECT_EQ(crls(), 0u);
  EXPECT_EQ(raws(), 1u) << "a skipped block's buffer is freed";
}

std::vector<SkippedBlock> SkippedBlocks() {
  const std::string body = "TUlJQg==\n";
  return {
      {"AnotherLabel", "-----BEGIN RSA PUBLIC KEY-----\n" + body + "-----END RSA PUBLIC KEY-----\n"},
      {"ALongerLabel",
       "-----BEGIN CERTIFICATE REQUEST-----\n" + body + "-----END CERTIFICATE REQUEST-----\n"},
      {"AWordInFront", pki::Pem("TRUSTED CERTIFICATE", Root().der)},
      {"NoLabel", "-----BEGIN-----\n" + body + "-----END-----\n"},
      {"LowerCase", "-----BEGIN certificate-----\n" + body + "-----END certificate-----\n"},
      {"CrlOfAnotherName", pki::Pem("CRL", RootCrl())},
      {"NoBody", "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n"},
      {"NoLineBreakAndNoBody", "-----BEGIN CERTIFICATE----------END CERTIFICATE-----\n"},
      {"CrlWithoutABody", "-----BEGIN X509 CRL----------END X509 CRL-----\n"},
      {"BrokenBase64", "-----BEGIN CERTIFICATE-----\nA B\n-----END CERTIFICATE-----\n"},
      {"BrokenBase64OfACrl", "-----BEGIN X509 CRL-----\n====\n-----END X509 CRL-----\n"},
      {"TooFewCharactersForAnOctet", "-----BEGIN CERTIFICATE-----\nAB\n-----END CERTIFICATE-----\n"},
      {"NoCertificateInside", "-----BEGIN CERTIFICATE-----\n" + body + "-----END CERTIFICATE-----\n"},
      {"NoCrlInside", "-----BEGIN X509 CRL-----\n" + body + "-----END X509 CRL-----\n"},
      {"ACrlInACertificatesPlace", pki::Pem("CERTIFICATE", RootCrl())},
      {"ACertificateInACrlsPlace", pki::Pem("X509 CRL", Root().der)},
      {"AnotherEndLabel", "-----BEGIN CERTIFICATE-----\n" + body + "-----END CERT-----\n"},
  };
}

INSTANTIATE_TEST_SUITE_P(Each, LumoLoadSkips, ::testing::ValuesIn(SkippedBlocks()), NameOfRow());

TEST_F(LumoLoad, PemTextEndsAtAZeroByte) {
  EXPECT_EQ(Decode(Concat(PemOf("CERTIFICATE", Root().der), Bytes{0}, PemOf("CERTIFICATE", Ca().der))),
            LUMO_OK);
  EXPECT_EQ(certs(), 1u);
}

TEST_F(LumoLoad, PemWithAZeroByteInsideItsBlockHasNoEnd) {
  Bytes text = PemOf("CERTIFICATE", Root().der);
  text[100] = 0;
  EXPECT_EQ(Decode(text), 0x88200305);
}

TEST_F(LumoLoad, ACertificateMayBearTrailingOctetsInItsPemBlock) {
  EXPECT_EQ(Decode(PemOf("CERTIFICATE", Concat(Root().der, Bytes(40, 9)))), LUMO_OK);
  EXPECT_EQ(certs(), 1u);
}

// Objects whose list is not given.

TEST_F(LumoLoad, ObjectsWithoutAListAreDropped) {
  const Bytes data = InARow({Root().der, RootCrl()});
  EXPECT_EQ(_tevDecodeCertCrl(context_.vrf(), data.data(), static_cast<TEV_UINT32>(data.size()), nullptr,
                              &decoded_.crls),
            LUMO_OK);
  EXPECT_EQ(crls(), 1u);
  const Bytes pem = Concat(PemOf("CERTIFICATE", Root().der), PemOf("X509 CRL", RootCrl()));
  EXPECT_EQ(_tevDecodeCertCrl(context_.vrf(), pem.data(), static_cast<TEV_UINT32>(pem.size()),
                              &decoded_.certs, nullptr),
            LUMO_OK);
  EXPECT_EQ(certs(), 1u);
  EXPECT_EQ(crls(), 1u);
}

// Certificates into the store.

TEST_F(LumoLoad, AddingCertificatesTakesSelfSignedOnesAndDropsCrls) {
  EXPECT_EQ(context_.AddCert(InARow({Root().der, RootCrl(), Ca().der})), LUMO_OK);
  EXPECT_EQ(stored_certs(), 2u);
  EXPECT_EQ(stored_crls(), 0u);
  EXPECT_EQ(context_.store().cert_store.at(0)->iRef, 1) << "the store keeps the only reference";
}

TEST_F(LumoLoad, ACertificateInputWithoutACertificateReturnsTheGenericError) {
  EXPECT_EQ(context_.AddCert(RootCrl()), 0xFFFFFFFF);
  EXPECT_EQ(context_.AddCert(PemOf("X509 CRL", RootCrl())), 0xFFFFFFFF);
  EXPECT_EQ(context_.AddCert(PemOf("CMS", Bytes(100, 1))), 0xFFFFFFFF);
  EXPECT_EQ(stored_certs(), 0u);
}

TEST_F(LumoLoad, AddingTheSameCertificateTwiceWorksBothTimes) {
  EXPECT_EQ(context_.AddCert(Root()), LUMO_OK);
  EXPECT_EQ(context_.AddCert(PemOf("CERTIFICATE", Root().der)), LUMO_OK);
  EXPECT_EQ(stored_certs(), 1u);
  EXPECT_EQ(raws(), 2u);
}

TEST_F(LumoLoad, SixteenCertificatesAreTakenTheSeventeenthIsRefused) {
  EXPECT_EQ(context_.AddCert(InARow(DersOf(Certs(16)))), LUMO_OK);
  EXPECT_EQ(stored_certs(), 16u);
  EXPECT_EQ(context_.AddCert(Root()), 0x88000501);
  EXPECT_EQ(context_.AddCert(Certs(1)[0]), LUMO_OK) << "a duplicate needs no room";
}

TEST_F(LumoLoad, SeventeenCertificatesInOneInputAreRefusedAsAWhole) {
  EXPECT_EQ(context_.AddCert(InARow(DersOf(Certs(17)))), 0x88000501);
  EXPECT_EQ(stored_certs(), 0u);
  EXPECT_EQ(context_.AddCert(PemOfAll("CERTIFICATE", DersOf(Certs(17)))), 0x88000501);
  EXPECT_EQ(stored_certs(), 0u);
}

TEST_F(LumoLoad, SeventeenLoadsOfOneCertificateFillTheRawBuffers) {
  for (int i = 0; i < 16; ++i) ASSERT_EQ(context_.AddCert(Root()), LUMO_OK) << i;
  EXPECT_EQ(context_.AddCert(Root()), 0x88000501);
  EXPECT_EQ(context_.AddCert(PemOf("CERTIFICATE", Root().der)), 0x88000501);
  EXPECT_EQ(context_.AddCrl(RootCrl()), 0x88200102);
  EXPECT_EQ(stored_certs(), 1u);
}

TEST_F(LumoLoad, AddingToTheStoreCanLeaveOutSelfSignedCertificates) {
  ASSERT_EQ(Decode(InARow({Root().der, Ca().der})), LUMO_OK);
  EXPECT_EQ(_tevAddCertToStore(context_.vrf(), &decoded_.certs, 0), LUMO_OK);
  EXPECT_EQ(stored_certs(), 1u);
  EXPECT_NE(context_.Stored(Ca()), nullptr);
  EXPECT_EQ(_tevAddCertToStore(context_.vrf(), &decoded_.certs, 1), LUMO_OK);
  EXPECT_EQ(stored_certs(), 2u);
}

TEST_F(LumoLoad, AddingAnEmptyListToTheStoreWorks) {
  EXPECT_EQ(_tevAddCertToStore(context_.vrf(), &decoded_.certs, 1), LUMO_OK);
  EXPECT_EQ(_tevAddCrlToStore(context_.vrf(), &decoded_.crls), LUMO_OK);
}

TEST_F(LumoLoad, AFailedSelfSignedTestEndsTheWalk) {
  pki::CertSpec spec = pki::CaSpec("old");
  spec.digest = "SHA1";
  ASSERT_EQ(Decode(InARow({pki::SelfSigned(spec).der, Ca().der})), LUMO_OK);
  EXPECT_EQ(_tevAddCertToStore(context_.vrf(), &decoded_.certs, 0), LUMO_ERR_SIGN_ALGO);
  EXPECT_EQ(stored_certs(), 0u);
}

// CRLs into the store.

TEST_F(LumoLoad, ACrlInputWithOnlyCertificatesIsRefusedAndAddsNothing) {
  EXPECT_EQ(context_.AddCrl(Ca().der), 0x88200102);
  EXPECT_EQ(context_.AddCrl(PemOf("CERTIFICATE", Ca().der)), 0x88200102);
  EXPECT_EQ(stored_certs(), 0u);
  EXPECT_EQ(stored_crls(), 0u);
}

TEST_F(LumoLoad, ACrlInputThatDoesNotDecodeIsRefused) {
  EXPECT_EQ(context_.AddCrl(Bytes(100, 0)), 0x88200102);
  EXPECT_EQ(context_.AddCrl(Bytes(10, 0)), 0x88200102);
  EXPECT_EQ(context_.AddCrl(Concat(RootCrl(), Bytes(33, 0))), 0x88200102);
  EXPECT_EQ(stored_crls(), 0u);
}

TEST_F(LumoLoad, FrozenContextsTakeNoCrl) {
  context_.vrf()->crl_frozen = 1;
  EXPECT_EQ(context_.AddCrl(RootCrl()), 0x88200101);
  EXPECT_EQ(lumo_verify_add_crl(context_.handle(), nullptr, 1), LUMO_ERR_PARAM);
  EXPECT_EQ(stored_crls(), 0u);
}

TEST_F(LumoLoad, CertificatesBesideACrlAreTakenUnlessSelfSigned) {
  EXPECT_EQ(context_.AddCrl(InARow({Root().der, RootCrl(), Ca().der})), LUMO_OK);
  EXPECT_EQ(stored_crls(), 1u);
  EXPECT_EQ(stored_certs(), 1u);
  EXPECT_NE(context_.Stored(Ca()), nullptr);
}

TEST_F(LumoLoad, CertificatesBesideACrlThatFindNoRoomAreForgotten) {
  ASSERT_EQ(context_.AddCert(InARow(DersOf(Certs(16)))), LUMO_OK);
  EXPECT_EQ(context_.AddCrl(InARow({RootCrl(), Ca().der})), LUMO_OK);
  EXPECT_EQ(stored_crls(), 1u);
  EXPECT_EQ(stored_certs(), 16u);
}

TEST_F(LumoLoad, TheSameCrlTwiceIsTakenOnce) {
  EXPECT_EQ(context_.AddCrl(InARow({RootCrl(), RootCrl()})), LUMO_OK);
  EXPECT_EQ(context_.AddCrl(RootCrl()), LUMO_OK);
  EXPECT_EQ(stored_crls(), 1u);
}

TEST_F(LumoLoad, ASeventeenthCrlFindsTheStoreFull) {
  ASSERT_EQ(context_.AddCrl(InARow(Crls(16))), LUMO_OK);
  EXPECT_EQ(context_.AddCrl(InARow({CrlOf(Ca()), Ca().der})), 0x88000501);
  EXPECT_EQ(stored_crls(), 16u);
  EXPECT_EQ(stored_certs(), 0u) << "certificates follow only when all CRLs found room";
}

struct SeventeenCase {
  const char* name;
  bool pem;
  bool with_root;

  friend void PrintTo(const SeventeenCase& row, std::ostream* out) { *out << row.name; }
};

class LumoLoadSeventeen : public LumoLoad, public ::testing::WithParamInterface<SeventeenCase> {
 protected:
  void SetUp() override {
    if (GetParam().with_root) context_.Trust(Root());
  }
  [[nodiscard]] static Bytes Bundle(long count) {
    return GetParam().pem ? PemOfAll("X509 CRL", Crls(count)) : InARow(Crls(count));
  }
};

TEST_P(LumoLoadSeventeen, CrlsAreTooMany) {
  EXPECT_EQ(context_.AddCrl(Bundle(17)), 0x88200102);
  EXPECT_EQ(stored_crls(), 0u);
}

TEST_P(LumoLoadSeventeen, MinusOneFitWhereEveryBufferFindsRoom) {
  const bool fits = !GetParam().pem || !GetParam().with_root;  // each PEM block takes a buffer of its own
  EXPECT_EQ(context_.AddCrl(Bundle(16)), fits ? LUMO_OK : LUMO_ERR_CRL_DECODE);
  EXPECT_EQ(stored_crls(), fits ? 16u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Each, LumoLoadSeventeen,
                         ::testing::Values(SeventeenCase{"Der", false, false},
                                           SeventeenCase{"DerBesideARoot", false, true},
                                           SeventeenCase{"Pem", true, false},
                                           SeventeenCase{"PemBesideARoot", true, true}),
                         NameOfRow());

TEST_F(LumoLoad, TooManyCrlsAreToldFromOtherOverflows) {
  const auto too_many = [&](const Bytes& data) {
    return lumo_holds_too_many_crls(context_.vrf(), data.data(), static_cast<TEV_UINT32>(data.size()));
  };
  EXPECT_TRUE(too_many(InARow(Crls(17))));
  EXPECT_TRUE(too_many(PemOfAll("X509 CRL", Crls(17))));
  EXPECT_FALSE(too_many(InARow(Crls(16))));
  EXPECT_FALSE(too_many(InARow(DersOf(Certs(17)))));
  EXPECT_FALSE(too_many(Bytes(37, 0)));
  EXPECT_FALSE(lumo_holds_too_many_crls(context_.vrf(), nullptr, 100));
  EXPECT_EQ(raws(), 0u);
}

// Files.

class LumoLoadFile : public ::testing::Test {
 protected:
  LUMO_ERROR_CODE Read(const std::string& path) {
    TEV_BYTE* data = nullptr;
    const LUMO_ERROR_CODE rc = _tevReadFile(context_->vrf(), path.c_str(), &data, &size_);
    if (rc == LUMO_OK) read_.assign(data, data + size_);
    lumo_free(context_->vrf(), data);
    return rc;
  }
  std::string FileOf(const Bytes& content) {
    std::string path = scratch_ / "file";
    WriteWholeFile(path, content);
    return path;
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0) << "every file is closed, every buffer freed";
  }

  FaultyCallbacks callbacks_;
  ScratchDir scratch_;
  std::unique_ptr<VerifyContext> context_ = std::make_unique<VerifyContext>(callbacks_.table());
  TEV_INT32 size_ = -1;
  Bytes read_{};
};

TEST_F(LumoLoadFile, ArgumentsMustBeThere) {
  TEV_BYTE* data = nullptr;
  EXPECT_EQ(_tevReadFile(context_->vrf(), nullptr, &data, &size_), LUMO_ERR_PARAM);
  EXPECT_EQ(_tevReadFile(context_->vrf(), "", &data, &size_), LUMO_ERR_PARAM);
  EXPECT_EQ(_tevReadFile(context_->vrf(), "x", nullptr, &size_), LUMO_ERR_PARAM);
  EXPECT_EQ(_tevReadFile(context_->vrf(), "x", &data, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoLoadFile, ASmallFileIsReadWhole) {
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), LUMO_OK);
  EXPECT_EQ(read_, der::FromText("abc"));
  EXPECT_EQ(callbacks_.calls(Slot::kFread), 1u);
}

TEST_F(LumoLoadFile, AFileOfTwoMillionBytesIsRead) {
  EXPECT_EQ(Read(FileOf(Bytes(2'000'000, 7))), LUMO_OK);
  EXPECT_EQ(size_, 2'000'000);
}

TEST_F(LumoLoadFile, OneByteMoreIsTooLarge) {
  EXPECT_EQ(Read(FileOf(Bytes(2'000'001, 7))), 0x88000106);
  EXPECT_EQ(size_, -1);
}

TEST_F(LumoLoadFile, AnEmptyFileIsRefused) {
  EXPECT_EQ(Read(FileOf({})), 0x88000104);
}

TEST_F(LumoLoadFile, AMissingFileCannotBeOpened) {
  EXPECT_EQ(Read(scratch_ / "none"), 0x88000101);
}

TEST_F(LumoLoadFile, ADirectoryIsNoFile) {
  EXPECT_EQ(Read(scratch_.path().string()), 0x88000106);
}

TEST_F(LumoLoadFile, AShortReadIsAnError) {
  callbacks_.LieAboutFileSize(4);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), 0x88000102);
}

TEST_F(LumoLoadFile, AFileOfUnknownSizeIsTooLarge) {
  callbacks_.LieAboutFileSize(0xFFFFFFFF);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), 0x88000106);
  callbacks_.LieAboutFileSize(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), 0x88000106);
}

TEST_F(LumoLoadFile, AFailingCloseChangesNothing) {
  callbacks_.FailNth(Slot::kFclose, 1);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), LUMO_OK);
  EXPECT_TRUE(callbacks_.failed());
}

TEST_F(LumoLoadFile, NoRoomForTheContentIsAnError) {
  callbacks_.FailNth(Slot::kMalloc, 1);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), 0x88000001);
}

TEST_F(LumoLoadFile, WithoutAFileSizeCallbackEveryFileIsEmpty) {
  LUMO_CALLBACK_FUNCS table = callbacks_.table();
  table.plt_funcs.sys_funcs.file_funcs.get_file_size = nullptr;
  context_ = std::make_unique<VerifyContext>(table);
  EXPECT_EQ(Read(FileOf(der::FromText("abc"))), 0x88000104);
}

TEST_F(LumoLoadFile, CertificateAndCrlFilesAreAdded) {
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, FileOf(Root().der).c_str()), LUMO_OK);
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, FileOf(Root().der).c_str()), LUMO_OK) << "twice is once";
  EXPECT_EQ(lumo_verify_add_crl_file(ctx, FileOf(PemOf("X509 CRL", RootCrl())).c_str()), LUMO_OK);
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
  EXPECT_EQ(context_->store().crl_store.num(), 1u);
}

TEST_F(LumoLoadFile, FileErrorsAndContentErrorsPassThrough) {
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, (scratch_ / "none").c_str()), LUMO_ERR_FILE_OPEN);
  EXPECT_EQ(lumo_verify_add_crl_file(ctx, (scratch_ / "none").c_str()), LUMO_ERR_FILE_OPEN);
  EXPECT_EQ(lumo_verify_add_cert_file(ctx, FileOf(RootCrl()).c_str()), LUMO_ERR_GENERIC);
  EXPECT_EQ(lumo_verify_add_crl_file(ctx, FileOf(Root().der).c_str()), LUMO_ERR_CRL_DECODE);
}

}  // namespace
