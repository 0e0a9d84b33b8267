#include "verify/cms_signer.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/verify/cms_fixture.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_crypto.h"

namespace {

using der::Bytes;

/// The decoded message, kept for as long as its signer is used.
class Decoded {
 public:
  Decoded(const VerifyContext& context, Bytes message) : bytes_(std::move(message)), message_(context.vrf()) {
    TEV_UINT32 consumed = 0;
    if (lumo_pkcs7_decode_signed(context.vrf(), bytes_.data(), static_cast<TEV_UINT32>(bytes_.size()),
                                 message_.out(), &consumed) != LUMO_OK) {
      throw std::runtime_error("the message does not decode");
    }
  }
  LUMO_PKCS7_SIGNER_INFO& signer() { return message_->signed_data.signer_infos.infos.data[0]; }

 private:
  Bytes bytes_;
  OwnedMessage message_;
};

class CmsSigner : public CmsFixture {
 protected:
  void SetUp() override {
    CmsFixture::SetUp();
    context_->Trust(Maker().signer);
    cert_ = context_->Stored(Maker().signer);
    decoded_ = std::make_unique<Decoded>(*context_, GoodMessage());
  }
  void TearDown() override {
    decoded_.reset();
    CmsFixture::TearDown();
  }
  LUMO_ERROR_CODE VerifyAttributes() {
    return lumo_pkcs7_detached_signature_verify(context_->vrf(), &decoded_->signer(), cert_, &good_);
  }

  LUMO_X509_CERT* cert_ = nullptr;
  std::unique_ptr<Decoded> decoded_{};
  TEV_INT good_ = -1;
};

TEST_F(CmsSigner, AttributesVerifyUnderTheSetTag) {
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 1);
}

TEST_F(CmsSigner, ArgumentsMustBeThere) {
  const LUMO_VRF* vrf = context_->vrf();
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(nullptr, &decoded_->signer(), cert_, &good_),
            LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, nullptr, cert_, &good_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, &decoded_->signer(), nullptr, &good_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, &decoded_->signer(), cert_, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(good_, -1);
}

TEST_F(CmsSigner, TheFirstOctetComesFromTheRecordedTag) {
  decoded_->signer().raw_signed.tag.code = CBT_SEQUENCES;
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, AnUnknownDigestIsAnError) {
  decoded_->signer().digest_algo.algorithm.len = 3;
  EXPECT_EQ(VerifyAttributes(), 0x88200310);
  EXPECT_EQ(good_, -1);
}

TEST_F(CmsSigner, AKeyThatDoesNotFitIsAnError) {
  LUMO_RSA_PUBKEY& key = cert_->toBeSigned.subjectPubKey.subjectPublicKey.rsa_pub;
  const LUMO_ASN_BIGINT modulus = key.modules;
  const Bytes large(513, 1);
  key.modules.octs = large.data();
  key.modules.len = 513;
  EXPECT_EQ(VerifyAttributes(), 0x880000FF);
  key.modules = modulus;
}

TEST_F(CmsSigner, ASignerWithoutTheEncodingOfItsAttributesIsMalformed) {
  decoded_->signer().raw_signed.octs = nullptr;
  EXPECT_EQ(VerifyAttributes(), 0x88200312);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, ASignerWithoutASignatureIsABadOne) {
  decoded_->signer().encrypted_digest.octs = nullptr;
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, FailingChecksGiveTheirCodeBack) {
  for (const Slot slot : {Slot::kRsaCreate, Slot::kRsaInit, Slot::kRsaUpdate, Slot::kRsaFinal}) {
    callbacks_.FailNth(slot, 1);
    EXPECT_EQ(VerifyAttributes(), kForeignCode) << NameOf(slot);
  }
  callbacks_.FailNth(Slot::kRsaUpdate, 2);
  EXPECT_EQ(VerifyAttributes(), kForeignCode);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, ADigestRecordHoldsAlgorithmAndExpectedValue) {
  OwnedMdInfo info(context_->vrf());
  ASSERT_EQ(_tevGetDigestFromSignerInfo(context_->vrf(), decoded_->signer(), info), LUMO_OK);
  EXPECT_EQ(info->nDigestAlgID, 43u);
  EXPECT_EQ(Bytes(info->pbDigest, info->pbDigest + info->nDigestSize), pki::DigestOf("SHA256", Content()));
  EXPECT_EQ(info->digestCtx, nullptr);
  EXPECT_EQ(info->vrfCtx, nullptr);
}

TEST_F(CmsSigner, ADigestRecordOfAnUnknownAlgorithmIsRefused) {
  OwnedMdInfo info(context_->vrf());
  decoded_->signer().digest_algo.algorithm.len = 3;
  EXPECT_EQ(_tevGetDigestFromSignerInfo(context_->vrf(), decoded_->signer(), info), 0x88200306);
}

TEST_F(CmsSigner, HashingAtOnceReturnsTheFirstFailingStepsCode) {
  const Bytes& data = Content();
  const auto hash = [&](LUMO_DIGEST* digest) {
    return _tevHashContent(context_->vrf(), 43, data.data(), static_cast<TEV_UINT32>(data.size()), digest);
  };
  LUMO_DIGEST digest{};
  ASSERT_EQ(hash(&digest), LUMO_OK);
  EXPECT_EQ(Bytes(digest.octets, digest.octets + digest.size), pki::DigestOf("SHA256", data));
  for (const Slot slot : {Slot::kMdCreate, Slot::kMdInit, Slot::kMdUpdate, Slot::kMdFinal}) {
    callbacks_.FailNth(slot, 1);
    EXPECT_EQ(hash(&digest), kForeignCode) << NameOf(slot);
  }
  EXPECT_EQ(_tevHashContent(context_->vrf(), 1, data.data(), 1, &digest), LUMO_ERR_GENERIC);
}

TEST_F(CmsSigner, FreeingNoCheckIsAllowed) {
  _tevFreeMdInfo(context_->vrf(), nullptr);
  EXPECT_EQ(open_checks(), 0u);
}

}  // namespace
