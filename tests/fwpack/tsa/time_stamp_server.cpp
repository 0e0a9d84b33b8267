#include "tests/fwpack/tsa/time_stamp_server.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/fwpack/fwpack_fixture.h"

namespace packtest {
namespace {

// The first line of a stream, without its end; what there is when the stream ends before.
std::string ReadLine(int stream) {
  std::string line;
  char c = 0;
  while (read(stream, &c, 1) == 1 && c != '\n') line += c;
  return line;
}

}  // namespace

TimeStampServer::TimeStampServer() {
  // A proxy of the host the tests run on has no business with 127.0.0.1.
  (void)setenv("no_proxy", "127.0.0.1", 1);
  const std::string pki = Pki("").string();
  std::array<const char*, 7> arguments = {
      FWVET_PYTHON_PROGRAM, "-B",   FWVET_TIME_STAMP_SERVER, FWVET_OPENSSL_PROGRAM, pki.c_str(),
      work_.path().c_str(), nullptr};
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ == 0) {
    (void)dup2(ends[1], STDOUT_FILENO);
    (void)execv(arguments[0], const_cast<char* const*>(arguments.data()));
    _exit(127);
  }
  (void)close(ends[1]);
  port_ = process_ > 0 ? ReadLine(ends[0]) : "";
  (void)close(ends[0]);
  if (port_.empty()) throw std::runtime_error("the time-stamp server does not start");
}

TimeStampServer::~TimeStampServer() {
  (void)kill(process_, SIGKILL);
  (void)waitpid(process_, nullptr, 0);
}

std::string TimeStampServer::Url(const std::string& answer) const {
  return "http://127.0.0.1:" + port_ + "/" + answer;
}

std::string TimeStampServer::LastQuery() const {
  return ReadText(work_ / "last-query");
}

std::string TimeStampServer::LastType() const {
  return ReadText(work_ / "last-type");
}

}  // namespace packtest
