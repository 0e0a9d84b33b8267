#ifndef FWVET_VERIFY_ASN1_LUMO_ASN1_TYPES_H
#define FWVET_VERIFY_ASN1_LUMO_ASN1_TYPES_H

#include "verify/lumo.h"

// Tags and decoded values of the BER decoder. X.690, 8.1.2, tells class, form and number.

enum LUMO_BER_CLASS : TEV_INT32 {
  CBC_ANY_CLASS = -2,
  CBC_NULL_CLASS = -1,
  CBC_UNIV = 0,
  CBC_APPL = 1,
  CBC_CNTX = 2,
  CBC_PRIV = 3,
};

enum LUMO_BER_FORM : TEV_INT32 {
  CBF_ANY_FORM = -2,
  CBF_NULL_FORM = -1,
  CBF_PRIM = 0,
  CBF_CONS = 1,
};

enum LUMO_BER_TAG_CODE : TEV_INT32 {
  CBT_ANY_CODE = -2,
  CBT_NULL_CODE = -1,
  CBT_EOC = 0,
  CBT_BOOLEAN = 1,
  CBT_INTEGER = 2,
  CBT_BITSTRING = 3,
  CBT_OCTETSTRING = 4,
  CBT_NULLTYPE = 5,
  CBT_OID = 6,
  CBT_OBJECTDESCRIPTOR = 7,
  CBT_EXTERNAL = 8,
  CBT_REAL = 9,
  CBT_ENUM = 10,
  CBT_EMBEDDEDPDV = 11,
  CBT_UTF8STRING = 12,
  CBT_RELATIVE_OID = 13,
  CBT_RESERVED1 = 14,
  CBT_RESERVED2 = 15,
  CBT_SEQUENCES = 16,
  CBT_SETS = 17,
  CBT_NUMERICSTRING = 18,
  CBT_PRINTABLESTRING = 19,
  CBT_TELETEXSTRING = 20,
  CBT_VIDEOTEXSTRING = 21,
  CBT_IA5STRING = 22,
  CBT_UTCTIME = 23,
  CBT_GENERALIZEDTIME = 24,
  CBT_GRAPHICSTRING = 25,
  CBT_VISIBLESTRING = 26,
  CBT_GENERALSTRING = 27,
  CBT_UNIVERSALSTRING = 28,
  CBT_CHARACTERSTRING = 29,
  CBT_BMPSTRING_TAG_CODE = 30,
  CBT_LONG_FORM = 31,
};

struct LUMO_BER_TAG {
  LUMO_BER_CLASS cls;
  LUMO_BER_FORM form;
  LUMO_BER_TAG_CODE code;

  friend bool operator==(const LUMO_BER_TAG&, const LUMO_BER_TAG&) = default;
};

/// A decoded element: a view into the input, which must outlive it. `octs` is null when the element was
/// absent or empty; `len` counts only while `octs` is not null.
struct LUMO_ASN_OCTS {
  TEV_UINT32 len;
  LUMO_BER_TAG tag;
  const TEV_BYTE* octs;
};

using LUMO_ASN_BITS = LUMO_ASN_OCTS;
using LUMO_ASN_OID = LUMO_ASN_OCTS;
using LUMO_ASN_BIGINT = LUMO_ASN_OCTS;
using LUMO_ASN_INT = TEV_INT32;
using LUMO_ASN_BOOL = LUMO_ASN_INT;

#endif
