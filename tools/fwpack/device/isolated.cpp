#include "tools/fwpack/device/isolated.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
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

// Leaves by _exit: what the caller has buffered or registered for its own end is not the child's to do.
[[noreturn]] void RunChild(const std::function<int()>& work, int output) {
  constexpr int kNoOutput = 127;
  if (dup2(output, STDOUT_FILENO) < 0) _exit(kNoOutput);
  // A crash is told by its signal; nobody asked for a core file.
  const rlimit none{0, 0};
  (void)setrlimit(RLIMIT_CORE, &none);
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

IsolatedRun RunIsolated(const std::function<int()>& work) {
  const FilePtr output(std::tmpfile());
  if (output == nullptr) Fail("temporary file");
  (void)std::fflush(stdout);
  const pid_t child = fork();
  if (child < 0) Fail("fork");
  if (child == 0) RunChild(work, fileno(output.get()));
  const int status = WaitFor(child);
  IsolatedRun run;
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
  run.output = ReadAll(output.get());
  return run;
}

}  // namespace fwpack
