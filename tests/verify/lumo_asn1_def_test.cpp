#include "verify/asn1/lumo_asn1_def.h"

#include <gtest/gtest.h>

#include <chrono>
#include <iterator>
#include <string>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "verify/lumo_vrf.h"

namespace {

struct KnownOid {
  const char* name;
  TEV_UINT32 value;
  std::vector<TEV_BYTE> octets;
};

// The identifiers and their encodings, written out by hand: an oracle for the table that the library
// computes.
const KnownOid kOracle[] = {
    {"AOID_UNKNOWN", 0, {0xff}},
    {"AOID_SHA256", 43, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}},
    {"AOID_SHA384", 44, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02}},
    {"AOID_SHA512", 45, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}},
    {"AOID_SHA256WITHRSAENCRYPTION", 63, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0b}},
    {"AOID_SHA384WITHRSAENCRYPTION", 64, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0c}},
    {"AOID_SHA512WITHRSAENCRYPTION", 65, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0d}},
    {"AOID_AT_COMMONNAME", 161, {0x55, 0x04, 0x03}},
    {"AOID_AT_LOCALITYNAME", 162, {0x55, 0x04, 0x07}},
    {"AOID_AT_STATEORPROVINCENAME", 163, {0x55, 0x04, 0x08}},
    {"AOID_AT_ORGANIZATIONNAME", 164, {0x55, 0x04, 0x0a}},
    {"AOID_AT_ORGANIZATIONALUNITNAME", 165, {0x55, 0x04, 0x0b}},
    {"AOID_AT_COUNTRYNAME", 168, {0x55, 0x04, 0x06}},
    {"AOID_PKCS9_AT_EMAILADDRESS", 172, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x09, 0x01}},
    {"AOID_CE_KEYUSAGE", 176, {0x55, 0x1d, 0x0f}},
    {"AOID_CE_BASICCONSTRAINTS", 184, {0x55, 0x1d, 0x13}},
    {"AOID_CE_EXTKEYUSAGE", 188, {0x55, 0x1d, 0x25}},
    {"AOID_KP_CODESIGNING", 192, {0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x03}},
    {"AOID_KP_TIMESTAMPING", 193, {0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x08}},
    {"AOID_CE_ISSUINGDISTRIBUTIONPOINT", 202, {0x55, 0x1d, 0x1c}},
    {"AOID_CE_CRLREASONS", 204, {0x55, 0x1d, 0x15}},
    {"AOID_PKCS7_SIGNEDDATA", 264, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x07, 0x02}},
    {"AOID_PKCS9_AT_MESSAGEDIGEST", 271, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x09, 0x04}},
    {"AOID_PKCS9_AT_TIMESTAMP_TOKEN",
     307,
     {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x09, 0x10, 0x02, 0x0e}},
};

LUMO_ASN_OCTS View(const std::vector<TEV_BYTE>& octets, LUMO_BER_TAG_CODE code = CBT_OID) {
  return {.len = static_cast<TEV_UINT32>(octets.size()),
          .tag = {.cls = CBC_UNIV, .form = CBF_PRIM, .code = code},
          .octs = octets.data()};
}

std::vector<TEV_BYTE> Octets(const std::string& text) {
  return {text.begin(), text.end()};
}

class LumoAsn1Def : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0); }

  LUMO_ERROR_CODE Seconds(const std::string& text, LUMO_BER_TAG_CODE code, TEV_TIME_T* seconds) {
    const std::vector<TEV_BYTE> octets = Octets(text);
    const LUMO_ASN_OCTS view = View(octets, code);
    return lumo_convert_datetime_to_time(&view, seconds);
  }

  LUMO_VRF vrf_{};
};

TEST_F(LumoAsn1Def, TheTableHoldsTheKnownIdentifiersInOrder) {
  ASSERT_EQ(g_tevOidCount, 24);
  for (std::size_t i = 0; i < 24; ++i) {
    const LUMO_OID_INFO& row = g_tevOIDTable[i];
    EXPECT_STREQ(row.pucName, kOracle[i].name);
    EXPECT_EQ(row.aoid, kOracle[i].value);
    ASSERT_EQ(row.stAsnOid.len, kOracle[i].octets.size()) << row.pucName;
    EXPECT_EQ(std::vector<TEV_BYTE>(row.stAsnOid.octs, row.stAsnOid.octs + row.stAsnOid.len),
              kOracle[i].octets)
        << row.pucName;
    EXPECT_EQ(row.stAsnOid.tag, (LUMO_BER_TAG{CBC_UNIV, CBF_PRIM, CBT_OID}));
  }
}

