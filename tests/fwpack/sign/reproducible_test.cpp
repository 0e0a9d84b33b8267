#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/sign/sign_arguments.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/token_view.h"

using packtest::ReadText;
using packtest::Words;

namespace {

// Keeps the time-stamp of the package in a file.
void SaveToken(packtest::SignBench& bench) {
  WriteWholeFile(bench / "stamp.tst", packtest::StampOf(bench.Package().signature).token);
}

}  // namespace

TEST(FwpackReproducible, SignsBitForBitTheSameWithAGivenTimeAndTimeStamp) {
  packtest::SignBench bench;
  ASSERT_EQ(bench.Sign().status, 0);
  SaveToken(bench);
  const std::string first = ReadText(bench / "package");
  for (int i = 0; i < 2; ++i) {
    std::filesystem::remove(bench / "package");
    const ToolResult again = bench.SignWithoutStamper({"--timestamp", "stamp.tst"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(ReadText(bench / "package"), first);
  }
}

TEST(FwpackReproducible, SignsAndStampsBitForBitTheSameWithAGivenTime) {
  packtest::SignBench bench;
  ASSERT_EQ(bench.Sign().status, 0);
  const std::string first = ReadText(bench / "package");
  std::filesystem::remove(bench / "package");
  ASSERT_EQ(bench.Sign().status, 0);
  EXPECT_EQ(ReadText(bench / "package"), first);
  EXPECT_EQ(bench.Verdict(), 0U);
}

TEST(FwpackReproducible, DatesATimeStampsSignatureWithItsTime) {
  packtest::SignBench bench;
  ASSERT_EQ(bench.Sign().status, 0);
  const fwpack::MessageView token =
      fwpack::ViewMessage(der::ToText(packtest::StampOf(bench.Package().signature).token));
  ASSERT_EQ(token.signers.size(), 1U);
  ASSERT_TRUE(token.signers[0].signing_time);
  EXPECT_EQ(token.signers[0].signing_time->meant, fwpack::ParseUtcTime(packtest::kTime));
}

TEST(FwpackReproducible, NumbersTimeStampsOfDifferentContentDifferently) {
  const auto serial = [](const std::string& content) {
    packtest::SignBench bench(content);
    EXPECT_EQ(bench.Sign().status, 0);
    return fwpack::ViewToken(fwpack::ViewMessage(der::ToText(bench.Package().signature)))->serial.hex;
  };
  EXPECT_NE(serial("software of the board"), serial("software of the bird"));
}

TEST(FwpackReproducible, NeedsTheSameTimeForTheSameTimeStamp) {
  packtest::SignBench bench;
  ASSERT_EQ(bench.Sign().status, 0);
  SaveToken(bench);
  packtest::ExpectError(
      bench.SignWithoutStamper({"--timestamp", "stamp.tst", "--signing-time", "2025-06-01T12:34:51Z"}), 3,
      "stamp.tst: the time-stamp covers something else than this signature (wrong imprint)");
}

TEST(FwpackReproducible, MakesTheSamePackageHereAndElsewhere) {
  packtest::SignBench bench;
  const Words look = {"--product", "BOARD", "--package-version", "1.2.ABC.3.4.5.6"};
  ASSERT_EQ(bench.Sign(look).status, 0);
  SaveToken(bench);
  const std::string here = ReadText(bench / "package");
  std::filesystem::remove(bench / "package");
  ASSERT_EQ(bench
                .Run({{"prepare", "--content", "content", "--to-be-signed", "tbs", "--state", "state",
                       "--signer-cert", packtest::Pki("signer.pem"), "--ca", packtest::Pki("issuing-ca.pem")},
                      look})
                .status,
            0);
  ASSERT_EQ(
      packtest::OpenSsl({"pkeyutl", "-sign", "-rawin", "-digest", "sha256", "-inkey",
                         packtest::Pki("signer.key"), "-in", bench / "tbs", "-out", bench / "signature"})
          .status,
      0);
  const ToolResult attached = bench.Run({{"attach", "--content", "content", "--state", "state", "--signature",
                                          "signature", "--out", "package", "--timestamp", "stamp.tst"},
                                         packtest::TrustWords()});
  ASSERT_EQ(attached.status, 0) << attached.err;
  EXPECT_EQ(ReadText(bench / "package"), here);
}
