#include "app/lumo_plt_adp.h"

#include <filesystem>

#include "tests/app/app_fixture.h"
#include "tests/support/failing_allocator.h"

namespace {

using der::Bytes;
using world::PackagePlan;

constexpr unsigned int kFailed = 0xFFFFFFFFU;
constexpr std::size_t kMiB = 0x100000;

// A check of content, signature and CRLs that lie in memory, but for the content, which lies in a file.
class VerifyData : public AppTest {
 protected:
  void Prepare(const PackagePlan& plan, const Bytes& device_crl = {}) {
    content_ = Save("content", plan.content);
    package_crl_ = plan.raw_crl ? *plan.raw_crl : TheWorld().Crls(plan.crl);
    signature_ = plan.raw_signature ? *plan.raw_signature : TheWorld().Signature(plan);
    device_crl_ = device_crl;
    params_ = {};
    params_.pucCrl[0] = package_crl_.data();
    params_.ulCrlLen[0] = static_cast<std::uint32_t>(package_crl_.size());
    params_.u32CrlNum = 1;
    if (!device_crl.empty()) {
      params_.pucCrl[1] = device_crl_.data();
      params_.ulCrlLen[1] = static_cast<std::uint32_t>(device_crl_.size());
      params_.u32CrlNum = 2;
    }
    params_.pucSig = signature_.data();
    params_.ulSigLen = static_cast<std::uint32_t>(signature_.size());
    params_.pcSrcFilePath = content_.c_str();
    params_.ulSrcLen = static_cast<std::uint32_t>(plan.content.size());
  }

  // Runs the check and returns what it printed with the verbose switch on.
  std::string Check() {
    result_ = 99;
    return PrintedVerbosely([&] { code_ = BSP_LUMO_Verify_Data(&params_, &result_); });
  }

  std::string content_;
  Bytes package_crl_;
  Bytes signature_;
  Bytes device_crl_;
  LUMO_DataParams params_{};
  unsigned int result_ = 0;
  unsigned int code_ = 0;
};

Bytes Counting(std::size_t length) {
  Bytes content(length);
  for (std::size_t i = 0; i < length; ++i) content[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
  return content;
}

world::CrlPlan RevokingTheSigner() {
  world::CrlPlan plan;
  plan.by_ca = {world::Revoke(TheWorld().signer, pki::Utc(2024, 5, 2))};
  return plan;
}

TEST_F(VerifyData, AcceptsAGenuineFileAndSaysSoOnlyVerbosely) {
  Prepare({});
  EXPECT_EQ(Check(), "\r\nverify success.\r\n");
  EXPECT_EQ(code_, 0U);
  EXPECT_EQ(result_, 1U);
  EXPECT_EQ(Printed([&] { BSP_LUMO_Verify_Data(&params_, &result_); }), "");
}

TEST_F(VerifyData, AcceptsEveryFormOfSignatureAndCrl) {
  for (const std::string digest : {"SHA256", "SHA384", "SHA512"}) {
    for (const bool attributes : {true, false}) {
      for (const bool pem : {true, false}) {
        Prepare({.crl = {.as_der = !pem},
                 .digest = digest,
                 .signed_attributes = attributes,
                 .pem_signature = pem});
        EXPECT_EQ(Check(), "\r\nverify success.\r\n") << digest << attributes << pem;
        EXPECT_EQ(code_, 0U);
        EXPECT_EQ(result_, 1U);
      }
    }
  }
}

TEST_F(VerifyData, RejectsNullArgumentsAloudWhateverTheSwitch) {
  Prepare({});
  unsigned int result = 7;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(BSP_LUMO_Verify_Data(nullptr, &result), kFailed); }), "para error!\r\n");
  EXPECT_EQ(result, 7U);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(BSP_LUMO_Verify_Data(&params_, nullptr), kFailed); }), "para error!\r\n");
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(BSP_LUMO_Verify_Data(&params_, nullptr), kFailed); }),
            "para error!\r\n\r\nverify failed.\r\n");
  result = 1;
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(BSP_LUMO_Verify_Data(nullptr, &result), kFailed); }),
            "para error!\r\n\r\nverify failed.\r\n")
      << "a result left from before must not pass for success";
}

