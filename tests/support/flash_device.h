#ifndef FWVET_TESTS_SUPPORT_FLASH_DEVICE_H
#define FWVET_TESTS_SUPPORT_FLASH_DEVICE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The flash of a test: a file of its own, on which every call can be made to fail. The machine's disks are
// never synced. Only calls that reach the flash file are counted or disturbed, all others go through.
//
// A program that links this takes its first orders from the environment:
//   FWVET_TEST_FLASH      path of the flash file
//   FWVET_TEST_SYNC_LOG   file that gets a line "sync" for every flush
//   FWVET_TEST_POWER_CUT  "n:k": the n-th write to the flash file (from 1) writes k bytes, then the program
//   ends
namespace flash_device {

/// Exit status of a program whose power was cut.
inline constexpr int kPowerCutStatus = 77;

enum class Call { kOpen, kLseek, kFtruncate, kRead, kWrite, kAllocation, kSemCreate, kSemLock };
inline constexpr std::size_t kCalls = 8;

/// What BSP_ApiErrRec was told.
struct ErrorRecord {
  std::string file;
  unsigned long line;
  std::uint64_t code;
};

/// Puts the flash at `path`.
void UsePath(const std::string& path);

/// Takes back all faults and forgets counts, journal and records.
void Reset();

/// The `nth` call from now (from 1) fails, once. A semaphore creation fails with 1, the others as their kind
/// does.
void FailNth(Call call, unsigned nth);

/// The `nth` write from now writes only `bytes` bytes and says so.
void ShortenNthWrite(unsigned nth, std::size_t bytes);

/// The `nth` write from now writes `bytes` bytes, at most its own length, and ends the process with
/// kPowerCutStatus.
void CutPowerAtWrite(unsigned nth, std::size_t bytes);

/// Calls since Reset.
unsigned Calls(Call call);
unsigned Syncs();

/// Descriptors of the flash file that are open.
std::size_t OpenDescriptors();

/// What happened since Reset, one letter each: W a whole write to the flash, w one that failed or was short,
/// S a flush of all disks, P a pause of 10 ms (p: any other), L and U the piece semaphore taken and released
/// (l: not taken).
std::string Journal();

/// What the error recorder was told since Reset, oldest first.
std::vector<ErrorRecord> Records();
std::vector<std::uint64_t> RecordedCodes();

}  // namespace flash_device

#endif
