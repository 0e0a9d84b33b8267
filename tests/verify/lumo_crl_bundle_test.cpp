#include "verify/lumo_crl_bundle.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/support/run_tool.h"
#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;
using der::Concat;
using pki::CaSpec;
using pki::Cert;
using pki::Issue;
using pki::MakeCrl;
using pki::Utc;

const Cert& Root() {
  static const Cert root = pki::SelfSigned(CaSpec("root"));
  return root;
}
const Cert& Ca() {
  static const Cert ca = Issue(Root(), CaSpec("issuing-ca", {0x12, 0x34}));
  return ca;
}

Bytes InARow(const std::vector<Bytes>& crls, const std::vector<Cert>& certs) {
  Bytes all;
  for (const Bytes& crl : crls) all = Concat(all, crl);
  for (const Cert& cert : certs) all = Concat(all, cert.der);
  return all;
}
Bytes AsPem(const std::vector<Bytes>& crls, const std::vector<Cert>& certs) {
  return der::FromText(pki::PemBundle(crls, certs));
}

class LumoCrlBundle : public ::testing::Test {
 protected:
  void SetUp() override { context_->Trust(Root()); }
  void TearDown() override {
    Release();
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  void Release() {
    if (bundle_ == nullptr || bundle_ == Poison()) return;
    EXPECT_EQ(lumo_crl_free(context_->handle(), bundle_), LUMO_OK);
    bundle_ = nullptr;
  }
  /// A pointer that no call stores.
  static LUMO_CRL_BUNDLE_INFO* Poison() {
    static LUMO_CRL_BUNDLE_INFO mark;
    return &mark;
  }
  LUMO_ERROR_CODE Decode(const Bytes& data) {
    Release();
    bundle_ = Poison();
    return lumo_decode_crl(context_->handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &bundle_);
  }
  /// Decode in a new context, whose `nth` allocation from then on fails.
  LUMO_ERROR_CODE DecodeWithoutMemory(const Bytes& data, unsigned long nth) {
    Release();
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    context_->Trust(Root());
    callbacks_.FailNth(Slot::kMalloc, nth);
    return code_ = Decode(data);
  }
  [[nodiscard]] const LUMO_CRL_INFO& Info(int i) const { return *bundle_->crl_info_list[i]; }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_ = std::make_unique<VerifyContext>(callbacks_.table());
  LUMO_CRL_BUNDLE_INFO* bundle_ = nullptr;
  LUMO_ERROR_CODE code_ = LUMO_OK;
};

Bytes SerialBytes(const LUMO_SERIAL_NUM& serial) {
  return {serial.sn, serial.sn + serial.sn_len};
}

TEST_F(LumoCrlBundle, ArgumentsMustBeThere) {
  const Bytes data = InARow({MakeCrl(Root(), {})}, {Ca()});
  const auto length = static_cast<TEV_UINT32>(data.size());
  LUMO_VRF_CTX ctx = context_->handle();
  bundle_ = Poison();
  EXPECT_EQ(lumo_decode_crl(nullptr, data.data(), length, &bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl(ctx, nullptr, length, &bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl(ctx, data.data(), 0, &bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl(ctx, data.data(), length, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl_file(nullptr, "x", &bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl_file(ctx, nullptr, &bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_decode_crl_file(ctx, "x", nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_crl_free(nullptr, bundle_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_crl_free(ctx, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(bundle_, Poison());
}

struct FormCase {
  const char* name;
  Bytes (*encode)(const std::vector<Bytes>&, const std::vector<Cert>&);

  friend void PrintTo(const FormCase& row, std::ostream* out) { *out << row.name; }
};

class LumoCrlBundleForm : public LumoCrlBundle, public ::testing::WithParamInterface<FormCase> {};

TEST_P(LumoCrlBundleForm, SummarisesEveryCrl) {
  const std::vector<Bytes> crls{
      MakeCrl(Root(), {.this_update = Utc(2024, 5, 1),
                       .next_update = Utc(2034, 5, 1),
                       .revoked = {{.serial = {7, 8}, .date = Utc(2024, 1, 1)},
                                   {.serial = Bytes(32, 5), .date = Utc(2024, 1, 1)},
                                   {.serial = Bytes(33, 5), .date = Utc(2024, 1, 1)}}}),
      MakeCrl(Ca(), {.this_update = Utc(2024, 6, 1, 3),
                     .next_update = Utc(2024, 7, 1),
                     .revoked = {{.serial = {9}, .date = Utc(2024, 1, 1)}}})};
  ASSERT_EQ(Decode(GetParam().encode(crls, {Ca()})), LUMO_OK);
  ASSERT_EQ(bundle_->crl_count, 2);
  for (int i = 2; i < 16; ++i) EXPECT_EQ(bundle_->crl_info_list[i], nullptr);

  EXPECT_EQ(Info(0).valid, 1);
  EXPECT_EQ(Info(0).update_time, Utc(2024, 5, 1));
  EXPECT_EQ(Info(0).valid_until, Utc(2034, 5, 1));
  EXPECT_STREQ(Info(0).issuer, "CN=root");
  EXPECT_EQ(SerialBytes(Info(0).issuer_sn), Bytes{1});
  ASSERT_EQ(Info(0).revoke_list.revoke_count, 2u) << "the serial number of 33 octets is left out";
  EXPECT_EQ(SerialBytes(Info(0).revoke_list.sn_list[0]), (Bytes{7, 8}));
  EXPECT_EQ(SerialBytes(Info(0).revoke_list.sn_list[1]), Bytes(32, 5));

  EXPECT_EQ(Info(1).valid, 1);
  EXPECT_EQ(Info(1).update_time, Utc(2024, 6, 1, 3));
  EXPECT_EQ(Info(1).valid_until, Utc(2024, 7, 1));
  EXPECT_STREQ(Info(1).issuer, "CN=issuing-ca");
  EXPECT_EQ(SerialBytes(Info(1).issuer_sn), (Bytes{0x12, 0x34}));
  EXPECT_EQ(Info(1).revoke_list.revoke_count, 0u) << "only a root's list is kept";
  EXPECT_EQ(Info(1).revoke_list.sn_list, nullptr);
  EXPECT_EQ(context_->vrf()->base_time, Utc(2024, 6, 1, 3)) << "the last CRL's time stays";
}

TEST_P(LumoCrlBundleForm, GoesIntoTheStore) {
  ASSERT_EQ(Decode(GetParam().encode({MakeCrl(Root(), {}), MakeCrl(Ca(), {})}, {Ca(), Root()})), LUMO_OK);
  EXPECT_EQ(context_->store().crl_store.num(), 2u);
  EXPECT_EQ(context_->store().cert_store.num(), 2u);
  Release();
  EXPECT_EQ(context_->Judge(Ca(), Utc(2024, 6, 1)), LUMO_OK) << "freeing the summary leaves the store whole";
}

TEST_P(LumoCrlBundleForm, OfSixteenCrlsFitsAndOfSeventeenDoesNot) {
  std::vector<Bytes> crls;
  for (long i = 1; i <= 17; ++i) crls.push_back(MakeCrl(Root(), {.number = i}));
  EXPECT_EQ(Decode(GetParam().encode(crls, {Ca()})), 0x88200108);
  EXPECT_EQ(bundle_, nullptr);
  EXPECT_EQ(context_->store().crl_store.num(), 0u);
  EXPECT_EQ(Decode(GetParam().encode(crls, {})), 0x88200108);
  EXPECT_EQ(bundle_, nullptr);
}

INSTANTIATE_TEST_SUITE_P(In, LumoCrlBundleForm,
                         ::testing::Values(FormCase{"Der", InARow}, FormCase{"Pem", AsPem}), NameOfRow());

TEST_F(LumoCrlBundle, SeventeenCrlsAreTooManyInAContextWithoutARoot) {
  context_ = std::make_unique<VerifyContext>(callbacks_.table());
  std::vector<Bytes> crls;
  for (long i = 1; i <= 17; ++i) crls.push_back(MakeCrl(Root(), {.number = i}));
  EXPECT_EQ(Decode(InARow(crls, {Ca()})), 0x88200108);
  EXPECT_EQ(Decode(AsPem(crls, {Ca()})), 0x88200108);
  EXPECT_EQ(bundle_, nullptr);
}

TEST_F(LumoCrlBundle, SixteenCrlsAreSummarised) {
  std::vector<Bytes> crls;
  for (long i = 1; i <= 16; ++i) crls.push_back(MakeCrl(Root(), {.number = i}));
  ASSERT_EQ(Decode(InARow(crls, {Ca()})), LUMO_OK);
  EXPECT_EQ(bundle_->crl_count, 16);
  EXPECT_EQ(Info(15).valid, 1);
}

TEST_F(LumoCrlBundle, SixteenPemCrlsAndTheirCertificateOverflowTheRawBuffers) {
  std::vector<Bytes> crls;
  for (long i = 1; i <= 16; ++i) crls.push_back(MakeCrl(Root(), {.number = i}));
  EXPECT_EQ(Decode(AsPem(crls, {Ca()})), 0x88200102);
  EXPECT_EQ(bundle_, nullptr);
}

// What is no bundle.

TEST_F(LumoCrlBundle, DataWithoutACertificateIsRefusedButItsCrlsAreStored) {
  EXPECT_EQ(Decode(MakeCrl(Root(), {})), 0x88200102);
  EXPECT_EQ(bundle_, nullptr);
  EXPECT_EQ(context_->store().crl_store.num(), 1u);
}

TEST_F(LumoCrlBundle, DataWithoutACrlIsRefused) {
  EXPECT_EQ(Decode(Ca().der), 0x88200102);
  EXPECT_EQ(bundle_, nullptr);
  EXPECT_EQ(context_->Stored(Ca()), nullptr);
}

TEST_F(LumoCrlBundle, DataThatDoesNotDecodeIsRefused) {
  for (const Bytes& data : {Bytes(100, 0), Bytes(10, 0x30), Concat(MakeCrl(Root(), {}), Bytes(33, 0)),
                            der::FromText("-----BEGIN X509 CRL-----\nMIIB\nMIIBMIIBMIIB")}) {
    EXPECT_EQ(Decode(data), 0x88200102);
    EXPECT_EQ(bundle_, nullptr);
  }
}

TEST_F(LumoCrlBundle, ACrlWithTwentyOneEntriesDoesNotDecode) {
  std::vector<pki::Revoked> revoked;
  for (std::uint8_t i = 1; i <= 20; ++i) revoked.push_back({.serial = {i}, .date = Utc(2024, 1, 1)});
  ASSERT_EQ(Decode(InARow({MakeCrl(Root(), {.revoked = revoked})}, {Ca()})), LUMO_OK);
  EXPECT_EQ(Info(0).revoke_list.revoke_count, 20u);
  revoked.push_back({.serial = {21}, .date = Utc(2024, 1, 1)});
  EXPECT_EQ(Decode(InARow({MakeCrl(Root(), {.revoked = revoked})}, {Ca()})), 0x88200102);
}

TEST_F(LumoCrlBundle, ACertificateThatCannotBeStoredIsAnError) {
  Bytes fillers;
  for (std::uint8_t i = 1; i <= 15; ++i) {
    fillers = Concat(fillers, Issue(Root(), pki::CodeSignerSpec("filler", {i})).der);
  }
  ASSERT_EQ(context_->AddCert(fillers), LUMO_OK);
  EXPECT_EQ(Decode(InARow({MakeCrl(Root(), {})}, {Ca()})), 0x88200102);
  EXPECT_EQ(bundle_, nullptr);
}

TEST_F(LumoCrlBundle, ACrlThatCannotBeStoredIsAnError) {
  Bytes crls;
  for (long i = 1; i <= 16; ++i) crls = Concat(crls, MakeCrl(Ca(), {.number = i}));
  context_->Load(crls);
  EXPECT_EQ(Decode(InARow({MakeCrl(Root(), {})}, {Ca()})), 0x88200102);
  EXPECT_EQ(bundle_, nullptr);
}

TEST_F(LumoCrlBundle, WhatIsStoredAlreadyIsSummarisedAgain) {
  const Bytes data = InARow({MakeCrl(Root(), {}), MakeCrl(Ca(), {})}, {Ca()});
  ASSERT_EQ(Decode(data), LUMO_OK);
  ASSERT_EQ(Decode(data), LUMO_OK);
  EXPECT_EQ(bundle_->crl_count, 2);
  EXPECT_EQ(Info(1).valid, 1);
  EXPECT_EQ(context_->store().crl_store.num(), 2u);
}

// What a summary cannot tell.

TEST_F(LumoCrlBundle, ACrlWhoseIssuerIsUnknownIsNotValid) {
  context_ = std::make_unique<VerifyContext>(callbacks_.table());
  ASSERT_EQ(
      Decode(InARow({MakeCrl(Root(), {.revoked = {{.serial = {7}, .date = Utc(2024, 1, 1)}}})}, {Ca()})),
      LUMO_OK);
  EXPECT_EQ(Info(0).valid, 0);
  EXPECT_EQ(Info(0).issuer_sn.sn_len, 0u);
  EXPECT_EQ(Info(0).revoke_list.revoke_count, 0u);
  EXPECT_STREQ(Info(0).issuer, "CN=root");
  EXPECT_EQ(context_->vrf()->base_time, 0) << "without an issuer there is nothing to judge";
}

TEST_F(LumoCrlBundle, ACrlWhoseIssuerDoesNotChainToARootIsNotValid) {
  context_ = std::make_unique<VerifyContext>(callbacks_.table());
  ASSERT_EQ(Decode(InARow({MakeCrl(Ca(), {})}, {Ca()})), LUMO_OK);
  EXPECT_EQ(Info(0).valid, 0);
  EXPECT_EQ(SerialBytes(Info(0).issuer_sn), (Bytes{0x12, 0x34})) << "but it is known";
}

TEST_F(LumoCrlBundle, AnIssuerIsJudgedAtTheCrlsOwnTime) {
  pki::CertSpec spec = CaSpec("short-ca", {5});
  spec.not_before = Utc(2024, 1, 1);
  spec.not_after = Utc(2024, 6, 1);
  const Cert short_ca = Issue(Root(), spec);
  const auto bundle = [&](pki::Time update) {
    return InARow({MakeCrl(Root(), {.this_update = Utc(2023, 1, 1)}),
                   MakeCrl(short_ca, {.this_update = update, .next_update = Utc(2034, 1, 1)})},
                  {short_ca});
  };
  ASSERT_EQ(Decode(bundle(Utc(2024, 6, 1))), LUMO_OK);
  EXPECT_EQ(Info(1).valid, 1);
  ASSERT_EQ(Decode(bundle(Utc(2024, 6, 1, 1))), LUMO_OK);
  EXPECT_EQ(Info(1).valid, 0);
}

TEST_F(LumoCrlBundle, ARevokedIssuerIsNotValid) {
  ASSERT_EQ(Decode(InARow({MakeCrl(Root(), {.revoked = {{.serial = {0x12, 0x34}, .date = Utc(2030, 1, 1)}}}),
                           MakeCrl(Ca(), {})},
                          {Ca()})),
            LUMO_OK);
  EXPECT_EQ(Info(0).valid, 1);
  EXPECT_EQ(Info(1).valid, 0);
}

TEST_F(LumoCrlBundle, AnIssuerWithALongSerialNumberIsKnownWithoutIt) {
  const Cert ca = Issue(Root(), CaSpec("long-ca", Bytes(33, 0x11)));
  ASSERT_EQ(Decode(InARow({MakeCrl(Root(), {}), MakeCrl(ca, {})}, {ca})), LUMO_OK);
  EXPECT_EQ(Info(1).valid, 1);
  EXPECT_EQ(Info(1).issuer_sn.sn_len, 0u);
}

TEST_F(LumoCrlBundle, AnIssuerNameWithoutATextFormStaysEmpty) {
  pki::CertSpec spec = CaSpec("odd-ca", {6});
  spec.subject = {{"CN", "odd-ca"}, {"serialNumber", "12"}};
  spec.key = pki::KeyNamed("odd-ca");
  const Cert odd = Issue(Root(), spec);
  ASSERT_EQ(Decode(InARow({MakeCrl(Root(), {}), MakeCrl(odd, {})}, {odd})), LUMO_OK);
  EXPECT_STREQ(Info(1).issuer, "");
  EXPECT_EQ(Info(1).valid, 1);
}

TEST_F(LumoCrlBundle, TimesThatCannotBeReadAreZero) {
  pki::RawCrl raw;
  raw.issuer = pki::NameDer(pki::Cn("root"));
  raw.this_update = der::UtcTime("2405010000Z");
  raw.next_update = der::GeneralizedTime("20340501000000.0Z");
  const Bytes crl = pki::SignedFrame(raw.Tbs(), pki::KeyNamed("root"));
  ASSERT_EQ(Decode(InARow({crl}, {Ca()})), LUMO_OK);
  EXPECT_EQ(Info(0).update_time, 0);
  EXPECT_EQ(Info(0).valid_until, 0);
  EXPECT_EQ(Info(0).valid, 0) << "the root is not valid at second 0";
}

TEST_F(LumoCrlBundle, ACrlWithoutNextUpdateDoesNotDecode) {
  EXPECT_EQ(Decode(InARow({MakeCrl(Root(), {.next_update = std::nullopt,
                                            .revoked = {{.serial = {7}, .date = Utc(2024, 1, 1)}}})},
                          {Ca()})),
            0x88200102);
}

// No memory.

TEST_F(LumoCrlBundle, NoRoomForTheBundleIsAnError) {
  const Bytes data = InARow({MakeCrl(Root(), {})}, {Ca()});
  unsigned long n = 0;
  while (DecodeWithoutMemory(data, ++n) != LUMO_OK) {
    EXPECT_EQ(code_, 0x88200102) << n;
    EXPECT_EQ(bundle_, nullptr) << n;
    ASSERT_LT(n, 100u);
  }
  EXPECT_GT(n, 4u) << "copy, CRL, certificate, bundle";
}

TEST_F(LumoCrlBundle, ACrlForWhichThereIsNoRoomLeavesAGapThatFreeingPassesOver) {
  const Bytes data = InARow({MakeCrl(Root(), {.revoked = {{.serial = {7}, .date = Utc(2024, 1, 1)}}}),
                             MakeCrl(Ca(), {}), MakeCrl(Root(), {.number = 2})},
                            {Ca()});
  bool first_missing = false;
  bool list_missing = false;
  for (unsigned long n = 1; n < 1000; ++n) {
    if (DecodeWithoutMemory(data, n) != LUMO_OK) continue;
    if (!callbacks_.failed()) break;
    if (bundle_->crl_info_list[0] == nullptr) {
      first_missing = true;
      EXPECT_EQ(bundle_->crl_count, 2);
      EXPECT_NE(bundle_->crl_info_list[2], nullptr) << "it lies behind the count and is freed all the same";
    } else if (Info(0).revoke_list.sn_list == nullptr) {
      list_missing = true;
      EXPECT_EQ(Info(0).revoke_list.revoke_count, 0u);
    }
  }
  EXPECT_TRUE(first_missing);
  EXPECT_TRUE(list_missing);
}

// Files.

TEST_F(LumoCrlBundle, ABundleIsReadFromAFile) {
  const ScratchDir scratch;
  WriteWholeFile(scratch / "bundle", AsPem({MakeCrl(Root(), {}), MakeCrl(Ca(), {})}, {Ca()}));
  ASSERT_EQ(lumo_decode_crl_file(context_->handle(), (scratch / "bundle").c_str(), &bundle_), LUMO_OK);
  EXPECT_EQ(bundle_->crl_count, 2);
}

TEST_F(LumoCrlBundle, FileErrorsPassThrough) {
  const ScratchDir scratch;
  bundle_ = Poison();
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_decode_crl_file(ctx, (scratch / "none").c_str(), &bundle_), LUMO_ERR_FILE_OPEN);
  EXPECT_EQ(lumo_decode_crl_file(ctx, "", &bundle_), LUMO_ERR_PARAM);
  WriteWholeFile(scratch / "bundle", {});
  EXPECT_EQ(lumo_decode_crl_file(ctx, (scratch / "bundle").c_str(), &bundle_), LUMO_ERR_FILE_EMPTY);
  EXPECT_EQ(bundle_, Poison());
  WriteWholeFile(scratch / "bundle", Bytes(100, 1));
  EXPECT_EQ(lumo_decode_crl_file(ctx, (scratch / "bundle").c_str(), &bundle_), LUMO_ERR_CRL_DECODE);
  EXPECT_EQ(bundle_, nullptr);
}

}  // namespace
