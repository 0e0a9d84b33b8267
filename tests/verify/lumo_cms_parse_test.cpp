#include "verify/lumo_cms_parse.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/raw_pki.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_x509.h"

namespace {

using pki::Bytes;

class LumoCmsParse : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0); }
  void TearDown() override { lumo_pkcs7_free_signed(&vrf_, message_); }

  LUMO_ERROR_CODE Decode(const Bytes& der) {
    lumo_pkcs7_free_signed(&vrf_, message_);
    message_ = nullptr;
    input_ = der;
    return lumo_pkcs7_decode_signed(&vrf_, input_.data(), static_cast<TEV_UINT32>(input_.size()), &message_,
                                    &consumed_);
  }

  [[nodiscard]] const LUMO_PKCS7_SIGNED_DATA& data() const { return message_->signed_data; }

  // A message of `signers` signer infos with `certificates` embedded.
  [[nodiscard]] pki::RawSignedData Raw(int certificates, int signers = 1) const {
    pki::RawSignedData raw;
    for (int i = 0; i < certificates; ++i) raw.certificates.push_back(signer_.der);
    for (int i = 0; i < signers; ++i) {
      raw.signer_infos.push_back(pki::SignContent(signer_, der::FromText("content")).Encode());
    }
    return raw;
  }

  LUMO_VRF vrf_{};
  Bytes input_;
  TEV_UINT32 consumed_ = 0;
  LUMO_PKCS7_CONTENT* message_ = nullptr;
  const pki::Cert root_ = pki::SelfSigned(pki::CaSpec("Root"));
  const pki::Cert signer_ = pki::Issue(root_, pki::CodeSignerSpec("Signer", {7}));
};

TEST_F(LumoCmsParse, NoneOneOrTwoCertificatesDecode) {
  for (int count = 0; count <= 2; ++count) {
    ASSERT_EQ(Decode(Raw(count).Encode()), LUMO_OK) << count;
    EXPECT_EQ(data().certificates.num(), static_cast<unsigned>(count));
    EXPECT_EQ(consumed_, input_.size());
  }
  EXPECT_EQ(data().certificates.at(0)->iRef, 1);
  EXPECT_EQ(data().certificates.at(0)->toBeSigned.extensions.exku, LUMO_EXKU_CODE_SIGNING);
}

