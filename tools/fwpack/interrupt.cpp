#include "tools/fwpack/interrupt.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>

namespace fwpack {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t kSlots = 4;

// Written with the signals held back, read by the handler: nothing here changes under it.
struct Slot {
  bool used = false;
  char path[PATH_MAX] = {};
};
std::array<Slot, kSlots> slots;
std::size_t used_slots = 0;
pid_t owner = 0;
std::array<struct sigaction, kSignals.size()> earlier;

// Only calls that are safe in a handler.
void RemoveAndGoOn(int signal) {
  if (getpid() == owner) {
    for (const Slot& slot : slots) {
      if (slot.used) (void)unlink(slot.path);
    }
  }
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    if (kSignals[i] == signal) (void)sigaction(signal, &earlier[i], nullptr);
  }
  (void)raise(signal);  // held back until this returns, then as it was before
}

void Install() {
  owner = getpid();
  struct sigaction action {};
  action.sa_handler = RemoveAndGoOn;
  (void)sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    (void)sigaction(kSignals[i], nullptr, &earlier[i]);
    if (earlier[i].sa_handler != SIG_IGN) (void)sigaction(kSignals[i], &action, nullptr);
  }
}

void Uninstall() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) (void)sigaction(kSignals[i], &earlier[i], nullptr);
}

std::size_t FreeSlot() {
  std::size_t slot = 0;
  while (slot < kSlots && slots[slot].used) ++slot;
  return slot;
}

}  // namespace

InterruptsHeld::InterruptsHeld() {
  sigset_t held;
  (void)sigemptyset(&held);
  for (const int signal : kSignals) (void)sigaddset(&held, signal);
  (void)sigprocmask(SIG_BLOCK, &held, &before_);
}

InterruptsHeld::~InterruptsHeld() {
  (void)sigprocmask(SIG_SETMASK, &before_, nullptr);
}

RemoveOnInterrupt::RemoveOnInterrupt(const std::string& path) : slot_(FreeSlot()) {
  if (slot_ == kSlots || path.size() >= sizeof slots[slot_].path) {
    slot_ = kSlots;
    return;
  }
  const InterruptsHeld held;
  Slot& slot = slots[slot_];
  std::memcpy(slot.path, path.c_str(), path.size() + 1);
  slot.used = true;
  if (used_slots++ == 0) Install();
}

RemoveOnInterrupt::~RemoveOnInterrupt() {
  if (slot_ == kSlots) return;
  const InterruptsHeld held;
  slots[slot_].used = false;
  if (--used_slots == 0) Uninstall();
}

}  // namespace fwpack
