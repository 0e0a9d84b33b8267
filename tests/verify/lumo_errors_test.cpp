#include "verify/lumo_errors.h"

#include <gtest/gtest.h>

#include <iterator>
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

struct KnownCode {
  LUMO_ERROR_CODE code;
  const char* name;
};

// The codes that callers know, written out once more: a changed value or name breaks them.
const KnownCode kOracle[] = {
    {0x00000000u, "LUMO_OK"},
    {0x88000001u, "LUMO_ERR_MALLOC"},
    {0x88000002u, "LUMO_ERR_MEMCPY"},
    {0x88000003u, "LUMO_ERR_SYS_MEMSET"},
    {0x880000FFu, "LUMO_ERR_SYS_MEM"},
    {0x88000101u, "LUMO_ERR_FILE_OPEN"},
    {0x88000102u, "LUMO_ERR_FILE_READ"},
    {0x88000104u, "LUMO_ERR_FILE_EMPTY"},
    {0x88000105u, "LUMO_ERR_FILE_CLOSE"},
    {0x88000106u, "LUMO_ERR_FILE_TOO_LARGE"},
    {0x88000201u, "LUMO_ERR_BUF_OVERRUN"},
    {0x88000301u, "LUMO_ERR_TIME_FORMAT"},
    {0x88000302u, "LUMO_ERR_BASE64"},
    {0x880004FFu, "LUMO_ERR_SYS_STR"},
    {0x88000501u, "LUMO_ERR_LIST_FULL"},
    {0x88100001u, "LUMO_ERR_PARAM"},
    {0x88100002u, "LUMO_ERR_PARAM_SIZE"},
    {0x88100003u, "LUMO_ERR_CALLBACK_MISSING"},
    {0x88200001u, "LUMO_ERR_CERT_DUPLICATE"},
    {0x88200002u, "LUMO_ERR_CERT_REVOKED"},
    {0x88200004u, "LUMO_ERR_ISSUER_NOT_FOUND"},
    {0x88200007u, "LUMO_ERR_CERT_USAGE"},
    {0x88200008u, "LUMO_ERR_NAME_CONVERT"},
    {0x88200009u, "LUMO_ERR_CERT_INVALID"},
    {0x88200012u, "LUMO_ERR_CRL_NOT_FOUND"},
    {0x88200013u, "LUMO_ERR_CERT_NOT_YET_VALID"},
    {0x88200014u, "LUMO_ERR_CERT_EXPIRED"},
    {0x88200016u, "LUMO_ERR_TST_HASH_ALGO"},
    {0x88200018u, "LUMO_ERR_DEPTH_EXCEEDED"},
    {0x88200101u, "LUMO_ERR_CRL_FROZEN"},
    {0x88200102u, "LUMO_ERR_CRL_DECODE"},
    {0x88200104u, "LUMO_ERR_CRL_UNVERIFIED"},
    {0x88200105u, "LUMO_ERR_CRL_BUNDLE_EMPTY"},
    {0x88200106u, "LUMO_ERR_CRL_INFO_INVALID"},
    {0x88200107u, "LUMO_ERR_CRL_DUPLICATE"},
    {0x88200108u, "LUMO_ERR_CRL_BUNDLE_DECODE"},
    {0x88200109u, "LUMO_ERR_CRL_ISSUER_DUPLICATE"},
    {0x88200110u, "LUMO_ERR_CRL_MIXED"},
    {0x88200201u, "LUMO_ERR_SIGNATURE_TOO_LONG"},
    {0x88200301u, "LUMO_ERR_SIGNER_NOT_FOUND"},
    {0x88200303u, "LUMO_ERR_DIGEST_CONFLICT"},
    {0x88200305u, "LUMO_ERR_FORMAT"},
    {0x88200306u, "LUMO_ERR_DIGEST_ALGO"},
    {0x88200307u, "LUMO_ERR_NOT_STARTED"},
    {0x88200308u, "LUMO_ERR_NO_SIGNED_DATA"},
    {0x88200309u, "LUMO_ERR_SIGNATURE_INVALID"},
    {0x88200310u, "LUMO_ERR_SIGN_ALGO"},
    {0x88200312u, "LUMO_ERR_PKCS7_DECODE"},
    {0x88200401u, "LUMO_ERR_TSA_NOT_FOUND"},
    {0x88200402u, "LUMO_ERR_TST_IMPRINT"},
    {0x88200403u, "LUMO_ERR_TSA_SIGNATURE"},
    {0x88300001u, "LUMO_ERR_BER_TAG"},
    {0x88300003u, "LUMO_ERR_BER_TAG_MISMATCH"},
    {0x88300101u, "LUMO_ERR_BER_LENGTH"},
    {0x88300202u, "LUMO_ERR_BER_ELEMENT_MISSING"},
    {0x88300401u, "LUMO_ERR_BER_SEQUENCE"},
    {0x88300501u, "LUMO_ERR_BER_BITS"},
    {0x88300601u, "LUMO_ERR_BER_INTEGER"},
    {0x88300701u, "LUMO_ERR_BER_SET"},
    {0x88300801u, "LUMO_ERR_BER_INTEGER_SIZE"},
    {0xFFFFFFFFu, "LUMO_ERR_GENERIC"},
};

TEST(LumoErrors, TheTableHoldsTheKnownCodesAndNoOthers) {
  ASSERT_EQ(std::size(kLumoErrors), std::size(kOracle));
  for (std::size_t i = 0; i < std::size(kOracle); ++i) {
    EXPECT_EQ(kLumoErrors[i].code, kOracle[i].code) << kOracle[i].name;
    EXPECT_STREQ(kLumoErrors[i].name, kOracle[i].name);
  }
}

TEST(LumoErrors, AnUnknownCodeHasNeither) {
  EXPECT_EQ(lumo_error_name(0x88000004), nullptr);
  EXPECT_EQ(lumo_error_meaning(0x88000004), nullptr);
}

}  // namespace
