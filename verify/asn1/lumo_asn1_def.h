#ifndef FWVET_VERIFY_ASN1_LUMO_ASN1_DEF_H
#define FWVET_VERIFY_ASN1_LUMO_ASN1_DEF_H

#include <array>

#include "verify/asn1/lumo_asn1_types.h"

// The object identifiers that the library knows, and what it does with decoded values: compare octets, tell
// the digest of a signature algorithm, convert times.

struct LUMO_VRF;

/// Identifiers of the known OIDs. The values are fixed: tables, callbacks and switches use them.
enum LUMO_AOIDS : TEV_UINT32 {
  AOID_UNKNOWN = 0,
  AOID_SHA256 = 43,
  AOID_SHA384 = 44,
  AOID_SHA512 = 45,
  AOID_SHA256WITHRSAENCRYPTION = 63,
  AOID_SHA384WITHRSAENCRYPTION = 64,
  AOID_SHA512WITHRSAENCRYPTION = 65,
  AOID_AT_COMMONNAME = 161,
  AOID_AT_LOCALITYNAME = 162,
  AOID_AT_STATEORPROVINCENAME = 163,
  AOID_AT_ORGANIZATIONNAME = 164,
  AOID_AT_ORGANIZATIONALUNITNAME = 165,
  AOID_AT_COUNTRYNAME = 168,
  AOID_PKCS9_AT_EMAILADDRESS = 172,
  AOID_CE_KEYUSAGE = 176,
  AOID_CE_BASICCONSTRAINTS = 184,
  AOID_CE_EXTKEYUSAGE = 188,
  AOID_KP_CODESIGNING = 192,
  AOID_KP_TIMESTAMPING = 193,
  AOID_CE_ISSUINGDISTRIBUTIONPOINT = 202,
  AOID_CE_CRLREASONS = 204,
  AOID_PKCS7_SIGNEDDATA = 264,
  AOID_PKCS9_AT_MESSAGEDIGEST = 271,
  AOID_PKCS9_AT_TIMESTAMP_TOKEN = 307,
};

/// One known OID: identifier, content octets, the identifier's own name.
struct LUMO_OID_INFO {
  LUMO_AOIDS aoid;
  LUMO_ASN_OCTS stAsnOid;
  const TEV_CHAR* pucName;
};

inline constexpr TEV_INT32 kOidCount = 24;

/// The known OIDs in the order in which they are searched. Row 0 stands for all unknown ones.
extern const std::array<LUMO_OID_INFO, kOidCount> g_tevOIDTable;
extern const TEV_INT32 g_tevOidCount;

/// The OID of an identifier, or null for a value that is none.
[[nodiscard]] const LUMO_ASN_OID* lumo_find_oid(LUMO_AOIDS aoid);

/// The identifier of an OID, or AOID_UNKNOWN. Only the octets count, not the tag.
[[nodiscard]] LUMO_AOIDS lumo_find_aoid(const LUMO_VRF* pVrf, const LUMO_ASN_OID* pOid);

/// Compares length and octets, not tags: 0 when equal, else what the memcmp callback tells, or -1. Octets
/// that are absent on one side only differ from any others of their length but 0.
[[nodiscard]] TEV_INT32 lumo_compare_asn_octs(const LUMO_VRF* pVrf, const LUMO_ASN_OCTS* pAsnOctsExpect,
                                              const LUMO_ASN_OCTS* pAsnOctsActual);

/// The digest of a signature algorithm: SHA-256, SHA-384 or SHA-512, named alone or with RSA; else
/// AOID_UNKNOWN.
[[nodiscard]] LUMO_AOIDS lumo_get_hash_aoid_from_sign(const LUMO_VRF* pVrf, const LUMO_ASN_OID* pSignId);

/// Reads a UTCTime of 13 or a GeneralizedTime of 15 octets (RFC 5280, 4.1.2.5), unchecked, in the library's
/// own way: the minute is eleven times the first minute digit, the second begins at the second minute digit,
/// and the last second digit is not read. Errors: LUMO_ERR_PARAM; LUMO_ERR_TIME_FORMAT.
[[nodiscard]] LUMO_ERROR_CODE lumo_convert_from_time(const LUMO_ASN_OCTS* pAsnTime, LUMO_DATETIME* pDateTime);

/// A decoded time in seconds since 1970-01-01 00:00:00, read like lumo_convert_from_time. Errors: the same.
[[nodiscard]] LUMO_ERROR_CODE lumo_convert_datetime_to_time(const LUMO_ASN_OCTS* pAsnTime, TEV_TIME_T* r_tm);

/// Seconds since 1970-01-01 00:00:00 of a broken-down time, without range checks; years up to 1900 count from
/// 1900. 0 for null.
[[nodiscard]] TEV_TIME_T lumo_mktime(const LUMO_DATETIME* pDateTime);

#endif
