#ifndef FWVET_TESTS_VERIFY_ATTACKS_FIXTURE_H
#define FWVET_TESTS_VERIFY_ATTACKS_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"

// Attacks that other verifiers fell for. Each ends in a refusal, or in the verdict that its name tells.

/// A stamped message of `signer` over the usual content that carries these certificates, two at most.
inline der::Bytes SignedBy(const pki::Cert& signer, const std::vector<pki::Cert>& certs) {
  const pki::TokenSpec token{.tsa = Maker().tsa, .time = StampTime(), .certs = {Maker().tsa}};
  return pki::MakeCms(
      {.content = Content(), .signers = {{.signer = signer, .token = token}}, .certs = certs});
}

class Attacks : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  LUMO_ERROR_CODE Begin(const der::Bytes& message) { return context_->Begin(message); }
  /// The verdict of final after begin and update worked; -1 when they did not.
  TEV_INT32 VerdictOn(const der::Bytes& message, const der::Bytes& content) {
    TEV_INT32 result = -1;
    EXPECT_EQ(context_->Verify(message, content, &result), LUMO_OK);
    return result;
  }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_{};
};

#endif
