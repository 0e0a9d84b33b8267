#include "verify/asn1/lumo_asn1_def.h"

#include <cstddef>

#include "verify/asn1/lumo_oid_encode.h"
#include "verify/lumo_plt_proxy.h"

namespace {

struct KNOWN_OID {
  const TEV_CHAR* name;
  LUMO_AOIDS aoid;
  ENCODED_OID oid;
};

// Row 0 holds an octet that no OID consists of.
#define KNOWN(aoid, dotted) \
  { #aoid, aoid, EncodeOid(dotted) }
constexpr KNOWN_OID kKnown[kOidCount] = {
    {"AOID_UNKNOWN", AOID_UNKNOWN, {{0xFF}, 1}},
    KNOWN(AOID_SHA256, "2.16.840.1.101.3.4.2.1"),
    KNOWN(AOID_SHA384, "2.16.840.1.101.3.4.2.2"),
    KNOWN(AOID_SHA512, "2.16.840.1.101.3.4.2.3"),
    KNOWN(AOID_SHA256WITHRSAENCRYPTION, "1.2.840.113549.1.1.11"),
    KNOWN(AOID_SHA384WITHRSAENCRYPTION, "1.2.840.113549.1.1.12"),
    KNOWN(AOID_SHA512WITHRSAENCRYPTION, "1.2.840.113549.1.1.13"),
    KNOWN(AOID_AT_COMMONNAME, "2.5.4.3"),
    KNOWN(AOID_AT_LOCALITYNAME, "2.5.4.7"),
    KNOWN(AOID_AT_STATEORPROVINCENAME, "2.5.4.8"),
    KNOWN(AOID_AT_ORGANIZATIONNAME, "2.5.4.10"),
    KNOWN(AOID_AT_ORGANIZATIONALUNITNAME, "2.5.4.11"),
    KNOWN(AOID_AT_COUNTRYNAME, "2.5.4.6"),
    KNOWN(AOID_PKCS9_AT_EMAILADDRESS, "1.2.840.113549.1.9.1"),
    KNOWN(AOID_CE_KEYUSAGE, "2.5.29.15"),
    KNOWN(AOID_CE_BASICCONSTRAINTS, "2.5.29.19"),
    KNOWN(AOID_CE_EXTKEYUSAGE, "2.5.29.37"),
    KNOWN(AOID_KP_CODESIGNING, "1.3.6.1.5.5.7.3.3"),
    KNOWN(AOID_KP_TIMESTAMPING, "1.3.6.1.5.5.7.3.8"),
    KNOWN(AOID_CE_ISSUINGDISTRIBUTIONPOINT, "2.5.29.28"),
    KNOWN(AOID_CE_CRLREASONS, "2.5.29.21"),
    KNOWN(AOID_PKCS7_SIGNEDDATA, "1.2.840.113549.1.7.2"),
    KNOWN(AOID_PKCS9_AT_MESSAGEDIGEST, "1.2.840.113549.1.9.4"),
    KNOWN(AOID_PKCS9_AT_TIMESTAMP_TOKEN, "1.2.840.113549.1.9.16.2.14"),
};
#undef KNOWN

constexpr bool SameOctets(const ENCODED_OID& left, const ENCODED_OID& right) {
  if (left.length != right.length) return false;
  for (TEV_UINT32 i = 0; i < left.length; ++i) {
    if (left.octets[i] != right.octets[i]) return false;
  }
  return true;
}

constexpr bool RowsDiffer() {
  for (TEV_INT32 i = 0; i < kOidCount; ++i) {
    for (TEV_INT32 j = 0; j < i; ++j) {
      if (kKnown[i].aoid <= kKnown[j].aoid || SameOctets(kKnown[i].oid, kKnown[j].oid)) return false;
    }
  }
  return true;
}
static_assert(RowsDiffer(), "identifiers ascend and no OID stands twice");

constexpr LUMO_OID_INFO InfoOf(const KNOWN_OID& known) {
  return {.aoid = known.aoid,
          .stAsnOid = {.len = known.oid.length,
                       .tag = {.cls = CBC_UNIV, .form = CBF_PRIM, .code = CBT_OID},
                       .octs = known.oid.octets},
          .pucName = known.name};
}

constexpr std::array<LUMO_OID_INFO, kOidCount> MakeTable() {
  std::array<LUMO_OID_INFO, kOidCount> table{};
  for (std::size_t i = 0; i < kOidCount; ++i) table[i] = InfoOf(kKnown[i]);
  return table;
}

constexpr TEV_UINT32 kUtcTimeLength = 13;
constexpr TEV_UINT32 kGeneralizedTimeLength = 15;

TEV_UINT16 Digit(TEV_BYTE character) {
  return static_cast<TEV_UINT16>(character - '0');
}

/// Two digits in 8-bit arithmetic.
TEV_UINT8 TwoDigits(const TEV_BYTE* text) {
  return static_cast<TEV_UINT8>(10 * Digit(text[0]) + Digit(text[1]));
}

TEV_UINT16 YearOfUtcTime(const TEV_BYTE* text) {
  const auto year = static_cast<TEV_UINT16>(10 * Digit(text[0]) + Digit(text[1]));
  return static_cast<TEV_UINT16>(year + (year < 50 ? 2000 : 1900));
}

TEV_UINT16 YearOfGeneralizedTime(const TEV_BYTE* text) {
  return static_cast<TEV_UINT16>(1000u * Digit(text[0]) + 100u * Digit(text[1]) + 10u * Digit(text[2]) +
                                 Digit(text[3]));
}

/// The fields behind the year. Minute and second are read as the library has always read them: verdicts
/// depend on it.
void ReadBehindYear(const TEV_BYTE* text, LUMO_DATETIME* pDateTime) {
  pDateTime->uMonth = TwoDigits(text);
  pDateTime->uDay = TwoDigits(text + 2);
  pDateTime->uHour = TwoDigits(text + 4);
  pDateTime->uMinute = static_cast<TEV_UINT8>(11 * Digit(text[6]));
  pDateTime->uSecond = TwoDigits(text + 7);
}

}  // namespace

constexpr std::array<LUMO_OID_INFO, kOidCount> g_tevOIDTable = MakeTable();
constexpr TEV_INT32 g_tevOidCount = kOidCount;

const LUMO_ASN_OID* lumo_find_oid(LUMO_AOIDS aoid) {
  for (std::size_t i = 0; i < kOidCount; ++i) {
    if (g_tevOIDTable[i].aoid == aoid) return &g_tevOIDTable[i].stAsnOid;
  }
  return nullptr;
}

LUMO_AOIDS lumo_find_aoid(const LUMO_VRF* pVrf, const LUMO_ASN_OID* pOid) {
  if (pOid == nullptr) return AOID_UNKNOWN;
  for (std::size_t i = 0; i < kOidCount; ++i) {
    if (lumo_compare_asn_octs(pVrf, &g_tevOIDTable[i].stAsnOid, pOid) == 0) return g_tevOIDTable[i].aoid;
  }
  return AOID_UNKNOWN;
}

TEV_INT32 lumo_compare_asn_octs(const LUMO_VRF* pVrf, const LUMO_ASN_OCTS* pAsnOctsExpect,
                                const LUMO_ASN_OCTS* pAsnOctsActual) {
  if (pAsnOctsExpect == nullptr || pAsnOctsActual == nullptr) return -1;
  if (pAsnOctsExpect == pAsnOctsActual) return 0;
  if (pAsnOctsExpect->len != pAsnOctsActual->len) return -1;
  if (pAsnOctsExpect->octs == pAsnOctsActual->octs || pAsnOctsExpect->len == 0) return 0;
  if (pAsnOctsExpect->octs == nullptr || pAsnOctsActual->octs == nullptr) return -1;
  return lumo_memcmp(pVrf, pAsnOctsExpect->octs, pAsnOctsActual->octs, pAsnOctsExpect->len);
}

LUMO_AOIDS lumo_get_hash_aoid_from_sign(const LUMO_VRF* pVrf, const LUMO_ASN_OID* pSignId) {
  switch (lumo_find_aoid(pVrf, pSignId)) {
    case AOID_SHA256:
    case AOID_SHA256WITHRSAENCRYPTION:
      return AOID_SHA256;
    case AOID_SHA384:
    case AOID_SHA384WITHRSAENCRYPTION:
      return AOID_SHA384;
    case AOID_SHA512:
    case AOID_SHA512WITHRSAENCRYPTION:
      return AOID_SHA512;
    default:
      return AOID_UNKNOWN;
  }
}

LUMO_ERROR_CODE lumo_convert_from_time(const LUMO_ASN_OCTS* pAsnTime, LUMO_DATETIME* pDateTime) {
  if (pAsnTime == nullptr || pDateTime == nullptr) return LUMO_ERR_PARAM;
  const TEV_BYTE* text = pAsnTime->octs;
  if (text == nullptr) return LUMO_ERR_TIME_FORMAT;
  switch (pAsnTime->tag.code) {
    case CBT_UTCTIME:
      if (pAsnTime->len != kUtcTimeLength) return LUMO_ERR_TIME_FORMAT;
      pDateTime->uYear = YearOfUtcTime(text);
      ReadBehindYear(text + 2, pDateTime);
      return LUMO_OK;
    case CBT_GENERALIZEDTIME:
      if (pAsnTime->len != kGeneralizedTimeLength) return LUMO_ERR_TIME_FORMAT;
      pDateTime->uYear = YearOfGeneralizedTime(text);
      ReadBehindYear(text + 4, pDateTime);
      return LUMO_OK;
    default:
      return LUMO_ERR_TIME_FORMAT;
  }
}

LUMO_ERROR_CODE lumo_convert_datetime_to_time(const LUMO_ASN_OCTS* pAsnTime, TEV_TIME_T* r_tm) {
  if (pAsnTime == nullptr || r_tm == nullptr) return LUMO_ERR_PARAM;
  LUMO_DATETIME time{};
  if (auto rc = lumo_convert_from_time(pAsnTime, &time); rc != LUMO_OK) return rc;
  *r_tm = lumo_mktime(&time);
  return LUMO_OK;
}

TEV_TIME_T lumo_mktime(const LUMO_DATETIME* pDateTime) {
  if (pDateTime == nullptr) return 0;
  TEV_INT64 year = pDateTime->uYear;
  if (year <= 1900) year += 1900;
  TEV_INT64 month = pDateTime->uMonth - 2;  // the year begins in March, so that a leap day is its last
  if (month <= 0) {
    month = pDateTime->uMonth + 10;
    --year;
  }
  const TEV_INT64 days =
      year / 4 - year / 100 + year / 400 + (367 * month) / 12 + pDateTime->uDay + 365 * year - 719499;
  return ((days * 24 + pDateTime->uHour) * 60 + pDateTime->uMinute) * 60 + pDateTime->uSecond;
}
