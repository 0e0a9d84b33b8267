#ifndef FWVET_PIECES_CRC_H
#define FWVET_PIECES_CRC_H

#include <cstdint>

// CRC-16/XMODEM (polynomial 0x1021, start 0, nothing reflected, no final XOR), which guards every piece area,
// and a 32-bit checksum of the module's own. The tables are filled at run time by BSP_CrcInit.

/// Table of the 16-bit CRC; make_crc works on the same one.
extern std::uint16_t crc_tab[256];

/// Table of the 32-bit routine, the usual reflected CRC-32 one.
extern unsigned long crc32_tab[256];

/// Fills crc_tab and crc32_tab. To be called before anything else of this module.
void BSP_CrcInit();

/// Fills crc_tab.
void init_crc_tabl();

/// Fills crc32_tab.
void init_crc32_tabl();

/// Stores the low `dwDataWidth` bits (32 at most) of `dwReflect` in reverse order in `*pdwReflect`. Null:
/// nothing.
void data_reflect(std::uint32_t dwReflect, std::uint32_t dwDataWidth, std::uint32_t* pdwReflect);

/// Returns the 16-bit CRC of `ulLen` bytes at `pData`; 0 for null.
std::uint16_t BSP_Crc16Cal(const unsigned char* pData, unsigned long ulLen);

/// Returns the 32-bit checksum of `ulLen` bytes at `pData`, 0 for null. It starts at 0 and takes no final
/// XOR, so leading zero bytes do not change it, and it is not the CRC-32 that the table is known from.
std::uint32_t BSP_Crc32Cal(const unsigned char* pData, std::uint32_t ulLen);

/// Stores the 16-bit CRC of `ulLen` bytes at `pucBuf` in `*pusCksum`. Null `pusCksum`: nothing.
void BSP_CrcMakeCkSum(const unsigned char* pucBuf, std::uint32_t ulLen, std::uint16_t* pusCksum);

/// Returns 0 when the 16-bit CRC of `ulLen` bytes at `pucSrc` equals `ulCheckSum`, 0xFFFFFFFF otherwise: a
/// value with an upper bit set never matches, nor do bytes that are null.
std::uint32_t BSP_CrcCheckCkSum(const unsigned char* pucSrc, std::uint32_t ulLen, std::uint32_t ulCheckSum);

/// Continues the 16-bit CRC in `*checksum` over `length` bytes at `buffer`. Null or length 0 leave it as it
/// is.
void make_crc_checksume(const unsigned char* buffer, unsigned long length, std::uint16_t* checksum);

#endif
