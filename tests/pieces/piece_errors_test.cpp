#include "pieces/piece_errors.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct CodeCase {
  std::uint64_t value;
  std::uint64_t code;
  const char* name;
};

constexpr CodeCase kCodes[] = {
    {.value = 0, .code = PIECE_OK, .name = "PIECE_OK"},
    {.value = 0x810401A1, .code = PIECE_ERR_NULL_PTR, .name = "PIECE_ERR_NULL_PTR"},
    {.value = 0x810401A9, .code = PIECE_ERR_RANGE, .name = "PIECE_ERR_RANGE"},
    {.value = 0x810401AB, .code = PIECE_ERR_NOT_FOUND, .name = "PIECE_ERR_NOT_FOUND"},
    {.value = 0x810401AE, .code = PIECE_ERR_BAD_MAGIC, .name = "PIECE_ERR_BAD_MAGIC"},
    {.value = 0x810404A1, .code = PIECE_ERR_BAD_CRC, .name = "PIECE_ERR_BAD_CRC"},
    {.value = 0x810404AA, .code = PIECE_ERR_NO_MEMORY, .name = "PIECE_ERR_NO_MEMORY"},
    {.value = 0x810407A2, .code = PIECE_ERR_SEM_LOCK, .name = "PIECE_ERR_SEM_LOCK"},
    {.value = 0x810407A7, .code = PIECE_ERR_SEM_CREATE, .name = "PIECE_ERR_SEM_CREATE"},
    {.value = 0x81040CA3, .code = PIECE_ERR_NO_SPACE, .name = "PIECE_ERR_NO_SPACE"},
    {.value = 0x81041001, .code = PIECE_INFO_AREA_REPAIRED, .name = "PIECE_INFO_AREA_REPAIRED"},
    {.value = 0x81041002, .code = PIECE_INFO_AREAS_RESET, .name = "PIECE_INFO_AREAS_RESET"},
};

TEST(PieceErrors, CodesHaveTheirNumbersNamesAndAMeaning) {
  for (const CodeCase& row : kCodes) {
    EXPECT_EQ(row.code, row.value) << row.name;
    EXPECT_STREQ(piece_error_name(row.value), row.name);
    ASSERT_NE(piece_error_meaning(row.value), nullptr) << row.name;
    EXPECT_FALSE(std::string(piece_error_meaning(row.value)).empty()) << row.name;
  }
}

TEST(PieceErrors, OtherNumbersHaveNeither) {
  for (const std::uint64_t other : {0x1ULL, 0x810401A2ULL, 0x1810401A1ULL, 0xFFFFFFFFFFFFFFFFULL}) {
    EXPECT_EQ(piece_error_name(other), nullptr);
    EXPECT_EQ(piece_error_meaning(other), nullptr);
  }
}

}  // namespace
