#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tools/fwpack/check/remedies.h"
#include "verify/lumo_errors.h"

namespace {

TEST(Remedies, AreThereForEveryCodeThatAPackageCanProvoke) {
  // Codes of callers that misuse the library, of files that the device does not use, and of comparisons that
  // refuse nothing.
  const std::set<LUMO_ERROR_CODE> never{
      LUMO_OK,
      LUMO_ERR_SYS_MEMSET,
      LUMO_ERR_FILE_OPEN,
      LUMO_ERR_FILE_READ,
      LUMO_ERR_FILE_EMPTY,
      LUMO_ERR_FILE_CLOSE,
      LUMO_ERR_FILE_TOO_LARGE,
      LUMO_ERR_PARAM_SIZE,
      LUMO_ERR_CALLBACK_MISSING,
      LUMO_ERR_CERT_DUPLICATE,
      LUMO_ERR_NAME_CONVERT,
      LUMO_ERR_CERT_INVALID,
      LUMO_ERR_CRL_FROZEN,
      LUMO_ERR_CRL_BUNDLE_EMPTY,
      LUMO_ERR_CRL_INFO_INVALID,
      LUMO_ERR_CRL_DUPLICATE,
      LUMO_ERR_CRL_BUNDLE_DECODE,
      LUMO_ERR_CRL_ISSUER_DUPLICATE,
      LUMO_ERR_CRL_MIXED,
      LUMO_ERR_DIGEST_CONFLICT,
      LUMO_ERR_NO_SIGNED_DATA,
  };
  std::set<LUMO_ERROR_CODE> with_remedy;
  for (const fwpack::Remedy& remedy : fwpack::Remedies()) {
    EXPECT_TRUE(with_remedy.insert(remedy.code).second) << lumo_error_name(remedy.code);
    EXPECT_EQ(std::string(remedy.text).find('\n'), std::string::npos);
    EXPECT_STREQ(fwpack::RemedyFor(remedy.code), remedy.text);
  }
  for (const LUMO_ERROR_ROW& row : kLumoErrors) {
    EXPECT_NE(with_remedy.count(row.code), never.count(row.code)) << row.name;
  }
}

}  // namespace
