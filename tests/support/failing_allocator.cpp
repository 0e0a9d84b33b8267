#include "tests/support/failing_allocator.h"

#include <cstdlib>
#include <stdexcept>
#include <unordered_set>

#include "platform/lumo_plt_impl.h"

namespace {

struct State {
  bool in_use = false;
  unsigned long calls = 0;
  unsigned long until_failure = 0;  // 0: none to come
  bool failed = false;
  std::unordered_set<void*> live;
};

State& TheState() {
  static State state;
  return state;
}

LUMO_ERROR_CODE CountingMalloc(void** ppByte, TEV_SIZE_T size) {
  State& state = TheState();
  ++state.calls;
  *ppByte = nullptr;
  if (state.until_failure != 0 && --state.until_failure == 0) {
    state.failed = true;
    return LUMO_ERR_MALLOC;
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) return LUMO_ERR_MALLOC;
  state.live.insert(block);
  *ppByte = block;
  return LUMO_OK;
}

void CountingFree(void* block) {
  // A block that is not ours, or freed twice, must not pass for a good release.
  if (TheState().live.erase(block) == 0) std::abort();
  std::free(block);
}

}  // namespace

FailingAllocator::FailingAllocator(unsigned long fail_at) {
  State& state = TheState();
  if (state.in_use) throw std::logic_error("there is one failing allocator at a time");
  state = State{.in_use = true, .calls = 0, .until_failure = fail_at, .failed = false, .live = {}};
}

FailingAllocator::~FailingAllocator() {
  State& state = TheState();
  for (void* block : state.live) std::free(block);
  state.live.clear();
  state.in_use = false;
}

LUMO_CALLBACK_FUNCS FailingAllocator::table() const {
  LUMO_CALLBACK_FUNCS funcs;
  if (lumo_set_callback_funcs(&funcs) != 0) throw std::logic_error("the platform fills no callback table");
  funcs.plt_funcs.sys_funcs.mem_funcs.malloc = CountingMalloc;
  funcs.plt_funcs.sys_funcs.mem_funcs.free = CountingFree;
  return funcs;
}

LUMO_CTX_CREATE_PARAMS FailingAllocator::params() const {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof params;
  params.callback_funcs = table();
  return params;
}

unsigned long FailingAllocator::calls() const {
  return TheState().calls;
}
unsigned long FailingAllocator::live() const {
  return TheState().live.size();
}
bool FailingAllocator::failed() const {
  return TheState().failed;
}

void FailingAllocator::FailAt(unsigned long fail_at) {
  TheState().until_failure = fail_at;
  TheState().failed = false;
}

void ThrowNoEndOfAllocations() {
  throw std::logic_error("the allocations did not come to an end");
}
