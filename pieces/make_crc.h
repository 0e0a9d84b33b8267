#ifndef FWVET_PIECES_MAKE_CRC_H
#define FWVET_PIECES_MAKE_CRC_H

#include <cstdint>

// The 16-bit CRC of the piece areas as one self-contained call, for those who have not run BSP_CrcInit.

/// Fills crc_tab, with what init_crc_tabl puts there.
void init_crc_tab();

/// Stores the 16-bit CRC of `count` bytes at `buffer` in `*crc`, whatever it held; needs crc_tab. The CRC of
/// null is 0; null `crc`: nothing.
void make_crc(const unsigned char* buffer, std::uint32_t count, std::uint16_t* crc);

/// Returns the 16-bit CRC of `count` bytes at `ptr`, 0 for null. Fills crc_tab first, on every call.
std::uint16_t CalCRC(const unsigned char* ptr, std::uint32_t count);

#endif
