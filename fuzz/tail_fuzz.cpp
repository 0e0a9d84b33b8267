#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "app/EfsLoader.h"
#include "fuzz/memory_file.h"

// The tail record of a file that is in memory, and of the same file on disk.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  static const bool quiet = SilenceStandardOutput();
  if (!quiet) std::abort();
  SEFS in_memory{};
  SEFS on_disk{};
  const unsigned status = EFS_GetFileTailInRam(data, static_cast<unsigned>(size), &in_memory);
  file.SetContent(data, size);
  const unsigned diskStatus = EFS_GetFileTailInOS(file.path(), &on_disk);
  if (size > sizeof(SEFS)) {
    if (status != diskStatus || std::memcmp(&in_memory, &on_disk, sizeof(SEFS)) != 0) std::abort();
    if (status != (EFS_CheckEfsTail(data + size - sizeof(SEFS)) == 0 ? 0u : 1u)) std::abort();
  }
  EFS_ChangeEndian(&in_memory);
  EFS_DumpEFSData(&in_memory);
  EFS_ChangeEndian(&in_memory);
  if (size > sizeof(SEFS) && std::memcmp(&in_memory, &on_disk, sizeof(SEFS)) != 0) std::abort();
  return 0;
}
