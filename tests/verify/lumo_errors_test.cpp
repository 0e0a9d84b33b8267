#include "verify/lumo_errors.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(LumoErrors, EveryCodeHasItsNameAndAMeaning) {
  std::set<std::string> names;
  for (const LUMO_ERROR_ROW& row : kLumoErrors) {
    EXPECT_STREQ(lumo_error_name(row.code), row.name);
    EXPECT_STREQ(lumo_error_meaning(row.code), row.meaning);
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_FALSE(std::string(row.meaning).empty());
  }
}

TEST(LumoErrors, CodesBelongToTheirFamilies) {
  for (const LUMO_ERROR_ROW& row : kLumoErrors) {
    if (row.code == LUMO_OK || row.code == LUMO_ERR_GENERIC) continue;
    EXPECT_EQ(row.code >> 24, 0x88u) << row.name;
    EXPECT_LE((row.code >> 20) & 0xF, 3u) << row.name;
  }
}

TEST(LumoErrors, FixedValues) {
  EXPECT_EQ(LUMO_OK, 0u);
  EXPECT_EQ(LUMO_ERR_MALLOC, 0x88000001u);
  EXPECT_EQ(LUMO_ERR_PARAM, 0x88100001u);
  EXPECT_EQ(LUMO_ERR_CRL_MIXED, 0x88200110u);
  EXPECT_EQ(LUMO_ERR_BER_INTEGER_SIZE, 0x88300801u);
  EXPECT_EQ(LUMO_ERR_GENERIC, 0xFFFFFFFFu);
}

TEST(LumoErrors, AnUnknownCodeHasNeither) {
  EXPECT_EQ(lumo_error_name(0x88000004), nullptr);
  EXPECT_EQ(lumo_error_meaning(0x88000004), nullptr);
}

}  // namespace
