#include "tests/fwpack/keys/freed_memory.h"

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

const std::string* g_text = nullptr;
std::size_t g_with_text = 0;
std::size_t g_searched = 0;

void Free(void* memory) {
  if (memory != nullptr && g_text != nullptr) {
    ++g_searched;
    const std::size_t length = malloc_usable_size(memory);
    if (memmem(memory, length, g_text->data(), g_text->size()) != nullptr) ++g_with_text;
  }
  std::free(memory);
}

}  // namespace

// In place of the library's for the whole program; all other forms come to these.
void* operator new(std::size_t size) {
  void* memory = std::calloc(1, size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  Free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  Free(memory);
}

namespace packtest {

FreedMemory::FreedMemory(const std::string& text) {
  g_text = &text;
  g_with_text = 0;
  g_searched = 0;
}

FreedMemory::~FreedMemory() {
  g_text = nullptr;
}

std::size_t FreedMemory::with_text() const {
  return g_with_text;
}

std::size_t FreedMemory::searched() const {
  return g_searched;
}

}  // namespace packtest
