#include "app/trailer_block.h"

#include "app/EfsLoader.h"

bool ReadTrailerBlock(std::FILE* file, unsigned int file_size, unsigned int block_end, TrailerBlock* block) {
  SEFS tail{};
  if (!ReadSpan(file, file_size, block_end - static_cast<unsigned int>(sizeof tail), &tail, sizeof tail))
    return false;
  if (EFS_CheckEfsTail(&tail) != 0) return false;
  EFS_ChangeEndian(&tail);
  block->start = block_end - tail.dwTotalLen;
  block->length = tail.dwCodeLen;
  return ReadNewSpan(file, file_size, block->start, block->length, &block->payload);
}
