#ifndef FWVET_TESTS_FWPACK_TSA_TIME_STAMP_SERVER_H
#define FWVET_TESTS_FWPACK_TSA_TIME_STAMP_SERVER_H

#include <sys/types.h>

#include <string>

#include "tests/support/run_tool.h"

namespace packtest {

/// A time-stamp server at 127.0.0.1 that lives as long as this: the script beside this file.
class TimeStampServer {
 public:
  /// Starts it and waits until it listens. Throws std::runtime_error when it does not.
  TimeStampServer();
  ~TimeStampServer();
  TimeStampServer(const TimeStampServer&) = delete;
  TimeStampServer& operator=(const TimeStampServer&) = delete;

  /// The URL of an answer: "good", or the name of a fault.
  [[nodiscard]] std::string Url(const std::string& answer) const;
  /// The latest request, and its content type.
  [[nodiscard]] std::string LastQuery() const;
  [[nodiscard]] std::string LastType() const;

 private:
  ScratchDir work_{};
  pid_t process_ = -1;
  std::string port_{};
};

}  // namespace packtest

#endif
