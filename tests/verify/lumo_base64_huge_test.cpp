#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "verify/asn1/lumo_base64.h"

// A text of 683 MiB. The decoder is built into this program once more, optimised, so that it does not take
// long.

namespace {

/// A text of one repeated digit, as long as wanted, in the memory of its first two mebibytes.
class EndlessText {
 public:
  explicit EndlessText(std::size_t size) : size_((size + kPiece - 1) / kPiece * kPiece) {
    const int file = memfd_create("digits", 0);
    text_ = static_cast<char*>(
        mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    good_ = file >= 0 && text_ != MAP_FAILED && ftruncate(file, kPiece) == 0;
    for (std::size_t at = 0; good_ && at < size_; at += kPiece) {
      good_ = mmap(text_ + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) != MAP_FAILED;
    }
    if (good_) std::memset(text_, 'A', kPiece);
    close(file);
  }
  ~EndlessText() { munmap(text_, size_); }
  EndlessText(const EndlessText&) = delete;
  EndlessText& operator=(const EndlessText&) = delete;

  [[nodiscard]] const char* text() const { return good_ ? text_ : nullptr; }

 private:
  static constexpr std::size_t kPiece = std::size_t{2} << 20;
  std::size_t size_;
  char* text_;
  bool good_;
};

TEST(LumoBase64, ASizeThatWrapsIn32BitsNeverLeavesTheRoom) {
  constexpr TEV_UINT32 kWraps = 715827883;  // six times it is 2^32 + 2
  const EndlessText digits(kWraps);
  ASSERT_NE(digits.text(), nullptr);
  TEV_BYTE room[4] = {0x5A, 0x5A, 0x5A, 0x5A};
  TEV_UINT32 size = 1;
  EXPECT_EQ(lumo_base64_decode(digits.text(), kWraps, room, &size), LUMO_ERR_BASE64);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(room[0], 0);
  EXPECT_EQ(room[1], 0x5A);
}

}  // namespace
