#ifndef FWVET_TOOLS_FWPACK_SECRET_BYTES_H
#define FWVET_TOOLS_FWPACK_SECRET_BYTES_H

#include <openssl/crypto.h>

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

// Bytes of which no copy may stay in memory: private keys, passphrases, PINs.
namespace fwpack {

/// Wipes all memory before it gives it back, also that which a container leaves behind when it grows.
template <class T>
struct WipingAllocator {
  using value_type = T;

  WipingAllocator() = default;
  template <class U>
  explicit WipingAllocator(const WipingAllocator<U>& /*other*/) noexcept {}

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* memory, std::size_t count) noexcept {
    OPENSSL_cleanse(memory, count * sizeof(T));
    std::allocator<T>().deallocate(memory, count);
  }

  friend bool operator==(const WipingAllocator& /*left*/, const WipingAllocator& /*right*/) { return true; }
};

/// No std::string: it keeps short texts in itself, past any allocator.
using SecretBytes = std::vector<char, WipingAllocator<char>>;

/// A view, to be used while the bytes live.
inline std::string_view TextOf(const SecretBytes& bytes) {
  return {bytes.data(), bytes.size()};
}

}  // namespace fwpack

#endif
