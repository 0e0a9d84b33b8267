#ifndef FWVET_VERIFY_ASN1_LUMO_X509_TEMPL_H
#define FWVET_VERIFY_ASN1_LUMO_X509_TEMPL_H

#include "verify/asn1/lumo_asn1_templ.h"
#include "verify/lumo_list.h"

// Records of certificates and CRLs, and the items that fill them (RFC 5280). What is not named here is not
// stored.

// The shapes that certificates, CRLs and signed messages share.

struct LUMO_X509_ALGO_IDENTIFIER {
  LUMO_ASN_OID algorithm;
  LUMO_ASN_OCTS parameters;
};

struct LUMO_X509_ATTR_ENTRY {
  LUMO_ASN_OID id;
  LUMO_ASN_OCTS value;  ///< any string type; its tag tells which
};
using SET_TYPE_LUMO_X509_ATTR_ENTRY = SetTypeOf<LUMO_X509_ATTR_ENTRY>;

struct LUMO_X509_ATTR_BUNDLE {
  SET_TYPE_LUMO_X509_ATTR_ENTRY attrs;
};
using SET_TYPE_LUMO_X509_ATTR_BUNDLE = SetTypeOf<LUMO_X509_ATTR_BUNDLE>;

struct LUMO_X509_NAME {
  SET_TYPE_LUMO_X509_ATTR_BUNDLE names;
};

struct LUMO_X509_EXTENSION_ENTRY {
  LUMO_ASN_OID extnId;
  LUMO_ASN_BOOL critical;
  LUMO_ASN_OCTS extnValue;
};
using SET_TYPE_LUMO_X509_EXTENSION_ENTRY = SetTypeOf<LUMO_X509_EXTENSION_ENTRY>;

inline constexpr LUMO_ASN1_TEMPLATE LUMO_X509_ALGO_IDENTIFIER_templ[] = {
    // AlgorithmIdentifier ::= SEQUENCE {                              (RFC 5280, 4.1.1.2)
    LUMO_FIELD(LUMO_X509_ALGO_IDENTIFIER, algorithm, LUMO_ASN_OCTS_item),  //   algorithm   OBJECT IDENTIFIER,
    LUMO_FIELD(LUMO_X509_ALGO_IDENTIFIER, parameters, LUMO_ASN_OCTS_item,  //   parameters  ANY OPTIONAL }
               .flags = LUMO_ASN_FLAG_OPTIONAL),
};
inline constexpr ItemOf<LUMO_X509_ALGO_IDENTIFIER> LUMO_X509_ALGO_IDENTIFIER_item =
    Sequence<LUMO_X509_ALGO_IDENTIFIER>(LUMO_X509_ALGO_IDENTIFIER_templ);
static_assert(IsSound(LUMO_X509_ALGO_IDENTIFIER_item));

inline constexpr LUMO_ASN1_TEMPLATE LUMO_X509_ATTR_ENTRY_templ[] = {
    // AttributeTypeAndValue ::= SEQUENCE {                  (RFC 5280, 4.1.2.4)
    LUMO_FIELD(LUMO_X509_ATTR_ENTRY, id, LUMO_ASN_OCTS_item),     //   type   OBJECT IDENTIFIER,
    LUMO_FIELD(LUMO_X509_ATTR_ENTRY, value, LUMO_ASN_OCTS_item),  //   value  ANY }
};
inline constexpr ItemOf<LUMO_X509_ATTR_ENTRY> LUMO_X509_ATTR_ENTRY_item =
    Sequence<LUMO_X509_ATTR_ENTRY>(LUMO_X509_ATTR_ENTRY_templ);
static_assert(IsSound(LUMO_X509_ATTR_ENTRY_item));

inline constexpr LUMO_ASN1_TEMPLATE LUMO_X509_ATTR_BUNDLE_templ[] = {
    // RelativeDistinguishedName ::= SET OF AttributeTypeAndValue
    LUMO_ELEMENTS(LUMO_X509_ATTR_BUNDLE, attrs, 10, LUMO_X509_ATTR_ENTRY_item),
};
inline constexpr ItemOf<LUMO_X509_ATTR_BUNDLE> LUMO_X509_ATTR_BUNDLE_item =
    SetOf<LUMO_X509_ATTR_BUNDLE>(LUMO_X509_ATTR_BUNDLE_templ);
static_assert(IsSound(LUMO_X509_ATTR_BUNDLE_item));

