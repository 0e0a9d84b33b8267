#include "pieces/flashPieceFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

#include "app/BspDebug.h"
#include "app/stub.h"
#include "pieces/flashPieceArea.h"
#include "pieces/piece_errors.h"
#include "pieces/piece_guards.h"
#include "pieces/piece_layout.h"
#include "pieces/piece_record.h"
#include "platform/bounded.h"

// Offsets of the image are 32 bits wide; sums of a few of them must not wrap.
static_assert(sizeof(unsigned long) == 8);

namespace {

constexpr unsigned long kPrintModule = 4;
constexpr unsigned long kPrintDetail = 2;
constexpr unsigned long kPrintAlways = 0xFFFFFFFF;

constexpr int kWaitWithoutLimit = -1;
constexpr int kSemCreateFailed = 1;
constexpr std::uint64_t kNoSuchFile = 1;
constexpr unsigned long kForceFormat = 1;
constexpr unsigned long kFlushDeletion = 1;

// Gives the piece semaphore back on every way out.
class SemaphoreHeld {
 public:
  SemaphoreHeld() = default;
  SemaphoreHeld(const SemaphoreHeld&) = delete;
  SemaphoreHeld& operator=(const SemaphoreHeld&) = delete;
  ~SemaphoreHeld() { BSP_semUnlock(g_ulSemPiece); }
};

bool IsAttached() {
  return g_pstPieceFileHead != nullptr && g_pstPieceFileDes != nullptr;
}

// The head may claim more files than the table has descriptors.
std::uint32_t LiveFiles() {
  return std::min(g_pstPieceFileHead->ulPieceFileDesIndexNext, kPieceFileMax);
}

bool NameFits(const char* name) {
  const std::uint32_t room = std::min(g_pstPieceFileHead->ulPpieceFileNameLength, kPieceNameLength);
  return strnlen(name, room) < room;
}

// A name that fills its field has no terminator and ends with the field.
std::size_t NameLength(const PIECES_FILE_DES& file) {
  return strnlen(file.ulPieceFileName, sizeof file.ulPieceFileName);
}

bool IsLiveFileNamed(const PIECES_FILE_DES& file, const char* name) {
  return file.ulUsedFlag == kFileUsed && std::strlen(name) == NameLength(file) &&
         std::memcmp(file.ulPieceFileName, name, NameLength(file)) == 0;
}

// Says whether a span lies in the contents part of the image.
bool IsInContents(unsigned long offset, unsigned long length) {
  return offset >= kPieceContentOffset && offset <= g_ulPieceSize && length <= g_ulPieceSize - offset;
}

bool CanRoundUp(unsigned long length) {
  return length <= std::numeric_limits<unsigned long>::max() - (kPieceUnitSize - 1);
}

unsigned long RoundUp(unsigned long length) {
  return (length + kPieceUnitSize - 1) / kPieceUnitSize * kPieceUnitSize;
}

void FormatImage() {
  PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const auto area_size = static_cast<std::uint32_t>(g_ulPieceSize);
  strcpy_s(head.ucPieceFileVer, sizeof head.ucPieceFileVer, kPieceMark);
  head.ulPieceMainAddrBase = static_cast<std::uint32_t>(g_ulPieceAddrMain);
  head.ulPieceSpareAddrBase = static_cast<std::uint32_t>(g_ulPieceAddrSpare);
  head.ulPicecSize = area_size;
  head.ulPieceFileMax = kPieceFileMax;
  head.ulPieceUnitSize = kPieceUnitSize;
  head.ulPpieceFileNameLength = kPieceNameLength;
  head.ulPieceHeadOffset = kPieceHeadOffset;
  head.ulPieceFileDesOffset = kPieceDesOffset;
  head.ulPieceContenOffset = kPieceContentOffset;
  head.ulPieceContentUsedOffset = kPieceContentOffset;
  head.ulPieceFileMaxLength = area_size - kPieceContentOffset;
  head.ulPieceFileDesIndexNext = 0;
  std::memset(g_pstPieceFileDes, 0, kPieceFileMax * sizeof(PIECES_FILE_DES));
}

// Says whether a live file can be taken out: its region ends inside the used contents, and neither the free
// bytes nor the offset of a later file would wrap.
bool CanRemove(unsigned long index) {
  const PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const PIECES_FILE_DES& file = g_pstPieceFileDes[index];
  const unsigned long size = file.ulPieceFileSize;
  const unsigned long end = file.ulPieceFileMemOffset + size;
  if (!IsInContents(file.ulPieceFileMemOffset, size)) return false;
  if (head.ulPieceContentUsedOffset > g_ulPieceSize || end > head.ulPieceContentUsedOffset) return false;
  if (head.ulPieceFileMaxLength + size > std::numeric_limits<std::uint32_t>::max()) return false;
  return std::all_of(g_pstPieceFileDes + index + 1, g_pstPieceFileDes + LiveFiles(),
                     [size](const PIECES_FILE_DES& later) { return later.ulPieceFileMemOffset >= size; });
}

// Slides the contents behind a file over it. What lay just below the old end stays there as it was.
void CompactContents(const PIECES_FILE_DES& file) {
  const unsigned long end = file.ulPieceFileMemOffset + static_cast<unsigned long>(file.ulPieceFileSize);
  const unsigned long behind = g_pstPieceFileHead->ulPieceContentUsedOffset - end;
  std::memset(g_pucBuffTmp, 0, g_ulPieceSize);
  memcpy_s(g_pucBuffTmp, g_ulPieceSize, g_pucPieceBuff + end, behind);
  unsigned char* hole = g_pucPieceBuff + file.ulPieceFileMemOffset;
  memcpy_s(hole, g_ulPieceSize - file.ulPieceFileMemOffset, g_pucBuffTmp, behind);
}

// A name is copied up to its terminator; the old name's tail stays behind it.
void CopyName(PIECES_FILE_DES& target, const PIECES_FILE_DES& source) {
  const std::size_t length = NameLength(source);
  memcpy_s(target.ulPieceFileName, sizeof target.ulPieceFileName, source.ulPieceFileName, length);
  if (length < sizeof target.ulPieceFileName) target.ulPieceFileName[length] = '\0';
}

// Moves the later descriptors one slot down. Flags stay: those of live slots are equal.
void ShiftDescriptors(unsigned long index, std::uint32_t removed) {
  const std::uint32_t count = LiveFiles();
  for (unsigned long later = index + 1; later < count; ++later) {
    PIECES_FILE_DES& target = g_pstPieceFileDes[later - 1];
    CopyName(target, g_pstPieceFileDes[later]);
    target.ulPieceFileMemOffset = g_pstPieceFileDes[later].ulPieceFileMemOffset - removed;
    target.ulPieceFileSize = g_pstPieceFileDes[later].ulPieceFileSize;
  }
}

// Marks the slot behind the old last one as deleted. Images have always been written this way, even from a
// full table, whose next slot lies at the start of the contents.
void MarkSlotBehindLast() {
  const unsigned long slot = g_pstPieceFileHead->ulPieceFileDesIndexNext;
  const unsigned long flag =
      kPieceDesOffset + slot * sizeof(PIECES_FILE_DES) + offsetof(PIECES_FILE_DES, ulUsedFlag);
  if (slot > kPieceFileMax || flag + sizeof kFileDeleted > g_ulPieceSize) return;
  std::memcpy(g_pucPieceBuff + flag, &kFileDeleted, sizeof kFileDeleted);
}

std::uint64_t RemoveFile(unsigned long index, unsigned long flush) {
  if (!CanRemove(index)) return RecordPieceError(PIECE_ERR_RANGE);
  PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const std::uint32_t size = g_pstPieceFileDes[index].ulPieceFileSize;
  CompactContents(g_pstPieceFileDes[index]);
  ShiftDescriptors(index, size);
  MarkSlotBehindLast();
  head.ulPieceFileDesIndexNext -= 1;
  head.ulPieceContentUsedOffset -= size;
  head.ulPieceFileMaxLength += size;
  return flush == kFlushDeletion ? BSP_VfsPiecesMemToFlash() : std::uint64_t{PIECE_OK};
}

// Makes the last file large enough to end at `end`.
std::uint64_t GrowLastFile(PIECES_FILE_DES& file, unsigned long end) {
  PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const unsigned long old_size = file.ulPieceFileSize;
  if (end > old_size + head.ulPieceFileMaxLength) return RecordPieceError(PIECE_ERR_NO_SPACE);
  const unsigned long size = RoundUp(end);
  const unsigned long added = size - old_size;
  if (added > head.ulPieceFileMaxLength || !IsInContents(file.ulPieceFileMemOffset, size) ||
      !IsInContents(head.ulPieceContentUsedOffset, added)) {
    return RecordPieceError(PIECE_ERR_RANGE);
  }
  std::memset(g_pucPieceBuff + file.ulPieceFileMemOffset + old_size, 0, added);
  file.ulPieceFileSize = static_cast<std::uint32_t>(size);
  head.ulPieceFileMaxLength -= static_cast<std::uint32_t>(added);
  head.ulPieceContentUsedOffset += static_cast<std::uint32_t>(added);
  return PIECE_OK;
}

// Moves a file that is not the last one to the end, large enough to end at `end`. `index` follows it. The
// space that the file leaves is not counted as free. Once the old file is deleted, only a lack of descriptors
// can stop it.
std::uint64_t RelocateFile(const char* name, unsigned long end, unsigned long* index) {
  const PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const PIECES_FILE_DES& file = g_pstPieceFileDes[*index];
  const unsigned long old_size = file.ulPieceFileSize;
  if (end > head.ulPieceFileMaxLength) return RecordPieceError(PIECE_ERR_NO_SPACE);
  if (!CanRemove(*index) || !IsInContents(head.ulPieceContentUsedOffset - old_size, RoundUp(end))) {
    return RecordPieceError(PIECE_ERR_RANGE);
  }
  const HeapBytes saved = AllocateBytes(old_size);
  if (saved == nullptr) return RecordPieceError(PIECE_ERR_NO_MEMORY);
  memcpy_s(saved.get(), old_size, g_pucPieceBuff + file.ulPieceFileMemOffset, old_size);
  std::uint64_t rc = BSP_VfsPiecesFileDelete_Unlock(name, 0);
  if (rc == PIECE_OK) rc = BSP_VfsPiecesFileCreate(name, end, index);
  if (rc != PIECE_OK) return RecordPieceError(rc);
  const unsigned long offset = g_pstPieceFileDes[*index].ulPieceFileMemOffset;
  memcpy_s(g_pucPieceBuff + offset, g_ulPieceSize - offset, saved.get(), old_size);
  return PIECE_OK;
}

// Finds or makes the file that a write of `length` bytes at `offset` goes to, large enough for it.
std::uint64_t MakeRoom(const char* name, unsigned long offset, unsigned long length, unsigned long* index) {
  if (length > std::numeric_limits<unsigned long>::max() - offset) return RecordPieceError(PIECE_ERR_RANGE);
  const unsigned long end = offset + length;
  if (BSP_VfsPiecesFileLookUp(name, index) != PIECE_OK) {
    const std::uint64_t rc = BSP_VfsPiecesFileCreate(name, end, index);
    return rc == PIECE_OK ? rc : RecordPieceError(rc);
  }
  PIECES_FILE_DES& file = g_pstPieceFileDes[*index];
  if (end <= file.ulPieceFileSize) {
    return IsInContents(file.ulPieceFileMemOffset, end) ? std::uint64_t{PIECE_OK}
                                                        : RecordPieceError(PIECE_ERR_RANGE);
  }
  const bool is_last = *index + 1 == g_pstPieceFileHead->ulPieceFileDesIndexNext;
  return is_last ? GrowLastFile(file, end) : RelocateFile(name, end, index);
}

}  // namespace

