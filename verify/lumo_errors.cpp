#include "verify/lumo_errors.h"

#include <iterator>

namespace {

constexpr bool Ascending() {
  for (std::size_t i = 1; i < std::size(kLumoErrors); ++i) {
    if (kLumoErrors[i].code <= kLumoErrors[i - 1].code) return false;
  }
  return true;
}
static_assert(Ascending(), "codes ascend, so none stands twice");

const LUMO_ERROR_ROW* FindRow(LUMO_ERROR_CODE code) {
  for (const LUMO_ERROR_ROW& row : kLumoErrors) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

}  // namespace

const TEV_CHAR* lumo_error_name(LUMO_ERROR_CODE code) noexcept {
  const LUMO_ERROR_ROW* row = FindRow(code);
  return row == nullptr ? nullptr : row->name;
}

const TEV_CHAR* lumo_error_meaning(LUMO_ERROR_CODE code) noexcept {
  const LUMO_ERROR_ROW* row = FindRow(code);
  return row == nullptr ? nullptr : row->meaning;
}
