#ifndef FWVET_PIECES_PIECE_ERRORS_H
#define FWVET_PIECES_PIECE_ERRORS_H

#include <cstdint>

/// Statuses of the piece file system, 64 bits wide like every status of the flash.
enum PIECE_ERROR_CODE : std::uint64_t {
#define PIECE_ERROR(code, name, meaning) name = (code),
#include "pieces/piece_errors.def"
#undef PIECE_ERROR
};

/// Returns the name of a status ("PIECE_ERR_RANGE"), null for a number that is none.
const char* piece_error_name(std::uint64_t code);

/// Returns what a status means, one sentence in lower case, null for a number that is none.
const char* piece_error_meaning(std::uint64_t code);

#endif
