#include "fuzz/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

MemoryFile::MemoryFile()
    : fd_(memfd_create("fuzz", MFD_CLOEXEC)), path_("/proc/self/fd/" + std::to_string(fd_)) {
  if (fd_ < 0) std::abort();
}

MemoryFile::~MemoryFile() {
  close(fd_);
}

void MemoryFile::SetContent(const std::uint8_t* data, std::size_t size) const {
  if (ftruncate(fd_, 0) != 0 || pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
}

bool SilenceStandardOutput() {
  return std::freopen("/dev/null", "w", stdout) != nullptr;
}
