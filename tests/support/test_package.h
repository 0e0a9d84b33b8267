#ifndef FWVET_TESTS_SUPPORT_TEST_PACKAGE_H
#define FWVET_TESTS_SUPPORT_TEST_PACKAGE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/support/der_builder.h"

// Software files as the device reads them: content, signature block, CRL block, 32 end bytes. The tails and
// their CRC are made here without any code of the tool.
namespace package {

using der::Bytes;

constexpr std::size_t kTailSize = 68;
constexpr std::size_t kEndPad = 32;
constexpr std::size_t kTotalLenAt = 56;
constexpr std::size_t kCodeLenAt = 60;

/// CRC-16 with polynomial 0x1021, most significant bit first, from 0.
std::uint16_t Crc16(const Bytes& data, std::size_t length);

/// A tail record with these lengths and a right CRC.
Bytes Tail(std::uint32_t total_len, std::uint32_t code_len);
/// Puts the right CRC into a tail record that a test has changed.
void Reseal(Bytes& tail);
/// Writes a big-endian 32-bit value into `bytes`.
void PutU32(Bytes& bytes, std::size_t at, std::uint32_t value);

/// Payload and tail.
Bytes Block(const Bytes& payload);

/// The whole file.
Bytes Build(const Bytes& content, const Bytes& signature, const Bytes& crl);

}  // namespace package

#endif
