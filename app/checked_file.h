#ifndef FWVET_APP_CHECKED_FILE_H
#define FWVET_APP_CHECKED_FILE_H

#include <cstdio>
#include <cstdlib>
#include <memory>

// The file under check: its size and its bytes. Sizes and offsets are 32 bits wide, as the trailer's lengths
// are.

struct FileCloser {
  // Only ever read from: a failure to close loses nothing.
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

struct MallocFree {
  void operator()(void* block) const { std::free(block); }
};
using OwnedBytes = std::unique_ptr<unsigned char[], MallocFree>;

/// Stores the size of the file at `file_path`, truncated to 32 bits, in `*file_size`. Returns 0, or 1 when a
/// pointer is null, the path is empty or the file's status cannot be read; nothing is stored then.
unsigned int get_file_size(const char* file_path, unsigned int* file_size);

/// Opens a file for binary reading. Null when the path is null or the file cannot be opened.
OwnedFile OpenForReading(const char* path);

/// Allocates `length` bytes. Null only when they cannot be had: for length 0 there is a block too.
OwnedBytes AllocateBytes(std::size_t length);

/// Reads `length` bytes at `offset` of `file`, which is `file_size` bytes long, into `out`. False when the
/// span does not lie in the file or cannot be read whole.
bool ReadSpan(std::FILE* file, unsigned int file_size, unsigned int offset, void* out, unsigned int length);

/// Reads `length` bytes at `offset` into a new buffer `*out`. False and no buffer when the span does not lie
/// in the file, cannot be allocated or cannot be read whole. A span outside is refused before anything is
/// allocated: a length that lies must not cost memory.
bool ReadNewSpan(std::FILE* file, unsigned int file_size, unsigned int offset, unsigned int length,
                 OwnedBytes* out);

#endif
