#ifndef FWVET_TOOLS_FWPACK_ERROR_H
#define FWVET_TOOLS_FWPACK_ERROR_H

#include <stdexcept>
#include <string>

namespace fwpack {

// Exit statuses of the program.
constexpr int kAccepted = 0;
constexpr int kAcceptedWithWarnings = 1;
constexpr int kRefused = 2;     // what was looked at is sound, but the device would refuse it
constexpr int kInputError = 3;  // usage, an unreadable or unfit file, a failed write

/// A failure that the user can do something about. The text is one line that names the file and the reason.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& text, int exit_status = kInputError)
      : std::runtime_error(text), exit_status_(exit_status) {}
  [[nodiscard]] int exit_status() const { return exit_status_; }

 private:
  int exit_status_;
};

}  // namespace fwpack

#endif
