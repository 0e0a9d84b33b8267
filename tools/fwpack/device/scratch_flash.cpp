#include "tools/fwpack/device/scratch_flash.h"

#include <fstream>
#include <system_error>

#include "pieces/crc.h"
#include "pieces/flashPiece.h"
#include "pieces/flashPieceAdp.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"

namespace fwpack {

ScratchFlash::ScratchFlash(const std::optional<std::string>& image) {
  if (!image) return;
  std::ofstream out(file(), std::ios::binary);
  out.write(image->data(), static_cast<std::streamsize>(image->size()));
  if (!out.flush()) throw Error(file().string() + ": cannot be written");
}

std::string ScratchFlash::Content() const {
  std::error_code absent;
  return std::filesystem::exists(file(), absent) ? ReadSmallFile(file(), kMaxFlashImage) : std::string();
}

int StartPieces() {
  BSP_CrcInit();
  if (FLASH_InitFlash() != 0) return 1;
  BSP_VfsPiecesConfig(0, kFlashCapacity);
  return BSP_VfsPiecesInit() == 0 ? 0 : 1;
}

}  // namespace fwpack
