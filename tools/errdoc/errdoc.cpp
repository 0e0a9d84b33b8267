// Prints docs/error-codes.md from the tables that the programs are built from.
#include <cstdio>

namespace {

struct Row {
  unsigned long code;
  const char* name;
  const char* meaning;
};

constexpr Row kLibrary[] = {
#define LUMO_ERROR(code, name, meaning) {code, #name, meaning},
#include "verify/lumo_errors.def"
#undef LUMO_ERROR
};

constexpr Row kPieces[] = {
#define PIECE_ERROR(code, name, meaning) {code, #name, meaning},
#include "pieces/piece_errors.def"
#undef PIECE_ERROR
};

template <class Rows>
void PrintTable(const char* title, const char* about, const Rows& rows) {
  std::printf("## %s\n\n%s\n\n| code | name | meaning |\n|---|---|---|\n", title, about);
  for (const Row& row : rows) std::printf("| 0x%08lX | `%s` | %s |\n", row.code, row.name, row.meaning);
}

}  // namespace

int main() {
  std::printf(
      "# Error codes\n\nMade by `errdoc` from `verify/lumo_errors.def` and `pieces/piece_errors.def`.\n\n");
  PrintTable("Library",
             "The first three digits tell the family: 880 resources and callbacks, 881 parameters, 882 "
             "verification,\n"
             "883 decoding. `lumo_error_name` and `lumo_error_meaning` tell the same at run time.",
             kLibrary);
  std::printf("\n");
  PrintTable("Piece file system", "Statuses are 64 bits wide; the flash device itself answers 0 or 1.",
             kPieces);
  return 0;
}
