#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/sign/sign_arguments.h"

using der::Bytes;
using packtest::ExpectError;
using packtest::Parts;

namespace {

Bytes Range(const Bytes& bytes, std::size_t at, std::size_t length) {
  const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  return {from, from + static_cast<std::ptrdiff_t>(length)};
}

}  // namespace

TEST(FwpackTailOptions, FillTheirFieldsInBothTailRecords) {
  struct Case {
    packtest::Words words;
    std::size_t at;
    Bytes field;
  };
  const Case cases[] = {
      {{"--product", "TWELVE BYTES"}, 4, der::FromText("TWELVE BYTES")},
      {{"--product", "BOARD"}, 4, der::FromText(std::string("BOARD\0\0\0\0\0\0\0", 12))},
      {{"--package-version", "258.2.A-z.3.4.5.65535"},
       16,
       {1, 2, 0, 2, 'A', '-', 'z', 0, 0, 3, 0, 4, 0, 5, 255, 255}},
      {{"--file-type", "258"}, 40, {1, 2}},
      {{"--code-type", "0xBEEF"}, 42, {0xBE, 0xEF}},
      {{"--description", "EIGHT BY"}, 46, der::FromText("EIGHT BY")},
      {{"--build-time", "2031-02-03T04:05:06Z"}, 32, {0x07, 0xEF, 2, 3, 4, 5, 6, 0}},
  };
  packtest::SignBench bench;
  for (const Case& c : cases) {
    const ToolResult made = bench.Sign(c.words);
    ASSERT_EQ(made.status, 0) << made.err;
    const Parts parts = bench.Package();
    EXPECT_EQ(Range(parts.signature_tail, c.at, c.field.size()), c.field) << c.words[0];
    EXPECT_EQ(Range(parts.crl_tail, c.at, c.field.size()), c.field) << c.words[0];
    EXPECT_EQ(bench.Verdict(), 0U) << c.words[0];
  }
}

TEST(FwpackTailOptions, TellTheTimeOfTheEnvironmentBeforeThatOfTheSignature) {
  packtest::SignBench bench;
  ASSERT_EQ(bench.Sign({"--signing-time", "2026-01-02T03:04:05Z"}).status, 0);
  // 2025-06-01 12:34:50, as SOURCE_DATE_EPOCH has it.
  EXPECT_EQ(Range(bench.Package().crl_tail, 32, 7), (Bytes{0x07, 0xE9, 6, 1, 12, 34, 50}));
}

TEST(FwpackTailOptions, AreRefusedWithTheirNamesWhenTheyDoNotFit) {
  struct Case {
    const char* option;
    const char* value;
    const char* error;
  };
  const Case cases[] = {
      {"--product", "THIRTEEN BYTE", "--product: has 13 bytes where the tail record has room for 12"},
      {"--product", "B\xC3\xB6", "--product: has other characters than printable ASCII"},
      {"--description", "NINE BYTE", "--description: has 9 bytes where the tail record has room for 8"},
      {"--package-version", "1.2.ABC.3.4.5", "--package-version: is not of the form V.R.LLL.C.SP.B.D"},
      {"--package-version", "1.2.ABC.3.4.5.6.7", "--package-version: is not of the form"},
      {"--package-version", "1.2.AB.3.4.5.6", "--package-version: is not of the form"},
      {"--package-version", "1.2.ABCD.3.4.5.6", "--package-version: is not of the form"},
      {"--package-version", "1.2.A\nC.3.4.5.6", "--package-version: is not of the form"},
      {"--package-version", "65536.2.ABC.3.4.5.6", "--package-version: '65536' is no number"},
      {"--package-version", "1.-2.ABC.3.4.5.6", "--package-version: '-2' is no number"},
      {"--package-version", "1.2.ABC.3.4.5.", "--package-version: '' is no number"},
      {"--file-type", "65536", "--file-type: '65536' is no number from 0 to 65535"},
      {"--file-type", "0x", "--file-type: '0x' is no number"},
      {"--code-type", "0x10000", "--code-type: '0x10000' is no number"},
      {"--code-type", "7x", "--code-type: '7x' is no number"},
      {"--build-time", "yesterday", "'yesterday' is no time"},
  };
  packtest::SignBench bench;
  for (const Case& c : cases) ExpectError(bench.Sign({c.option, c.value}), 3, c.error);
  EXPECT_THAT(bench.Names(), testing::ElementsAre("content"));
}
