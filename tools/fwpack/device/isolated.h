#ifndef FWVET_TOOLS_FWPACK_DEVICE_ISOLATED_H
#define FWVET_TOOLS_FWPACK_DEVICE_ISOLATED_H

#include <functional>
#include <string>

namespace fwpack {

/// How a run of the device's code ended.
struct IsolatedRun {
  int exit_status = 0;   // as a shell sees it: the low eight bits of what the work returned
  int signal = 0;        // not 0: the process was ended by this signal and has no exit status
  std::string output{};  // all that it printed on standard output
};

/// Runs `work` in a process of its own and waits for it. The device's code keeps its state in globals and
/// prints to standard output; here each run begins afresh, what it prints is kept, and a crash on hostile
/// input stays in there. `work` must not throw; nothing that it changes in memory is seen by the caller, and
/// standard error stays the caller's. Throws Error when the process cannot be made.
IsolatedRun RunIsolated(const std::function<int()>& work);

}  // namespace fwpack

#endif
