#include "tools/fwpack/tail.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <limits>
#include <vector>

#include "app/EfsLoader.h"
#include "pieces/make_crc.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

static_assert(sizeof(SEFS) == kTailSize);
static_assert(sizeof(SEFS::aucProductName) == kMaxProduct && sizeof(SEFS::aucDesc) == kMaxDescription);

constexpr std::uint16_t kFormatVersion = 1;
constexpr std::size_t kVersionParts = 7;
constexpr std::size_t kLllPart = 2;

bool IsPrintable(char c) {
  return c >= ' ' && c <= '~';
}

std::vector<std::string> SplitAtDots(const std::string& text) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (c == '.') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

void RequireText(const std::string& option, const std::string& text, std::size_t room) {
  if (text.size() > room) {
    throw Error(option + ": has " + std::to_string(text.size()) +
                " bytes where the tail record has room for " + std::to_string(room));
  }
  if (!std::all_of(text.begin(), text.end(), IsPrintable)) {
    throw Error(option + ": has other characters than printable ASCII");
  }
}

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

void PutVersion(std::string& record, const PackageVersion& version) {
  PutU16(record, offsetof(SEFS, wVersionV), version.v);
  PutU16(record, offsetof(SEFS, wVersionR), version.r);
  record.replace(offsetof(SEFS, aucVersionLLL), version.lll.size(), version.lll.data(), version.lll.size());
  PutU16(record, offsetof(SEFS, wVersionC), version.c);
  PutU16(record, offsetof(SEFS, wVersionSP), version.sp);
  PutU16(record, offsetof(SEFS, wVersionB), version.b);
  PutU16(record, offsetof(SEFS, wVersionD), version.d);
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

void PutFields(std::string& record, const TailFields& fields) {
  record.replace(offsetof(SEFS, aucProductName), fields.product.size(), fields.product);
  if (fields.version) PutVersion(record, *fields.version);
  PutBuildTime(record, fields.build_time);
  PutU16(record, offsetof(SEFS, wFileType), fields.file_type);
  PutU16(record, offsetof(SEFS, wCodeType), fields.code_type);
  record.replace(offsetof(SEFS, aucDesc), fields.description.size(), fields.description);
}

}  // namespace

PackageVersion ParsePackageVersion(const std::string& text) {
  const std::vector<std::string> parts = SplitAtDots(text);
  const bool has_lll = parts.size() == kVersionParts && parts[kLllPart].size() == 3 &&
                       std::all_of(parts[kLllPart].begin(), parts[kLllPart].end(), IsPrintable);
  if (!has_lll) {
    throw Error("--package-version: is not of the form V.R.LLL.C.SP.B.D with LLL three printable characters");
  }
  const auto number = [&parts](std::size_t part) {
    return ParseTailNumber("--package-version", parts[part]);
  };
  return {.v = number(0),
          .r = number(1),
          .lll = {parts[kLllPart][0], parts[kLllPart][1], parts[kLllPart][2]},
          .c = number(3),
          .sp = number(4),
          .b = number(5),
          .d = number(6)};
}

std::string FormatPackageVersion(const PackageVersion& version) {
  std::string text = std::to_string(version.v) + "." + std::to_string(version.r) + ".";
  text.append(version.lll.data(), version.lll.size());
  for (const std::uint16_t part : {version.c, version.sp, version.b, version.d}) {
    text.append(".").append(std::to_string(part));
  }
  return text;
}

std::uint16_t ParseTailNumber(const std::string& name, const std::string& text) {
  const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
  const char* first = text.data() + (is_hex ? 2 : 0);
  const char* last = text.data() + text.size();
  std::uint16_t value = 0;
  const auto [stop, error] = std::from_chars(first, last, value, is_hex ? 16 : 10);
  if (error != std::errc() || stop != last) {
    throw Error(name + ": '" + text + "' is no number from 0 to 65535 (0xFFFF)");
  }
  return value;
}

void RequireTailFields(const TailFields& fields) {
  RequireText("--product", fields.product, kMaxProduct);
  RequireText("--description", fields.description, kMaxDescription);
}

std::string MakeTail(std::string_view payload, const TailFields& fields) {
  if (payload.size() > std::numeric_limits<std::uint32_t>::max() - kTailSize) {
    throw Error("a block of more than 4 GiB does not fit its tail record");
  }
  RequireTailFields(fields);
  const auto length = static_cast<std::uint32_t>(payload.size());
  std::string record(kTailSize, '\0');
  record.replace(0, 2, "QZ");
  PutU16(record, offsetof(SEFS, wEFSVersion), kFormatVersion);
  PutFields(record, fields);
  PutU32(record, offsetof(SEFS, dwTotalLen), length + static_cast<std::uint32_t>(kTailSize));
  PutU32(record, offsetof(SEFS, dwCodeLen), length);
  PutU16(record, offsetof(SEFS, wCodeCrc), Crc(payload));
  PutU16(record, offsetof(SEFS, wEFSCrc), Crc(std::string_view(record).substr(0, offsetof(SEFS, wEFSCrc))));
  return record;
}

std::string MakeBlock(std::string_view payload, const TailFields& fields) {
  return std::string(payload) + MakeTail(payload, fields);
}

}  // namespace fwpack
