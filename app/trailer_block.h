#ifndef FWVET_APP_TRAILER_BLOCK_H
#define FWVET_APP_TRAILER_BLOCK_H

#include <cstdio>

#include "app/checked_file.h"

// A package ends in two blocks and 32 bytes that nobody reads. Each block is a payload closed by a tail
// record:
//
//   signed content | signature ... tail | CRL ... tail | 32 end bytes

inline constexpr unsigned int kEndPadLength = 32;

/// One block's payload and its place in the file.
struct TrailerBlock {
  unsigned int start = 0;   // offset of the block, modulo 2^32
  unsigned int length = 0;  // of the payload
  OwnedBytes payload;
};

/// Reads the block that ends at offset `block_end` of the file. All offsets are taken modulo 2^32; whatever
/// then does not lie in the file is refused. False when the tail record or the payload cannot be read, or the
/// record is bad.
bool ReadTrailerBlock(std::FILE* file, unsigned int file_size, unsigned int block_end, TrailerBlock* block);

#endif
