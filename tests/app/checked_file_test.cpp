#include "app/checked_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>

#include "tests/support/run_tool.h"

namespace {

class CheckedFile : public testing::Test {
 protected:
  void SetUp() override {
    WriteWholeFile(path_, {10, 11, 12, 13, 14});
    file_ = OpenForReading(path_.c_str());
    ASSERT_NE(file_, nullptr);
  }
  ScratchDir dir_;
  std::string path_ = dir_ / "file";
  OwnedFile file_;
  std::array<unsigned char, 8> out_{};
};

TEST_F(CheckedFile, TellsItsSize) {
  unsigned int size = 99;
  EXPECT_EQ(get_file_size(path_.c_str(), &size), 0U);
  EXPECT_EQ(size, 5U);
}

TEST_F(CheckedFile, RefusesNullEmptyAndMissingPathsAndStoresNothing) {
  unsigned int size = 99;
  EXPECT_EQ(get_file_size(nullptr, &size), 1U);
  EXPECT_EQ(get_file_size(path_.c_str(), nullptr), 1U);
  EXPECT_EQ(get_file_size("", &size), 1U);
  EXPECT_EQ(get_file_size((dir_ / "none").c_str(), &size), 1U);
  EXPECT_EQ(size, 99U);
}

TEST_F(CheckedFile, TruncatesASizeOf4GiBAndMoreTo32Bits) {
  std::filesystem::resize_file(path_, (std::uintmax_t{1} << 32) + 7);  // sparse
  unsigned int size = 0;
  EXPECT_EQ(get_file_size(path_.c_str(), &size), 0U);
  EXPECT_EQ(size, 7U);
}

TEST_F(CheckedFile, OpensNothingForNullOrAMissingFile) {
  EXPECT_EQ(OpenForReading(nullptr), nullptr);
  EXPECT_EQ(OpenForReading((dir_ / "none").c_str()), nullptr);
}

TEST_F(CheckedFile, ReadsASpan) {
  EXPECT_TRUE(ReadSpan(file_.get(), 5, 1, out_.data(), 3));
  EXPECT_EQ(out_, (std::array<unsigned char, 8>{11, 12, 13}));
  EXPECT_TRUE(ReadSpan(file_.get(), 5, 5, out_.data(), 0));
}

TEST_F(CheckedFile, RefusesSpansThatLeaveTheFileOrWrap) {
  EXPECT_FALSE(ReadSpan(file_.get(), 5, 3, out_.data(), 3));
  EXPECT_FALSE(ReadSpan(file_.get(), 5, 6, out_.data(), 0));
  EXPECT_FALSE(ReadSpan(file_.get(), 5, 0xFFFFFFFFU, out_.data(), 2));
  EXPECT_EQ(out_, (std::array<unsigned char, 8>{}));
}

TEST_F(CheckedFile, RefusesASpanOfAFileThatHasShrunk) {
  std::filesystem::resize_file(path_, 2);
  EXPECT_FALSE(ReadSpan(file_.get(), 5, 0, out_.data(), 5));
}

TEST_F(CheckedFile, ReadsASpanIntoABufferOfItsOwn) {
  OwnedBytes bytes;
  ASSERT_TRUE(ReadNewSpan(file_.get(), 5, 2, 2, &bytes));
  EXPECT_EQ(bytes[0], 12);
  EXPECT_EQ(bytes[1], 13);
}

TEST_F(CheckedFile, GivesABufferForNoBytesToo) {
  OwnedBytes bytes;
  EXPECT_TRUE(ReadNewSpan(file_.get(), 5, 5, 0, &bytes));
  EXPECT_NE(bytes, nullptr);
}

TEST_F(CheckedFile, GivesNoBufferForASpanOutside) {
  OwnedBytes bytes;
  EXPECT_FALSE(ReadNewSpan(file_.get(), 5, 0, 0xFFFFFFFFU, &bytes));
  EXPECT_FALSE(ReadNewSpan(file_.get(), 5, 2, 0xFFFFFFFEU, &bytes));
  EXPECT_EQ(bytes, nullptr);
}

TEST(CheckedFileOfAnotherKind, ADirectoryCannotBeRead) {
  const ScratchDir dir;
  const OwnedFile file = OpenForReading(dir.path().c_str());
  std::array<unsigned char, 4> out{};
  EXPECT_TRUE(!file || !ReadSpan(file.get(), 100, 0, out.data(), 4));
}

}  // namespace
