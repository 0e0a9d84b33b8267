// Rows of the decoding tables and OIDs, right ones and, by macro, wrong ones that must not compile.
#include "verify/asn1/lumo_asn1_templ.h"
#include "verify/asn1/lumo_oid_encode.h"

struct Record {
  LUMO_ASN_INT number;
  LUMO_ASN_OCTS octets;
  SetTypeOf<LUMO_ASN_INT, 4> numbers;
};

constexpr LUMO_ASN1_TEMPLATE kRows[] = {
#if defined(WRONG_ITEM)
    LUMO_FIELD(Record, number, LUMO_ASN_OCTS_item),
#elif defined(ROW_OUTSIDE)
    Field<LUMO_ASN_OCTS>(LUMO_ASN_OCTS_item, sizeof(Record) - 8),
#elif defined(OVERLAPPING_ROWS)
    LUMO_FIELD(Record, number, LUMO_ASN_INT_item),
    LUMO_FIELD(Record, number, LUMO_ASN_INT_item),
#else
    LUMO_FIELD(Record, number, LUMO_ASN_INT_item),
#endif
    LUMO_FIELD(Record, octets, LUMO_ASN_OCTS_item),
};
constexpr ItemOf<Record> kItem = Sequence<Record>(kRows);
static_assert(IsSound(kItem), "rows must be sound");

constexpr LUMO_ASN1_TEMPLATE kElements[] = {
#if defined(WRONG_ELEMENT)
    LUMO_ELEMENTS(Record, numbers, 4, LUMO_ASN_OCTS_item),
#elif defined(CAPACITY_ABOVE_ROOM)
    LUMO_ELEMENTS(Record, numbers, 5, LUMO_ASN_INT_item),
#else
    LUMO_ELEMENTS(Record, numbers, 4, LUMO_ASN_INT_item),
#endif
#if defined(TWO_ROWS_FOR_A_SET)
    LUMO_ELEMENTS(Record, numbers, 4, LUMO_ASN_INT_item),
#endif
};
constexpr ItemOf<Record> kSet = SequenceOf<Record>(kElements);
static_assert(IsSound(kSet), "rows must be sound");

#if defined(NEEDS_DESTRUCTION)
struct Owner {
  ~Owner() {}
  LUMO_ASN_INT number;
};
constexpr LUMO_ASN1_TEMPLATE kOwnerRows[] = {LUMO_FIELD(Owner, number, LUMO_ASN_INT_item)};
constexpr ItemOf<Owner> kOwner = Sequence<Owner>(kOwnerRows);
#endif

#if defined(OID_WITH_EMPTY_ARC)
constexpr ENCODED_OID kOid = EncodeOid("1.2..3");
#elif defined(OID_WITH_LETTERS)
constexpr ENCODED_OID kOid = EncodeOid("1.2.x");
#elif defined(OID_OF_NO_ROOT)
constexpr ENCODED_OID kOid = EncodeOid("3.2.1");
#elif defined(OID_TOO_LONG)
constexpr ENCODED_OID kOid = EncodeOid("1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18.19");
#else
constexpr ENCODED_OID kOid = EncodeOid("1.2.840.113549.1.7.2");
#endif
static_assert(kOid.length != 0);
