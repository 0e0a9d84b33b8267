#include "platform/bounded.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kDone = 0;
constexpr int kRefused = 1;

// No object is larger; a size above it is a negative number in disguise and must not be cleared.
constexpr std::size_t kLargestObject = PTRDIFF_MAX;

bool IsKnown(const void* dest, std::size_t destMax) {
  return dest != nullptr && destMax != 0 && destMax <= kLargestObject;
}

int Refuse(void* dest, std::size_t destMax) {
  if (IsKnown(dest, destMax)) std::memset(dest, 0, destMax);
  return kRefused;
}

}  // namespace

int memset_s(void* dest, std::size_t destMax, int c, std::size_t count) {
  if (!IsKnown(dest, destMax) || count > destMax) return Refuse(dest, destMax);
  std::memset(dest, c, count);
  return kDone;
}

int memcpy_s(void* dest, std::size_t destMax, const void* src, std::size_t count) {
  if (!IsKnown(dest, destMax) || src == nullptr || count > destMax) return Refuse(dest, destMax);
  // A caller that lets the two overlap all the same gets the bytes, not undefined behaviour.
  std::memmove(dest, src, count);
  return kDone;
}

int strcpy_s(char* dest, std::size_t destMax, const char* src) {
  if (!IsKnown(dest, destMax) || src == nullptr) return Refuse(dest, destMax);
  const std::size_t length = strnlen(src, destMax);
  if (length == destMax) return Refuse(dest, destMax);
  std::memmove(dest, src, length + 1);
  return kDone;
}

int strcat_s(char* dest, std::size_t destMax, const char* src) {
  if (!IsKnown(dest, destMax) || src == nullptr) return Refuse(dest, destMax);
  const std::size_t used = strnlen(dest, destMax);
  const std::size_t length = strnlen(src, destMax - used);
  if (length == destMax - used) return Refuse(dest, destMax);
  std::memmove(dest + used, src, length);
  dest[used + length] = '\0';
  return kDone;
}

int vsnprintf_s(char* dest, std::size_t destMax, std::size_t count, const char* format,
                std::va_list arguments) {
  if (!IsKnown(dest, destMax) || format == nullptr || count > destMax) return Refuse(dest, destMax);
  const std::size_t room = count < destMax ? count + 1 : destMax;
  const int length = std::vsnprintf(dest, room, format, arguments);
  if (length < 0 || static_cast<std::size_t>(length) >= room) return Refuse(dest, destMax);
  return kDone;
}
