#include "app/fwvet_options.h"

#include <gtest/gtest.h>

namespace {

TEST(Options, AreFoundByTheirWholeText) {
  EXPECT_EQ(lookup_cmd_para("-version"), VERSION);
  EXPECT_EQ(lookup_cmd_para("-f"), FILENAME);
  EXPECT_EQ(lookup_cmd_para("-backup"), BACKUP);
  EXPECT_EQ(lookup_cmd_para("-v"), VERBOSE);
  EXPECT_EQ(lookup_cmd_para("-recover"), RECOVER);
}

TEST(Options, NothingElseIsOne) {
  for (const char* text :
       {"", "-", "f", "--f", "-F", "-V", "-Version", "-vers", "-versions", "-f ", " -f", "-x"}) {
    EXPECT_EQ(lookup_cmd_para(text), MAX_CMD_ID) << '"' << text << '"';
  }
  EXPECT_EQ(lookup_cmd_para(nullptr), MAX_CMD_ID);
}

TEST(Options, KeepTheirNumbersAndTexts) {
  EXPECT_EQ(VERSION, 0U);
  EXPECT_EQ(FILENAME, 1U);
  EXPECT_EQ(BACKUP, 2U);
  EXPECT_EQ(VERBOSE, 3U);
  EXPECT_EQ(RECOVER, 4U);
  EXPECT_EQ(MAX_CMD_ID, 5U);
  EXPECT_EQ(sizeof(CMD_PARA), 4U);
  ASSERT_EQ(cmd_paras.size(), 5U);
  EXPECT_STREQ(cmd_paras[0], "-version");
  EXPECT_STREQ(cmd_paras[1], "-f");
  EXPECT_STREQ(cmd_paras[2], "-backup");
  EXPECT_STREQ(cmd_paras[3], "-v");
  EXPECT_STREQ(cmd_paras[4], "-recover");
}

}  // namespace
