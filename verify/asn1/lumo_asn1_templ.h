#ifndef FWVET_VERIFY_ASN1_LUMO_ASN1_TEMPL_H
#define FWVET_VERIFY_ASN1_LUMO_ASN1_TEMPL_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "verify/asn1/lumo_asn1_types.h"
#include "verify/asn1/lumo_buf.h"
#include "verify/lumo_limits.h"

// The tables that drive the BER decoder: an item for each ASN.1 type, a template row for each of its fields,
// and the builders that make them. A row that names the wrong type, or that does not fit its record, does not
// compile.

struct LUMO_VRF;
struct LUMO_ASN1_TEMPLATE;

/// Decodes one element at the cursor of `buf` into `target` as `templ` describes it, and tells the octets
/// consumed. On failure the cursor is back where it was.
using TEV_ASN_DECODE_ITEM = TEV_UINT32 (*)(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target,
                                           TEV_UINT32* bytesDecoded, const LUMO_ASN1_TEMPLATE* templ);

struct LUMO_ASN1_FUNCTIONS {
  TEV_ASN_DECODE_ITEM pDecode;
};

extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncOct;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncBits;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncSeq;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncInt;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncSetOf;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncMap;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncBitsToInt;
extern const LUMO_ASN1_FUNCTIONS g_tevAsnFuncExku;

/// An ASN.1 type: how it is decoded, the universal tag it bears, its rows and the size of its record.
struct LUMO_ASN1_ITEM {
  const LUMO_ASN1_TEMPLATE* asn_templ;  ///< the rows; null for a primitive type
  const LUMO_ASN1_FUNCTIONS* asn_func;
  LUMO_BER_CLASS ber_class;
  LUMO_BER_FORM ber_form;
  LUMO_BER_TAG_CODE ber_code;
  TEV_UINT8 templ_count;
  TEV_UINT32 item_szie;  ///< size of the record in bytes; also the stride of a set
};

enum : TEV_UINT16 {
  LUMO_ASN_TAG_NONE = 0,      ///< the item's own universal tag
  LUMO_ASN_TAG_EXPLICIT = 1,  ///< inside a constructed context tag; only for fields of a sequence
  LUMO_ASN_TAG_IMPLICIT = 2,  ///< context tag in place of the universal one
};

enum : TEV_UINT16 {
  LUMO_ASN_FLAG_OPTIONAL = 0x01,  ///< may be absent: a failure to decode it is forgotten
  LUMO_ASN_FLAG_PEEK = 0x02,      ///< recorded, not consumed: the next row decodes the same octets
  LUMO_ASN_FLAG_RAW = 0x04,       ///< recorded with tag and length
  LUMO_ASN_FLAG_DEFAULT = 0x10,   ///< as optional; the target keeps its zero value
  LUMO_ASN_FLAG_SKIP = 0x20,      ///< parsed and stepped over, nothing is stored
};

/// A field of a constructed type.
struct LUMO_ASN1_TEMPLATE {
  const LUMO_ASN1_ITEM* asn1_item;
  TEV_UINT32 tagCode;          ///< context tag number; in a map the identifier (LUMO_AOIDS) of the row
  TEV_UINT16 tagType;          ///< LUMO_ASN_TAG_*
  TEV_UINT16 flag;             ///< LUMO_ASN_FLAG_*
  TEV_UINT32 offset_val;       ///< where the field lies in the enclosing record
  std::uintptr_t pDefaultVal;  ///< in the row of a set: how many elements are accepted; else 0
};

/// The fixed array of a SET OF or SEQUENCE OF: `num` elements of `data` are filled.
template <class T, std::size_t Room = 10>
struct SetTypeOf {
  static constexpr std::size_t kRoom = Room;
  TEV_UINT32 num;
  alignas(8) T data[Room];
};

/// Where `data` lies in every set record.
inline constexpr TEV_UINT32 kSetDataOffset = 8;

using SET_TYPE_LUMO_ASN_OCTS = SetTypeOf<LUMO_ASN_OCTS>;
using SET_TYPE_LUMO_ASN_OID = SetTypeOf<LUMO_ASN_OID>;

/// An item that knows at compile time which record it fills.
template <class RecordType>
struct ItemOf : LUMO_ASN1_ITEM {
  using Record = RecordType;
};

struct FieldTag {
  TEV_UINT32 code = 0;
  TEV_UINT16 type = LUMO_ASN_TAG_NONE;
};

constexpr FieldTag Explicit(TEV_UINT32 number) {
  return {.code = number, .type = LUMO_ASN_TAG_EXPLICIT};
}
constexpr FieldTag Implicit(TEV_UINT32 number) {
  return {.code = number, .type = LUMO_ASN_TAG_IMPLICIT};
}
constexpr FieldTag Key(TEV_UINT32 aoid) {
  return {.code = aoid, .type = LUMO_ASN_TAG_NONE};
}

struct FieldOptions {
  FieldTag tag = {};
  TEV_UINT16 flags = 0;
};