TEST_F(LumoAsn1Def, EveryOidIsFoundWhateverItsTag) {
  for (const KnownOid& known : kOracle) {
    for (LUMO_BER_TAG_CODE code : {CBT_OID, CBT_OCTETSTRING}) {
      const LUMO_ASN_OCTS oid = View(known.octets, code);
      EXPECT_EQ(lumo_find_aoid(&vrf_, &oid), known.value);
    }
  }
}

TEST_F(LumoAsn1Def, EveryIdentifierHasItsOidAndNoOtherValueHas) {
  std::size_t found = 0;
  for (TEV_UINT32 value = 0; value < 400; ++value) {
    const LUMO_ASN_OID* oid = lumo_find_oid(static_cast<LUMO_AOIDS>(value));
    if (oid == nullptr) continue;
    ASSERT_LT(found, std::size(kOracle)) << value;
    EXPECT_EQ(value, kOracle[found].value);
    EXPECT_EQ(oid, &g_tevOIDTable[found].stAsnOid);
    ++found;
  }
  EXPECT_EQ(found, std::size(kOracle));
}

TEST_F(LumoAsn1Def, TheResultOfThePlatformsComparisonIsHandedOn) {
  vrf_.callback_funcs.plt_funcs.sys_funcs.mem_funcs.memcmp = [](const void*, const void*, TEV_SIZE_T) {
    return 77;
  };
  const std::vector<TEV_BYTE> abc = Octets("abc");
  const std::vector<TEV_BYTE> abd = Octets("abd");
  const LUMO_ASN_OCTS a = View(abc);
  const LUMO_ASN_OCTS b = View(abd);
  const LUMO_ASN_OCTS same_octets = View(abc, CBT_OCTETSTRING);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, &b), 77);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, &same_octets), 0);
}

TEST_F(LumoAsn1Def, UnknownOidsAreUnknown) {
  const std::vector<TEV_BYTE> sha1 = {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x05};
  const LUMO_ASN_OCTS oid = View(sha1);
  EXPECT_EQ(lumo_find_aoid(&vrf_, &oid), AOID_UNKNOWN);
  EXPECT_EQ(lumo_find_aoid(&vrf_, nullptr), AOID_UNKNOWN);
}

TEST_F(LumoAsn1Def, FindOidGivesTheRowOrNothing) {
  EXPECT_EQ(lumo_find_oid(AOID_UNKNOWN), &g_tevOIDTable[0].stAsnOid);
  EXPECT_EQ(lumo_find_oid(AOID_CE_KEYUSAGE), &g_tevOIDTable[14].stAsnOid);
  EXPECT_EQ(lumo_find_oid(static_cast<LUMO_AOIDS>(300)), nullptr);
}

TEST_F(LumoAsn1Def, OctetsCompareByLengthAndBytes) {
  const std::vector<TEV_BYTE> abc = Octets("abc");
  const std::vector<TEV_BYTE> same = Octets("abc");
  const std::vector<TEV_BYTE> abd = Octets("abd");
  const std::vector<TEV_BYTE> shorter = Octets("ab");
  const LUMO_ASN_OCTS a = View(abc, CBT_UTF8STRING);
  const LUMO_ASN_OCTS b = View(same, CBT_PRINTABLESTRING);
  const LUMO_ASN_OCTS c = View(abd);
  const LUMO_ASN_OCTS d = View(shorter);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, &b), 0);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, &a), 0);
  EXPECT_LT(lumo_compare_asn_octs(&vrf_, &a, &c), 0);
  EXPECT_GT(lumo_compare_asn_octs(&vrf_, &c, &a), 0);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, &d), -1);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, nullptr, &a), -1);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &a, nullptr), -1);
}

TEST_F(LumoAsn1Def, OctetsWithoutBytesAreNeverRead) {
  const std::vector<TEV_BYTE> abc = Octets("abc");
  const LUMO_ASN_OCTS full = View(abc);
  const LUMO_ASN_OCTS stale = {.len = 3, .tag = full.tag, .octs = nullptr};
  const LUMO_ASN_OCTS empty = {.len = 0, .tag = full.tag, .octs = nullptr};
  const LUMO_ASN_OCTS zero = {.len = 0, .tag = full.tag, .octs = abc.data()};
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &full, &stale), -1);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &stale, &full), -1);
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &empty, &zero), 0);
  const LUMO_ASN_OCTS as_stale = stale;
  EXPECT_EQ(lumo_compare_asn_octs(&vrf_, &stale, &as_stale), 0);
}

struct HashCase {
  TEV_UINT32 sign;
  TEV_UINT32 hash;
};

