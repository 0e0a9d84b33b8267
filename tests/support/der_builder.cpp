#include "tests/support/der_builder.h"

#include <cctype>
#include <stdexcept>

namespace der {
namespace {

struct Header {
  std::size_t start;   // of the content
  std::size_t length;  // of the content
};

Header ReadHeader(const Bytes& encoded) {
  if (encoded.size() < 2) throw std::invalid_argument("an element has at least two octets");
  std::size_t length = encoded[1];
  std::size_t start = 2;
  if (length > 0x80) {
    const std::size_t octets = length & 0x7F;
    if (octets > 4 || encoded.size() < 2 + octets) throw std::invalid_argument("not a length to take apart");
    length = 0;
    for (std::size_t i = 0; i < octets; ++i) length = length << 8 | encoded[2 + i];
    start += octets;
  }
  if (encoded.size() - start < length) throw std::invalid_argument("the element is cut short");
  return {start, length};
}

Bytes SignedOctets(std::int64_t value) {
  Bytes octets;
  for (int shift = 56; shift >= 0; shift -= 8) octets.push_back(static_cast<std::uint8_t>(value >> shift));
  while (octets.size() > 1 &&
         ((octets[0] == 0 && octets[1] < 0x80) || (octets[0] == 0xFF && octets[1] >= 0x80))) {
    octets.erase(octets.begin());
  }
  return octets;
}

void AppendBase128(Bytes& out, std::uint64_t arc) {
  Bytes reversed{static_cast<std::uint8_t>(arc & 0x7F)};
  for (arc >>= 7; arc != 0; arc >>= 7) reversed.push_back(static_cast<std::uint8_t>(0x80 | (arc & 0x7F)));
  out.insert(out.end(), reversed.rbegin(), reversed.rend());
}

std::vector<std::uint64_t> Arcs(std::string_view dotted) {
  std::vector<std::uint64_t> arcs{0};
  bool digit_seen = false;
  for (const char c : dotted) {
    if (c == '.' && digit_seen) {
      arcs.push_back(0);
      digit_seen = false;
    } else if (c >= '0' && c <= '9') {
      arcs.back() = arcs.back() * 10 + static_cast<std::uint64_t>(c - '0');
      digit_seen = true;
    } else {
      throw std::invalid_argument("not a dotted object identifier");
    }
  }
  if (!digit_seen || arcs.size() < 2 || arcs[0] > 2) throw std::invalid_argument("not an object identifier");
  return arcs;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int lower = std::tolower(static_cast<unsigned char>(c));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

Bytes FromText(std::string_view text) {
  return {text.begin(), text.end()};
}

Bytes FromHex(std::string_view hex) {
  Bytes octets;
  int high = -1;
  for (const char c : hex) {
    const int digit = HexDigit(c);
    if (digit < 0) continue;
    if (high < 0) {
      high = digit;
    } else {
      octets.push_back(static_cast<std::uint8_t>(high << 4 | digit));
      high = -1;
    }
  }
  if (high >= 0) throw std::invalid_argument("an odd number of hexadecimal digits");
  return octets;
}

std::string ToText(const Bytes& octets) {
  return {octets.begin(), octets.end()};
}

Bytes Length(std::size_t length) {
  if (length < 0x80) return {static_cast<std::uint8_t>(length)};
  std::size_t octets = 1;
  while (octets < sizeof length && length >> (8 * octets) != 0) ++octets;
  return LongLength(length, octets);
}

Bytes LongLength(std::uint64_t length, std::size_t octets) {
  Bytes out{static_cast<std::uint8_t>(0x80 | octets)};
  for (std::size_t i = octets; i-- > 0;) {
    out.push_back(i < sizeof length ? static_cast<std::uint8_t>(length >> (8 * i)) : std::uint8_t{0});
  }
  return out;
}

Bytes RawLength(std::uint8_t tag, const Bytes& length_octets, const Bytes& content) {
  return Concat(Bytes{tag}, length_octets, content);
}

Bytes Indefinite(std::uint8_t tag, const Bytes& content) {
  return Concat(Bytes{tag, 0x80}, content, Bytes{0, 0});
}

Bytes LongTag(std::uint8_t lead, std::uint32_t code, const Bytes& content) {
  Bytes out{static_cast<std::uint8_t>(lead | 0x1F)};
  AppendBase128(out, code);
  return Concat(out, Length(content.size()), content);
}

Bytes Implicit(unsigned n, const Bytes& element) {
  Bytes out = element;
  out.at(0) = static_cast<std::uint8_t>(0x80U | (out.at(0) & 0x20U) | n);
  return out;
}

Bytes SeqOf(const std::vector<Bytes>& elements) {
  Bytes content;
  for (const Bytes& element : elements) content = Concat(content, element);
  return Seq(content);
}

Bytes SetOf(const std::vector<Bytes>& elements) {
  Bytes set = SeqOf(elements);
  set[0] = 0x31;
  return set;
}

Bytes Integer(std::int64_t value) {
  return Tlv(0x02, SignedOctets(value));
}
Bytes IntegerOctets(const Bytes& octets) {
  return Tlv(0x02, octets);
}

Bytes UnsignedInteger(const Bytes& magnitude) {
  const bool needs_zero = magnitude.empty() || magnitude[0] >= 0x80;
  return needs_zero ? Tlv(0x02, Bytes{0}, magnitude) : Tlv(0x02, magnitude);
}

Bytes Enumerated(std::int64_t value) {
  return Tlv(0x0A, SignedOctets(value));
}

Bytes Oid(std::string_view dotted) {
  const std::vector<std::uint64_t> arcs = Arcs(dotted);
  Bytes content;
  AppendBase128(content, arcs[0] * 40 + arcs[1]);
  for (std::size_t i = 2; i < arcs.size(); ++i) AppendBase128(content, arcs[i]);
  return Tlv(0x06, content);
}

Bytes OctetString(const Bytes& octets) {
  return Tlv(0x04, octets);
}
Bytes OctetString(std::string_view text) {
  return Tlv(0x04, FromText(text));
}
Bytes BitString(const Bytes& octets, std::uint8_t unused) {
  return Tlv(0x03, Bytes{unused}, octets);
}
Bytes Boolean(bool value) {
  return Tlv(0x01, Bytes{static_cast<std::uint8_t>(value ? 0xFF : 0)});
}
Bytes Null() {
  return {0x05, 0x00};
}
Bytes Utf8(std::string_view text) {
  return Tlv(0x0C, FromText(text));
}
Bytes Printable(std::string_view text) {
  return Tlv(0x13, FromText(text));
}
Bytes Ia5(std::string_view text) {
  return Tlv(0x16, FromText(text));
}
Bytes UtcTime(std::string_view text) {
  return Tlv(0x17, FromText(text));
}
Bytes GeneralizedTime(std::string_view text) {
  return Tlv(0x18, FromText(text));
}

Bytes FirstElement(const Bytes& encoded) {
  const Header header = ReadHeader(encoded);
  return {encoded.begin(), encoded.begin() + static_cast<std::ptrdiff_t>(header.start + header.length)};
}

Bytes ContentOf(const Bytes& encoded) {
  const Header header = ReadHeader(encoded);
  const auto start = encoded.begin() + static_cast<std::ptrdiff_t>(header.start);
  return {start, start + static_cast<std::ptrdiff_t>(header.length)};
}

std::vector<Bytes> Children(const Bytes& encoded) {
  std::vector<Bytes> children;
  Bytes rest = encoded;
  while (!rest.empty()) {
    children.push_back(FirstElement(rest));
    rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(children.back().size()));
  }
  return children;
}

}  // namespace der