/// Row of a field that is stored. `Member` is the type of the record's member and must be what the item
/// fills.
template <class Member, class Record>
constexpr LUMO_ASN1_TEMPLATE Field(const ItemOf<Record>& item, std::size_t offset, FieldOptions o = {}) {
  static_assert(std::is_same_v<Member, Record>, "field and item fill different records");
  return {.asn1_item = &item,
          .tagCode = o.tag.code,
          .tagType = o.tag.type,
          .flag = o.flags,
          .offset_val = static_cast<TEV_UINT32>(offset),
          .pDefaultVal = 0};
}

/// Row of a field that is parsed and dropped.
constexpr LUMO_ASN1_TEMPLATE Skipped(const LUMO_ASN1_ITEM& item, FieldOptions o = {}) {
  return {.asn1_item = &item,
          .tagCode = o.tag.code,
          .tagType = o.tag.type,
          .flag = static_cast<TEV_UINT16>(o.flags | LUMO_ASN_FLAG_SKIP),
          .offset_val = 0,
          .pDefaultVal = 0};
}

/// The only row of a set: its element, and how many of them are accepted.
template <class Set, std::size_t Capacity, class Element>
constexpr LUMO_ASN1_TEMPLATE Elements(const ItemOf<Element>& item, std::size_t offset, TEV_UINT16 flags = 0) {
  static_assert(std::is_same_v<Set, SetTypeOf<Element, Set::kRoom>>, "set and item hold different elements");
  static_assert(Capacity <= Set::kRoom, "the set accepts more elements than it has room for");
  static_assert(offsetof(Set, data) == kSetDataOffset);
  return {.asn1_item = &item,
          .tagCode = 0,
          .tagType = LUMO_ASN_TAG_NONE,
          .flag = flags,
          .offset_val = static_cast<TEV_UINT32>(offset),
          .pDefaultVal = Capacity};
}

/// LUMO_FIELD(record, member, item, options...): Field with the member's own type and offset.
#define LUMO_FIELD(record, member, item, ...) \
  Field<decltype(record::member)>(item, offsetof(record, member) __VA_OPT__(, FieldOptions{__VA_ARGS__}))

/// LUMO_ELEMENTS(record, member, capacity, item, flags...): Elements of the set that is `member` of `record`.
#define LUMO_ELEMENTS(record, member, capacity, item, ...) \
  Elements<decltype(record::member), capacity>(item, offsetof(record, member) __VA_OPT__(, ) __VA_ARGS__)

/// An item from all it consists of; what the builders below share.
template <class Record>
constexpr ItemOf<Record> MakeItem(const LUMO_ASN1_TEMPLATE* rows, std::size_t count,
                                  const LUMO_ASN1_FUNCTIONS& function, LUMO_BER_CLASS cls, LUMO_BER_FORM form,
                                  LUMO_BER_TAG_CODE code) {
  static_assert(std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>);
  return {{.asn_templ = rows,
           .asn_func = &function,
           .ber_class = cls,
           .ber_form = form,
           .ber_code = code,
           .templ_count = static_cast<TEV_UINT8>(count),
           .item_szie = sizeof(Record)}};
}

template <class Record>
constexpr ItemOf<Record> Primitive(const LUMO_ASN1_FUNCTIONS& function, LUMO_BER_CLASS cls,
                                   LUMO_BER_FORM form, LUMO_BER_TAG_CODE code) {
  return MakeItem<Record>(nullptr, 0, function, cls, form, code);
}

template <class Record, std::size_t N>
constexpr ItemOf<Record> Sequence(const LUMO_ASN1_TEMPLATE (&rows)[N]) {
  return MakeItem<Record>(rows, N, g_tevAsnFuncSeq, CBC_UNIV, CBF_CONS, CBT_SEQUENCES);
}

/// A BIT STRING whose content is itself a structure.
template <class Record, std::size_t N>
constexpr ItemOf<Record> SequenceInBits(const LUMO_ASN1_TEMPLATE (&rows)[N]) {
  return MakeItem<Record>(rows, N, g_tevAsnFuncSeq, CBC_UNIV, CBF_CONS, CBT_BITSTRING);
}

template <class Record>
constexpr ItemOf<Record> SequenceOf(const LUMO_ASN1_TEMPLATE (&rows)[1]) {
  return MakeItem<Record>(rows, 1, g_tevAsnFuncSetOf, CBC_UNIV, CBF_CONS, CBT_SEQUENCES);
}

template <class Record>
constexpr ItemOf<Record> SetOf(const LUMO_ASN1_TEMPLATE (&rows)[1]) {
  return MakeItem<Record>(rows, 1, g_tevAsnFuncSetOf, CBC_UNIV, CBF_CONS, CBT_SETS);
}

/// Elements addressed by their identifier: Extensions (code 16) or an attribute set (code 17).
template <class Record, std::size_t N>
constexpr ItemOf<Record> Map(const LUMO_ASN1_TEMPLATE (&rows)[N], LUMO_BER_TAG_CODE code) {
  return MakeItem<Record>(rows, N, g_tevAsnFuncMap, CBC_UNIV, CBF_CONS, code);
}

