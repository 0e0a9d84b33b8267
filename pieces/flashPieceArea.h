#ifndef FWVET_PIECES_FLASHPIECEAREA_H
#define FWVET_PIECES_FLASHPIECEAREA_H

#include <cstdint>

#include "pieces/piece_errors.h"
#include "pieces/piece_layout.h"

// The two areas of the flash and the image in memory: geometry, heads, access to the image, flush and repair.
// The files in the image are flashPieceFile's; flashPiece starts both.

/// Flash addresses of the two areas and the size of each, set by BSP_VfsPiecesConfig.
extern unsigned long g_ulPieceAddrMain;
extern unsigned long g_ulPieceAddrSpare;
extern unsigned long g_ulPieceSize;

/// The image, g_ulPieceSize bytes from malloc; null before BSP_VfsPiecesAreaInit and after some of its
/// failures.
extern unsigned char* g_pucPieceBuff;

/// Scratch of the same size in which deletion compacts the contents; lives and dies with the image.
extern unsigned char* g_pucBuffTmp;

/// File head and descriptor table inside the image; null until BSP_VfsPiecesFileInit.
extern PIECES_FILE_HEAD* g_pstPieceFileHead;
extern PIECES_FILE_DES* g_pstPieceFileDes;

/// The piece semaphore.
extern void* g_ulSemPiece;

/// Sets the geometry: the region of `ulSize` bytes at flash address `ulPieceAddr` is halved into main and
/// spare area. No checks. An image of another size, if one is loaded, is released: it would not fit any more.
void BSP_VfsPiecesConfig(unsigned long ulPieceAddr, unsigned long ulSize);

/// Stamps a valid head on the `ulSize` bytes at `pucAddr`: CRC, size and valid flag. Fails with
/// PIECE_ERR_NULL_PTR, or PIECE_ERR_RANGE when the bytes do not even hold a head.
std::uint64_t BSP_VfsPieceSet(unsigned char* pucAddr, unsigned long ulSize);

/// Checks the head of the `ulSize` bytes at `pucAddr` and, when it is good, stores the CRC in `*pulCrc` (may
/// be null). Fails with PIECE_ERR_BAD_MAGIC (silently), PIECE_ERR_BAD_CRC (printed and recorded),
/// PIECE_ERR_NULL_PTR or PIECE_ERR_RANGE (as BSP_VfsPieceSet). The size field is not compared.
std::uint64_t BSP_VfsPieceCheck(const unsigned char* pucAddr, unsigned long ulSize, unsigned long* pulCrc);

/// Copies `ulLen` bytes at image offset `ulOffset` into `pucRamBuff`. Fails with PIECE_ERR_NULL_PTR, or
/// PIECE_ERR_RANGE for a span that is not inside offset 16 to g_ulPieceSize.
std::uint64_t BSP_VfsPiecesRead(unsigned char* pucRamBuff, unsigned long ulOffset, unsigned long ulLen);

/// Copies `ulLen` bytes from `pucRamBuff` into the image in memory. Fails like BSP_VfsPiecesRead.
std::uint64_t BSP_VfsPiecesMemWrite(unsigned long ulOffset, const unsigned char* pucRamBuff,
                                    unsigned long ulLen);

/// BSP_VfsPiecesMemWrite followed by BSP_VfsPiecesMemToFlash.
std::uint64_t BSP_VfsPiecesWrite(unsigned long ulOffset, const unsigned char* pucRamBuff,
                                 unsigned long ulLen);

/// Stamps the image and writes it to the main and then to the spare area. When main fails, spare is left
/// alone, so that one good copy always stays. Fails with PIECE_ERR_NULL_PTR or the status of the flash.
std::uint64_t BSP_VfsPiecesMemToFlash();

/// Loads the image from the main area, or the spare area when main is bad, and rewrites whichever area is bad
/// or differs; main wins over a good spare area. Two bad areas are stamped as they are and will be formatted.
/// Fails with PIECE_ERR_RANGE (an area that cannot hold the descriptor table), PIECE_ERR_NO_MEMORY, or the
/// status of the flash when nothing can be read (no image is left then) or the repair cannot be written.
std::uint64_t BSP_VfsPiecesAreaInit();

#endif
