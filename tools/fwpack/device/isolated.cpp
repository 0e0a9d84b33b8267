#include "tools/fwpack/device/isolated.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Fail(const char* what) {
  throw Error(std::string("cannot run the device's code: ") + what + ": " + std::strerror(errno));
}

// Lowers a limit, as far as it is not lower already. The hard limit stays above the soft one, for at the hard
// one SIGKILL comes in place of the signal that tells what happened.
bool Limit(decltype(RLIMIT_CPU) resource, rlim_t most) {
  rlimit limit{};
  if (getrlimit(resource, &limit) != 0) return false;
  limit.rlim_cur = std::min(limit.rlim_cur, most);
  return setrlimit(resource, &limit) == 0;
}

// Whoever started this program may have left these signals ignored or blocked, and then they would end
// nothing.
bool LetEnd(std::initializer_list<int> signals) {
  sigset_t set;
  (void)sigemptyset(&set);
  for (const int signal : signals) {
    if (std::signal(signal, SIG_DFL) == SIG_ERR || sigaddset(&set, signal) != 0) return false;
  }
  return sigprocmask(SIG_UNBLOCK, &set, nullptr) == 0;
}

// A crash is told by its signal; nobody asked for a core file.
bool Confine(const IsolatedLimits& limits) {
  return LetEnd({SIGXCPU, SIGXFSZ}) && Limit(RLIMIT_CPU, limits.cpu_seconds) &&
         Limit(RLIMIT_FSIZE, limits.file_bytes) && Limit(RLIMIT_CORE, 0);
}

// Leaves by _exit: what the caller has buffered or registered for its own end is not the child's to do.
[[noreturn]] void RunChild(const std::function<int()>& work, int output, const IsolatedLimits& limits) {
  constexpr int kNotConfined = 127;
  if (dup2(output, STDOUT_FILENO) < 0 || !Confine(limits)) _exit(kNotConfined);
  const int status = work();
  (void)std::fflush(stdout);
  _exit(status);
}

int WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) Fail("waitpid");
  }
  return status;
}

std::string ReadAll(std::FILE* file) {
  std::string all;
  char piece[4096];
  std::rewind(file);
  while (const std::size_t got = std::fread(piece, 1, sizeof piece, file)) all.append(piece, got);
  if (std::ferror(file) != 0) Fail("reading its output");
  return all;
}

}  // namespace

IsolatedRun RunIsolated(const std::function<int()>& work, const IsolatedLimits& limits) {
  const FilePtr output(std::tmpfile());
  if (output == nullptr) Fail("temporary file");
  (void)std::fflush(stdout);
  const pid_t child = fork();
  if (child < 0) Fail("fork");
  if (child == 0) RunChild(work, fileno(output.get()), limits);
  const int status = WaitFor(child);
  IsolatedRun run;
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
  run.output = ReadAll(output.get());
  return run;
}

std::string EndBySignal(const IsolatedRun& run) {
  if (run.signal == SIGXCPU) return "would not come to an end";
  if (run.signal == SIGXFSZ) return "would write without an end";
  return std::string("was ended by signal ") + strsignal(run.signal);
}

}  // namespace fwpack
