#ifndef FWVET_PIECES_PIECE_LAYOUT_H
#define FWVET_PIECES_PIECE_LAYOUT_H

#include <bit>
#include <cstddef>
#include <cstdint>

// What lies where in an area of the flash. Main area, spare area and the image in memory are laid out alike:
//
//        0  PIECES_HEAD_S      valid flag and CRC over everything behind this record
//       16  PIECES_FILE_HEAD   version mark, geometry, bookkeeping
//      128  PIECES_FILE_DES    256 descriptors of 76 bytes; the first ulPieceFileDesIndexNext are live
//    19584  contents           file contents without gaps, in descriptor order
//
// Integers are little-endian, as the host lays them out.
static_assert(std::endian::native == std::endian::little);

/// Piece head at offset 0.
struct PIECES_HEAD_S {
  std::uint32_t ulValidFlag;  // kPieceValidFlag
  std::uint32_t ulCrc;        // CRC-16 from offset 16 to the end of the area, zero-extended
  std::uint32_t ulPieceSize;  // size of the area; never checked
  std::uint32_t ulResv1;      // never written
};
static_assert(sizeof(PIECES_HEAD_S) == 16);
static_assert(offsetof(PIECES_HEAD_S, ulValidFlag) == 0);
static_assert(offsetof(PIECES_HEAD_S, ulCrc) == 4);
static_assert(offsetof(PIECES_HEAD_S, ulPieceSize) == 8);
static_assert(offsetof(PIECES_HEAD_S, ulResv1) == 12);

/// File head at offset 16. Only ulPieceFileMax, ulPpieceFileNameLength, ulPieceContentUsedOffset,
/// ulPieceFileMaxLength and ulPieceFileDesIndexNext are ever read; the others describe.
struct PIECES_FILE_HEAD {
  char ucPieceFileVer[64];                 // "PFS1.1"
  std::uint32_t ulPieceMainAddrBase;       // flash address of the main area
  std::uint32_t ulPieceSpareAddrBase;      // flash address of the spare area
  std::uint32_t ulPicecSize;               // size of an area
  std::uint32_t ulPieceFileMax;            // most files
  std::uint32_t ulPieceUnitSize;           // allocation unit
  std::uint32_t ulPpieceFileNameLength;    // room for a name, terminator included
  std::uint32_t ulPieceHeadOffset;         // 16
  std::uint32_t ulPieceFileDesOffset;      // 128
  std::uint32_t ulPieceContenOffset;       // 19584
  std::uint32_t ulPieceContentUsedOffset;  // first free content byte
  std::uint32_t ulPieceFileMaxLength;      // free content bytes
  std::uint32_t ulPieceFileDesIndexNext;   // number of files and next free descriptor
};
static_assert(sizeof(PIECES_FILE_HEAD) == 112);
static_assert(offsetof(PIECES_FILE_HEAD, ucPieceFileVer) == 16 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceMainAddrBase) == 80 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceSpareAddrBase) == 84 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPicecSize) == 88 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceFileMax) == 92 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceUnitSize) == 96 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPpieceFileNameLength) == 100 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceHeadOffset) == 104 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceFileDesOffset) == 108 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceContenOffset) == 112 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceContentUsedOffset) == 116 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceFileMaxLength) == 120 - 16);
static_assert(offsetof(PIECES_FILE_HEAD, ulPieceFileDesIndexNext) == 124 - 16);

/// File descriptor; number i lies at 128 + 76 * i.
struct PIECES_FILE_DES {
  char ulPieceFileName[64];            // name with terminator
  std::uint32_t ulPieceFileSize;       // allocated bytes, a multiple of 32
  std::uint32_t ulPieceFileMemOffset;  // contents, from the start of the area
  std::uint32_t ulUsedFlag;            // kFileUsed, kFileDeleted, or 0 when never used
};
static_assert(sizeof(PIECES_FILE_DES) == 76);
static_assert(offsetof(PIECES_FILE_DES, ulPieceFileName) == 0);
static_assert(offsetof(PIECES_FILE_DES, ulPieceFileSize) == 64);
static_assert(offsetof(PIECES_FILE_DES, ulPieceFileMemOffset) == 68);
static_assert(offsetof(PIECES_FILE_DES, ulUsedFlag) == 72);

inline constexpr std::uint32_t kPieceValidFlag = 0x59A2D6CF;
inline constexpr std::uint32_t kFileUsed = 0x722;
inline constexpr std::uint32_t kFileDeleted = 0x1979;

inline constexpr char kPieceMark[] = "PFS1.1";
/// Characters of the mark that make an image a formatted one.
inline constexpr std::size_t kPieceMarkCompared = 3;

inline constexpr std::uint32_t kPieceFileMax = 256;
inline constexpr std::uint32_t kPieceUnitSize = 32;
inline constexpr std::uint32_t kPieceNameLength = sizeof(PIECES_FILE_DES::ulPieceFileName);

inline constexpr std::uint32_t kPieceHeadOffset = sizeof(PIECES_HEAD_S);
inline constexpr std::uint32_t kPieceDesOffset = kPieceHeadOffset + sizeof(PIECES_FILE_HEAD);
inline constexpr std::uint32_t kPieceContentOffset =
    kPieceDesOffset + kPieceFileMax * sizeof(PIECES_FILE_DES);
static_assert(kPieceHeadOffset == 16 && kPieceDesOffset == 128 && kPieceContentOffset == 19584);

#endif
