#include "verify/asn1/lumo_x509_templ.h"

#include "verify/asn1/lumo_asn1_def.h"

// Rows in the order of the encoding. Beside each row stands the ASN.1 that it reads.

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_VALIDITY_templ[] = {
    // Validity ::= SEQUENCE {                                      (RFC 5280, 4.1.2.5)
    LUMO_FIELD(LUMO_X509_VALIDITY, notBefore, LUMO_ASN_OCTS_item),  //   notBefore  Time,
    LUMO_FIELD(LUMO_X509_VALIDITY, notAfter, LUMO_ASN_OCTS_item),   //   notAfter   Time }
};
constexpr ItemOf<LUMO_X509_VALIDITY> LUMO_X509_VALIDITY_item =
    Sequence<LUMO_X509_VALIDITY>(LUMO_X509_VALIDITY_templ);
static_assert(IsSound(LUMO_X509_VALIDITY_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_RSA_PUBKEY_templ[] = {
    // RSAPublicKey ::= SEQUENCE {                                        (RFC 8017, A.1.1)
    LUMO_FIELD(LUMO_RSA_PUBKEY, modules, LUMO_ASN_BIGINT_item),         //   modulus         INTEGER,
    LUMO_FIELD(LUMO_RSA_PUBKEY, publicExponent, LUMO_ASN_BIGINT_item),  //   publicExponent  INTEGER }
};
constexpr ItemOf<LUMO_RSA_PUBKEY> LUMO_RSA_PUBKEY_item = Sequence<LUMO_RSA_PUBKEY>(LUMO_RSA_PUBKEY_templ);
static_assert(IsSound(LUMO_RSA_PUBKEY_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_PUBKEY_templ[] = {
    // subjectPublicKey  BIT STRING that wraps an RSAPublicKey
    LUMO_FIELD(LUMO_X509_PUBKEY, rsa_pub, LUMO_RSA_PUBKEY_item),
};
constexpr ItemOf<LUMO_X509_PUBKEY> LUMO_X509_PUBKEY_item =
    SequenceInBits<LUMO_X509_PUBKEY>(LUMO_X509_PUBKEY_templ);
static_assert(IsSound(LUMO_X509_PUBKEY_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_PUBKEY_INFO_templ[] = {
    // SubjectPublicKeyInfo ::= SEQUENCE {                                                (RFC 5280, 4.1.2.7)
    LUMO_FIELD(LUMO_X509_PUBKEY_INFO, algorithm,
               LUMO_X509_ALGO_IDENTIFIER_item),  //   algorithm         not checked,
    LUMO_FIELD(LUMO_X509_PUBKEY_INFO, subjectPublicKey,
               LUMO_X509_PUBKEY_item),  //   subjectPublicKey  always RSA }
};
constexpr ItemOf<LUMO_X509_PUBKEY_INFO> LUMO_X509_PUBKEY_INFO_item =
    Sequence<LUMO_X509_PUBKEY_INFO>(LUMO_X509_PUBKEY_INFO_templ);
static_assert(IsSound(LUMO_X509_PUBKEY_INFO_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_BASIC_CONSTRAINTS_templ[] = {
    // BasicConstraints ::= SEQUENCE {                                        (RFC 5280, 4.2.1.9)
    LUMO_FIELD(LUMO_X509_BASIC_CONSTRAINTS, is_ca, LUMO_ASN_BOOL_item,  //   cA  BOOLEAN DEFAULT FALSE,
               .flags = LUMO_ASN_FLAG_DEFAULT),                         //
    Skipped(LUMO_ASN_OCTS_item, {.flags = LUMO_ASN_FLAG_OPTIONAL}),     //   pathLenConstraint  OPTIONAL }
};
constexpr ItemOf<LUMO_X509_BASIC_CONSTRAINTS> LUMO_X509_BASIC_CONSTRAINTS_item =
    Sequence<LUMO_X509_BASIC_CONSTRAINTS>(LUMO_X509_BASIC_CONSTRAINTS_templ);
static_assert(IsSound(LUMO_X509_BASIC_CONSTRAINTS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CERT_EXTS_templ[] = {
    // Extensions, by extnID; all others are ignored, critical or not          (RFC 5280, 4.2)
    LUMO_FIELD(LUMO_X509_CERT_EXTS, ca_info, LUMO_X509_BASIC_CONSTRAINTS_item,
               .tag = Key(AOID_CE_BASICCONSTRAINTS), .flags = LUMO_ASN_FLAG_OPTIONAL),
    LUMO_FIELD(LUMO_X509_CERT_EXTS, ku, LUMO_ASN_BITS_TO_INT_item, .tag = Key(AOID_CE_KEYUSAGE),
               .flags = LUMO_ASN_FLAG_OPTIONAL),
    LUMO_FIELD(LUMO_X509_CERT_EXTS, exku, LUMO_ASN_EXKU_item, .tag = Key(AOID_CE_EXTKEYUSAGE),
               .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_CERT_EXTS> LUMO_X509_CERT_EXTS_item =
    Map<LUMO_X509_CERT_EXTS>(LUMO_X509_CERT_EXTS_templ, CBT_SEQUENCES);
static_assert(IsSound(LUMO_X509_CERT_EXTS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CERTINFO_templ[] = {
    // TBSCertificate ::= SEQUENCE {                                              (RFC 5280, 4.1)
    Skipped(LUMO_ASN_INT_item, {.tag = Explicit(0)}),                    //   version  [0], mandatory here
    LUMO_FIELD(LUMO_X509_CERTINFO, serialNumber, LUMO_ASN_BIGINT_item),  //   serialNumber,
    Skipped(LUMO_ASN_SEQ_item),                                          //   signature: the outer one counts
    LUMO_FIELD(LUMO_X509_CERTINFO, issuer, LUMO_X509_NAME_item),         //   issuer,
    LUMO_FIELD(LUMO_X509_CERTINFO, validity, LUMO_X509_VALIDITY_item),   //   validity,
    LUMO_FIELD(LUMO_X509_CERTINFO, subject, LUMO_X509_NAME_item),        //   subject,
    LUMO_FIELD(LUMO_X509_CERTINFO, subjectPubKey, LUMO_X509_PUBKEY_INFO_item),  //   subjectPublicKeyInfo,
    Skipped(LUMO_ASN_BITS_item,                                           //   issuerUniqueID   [1] OPTIONAL,
            {.tag = Implicit(1), .flags = LUMO_ASN_FLAG_OPTIONAL}),       //
    Skipped(LUMO_ASN_BITS_item,                                           //   subjectUniqueID  [2] OPTIONAL,
            {.tag = Implicit(2), .flags = LUMO_ASN_FLAG_OPTIONAL}),       //
    LUMO_FIELD(LUMO_X509_CERTINFO, extensions, LUMO_X509_CERT_EXTS_item,  //   extensions  [3] OPTIONAL }
               .tag = Explicit(3), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_CERTINFO> LUMO_X509_CERTINFO_item =
    Sequence<LUMO_X509_CERTINFO>(LUMO_X509_CERTINFO_templ);
static_assert(IsSound(LUMO_X509_CERTINFO_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CERT_templ[] = {
    // Certificate ::= SEQUENCE {                                                    (RFC 5280, 4.1)
    LUMO_FIELD(LUMO_X509_CERT, raw_signed, LUMO_ASN_OCTS_item,        //   tbsCertificate, the signed octets
               .flags = LUMO_ASN_FLAG_RAW | LUMO_ASN_FLAG_PEEK),      //
    LUMO_FIELD(LUMO_X509_CERT, toBeSigned, LUMO_X509_CERTINFO_item),  //   tbsCertificate,
    LUMO_FIELD(LUMO_X509_CERT, algorithm, LUMO_X509_ALGO_IDENTIFIER_item),  //   signatureAlgorithm,
    LUMO_FIELD(LUMO_X509_CERT, signature, LUMO_ASN_BITS_item),              //   signatureValue }
};
constexpr ItemOf<LUMO_X509_CERT> LUMO_X509_CERT_item = Sequence<LUMO_X509_CERT>(LUMO_X509_CERT_templ);
static_assert(IsSound(LUMO_X509_CERT_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_REVOKE_ATTRS_templ[] = {
    // crlEntryExtensions, by extnID                                           (RFC 5280, 5.3)
    LUMO_FIELD(LUMO_X509_REVOKE_ATTRS, reason, LUMO_ASN_ENUM_item, .tag = Key(AOID_CE_CRLREASONS),
               .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_REVOKE_ATTRS> LUMO_X509_REVOKE_ATTRS_item =
    Map<LUMO_X509_REVOKE_ATTRS>(LUMO_X509_REVOKE_ATTRS_templ, CBT_SEQUENCES);
static_assert(IsSound(LUMO_X509_REVOKE_ATTRS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_REVOKED_ENTRY_templ[] = {
    // revokedCertificates element ::= SEQUENCE {                                  (RFC 5280, 5.1)
    LUMO_FIELD(LUMO_X509_REVOKED_ENTRY, user_cert, LUMO_ASN_BIGINT_item),      //   userCertificate,
    LUMO_FIELD(LUMO_X509_REVOKED_ENTRY, revocation_date, LUMO_ASN_OCTS_item),  //   revocationDate,
    LUMO_FIELD(LUMO_X509_REVOKED_ENTRY, attrs,
               LUMO_X509_REVOKE_ATTRS_item,  //   crlEntryExtensions  OPTIONAL }
               .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_REVOKED_ENTRY> LUMO_X509_REVOKED_ENTRY_item =
    Sequence<LUMO_X509_REVOKED_ENTRY>(LUMO_X509_REVOKED_ENTRY_templ);
static_assert(IsSound(LUMO_X509_REVOKED_ENTRY_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_REVOKED_templ[] = {
    // revokedCertificates ::= SEQUENCE OF SEQUENCE
    LUMO_ELEMENTS(LUMO_X509_REVOKED, revoked_list, 20, LUMO_X509_REVOKED_ENTRY_item),
};
constexpr ItemOf<LUMO_X509_REVOKED> LUMO_X509_REVOKED_item =
    SequenceOf<LUMO_X509_REVOKED>(LUMO_X509_REVOKED_templ);
static_assert(IsSound(LUMO_X509_REVOKED_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_ISSUING_DIST_POINT_templ[] = {
    // IssuingDistributionPoint ::= SEQUENCE {                                            (RFC 5280, 5.2.5)
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, distpoint, LUMO_ASN_OCTS_item,  //   distributionPoint       [0],
               .tag = Implicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL),         //
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, onlyuser, LUMO_ASN_BOOL_item,   //   onlyContainsUserCerts   [1],
               .tag = Implicit(1), .flags = LUMO_ASN_FLAG_OPTIONAL),         //
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, onlyCA, LUMO_ASN_BOOL_item,     //   onlyContainsCACerts     [2],
               .tag = Implicit(2), .flags = LUMO_ASN_FLAG_OPTIONAL),         //
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, onlysomereasons, LUMO_ASN_BITS_item,  //   onlySomeReasons [3],
               .tag = Implicit(3), .flags = LUMO_ASN_FLAG_OPTIONAL),               //
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, indirectCRL, LUMO_ASN_BOOL_item,      //   indirectCRL [4],
               .tag = Implicit(4), .flags = LUMO_ASN_FLAG_OPTIONAL),               //
    LUMO_FIELD(LUMO_X509_ISSUING_DIST_POINT, onlyattr,
               LUMO_ASN_BOOL_item,  //   onlyContainsAttributeCerts [5] }
               .tag = Implicit(5), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_ISSUING_DIST_POINT> LUMO_X509_ISSUING_DIST_POINT_item =
    Sequence<LUMO_X509_ISSUING_DIST_POINT>(LUMO_X509_ISSUING_DIST_POINT_templ);
static_assert(IsSound(LUMO_X509_ISSUING_DIST_POINT_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CRL_ATTRS_templ[] = {
    // crlExtensions, by extnID                                                (RFC 5280, 5.2)
    LUMO_FIELD(LUMO_X509_CRL_ATTRS, idp, LUMO_X509_ISSUING_DIST_POINT_item,
               .tag = Key(AOID_CE_ISSUINGDISTRIBUTIONPOINT), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_CRL_ATTRS> LUMO_X509_CRL_ATTRS_item =
    Map<LUMO_X509_CRL_ATTRS>(LUMO_X509_CRL_ATTRS_templ, CBT_SEQUENCES);
static_assert(IsSound(LUMO_X509_CRL_ATTRS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CRLINFO_templ[] = {
    // TBSCertList ::= SEQUENCE {                                                     (RFC 5280, 5.1)
    LUMO_FIELD(LUMO_X509_CRLINFO, version, LUMO_ASN_INT_item),  //   version, mandatory here
    LUMO_FIELD(LUMO_X509_CRLINFO, signature_algo, LUMO_X509_ALGO_IDENTIFIER_item),  //   signature,
    LUMO_FIELD(LUMO_X509_CRLINFO, issuer, LUMO_X509_NAME_item),                     //   issuer,
    LUMO_FIELD(LUMO_X509_CRLINFO, this_update, LUMO_ASN_OCTS_item),                 //   thisUpdate,
    LUMO_FIELD(LUMO_X509_CRLINFO, next_update, LUMO_ASN_OCTS_item),       //   nextUpdate, mandatory here
    LUMO_FIELD(LUMO_X509_CRLINFO, revoked_certs, LUMO_X509_REVOKED_item,  //   revokedCertificates OPTIONAL,
               .flags = LUMO_ASN_FLAG_OPTIONAL),                          //
    LUMO_FIELD(LUMO_X509_CRLINFO, extensions, LUMO_X509_CRL_ATTRS_item,   //   crlExtensions [0] OPTIONAL }
               .tag = Explicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_CRLINFO> LUMO_X509_CRLINFO_item =
    Sequence<LUMO_X509_CRLINFO>(LUMO_X509_CRLINFO_templ);
static_assert(IsSound(LUMO_X509_CRLINFO_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CRL_templ[] = {
    // CertificateList ::= SEQUENCE {                                          (RFC 5280, 5.1)
    LUMO_FIELD(LUMO_X509_CRL, raw_signed, LUMO_ASN_OCTS_item,              //   tbsCertList, the signed octets
               .flags = LUMO_ASN_FLAG_RAW | LUMO_ASN_FLAG_PEEK),           //
    LUMO_FIELD(LUMO_X509_CRL, tbs_cert_list, LUMO_X509_CRLINFO_item),      //   tbsCertList,
    LUMO_FIELD(LUMO_X509_CRL, algorithm, LUMO_X509_ALGO_IDENTIFIER_item),  //   signatureAlgorithm,
    LUMO_FIELD(LUMO_X509_CRL, signature, LUMO_ASN_BITS_item),              //   signatureValue }
};
constexpr ItemOf<LUMO_X509_CRL> LUMO_X509_CRL_item = Sequence<LUMO_X509_CRL>(LUMO_X509_CRL_templ);
static_assert(IsSound(LUMO_X509_CRL_item));
