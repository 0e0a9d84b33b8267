#include "verify/asn1/lumo_cms_templ.h"

#include "verify/asn1/lumo_asn1_def.h"

// Rows in the order of the encoding. Beside each row stands the ASN.1 that it reads.

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_CERT_RAW_BUNDLE_templ[] = {
    // CertificateSet ::= SET OF CertificateChoices, kept whole; a message has two at most      (RFC
    // 5652, 10.2.3)
    LUMO_ELEMENTS(LUMO_X509_CERT_RAW_BUNDLE, bundle, 2, LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_RAW),
};
constexpr ItemOf<LUMO_X509_CERT_RAW_BUNDLE> LUMO_X509_CERT_RAW_BUNDLE_item =
    SequenceOf<LUMO_X509_CERT_RAW_BUNDLE>(LUMO_X509_CERT_RAW_BUNDLE_templ);
static_assert(IsSound(LUMO_X509_CERT_RAW_BUNDLE_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_CONTENT_INFO_templ[] = {
    // EncapsulatedContentInfo ::= SEQUENCE {                                    (RFC 5652, 5.2)
    LUMO_FIELD(LUMO_PKCS7_CONTENT_INFO, type, LUMO_ASN_OCTS_item),    //   eContentType,
    LUMO_FIELD(LUMO_PKCS7_CONTENT_INFO, content, LUMO_ASN_OCTS_item,  //   eContent  [0] OPTIONAL; the content
               .flags = LUMO_ASN_FLAG_OPTIONAL),                      //   of the wrapper, whatever its tag }
};
constexpr ItemOf<LUMO_PKCS7_CONTENT_INFO> LUMO_PKCS7_CONTENT_INFO_item =
    Sequence<LUMO_PKCS7_CONTENT_INFO>(LUMO_PKCS7_CONTENT_INFO_templ);
static_assert(IsSound(LUMO_PKCS7_CONTENT_INFO_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_ISSUER_AND_SERIAL_templ[] = {
    // IssuerAndSerialNumber ::= SEQUENCE {                                     (RFC 5652, 10.2.4)
    LUMO_FIELD(LUMO_PKCS7_ISSUER_AND_SERIAL, issuer, LUMO_X509_NAME_item),  //   issuer,
    LUMO_FIELD(LUMO_PKCS7_ISSUER_AND_SERIAL, sn, LUMO_ASN_BIGINT_item),     //   serialNumber }
};
constexpr ItemOf<LUMO_PKCS7_ISSUER_AND_SERIAL> LUMO_PKCS7_ISSUER_AND_SERIAL_item =
    Sequence<LUMO_PKCS7_ISSUER_AND_SERIAL>(LUMO_PKCS7_ISSUER_AND_SERIAL_templ);
static_assert(IsSound(LUMO_PKCS7_ISSUER_AND_SERIAL_item));

constexpr ItemOf<LUMO_ASN_OCTS> LUMO_ATTR_BUNDLE_RAW_item =
    Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_UNIV, CBF_CONS, CBT_SETS);

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_SIGNED_ATTRS_templ[] = {
    // SignedAttributes, by type; the value set's first element                  (RFC 5652, 11.2)
    LUMO_FIELD(LUMO_X509_SIGNED_ATTRS, hash_value, LUMO_ASN_OCTS_item,
               .tag = Key(AOID_PKCS9_AT_MESSAGEDIGEST), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_X509_SIGNED_ATTRS> LUMO_X509_SIGNED_ATTRS_item =
    Map<LUMO_X509_SIGNED_ATTRS>(LUMO_X509_SIGNED_ATTRS_templ, CBT_SETS);
static_assert(IsSound(LUMO_X509_SIGNED_ATTRS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_X509_UNSIGNED_ATTRS_templ[] = {
    // UnsignedAttributes, by type; the token whole                              (RFC 3161, appendix A)
    LUMO_FIELD(LUMO_X509_UNSIGNED_ATTRS, timestamp, LUMO_ASN_OCTS_item,
               .tag = Key(AOID_PKCS9_AT_TIMESTAMP_TOKEN),
               .flags = LUMO_ASN_FLAG_OPTIONAL | LUMO_ASN_FLAG_RAW),
};
constexpr ItemOf<LUMO_X509_UNSIGNED_ATTRS> LUMO_X509_UNSIGNED_ATTRS_item =
    Map<LUMO_X509_UNSIGNED_ATTRS>(LUMO_X509_UNSIGNED_ATTRS_templ, CBT_SETS);
static_assert(IsSound(LUMO_X509_UNSIGNED_ATTRS_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_SIGNER_INFO_templ[] = {
    // SignerInfo ::= SEQUENCE {                                                            (RFC 5652, 5.3)
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, version, LUMO_ASN_INT_item),  //   version,
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, issuer_sn,
               LUMO_PKCS7_ISSUER_AND_SERIAL_item),  //   sid, no key identifier,
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, digest_algo, LUMO_X509_ALGO_IDENTIFIER_item),  //   digestAlgorithm,
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, raw_signed, LUMO_ATTR_BUNDLE_RAW_item,  //   signedAttrs, the octets
               .tag = Implicit(0),                                             //
               .flags = LUMO_ASN_FLAG_OPTIONAL | LUMO_ASN_FLAG_PEEK | LUMO_ASN_FLAG_RAW),  //
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, auth_attrs, LUMO_X509_SIGNED_ATTRS_item,      //   signedAttrs [0],
               .tag = Implicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL),                 //
    Skipped(LUMO_ASN_SEQ_item),                                                      //   signatureAlgorithm,
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, encrypted_digest, LUMO_ASN_OCTS_item),        //   signature,
    LUMO_FIELD(LUMO_PKCS7_SIGNER_INFO, unauth_attrs, LUMO_X509_UNSIGNED_ATTRS_item,  //   unsignedAttrs [1] }
               .tag = Implicit(1), .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<LUMO_PKCS7_SIGNER_INFO> LUMO_PKCS7_SIGNER_INFO_item =
    Sequence<LUMO_PKCS7_SIGNER_INFO>(LUMO_PKCS7_SIGNER_INFO_templ);
static_assert(IsSound(LUMO_PKCS7_SIGNER_INFO_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_SIGNER_INFO_BUNDLE_templ[] = {
    // SignerInfos ::= SET OF SignerInfo, one at most
    LUMO_ELEMENTS(LUMO_PKCS7_SIGNER_INFO_BUNDLE, infos, 1, LUMO_PKCS7_SIGNER_INFO_item),
};
constexpr ItemOf<LUMO_PKCS7_SIGNER_INFO_BUNDLE> LUMO_PKCS7_SIGNER_INFO_BUNDLE_item =
    SetOf<LUMO_PKCS7_SIGNER_INFO_BUNDLE>(LUMO_PKCS7_SIGNER_INFO_BUNDLE_templ);
static_assert(IsSound(LUMO_PKCS7_SIGNER_INFO_BUNDLE_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_SIGNED_DATA_templ[] = {
    // SignedData ::= SEQUENCE {                                                              (RFC 5652, 5.1)
    LUMO_FIELD(LUMO_PKCS7_SIGNED_DATA, version, LUMO_ASN_INT_item,                 //   version,
               .flags = LUMO_ASN_FLAG_OPTIONAL),                                   //
    Skipped(LUMO_ASN_SET_item),                                                    //   digestAlgorithms,
    LUMO_FIELD(LUMO_PKCS7_SIGNED_DATA, content, LUMO_PKCS7_CONTENT_INFO_item),     //   encapContentInfo,
    LUMO_FIELD(LUMO_PKCS7_SIGNED_DATA, raw_certs, LUMO_X509_CERT_RAW_BUNDLE_item,  //   certificates  [0],
               .tag = Implicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL),               //
    Skipped(LUMO_ASN_SEQ_item, {.tag = Implicit(1), .flags = LUMO_ASN_FLAG_OPTIONAL}),     //   crls  [1],
    LUMO_FIELD(LUMO_PKCS7_SIGNED_DATA, signer_infos, LUMO_PKCS7_SIGNER_INFO_BUNDLE_item),  //   signerInfos }
};
constexpr ItemOf<LUMO_PKCS7_SIGNED_DATA> LUMO_PKCS7_SIGNED_DATA_item =
    Sequence<LUMO_PKCS7_SIGNED_DATA>(LUMO_PKCS7_SIGNED_DATA_templ);
static_assert(IsSound(LUMO_PKCS7_SIGNED_DATA_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_PKCS7_CONTENT_templ[] = {
    // ContentInfo ::= SEQUENCE {                                                         (RFC 5652, 3)
    LUMO_FIELD(LUMO_PKCS7_CONTENT, content_type, LUMO_ASN_OCTS_item),         //   contentType, not compared,
    LUMO_FIELD(LUMO_PKCS7_CONTENT, signed_data, LUMO_PKCS7_SIGNED_DATA_item,  //   content  [0] }
               .tag = Explicit(0)),
};
constexpr ItemOf<LUMO_PKCS7_CONTENT> LUMO_PKCS7_CONTENT_item =
    Sequence<LUMO_PKCS7_CONTENT>(LUMO_PKCS7_CONTENT_templ);
static_assert(IsSound(LUMO_PKCS7_CONTENT_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_TS_MSG_IMPRINT_templ[] = {
    // MessageImprint ::= SEQUENCE {                                                (RFC 3161, 2.4.1)
    LUMO_FIELD(LUMO_TS_MSG_IMPRINT, hash_algo, LUMO_X509_ALGO_IDENTIFIER_item),  //   hashAlgorithm,
    LUMO_FIELD(LUMO_TS_MSG_IMPRINT, hash_value, LUMO_ASN_OCTS_item),             //   hashedMessage }
};
constexpr ItemOf<LUMO_TS_MSG_IMPRINT> LUMO_TS_MSG_IMPRINT_item =
    Sequence<LUMO_TS_MSG_IMPRINT>(LUMO_TS_MSG_IMPRINT_templ);
static_assert(IsSound(LUMO_TS_MSG_IMPRINT_item));

constexpr LUMO_ASN1_TEMPLATE LUMO_TST_INFO_templ[] = {
    // TSTInfo ::= SEQUENCE {                                                                (RFC 3161, 2.4.2)
    Skipped(LUMO_ASN_INT_item),                                                         //   version,
    Skipped(LUMO_ASN_OCTS_item),                                                        //   policy,
    LUMO_FIELD(LUMO_TST_INFO, msg_imprint, LUMO_TS_MSG_IMPRINT_item),                   //   messageImprint,
    Skipped(LUMO_ASN_BIGINT_item),                                                      //   serialNumber,
    LUMO_FIELD(LUMO_TST_INFO, time, LUMO_ASN_OCTS_item),                                //   genTime,
    Skipped(LUMO_ASN_SEQ_item, {.flags = LUMO_ASN_FLAG_OPTIONAL}),                      //   accuracy,
    Skipped(LUMO_ASN_BOOL_item, {.flags = LUMO_ASN_FLAG_OPTIONAL}),                     //   ordering,
    Skipped(LUMO_ASN_BIGINT_item, {.flags = LUMO_ASN_FLAG_OPTIONAL}),                   //   nonce,
    Skipped(LUMO_ASN_SEQ_item, {.tag = Implicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL}),  //   tsa  [0],
    Skipped(LUMO_ASN_SEQ_item, {.tag = Implicit(1), .flags = LUMO_ASN_FLAG_OPTIONAL}),  //   extensions  [1] }
};
constexpr ItemOf<LUMO_TST_INFO> LUMO_TST_INFO_item = Sequence<LUMO_TST_INFO>(LUMO_TST_INFO_templ);
static_assert(IsSound(LUMO_TST_INFO_item));