inline constexpr LUMO_ASN1_TEMPLATE LUMO_X509_NAME_templ[] = {
    // Name ::= SEQUENCE OF RelativeDistinguishedName
    LUMO_ELEMENTS(LUMO_X509_NAME, names, 10, LUMO_X509_ATTR_BUNDLE_item),
};
inline constexpr ItemOf<LUMO_X509_NAME> LUMO_X509_NAME_item =
    SequenceOf<LUMO_X509_NAME>(LUMO_X509_NAME_templ);
static_assert(IsSound(LUMO_X509_NAME_item));

inline constexpr LUMO_ASN1_TEMPLATE LUMO_X509_EXTENSION_ENTRY_templ[] = {
    // Extension ::= SEQUENCE {                                     (RFC 5280, 4.1)
    //   also Attribute ::= SEQUENCE { type, values SET OF }        (RFC 5652, 5.3)
    LUMO_FIELD(LUMO_X509_EXTENSION_ENTRY, extnId, LUMO_ASN_OCTS_item),  //   extnID     OBJECT IDENTIFIER,
    LUMO_FIELD(LUMO_X509_EXTENSION_ENTRY, critical,
               LUMO_ASN_BOOL_item,               //   critical   BOOLEAN DEFAULT FALSE,
               .flags = LUMO_ASN_FLAG_DEFAULT),  //
    LUMO_FIELD(LUMO_X509_EXTENSION_ENTRY, extnValue, LUMO_ASN_OCTS_item),  //   extnValue  OCTET STRING }
};
inline constexpr ItemOf<LUMO_X509_EXTENSION_ENTRY> LUMO_X509_EXTENSION_ENTRY_item =
    Sequence<LUMO_X509_EXTENSION_ENTRY>(LUMO_X509_EXTENSION_ENTRY_templ);
static_assert(IsSound(LUMO_X509_EXTENSION_ENTRY_item));

// Certificates.

struct LUMO_X509_VALIDITY {
  LUMO_ASN_OCTS notBefore;  ///< UTCTime or GeneralizedTime, as tag.code tells
  LUMO_ASN_OCTS notAfter;
};

struct LUMO_RSA_PUBKEY {
  LUMO_ASN_BIGINT modules;  ///< the modulus
  LUMO_ASN_BIGINT publicExponent;
};

struct LUMO_X509_PUBKEY {
  LUMO_RSA_PUBKEY rsa_pub;
};

struct LUMO_X509_PUBKEY_INFO {
  LUMO_X509_ALGO_IDENTIFIER algorithm;
  LUMO_X509_PUBKEY subjectPublicKey;
};

struct LUMO_X509_BASIC_CONSTRAINTS {
  LUMO_ASN_BOOL is_ca;
};

/// Bits of `exku`. Only the first purpose of a certificate is recorded.
enum : LUMO_ASN_INT {
  LUMO_EXKU_CODE_SIGNING = 8,
  LUMO_EXKU_TIME_STAMPING = 64,
};

/// Bits of a key usage's first octet (RFC 5280, 4.2.1.3).
enum : LUMO_ASN_INT {
  LUMO_KU_DIGITAL_SIGNATURE = 0x80,
  LUMO_KU_KEY_CERT_SIGN = 0x04,
  LUMO_KU_CRL_SIGN = 0x02,
};

struct LUMO_X509_CERT_EXTS {
  LUMO_X509_BASIC_CONSTRAINTS ca_info;
  LUMO_ASN_INT ku;    ///< one octet as it is, or two octets big-endian; read it with LumoKeyUsageHas
  LUMO_ASN_INT exku;  ///< LUMO_EXKU_*
};

/// True when the key usage `ku` holds `bit` (LUMO_KU_*). A value of two octets has its first octet on top.
constexpr bool LumoKeyUsageHas(LUMO_ASN_INT ku, LUMO_ASN_INT bit) {
  return ((ku > 0xFF ? ku >> 8 : ku) & bit) != 0;
}

struct LUMO_X509_CERTINFO {
  LUMO_ASN_BIGINT serialNumber;
  LUMO_X509_NAME issuer;
  LUMO_X509_VALIDITY validity;
  LUMO_X509_NAME subject;
  LUMO_X509_PUBKEY_INFO subjectPubKey;
  LUMO_X509_CERT_EXTS extensions;
};

