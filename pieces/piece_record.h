#ifndef FWVET_PIECES_PIECE_RECORD_H
#define FWVET_PIECES_PIECE_RECORD_H

#include <cstdint>

/// Hands `code` to the error recorder with the caller's line and returns it: `return
/// RecordPieceError(code);`.
std::uint64_t RecordPieceError(std::uint64_t code, unsigned long line = __builtin_LINE());

#endif
