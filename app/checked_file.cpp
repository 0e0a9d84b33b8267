#include "app/checked_file.h"

#include <sys/stat.h>

#include <cstdint>
#include <utility>

namespace {

bool LiesInside(unsigned int file_size, unsigned int offset, unsigned int length) {
  return std::uint64_t{offset} + length <= file_size;
}

}  // namespace

unsigned int get_file_size(const char* file_path, unsigned int* file_size) {
  if (file_path == nullptr || file_size == nullptr || file_path[0] == '\0') return 1;
  struct stat status {};
  if (stat(file_path, &status) != 0) return 1;
  *file_size = static_cast<unsigned int>(status.st_size);
  return 0;
}

OwnedFile OpenForReading(const char* path) {
  return OwnedFile(path == nullptr ? nullptr : std::fopen(path, "rb"));
}

OwnedBytes AllocateBytes(std::size_t length) {
  return OwnedBytes(static_cast<unsigned char*>(std::malloc(length == 0 ? 1 : length)));
}

bool ReadSpan(std::FILE* file, unsigned int file_size, unsigned int offset, void* out, unsigned int length) {
  if (!LiesInside(file_size, offset, length)) return false;
  if (std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0) return false;
  return std::fread(out, 1, length, file) == length;
}

bool ReadNewSpan(std::FILE* file, unsigned int file_size, unsigned int offset, unsigned int length,
                 OwnedBytes* out) {
  if (!LiesInside(file_size, offset, length)) return false;
  OwnedBytes bytes = AllocateBytes(length);
  if (!bytes || !ReadSpan(file, file_size, offset, bytes.get(), length)) return false;
  *out = std::move(bytes);
  return true;
}
