#ifndef FWVET_PIECES_FLASHPIECE_H
#define FWVET_PIECES_FLASHPIECE_H

#include "pieces/flashPieceArea.h"
#include "pieces/flashPieceFile.h"
#include "pieces/flashPieceShow.h"

// The piece file system keeps a few small named files in one image. The image lives in memory; every change
// writes it whole to the main area of the flash and then to the spare area, and at start-up the good copy
// repairs the other.
//
// Order at start: BSP_CrcInit, FLASH_InitFlash, BSP_VfsPiecesConfig, BSP_VfsPiecesInit.
//
// Statuses are 64 bits wide: 0, a code of piece_errors.def, or the 1 of a failed flash access. Failures are
// also handed to BSP_ApiErrRec with the file name "flashPiece.c" and a line. Not for use by several threads.

/// BSP_VfsPiecesAreaInit (any failure: 1), then BSP_VfsPiecesFileInit(0).
std::uint64_t BSP_VfsPiecesInit();

#endif
