#include <gtest/gtest.h>

#include "tests/support/failing_allocator.h"
#include "tests/verify/x509_fixture.h"

// What CRLs may look like and how long they live.

namespace {

using pki::Bytes;

class LumoX509Crl : public LumoX509 {
 protected:
  pki::Cert root_ = pki::SelfSigned(pki::CaSpec("Root"));

  Bytes CrlWithEntries(int count) {
    pki::CrlSpec spec;
    for (int i = 0; i < count; ++i) {
      spec.revoked.push_back(
          {.serial = {static_cast<TEV_BYTE>(i + 1)}, .date = pki::Utc(2024, 1, 1), .reason = {}});
    }
    return pki::MakeCrl(root_, spec);
  }
};

TEST_F(LumoX509Crl, TwentyEntriesFitAndTwentyOneDoNot) {
  EXPECT_EQ(Crl(CrlWithEntries(20))->tbs_cert_list.revoked_certs.revoked_list.num, 20u);
  EXPECT_EQ(CrlCode(CrlWithEntries(21)), 0x88300701u);
}

TEST_F(LumoX509Crl, WithoutEntriesTheCountIsZero) {
  const LUMO_X509_CRL* crl = Crl(CrlWithEntries(0));
  EXPECT_EQ(crl->tbs_cert_list.revoked_certs.revoked_list.num, 0u);
  EXPECT_EQ(crl->iRef, 1);
}

TEST_F(LumoX509Crl, ReasonAndDateOfAnEntryAreRead) {
  pki::CrlSpec spec;
  spec.revoked = {{.serial = {5}, .date = pki::Utc(2024, 1, 1), .reason = 4},
                  {.serial = {6}, .date = pki::Utc(2024, 1, 1), .reason = {}}};
  const LUMO_X509_CRL* crl = Crl(pki::MakeCrl(root_, spec));
  const auto& list = crl->tbs_cert_list.revoked_certs.revoked_list;
  EXPECT_EQ(list.data[0].attrs.reason, 4);
  EXPECT_EQ(list.data[0].revocation_date.tag.code, CBT_UTCTIME);
  EXPECT_EQ(list.data[1].attrs.reason, 0);
}

TEST_F(LumoX509Crl, TheIndirectMarkIsRead) {
  pki::CrlSpec spec;
  spec.indirect = true;
  EXPECT_EQ(Crl(pki::MakeCrl(root_, spec))->tbs_cert_list.extensions.idp.indirectCRL, 1);
  EXPECT_EQ(Crl(CrlWithEntries(0))->tbs_cert_list.extensions.idp.indirectCRL, 0);
}

Bytes RawCrlDer(pki::RawCrl raw, const pki::Cert& root) {
  raw.issuer = pki::SubjectOf(root);
  return pki::SignedFrame(raw.Tbs(), root.key);
}

TEST_F(LumoX509Crl, WithoutNextUpdateItFailsWhateverFollows) {
  pki::RawCrl bare;
  bare.next_update = {};
  EXPECT_EQ(CrlCode(RawCrlDer(bare, root_)), 0x88300401u);
  pki::RawCrl entries = bare;
  entries.revoked = der::Seq(pki::RevokedEntry({.serial = {5}, .date = pki::Utc(2024, 1, 1), .reason = {}}));
  EXPECT_EQ(CrlCode(RawCrlDer(entries, root_)), 0x88300401u);
  pki::RawCrl extensions = bare;
  extensions.extensions = der::Explicit(0, der::Seq());
  EXPECT_EQ(CrlCode(RawCrlDer(extensions, root_)), 0x88300401u);
}

TEST_F(LumoX509Crl, AVersionOneCrlFails) {
  pki::RawCrl raw;
  raw.version = {};
  EXPECT_EQ(CrlCode(RawCrlDer(raw, root_)), 0x88300001u);
}

TEST_F(LumoX509Crl, NextUpdateIsAUtcOrAGeneralizedTime) {
  pki::RawCrl raw;
  raw.next_update = der::GeneralizedTime("20340501000000Z");
  EXPECT_EQ(Crl(RawCrlDer(raw, root_))->tbs_cert_list.next_update.tag.code, CBT_GENERALIZEDTIME);
  for (const Bytes& other : {der::OctetString("340501000000Z"), der::Null(), der::Tlv(0x17)}) {
    raw.next_update = other;
    EXPECT_EQ(CrlCode(RawCrlDer(raw, root_)), 0x88300401u);
  }
}

TEST_F(LumoX509Crl, AMalformedEntryFailsTheSequenceNotTheSet) {
  pki::RawCrl raw;
  raw.revoked = der::Seq(der::Seq(der::Integer(5)));
  EXPECT_EQ(CrlCode(RawCrlDer(raw, root_)), 0x88300401u);
}

TEST_F(LumoX509Crl, AnEmptyListOfEntriesIsNone) {
  pki::RawCrl raw;
  raw.revoked = der::Seq();
  EXPECT_EQ(Crl(RawCrlDer(raw, root_))->tbs_cert_list.revoked_certs.revoked_list.num, 0u);
}

TEST_F(LumoX509Crl, EveryFieldOfTheDistributionPointIsKept) {
  pki::RawCrl raw;
  const Bytes point = der::Seq(der::Tlv(0xA0, der::FromText("point")), der::Tlv(0x81, Bytes{0xFF}),
                               der::Tlv(0x82, Bytes{0xFF}), der::Tlv(0x83, Bytes{1, 0x7E}),
                               der::Tlv(0x84, Bytes{0xFF}), der::Tlv(0x85, Bytes{0xFF}));
  raw.extensions =
      der::Explicit(0, der::Seq(pki::ExtensionDer({.oid = "2.5.29.28", .critical = true, .value = point})));
  const LUMO_X509_ISSUING_DIST_POINT& idp = Crl(RawCrlDer(raw, root_))->tbs_cert_list.extensions.idp;
  EXPECT_EQ(Bytes(idp.distpoint.octs, idp.distpoint.octs + idp.distpoint.len), der::FromText("point"));
  EXPECT_EQ(idp.onlyuser, 1);
  EXPECT_EQ(idp.onlyCA, 1);
  EXPECT_EQ(idp.onlysomereasons.len, 1u);
  EXPECT_EQ(idp.onlysomereasons.octs[0], 0x7E);
  EXPECT_EQ(idp.indirectCRL, 1);
  EXPECT_EQ(idp.onlyattr, 1);
}

TEST_F(LumoX509Crl, OtherExtensionsOfListAndEntriesAreIgnored) {
  const pki::Extension other{.oid = "2.5.29.20", .critical = true, .value = der::Integer(1)};
  const Bytes entry =
      der::Seq(der::Integer(5), der::UtcTime("240101000000Z"), der::Seq(pki::ExtensionDer(other)));
  pki::RawCrl raw;
  raw.revoked = der::Seq(entry);
  raw.extensions = der::Explicit(0, der::Seq(pki::ExtensionDer(other)));
  const LUMO_X509_CRL* crl = Crl(RawCrlDer(raw, root_));
  ASSERT_NE(crl, nullptr);
  EXPECT_EQ(crl->tbs_cert_list.revoked_certs.revoked_list.data[0].attrs.reason, 0);
}

TEST_F(LumoX509Crl, RawSignedIsTheTbsCertListToTheByte) {
  const Bytes encoded = CrlWithEntries(1);
  const LUMO_X509_CRL* crl = Crl(encoded);
  EXPECT_EQ(Bytes(crl->raw_signed.octs, crl->raw_signed.octs + crl->raw_signed.len),
            der::FirstElement(der::ContentOf(encoded)));
}

TEST_F(LumoX509Crl, AFailedAllocationIsReturnedAndARefusedCrlLeavesNothing) {
  const Bytes encoded = CrlWithEntries(1);
  pki::RawCrl bare;
  bare.next_update = der::Null();
  const Bytes refused = RawCrlDer(bare, root_);
  FailingAllocator allocator(1);
  vrf_.callback_funcs = allocator.table();
  LUMO_X509_CRL* crl = nullptr;
  EXPECT_EQ(TryCrl(encoded, &crl), LUMO_ERR_MALLOC);
  EXPECT_EQ(TryCrl(refused, &crl), 0x88300401u);
  EXPECT_EQ(crl, nullptr);
  EXPECT_EQ(allocator.live(), 0u);
}

TEST_F(LumoX509Crl, ACrlLivesUntilItsLastRelease) {
  const Bytes encoded = CrlWithEntries(1);
  FailingAllocator allocator;
  vrf_.callback_funcs = allocator.table();
  LUMO_X509_CRL* crl = nullptr;
  ASSERT_EQ(TryCrl(encoded, &crl), LUMO_OK);
  ++crl->iRef;
  lumo_x509_free_crl(&vrf_, crl);
  EXPECT_EQ(allocator.live(), 1u);
  lumo_x509_free_crl(&vrf_, crl);
  EXPECT_EQ(allocator.live(), 0u);
}

}  // namespace
