#ifndef FWVET_TESTS_SUPPORT_DER_BUILDER_H
#define FWVET_TESTS_SUPPORT_DER_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Composes BER from nested calls, well-formed or not: what an honest encoder refuses to write, a test writes
// here.
//
//   der::Seq(der::Integer(1), der::Oid("1.2.840.113549.1.7.2"), der::Explicit(0, der::OctetString("abc")))
namespace der {

using Bytes = std::vector<std::uint8_t>;

/// The octets of a text.
Bytes FromText(std::string_view text);

/// The octets that the hexadecimal digits of `hex` spell; anything between them is skipped.
Bytes FromHex(std::string_view hex);

/// The text that the octets spell.
std::string ToText(const Bytes& octets);

/// All the parts in a row.
template <class... Parts>
Bytes Concat(const Parts&... parts) {
  Bytes all;
  (all.insert(all.end(), parts.begin(), parts.end()), ...);
  return all;
}

/// The shortest definite form of a length.
Bytes Length(std::size_t length);

/// The long form of a length in exactly `octets` octets (0 to 126), minimal or not: LongLength(5, 4) is
/// 84 00 00 00 05. Lengths that need more octets lose their upper ones.
Bytes LongLength(std::uint64_t length, std::size_t octets);

/// One element: tag octet, shortest length, all the parts as content.
template <class... Parts>
Bytes Tlv(std::uint8_t tag, const Parts&... parts) {
  const Bytes content = Concat(parts...);
  return Concat(Bytes{tag}, Length(content.size()), content);
}

/// One element whose length octets are given as they are, true or not: RawLength(0x30, LongLength(3, 2),
/// content).
Bytes RawLength(std::uint8_t tag, const Bytes& length_octets, const Bytes& content);

/// One element of indefinite length, closed by its two end-of-contents octets.
Bytes Indefinite(std::uint8_t tag, const Bytes& content);

/// One element whose tag code is written in the long form, `code` up to 32 bits. `lead` is class and form
/// (0xA0 for context, constructed).
Bytes LongTag(std::uint8_t lead, std::uint32_t code, const Bytes& content);

template <class... Parts>
Bytes Seq(const Parts&... parts) {
  return Tlv(0x30, parts...);
}

/// A SET in the order given; no sorting.
template <class... Parts>
Bytes Set(const Parts&... parts) {
  return Tlv(0x31, parts...);
}

/// [n] EXPLICIT around the parts; n up to 30.
template <class... Parts>
Bytes Explicit(unsigned n, const Parts&... parts) {
  return Tlv(static_cast<std::uint8_t>(0xA0U | n), parts...);
}

/// [n] IMPLICIT: the element with its tag replaced, its form kept; n up to 30.
Bytes Implicit(unsigned n, const Bytes& element);

/// A SEQUENCE of the elements of a list, for lists built in a loop.
Bytes SeqOf(const std::vector<Bytes>& elements);
/// A SET of the elements of a list in the order given.
Bytes SetOf(const std::vector<Bytes>& elements);

Bytes Integer(std::int64_t value);
/// An INTEGER with exactly these content octets.
Bytes IntegerOctets(const Bytes& octets);
/// An INTEGER from an unsigned big-endian magnitude: a zero octet goes in front when the top bit is set.
Bytes UnsignedInteger(const Bytes& magnitude);
Bytes Enumerated(std::int64_t value);
/// Throws std::invalid_argument for text that is no dotted identifier.
Bytes Oid(std::string_view dotted);
Bytes OctetString(const Bytes& octets);
Bytes OctetString(std::string_view text);
/// `unused` is the first content octet, as given.
Bytes BitString(const Bytes& octets, std::uint8_t unused = 0);
Bytes Boolean(bool value);
Bytes Null();
Bytes Utf8(std::string_view text);
Bytes Printable(std::string_view text);
Bytes Ia5(std::string_view text);
/// Content as given: "240601120000Z".
Bytes UtcTime(std::string_view text);
/// Content as given: "20240601120000Z".
Bytes GeneralizedTime(std::string_view text);

/// The whole first element at the front of `encoded` (definite lengths, single-octet tags only). Throws
/// std::invalid_argument when it is not whole.
Bytes FirstElement(const Bytes& encoded);
/// The content of the first element.
Bytes ContentOf(const Bytes& encoded);
/// The elements that lie in a row in `encoded`: Children(ContentOf(sequence)) takes a sequence apart.
std::vector<Bytes> Children(const Bytes& encoded);

}  // namespace der

#endif
