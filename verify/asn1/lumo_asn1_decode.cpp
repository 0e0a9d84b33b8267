#include "verify/asn1/lumo_asn1_decode.h"

#include <array>
#include <bit>

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/asn1/lumo_x509_templ.h"
#include "verify/lumo_plt_proxy.h"

constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncOct = {lumo_dec_oct};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncBits = {lumo_dec_bits};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncSeq = {lumo_dec_seq};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncInt = {lumo_dec_int};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncSetOf = {lumo_dec_setof};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncMap = {lumo_dec_map};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncBitsToInt = {lumo_bits_to_int};
constexpr LUMO_ASN1_FUNCTIONS g_tevAsnFuncExku = {lumo_oid_to_exku};

namespace {

constexpr TEV_BYTE kHighTagNumber = 0x1F;
constexpr TEV_BYTE kLongLength = 0x80;
constexpr TEV_UINT32 kMaxLengthOctets = 4;
constexpr TEV_UINT32 kMaxIntegerOctets = 4;
constexpr TEV_UINT32 kMaxKeyUsageOctets = 2;
constexpr TEV_BYTE kBooleanTrue = 0xFF;

/// The only way in which decoded values reach a record and come back: byte by byte, so that no layout is
/// assumed beyond the offsets in the tables.
template <class T>
void StoreField(void* target, TEV_UINT32 offset, const T& value) {
  const auto bytes = std::bit_cast<std::array<TEV_BYTE, sizeof(T)>>(value);
  TEV_BYTE* field = static_cast<TEV_BYTE*>(target) + offset;
  for (TEV_BYTE byte : bytes) *field++ = byte;
}

template <class T>
T LoadField(const void* target) {
  std::array<TEV_BYTE, sizeof(T)> bytes;
  const TEV_BYTE* field = static_cast<const TEV_BYTE*>(target);
  for (TEV_BYTE& byte : bytes) byte = *field++;
  return std::bit_cast<T>(bytes);
}

void* FieldAt(void* record, std::size_t offset) {
  return static_cast<TEV_BYTE*>(record) + offset;
}

/// Puts the cursor back where it was unless the decoding is kept.
class CursorGuard {
 public:
  explicit CursorGuard(LUMO_BUF* buf) : buf_(buf), start_(buf->iCursor) {}
  ~CursorGuard() {
    if (!kept_) buf_->iCursor = start_;
  }
  CursorGuard(const CursorGuard&) = delete;
  CursorGuard& operator=(const CursorGuard&) = delete;

  [[nodiscard]] TEV_UINT32 start() const { return start_; }
  [[nodiscard]] TEV_UINT32 consumed() const { return buf_->iCursor - start_; }

  /// Ends a successful decoding: the cursor stays, and the octets consumed are told.
  TEV_UINT32 Keep(TEV_UINT32* bytesDecoded) {
    kept_ = true;
    *bytesDecoded = consumed();
    return LUMO_OK;
  }

  /// Leaves the cursor where it is without telling anything.
  void Release() { kept_ = true; }