TEST_F(LumoAsn1Def, TheDigestOfASignatureAlgorithm) {
  for (const HashCase& c : {HashCase{43, 43}, HashCase{63, 43}, HashCase{44, 44}, HashCase{64, 44},
                            HashCase{45, 45}, HashCase{65, 45}, HashCase{161, 0}, HashCase{264, 0}}) {
    EXPECT_EQ(lumo_get_hash_aoid_from_sign(&vrf_, lumo_find_oid(static_cast<LUMO_AOIDS>(c.sign))), c.hash);
  }
  EXPECT_EQ(lumo_get_hash_aoid_from_sign(&vrf_, nullptr), AOID_UNKNOWN);
}

TEST_F(LumoAsn1Def, Sha1WithRsaHasNoDigest) {
  const std::vector<TEV_BYTE> sha1 = {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x05};
  const LUMO_ASN_OCTS oid = View(sha1);
  EXPECT_EQ(lumo_get_hash_aoid_from_sign(&vrf_, &oid), AOID_UNKNOWN);
}

LUMO_DATETIME Broken(const std::string& text, LUMO_BER_TAG_CODE code) {
  const std::vector<TEV_BYTE> octets = Octets(text);
  const LUMO_ASN_OCTS view = View(octets, code);
  LUMO_DATETIME time{};
  EXPECT_EQ(lumo_convert_from_time(&view, &time), LUMO_OK);
  return time;
}

TEST_F(LumoAsn1Def, UtcYearsBelow50AreThisCenturys) {
  EXPECT_EQ(Broken("491231235959Z", CBT_UTCTIME).uYear, 2049);
  EXPECT_EQ(Broken("500101000000Z", CBT_UTCTIME).uYear, 1950);
}

void ExpectOddReading(const LUMO_DATETIME& time) {
  EXPECT_EQ(time.uYear, 2025);
  EXPECT_EQ(time.uMonth, 1);
  EXPECT_EQ(time.uDay, 2);
  EXPECT_EQ(time.uHour, 12);
  EXPECT_EQ(time.uMinute, 33);
  EXPECT_EQ(time.uSecond, 45);
}

TEST_F(LumoAsn1Def, TheMinuteIsElevenTimesItsFirstDigitAndTheSecondBeginsAtItsSecond) {
  ExpectOddReading(Broken("250102123456Z", CBT_UTCTIME));
  ExpectOddReading(Broken("20250102123456Z", CBT_GENERALIZEDTIME));
}

TEST_F(LumoAsn1Def, TheOtherFieldsOfABrokenDownTimeStayAsTheyWere) {
  const std::vector<TEV_BYTE> octets = Octets("250102123456Z");
  const LUMO_ASN_OCTS view = View(octets, CBT_UTCTIME);
  LUMO_DATETIME time{};
  time.uMillSecond = 1;
  time.uUtcFlag = 2;
  time.uUtcHour = 3;
  time.uUtcMinute = 4;
  ASSERT_EQ(lumo_convert_from_time(&view, &time), LUMO_OK);
  EXPECT_EQ(time.uMillSecond, 1);
  EXPECT_EQ(time.uUtcFlag, 2);
  EXPECT_EQ(time.uUtcHour, 3);
  EXPECT_EQ(time.uUtcMinute, 4);
}

