#include "pieces/flashPieceArea.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "app/BspDebug.h"
#include "app/stub.h"
#include "pieces/crc.h"
#include "pieces/flashPieceAdp.h"
#include "pieces/piece_guards.h"
#include "pieces/piece_record.h"
#include "platform/bounded.h"

unsigned long g_ulPieceAddrMain = 0;
unsigned long g_ulPieceAddrSpare = 0;
unsigned long g_ulPieceSize = 0;
unsigned char* g_pucPieceBuff = nullptr;
unsigned char* g_pucBuffTmp = nullptr;
PIECES_FILE_HEAD* g_pstPieceFileHead = nullptr;
PIECES_FILE_DES* g_pstPieceFileDes = nullptr;
void* g_ulSemPiece = nullptr;

namespace {

constexpr unsigned long kPrintModule = 4;
constexpr unsigned long kPrintError = 1;
constexpr unsigned long kPrintTrace = 2;

// Rest that a real flash needs around a write.
constexpr unsigned kFlashPauseMs = 10;

void PauseForFlash() {
  BSP_taskDelay(kFlashPauseMs);
}

// Everything that works on the image counts on the descriptor table being in it, and its fields have 32 bits.
bool AreaSizeIsUsable() {
  return g_ulPieceSize >= kPieceContentOffset && g_ulPieceSize <= std::numeric_limits<std::uint32_t>::max();
}

void ReleaseImage() {
  std::free(g_pucPieceBuff);
  std::free(g_pucBuffTmp);
  g_pucPieceBuff = nullptr;
  g_pucBuffTmp = nullptr;
  g_pstPieceFileHead = nullptr;
  g_pstPieceFileDes = nullptr;
}

// The low half of an address, as the console's %X takes it.
unsigned PrintableAddress(const void* address) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
}