struct LUMO_X509_CERT {
  LUMO_ASN_OCTS raw_signed;  ///< the TBSCertificate element as encoded
  LUMO_X509_CERTINFO toBeSigned;
  LUMO_X509_ALGO_IDENTIFIER algorithm;
  LUMO_ASN_BITS signature;
  const LUMO_X509_CERT*
      pIssuer;     ///< the proven issuer, itself when self-signed; not owned, null until proven
  TEV_INT32 iRef;  ///< reference count
};

// CRLs.

struct LUMO_X509_REVOKE_ATTRS {
  LUMO_ASN_INT reason;  ///< CRLReason; 0 when absent
};

struct LUMO_X509_REVOKED_ENTRY {
  LUMO_ASN_BIGINT user_cert;
  LUMO_ASN_OCTS revocation_date;
  LUMO_X509_REVOKE_ATTRS attrs;
};
using SET_TYPE_LUMO_X509_REVOKED_ENTRY = SetTypeOf<LUMO_X509_REVOKED_ENTRY, 20>;

struct LUMO_X509_REVOKED {
  SET_TYPE_LUMO_X509_REVOKED_ENTRY revoked_list;
};

struct LUMO_X509_ISSUING_DIST_POINT {
  LUMO_ASN_OCTS distpoint;  ///< content of the [0] element, undecoded
  LUMO_ASN_BOOL onlyuser;
  LUMO_ASN_BOOL onlyCA;
  LUMO_ASN_BITS onlysomereasons;
  LUMO_ASN_BOOL indirectCRL;
  LUMO_ASN_BOOL onlyattr;
};

struct LUMO_X509_CRL_ATTRS {
  LUMO_X509_ISSUING_DIST_POINT idp;
};

struct LUMO_X509_CRLINFO {
  LUMO_ASN_INT version;
  LUMO_X509_ALGO_IDENTIFIER signature_algo;
  LUMO_X509_NAME issuer;
  LUMO_ASN_OCTS this_update;
  LUMO_ASN_OCTS next_update;
  LUMO_X509_REVOKED revoked_certs;
  LUMO_X509_CRL_ATTRS extensions;
};

struct LUMO_X509_CRL {
  LUMO_ASN_OCTS raw_signed;  ///< the TBSCertList element as encoded
  LUMO_X509_CRLINFO tbs_cert_list;
  LUMO_X509_ALGO_IDENTIFIER algorithm;
  LUMO_ASN_BITS signature;
  TEV_INT iRef;                     ///< reference count
  mutable LUMO_X509_CERT* pIssuer;  ///< the stored issuer once it is found; not owned
};

using LIST_TYPE_LUMO_X509_CERT = LumoListOf<LUMO_X509_CERT>;
using LIST_TYPE_LUMO_X509_CRL = LumoListOf<LUMO_X509_CRL>;

extern const ItemOf<LUMO_RSA_PUBKEY> LUMO_RSA_PUBKEY_item;
extern const ItemOf<LUMO_X509_PUBKEY> LUMO_X509_PUBKEY_item;
extern const ItemOf<LUMO_X509_PUBKEY_INFO> LUMO_X509_PUBKEY_INFO_item;
extern const ItemOf<LUMO_X509_VALIDITY> LUMO_X509_VALIDITY_item;
extern const ItemOf<LUMO_X509_BASIC_CONSTRAINTS> LUMO_X509_BASIC_CONSTRAINTS_item;
extern const ItemOf<LUMO_X509_CERT_EXTS> LUMO_X509_CERT_EXTS_item;
extern const ItemOf<LUMO_X509_CERTINFO> LUMO_X509_CERTINFO_item;
extern const ItemOf<LUMO_X509_CERT> LUMO_X509_CERT_item;
extern const ItemOf<LUMO_X509_REVOKE_ATTRS> LUMO_X509_REVOKE_ATTRS_item;
extern const ItemOf<LUMO_X509_REVOKED_ENTRY> LUMO_X509_REVOKED_ENTRY_item;
extern const ItemOf<LUMO_X509_REVOKED> LUMO_X509_REVOKED_item;
extern const ItemOf<LUMO_X509_ISSUING_DIST_POINT> LUMO_X509_ISSUING_DIST_POINT_item;
extern const ItemOf<LUMO_X509_CRL_ATTRS> LUMO_X509_CRL_ATTRS_item;
extern const ItemOf<LUMO_X509_CRLINFO> LUMO_X509_CRLINFO_item;
extern const ItemOf<LUMO_X509_CRL> LUMO_X509_CRL_item;

#endif