 private:
  LUMO_BUF* buf_;
  TEV_UINT32 start_;
  bool kept_ = false;
};

bool Has(const LUMO_ASN1_TEMPLATE* templ, TEV_UINT16 flag) {
  return templ != nullptr && (templ->flag & flag) != 0;
}

bool IsOptional(const LUMO_ASN1_TEMPLATE& templ) {
  return (templ.flag & (LUMO_ASN_FLAG_OPTIONAL | LUMO_ASN_FLAG_DEFAULT)) != 0;
}

TEV_UINT32 StepOver(LUMO_BUF* buf, TEV_UINT32 length) {
  return lumo_buf_seek(buf, static_cast<TEV_INT32>(length), CBSW_CURRENT);
}

TEV_UINT32 _tevDecTag(LUMO_BUF* buf, LUMO_BER_TAG* tag) {
  TEV_BYTE octet = 0;
  if (auto rc = lumo_buf_get(buf, &octet); rc != LUMO_OK) return rc;
  if ((octet & kHighTagNumber) == kHighTagNumber) return LUMO_ERR_BER_TAG;
  *tag = {.cls = static_cast<LUMO_BER_CLASS>(octet >> 6),
          .form = static_cast<LUMO_BER_FORM>((octet >> 5) & 1),
          .code = static_cast<LUMO_BER_TAG_CODE>(octet & kHighTagNumber)};
  return LUMO_OK;
}

/// The length never exceeds what is left in the buffer.
TEV_UINT32 _tevDecLen(LUMO_BUF* buf, TEV_UINT32* length) {
  TEV_BYTE first = 0;
  if (auto rc = lumo_buf_get(buf, &first); rc != LUMO_OK) return rc;
  TEV_UINT32 value = first;
  if (first >= kLongLength) {
    const TEV_UINT32 count = first & 0x7Fu;
    if (count == 0 || count > kMaxLengthOctets) return LUMO_ERR_BER_LENGTH;
    value = 0;
    for (TEV_UINT32 i = 0; i < count; ++i) {
      TEV_BYTE octet = 0;
      if (auto rc = lumo_buf_get(buf, &octet); rc != LUMO_OK) return rc;
      value = (value << 8) | octet;
    }
  }
  if (value > buf->nBufLen - buf->iCursor) return LUMO_ERR_BER_LENGTH;
  *length = value;
  return LUMO_OK;
}

/// Reads a tag that must be the expected one, then the length.
TEV_UINT32 _tevAsn1ParseContent(LUMO_BUF* buf, TEV_UINT32 tagCode, TEV_UINT16 tagType, LUMO_BER_FORM form,
                                LUMO_BER_TAG_CODE code, TEV_UINT32* length) {
  const LUMO_BER_TAG expected = (tagType & LUMO_ASN_TAG_IMPLICIT) != 0
                                    ? LUMO_BER_TAG{CBC_CNTX, form, static_cast<LUMO_BER_TAG_CODE>(tagCode)}
                                    : LUMO_BER_TAG{CBC_UNIV, form, code};
  LUMO_BER_TAG tag{};
  if (auto rc = _tevDecTag(buf, &tag); rc != LUMO_OK) return rc;
  if (tag != expected) return LUMO_ERR_BER_TAG;
  return _tevDecLen(buf, length);
}

/// Compares a read tag with what the template expects. The code to record is the expected one, or the one
/// read where any will do.
TEV_UINT32 _tevCheckTag(const LUMO_BER_TAG& tag, const LUMO_ASN1_TEMPLATE* templ,
                        LUMO_BER_TAG_CODE* recordedCode) {
  *recordedCode = tag.code;
  if (templ == nullptr || templ->asn1_item == nullptr) return LUMO_OK;
  const LUMO_ASN1_ITEM& item = *templ->asn1_item;
  const bool implicit = (templ->tagType & LUMO_ASN_TAG_IMPLICIT) != 0;
  const LUMO_BER_CLASS cls = implicit ? CBC_CNTX : item.ber_class;
  const LUMO_BER_TAG_CODE code = implicit ? static_cast<LUMO_BER_TAG_CODE>(templ->tagCode) : item.ber_code;
  if (cls != CBC_ANY_CLASS && tag.cls != cls) return LUMO_ERR_BER_TAG_MISMATCH;
  if (item.ber_form != CBF_ANY_FORM && tag.form != item.ber_form) return LUMO_ERR_BER_TAG_MISMATCH;
  if (code == CBT_ANY_CODE) return LUMO_OK;
  if (tag.code != code) return LUMO_ERR_BER_TAG_MISMATCH;
  *recordedCode = code;
  return LUMO_OK;
}

/// Fills the view of an element whose content of `length` octets begins at the cursor and whose tag lies at
/// `start`.
void _tevInternalDecOct(const LUMO_BUF* buf, TEV_UINT32 start, TEV_UINT32 length, const LUMO_BER_TAG& tag,
                        bool raw, void* target) {
  auto view = LoadField<LUMO_ASN_OCTS>(target);
  if (length == 0) {
    view.octs = nullptr;
    StoreField(target, 0, view);
    return;
  }
  view.tag = tag;
  view.octs = buf->pVal + buf->iCursor;
  view.len = length;
  if (raw) {
    view.octs = buf->pVal + start;
    view.len = buf->iCursor - start + length;
  } else if (tag.code == CBT_INTEGER && view.octs[0] == 0) {
    ++view.octs;
    --view.len;
  }
  StoreField(target, 0, view);
}

/// Ends a peek: an implicitly tagged element is recorded under the tag that its item has by itself.
TEV_UINT32 FinishPeek(const LUMO_ASN1_TEMPLATE* templ, void* target) {
  if (target == nullptr) return LUMO_ERR_BER_ELEMENT_MISSING;
  if ((templ->tagType & LUMO_ASN_TAG_IMPLICIT) == 0) return LUMO_OK;
  const LUMO_ASN1_ITEM* item = templ->asn1_item;
  if (item == nullptr) return LUMO_ERR_BER_ELEMENT_MISSING;
  auto view = LoadField<LUMO_ASN_OCTS>(target);
  view.tag = {.cls = item->ber_class, .form = item->ber_form, .code = item->ber_code};
  StoreField(target, 0, view);
  return LUMO_OK;
}

/// Reads `length` octets as a two's complement number. The first octet is read even when there is none.
TEV_UINT32 ReadInteger(LUMO_BUF* buf, TEV_UINT32 length, bool isBoolean, LUMO_ASN_INT* result) {
  TEV_BYTE octet = 0;
  if (lumo_buf_get(buf, &octet) != LUMO_OK) return LUMO_ERR_BER_INTEGER;
  if (isBoolean) {
    if (length != 1) return LUMO_ERR_BER_INTEGER_SIZE;
    *result = octet == kBooleanTrue ? 1 : 0;
    return LUMO_OK;
  }
  auto value = static_cast<TEV_UINT32>(static_cast<TEV_INT32>(static_cast<signed char>(octet)));
  for (TEV_UINT32 i = 1; i < length; ++i) {
    if (lumo_buf_get(buf, &octet) != LUMO_OK) return LUMO_ERR_BER_INTEGER;
    value = (value << 8) | octet;
  }
  *result = static_cast<LUMO_ASN_INT>(value);
  return LUMO_OK;
}

/// Decodes one field of a sequence, through its explicit tag if it has one.
TEV_UINT32 _tevDecSeqValue(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* record,
                           const LUMO_ASN1_TEMPLATE* templ) {
  void* target = Has(templ, LUMO_ASN_FLAG_SKIP) ? nullptr : FieldAt(record, templ->offset_val);
  if (templ->tagType == LUMO_ASN_TAG_EXPLICIT) {
    LUMO_BER_TAG tag{};
    if (auto rc = _tevDecTag(buf, &tag); rc != LUMO_OK) return rc;
    if (tag != LUMO_BER_TAG{CBC_CNTX, CBF_CONS, static_cast<LUMO_BER_TAG_CODE>(templ->tagCode)}) {
      return LUMO_ERR_GENERIC;
    }
    TEV_UINT32 wrapperLength = 0;  // the value inside has a length of its own
    if (auto rc = _tevDecLen(buf, &wrapperLength); rc != LUMO_OK) return rc;
  }
  TEV_UINT32 consumed = 0;
  return templ->asn1_item->asn_func->pDecode(pVrf, buf, target, &consumed, templ);
}

bool _tevSeqCheckRemainOptional(const LUMO_ASN1_ITEM& item, TEV_UINT32 next) {
  for (TEV_UINT32 i = next; i < item.templ_count; ++i) {
    if (!IsOptional(item.asn_templ[i])) return false;
  }
  return true;
}

/// Decodes the fields of a sequence whose content of `length` octets begins at the cursor. A field may be
/// tried, and even succeed, on octets behind the content: the length test that follows each field then fails
/// the sequence.
TEV_UINT32 DecodeFields(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* record, const LUMO_ASN1_ITEM& item,
                        TEV_UINT32 length) {
  const TEV_UINT32 contentStart = buf->iCursor;
  TEV_UINT32 lastGood = contentStart;
  TEV_UINT32 visited = 0;
  while (visited < item.templ_count) {
    const LUMO_ASN1_TEMPLATE& templ = item.asn_templ[visited++];
    const TEV_UINT32 rc = _tevDecSeqValue(pVrf, buf, record, &templ);
    if (rc == LUMO_OK) {
      lastGood = buf->iCursor;
    } else if (IsOptional(templ) && buf->bCapacityExceeded == 0) {
      buf->iCursor = lastGood;
    } else {
      return rc;
    }
    if (lastGood - contentStart > length) return LUMO_ERR_BER_SEQUENCE;
    if (lastGood - contentStart == length) break;
  }
  if (!_tevSeqCheckRemainOptional(item, visited)) return LUMO_ERR_BER_SEQUENCE;
  return lastGood - contentStart == length ? LUMO_OK : LUMO_ERR_BER_SEQUENCE;
}

/// Decodes the elements of a set whose content of `length` octets begins at the cursor.
TEV_UINT32 DecodeElements(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* set, const LUMO_ASN1_TEMPLATE& element,
                          TEV_UINT32 length) {
  const LUMO_ASN1_ITEM& item = *element.asn1_item;
  TEV_UINT32 total = 0;
  for (TEV_UINT32 i = 0; i < element.pDefaultVal; ++i) {
    void* target = FieldAt(set, kSetDataOffset + static_cast<std::size_t>(i) * item.item_szie);
    TEV_UINT32 consumed = 0;
    if (item.asn_func->pDecode(pVrf, buf, target, &consumed, &element) != LUMO_OK) return LUMO_ERR_BER_SET;
    total += consumed;
    if (total > length) return LUMO_ERR_BER_SET;
    if (total == length) {
      StoreField<TEV_UINT32>(set, 0, i + 1);
      return LUMO_OK;
    }
  }
  buf->bCapacityExceeded = 1;
  return LUMO_ERR_BER_SET;
}

const LUMO_ASN1_TEMPLATE* FindRow(const LUMO_ASN1_ITEM& map, LUMO_AOIDS aoid) {
  for (TEV_UINT32 i = 0; i < map.templ_count; ++i) {
    if (map.asn_templ[i].tagCode == static_cast<TEV_UINT32>(aoid)) return &map.asn_templ[i];
  }
  return nullptr;
}

/// Decodes one element of a map into the field that its identifier names, if any does.
TEV_UINT32 DecodeMapElement(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* record, const LUMO_ASN1_ITEM& map) {
  constexpr LUMO_ASN1_TEMPLATE kEntry = {.asn1_item = &LUMO_X509_EXTENSION_ENTRY_item,
                                         .tagCode = 0,
                                         .tagType = LUMO_ASN_TAG_NONE,
                                         .flag = 0,
                                         .offset_val = 0,
                                         .pDefaultVal = 0};
  LUMO_X509_EXTENSION_ENTRY entry{};
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_dec_seq(pVrf, buf, &entry, &consumed, &kEntry); rc != LUMO_OK) return rc;
  if (entry.extnValue.octs == nullptr || entry.extnValue.len == 0) return LUMO_ERR_BER_SET;
  const LUMO_AOIDS aoid = lumo_find_aoid(pVrf, &entry.extnId);
  const LUMO_ASN1_TEMPLATE* row = FindRow(map, aoid);
  if (row == nullptr) return LUMO_OK;
  LUMO_BUF value{};
  if (auto rc = lumo_buf_init(&value, entry.extnValue.octs, entry.extnValue.len); rc != LUMO_OK) return rc;
  void* target = FieldAt(record, row->offset_val);
  const TEV_UINT32 rc = row->asn1_item->asn_func->pDecode(pVrf, &value, target, &consumed, row);
  if (value.bCapacityExceeded != 0) buf->bCapacityExceeded = 1;
  return rc;
}

}  // namespace

