#include "pieces/flashPieceShow.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "pieces/flashPieceAdp.h"
#include "pieces/flashPieceArea.h"
#include "pieces/flashPieceFile.h"
#include "pieces/piece_errors.h"
#include "pieces/piece_guards.h"
#include "pieces/piece_layout.h"

namespace {

constexpr std::uint32_t kErasedCount = 0xFFFFFFFF;
constexpr std::uint32_t kBytesPerLine = 8;

// Prints the files of an area copy. False ends the command.
using ListFiles = bool (*)(const unsigned char* area);

struct AreaListing {
  const char* read_failed;
  ListFiles list;
};

std::uint32_t FileCount(const unsigned char* area) {
  PIECES_FILE_HEAD head;
  std::memcpy(&head, area + kPieceHeadOffset, sizeof head);
  return head.ulPieceFileDesIndexNext;
}

const char* FlagText(const PIECES_FILE_DES& file) {
  return file.ulUsedFlag == kFileUsed ? "USED" : "DELETED";
}

// Hands each listed file to `print`, whatever the count claims: as long as a whole descriptor lies in the
// area.
template <class Print>
void ForEachFile(const unsigned char* area, Print print) {
  const unsigned long room = (g_ulPieceSize - kPieceDesOffset) / sizeof(PIECES_FILE_DES);
  const unsigned long count = std::min<unsigned long>(FileCount(area), room);
  for (unsigned long index = 0; index < count; ++index) {
    PIECES_FILE_DES file;
    std::memcpy(&file, area + kPieceDesOffset + index * sizeof file, sizeof file);
    print(static_cast<long>(index), file);
  }
}

void PrintText(const char* text) {
  (void)std::fputs(text, stdout);
}

void PrintFields(const PIECES_FILE_DES& file) {
  std::printf("\n\r Name   : %.64s", file.ulPieceFileName);
  std::printf("\n\r Size   : %d", static_cast<int>(file.ulPieceFileSize));
  std::printf("\n\r Offset : 0x%x", file.ulPieceFileMemOffset);
  std::printf("\n\r Flag   : %s", FlagText(file));
}

bool ShowMain(const unsigned char* area) {
  PrintText("\r\n************************MainArea*****************************");
  ForEachFile(area, [](long index, const PIECES_FILE_DES& file) {
    std::printf("\n\r NO     : %ld", index);
    PrintFields(file);
  });
  return true;
}

bool ShowSpare(const unsigned char* area) {
  PrintText("\r\n************************BackupArea*****************************");
  ForEachFile(area, [](long index, const PIECES_FILE_DES& file) {
    std::printf("\n\r\n\r NO     : %ld", index);
    PrintFields(file);
    PrintText("\n\r");
  });
  return true;
}

void PrintFileLine(const char* where, long index, const PIECES_FILE_DES& file) {
  std::printf("\r\n--+--%s NO=%ld, name=%.64s, size=%d, offset=0x%x, flag=%s\r\n", where, index,
              file.ulPieceFileName, static_cast<int>(file.ulPieceFileSize), file.ulPieceFileMemOffset,
              FlagText(file));
}

bool DebugMain(const unsigned char* area) {
  const std::uint32_t count = FileCount(area);
  std::printf("\r\n\r\n************************MainArea pFileHead->ulPieceFileDesIndexNext=%d******\r\n",
              static_cast<int>(count));
  if (count == kErasedCount) return false;
  ForEachFile(area, [](long index, const PIECES_FILE_DES& file) { PrintFileLine("MainArea", index, file); });
  PrintText("\r\n************************************************************");
  return true;
}

bool DebugSpare(const unsigned char* area) {
  const std::uint32_t count = FileCount(area);
  std::printf("\r\n************************BackupArea pFileHead->ulPieceFileDesIndexNext =%d******\r\n",
              static_cast<int>(count));
  if (count == kErasedCount) return false;
  ForEachFile(area,
              [](long index, const PIECES_FILE_DES& file) { PrintFileLine("BackupArea", index, file); });
  PrintText("\r\n************************************************************\r\n\r\n");
  return true;
}

bool ReadGoodArea(unsigned long address, unsigned char* area) {
  return FLASH_ReadFlash(address, area, g_ulPieceSize) == PIECE_OK &&
         BSP_VfsPieceCheck(area, g_ulPieceSize, nullptr) == PIECE_OK && g_ulPieceSize >= kPieceDesOffset;
}

bool ListArea(unsigned long address, unsigned char* area, const AreaListing& listing) {
  if (ReadGoodArea(address, area)) return listing.list(area);
  PrintText(listing.read_failed);
  return true;
}

void ListBothAreas(const AreaListing& main, const AreaListing& spare) {
  const HeapBytes main_area = AllocateZeros(g_ulPieceSize);
  if (main_area == nullptr) {
    PrintText("\r\n VfsPiecesFileShow malloc buffer0 ERROR \r\n ");
    return;
  }
  if (!ListArea(g_ulPieceAddrMain, main_area.get(), main)) return;
  const HeapBytes spare_area = AllocateZeros(g_ulPieceSize);
  if (spare_area == nullptr) {
    PrintText("\r\n VfsPiecesFileShow malloc buffer1 ERROR  \r\n ");
    return;
  }
  ListArea(g_ulPieceAddrSpare, spare_area.get(), spare);
}

void DumpBytes(const unsigned char* bytes, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i % kBytesPerLine == 0) std::putchar('\n');
    std::printf("%02x\t", bytes[i]);
  }
  std::putchar('\n');
}

}  // namespace

void BSP_VfsPiecesFileShow() {
  ListBothAreas({.read_failed = "\n\r\n\r MainArea FlashRead Fail", .list = ShowMain},
                {.read_failed = "\n\r\n\r BackupArea FlashRead Fail\n\r", .list = ShowSpare});
}

void BSP_VfsPiecesFileDebug() {
  ListBothAreas({.read_failed = "\n\r\n\r MainArea FlashRead Fail", .list = DebugMain},
                {.read_failed = "\n\r\n\r BackupArea FlashRead Fail", .list = DebugSpare});
}

void BSP_VfsPiecesFileDebugMem() {
  if (g_pstPieceFileHead == nullptr || g_pstPieceFileDes == nullptr) return;
  const std::uint32_t count = g_pstPieceFileHead->ulPieceFileDesIndexNext;
  std::printf("\r\n\r\n************************Mem g_pstPieceFileHead->ulPieceFileDesIndexNext=%d******",
              static_cast<int>(count));
  for (std::uint32_t index = 0; index < std::min(count, kPieceFileMax); ++index) {
    PrintFileLine("Mem", static_cast<long>(index), g_pstPieceFileDes[index]);
  }
}

void BSP_VfsPiecesFileMore(const char* pFileName, std::uint32_t u32FileSize) {
  if (pFileName == nullptr || u32FileSize == 0) return;
  const HeapBytes bytes = AllocateZeros(u32FileSize + 1UL);
  if (bytes == nullptr) return;
  if (BSP_VfsPiecesFileRead(pFileName, 0, bytes.get(), u32FileSize, nullptr) != PIECE_OK) {
    std::puts("\nFile read error!");
    return;
  }
  DumpBytes(bytes.get(), u32FileSize);
}