/// Bytes of the enclosing record that a row may write. Only the row of a set has a capacity.
constexpr std::size_t RowSize(const LUMO_ASN1_TEMPLATE& row) {
  if (row.flag & LUMO_ASN_FLAG_SKIP) return 0;
  if (row.pDefaultVal != 0) return kSetDataOffset + row.pDefaultVal * row.asn1_item->item_szie;
  return row.asn1_item->item_szie;
}

/// True when no row writes outside the item's record and no two stored rows overlap.
constexpr bool RowsStayInside(const LUMO_ASN1_ITEM& item) {
  for (unsigned i = 0; i < item.templ_count; ++i) {
    const LUMO_ASN1_TEMPLATE& row = item.asn_templ[i];
    const std::size_t end = row.offset_val + RowSize(row);
    if (end > item.item_szie) return false;
    for (unsigned j = 0; j < i; ++j) {
      const LUMO_ASN1_TEMPLATE& other = item.asn_templ[j];
      const std::size_t otherEnd = other.offset_val + RowSize(other);
      if (row.offset_val < otherEnd && other.offset_val < end) return false;
    }
  }
  return true;
}

/// Nesting of the tables below an item: what bounds the decoder's recursion.
constexpr unsigned Depth(const LUMO_ASN1_ITEM& item) {
  unsigned deepest = 0;
  for (unsigned i = 0; i < item.templ_count; ++i) {
    const unsigned below = Depth(*item.asn_templ[i].asn1_item);
    if (below > deepest) deepest = below;
  }
  return deepest + 1;
}

constexpr bool IsSound(const LUMO_ASN1_ITEM& item) {
  return RowsStayInside(item) && Depth(item) <= kMaxTemplateDepth;
}

// The primitive types.

inline constexpr ItemOf<LUMO_ASN_OCTS> LUMO_ASN_OCTS_item =
    Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_ANY_CLASS, CBF_ANY_FORM, CBT_ANY_CODE);
inline constexpr ItemOf<LUMO_ASN_OCTS> LUMO_ASN_BIGINT_item =
    Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_UNIV, CBF_PRIM, CBT_INTEGER);
inline constexpr ItemOf<LUMO_ASN_OCTS> LUMO_ASN_SEQ_item =
    Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_UNIV, CBF_CONS, CBT_SEQUENCES);
inline constexpr ItemOf<LUMO_ASN_OCTS> LUMO_ASN_SET_item =
    Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_UNIV, CBF_CONS, CBT_SETS);
inline constexpr ItemOf<LUMO_ASN_BITS> LUMO_ASN_BITS_item =
    Primitive<LUMO_ASN_BITS>(g_tevAsnFuncBits, CBC_UNIV, CBF_PRIM, CBT_BITSTRING);
inline constexpr ItemOf<LUMO_ASN_INT> LUMO_ASN_INT_item =
    Primitive<LUMO_ASN_INT>(g_tevAsnFuncInt, CBC_UNIV, CBF_PRIM, CBT_INTEGER);
inline constexpr ItemOf<LUMO_ASN_INT> LUMO_ASN_ENUM_item =
    Primitive<LUMO_ASN_INT>(g_tevAsnFuncInt, CBC_UNIV, CBF_PRIM, CBT_ENUM);
inline constexpr ItemOf<LUMO_ASN_BOOL> LUMO_ASN_BOOL_item =
    Primitive<LUMO_ASN_BOOL>(g_tevAsnFuncInt, CBC_UNIV, CBF_PRIM, CBT_BOOLEAN);

/// Key usage: a BIT STRING of at most two octets as an integer.
inline constexpr ItemOf<LUMO_ASN_INT> LUMO_ASN_BITS_TO_INT_item =
    Primitive<LUMO_ASN_INT>(g_tevAsnFuncBitsToInt, CBC_UNIV, CBF_PRIM, CBT_BITSTRING);
/// Extended key usage: the first purpose as a bit.
inline constexpr ItemOf<LUMO_ASN_INT> LUMO_ASN_EXKU_item =
    Primitive<LUMO_ASN_INT>(g_tevAsnFuncExku, CBC_UNIV, CBF_PRIM, CBT_OID);

struct LUMO_ASN_OID_BUNDLE {
  SET_TYPE_LUMO_ASN_OID oid_bundle;
};

inline constexpr LUMO_ASN1_TEMPLATE LUMO_ASN_OID_BUNDLE_templ[] = {
    LUMO_ELEMENTS(LUMO_ASN_OID_BUNDLE, oid_bundle, 10, LUMO_ASN_OCTS_item)};
inline constexpr ItemOf<LUMO_ASN_OID_BUNDLE> LUMO_ASN_OID_BUNDLE_item =
    SequenceOf<LUMO_ASN_OID_BUNDLE>(LUMO_ASN_OID_BUNDLE_templ);
static_assert(IsSound(LUMO_ASN_OID_BUNDLE_item));

#endif
