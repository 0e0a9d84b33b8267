#include "tools/fwpack/cli/progress.h"

#include <unistd.h>

#include <algorithm>
#include <string>

namespace fwpack {
namespace {

constexpr std::uint64_t kLongContent = 16U << 20U;
constexpr int kWidth = 50;
constexpr int kPercentPerMark = 100 / kWidth;

}  // namespace

ProgressBar::ProgressBar(std::FILE* out, bool is_terminal) : out_(out), is_terminal_(is_terminal) {}

ProgressBar::~ProgressBar() {
  Erase();
}

void ProgressBar::Erase() {
  if (percent_ < 0) return;
  percent_ = -1;
  (void)std::fputs("\r\033[K", out_);
  (void)std::fflush(out_);
}

void ProgressBar::Show(std::uint64_t done, std::uint64_t total) {
  if (!is_terminal_ || total < kLongContent) return;
  // Content may grow while it is read.
  if (done >= total) return Erase();
  const int percent = static_cast<int>(std::min<std::uint64_t>(99, done / (total / 100)));
  if (percent == percent_) return;
  percent_ = percent;
  const auto marks = static_cast<std::size_t>(percent / kPercentPerMark);
  const std::string bar = std::string(marks, '#') + std::string(kWidth - marks, '.');
  (void)std::fprintf(out_, "\rfwpack: [%s] %3d %%", bar.c_str(), percent);
  (void)std::fflush(out_);
}

bool HasTerminal() {
  return isatty(STDERR_FILENO) == 1;
}

}  // namespace fwpack
