#include "tests/support/run_tool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace {

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) ThrowErrno("pipe2");
  }
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void CloseEnd(std::size_t end) {
    if (ends[end] >= 0) close(ends[end]);
    ends[end] = -1;
  }
  std::array<int, 2> ends{-1, -1};
};

// Everything that the child needs is built before the fork: between fork and exec only system calls are safe.
struct Command {
  Command(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          const ToolSetup& setup) {
    texts.push_back(program.string());
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    const std::size_t argument_count = texts.size();
    for (char** entry = environ; *entry != nullptr; ++entry) {
      const std::string text = *entry;
      if (setup.environment.count(text.substr(0, text.find('='))) == 0) texts.push_back(text);
    }
    for (const auto& [name, value] : setup.environment) texts.emplace_back(name).append("=").append(value);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      (i < argument_count ? argv : envp).push_back(texts[i].data());
    }
    argv.push_back(nullptr);
    envp.push_back(nullptr);
  }
  std::vector<std::string> texts;
  std::vector<char*> argv;
  std::vector<char*> envp;
};

[[noreturn]] void ExecChild(Command& command, const ToolSetup& setup, int out, int err) {
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (dup2(null, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(126);
  if (!setup.directory.empty() && chdir(setup.directory.c_str()) != 0) _exit(126);
  const rlimit limit{setup.address_space, setup.address_space};
  if (setup.address_space != 0 && setrlimit(RLIMIT_AS, &limit) != 0) _exit(126);
  execve(command.argv[0], command.argv.data(), command.envp.data());
  _exit(127);
}

// Appends what is there to read; false at the end of the stream.
bool Drain(int fd, std::string& text) {
  std::array<char, 4096> buffer;
  const ssize_t count = read(fd, buffer.data(), buffer.size());
  if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

void Collect(int out, int err, ToolResult& result) {
  std::array<pollfd, 2> streams{{{out, POLLIN, 0}, {err, POLLIN, 0}}};
  std::array<std::string*, 2> texts{&result.out, &result.err};
  while (streams[0].fd >= 0 || streams[1].fd >= 0) {
    if (poll(streams.data(), streams.size(), -1) < 0 && errno != EINTR) ThrowErrno("poll");
    for (std::size_t i = 0; i < streams.size(); ++i) {
      const bool ready = streams[i].fd >= 0 && (streams[i].revents & (POLLIN | POLLHUP)) != 0;
      if (ready && !Drain(streams[i].fd, *texts[i])) streams[i].fd = -1;
    }
  }
}

}  // namespace

ScratchDir::ScratchDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "fwvet-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ThrowErrno("mkdtemp");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

ToolResult RunTool(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const ToolSetup& setup) {
  Command command(program, arguments, setup);
  Pipe out;
  Pipe err;
  const pid_t child = fork();
  if (child < 0) ThrowErrno("fork");
  if (child == 0) ExecChild(command, setup, out.ends[1], err.ends[1]);
  out.CloseEnd(1);
  err.CloseEnd(1);
  ToolResult result;
  Collect(out.ends[0], err.ends[0], result);
  int wait_status = 0;
  rusage usage{};
  while (wait4(child, &wait_status, 0, &usage) < 0) {
    if (errno != EINTR) ThrowErrno("wait4");
  }
  result.peak_kib = usage.ru_maxrss;
  if (WIFEXITED(wait_status)) result.status = WEXITSTATUS(wait_status);
  if (WIFSIGNALED(wait_status)) result.signal = WTERMSIG(wait_status);
  if (result.status == 127) throw std::runtime_error("cannot run " + program.string());
  return result;
}

std::vector<std::uint8_t> ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteWholeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}
