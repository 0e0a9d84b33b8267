#include "tests/support/flash_device.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "pieces/flash_path.h"

// The linker sends calls of f to __wrap_f and calls of __real_f to f; the names are given as labels, because
// source code may not have names like these.
#define FWVET_REAL(symbol) __asm__("__real_" symbol)
#define FWVET_WRAP(symbol) __asm__("__wrap_" symbol)

void RealSync() FWVET_REAL("sync");
ssize_t RealWrite(int fd, const void* data, std::size_t size) FWVET_REAL("write");
ssize_t RealRead(int fd, void* data, std::size_t size) FWVET_REAL("read");
int RealOpen(const char* path, int flags, ...) FWVET_REAL("open");
int RealClose(int fd) FWVET_REAL("close");
off_t RealLseek(int fd, off_t offset, int whence) FWVET_REAL("lseek");
int RealFtruncate(int fd, off_t length) FWVET_REAL("ftruncate");
void* RealMalloc(std::size_t size) FWVET_REAL("malloc");
void* RealCalloc(std::size_t count, std::size_t size) FWVET_REAL("calloc");
int RealSemBInit(void** mutex, int state) FWVET_REAL("_Z12BSP_semBInitPPvi");
int RealSemLock(void* mutex, int timeout) FWVET_REAL("_Z11BSP_semLockPvi");
int RealSemUnlock(void* mutex) FWVET_REAL("_Z13BSP_semUnlockPv");
int RealTaskDelay(unsigned ms) FWVET_REAL("_Z13BSP_taskDelayj");
void RealApiErrRec(const char* file, unsigned long line, unsigned long code)
    FWVET_REAL("_Z13BSP_ApiErrRecPKcmm");

void TestSync() FWVET_WRAP("sync");
ssize_t TestWrite(int fd, const void* data, std::size_t size) FWVET_WRAP("write");
ssize_t TestRead(int fd, void* data, std::size_t size) FWVET_WRAP("read");
int TestOpen(const char* path, int flags, ...) FWVET_WRAP("open");
int TestClose(int fd) FWVET_WRAP("close");
off_t TestLseek(int fd, off_t offset, int whence) FWVET_WRAP("lseek");
int TestFtruncate(int fd, off_t length) FWVET_WRAP("ftruncate");
void* TestMalloc(std::size_t size) FWVET_WRAP("malloc");
void* TestCalloc(std::size_t count, std::size_t size) FWVET_WRAP("calloc");
int TestSemBInit(void** mutex, int state) FWVET_WRAP("_Z12BSP_semBInitPPvi");
int TestSemLock(void* mutex, int timeout) FWVET_WRAP("_Z11BSP_semLockPvi");
int TestSemUnlock(void* mutex) FWVET_WRAP("_Z13BSP_semUnlockPv");
int TestTaskDelay(unsigned ms) FWVET_WRAP("_Z13BSP_taskDelayj");
void TestApiErrRec(const char* file, unsigned long line, unsigned long code)
    FWVET_WRAP("_Z13BSP_ApiErrRecPKcmm");

namespace flash_device {
namespace {

constexpr unsigned kPieceFilePause = 10;

// Calls so far and the number of the one that is to fail (0: none). Plain numbers, ready before the first
// malloc.
struct CallState {
  unsigned seen = 0;
  unsigned failing = 0;
};
constinit std::array<CallState, kCalls> g_calls{};

struct ShortWrite {
  unsigned nth;
  std::size_t bytes;
  bool cuts_power;
};

struct State {
  std::string path;
  std::string journal;
  unsigned syncs = 0;
  std::optional<ShortWrite> short_write;
  std::vector<int> descriptors;
  std::vector<ErrorRecord> records;