TEST_F(VerifyData, StopsAtARootThatIsNone) {
  const OtherRoot root("-----BEGIN NOTHING-----\n-----END NOTHING-----\n");
  Prepare({});
  EXPECT_EQ(Check(), "\r\nAdd certificate file failed.(ffffffff)\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, StopsAtAPackageCrlThatIsNone) {
  Prepare({.raw_crl = Bytes(50, 'x')});
  EXPECT_EQ(Check(), "\r\nAdd CRL file failed.(88200102)\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_CRL_DECODE);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, StopsAtASignatureThatIsNone) {
  Prepare({.raw_signature = Bytes(50, 'x')});
  EXPECT_EQ(Check(), "\r\nAdd signature file error, code 88200312.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_PKCS7_DECODE);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, StopsAtASignerThatThePackageCrlRevokes) {
  Prepare({.crl = RevokingTheSigner()});
  EXPECT_EQ(Check(), "\r\nAdd signature file error, code 88200002.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_CERT_REVOKED);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, StopsAtContentThatCannotBeOpened) {
  Prepare({});
  const std::string missing = dir_ / "missing";
  params_.pcSrcFilePath = missing.c_str();
  EXPECT_EQ(Check(), "\r\nopen file error! " + missing +
                         "\r\n\r\nAdd source file error, code ffffffff.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, kFailed);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, RejectsOtherContentWithoutAnError) {
  Prepare({});
  WriteWholeFile(content_, der::FromText("Software"));
  EXPECT_EQ(Check(), "\r\nverify failed.\r\n");
  EXPECT_EQ(code_, 0U);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, NeverAcceptsEmptyContent) {
  Prepare({.content = {}});
  EXPECT_EQ(Check(),
            "\r\nAdd source file error, code 88100001.\r\n\r\nAdd source file error, code 88100001.\r\n"
            "\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_PARAM);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, NeverAcceptsAMessageWithoutASigner) {
  Prepare({.raw_signature = pki::MakeCms({.certs = {TheWorld().signer}})});
  EXPECT_EQ(Check(),
            "\r\nAdd source file error, code 88200307.\r\n\r\nAdd source file error, code 88200307.\r\n"
            "\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_NOT_STARTED);
  EXPECT_EQ(result_, 0U);
}

TEST_F(VerifyData, AcceptsContentAroundTheChunkSize) {
  for (const std::size_t length : {kMiB - 1, kMiB, kMiB + 1, 2 * kMiB, 2 * kMiB + 5}) {
    Prepare({.content = Counting(length)});
    EXPECT_EQ(Check(), "\r\nverify success.\r\n") << length;
    EXPECT_EQ(result_, 1U);
  }
}

TEST_F(VerifyData, ReadsTheContentFromItsOffset) {
  Prepare({.content = Counting(3000)});
  WriteWholeFile(content_, der::Concat(Bytes(77, 9), Counting(3000), Bytes(20, 9)));
  params_.ulSrcOffset = 77;
  EXPECT_EQ(Check(), "\r\nverify success.\r\n");
}

TEST_F(VerifyData, FailsWithoutACodeOfTheLibraryWhenTheFirstChunkIsShort) {
  Prepare({.content = Counting(3000)});
  std::filesystem::resize_file(content_, 2999);
  EXPECT_EQ(
      Check(),
      "\r\nread file size error.\r\n\r\nAdd source file error, code ffffffff.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, kFailed);
}

TEST_F(VerifyData, LeavesTheVerdictToTheDigestWhenALaterChunkIsShort) {
  // In the loop over full chunks, and at the last piece.
  for (const std::size_t length : {3 * kMiB, kMiB + 100}) {
    Prepare({.content = Counting(length)});
    std::filesystem::resize_file(content_, length - 50);
    EXPECT_EQ(Check(), "\r\nread file size error.\r\n\r\nverify failed.\r\n");
    EXPECT_EQ(code_, 0U);
    EXPECT_EQ(result_, 0U);
  }
}

TEST_F(VerifyData, ForgetsADeviceCrlThatCannotBeAdded) {
  Prepare({}, Bytes(40, 'x'));
  EXPECT_EQ(Check(), "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n\r\nverify success.\r\n");
  EXPECT_EQ(code_, 0U);
  EXPECT_EQ(result_, 1U);
}

TEST_F(VerifyData, GoesOnBehindADeviceCrlThatCannotBeAdded) {
  Prepare({}, Bytes(40, 'x'));
  const Bytes revoking = TheWorld().Crls(RevokingTheSigner());
  params_.pucCrl[2] = revoking.data();
  params_.ulCrlLen[2] = static_cast<std::uint32_t>(revoking.size());
  params_.u32CrlNum = 3;
  EXPECT_EQ(Check(),
            "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n"
            "\r\nverify signature extra error, code 88200002.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_CERT_REVOKED);
  EXPECT_EQ(result_, 1U);
}

TEST_F(VerifyData, KeepsTheGoodResultWhenTheDeviceCrlRevokesTheSigner) {
  Prepare({}, TheWorld().Crls(RevokingTheSigner()));
  EXPECT_EQ(Check(), "\r\nverify signature extra error, code 88200002.\r\n\r\nverify failed.\r\n");
  EXPECT_EQ(code_, LUMO_ERR_CERT_REVOKED);
  EXPECT_EQ(result_, 1U);
}

TEST_F(VerifyData, LooksAtNoMoreThan32Crls) {
  Prepare({}, TheWorld().Crls({}));
  params_.u32CrlNum = 0xFFFFFFFFU;  // entries 2 to 31 are empty
  const std::string printed = Check();
  EXPECT_EQ(printed.find("Device-CRL[1]"), std::string::npos);
  EXPECT_NE(printed.find("\r\nAdd Device-CRL[2] file failed.(88100001)\r\n"), std::string::npos);
  EXPECT_NE(printed.find("\r\nAdd Device-CRL[31] file failed.(88100001)\r\n"), std::string::npos);
  EXPECT_EQ(printed.find("Device-CRL[32]"), std::string::npos);
  EXPECT_EQ(result_, 1U);
}

class ContentPass : public VerifyData {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_verify_create_ctx(&ctx_, &create_params_), LUMO_OK); }
  void TearDown() override { lumo_vrf_ctx_free(ctx_); }

  FailingAllocator allocator_;
  LUMO_CTX_CREATE_PARAMS create_params_ = allocator_.params();
  LUMO_VRF_CTX ctx_ = nullptr;
};

TEST_F(ContentPass, RefusesNullArguments) {
  Prepare({});
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(Load_PakerCheck(nullptr, ctx_), kFailed); }),
            "\r\npara error\r\n");
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(Load_PakerCheck(&params_, nullptr), kFailed); }),
            "\r\npara error\r\n");
}

TEST_F(ContentPass, ReportsAnUpdateThatFailsOncePerPass) {
  // No signature was begun, so every update is refused: at once, also when more chunks would follow.
  for (const std::size_t length : {std::size_t{5}, 3 * kMiB}) {
    Prepare({.content = Counting(length)});
    EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(Load_PakerCheck(&params_, ctx_), LUMO_ERR_NOT_STARTED); }),
              "\r\nAdd source file error, code 88200307.\r\n");
  }
}

}  // namespace
