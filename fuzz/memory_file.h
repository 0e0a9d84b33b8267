#ifndef FWVET_FUZZ_MEMORY_FILE_H
#define FWVET_FUZZ_MEMORY_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

/// A file that lives in memory only and can be opened by its path, for code that takes nothing but a path.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] const char* path() const { return path_.c_str(); }
  /// Replaces the whole content.
  void SetContent(const std::uint8_t* data, std::size_t size) const;

 private:
  int fd_;
  std::string path_;
};

/// Sends standard output nowhere for the rest of the process; false when that fails.
bool SilenceStandardOutput();

#endif