TEV_UINT32 lumo_dec_oct(const LUMO_VRF*, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || bytesDecoded == nullptr) return LUMO_ERR_PARAM;
  if (Has(templ, LUMO_ASN_FLAG_SKIP)) {
    target = nullptr;
  } else if (target == nullptr) {
    return LUMO_ERR_PARAM;
  }
  CursorGuard guard(buf);
  LUMO_BER_TAG tag{};
  if (auto rc = _tevDecTag(buf, &tag); rc != LUMO_OK) return rc;
  if (auto rc = _tevCheckTag(tag, templ, &tag.code); rc != LUMO_OK) return rc;
  TEV_UINT32 length = 0;
  if (auto rc = _tevDecLen(buf, &length); rc != LUMO_OK) return rc;
  if (target != nullptr) {
    _tevInternalDecOct(buf, guard.start(), length, tag, Has(templ, LUMO_ASN_FLAG_RAW), target);
  }
  if (auto rc = StepOver(buf, length); rc != LUMO_OK) return rc;
  if (!Has(templ, LUMO_ASN_FLAG_PEEK)) return guard.Keep(bytesDecoded);
  if (auto rc = FinishPeek(templ, target); rc != LUMO_OK) return rc;
  *bytesDecoded = 0;
  return LUMO_OK;
}