// Says whether `function` may move `length` bytes between `buffer` and the image at `offset`. The piece head
// in front of the image is out of reach.
std::uint64_t CheckAccess(const char* function, const unsigned char* buffer, unsigned long offset,
                          unsigned long length) {
  if (buffer == nullptr || g_pucPieceBuff == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (offset < kPieceHeadOffset || offset > g_ulPieceSize || length > g_ulPieceSize - offset) {
    BSP_Print(kPrintModule, kPrintError,
              "\r\n %s :: Length error, pucRamBuff :0x%X, Offset :0x%X, Len :0x%X!", function,
              PrintableAddress(buffer), static_cast<unsigned>(offset), static_cast<unsigned>(length));
    return RecordPieceError(PIECE_ERR_RANGE);
  }
  BSP_Print(kPrintModule, kPrintTrace, "\r\n %s :: pucRamBuff :0x%X, Offset :0x%X, Len :0x%X!", function,
            PrintableAddress(buffer), static_cast<unsigned>(offset), static_cast<unsigned>(length));
  return PIECE_OK;
}

std::uint64_t WriteImage(const char* function, unsigned long offset, const unsigned char* source,
                         unsigned long length) {
  if (auto rc = CheckAccess(function, source, offset, length); rc != PIECE_OK) return rc;
  if (length != 0) memcpy_s(g_pucPieceBuff + offset, g_ulPieceSize - offset, source, length);
  return PIECE_OK;
}

// Makes sure that the image and the scratch exist and clears the image, so that a flash that is too short
// leaves zeros and not old bytes in it. Returns room for the spare copy, or null with nothing left allocated.
HeapBytes AllocateBuffers() {
  if (g_pucPieceBuff != nullptr) {
    std::memset(g_pucPieceBuff, 0, g_ulPieceSize);
  } else {
    g_pucPieceBuff = AllocateZeros(g_ulPieceSize).release();
  }
  HeapBytes spare = AllocateZeros(g_ulPieceSize);
  const bool have_both = g_pucPieceBuff != nullptr && spare != nullptr;
  if (have_both && g_pucBuffTmp == nullptr) g_pucBuffTmp = AllocateBytes(g_ulPieceSize).release();
  if (have_both && g_pucBuffTmp != nullptr) return spare;
  ReleaseImage();
  return nullptr;
}

bool LoadMain(unsigned long* crc) {
  const std::uint64_t status = FLASH_ReadFlash(g_ulPieceAddrMain, g_pucPieceBuff, g_ulPieceSize);
  if (status != PIECE_OK) {
    std::printf("\r\nFLASH_ReadFlash(main) fail! ulRet = 0x%lx", static_cast<unsigned long>(status));
    return false;
  }
  return BSP_VfsPieceCheck(g_pucPieceBuff, g_ulPieceSize, crc) == PIECE_OK;
}

bool SpareMatches(unsigned char* spare, unsigned long main_crc) {
  const std::uint64_t read_status = FLASH_ReadFlash(g_ulPieceAddrSpare, spare, g_ulPieceSize);
  if (read_status != PIECE_OK) {
    std::printf("\r\nFLASH_ReadFlash(back) fail! ulRet = 0x%lx", static_cast<unsigned long>(read_status));
    return false;
  }
  // The usual start: a copy that equals the good main area needs no check of its own.
  if (std::memcmp(spare, g_pucPieceBuff, g_ulPieceSize) == 0) return true;
  unsigned long spare_crc = 0;
  const std::uint64_t status = BSP_VfsPieceCheck(spare, g_ulPieceSize, &spare_crc);
  if (status != PIECE_OK) {
    std::printf("\r\nBSP_VfsPieceCheck BackupArea fail! ulRet = 0x%lx", static_cast<unsigned long>(status));
    return false;
  }
  return spare_crc == main_crc;
}

// Rewrites one area from the image. The caller has released what it no longer needs.
std::uint64_t RepairArea(unsigned long address) {
  PauseForFlash();
  const std::uint64_t status = FLASH_WriteFlash(address, g_pucPieceBuff, g_ulPieceSize);
  PauseForFlash();
  if (status != PIECE_OK) return RecordPieceError(status);
  RecordPieceError(PIECE_INFO_AREA_REPAIRED);
  return PIECE_OK;
}

// Main is good and in the image: the spare area has to follow it.
std::uint64_t SettleSpare(HeapBytes spare, unsigned long main_crc) {
  if (SpareMatches(spare.get(), main_crc)) return PIECE_OK;
  spare.reset();
  return RepairArea(g_ulPieceAddrSpare);
}

// Both copies are lost. What the main area held is stamped, so that the areas are consistent again; without
// the mark it will be formatted. A write that fails here fails again, and is reported, at the first change.
std::uint64_t ResetAreas() {
  BSP_VfsPieceSet(g_pucPieceBuff, g_ulPieceSize);
  PauseForFlash();
  FLASH_WriteFlash(g_ulPieceAddrMain, g_pucPieceBuff, g_ulPieceSize);
  PauseForFlash();
  FLASH_WriteFlash(g_ulPieceAddrSpare, g_pucPieceBuff, g_ulPieceSize);
  PauseForFlash();
  RecordPieceError(PIECE_INFO_AREAS_RESET);
  return PIECE_OK;
}

// Main is bad: the spare area, if it is good, becomes the image and the main area.
std::uint64_t RestoreMain(const HeapBytes& spare) {
  const std::uint64_t status = FLASH_ReadFlash(g_ulPieceAddrSpare, spare.get(), g_ulPieceSize);
  if (status != PIECE_OK) {
    std::printf("\r\nFLASH_ReadFlash(backup1) fail! ulRet = 0x%lx", static_cast<unsigned long>(status));
    ReleaseImage();
    return RecordPieceError(status);
  }
  if (BSP_VfsPieceCheck(spare.get(), g_ulPieceSize, nullptr) != PIECE_OK) return ResetAreas();
  memcpy_s(g_pucPieceBuff, g_ulPieceSize, spare.get(), g_ulPieceSize);
  return RepairArea(g_ulPieceAddrMain);
}

}  // namespace

void BSP_VfsPiecesConfig(unsigned long ulPieceAddr, unsigned long ulSize) {
  if ((ulSize >> 1) != g_ulPieceSize) ReleaseImage();
  g_ulPieceAddrMain = ulPieceAddr;
  g_ulPieceSize = ulSize >> 1;
  g_ulPieceAddrSpare = ulPieceAddr + ulSize / 2;
}