TEST_F(LumoAsn1Def, TimesOfOtherLengthsOrTypesFail) {
  TEV_TIME_T seconds = 7;
  EXPECT_EQ(Seconds("2501021234Z", CBT_UTCTIME, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("20250102123456.5Z", CBT_GENERALIZEDTIME, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("250102123456Z", CBT_GENERALIZEDTIME, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("20250102123456Z", CBT_UTCTIME, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("2501021234560Z", CBT_UTCTIME, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("250102123456Z", CBT_OCTETSTRING, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(Seconds("250102123456Z", CBT_ANY_CODE, &seconds), LUMO_ERR_TIME_FORMAT);
  EXPECT_EQ(seconds, 7);
}

TEST_F(LumoAsn1Def, ATimeBecomesSecondsAsItIsRead) {
  TEV_TIME_T seconds = 0;
  ASSERT_EQ(Seconds("250102123456Z", CBT_UTCTIME, &seconds), LUMO_OK);
  EXPECT_EQ(seconds, 1735821225);  // 2025-01-02 12:33:45
  ASSERT_EQ(Seconds("20250102123456Z", CBT_GENERALIZEDTIME, &seconds), LUMO_OK);
  EXPECT_EQ(seconds, 1735821225);
}

TEST_F(LumoAsn1Def, ATimeWithoutOctetsFails) {
  const LUMO_ASN_OCTS stale = {
      .len = 13, .tag = {.cls = CBC_UNIV, .form = CBF_PRIM, .code = CBT_UTCTIME}, .octs = nullptr};
  TEV_TIME_T seconds = 0;
  EXPECT_EQ(lumo_convert_datetime_to_time(&stale, &seconds), LUMO_ERR_TIME_FORMAT);
}

TEST_F(LumoAsn1Def, TimeConversionsRefuseNull) {
  LUMO_DATETIME time{};
  TEV_TIME_T seconds = 0;
  const std::vector<TEV_BYTE> octets = Octets("250102123456Z");
  const LUMO_ASN_OCTS view = View(octets, CBT_UTCTIME);
  EXPECT_EQ(lumo_convert_from_time(nullptr, &time), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_from_time(&view, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_datetime_to_time(nullptr, &seconds), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_datetime_to_time(&view, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoAsn1Def, CharactersThatAreNoDigitsWrapInEightBits) {
  const LUMO_DATETIME time = Broken("25//xx12 456Z", CBT_UTCTIME);
  EXPECT_EQ(time.uMonth, static_cast<TEV_UINT8>(11 * ('/' - '0')));
  EXPECT_EQ(time.uDay, static_cast<TEV_UINT8>(11 * ('x' - '0')));
  EXPECT_EQ(time.uMinute, static_cast<TEV_UINT8>(11 * (' ' - '0')));
}

TEST_F(LumoAsn1Def, YearsThatAreNoDigitsWrapIn16Bits) {
  EXPECT_EQ(Broken("/0000101000000Z", CBT_GENERALIZEDTIME).uYear, static_cast<TEV_UINT16>(-1000));
  EXPECT_EQ(Broken("\xFF\xFF\xFF\xFF"
                   "0101000000Z",
                   CBT_GENERALIZEDTIME)
                .uYear,
            207u * 1111u % 65536u);
  EXPECT_EQ(Broken("/00101000000Z", CBT_UTCTIME).uYear, 1890);
  EXPECT_EQ(Broken("0/0101000000Z", CBT_UTCTIME).uYear, 1899);
}

TEV_TIME_T At(TEV_UINT16 year, TEV_UINT8 month, TEV_UINT8 day, TEV_UINT8 hour = 0, TEV_UINT8 minute = 0,
              TEV_UINT8 second = 0) {
  LUMO_DATETIME time{};
  time.uYear = year;
  time.uMonth = month;
  time.uDay = day;
  time.uHour = hour;
  time.uMinute = minute;
  time.uSecond = second;
  return lumo_mktime(&time);
}

TEST_F(LumoAsn1Def, SecondsCountFrom1970) {
  EXPECT_EQ(At(1970, 1, 1), 0);
  EXPECT_EQ(At(2000, 3, 1), 951868800);
  EXPECT_EQ(At(2000, 2, 29, 23, 59, 59), 951868799);
  EXPECT_EQ(At(1969, 12, 31), -86400);
  EXPECT_EQ(At(2038, 1, 19, 3, 14, 8), 2147483648LL);
}

TEST_F(LumoAsn1Def, EveryDayOfThreeCenturiesAgreesWithTheCalendar) {
  using std::chrono::sys_days;
  const sys_days end = std::chrono::year{2201} / 1 / 1;
  for (sys_days day = std::chrono::year{1901} / 1 / 1; day < end; day += std::chrono::days{1}) {
    const std::chrono::year_month_day date{day};
    const auto year = static_cast<TEV_UINT16>(static_cast<int>(date.year()));
    const auto month = static_cast<TEV_UINT8>(static_cast<unsigned>(date.month()));
    const auto of_month = static_cast<TEV_UINT8>(static_cast<unsigned>(date.day()));
    ASSERT_EQ(At(year, month, of_month), TEV_TIME_T{day.time_since_epoch().count()} * 86400)
        << year << "-" << unsigned{month} << "-" << unsigned{of_month};
  }
}

TEST_F(LumoAsn1Def, YearsUpTo1900CountFrom1900) {
  EXPECT_EQ(At(70, 1, 1), 0);
  EXPECT_EQ(At(1900, 1, 1), At(3800, 1, 1));
}

TEST_F(LumoAsn1Def, NoTimeIsZeroSeconds) {
  EXPECT_EQ(lumo_mktime(nullptr), 0);
}

TEST_F(LumoAsn1Def, FieldsOutOfRangeRollOver) {
  EXPECT_EQ(At(1970, 1, 32), 31 * 86400);
  EXPECT_EQ(At(1970, 1, 1, 24), 86400);
  EXPECT_EQ(At(1970, 1, 1, 0, 99, 255), 99 * 60 + 255);
  EXPECT_EQ(At(1970, 0, 1), At(1969, 12, 1));
  EXPECT_EQ(At(1970, 13, 1), At(1971, 1, 1));
}

}  // namespace