TEV_UINT32 lumo_dec_int(const LUMO_VRF*, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || templ == nullptr || bytesDecoded == nullptr) return LUMO_ERR_PARAM;
  CursorGuard guard(buf);
  const LUMO_BER_TAG_CODE code = templ->asn1_item != nullptr ? templ->asn1_item->ber_code : CBT_NULL_CODE;
  TEV_UINT32 length = 0;
  if (auto rc = _tevAsn1ParseContent(buf, templ->tagCode, templ->tagType, CBF_PRIM, code, &length);
      rc != LUMO_OK) {
    return rc;
  }
  if (Has(templ, LUMO_ASN_FLAG_SKIP)) {
    if (auto rc = StepOver(buf, length); rc != LUMO_OK) return rc;
    return guard.Keep(bytesDecoded);
  }
  if (target == nullptr) {
    guard.Release();
    return LUMO_ERR_BER_INTEGER;
  }
  if (length > kMaxIntegerOctets) return LUMO_ERR_BER_INTEGER;
  LUMO_ASN_INT value = 0;
  if (auto rc = ReadInteger(buf, length, code == CBT_BOOLEAN, &value); rc != LUMO_OK) return rc;
  StoreField(target, 0, value);
  return guard.Keep(bytesDecoded);
}

TEV_UINT32 lumo_dec_bits(const LUMO_VRF*, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                         const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || templ == nullptr || bytesDecoded == nullptr) return LUMO_ERR_PARAM;
  CursorGuard guard(buf);
  TEV_UINT32 length = 0;
  if (auto rc = _tevAsn1ParseContent(buf, templ->tagCode, templ->tagType, CBF_PRIM, CBT_BITSTRING, &length);
      rc != LUMO_OK) {
    return rc;
  }
  if (length == 0) return LUMO_ERR_BER_BITS;
  if (!Has(templ, LUMO_ASN_FLAG_SKIP)) {
    if (target == nullptr) return LUMO_ERR_BER_BITS;
    const bool implicit = (templ->tagType & LUMO_ASN_TAG_IMPLICIT) != 0;
    StoreField(target, 0,
               LUMO_ASN_BITS{
                   .len = length - 1,
                   .tag = {.cls = implicit ? CBC_CNTX : CBC_UNIV,
                           .form = CBF_PRIM,
                           .code = implicit ? static_cast<LUMO_BER_TAG_CODE>(templ->tagCode) : CBT_BITSTRING},
                   .octs = buf->pVal + buf->iCursor + 1});
  }
  if (auto rc = StepOver(buf, length); rc != LUMO_OK) return rc;
  return guard.Keep(bytesDecoded);
}

