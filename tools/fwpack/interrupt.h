#ifndef FWVET_TOOLS_FWPACK_INTERRUPT_H
#define FWVET_TOOLS_FWPACK_INTERRUPT_H

#include <csignal>
#include <cstddef>
#include <string>

// What a run owes to its user when SIGINT, SIGTERM or SIGHUP ends it half-way.
namespace fwpack {

/// Holds these signals back while it lives; one that came meanwhile arrives at its end.
class InterruptsHeld {
 public:
  InterruptsHeld();
  ~InterruptsHeld();
  InterruptsHeld(const InterruptsHeld&) = delete;
  InterruptsHeld& operator=(const InterruptsHeld&) = delete;

 private:
  sigset_t before_{};
};

/// While it lives, one of these signals removes the file and then does what it did before. Signals that were
/// ignored stay ignored, and a forked child removes nothing. For the main thread; a few may live at one time,
/// and one beyond them, or with too long a path, is no error but does nothing.
class RemoveOnInterrupt {
 public:
  explicit RemoveOnInterrupt(const std::string& path);
  ~RemoveOnInterrupt();
  RemoveOnInterrupt(const RemoveOnInterrupt&) = delete;
  RemoveOnInterrupt& operator=(const RemoveOnInterrupt&) = delete;

 private:
  std::size_t slot_;
};

}  // namespace fwpack

#endif