TEST_F(LumoCmsParse, ThreeOrElevenCertificatesFail) {
  EXPECT_EQ(Decode(Raw(3).Encode()), 0x88200312u);
  EXPECT_EQ(Decode(Raw(11).Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, NoneOrOneSignerDecodeAndTwoFail) {
  ASSERT_EQ(Decode(Raw(1, 0).Encode()), LUMO_OK);
  EXPECT_EQ(data().signer_infos.infos.num, 0u);
  ASSERT_EQ(Decode(Raw(1, 1).Encode()), LUMO_OK);
  EXPECT_EQ(data().signer_infos.infos.num, 1u);
  EXPECT_EQ(Decode(Raw(1, 2).Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, ACertificateSlotOfAnotherTagFailsTheMessage) {
  pki::RawSignedData raw = Raw(1);
  raw.certificates.push_back(der::OctetString("no certificate"));
  EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, AnEmptyOrMalformedCertificateFailsTheMessage) {
  for (const Bytes& slot : {der::Seq(), der::Seq(der::Integer(1)), Bytes{0x31, 0x00}}) {
    pki::RawSignedData raw = Raw(1);
    raw.certificates.push_back(slot);
    EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
  }
}

TEST_F(LumoCmsParse, TheVersionMayBeMissingButNotTheDigestAlgorithms) {
  pki::RawSignedData raw = Raw(1);
  raw.version = {};
  EXPECT_EQ(Decode(raw.Encode()), LUMO_OK);
  raw.digest_algorithms = {};
  EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, AnEmptySetOfDigestAlgorithmsDecodes) {
  pki::RawSignedData raw = Raw(1);
  raw.digest_algorithms = der::Set();
  EXPECT_EQ(Decode(raw.Encode()), LUMO_OK);
}

TEST_F(LumoCmsParse, EmbeddedCrlsAreSteppedOver) {
  pki::RawSignedData raw = Raw(1);
  raw.crls = der::Tlv(0xA1, pki::MakeCrl(root_, {}));
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  EXPECT_EQ(data().signer_infos.infos.num, 1u);
}

TEST_F(LumoCmsParse, ADetachedMessageHasNoContent) {
  ASSERT_EQ(Decode(Raw(1).Encode()), LUMO_OK);
  EXPECT_EQ(data().content.content.octs, nullptr);
}

TEST_F(LumoCmsParse, ContentIsTheInnerElementWhole) {
  pki::RawSignedData raw = Raw(1);
  raw.content = pki::TstContent(der::FromText("tst"));
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  const LUMO_ASN_OCTS& content = data().content.content;
  EXPECT_EQ(Bytes(content.octs, content.octs + content.len), der::OctetString("tst"));
}

TEST_F(LumoCmsParse, SignedAttributesAreKeptAsEncodedUnderTheTagOfASet) {
  const Bytes digest = pki::DigestOf("SHA256", der::FromText("content"));
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {
      pki::SignAttributes(signer_, {pki::Attribute(pki::kOidMessageDigest, der::OctetString(digest))})
          .Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  const LUMO_PKCS7_SIGNER_INFO& si = data().signer_infos.infos.data[0];
  ASSERT_NE(si.raw_signed.octs, nullptr);
  EXPECT_EQ(si.raw_signed.octs[0], 0xA0);
  EXPECT_EQ(si.raw_signed.tag, (LUMO_BER_TAG{CBC_UNIV, CBF_CONS, CBT_SETS}));
  EXPECT_EQ(
      Bytes(si.auth_attrs.hash_value.octs, si.auth_attrs.hash_value.octs + si.auth_attrs.hash_value.len),
      digest);
}

TEST_F(LumoCmsParse, WithoutSignedAttributesNothingIsKept) {
  ASSERT_EQ(Decode(Raw(1).Encode()), LUMO_OK);
  EXPECT_EQ(data().signer_infos.infos.data[0].raw_signed.octs, nullptr);
}

TEST_F(LumoCmsParse, ASignerNamedByKeyIdentifierFails) {
  pki::RawSignerInfo si = pki::SignContent(signer_, der::FromText("content"));
  si.sid = der::Tlv(0x80, der::FromText("key identifier"));
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {si.Encode()};
  EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, TheTimestampIsTheWholeTokenElement) {
  pki::RawSignerInfo si = pki::SignContent(signer_, der::FromText("content"));
  const Bytes token = der::Seq(der::Oid(pki::kOidSignedData), der::Null());
  si.unsigned_attributes = pki::TokenAttributes(token);
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {si.Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  const LUMO_ASN_OCTS& kept = data().signer_infos.infos.data[0].unauth_attrs.timestamp;
  EXPECT_EQ(Bytes(kept.octs, kept.octs + kept.len), token);
}

TEST_F(LumoCmsParse, MissingArgumentsAreRefusedAndNullIsFreed) {
  const Bytes der = Raw(1).Encode();
  const auto size = static_cast<TEV_UINT32>(der.size());
  EXPECT_EQ(lumo_pkcs7_decode_signed(&vrf_, nullptr, size, &message_, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_decode_signed(&vrf_, der.data(), 0, &message_, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_decode_signed(&vrf_, der.data(), size, nullptr, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_decode_signed(&vrf_, der.data(), size, &message_, nullptr), LUMO_ERR_PARAM);
  lumo_pkcs7_free_signed(&vrf_, nullptr);
}

TEST_F(LumoCmsParse, EveryFailedAllocationLeavesNothing) {
  const Bytes der = Raw(2).Encode();
  const unsigned long calls = ForEachFailedAllocation([&](FailingAllocator& allocator) {
    LUMO_VRF vrf{};
    vrf.callback_funcs = allocator.table();
    LUMO_PKCS7_CONTENT* message = nullptr;
    TEV_UINT32 consumed = 0;
    const LUMO_ERROR_CODE rc =
        lumo_pkcs7_decode_signed(&vrf, der.data(), static_cast<TEV_UINT32>(der.size()), &message, &consumed);
    EXPECT_EQ(rc, allocator.failed() ? LUMO_ERR_PKCS7_DECODE : LUMO_OK);
    lumo_pkcs7_free_signed(&vrf, message);
    EXPECT_EQ(allocator.live(), 0u);
  });
  EXPECT_EQ(calls, 3u);
}

TEST_F(LumoCmsParse, WhatWasDecodedBeforeAMalformedCertificateIsReleased) {
  pki::RawSignedData raw = Raw(1);
  raw.certificates.push_back(der::Seq(der::Integer(1)));
  const Bytes der = raw.Encode();
  FailingAllocator allocator;
  vrf_.callback_funcs = allocator.table();
  EXPECT_EQ(Decode(der), 0x88200312u);
  EXPECT_EQ(allocator.calls(), 3u);
  EXPECT_EQ(allocator.live(), 0u);
  EXPECT_EQ(message_, nullptr);
}

TEST_F(LumoCmsParse, ContentTypeAndVersionMayBeAny) {
  pki::RawSignedData raw = Raw(1);
  raw.version = der::Integer(99);
  const Bytes inner = der::ContentOf(raw.Encode());
  const Bytes explicitContent = der::Children(inner)[1];
  EXPECT_EQ(Decode(der::Seq(der::Oid("1.2.3"), explicitContent)), LUMO_OK);
  EXPECT_EQ(data().version, 99);
}

TEST_F(LumoCmsParse, WithoutTheWrapperOfTheContentItFails) {
  const Bytes inner = der::ContentOf(Raw(1).Encode());
  const Bytes signedData = der::ContentOf(der::Children(inner)[1]);
  EXPECT_EQ(Decode(der::Seq(der::Oid(pki::kOidSignedData), signedData)), 0x88200312u);
  EXPECT_EQ(Decode(der::Seq(der::Oid(pki::kOidSignedData), der::Explicit(1, signedData))), 0x88200312u);
  EXPECT_EQ(Decode(der::Seq(der::Oid(pki::kOidSignedData))), 0x88200312u);
}

TEST_F(LumoCmsParse, AnEmptyCertificatesFieldHasNone) {
  const Bytes encoded = Raw(0).Encode();
  std::vector<Bytes> fields =
      der::Children(der::ContentOf(der::ContentOf(der::Children(der::ContentOf(encoded))[1])));
  ASSERT_EQ(fields.size(), 4u);
  fields.insert(fields.begin() + 3, Bytes{0xA0, 0x00});
  EXPECT_EQ(Decode(der::Seq(der::Oid(pki::kOidSignedData), der::Explicit(0, der::SeqOf(fields)))), LUMO_OK);
  EXPECT_EQ(data().certificates.num(), 0u);
}

TEST_F(LumoCmsParse, WhatFollowsTheMessageIsNotLookedAt) {
  const Bytes good = Raw(1).Encode();
  EXPECT_EQ(Decode(der::Concat(good, Bytes{0xFF, 0xFF})), LUMO_OK);
  EXPECT_EQ(consumed_, good.size());
}

TEST_F(LumoCmsParse, AnIndefiniteLengthFails) {
  EXPECT_EQ(Decode(der::Indefinite(0x30, der::ContentOf(Raw(1).Encode()))), 0x88200312u);
}

TEST_F(LumoCmsParse, OfTwoMessageDigestsTheLastCounts) {
  const auto digest = [](const char* text) {
    return pki::Attribute(pki::kOidMessageDigest, der::OctetString(text));
  };
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {pki::SignAttributes(signer_, {digest("first"), digest("second one")}).Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  const LUMO_ASN_OCTS& kept = data().signer_infos.infos.data[0].auth_attrs.hash_value;
  EXPECT_EQ(Bytes(kept.octs, kept.octs + kept.len), der::FromText("second one"));
}

TEST_F(LumoCmsParse, AttributesWithoutADigestLeaveNone) {
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {
      pki::SignAttributes(signer_, {pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData))}).Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  EXPECT_NE(data().signer_infos.infos.data[0].raw_signed.octs, nullptr);
  EXPECT_EQ(data().signer_infos.infos.data[0].auth_attrs.hash_value.octs, nullptr);
}

TEST_F(LumoCmsParse, AnAttributeWithoutValuesFailsTheMessage) {
  const Bytes hollow = der::Seq(der::Oid("1.2.3"), der::Set());
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {pki::SignAttributes(signer_, {hollow}).Encode()};
  EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
  pki::RawSignerInfo si = pki::SignContent(signer_, der::FromText("content"));
  si.unsigned_attributes = der::Tlv(0xA1, hollow);
  raw.signer_infos = {si.Encode()};
  EXPECT_EQ(Decode(raw.Encode()), 0x88200312u);
}

TEST_F(LumoCmsParse, AnEmptyFieldOfSignedAttributesIsAsGoodAsAbsent) {
  pki::RawSignerInfo si = pki::SignContent(signer_, der::FromText("content"));
  si.signed_attributes = Bytes{0xA0, 0x00};
  pki::RawSignedData raw = Raw(1, 0);
  raw.signer_infos = {si.Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  EXPECT_EQ(data().signer_infos.infos.data[0].raw_signed.octs, nullptr);
}

TEST_F(LumoCmsParse, SerialAndSignatureOfTheSignerAreKept) {
  const Bytes content = der::FromText("content");
  const pki::RawSignerInfo si = pki::SignContent(signer_, content);
  pki::RawSignedData raw = Raw(0, 0);
  raw.signer_infos = {si.Encode()};
  ASSERT_EQ(Decode(raw.Encode()), LUMO_OK);
  const LUMO_PKCS7_SIGNER_INFO& kept = data().signer_infos.infos.data[0];
  EXPECT_EQ(kept.version, 1);
  EXPECT_EQ(Bytes(kept.issuer_sn.sn.octs, kept.issuer_sn.sn.octs + kept.issuer_sn.sn.len), Bytes{7});
  EXPECT_EQ(Bytes(kept.encrypted_digest.octs, kept.encrypted_digest.octs + kept.encrypted_digest.len),
            si.signature);
  EXPECT_EQ(kept.issuer_sn.issuer.names.num, 1u);
}

// Time-stamp information.

class LumoTstInfo : public LumoCmsParse {
 protected:
  LUMO_ERROR_CODE DecodeInfo(const Bytes& der) {
    input_ = der;
    LUMO_TST_INFO* info = nullptr;
    const LUMO_ERROR_CODE rc = lumo_decode_as(&vrf_, input_.data(), static_cast<TEV_UINT32>(input_.size()),
                                              LUMO_TST_INFO_item, &info, &consumed_);
    if (rc == LUMO_OK) time_ = std::string(info->time.octs, info->time.octs + info->time.len);
    lumo_asn_free(&vrf_, info, &LUMO_TST_INFO_item, 0);
    return rc;
  }

  static std::vector<Bytes> Fields() {
    return {der::Integer(1), der::Oid("1.2.3"),
            der::Seq(pki::DigestAlgorithm("SHA256"), der::OctetString(std::string(32, 'h'))),
            der::Integer(99), der::GeneralizedTime("20240601120000Z")};
  }

  std::string time_;
};

TEST_F(LumoTstInfo, TheFiveMandatoryFieldsAreEnough) {
  EXPECT_EQ(DecodeInfo(der::SeqOf(Fields())), LUMO_OK);
  EXPECT_EQ(time_, "20240601120000Z");
}

TEST_F(LumoTstInfo, EveryOptionalFieldIsSteppedOver) {
  std::vector<Bytes> fields = Fields();
  fields.push_back(der::Seq(der::Integer(1)));
  fields.push_back(der::Boolean(true));
  fields.push_back(der::Integer(1234567890));
  fields.push_back(der::Explicit(0, der::Tlv(0xA4, der::Seq())));
  fields.push_back(der::Tlv(0xA1, der::Seq(der::Oid("1.2.3"), der::OctetString("x"))));
  EXPECT_EQ(DecodeInfo(der::SeqOf(fields)), LUMO_OK);
}

TEST_F(LumoTstInfo, EachMandatoryFieldIsMissed) {
  // The policy may be any element, so the field behind a missing one is what is found wrong.
  constexpr LUMO_ERROR_CODE kCodes[] = {0x88300001, 0x88300001, 0x88300001, 0x88300003, 0x88300401};
  for (std::size_t left_out = 0; left_out < 5; ++left_out) {
    std::vector<Bytes> fields = Fields();
    fields.erase(fields.begin() + static_cast<std::ptrdiff_t>(left_out));
    EXPECT_EQ(DecodeInfo(der::SeqOf(fields)), kCodes[left_out]) << left_out;
  }
}

}  // namespace
