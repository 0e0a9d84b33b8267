#ifndef FWVET_PIECES_FLASHPIECESHOW_H
#define FWVET_PIECES_FLASHPIECESHOW_H

#include <cstdint>

// Looks into the flash, printed on standard output with the line breaks of the board's console. Whatever
// counts and names the flash holds, nothing outside an area is read: a listing ends with the last whole
// descriptor of the area, and a name prints at most its 64 characters.

/// Lists the files of both flash areas, one field a line.
void BSP_VfsPiecesFileShow();

/// Lists the files of both flash areas, one file a line, with the file count. A count of 0xFFFFFFFF, as
/// erased flash has it, ends the listing.
void BSP_VfsPiecesFileDebug();

/// Lists the files of the image in memory, one file a line; nothing when there is none.
void BSP_VfsPiecesFileDebugMem();

/// Dumps the first `u32FileSize` bytes of a file in hexadecimal, eight a line; nothing for a null name or
/// size 0.
void BSP_VfsPiecesFileMore(const char* pFileName, std::uint32_t u32FileSize);

#endif
