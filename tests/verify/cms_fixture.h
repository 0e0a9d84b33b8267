#ifndef FWVET_TESTS_VERIFY_CMS_FIXTURE_H
#define FWVET_TESTS_VERIFY_CMS_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>

#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"

// A context that trusts the maker of software, and messages that are good in it.

inline der::Bytes GoodMessage() {
  return MessageOf(SignerOver(UsualAttributes(Content())));
}
inline der::Bytes GoodPlainMessage(const der::Bytes& content = Content()) {
  return MessageOf(PlainSigner(content));
}

class CmsFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  LUMO_ERROR_CODE Begin(const der::Bytes& signature) { return context_->Begin(signature); }
  LUMO_ERROR_CODE Update(const der::Bytes& content) { return context_->Update(content); }
  LUMO_ERROR_CODE Final() { return lumo_verify_detach_signature_final(context_->handle(), &result_); }
  [[nodiscard]] TEV_UINT32 open_checks() const { return context_->vrf()->vrf_proc.md_info_list.num(); }
  LUMO_VERIFY_DIGEST_INFO& Check(TEV_UINT32 i) { return *context_->vrf()->vrf_proc.md_info_list.at(i); }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_{};
  TEV_INT32 result_ = -1;
};

#endif
