#ifndef FWVET_APP_EFSLOADER_H
#define FWVET_APP_EFSLOADER_H

#include <cstddef>
#include <cstdint>

/// The file tail record that closes every block of a package. Stored big-endian; see EFS_ChangeEndian.
struct tagStructEFS {
  std::uint8_t aucMagicNum[2];  // "QZ"
  std::uint16_t wEFSVersion;
  std::uint8_t aucProductName[12];
  std::uint16_t wVersionV;
  std::uint16_t wVersionR;
  std::uint8_t aucVersionLLL[3];
  std::uint8_t ucEfsToolVer;
  std::uint16_t wVersionC;
  std::uint16_t wVersionSP;
  std::uint16_t wVersionB;
  std::uint16_t wVersionD;
  std::uint16_t wYear;
  std::uint8_t ucMonth;
  std::uint8_t ucDay;
  std::uint8_t ucHour;
  std::uint8_t ucMinute;
  std::uint8_t ucSecond;
  std::uint8_t ucTick;
  std::uint16_t wFileType;
  std::uint16_t wCodeType;
  std::uint16_t reserved2;
  std::uint8_t aucDesc[8];
  std::uint8_t padding[2];
  std::uint32_t dwTotalLen;  // length of the whole block, this record included
  std::uint32_t dwCodeLen;   // length of the payload at the block's start
  std::uint16_t wCodeCrc;    // carried, never checked
  std::uint16_t wEFSCrc;     // CRC-16 over the bytes in front of it
};
using SEFS = tagStructEFS;

static_assert(sizeof(SEFS) == 68);
static_assert(offsetof(SEFS, wVersionV) == 16 && offsetof(SEFS, ucEfsToolVer) == 23);
static_assert(offsetof(SEFS, wVersionC) == 24 && offsetof(SEFS, wYear) == 32 && offsetof(SEFS, ucTick) == 39);
static_assert(offsetof(SEFS, wFileType) == 40 && offsetof(SEFS, aucDesc) == 46);
static_assert(offsetof(SEFS, dwTotalLen) == 56 && offsetof(SEFS, dwCodeLen) == 60);
static_assert(offsetof(SEFS, wCodeCrc) == 64 && offsetof(SEFS, wEFSCrc) == 66);

/// Whether the record carries the magic; nothing else is looked at.
bool HasEfsMagic(const SEFS& tail);

/// Checks the 68 bytes at `pData` as stored, before any change of byte order: magic and CRC. Returns 0 when
/// they are valid, 0xFFFFFFFF otherwise and for null.
unsigned int EFS_CheckEfsTail(const void* pData);

/// Turns the record from stored to host order or back, in place. Prints a line for null.
void EFS_ChangeEndian(SEFS* pEfs);

/// Copies the last 68 bytes of the `u32FileLen` bytes at `pEfsData` to `*pEFS`, in stored order, and checks
/// them. Returns 0, or 1 with a printed line: for null, for 68 bytes or fewer (nothing is copied), for a bad
/// record.
unsigned int EFS_GetFileTailInRam(const void* pEfsData, unsigned int u32FileLen, SEFS* pEFS);

/// Reads the last 68 bytes of a file to `*pEFS`, in stored order, and checks them. A shorter file is read
/// from its start and checked over zeros. Returns 0, or 1 for null, an unreadable or empty file, a bad
/// record.
unsigned int EFS_GetFileTailInOS(const char* pFileName, SEFS* pEFS);

/// Stores a value in four bytes, the least significant first.
void EFS_WriteU32ToChar(unsigned int u32Data, unsigned char* pOut);

/// Prints every field as it stands in memory; meant for a record in host order. Prints a line for null.
void EFS_DumpEFSData(const SEFS* pEfs);

#endif
