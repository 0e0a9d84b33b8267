// Failures of the platform that no input brings about: the linker sends the two calls through here first.

#include <openssl/evp.h>

#include "app/crl_update.h"
#include "app/lumo_plt_adp.h"
#include "tests/app/app_fixture.h"

int RealSetCallbacks(LUMO_CALLBACK_FUNCS* funcs) __asm__(
    "__real__Z23lumo_set_callback_funcsP20_LUMO_CALLBACK_FUNCS");
int TestSetCallbacks(LUMO_CALLBACK_FUNCS* funcs) __asm__(
    "__wrap__Z23lumo_set_callback_funcsP20_LUMO_CALLBACK_FUNCS");
int RealDigestFinal(EVP_MD_CTX* ctx, unsigned char* out,
                    unsigned int* length) __asm__("__real_EVP_DigestFinal");
int TestDigestFinal(EVP_MD_CTX* ctx, unsigned char* out,
                    unsigned int* length) __asm__("__wrap_EVP_DigestFinal");

namespace {

struct Faults {
  bool no_callbacks = false;
  unsigned failing_final = 0;  // the n-th end of a digest fails; 0: none
  unsigned finals = 0;
};

Faults& TheFaults() {
  static Faults faults;
  return faults;
}

}  // namespace

int TestSetCallbacks(LUMO_CALLBACK_FUNCS* funcs) {
  return TheFaults().no_callbacks ? -1 : RealSetCallbacks(funcs);
}

int TestDigestFinal(EVP_MD_CTX* ctx, unsigned char* out, unsigned int* length) {
  Faults& faults = TheFaults();
  return ++faults.finals == faults.failing_final ? 0 : RealDigestFinal(ctx, out, length);
}

namespace {

using der::Bytes;

class PlatformFaults : public AppTest {
 protected:
  PlatformFaults()
      : content_(Save("content", der::FromText("software"))),
        crl_(TheWorld().Crls({})),
        signature_(TheWorld().Signature({})) {
    TheFaults() = {};
    params_.pucCrl[0] = crl_.data();
    params_.ulCrlLen[0] = static_cast<std::uint32_t>(crl_.size());
    params_.u32CrlNum = 1;
    params_.pucSig = signature_.data();
    params_.ulSigLen = static_cast<std::uint32_t>(signature_.size());
    params_.pcSrcFilePath = content_.c_str();
    params_.ulSrcLen = 8;
  }
  ~PlatformFaults() override { TheFaults() = {}; }

  std::string Check() {
    return PrintedVerbosely([&] { code_ = BSP_LUMO_Verify_Data(&params_, &result_); });
  }

  std::string content_;
  Bytes crl_;
  Bytes signature_;
  LUMO_DataParams params_{};
  unsigned int result_ = 99;
  unsigned int code_ = 99;
};

TEST_F(PlatformFaults, WithoutCallbacksNothingIsChecked) {
  TheFaults().no_callbacks = true;
  EXPECT_EQ(Check(), "set callback functions failed: ffffffff\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, 0xFFFFFFFFU);
  EXPECT_EQ(result_, 0U);
}

TEST_F(PlatformFaults, WithoutCallbacksNothingIsComparedAndTheDeviceCrlStays) {
  TheFaults().no_callbacks = true;
  EXPECT_EQ(PrintedVerbosely([&] {
              EXPECT_EQ(BSP_LUMO_Crl_Compare_Update(crl_.data(), crl_.size(), crl_.data(), crl_.size()), 0U);
            }),
            "\r\ncreate ctx1 fail!(88100002)\n\r\ncompare result: mix\r\n");
}

TEST_F(PlatformFaults, ADigestThatCannotBeEndedIsNoVerdict) {
  ASSERT_EQ(Check(), "\r\nverify success.\r\n");
  // Whichever end of a digest fails: of the imprint, of the token, of the content, or in the repeated begin.
  const unsigned finals = TheFaults().finals;
  ASSERT_GE(finals, 3U);
  std::string all;
  for (unsigned n = 1; n <= finals; ++n) {
    TheFaults() = {.no_callbacks = false, .failing_final = n, .finals = 0};
    all += Check();
    EXPECT_EQ(code_, 0xFFFFFFFFU) << n;
  }
  EXPECT_NE(all.find("\r\nAdd signature file error, code ffffffff.\r\n"), std::string::npos);
  EXPECT_NE(all.find("\r\nverify signature error, code ffffffff.\r\n\r\nverify failed.\r\n"),
            std::string::npos);
  EXPECT_NE(all.find("\r\nverify signature extra error, code ffffffff.\r\n"), std::string::npos);
}

}  // namespace
