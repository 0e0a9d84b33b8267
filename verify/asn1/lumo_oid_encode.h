#ifndef FWVET_VERIFY_ASN1_LUMO_OID_ENCODE_H
#define FWVET_VERIFY_ASN1_LUMO_OID_ENCODE_H

#include <string_view>

#include "verify/lumo.h"

// Object identifiers from their dotted text, at compile time.

void oid_text_is_malformed();  // never defined: a malformed text does not compile

/// Content octets of an OID (X.690, 8.19).
struct ENCODED_OID {
  TEV_BYTE octets[16];
  TEV_UINT32 length;
};

/// Appends one arc in septets, the highest first.
constexpr void AppendArc(ENCODED_OID& oid, TEV_UINT32 arc) {
  TEV_UINT32 septets = 1;
  while (septets < 5 && (arc >> (7 * septets)) != 0) ++septets;
  if (oid.length + septets > sizeof(oid.octets)) oid_text_is_malformed();
  for (TEV_UINT32 i = septets; i-- > 0;) {
    const TEV_UINT32 septet = (arc >> (7 * i)) & 0x7F;
    oid.octets[oid.length++] = static_cast<TEV_BYTE>(i == 0 ? septet : septet | 0x80);
  }
}

/// Takes the arc at the front of a dotted text off it.
constexpr TEV_UINT32 TakeArc(std::string_view& dotted) {
  if (dotted.empty() || dotted.front() < '0' || dotted.front() > '9') oid_text_is_malformed();
  if (dotted.front() == '0' && dotted.size() > 1 && dotted[1] != '.') oid_text_is_malformed();
  TEV_UINT32 arc = 0;
  while (!dotted.empty() && dotted.front() >= '0' && dotted.front() <= '9') {
    if (arc > 0x0FFFFFFF) oid_text_is_malformed();
    arc = arc * 10 + static_cast<TEV_UINT32>(dotted.front() - '0');
    dotted.remove_prefix(1);
  }
  if (!dotted.empty()) {
    if (dotted.front() != '.' || dotted.size() == 1) oid_text_is_malformed();
    dotted.remove_prefix(1);
  }
  return arc;
}

/// The content octets of a dotted OID; a text that is none does not compile.
constexpr ENCODED_OID EncodeOid(std::string_view dotted) {
  ENCODED_OID oid{};
  const TEV_UINT32 first = TakeArc(dotted);
  const TEV_UINT32 second = TakeArc(dotted);
  if (first > 2 || (first < 2 && second > 39)) oid_text_is_malformed();
  AppendArc(oid, first * 40 + second);
  while (!dotted.empty()) AppendArc(oid, TakeArc(dotted));
  return oid;
}

#endif
