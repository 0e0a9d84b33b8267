#include "tools/fwpack/view/block_view.h"

#include <cstring>

#include "pieces/make_crc.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/readable.h"
#include "tools/fwpack/tail.h"

namespace fwpack {
namespace {

std::uint16_t CrcOf(std::string_view bytes) {
  return CalCRC(reinterpret_cast<const unsigned char*>(bytes.data()),
                static_cast<std::uint32_t>(bytes.size()));
}

std::string Span(std::uint32_t offset, std::uint32_t length) {
  return std::to_string(length) + " bytes at offset " + std::to_string(offset);
}

void ReadPayload(PackageFile& file, BlockView* view) {
  const SEFS& record = view->tail->record;
  const auto start = static_cast<std::uint32_t>(view->offset);
  const std::uint64_t end = view->offset + record.dwCodeLen;
  if (end <= file.device_size() && record.dwCodeLen > kMaxPayload) {
    view->stop = {.offset = view->offset,
                  .reason = "the payload is longer than " + std::to_string(kMaxPayload) +
                            " bytes and was not read: " + Span(start, record.dwCodeLen)};
    return;
  }
  auto payload = file.Read(start, record.dwCodeLen);
  if (!payload) {
    view->stop = {
        .offset = view->tail->offset,
        .reason = "the tail record's lengths lead out of the file: " + Span(start, record.dwCodeLen)};
    return;
  }
  view->payload = std::move(*payload);
  view->tail->payload_crc_is_good = CrcOf(view->payload) == record.wCodeCrc;
}

}  // namespace

PackageFile::PackageFile(const std::filesystem::path& path) : path_(path) {
  RequireReadable(path);
  std::error_code error;
  size_ = std::filesystem::file_size(path, error);
  file_.open(path, std::ios::binary);
  if (error || !file_) throw Error(path.string() + ": cannot be opened for reading");
}

std::optional<std::string> PackageFile::Read(std::uint32_t offset, std::uint32_t length) {
  if (std::uint64_t{offset} + length > device_size()) return std::nullopt;
  std::string bytes(length, '\0');
  if (!file_.seekg(offset) || !file_.read(bytes.data(), static_cast<std::streamsize>(length)))
    throw Error(path_.string() + ": cannot be read at offset " + std::to_string(offset));
  return bytes;
}

TailView ViewTail(std::string_view stored, std::uint64_t offset) {
  TailView view;
  view.offset = offset;
  std::memcpy(&view.record, stored.data(), sizeof view.record);
  view.has_magic = HasEfsMagic(view.record);
  EFS_ChangeEndian(&view.record);
  view.crc_is_good = CrcOf(stored.substr(0, offsetof(SEFS, wEFSCrc))) == view.record.wEFSCrc;
  return view;
}

BlockView ViewBlock(PackageFile& file, std::uint32_t end) {
  BlockView view;
  const std::uint32_t at = end - static_cast<std::uint32_t>(kTailSize);
  view.offset = at;
  const auto stored = file.Read(at, static_cast<std::uint32_t>(kTailSize));
  if (!stored) {
    view.stop = {.offset = at, .reason = "there is no room for a tail record in the file"};
    return view;
  }
  view.tail = ViewTail(*stored, at);
  if (!view.tail->has_magic) {
    view.stop = {.offset = at, .reason = "there is no tail record: the magic is missing"};
    return view;
  }
  view.offset = end - view.tail->record.dwTotalLen;
  ReadPayload(file, &view);
  if (!view.tail->crc_is_good && !view.stop) {
    view.stop = {
        .offset = at,
        .reason = "the tail record's CRC is wrong: a device reads no further; its lengths were followed"};
  }
  return view;
}

}  // namespace fwpack
