#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz/memory_file.h"
#include "pieces/crc.h"
#include "pieces/flashPiece.h"
#include "pieces/flash_path.h"

// A flash whose areas begin with the input: start-up with its repairs, every operation on files, the
// listings. The first octet tells whether main and spare area bear a valid stamp and whether they are alike.

namespace {

constexpr std::size_t kAreaSize = 0x5000;  // holds the descriptor table and a few files; small, to be quick
constexpr unsigned kStampMain = 1;
constexpr unsigned kStampSpare = 2;
constexpr unsigned kEraseSpare = 4;

const MemoryFile& Flash() {
  static const MemoryFile file;
  return file;
}

std::vector<std::uint8_t> AreaFrom(const std::uint8_t* data, std::size_t size, bool stamped) {
  std::vector<std::uint8_t> area(kAreaSize);
  std::copy_n(data, std::min(size, kAreaSize), area.begin());
  if (stamped) BSP_VfsPieceSet(area.data(), kAreaSize);
  return area;
}

void UseFiles() {
  std::uint8_t buffer[200] = {};
  for (const char* name : {"a", "crl"}) {
    unsigned long index = 0;
    if (BSP_VfsPiecesFileLookUp(name, &index) == 0 && index >= kPieceFileMax) std::abort();
    for (const unsigned long offset : {0ul, 31ul, 0xFFFFFFFFul}) {
      static_cast<void>(BSP_VfsPiecesFileRead(name, offset, buffer, sizeof buffer, nullptr));
    }
    BSP_VfsPiecesFileMore(name, 100);
    static_cast<void>(BSP_VfsPiecesFileWrite(name, 31, buffer, 40, nullptr));
    static_cast<void>(BSP_VfsPiecesFileCreate(name, 100, nullptr));
    static_cast<void>(BSP_VfsPiecesFileDelete(name, 0));
  }
}

}  // namespace

const char* FlashDevicePath() {
  return Flash().path();
}

// In place of the system's: the disks of this machine have no part in this.
extern "C" void sync() noexcept {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = SilenceStandardOutput();
  if (!quiet) std::abort();
  if (size == 0) return 0;
  BSP_CrcInit();
  std::vector<std::uint8_t> flash = AreaFrom(data + 1, size - 1, (data[0] & kStampMain) != 0);
  std::vector<std::uint8_t> spare = AreaFrom(data + 1, size - 1, (data[0] & kStampSpare) != 0);
  if ((data[0] & kEraseSpare) != 0) std::fill(spare.begin(), spare.end(), std::uint8_t{0xFF});
  flash.insert(flash.end(), spare.begin(), spare.end());
  Flash().SetContent(flash.data(), flash.size());
  BSP_VfsPiecesConfig(0, 2 * kAreaSize);
  if (BSP_VfsPiecesInit() == 0) {
    UseFiles();
    BSP_VfsPiecesFileShow();
    BSP_VfsPiecesFileDebug();
    BSP_VfsPiecesFileDebugMem();
  }
  BSP_VfsPiecesConfig(0, 0);  // releases the image
  return 0;
}
