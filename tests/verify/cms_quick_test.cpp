#include <gtest/gtest.h>

#include <memory>

#include "tests/support/run_tool.h"
#include "tests/verify/cms_fixture.h"

// lumo_verify_detach_signature_quick: begin, update and final over two files.

namespace {

using der::Bytes;

class CmsQuick : public CmsFixture {
 protected:
  /// In a context of its own: afterwards it is only to be freed.
  LUMO_ERROR_CODE Quick(const Bytes& content, const Bytes& signature) {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
    WriteWholeFile(scratch_ / "content", content);
    WriteWholeFile(scratch_ / "signature", signature);
    callbacks_.Restart();
    return lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "content").c_str(),
                                              (scratch_ / "signature").c_str(), &result_);
  }
  static Bytes Sign(const Bytes& content) { return MessageOf(SignerOver(UsualAttributes(content))); }

  ScratchDir scratch_;
};

TEST_F(CmsQuick, ArgumentsMustBeThere) {
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_verify_detach_signature_quick(nullptr, "a", "b", &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, nullptr, "b", &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, "a", nullptr, &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, "a", "b", nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(result_, -1);
}

TEST_F(CmsQuick, AcceptsDerAndPem) {
  EXPECT_EQ(Quick(Content(), PemOf("CMS", Sign(Content()))), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(Quick(Content(), Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsQuick, AContentOfOnePieceIsFedOnceAndThenFinished) {
  const Bytes content(4096, 5);
  EXPECT_EQ(Quick(content, Sign(content)), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(callbacks_.md_updates_of(4096), 1u);
  EXPECT_EQ(callbacks_.calls(Slot::kFread), 3u) << "the signature, the piece, and the end";
}

TEST_F(CmsQuick, ALongerContentIsFedInPieces) {
  const Bytes content(2 * 4096 + 777, 5);
  EXPECT_EQ(Quick(content, Sign(content)), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(callbacks_.md_updates_of(4096), 2u);
  EXPECT_EQ(callbacks_.md_updates_of(777), 1u);
}

TEST_F(CmsQuick, OtherContentIsRefused) {
  EXPECT_EQ(Quick(der::FromText("softwarE"), Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AnEmptyContentIsNotFed) {
  EXPECT_EQ(Quick({}, Sign({})), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(Quick({}, Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AMessageWithoutSignersFailsAtTheFirstPiece) {
  EXPECT_EQ(Quick(Content(), MessageOfAll({})), 0x88200307);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AMessageWithoutSignersPassesForNoContentAtAll) {
  EXPECT_EQ(Quick({}, MessageOfAll({})), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsQuick, AMissingSignatureIsReportedFirst) {
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "none").c_str(),
                                               (scratch_ / "neither").c_str(), &result_),
            0x88000101);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kFopen), 1u);
}

TEST_F(CmsQuick, AMissingContentIsReportedAfterBegin) {
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "none").c_str(),
                                               (scratch_ / "signature").c_str(), &result_),
            0x88000101);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 1u);
}

TEST_F(CmsQuick, BeginsErrorIsReturnedAndTheContentNotOpened) {
  EXPECT_EQ(Quick(Content(), Bytes(37, 1)), 0x88200305);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kFopen), 1u);
}

TEST_F(CmsQuick, TheSignatureFollowsTheRulesOfFiles) {
  EXPECT_EQ(Quick(Content(), {}), LUMO_ERR_FILE_EMPTY);
  EXPECT_EQ(Quick(Content(), Bytes(2'000'001, 1)), LUMO_ERR_FILE_TOO_LARGE);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AnUpdatesErrorEndsTheCallWithoutFinal) {
  WriteWholeFile(scratch_ / "content", Content());
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  ASSERT_EQ(Quick(Content(), Sign(Content())), LUMO_OK);
  const unsigned long updates = callbacks_.calls(Slot::kMdUpdate);
  const unsigned long finals = callbacks_.calls(Slot::kMdFinal);
  callbacks_.FailNth(Slot::kMdUpdate, updates);
  EXPECT_EQ(Quick(Content(), Sign(Content())), kForeignCode);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kMdFinal), finals - 1);
  EXPECT_EQ(open_checks(), 1u);
}

TEST_F(CmsQuick, AFreadThatClaimsMoreThanItsRoomIsRefused) {
  WriteWholeFile(scratch_ / "content", Content());
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  context_->vrf()->callback_funcs.plt_funcs.sys_funcs.file_funcs.fread = [](void* buffer, TEV_SIZE_T size,
                                                                            TEV_FILE_HANDLE file) {
    return size == 4096 ? 4097 : PlatformTable().plt_funcs.sys_funcs.file_funcs.fread(buffer, size, file);
  };
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "content").c_str(),
                                               (scratch_ / "signature").c_str(), &result_),
            LUMO_ERR_FILE_READ);
  EXPECT_EQ(result_, 0);
}

}  // namespace