std::uint64_t BSP_VfsPiecesFileInit(unsigned long ulForce) {
  if (g_pucPieceBuff == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (g_ulSemPiece == nullptr && BSP_semBInit(&g_ulSemPiece, 1) == kSemCreateFailed) {
    BSP_Print(kPrintModule, kPrintAlways, "\n create piece sem failed!");
    return RecordPieceError(PIECE_ERR_SEM_CREATE);
  }
  g_pstPieceFileHead = reinterpret_cast<PIECES_FILE_HEAD*>(g_pucPieceBuff + kPieceHeadOffset);
  g_pstPieceFileDes = reinterpret_cast<PIECES_FILE_DES*>(g_pucPieceBuff + kPieceDesOffset);
  const bool has_mark = std::memcmp(g_pstPieceFileHead->ucPieceFileVer, kPieceMark, kPieceMarkCompared) == 0;
  if (ulForce != kForceFormat && has_mark) return PIECE_OK;
  FormatImage();
  if (ulForce == 0) return PIECE_OK;
  const std::uint64_t rc = BSP_VfsPiecesMemToFlash();
  return rc == PIECE_OK ? rc : RecordPieceError(rc);
}

std::uint64_t BSP_VfsPiecesFileLookUp(const char* pcPieceName, unsigned long* pulFileIndex) {
  if (!IsAttached() || pcPieceName == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (!NameFits(pcPieceName)) return RecordPieceError(PIECE_ERR_RANGE);
  for (std::uint32_t index = 0; index < LiveFiles(); ++index) {
    if (!IsLiveFileNamed(g_pstPieceFileDes[index], pcPieceName)) continue;
    if (pulFileIndex != nullptr) *pulFileIndex = index;
    return PIECE_OK;
  }
  return kNoSuchFile;
}

std::uint64_t BSP_VfsPiecesFileCreate(const char* pcPieceName, unsigned long ulFileLength,
                                      unsigned long* pulFileIndex) {
  if (!IsAttached() || pcPieceName == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (!NameFits(pcPieceName) || !CanRoundUp(ulFileLength)) return RecordPieceError(PIECE_ERR_RANGE);
  PIECES_FILE_HEAD& head = *g_pstPieceFileHead;
  const unsigned long size = RoundUp(ulFileLength);
  const std::uint32_t index = head.ulPieceFileDesIndexNext;
  if (size > head.ulPieceFileMaxLength || index >= std::min(head.ulPieceFileMax, kPieceFileMax)) {
    BSP_Print(kPrintModule, kPrintDetail, "\n\r BSP_VfsPiecesFileCreate: 0x%x, 0x%x, 0x%x",
              head.ulPieceFileMaxLength, static_cast<unsigned>(size), index);
    return RecordPieceError(PIECE_ERR_NO_SPACE);
  }
  const std::uint32_t offset = head.ulPieceContentUsedOffset;
  if (!IsInContents(offset, size)) return RecordPieceError(PIECE_ERR_RANGE);

  PIECES_FILE_DES& file = g_pstPieceFileDes[index];
  strcpy_s(file.ulPieceFileName, sizeof file.ulPieceFileName, pcPieceName);
  file.ulUsedFlag = kFileUsed;
  file.ulPieceFileMemOffset = offset;
  file.ulPieceFileSize = static_cast<std::uint32_t>(size);
  head.ulPieceFileMaxLength -= file.ulPieceFileSize;
  head.ulPieceContentUsedOffset += file.ulPieceFileSize;
  head.ulPieceFileDesIndexNext += 1;
  if (pulFileIndex != nullptr) *pulFileIndex = index;
  std::memset(g_pucPieceBuff + offset, 0, size);
  return PIECE_OK;
}

std::uint64_t BSP_VfsPiecesFileDelete(const char* pcPieceName, unsigned long ulbDeleFlash) {
  unsigned long index = 0;
  if (BSP_VfsPiecesFileLookUp(pcPieceName, &index) != PIECE_OK) return kNoSuchFile;
  if (BSP_semLock(g_ulSemPiece, kWaitWithoutLimit) != 0) return RecordPieceError(PIECE_ERR_SEM_LOCK);
  const SemaphoreHeld held;
  return RemoveFile(index, ulbDeleFlash);
}

std::uint64_t BSP_VfsPiecesFileDelete_Unlock(const char* pcPieceName, unsigned long ulbDeleFlash) {
  unsigned long index = 0;
  if (BSP_VfsPiecesFileLookUp(pcPieceName, &index) != PIECE_OK) return kNoSuchFile;
  return RemoveFile(index, ulbDeleFlash);
}

std::uint64_t BSP_VfsPiecesFileWrite(const char* pcPieceName, unsigned long ulOffset,
                                     const unsigned char* pucRamBuff, unsigned long ulLen,
                                     unsigned long* pulActLen) {
  if (g_pucPieceBuff == nullptr || pucRamBuff == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  if (BSP_semLock(g_ulSemPiece, kWaitWithoutLimit) != 0) return RecordPieceError(PIECE_ERR_SEM_LOCK);
  const SemaphoreHeld held;
  unsigned long index = 0;
  if (auto rc = MakeRoom(pcPieceName, ulOffset, ulLen, &index); rc != PIECE_OK) return rc;
  const unsigned long target = g_pstPieceFileDes[index].ulPieceFileMemOffset + ulOffset;
  if (ulLen != 0) memcpy_s(g_pucPieceBuff + target, g_ulPieceSize - target, pucRamBuff, ulLen);
  if (pulActLen != nullptr) *pulActLen = ulLen;
  return BSP_VfsPiecesMemToFlash();
}

std::uint64_t BSP_VfsPiecesFileRead(const char* pcPieceName, unsigned long ulOffset,
                                    unsigned char* pucRamBuff, unsigned long ulLen,
                                    unsigned long* pulActLen) {
  if (g_pucPieceBuff == nullptr || pucRamBuff == nullptr) return RecordPieceError(PIECE_ERR_NULL_PTR);
  unsigned long index = 0;
  if (BSP_VfsPiecesFileLookUp(pcPieceName, &index) != PIECE_OK) return RecordPieceError(PIECE_ERR_NOT_FOUND);
  const PIECES_FILE_DES& file = g_pstPieceFileDes[index];
  if (ulOffset > file.ulPieceFileSize || ulLen > file.ulPieceFileSize - ulOffset) {
    BSP_Print(kPrintModule, kPrintDetail, "\n\r BSP_VfsPiecesFileRead 0x%x, 0x%x, 0x%x",
              static_cast<unsigned>(ulOffset), static_cast<unsigned>(ulLen), file.ulPieceFileSize);
    return RecordPieceError(PIECE_ERR_RANGE);
  }
  // A file that points outside the image keeps the buffer as it is and still counts as read.
  BSP_VfsPiecesRead(pucRamBuff, file.ulPieceFileMemOffset + ulOffset, ulLen);
  if (pulActLen != nullptr) *pulActLen = ulLen;
  return PIECE_OK;
}