TEV_UINT32 lumo_bits_to_int(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                            const LUMO_ASN1_TEMPLATE* templ) {
  LUMO_ASN_BITS bits{};
  if (auto rc = lumo_dec_bits(pVrf, buf, &bits, bytesDecoded, templ); rc != LUMO_OK) return rc;
  if (bits.octs == nullptr || target == nullptr || bits.len > kMaxKeyUsageOctets) return LUMO_ERR_BER_BITS;
  LUMO_ASN_INT value = 0;
  for (TEV_UINT32 i = 0; i < bits.len; ++i) value = (value << 8) | bits.octs[i];
  StoreField(target, 0, value);
  return LUMO_OK;
}

TEV_UINT32 lumo_oid_to_exku(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                            const LUMO_ASN1_TEMPLATE*) {
  constexpr LUMO_ASN1_TEMPLATE kPurposes = {.asn1_item = &LUMO_ASN_OID_BUNDLE_item,
                                            .tagCode = 0,
                                            .tagType = LUMO_ASN_TAG_NONE,
                                            .flag = 0,
                                            .offset_val = 0,
                                            .pDefaultVal = 0};
  if (target == nullptr) return LUMO_ERR_PARAM;
  LUMO_ASN_OID_BUNDLE purposes{};
  if (auto rc = lumo_dec_setof(pVrf, buf, &purposes, bytesDecoded, &kPurposes); rc != LUMO_OK) return rc;
  if (purposes.oid_bundle.num == 0) return LUMO_OK;
  auto mask = LoadField<LUMO_ASN_INT>(target);
  switch (lumo_find_aoid(pVrf, &purposes.oid_bundle.data[0])) {
    case AOID_KP_CODESIGNING:
      mask |= LUMO_EXKU_CODE_SIGNING;
      break;
    case AOID_KP_TIMESTAMPING:
      mask |= LUMO_EXKU_TIME_STAMPING;
      break;
    default:
      break;
  }
  StoreField(target, 0, mask);
  return LUMO_OK;
}

