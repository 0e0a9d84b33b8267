#ifndef FWVET_VERIFY_ASN1_LUMO_CMS_TEMPL_H
#define FWVET_VERIFY_ASN1_LUMO_CMS_TEMPL_H

#include "verify/asn1/lumo_x509_templ.h"

// Records of CMS signed messages (RFC 5652) and time-stamp tokens (RFC 3161), and the items that fill them.

using LUMO_X509_CERT_BUNDLE = LIST_TYPE_LUMO_X509_CERT;

struct LUMO_X509_CERT_RAW_BUNDLE {
  SET_TYPE_LUMO_ASN_OCTS bundle;  ///< whole certificates, tag and length included
};

struct LUMO_PKCS7_CONTENT_INFO {
  LUMO_ASN_OID type;
  LUMO_ASN_OCTS content;  ///< the inner element whole; null `octs` for a detached signature
};

struct LUMO_PKCS7_ISSUER_AND_SERIAL {
  LUMO_X509_NAME issuer;
  LUMO_ASN_BIGINT sn;
};

struct LUMO_X509_SIGNED_ATTRS {
  LUMO_ASN_OCTS hash_value;  ///< the messageDigest
};

struct LUMO_X509_UNSIGNED_ATTRS {
  LUMO_ASN_OCTS timestamp;  ///< the whole time-stamp token, a ContentInfo
};

struct LUMO_PKCS7_SIGNER_INFO {
  LUMO_ASN_INT version;
  LUMO_PKCS7_ISSUER_AND_SERIAL issuer_sn;
  LUMO_X509_ALGO_IDENTIFIER digest_algo;
  LUMO_ASN_OCTS raw_signed;  ///< the signed attributes as encoded, their tag recorded as SET
  LUMO_X509_SIGNED_ATTRS auth_attrs;
  LUMO_ASN_OCTS encrypted_digest;
  LUMO_X509_UNSIGNED_ATTRS unauth_attrs;
};
using SET_TYPE_LUMO_PKCS7_SIGNER_INFO = SetTypeOf<LUMO_PKCS7_SIGNER_INFO, 1>;

struct LUMO_PKCS7_SIGNER_INFO_BUNDLE {
  SET_TYPE_LUMO_PKCS7_SIGNER_INFO infos;
};

struct LUMO_PKCS7_SIGNED_DATA {
  LUMO_ASN_INT version;
  LUMO_PKCS7_CONTENT_INFO content;
  LUMO_X509_CERT_RAW_BUNDLE raw_certs;
  LUMO_X509_CERT_BUNDLE certificates;  ///< decoded from raw_certs after the message itself; owned
  LUMO_PKCS7_SIGNER_INFO_BUNDLE signer_infos;
};

struct LUMO_PKCS7_CONTENT {
  LUMO_ASN_OID content_type;
  LUMO_PKCS7_SIGNED_DATA signed_data;
};

struct LUMO_TS_MSG_IMPRINT {
  LUMO_X509_ALGO_IDENTIFIER hash_algo;
  LUMO_ASN_OCTS hash_value;
};

struct LUMO_TST_INFO {
  LUMO_TS_MSG_IMPRINT msg_imprint;
  LUMO_ASN_OCTS time;
};

extern const ItemOf<LUMO_X509_CERT_RAW_BUNDLE> LUMO_X509_CERT_RAW_BUNDLE_item;
extern const ItemOf<LUMO_PKCS7_CONTENT_INFO> LUMO_PKCS7_CONTENT_INFO_item;
extern const ItemOf<LUMO_PKCS7_ISSUER_AND_SERIAL> LUMO_PKCS7_ISSUER_AND_SERIAL_item;
extern const ItemOf<LUMO_ASN_OCTS> LUMO_ATTR_BUNDLE_RAW_item;
extern const ItemOf<LUMO_X509_SIGNED_ATTRS> LUMO_X509_SIGNED_ATTRS_item;
extern const ItemOf<LUMO_X509_UNSIGNED_ATTRS> LUMO_X509_UNSIGNED_ATTRS_item;
extern const ItemOf<LUMO_PKCS7_SIGNER_INFO> LUMO_PKCS7_SIGNER_INFO_item;
extern const ItemOf<LUMO_PKCS7_SIGNER_INFO_BUNDLE> LUMO_PKCS7_SIGNER_INFO_BUNDLE_item;
extern const ItemOf<LUMO_PKCS7_SIGNED_DATA> LUMO_PKCS7_SIGNED_DATA_item;
extern const ItemOf<LUMO_PKCS7_CONTENT> LUMO_PKCS7_CONTENT_item;
extern const ItemOf<LUMO_TS_MSG_IMPRINT> LUMO_TS_MSG_IMPRINT_item;
extern const ItemOf<LUMO_TST_INFO> LUMO_TST_INFO_item;

#endif
