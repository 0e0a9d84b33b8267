#ifndef FWVET_VERIFY_LUMO_ERRORS_H
#define FWVET_VERIFY_LUMO_ERRORS_H

#include "verify/lumo.h"

// What statuses are called and mean: the table behind lumo_error_name and lumo_error_meaning of
// verify/lumo.h.

struct LUMO_ERROR_ROW {
  LUMO_ERROR_CODE code;
  const TEV_CHAR* name;
  const TEV_CHAR* meaning;
};

#define LUMO_ERROR(code, name, meaning) {code, #name, meaning},
inline constexpr LUMO_ERROR_ROW kLumoErrors[] = {
#include "verify/lumo_errors.def"
};
#undef LUMO_ERROR

#endif