TEV_UINT32 lumo_dec_setof(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                          const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || target == nullptr || bytesDecoded == nullptr || templ == nullptr)
    return LUMO_ERR_PARAM;
  const LUMO_ASN1_ITEM* item = templ->asn1_item;
  if (item == nullptr || item->templ_count != 1) return LUMO_ERR_PARAM;
  CursorGuard guard(buf);
  TEV_UINT32 length = 0;
  if (_tevAsn1ParseContent(buf, templ->tagCode, templ->tagType, CBF_CONS, item->ber_code, &length) !=
      LUMO_OK) {
    return LUMO_ERR_BER_SET;
  }
  const LUMO_ASN1_TEMPLATE& element = item->asn_templ[0];
  void* set = FieldAt(target, element.offset_val);
  if (length == 0) {
    StoreField<TEV_UINT32>(set, 0, 0);
    return guard.Keep(bytesDecoded);
  }
  if (auto rc = DecodeElements(pVrf, buf, set, element, length); rc != LUMO_OK) return rc;
  return guard.Keep(bytesDecoded);
}

TEV_UINT32 lumo_dec_seq(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || target == nullptr || bytesDecoded == nullptr || templ == nullptr)
    return LUMO_ERR_PARAM;
  const LUMO_ASN1_ITEM* item = templ->asn1_item;
  if (item == nullptr) return LUMO_ERR_PARAM;
  CursorGuard guard(buf);
  const bool inBits = item->ber_code == CBT_BITSTRING;
  const LUMO_BER_FORM form = inBits ? CBF_PRIM : CBF_CONS;
  TEV_UINT32 length = 0;
  if (auto rc = _tevAsn1ParseContent(buf, templ->tagCode, templ->tagType, form, item->ber_code, &length);
      rc != LUMO_OK) {
    return rc;
  }
  if (inBits) {  // the octet that counts unused bits
    if (length == 0) return LUMO_ERR_BER_SEQUENCE;
    if (auto rc = StepOver(buf, 1); rc != LUMO_OK) return rc;
    --length;
  }
  if (auto rc = DecodeFields(pVrf, buf, target, *item, length); rc != LUMO_OK) return rc;
  return guard.Keep(bytesDecoded);
}

TEV_UINT32 lumo_dec_map(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ) {
  if (buf == nullptr || target == nullptr || bytesDecoded == nullptr || templ == nullptr)
    return LUMO_ERR_PARAM;
  const LUMO_ASN1_ITEM* item = templ->asn1_item;
  if (item == nullptr) return LUMO_ERR_PARAM;
  CursorGuard guard(buf);
  TEV_UINT32 length = 0;
  if (_tevAsn1ParseContent(buf, templ->tagCode, templ->tagType, CBF_CONS, item->ber_code, &length) !=
      LUMO_OK) {
    return LUMO_ERR_BER_SET;
  }
  const TEV_UINT32 contentStart = buf->iCursor;
  while (buf->iCursor - contentStart < length) {
    if (auto rc = DecodeMapElement(pVrf, buf, target, *item); rc != LUMO_OK) return rc;
  }
  if (buf->iCursor - contentStart != length) return LUMO_ERR_BER_SET;
  return guard.Keep(bytesDecoded);
}

LUMO_ERROR_CODE lumo_asn_decode(const LUMO_VRF* pVrf, const TEV_BYTE* pbBuf, TEV_UINT32 nBufLen,
                                const LUMO_ASN1_ITEM* pAsnItem, TEV_BYTE flag, void** ppResult,
                                TEV_UINT32* nDecoded) {
  if (pbBuf == nullptr || nBufLen == 0 || pAsnItem == nullptr || ppResult == nullptr || nDecoded == nullptr) {
    return LUMO_ERR_PARAM;
  }
  const LUMO_ASN1_TEMPLATE templ = {.asn1_item = pAsnItem,
                                    .tagCode = 0,
                                    .tagType = LUMO_ASN_TAG_NONE,
                                    .flag = flag,
                                    .offset_val = 0,
                                    .pDefaultVal = 0};
  LUMO_BUF buf{};
  if (auto rc = lumo_buf_init(&buf, pbBuf, nBufLen); rc != LUMO_OK) return rc;
  void* record = nullptr;
  if (auto rc = lumo_malloc_with0(pVrf, &record, pAsnItem->item_szie); rc != LUMO_OK) return rc;
  if (auto rc = pAsnItem->asn_func->pDecode(pVrf, &buf, record, nDecoded, &templ); rc != LUMO_OK) {
    lumo_free(pVrf, record);
    return rc;
  }
  *ppResult = record;
  return LUMO_OK;
}

void lumo_asn_free(const LUMO_VRF* pVrf, void* pObj, const LUMO_ASN1_ITEM*, TEV_BYTE) {
  lumo_free(pVrf, pObj);
}
