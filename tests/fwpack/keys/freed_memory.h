#ifndef FWVET_TESTS_FWPACK_KEYS_FREED_MEMORY_H
#define FWVET_TESTS_FWPACK_KEYS_FREED_MEMORY_H

#include <cstddef>
#include <string>

namespace packtest {

/// While one lives, all that `delete` gets in this program is searched for a text. What OpenSSL frees goes
/// another way, and the stack is not looked at.
class FreedMemory {
 public:
  /// `text` must outlive this object. Only one may live at a time.
  explicit FreedMemory(const std::string& text);
  ~FreedMemory();
  FreedMemory(const FreedMemory&) = delete;
  FreedMemory& operator=(const FreedMemory&) = delete;

  /// How many blocks were freed that still held the text, and how many were looked at.
  [[nodiscard]] std::size_t with_text() const;
  [[nodiscard]] std::size_t searched() const;
};

}  // namespace packtest

#endif
