#include "pieces/piece_errors.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace {

struct ErrorRow {
  std::uint64_t code;
  const char* name;
  const char* meaning;
};

constexpr ErrorRow kErrors[] = {
#define PIECE_ERROR(code, name, meaning) {code, #name, meaning},
#include "pieces/piece_errors.def"
#undef PIECE_ERROR
};

static_assert(std::ranges::adjacent_find(kErrors, std::greater_equal<>{}, &ErrorRow::code) ==
                  std::end(kErrors),
              "codes are ascending and unique");

const ErrorRow* FindRow(std::uint64_t code) {
  const auto* row = std::ranges::lower_bound(kErrors, code, {}, &ErrorRow::code);
  return row != std::end(kErrors) && row->code == code ? row : nullptr;
}

}  // namespace

const char* piece_error_name(std::uint64_t code) {
  const ErrorRow* row = FindRow(code);
  return row != nullptr ? row->name : nullptr;
}

const char* piece_error_meaning(std::uint64_t code) {
  const ErrorRow* row = FindRow(code);
  return row != nullptr ? row->meaning : nullptr;
}
