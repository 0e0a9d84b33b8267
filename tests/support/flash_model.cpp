#include "tests/support/flash_model.h"

#include <algorithm>
#include <array>

#include "tests/support/test_package.h"

namespace {

using der::Bytes;

constexpr std::uint32_t kValid = 0x59A2D6CF;
constexpr std::uint32_t kUsed = 0x722;
constexpr std::size_t kVersionAt = 16;
constexpr std::size_t kUsedOffsetAt = 116;
constexpr std::size_t kFreeAt = 120;
constexpr std::size_t kCountAt = 124;
constexpr std::size_t kTableAt = 128;
constexpr std::size_t kDescriptorSize = 76;
constexpr std::size_t kMaxFiles = 256;
constexpr std::size_t kNameRoom = 64;
constexpr std::size_t kContentAt = 19584;
constexpr std::size_t kUnit = 32;
constexpr std::size_t kDeviceCrlRoom = 32768;

void Put(Bytes& bytes, std::size_t at, std::size_t value) {
  for (std::size_t i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t Get(const Bytes& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value |= static_cast<std::uint32_t>(bytes.at(at + i)) << (8 * i);
  return value;
}

void PutName(Bytes& bytes, std::size_t at, const std::string& name) {
  std::copy(name.begin(), name.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  bytes.at(at + name.size()) = 0;
}

std::string NameAt(const Bytes& bytes, std::size_t at) {
  const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  return {start, std::find(start, start + static_cast<std::ptrdiff_t>(kNameRoom), 0)};
}

void Stamp(Bytes& area) {
  const Bytes guarded(area.begin() + 16, area.end());
  Put(area, 0, kValid);
  Put(area, 4, package::Crc16(guarded, guarded.size()));
  Put(area, 8, area.size());
}

std::size_t DescriptorAt(std::size_t index) {
  return kTableAt + index * kDescriptorSize;
}

std::optional<std::size_t> FindIn(const Bytes& area, const std::string& name) {
  for (std::size_t i = 0; i < Get(area, kCountAt); ++i) {
    if (NameAt(area, DescriptorAt(i)) == name && Get(area, DescriptorAt(i) + 72) == kUsed)
      return DescriptorAt(i);
  }
  return std::nullopt;
}

}  // namespace

FlashModel::FlashModel() : image_(kAreaSize, 0xFF), area_(kAreaSize, 0xFF) {}

void FlashModel::Start() {
  stamped_ = true;
  image_ = area_;
  if (NameAt(image_, kVersionAt).substr(0, 3) != "PFS") Format();
}

void FlashModel::Format() {
  PutName(image_, kVersionAt, "PFS1.1");
  const std::array<std::size_t, 12> fields{0,
                                           kAreaSize,
                                           kAreaSize,
                                           kMaxFiles,
                                           kUnit,
                                           kNameRoom,
                                           16,
                                           kTableAt,
                                           kContentAt,
                                           kContentAt,
                                           kAreaSize - kContentAt,
                                           0};
  for (std::size_t i = 0; i < fields.size(); ++i) Put(image_, 80 + 4 * i, fields[i]);
  const auto table = image_.begin() + static_cast<std::ptrdiff_t>(kTableAt);
  std::fill(table, table + static_cast<std::ptrdiff_t>(kMaxFiles * kDescriptorSize), 0);
}

std::optional<std::size_t> FlashModel::Find(const std::string& name) const {
  return FindIn(image_, name);
}

std::size_t FlashModel::Create(const std::string& name, std::size_t length) {
  const std::size_t size = (length + kUnit - 1) / kUnit * kUnit;
  const std::size_t content = Get(image_, kUsedOffsetAt);
  const std::size_t descriptor = DescriptorAt(Get(image_, kCountAt));
  PutName(image_, descriptor, name);
  Put(image_, descriptor + 64, size);
  Put(image_, descriptor + 68, content);
  Put(image_, descriptor + 72, kUsed);
  Put(image_, kUsedOffsetAt, content + size);
  Put(image_, kFreeAt, Get(image_, kFreeAt) - size);
  Put(image_, kCountAt, Get(image_, kCountAt) + 1);
  const auto start = image_.begin() + static_cast<std::ptrdiff_t>(content);
  std::fill(start, start + static_cast<std::ptrdiff_t>(size), 0);
  return descriptor;
}

void FlashModel::Write(const std::string& name, const Bytes& record) {
  const std::optional<std::size_t> found = Find(name);
  const std::size_t descriptor = found ? *found : Create(name, record.size());
  const std::size_t content = Get(image_, descriptor + 68);
  std::copy(record.begin(), record.end(), image_.begin() + static_cast<std::ptrdiff_t>(content));
  area_ = image_;
  stamped_ = true;
}

Bytes FlashModel::Flash() const {
  Bytes area = area_;
  if (stamped_) Stamp(area);
  return der::Concat(area, area);
}

std::optional<Bytes> FileInArea(const Bytes& flash, std::size_t area_start, const std::string& name) {
  const auto start = flash.begin() + static_cast<std::ptrdiff_t>(area_start);
  const Bytes area(start, start + static_cast<std::ptrdiff_t>(FlashModel::kAreaSize));
  const std::optional<std::size_t> descriptor = FindIn(area, name);
  if (!descriptor) return std::nullopt;
  const auto content = area.begin() + static_cast<std::ptrdiff_t>(Get(area, *descriptor + 68));
  return Bytes(content, content + static_cast<std::ptrdiff_t>(Get(area, *descriptor + 64)));
}

Bytes DeviceCrlRecord(const Bytes& crl, std::uint32_t recorded_length) {
  Bytes record = crl;
  record.resize(kDeviceCrlRoom + 4);
  Put(record, kDeviceCrlRoom, recorded_length);
  return record;
}

Bytes DeviceCrlRecord(const Bytes& crl) {
  return DeviceCrlRecord(crl, static_cast<std::uint32_t>(crl.size()));
}

Bytes StartupRecord(std::uint32_t magic, std::uint32_t mode, std::uint32_t skip_crl, std::uint32_t crc) {
  Bytes record(16);
  Put(record, 0, magic);
  Put(record, 4, mode);
  Put(record, 8, skip_crl);
  Put(record, 12, crc);
  return record;
}
