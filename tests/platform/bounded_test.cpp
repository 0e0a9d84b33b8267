#include "platform/bounded.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr std::size_t kAbsurd = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kRoom = 8;

// Eight bytes that the functions may use, with sentinels on both sides.
class Bounded : public ::testing::Test {
 protected:
  Bounded() {
    std::memset(bytes_, 'x', sizeof bytes_);
    std::memcpy(dest(), "oldtext", kRoom);
  }
  ~Bounded() override {
    EXPECT_EQ(std::string(bytes_, 4), "xxxx");
    EXPECT_EQ(std::string(bytes_ + 4 + kRoom, 4), "xxxx");
  }

  char* dest() { return bytes_ + 4; }
  [[nodiscard]] std::string Content() { return {dest(), kRoom}; }
  static std::string Cleared() { return std::string(kRoom, '\0'); }
  static std::string Text(const std::string& text, const std::string& rest) { return text + '\0' + rest; }

 private:
  char bytes_[4 + kRoom + 4];
};

__attribute__((format(printf, 4, 5))) int Print(char* dest, std::size_t room, std::size_t count,
                                                const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int result = vsnprintf_s(dest, room, count, format, arguments);
  va_end(arguments);
  return result;
}

TEST_F(Bounded, MemsetFillsUpToItsRoom) {
  EXPECT_EQ(memset_s(dest(), kRoom, 'a', 3), 0);
  EXPECT_EQ(Content(), std::string("aaatext\0", kRoom));
  EXPECT_EQ(memset_s(dest(), kRoom, 'b', kRoom), 0);
  EXPECT_EQ(Content(), std::string(kRoom, 'b'));
  EXPECT_EQ(memset_s(dest(), kRoom, 'c', 0), 0);
  EXPECT_EQ(Content(), std::string(kRoom, 'b'));
}