std::uint64_t BSP_VfsPieceSet(unsigned char* pucAddr, unsigned long ulSize) {
  if (pucAddr == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (ulSize < sizeof(PIECES_HEAD_S)) return RecordPieceError(PIECE_ERR_RANGE);
  PIECES_HEAD_S head;
  std::memcpy(&head, pucAddr, sizeof head);
  head.ulCrc = BSP_Crc16Cal(pucAddr + kPieceHeadOffset, ulSize - kPieceHeadOffset);
  head.ulPieceSize = static_cast<std::uint32_t>(ulSize);
  head.ulValidFlag = kPieceValidFlag;
  std::memcpy(pucAddr, &head, sizeof head);
  return PIECE_OK;
}

std::uint64_t BSP_VfsPieceCheck(const unsigned char* pucAddr, unsigned long ulSize, unsigned long* pulCrc) {
  if (pucAddr == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (ulSize < sizeof(PIECES_HEAD_S)) return RecordPieceError(PIECE_ERR_RANGE);
  PIECES_HEAD_S head;
  std::memcpy(&head, pucAddr, sizeof head);
  if (head.ulValidFlag != kPieceValidFlag) return PIECE_ERR_BAD_MAGIC;
  const std::uint32_t crc = BSP_Crc16Cal(pucAddr + kPieceHeadOffset, ulSize - kPieceHeadOffset);
  if (crc != head.ulCrc) {
    std::printf("\r\nusCrcCheck = 0x%x;pstPieceHead->ulCrc = 0x%x", crc, head.ulCrc);
    return RecordPieceError(PIECE_ERR_BAD_CRC);
  }
  if (pulCrc != nullptr) *pulCrc = crc;
  return PIECE_OK;
}

std::uint64_t BSP_VfsPiecesRead(unsigned char* pucRamBuff, unsigned long ulOffset, unsigned long ulLen) {
  if (auto rc = CheckAccess(__func__, pucRamBuff, ulOffset, ulLen); rc != PIECE_OK) return rc;
  if (ulLen != 0) memcpy_s(pucRamBuff, ulLen, g_pucPieceBuff + ulOffset, ulLen);
  return PIECE_OK;
}

std::uint64_t BSP_VfsPiecesMemWrite(unsigned long ulOffset, const unsigned char* pucRamBuff,
                                    unsigned long ulLen) {
  return WriteImage(__func__, ulOffset, pucRamBuff, ulLen);
}

std::uint64_t BSP_VfsPiecesWrite(unsigned long ulOffset, const unsigned char* pucRamBuff,
                                 unsigned long ulLen) {
  if (auto rc = WriteImage(__func__, ulOffset, pucRamBuff, ulLen); rc != PIECE_OK) return rc;
  return BSP_VfsPiecesMemToFlash();
}

std::uint64_t BSP_VfsPiecesMemToFlash() {
  if (g_pucPieceBuff == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  BSP_VfsPieceSet(g_pucPieceBuff, g_ulPieceSize);
  PauseForFlash();
  // An interrupted flush leaves main newer than spare, never the reverse: repair prefers main.
  for (const unsigned long address : {g_ulPieceAddrMain, g_ulPieceAddrSpare}) {
    const std::uint64_t status = FLASH_WriteFlash(address, g_pucPieceBuff, g_ulPieceSize);
    PauseForFlash();
    if (status != PIECE_OK) return RecordPieceError(status);
  }
  return PIECE_OK;
}

std::uint64_t BSP_VfsPiecesAreaInit() {
  if (!AreaSizeIsUsable()) return RecordPieceError(PIECE_ERR_RANGE);
  HeapBytes spare = AllocateBuffers();
  if (spare == nullptr) return RecordPieceError(PIECE_ERR_NO_MEMORY);
  unsigned long main_crc = 0;
  if (LoadMain(&main_crc)) return SettleSpare(std::move(spare), main_crc);
  return RestoreMain(spare);
}
