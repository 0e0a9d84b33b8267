#include "tools/fwpack/cli/suggest.h"

#include <algorithm>
#include <numeric>

namespace fwpack {
namespace {

// What somebody types is no longer than this; more is no slip of the finger and would only cost time.
constexpr std::size_t kLongestTyped = 64;
constexpr std::size_t kShortestBegin = 4;  // of a name, dashes included

std::size_t Allowed(std::string_view typed) {
  return std::max<std::size_t>(1, typed.size() / 3);
}

std::string FirstThatBeginsWith(std::string_view typed, const std::vector<std::string>& names) {
  if (typed.size() < kShortestBegin) return "";
  const auto found =
      std::find_if(names.begin(), names.end(), [typed](const auto& name) { return name.starts_with(typed); });
  return found == names.end() ? "" : *found;
}

}  // namespace

std::size_t EditDistance(std::string_view left, std::string_view right) {
  const std::size_t width = right.size() + 1;
  std::vector<std::size_t> before(width);
  std::vector<std::size_t> above(width);
  std::vector<std::size_t> row(width);
  std::iota(above.begin(), above.end(), std::size_t{0});
  for (std::size_t i = 1; i <= left.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j < width; ++j) {
      const std::size_t replaced = above[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      const bool swapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before.swap(above);
    above.swap(row);
  }
  return above.back();
}

std::string Nearest(std::string_view typed, const std::vector<std::string>& names) {
  if (typed.empty() || typed.size() > kLongestTyped) return "";
  std::string nearest;
  std::size_t least = Allowed(typed) + 1;
  for (const std::string& name : names) {
    const std::size_t distance = EditDistance(typed, name);
    if (distance >= least || distance >= name.size()) continue;
    least = distance;
    nearest = name;
  }
  return nearest.empty() ? FirstThatBeginsWith(typed, names) : nearest;
}

}  // namespace fwpack
