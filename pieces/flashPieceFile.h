#ifndef FWVET_PIECES_FLASHPIECEFILE_H
#define FWVET_PIECES_FLASHPIECEFILE_H

#include <cstdint>

// Named files in the piece image. A file is a contiguous region of a multiple of 32 bytes; files are packed
// without gaps in the order of their descriptors. Names are compared byte by byte and have at most 63
// characters; nothing keeps two files from having the same name, and the lower index is the one that is
// found.
//
// The image may come from anywhere and only its CRC vouches for it: an operation whose region lies outside
// the contents, or whose bookkeeping would wrap, is refused with PIECE_ERR_RANGE and changes nothing.

/// Attaches to the loaded image and formats it if it does not bear the mark "PFS", or if `ulForce` is 1. A
/// format with `ulForce` other than 0 is flushed. Fails with PIECE_ERR_NULL_PTR (no image),
/// PIECE_ERR_SEM_CREATE or the status of the flush.
std::uint64_t BSP_VfsPiecesFileInit(unsigned long ulForce);

/// Stores the index of the live file `pcPieceName` in `*pulFileIndex` (may be null) and returns 0; returns 1,
/// unrecorded, when there is none. Fails with PIECE_ERR_NULL_PTR or PIECE_ERR_RANGE (name too long).
std::uint64_t BSP_VfsPiecesFileLookUp(const char* pcPieceName, unsigned long* pulFileIndex);

/// Creates a file of `ulFileLength` zeros, rounded up to 32, in memory, and stores its index in
/// `*pulFileIndex` (may be null). Fails with PIECE_ERR_NULL_PTR, PIECE_ERR_RANGE or PIECE_ERR_NO_SPACE.
std::uint64_t BSP_VfsPiecesFileCreate(const char* pcPieceName, unsigned long ulFileLength,
                                      unsigned long* pulFileIndex);

/// Deletes a file; later files slide down. Flushes when `ulbDeleFlash` is 1, else works in memory only.
/// Returns 1 when there is no such file. Fails with PIECE_ERR_SEM_LOCK, PIECE_ERR_RANGE or the status of the
/// flush.
std::uint64_t BSP_VfsPiecesFileDelete(const char* pcPieceName, unsigned long ulbDeleFlash);

/// BSP_VfsPiecesFileDelete for a caller that already holds the piece semaphore.
std::uint64_t BSP_VfsPiecesFileDelete_Unlock(const char* pcPieceName, unsigned long ulbDeleFlash);

/// Writes `ulLen` bytes at `ulOffset` of a file and flushes. A missing file is created, a smaller one grows
/// (in place when it is the last, else by moving to the end); gaps read as zeros. Stores `ulLen` in
/// `*pulActLen` (may be null). Fails with PIECE_ERR_NULL_PTR, PIECE_ERR_SEM_LOCK, PIECE_ERR_RANGE,
/// PIECE_ERR_NO_SPACE, PIECE_ERR_NO_MEMORY or the status of the flush; when only the flush fails, memory
/// already holds the change.
std::uint64_t BSP_VfsPiecesFileWrite(const char* pcPieceName, unsigned long ulOffset,
                                     const unsigned char* pucRamBuff, unsigned long ulLen,
                                     unsigned long* pulActLen);

/// Reads `ulLen` bytes at `ulOffset` of a file from memory and stores `ulLen` in `*pulActLen` (may be null).
/// Fails with PIECE_ERR_NULL_PTR, PIECE_ERR_NOT_FOUND, or PIECE_ERR_RANGE when the span is not inside the
/// file's allocated size. A file whose descriptor points outside the image reads as success and leaves the
/// buffer as it is.
std::uint64_t BSP_VfsPiecesFileRead(const char* pcPieceName, unsigned long ulOffset,
                                    unsigned char* pucRamBuff, unsigned long ulLen, unsigned long* pulActLen);

#endif