  State();
};

State::State() {
  if (const char* from_environment = std::getenv("FWVET_TEST_FLASH")) path = from_environment;
  const char* cut = std::getenv("FWVET_TEST_POWER_CUT");
  if (cut == nullptr) return;
  char* colon = nullptr;
  const unsigned long nth = std::strtoul(cut, &colon, 10);
  if (nth == 0 || *colon != ':') std::abort();
  short_write = ShortWrite{static_cast<unsigned>(nth), std::strtoul(colon + 1, nullptr, 10), true};
}

State& TheState() {
  static State state;
  return state;
}

CallState& StateOf(Call call) {
  return g_calls[static_cast<std::size_t>(call)];
}

// Counts a call and says whether it is the one that is to fail.
bool MustFail(Call call) {
  CallState& state = StateOf(call);
  ++state.seen;
  return state.seen == state.failing;
}

bool IsFlash(int fd) {
  const auto& open_ones = TheState().descriptors;
  return std::find(open_ones.begin(), open_ones.end(), fd) != open_ones.end();
}

int FailWith(int error) {
  errno = error;
  return -1;
}

ssize_t WriteSome(int fd, const void* data, std::size_t size, const ShortWrite& order) {
  const ssize_t written = RealWrite(fd, data, std::min(size, order.bytes));
  if (order.cuts_power) _exit(kPowerCutStatus);
  return written;
}

void LogSync() {
  const char* log = std::getenv("FWVET_TEST_SYNC_LOG");
  if (log == nullptr) return;
  const int fd = RealOpen(log, O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (fd < 0 || RealWrite(fd, "sync\n", 5) != 5) std::abort();
  RealClose(fd);
}

}  // namespace

void UsePath(const std::string& path) {
  TheState().path = path;
}

void Reset() {
  g_calls = {};
  State& state = TheState();
  state.journal.clear();
  state.syncs = 0;
  state.short_write.reset();
  state.records.clear();
}

void FailNth(Call call, unsigned nth) {
  StateOf(call).failing = StateOf(call).seen + nth;
}

void ShortenNthWrite(unsigned nth, std::size_t bytes) {
  TheState().short_write = ShortWrite{StateOf(Call::kWrite).seen + nth, bytes, false};
}

void CutPowerAtWrite(unsigned nth, std::size_t bytes) {
  TheState().short_write = ShortWrite{StateOf(Call::kWrite).seen + nth, bytes, true};
}

unsigned Calls(Call call) {
  return StateOf(call).seen;
}
unsigned Syncs() {
  return TheState().syncs;
}
std::size_t OpenDescriptors() {
  return TheState().descriptors.size();
}
std::string Journal() {
  return TheState().journal;
}
std::vector<ErrorRecord> Records() {
  return TheState().records;
}

std::vector<std::uint64_t> RecordedCodes() {
  std::vector<std::uint64_t> codes;
  for (const ErrorRecord& record : TheState().records) codes.push_back(record.code);
  return codes;
}

}  // namespace flash_device

using flash_device::Call;
using flash_device::FailWith;
using flash_device::IsFlash;
using flash_device::MustFail;
using flash_device::TheState;

const char* FlashDevicePath() {
  if (TheState().path.empty()) {
    (void)std::fputs("the test has not said where its flash is\n", stderr);
    std::abort();
  }
  return TheState().path.c_str();
}

void TestSync() {
  ++TheState().syncs;
  TheState().journal += 'S';
  flash_device::LogSync();
}

ssize_t TestWrite(int fd, const void* data, std::size_t size) {
  if (!IsFlash(fd)) return RealWrite(fd, data, size);
  auto& state = TheState();
  const bool fails = MustFail(Call::kWrite);
  const auto order = state.short_write;
  const bool is_short = order && order->nth == flash_device::StateOf(Call::kWrite).seen;
  state.journal += fails || is_short ? 'w' : 'W';
  if (fails) return FailWith(EIO);
  return is_short ? flash_device::WriteSome(fd, data, size, *order) : RealWrite(fd, data, size);
}

ssize_t TestRead(int fd, void* data, std::size_t size) {
  if (IsFlash(fd) && MustFail(Call::kRead)) return FailWith(EIO);
  return RealRead(fd, data, size);
}

int TestOpen(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (TheState().path != path) return RealOpen(path, flags, mode);
  if (MustFail(Call::kOpen)) return FailWith(EACCES);
  const int fd = RealOpen(path, flags, mode);
  if (fd >= 0) TheState().descriptors.push_back(fd);
  return fd;
}

int TestClose(int fd) {
  std::erase(TheState().descriptors, fd);
  return RealClose(fd);
}

off_t TestLseek(int fd, off_t offset, int whence) {
  if (IsFlash(fd) && MustFail(Call::kLseek)) return FailWith(EINVAL);
  return RealLseek(fd, offset, whence);
}

int TestFtruncate(int fd, off_t length) {
  if (IsFlash(fd) && MustFail(Call::kFtruncate)) return FailWith(ENOSPC);
  return RealFtruncate(fd, length);
}

void* TestMalloc(std::size_t size) {
  return MustFail(Call::kAllocation) ? nullptr : RealMalloc(size);
}

void* TestCalloc(std::size_t count, std::size_t size) {
  return MustFail(Call::kAllocation) ? nullptr : RealCalloc(count, size);
}

int TestSemBInit(void** mutex, int state) {
  return MustFail(Call::kSemCreate) ? 1 : RealSemBInit(mutex, state);
}

int TestSemLock(void* mutex, int timeout) {
  const bool fails = MustFail(Call::kSemLock) || timeout != -1;
  TheState().journal += fails ? 'l' : 'L';
  return fails ? -1 : RealSemLock(mutex, timeout);
}

int TestSemUnlock(void* mutex) {
  TheState().journal += 'U';
  return RealSemUnlock(mutex);
}

int TestTaskDelay(unsigned ms) {
  TheState().journal += ms == flash_device::kPieceFilePause ? 'P' : 'p';
  return RealTaskDelay(ms);
}

void TestApiErrRec(const char* file, unsigned long line, unsigned long code) {
  TheState().records.push_back({file, line, code});
  RealApiErrRec(file, line, code);
}
