#include "pieces/flashPieceAdp.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <utility>

#include "pieces/flash_path.h"
#include "pieces/piece_guards.h"

namespace {

constexpr std::uint64_t kOk = 0;
constexpr std::uint64_t kFailed = 1;
constexpr mode_t kDeviceMode = 0660;
constexpr int kErasedByte = 0xFF;

class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() { Close(); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }
  void Close() {
    if (IsOpen()) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

bool SpanFits(std::uint64_t offset, std::uint64_t length) {
  return length <= kFlashCapacity && offset <= kFlashCapacity - length;
}

Descriptor OpenDevice(int flags) {
  Descriptor device(open(FlashDevicePath(), flags | O_CLOEXEC, kDeviceMode));
  if (!device.IsOpen()) std::printf("Cannot open '%s' for flashsimulate.\n", FlashDevicePath());
  return device;
}

// Opens the device at the start of a span. What comes back closed has failed and said why.
Descriptor OpenSpan(std::uint64_t offset, std::uint64_t length) {
  if (!SpanFits(offset, length)) {
    std::puts("flashsimulate oversize");
    return Descriptor();
  }
  Descriptor device = OpenDevice(O_RDWR);
  if (device.IsOpen() && lseek(device.get(), static_cast<off_t>(offset), SEEK_SET) == -1) {
    device.Close();
    std::printf("Cannot lseek '%s' for flashsimulate.\n", FlashDevicePath());
  }
  return device;
}

// Gives a new device its size and fills it with erased bytes.
std::uint64_t EraseNewDevice(const Descriptor& device) {
  if (ftruncate(device.get(), static_cast<off_t>(kFlashCapacity)) != 0) {
    std::printf("Cannot resize '%s' for flashsimulate", FlashDevicePath());
    return kFailed;
  }
  const HeapBytes erased = AllocateBytes(kFlashCapacity);
  if (erased == nullptr) {
    std::printf("Cannot malloc 0x%x for flashsimulate", static_cast<unsigned>(kFlashCapacity));
    return kFailed;
  }
  std::memset(erased.get(), kErasedByte, kFlashCapacity);
  if (write(device.get(), erased.get(), kFlashCapacity) != static_cast<ssize_t>(kFlashCapacity)) {
    std::printf("Cannot write 0x%x for flashsimulate", static_cast<unsigned>(kFlashCapacity));
    return kFailed;
  }
  return kOk;
}

}  // namespace

std::uint64_t FLASH_InitFlash() {
  if (access(FlashDevicePath(), F_OK) == 0) return kOk;
  Descriptor device = OpenDevice(O_RDWR | O_CREAT);
  if (!device.IsOpen() || EraseNewDevice(device) != kOk) return kFailed;
  device.Close();
  sync();
  return kOk;
}

std::uint64_t FLASH_WriteFlash(std::uint64_t u64GlobalOffset, const unsigned char* pData,
                               std::uint64_t u64DataLen) {
  if (pData == nullptr) return kFailed;
  Descriptor device = OpenSpan(u64GlobalOffset, u64DataLen);
  if (!device.IsOpen()) return kFailed;
  const ssize_t written = write(device.get(), pData, u64DataLen);
  device.Close();
  if (written != static_cast<ssize_t>(u64DataLen)) {
    std::printf("write offset 0x%llx size 0x%llx error.\n", static_cast<unsigned long long>(u64GlobalOffset),
                static_cast<unsigned long long>(u64DataLen));
    return kFailed;
  }
  // The layer above writes its two copies one after the other and relies on the first being on disk by then.
  sync();
  return kOk;
}

std::uint64_t FLASH_ReadFlash(std::uint64_t u64GlobalOffset, unsigned char* pOutBuf,
                              std::uint64_t u64ReadLen) {
  if (pOutBuf == nullptr) return kFailed;
  Descriptor device = OpenSpan(u64GlobalOffset, u64ReadLen);
  if (!device.IsOpen()) return kFailed;
  const ssize_t got = read(device.get(), pOutBuf, u64ReadLen);
  device.Close();
  if (got == -1) {
    std::printf("read offset 0x%llx size 0x%llx error.\n", static_cast<unsigned long long>(u64GlobalOffset),
                static_cast<unsigned long long>(u64ReadLen));
    return kFailed;
  }
  return kOk;
}
