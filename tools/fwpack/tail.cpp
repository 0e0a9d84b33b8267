#include "tools/fwpack/tail.h"

#include <cstdint>
#include <ctime>
#include <limits>

#include "app/EfsLoader.h"
#include "pieces/make_crc.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

static_assert(sizeof(SEFS) == kTailSize);

constexpr std::uint16_t kFormatVersion = 1;

void PutU8(std::string& record, std::size_t at, std::uint8_t value) {
  record.at(at) = static_cast<char>(value);
}

void PutU16(std::string& record, std::size_t at, std::uint16_t value) {
  PutU8(record, at, static_cast<std::uint8_t>(value >> 8U));
  PutU8(record, at + 1, static_cast<std::uint8_t>(value & 0xFFU));
}

void PutU32(std::string& record, std::size_t at, std::uint32_t value) {
  PutU16(record, at, static_cast<std::uint16_t>(value >> 16U));
  PutU16(record, at + 2, static_cast<std::uint16_t>(value & 0xFFFFU));
}

std::uint16_t Crc(std::string_view bytes) {
  return CalCRC(reinterpret_cast<const unsigned char*>(bytes.data()),
                static_cast<std::uint32_t>(bytes.size()));
}

void PutBuildTime(std::string& record, UtcTime build_time) {
  const auto seconds = static_cast<std::time_t>(build_time);
  std::tm time{};
  if (gmtime_r(&seconds, &time) == nullptr) throw Error("the build time does not exist");
  PutU16(record, offsetof(SEFS, wYear), static_cast<std::uint16_t>(time.tm_year + 1900));
  PutU8(record, offsetof(SEFS, ucMonth), static_cast<std::uint8_t>(time.tm_mon + 1));
  PutU8(record, offsetof(SEFS, ucDay), static_cast<std::uint8_t>(time.tm_mday));
  PutU8(record, offsetof(SEFS, ucHour), static_cast<std::uint8_t>(time.tm_hour));
  PutU8(record, offsetof(SEFS, ucMinute), static_cast<std::uint8_t>(time.tm_min));
  PutU8(record, offsetof(SEFS, ucSecond), static_cast<std::uint8_t>(time.tm_sec));
}

}  // namespace

std::string MakeTail(std::string_view payload, UtcTime build_time) {
  if (payload.size() > std::numeric_limits<std::uint32_t>::max() - kTailSize) {
    throw Error("a block of more than 4 GiB does not fit its tail record");
  }
  const auto length = static_cast<std::uint32_t>(payload.size());
  std::string record(kTailSize, '\0');
  record.replace(0, 2, "QZ");
  PutU16(record, offsetof(SEFS, wEFSVersion), kFormatVersion);
  PutBuildTime(record, build_time);
  PutU32(record, offsetof(SEFS, dwTotalLen), length + static_cast<std::uint32_t>(kTailSize));
  PutU32(record, offsetof(SEFS, dwCodeLen), length);
  PutU16(record, offsetof(SEFS, wCodeCrc), Crc(payload));
  PutU16(record, offsetof(SEFS, wEFSCrc), Crc(std::string_view(record).substr(0, offsetof(SEFS, wEFSCrc))));
  return record;
}

std::string MakeBlock(std::string_view payload, UtcTime build_time) {
  return std::string(payload) + MakeTail(payload, build_time);
}

}  // namespace fwpack