TEST_F(Bounded, MemsetBeyondItsRoomIsRefusedAndClears) {
  EXPECT_NE(memset_s(dest(), kRoom, 'a', kRoom + 1), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, MemcpyCopiesUpToItsRoom) {
  EXPECT_EQ(memcpy_s(dest(), kRoom, "new", 3), 0);
  EXPECT_EQ(Content(), std::string("newtext\0", kRoom));
  EXPECT_EQ(memcpy_s(dest(), kRoom, "12345678", kRoom), 0);
  EXPECT_EQ(Content(), "12345678");
  EXPECT_EQ(memcpy_s(dest(), kRoom, "z", 0), 0);
  EXPECT_EQ(Content(), "12345678");
}

TEST_F(Bounded, MemcpyBeyondItsRoomIsRefusedAndClears) {
  EXPECT_NE(memcpy_s(dest(), kRoom, "123456789", kRoom + 1), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, MemcpyFromNullIsRefusedEvenForNothing) {
  EXPECT_NE(memcpy_s(dest(), kRoom, nullptr, 0), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, StrcpyNeedsRoomForTheTerminator) {
  EXPECT_EQ(strcpy_s(dest(), kRoom, "1234567"), 0);
  EXPECT_EQ(Content(), Text("1234567", ""));
  EXPECT_NE(strcpy_s(dest(), kRoom, "12345678"), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, StrcpyKeepsTheBytesBehindTheTerminator) {
  EXPECT_EQ(strcpy_s(dest(), kRoom, "ab"), 0);
  EXPECT_EQ(Content(), Text("ab", Text("text", "")));
  EXPECT_EQ(strcpy_s(dest(), kRoom, ""), 0);
  EXPECT_EQ(Content(), Text("", Text("b", Text("text", ""))));
}

TEST_F(Bounded, StrcpyReadsNoFurtherThanItsRoom) {
  const char endless[kRoom] = {'1', '2', '3', '4', '5', '6', '7', '8'};
  EXPECT_NE(strcpy_s(dest(), kRoom, endless), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, StrcatNeedsRoomForTheTerminator) {
  ASSERT_EQ(strcpy_s(dest(), kRoom, "abc"), 0);
  EXPECT_EQ(strcat_s(dest(), kRoom, "defg"), 0);
  EXPECT_EQ(Content(), Text("abcdefg", ""));
  EXPECT_EQ(strcat_s(dest(), kRoom, ""), 0);
  EXPECT_EQ(Content(), Text("abcdefg", ""));
  EXPECT_NE(strcat_s(dest(), kRoom, "h"), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, StrcatToATextWithoutTerminatorIsRefused) {
  std::memset(dest(), 'n', kRoom);
  EXPECT_NE(strcat_s(dest(), kRoom, ""), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, PrintsUpToCountCharacters) {
  EXPECT_EQ(Print(dest(), kRoom, kRoom - 1, "%d-%s", 12, "abcd"), 0);
  EXPECT_EQ(Content(), Text("12-abcd", ""));
  EXPECT_EQ(Print(dest(), kRoom, 3, "%s", "abc"), 0);
  EXPECT_STREQ(dest(), "abc");
  EXPECT_EQ(Print(dest(), kRoom, 0, "%s", ""), 0);
  EXPECT_STREQ(dest(), "");
  EXPECT_EQ(Print(dest(), kRoom, kRoom, "%s", "1234567"), 0);
  EXPECT_STREQ(dest(), "1234567");
}

TEST_F(Bounded, PrintsAreRefusedNotCut) {
  EXPECT_NE(Print(dest(), kRoom, 3, "%s", "abcd"), 0);
  EXPECT_EQ(Content(), Cleared());
  EXPECT_NE(Print(dest(), kRoom, kRoom, "%s", "12345678"), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, PrintCountsAboveTheRoomAreRefused) {
  EXPECT_NE(Print(dest(), kRoom, kRoom + 1, "%s", "a"), 0);
  EXPECT_EQ(Content(), Cleared());
  EXPECT_NE(Print(dest(), kRoom, kAbsurd, "%s", "a"), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, NullDestinationsAreRefused) {
  EXPECT_NE(memset_s(nullptr, kRoom, 'a', 1), 0);
  EXPECT_NE(memcpy_s(nullptr, kRoom, "a", 1), 0);
  EXPECT_NE(strcpy_s(nullptr, kRoom, "a"), 0);
  EXPECT_NE(strcat_s(nullptr, kRoom, "a"), 0);
  EXPECT_NE(Print(nullptr, kRoom, 1, "%s", "a"), 0);
}

TEST_F(Bounded, NullTextsAreRefusedAndClear) {
  // Through a pointer, because the compiler would object to a format that it cannot see.
  int (*const print)(char*, std::size_t, std::size_t, const char*, ...) = Print;
  EXPECT_NE(strcpy_s(dest(), kRoom, nullptr), 0);
  EXPECT_EQ(Content(), Cleared());
  std::memcpy(dest(), "oldtext", kRoom);
  EXPECT_NE(strcat_s(dest(), kRoom, nullptr), 0);
  EXPECT_EQ(Content(), Cleared());
  std::memcpy(dest(), "oldtext", kRoom);
  EXPECT_NE(print(dest(), kRoom, 1, nullptr), 0);
  EXPECT_EQ(Content(), Cleared());
}

TEST_F(Bounded, ARoomOfNothingOrAnAbsurdOneIsRefusedUntouched) {
  const std::string before = Content();
  for (const std::size_t room : {std::size_t{0}, kAbsurd, kAbsurd / 2 + 1}) {
    EXPECT_NE(memset_s(dest(), room, 'a', 1), 0);
    EXPECT_NE(memset_s(dest(), room, 'a', 0), 0);
    EXPECT_NE(memcpy_s(dest(), room, "a", 1), 0);
    EXPECT_NE(strcpy_s(dest(), room, ""), 0);
    EXPECT_NE(strcat_s(dest(), room, ""), 0);
    EXPECT_NE(Print(dest(), room, 0, "%s", ""), 0);
    EXPECT_EQ(Content(), before) << room;
  }
}

}  // namespace
