#include "tools/fwpack/check/package_blocks.h"

#include <cstdint>
#include <limits>

#include "app/EfsLoader.h"
#include "app/trailer_block.h"
#include "tools/fwpack/check/steps.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

constexpr char kMakeAgain[] = "make the package again with \"fwpack sign\" and copy it whole, in binary mode";
constexpr char kShorterContent[] = "keep the whole package below 4 GiB";
constexpr char kWholePackage[] =
    "give a whole package as \"fwpack sign\" makes it; nothing may be cut off or appended";

std::uint32_t SizeOf(const std::filesystem::path& package) {
  unsigned int size = 0;
  if (get_file_size(package.c_str(), &size) != 0) throw Error(package.string() + ": cannot be read");
  return size;
}

OwnedFile Open(const std::filesystem::path& package) {
  OwnedFile file = OpenForReading(package.c_str());
  if (!file) throw Error(package.string() + ": cannot be opened");
  return file;
}

struct Block {
  const char* step;
  const char* find_step;  // what the device is doing when it misses the tail record
  const char* name;
  std::uint32_t end;  // offset behind the block
};

BlockFault Fault(const Block& block, std::string explanation, const char* remedy) {
  return {.step = block.step, .where = block.name, .explanation = std::move(explanation), .remedy = remedy};
}

std::string Span(std::uint32_t start, std::uint32_t length) {
  return std::to_string(length) + " bytes at offset " + std::to_string(start);
}

// Judges the block as the device does; `next` becomes the offset where it starts.
std::optional<BlockFault> Judge(std::FILE* file, std::uint32_t size, const Block& block,
                                std::uint32_t* next) {
  SEFS tail{};
  const std::uint32_t at = block.end - static_cast<std::uint32_t>(sizeof tail);
  if (!ReadSpan(file, size, at, &tail, sizeof tail)) {
    return Fault(block, "there is no room for its tail record at offset " + std::to_string(at),
                 kWholePackage);
  }
  if (!HasEfsMagic(tail)) {
    BlockFault fault =
        Fault(block, "there is no tail record at offset " + std::to_string(at) + ": the magic is missing",
              kWholePackage);
    fault.step = block.find_step;
    return fault;
  }
  if (EFS_CheckEfsTail(&tail) != 0) {
    return Fault(block, "the tail record at offset " + std::to_string(at) + " is damaged: its CRC is wrong",
                 kMakeAgain);
  }
  EFS_ChangeEndian(&tail);
  *next = block.end - tail.dwTotalLen;
  if (std::uint64_t{*next} + tail.dwCodeLen > size) {
    return Fault(block, "its lengths lead out of the file: " + Span(*next, tail.dwCodeLen), kMakeAgain);
  }
  return std::nullopt;
}

// Far above what a device can use; what is longer is refused all the same and not worth a second copy.
constexpr unsigned int kMaxPayload = 16U << 20U;

std::string TextOf(const TrailerBlock& block) {
  return {block.payload.get(), block.payload.get() + block.length};
}

}  // namespace

std::optional<BlockFault> FindBlockFault(const std::filesystem::path& package) {
  const OwnedFile file = Open(package);
  const std::uint32_t size = SizeOf(package);
  const Block crl{steps::kCrlBlock, steps::kLastTail, "CRL block", size - kEndPadLength};
  if (std::filesystem::file_size(package) > std::numeric_limits<std::uint32_t>::max()) {
    return Fault(crl, "the device counts a file's bytes with 32 bits and this one is longer",
                 kShorterContent);
  }
  if (size < kEndPadLength + sizeof(SEFS)) {
    BlockFault fault = Fault(crl, "the file is too short to end in a tail record", kWholePackage);
    fault.step = steps::kLastTail;
    return fault;
  }
  std::uint32_t crl_start = 0;
  if (auto fault = Judge(file.get(), size, crl, &crl_start); fault) return fault;
  std::uint32_t signature_start = 0;
  return Judge(file.get(), size,
               {steps::kSignatureBlock, steps::kSignatureBlock, "signature block", crl_start},
               &signature_start);
}

std::optional<PackagePayloads> ReadPayloads(const std::filesystem::path& package) {
  const OwnedFile file = OpenForReading(package.c_str());
  unsigned int size = 0;
  if (!file || get_file_size(package.c_str(), &size) != 0) return std::nullopt;
  TrailerBlock crl;
  TrailerBlock signature;
  if (!ReadTrailerBlock(file.get(), size, size - kEndPadLength, &crl) ||
      !ReadTrailerBlock(file.get(), size, crl.start, &signature)) {
    return std::nullopt;
  }
  if (crl.length > kMaxPayload || signature.length > kMaxPayload) return std::nullopt;
  return PackagePayloads{.crl = TextOf(crl), .signature = TextOf(signature)};
}

}  // namespace fwpack
