#include "tests/support/test_package.h"

namespace package {
namespace {

constexpr std::size_t kCrcAt = 66;

void PutU16(Bytes& bytes, std::size_t at, std::uint16_t value) {
  bytes.at(at) = static_cast<std::uint8_t>(value >> 8);
  bytes.at(at + 1) = static_cast<std::uint8_t>(value);
}

void PutText(Bytes& bytes, std::size_t at, const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) bytes.at(at + i) = static_cast<std::uint8_t>(text[i]);
}

}  // namespace

std::uint16_t Crc16(const Bytes& data, std::size_t length) {
  unsigned crc = 0;
  for (std::size_t i = 0; i < length; ++i) {
    crc ^= static_cast<unsigned>(data.at(i)) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000U) != 0 ? (crc << 1) ^ 0x1021U : crc << 1;
    crc &= 0xFFFFU;
  }
  return static_cast<std::uint16_t>(crc);
}

void PutU32(Bytes& bytes, std::size_t at, std::uint32_t value) {
  PutU16(bytes, at, static_cast<std::uint16_t>(value >> 16));
  PutU16(bytes, at + 2, static_cast<std::uint16_t>(value));
}

void Reseal(Bytes& tail) {
  PutU16(tail, kCrcAt, Crc16(tail, kCrcAt));
}

Bytes Tail(std::uint32_t total_len, std::uint32_t code_len) {
  Bytes tail(kTailSize);
  PutText(tail, 0, "QZ");
  PutU16(tail, 2, 1);  // format version
  PutText(tail, 4, "TESTBOARD");
  PutU16(tail, 32, 2024);  // year
  tail[34] = 6;            // month
  tail[35] = 1;            // day
  PutText(tail, 46, "TEST");
  PutU32(tail, kTotalLenAt, total_len);
  PutU32(tail, kCodeLenAt, code_len);
  Reseal(tail);
  return tail;
}

Bytes Block(const Bytes& payload) {
  const auto length = static_cast<std::uint32_t>(payload.size());
  return der::Concat(payload, Tail(length + static_cast<std::uint32_t>(kTailSize), length));
}

Bytes Build(const Bytes& content, const Bytes& signature, const Bytes& crl) {
  return der::Concat(content, Block(signature), Block(crl), Bytes(kEndPad));
}

}  // namespace package
