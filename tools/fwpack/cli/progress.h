#ifndef FWVET_TOOLS_FWPACK_CLI_PROGRESS_H
#define FWVET_TOOLS_FWPACK_CLI_PROGRESS_H

#include <cstdint>
#include <cstdio>

namespace fwpack {

/// A bar that grows on a terminal while long content is read: "fwpack: [#####.....]  50 %". Draws nothing on
/// what is no terminal and for content below 16 MiB, and takes its line away when all is read or it goes.
class ProgressBar {
 public:
  /// `out` must outlive this. `is_terminal`: whether `out` is one.
  ProgressBar(std::FILE* out, bool is_terminal);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(std::uint64_t done, std::uint64_t total);

 private:
  void Erase();

  std::FILE* out_;
  bool is_terminal_;
  int percent_ = -1;  // what is drawn; -1: nothing
};

/// Whether standard error is a terminal.
bool HasTerminal();

}  // namespace fwpack

#endif
