#ifndef FWVET_VERIFY_ASN1_LUMO_ASN1_DECODE_H
#define FWVET_VERIFY_ASN1_LUMO_ASN1_DECODE_H

#include "verify/asn1/lumo_asn1_templ.h"

// The BER decoder (X.690). It walks the tables over the input and fills one flat record, which is one heap
// block; all that it decodes is a view into the input. Stricter than BER: tags of one octet, definite lengths
// of at most four length octets, integers of at most four octets, sets of fixed capacity.

/// Decodes one value of type `pAsnItem` from the start of `pbBuf` into a new record.
///
/// The caller owns *ppResult (lumo_asn_free) and keeps `pbBuf` for as long. *nDecoded tells the octets
/// consumed; what follows them is not looked at. `flag` is LUMO_ASN_FLAG_*, 0 for all callers here. Errors:
/// LUMO_ERR_PARAM, an allocation's code, LUMO_ERR_BER_* and LUMO_ERR_BUF_OVERRUN; *ppResult is then
/// untouched.
[[nodiscard]] LUMO_ERROR_CODE lumo_asn_decode(const LUMO_VRF* pVrf, const TEV_BYTE* pbBuf, TEV_UINT32 nBufLen,
                                              const LUMO_ASN1_ITEM* pAsnItem, TEV_BYTE flag, void** ppResult,
                                              TEV_UINT32* nDecoded);

/// Releases a decoded record. `pAsnItem` and `flag` are not used: a record owns no other memory.
void lumo_asn_free(const LUMO_VRF* pVrf, void* pObj, const LUMO_ASN1_ITEM* pAsnItem, TEV_BYTE flag);

/// lumo_asn_decode with a result of the item's own record type.
template <class Record>
[[nodiscard]] LUMO_ERROR_CODE lumo_decode_as(const LUMO_VRF* pVrf, const TEV_BYTE* pbBuf, TEV_UINT32 nBufLen,
                                             const ItemOf<Record>& item, Record** ppResult,
                                             TEV_UINT32* nDecoded) {
  void* record = nullptr;
  if (auto rc = lumo_asn_decode(pVrf, pbBuf, nBufLen, &item, 0, &record, nDecoded); rc != LUMO_OK) return rc;
  *ppResult = static_cast<Record*>(record);
  return LUMO_OK;
}

// The decode functions, one for each kind of type; the library reaches them through the items. All are
// TEV_ASN_DECODE_ITEM. LUMO_ERR_PARAM stands for a missing argument in each of them.

/// Any element as a view; target LUMO_ASN_OCTS. A positive INTEGER loses one leading zero octet. An empty
/// element writes a null `octs` and nothing else. Errors: LUMO_ERR_BER_TAG, LUMO_ERR_BER_TAG_MISMATCH,
/// LUMO_ERR_BER_LENGTH, LUMO_ERR_BER_ELEMENT_MISSING (peek without target or item), LUMO_ERR_BUF_OVERRUN.
TEV_UINT32 lumo_dec_oct(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ);

/// BIT STRING as a view of its data octets; target LUMO_ASN_BITS. Errors: also LUMO_ERR_BER_BITS.
TEV_UINT32 lumo_dec_bits(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                         const LUMO_ASN1_TEMPLATE* templ);

/// SEQUENCE, or BIT STRING around a structure; target the item's record. Unknown trailing fields are an
/// error. Errors: the field's own, LUMO_ERR_BER_SEQUENCE, LUMO_ERR_GENERIC for a missing explicit tag.
TEV_UINT32 lumo_dec_seq(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ);

/// INTEGER, ENUMERATED or BOOLEAN of at most four octets; target LUMO_ASN_INT. TRUE is 0xFF only. An empty
/// INTEGER takes the octet behind it. Errors: LUMO_ERR_BER_INTEGER, LUMO_ERR_BER_INTEGER_SIZE,
/// LUMO_ERR_BER_TAG.
TEV_UINT32 lumo_dec_int(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ);

/// SET OF or SEQUENCE OF up to the row's capacity; target a record with the set at the row's offset. Every
/// error is LUMO_ERR_BER_SET.
TEV_UINT32 lumo_dec_setof(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                          const LUMO_ASN1_TEMPLATE* templ);

/// Extensions or attributes: each element that the rows know by its identifier goes to its field, the others
/// are ignored; the last of equal ones wins. Errors: LUMO_ERR_BER_SET, an element's own.
TEV_UINT32 lumo_dec_map(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                        const LUMO_ASN1_TEMPLATE* templ);

/// BIT STRING of at most two data octets as an integer: none gives 0, one the octet, two both big-endian.
/// Errors: also LUMO_ERR_BER_BITS.
TEV_UINT32 lumo_bits_to_int(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                            const LUMO_ASN1_TEMPLATE* templ);

/// SEQUENCE OF OID: the bit (LUMO_EXKU_*) of the first purpose is set in the target; later ones are not
/// looked at. Errors: LUMO_ERR_BER_SET, also for more than ten purposes.
TEV_UINT32 lumo_oid_to_exku(const LUMO_VRF* pVrf, LUMO_BUF* buf, void* target, TEV_UINT32* bytesDecoded,
                            const LUMO_ASN1_TEMPLATE* templ);

#endif
