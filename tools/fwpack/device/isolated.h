#ifndef FWVET_TOOLS_FWPACK_DEVICE_ISOLATED_H
#define FWVET_TOOLS_FWPACK_DEVICE_ISOLATED_H

#include <cstdint>
#include <functional>
#include <string>

namespace fwpack {

/// What the device's code may take before it is ended, for hostile input must not hold up the host: many
/// times what a package of gigabytes takes, and more than any flash image and all that is printed about it.
constexpr std::uint64_t kMaxCpuSeconds = 120;
constexpr std::uint64_t kMaxWrittenFile = std::uint64_t{32} << 20U;

struct IsolatedLimits {
  std::uint64_t cpu_seconds = kMaxCpuSeconds;  // beyond: ended by SIGXCPU
  std::uint64_t file_bytes = kMaxWrittenFile;  // of each file that is written; beyond: ended by SIGXFSZ
};

/// How a run of the device's code ended.
struct IsolatedRun {
  int exit_status = 0;   // as a shell sees it: the low eight bits of what the work returned
  int signal = 0;        // not 0: the process was ended by this signal and has no exit status
  std::string output{};  // all that it printed on standard output
};

/// Runs `work` in a process of its own and waits for it. The device's code keeps its state in globals and
/// prints to standard output; here each run begins afresh, what it prints is kept, and a crash on hostile
/// input stays in there. So does work without an end: it is ended at the limits, or at lower ones that this
/// process has itself. `work` must not throw; nothing that it changes in memory is seen by the caller, and
/// standard error stays the caller's. Throws Error when the process cannot be made.
IsolatedRun RunIsolated(const std::function<int()>& work, const IsolatedLimits& limits = {});

/// What became of a run that a signal ended, as messages tell it of the device's code: "would not come to an
/// end", "would write without an end" or "was ended by signal Segmentation fault".
std::string EndBySignal(const IsolatedRun& run);

}  // namespace fwpack

#endif
