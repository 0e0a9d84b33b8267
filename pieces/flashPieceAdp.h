#ifndef FWVET_PIECES_FLASHPIECEADP_H
#define FWVET_PIECES_FLASHPIECEADP_H

#include <cstdint>

// The flash, simulated by one file of 1 MiB (its path: FlashDevicePath). Every call opens the file afresh and
// closes it again. The status is 0 for success and 1 for any failure, which has then printed a line on
// standard output; only a null buffer is refused silently. A span whose end lies above 1 MiB, or wraps, is
// refused with "flashsimulate oversize" before the file is touched.

/// Capacity of the flash in bytes.
inline constexpr std::uint64_t kFlashCapacity = 0x100000;

/// Creates the file with every byte 0xFF and mode 0660 (less the umask) and flushes it to disk. A file that
/// exists is left as it is, whatever its size.
std::uint64_t FLASH_InitFlash();

/// Writes `u64DataLen` bytes from `pData` at `u64GlobalOffset`. The bytes are on disk when it returns 0; a
/// failed write may have changed part of the span.
std::uint64_t FLASH_WriteFlash(std::uint64_t u64GlobalOffset, const unsigned char* pData,
                               std::uint64_t u64DataLen);

/// Reads `u64ReadLen` bytes at `u64GlobalOffset` into `pOutBuf`. What lies behind the end of a shorter file
/// is left as it was in the buffer, and that is no failure.
std::uint64_t FLASH_ReadFlash(std::uint64_t u64GlobalOffset, unsigned char* pOutBuf,
                              std::uint64_t u64ReadLen);

#endif
