#ifndef FWVET_PIECES_PIECE_GUARDS_H
#define FWVET_PIECES_PIECE_GUARDS_H

#include <cstdlib>
#include <memory>

struct FreeBytes {
  void operator()(unsigned char* bytes) const noexcept { std::free(bytes); }
};

/// Bytes from malloc, given back when they go out of scope.
using HeapBytes = std::unique_ptr<unsigned char, FreeBytes>;

/// Returns `size` bytes with whatever they hold, or null.
inline HeapBytes AllocateBytes(unsigned long size) {
  return HeapBytes(static_cast<unsigned char*>(std::malloc(size != 0 ? size : 1)));
}

/// Returns `size` bytes of zeros, or null. A large block costs nothing until it is touched.
inline HeapBytes AllocateZeros(unsigned long size) {
  return HeapBytes(static_cast<unsigned char*>(std::calloc(size != 0 ? size : 1, 1)));
}

#endif
