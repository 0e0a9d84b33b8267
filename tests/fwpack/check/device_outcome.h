#ifndef FWVET_TESTS_FWPACK_CHECK_DEVICE_OUTCOME_H
#define FWVET_TESTS_FWPACK_CHECK_DEVICE_OUTCOME_H

#include <string>

#include "tests/fwpack/check/agreement_cases.h"

namespace checktest {

/// What the built device tool left behind.
struct Outcome {
  int status = -1;
  std::string output{};
  std::string flash{};
};

/// Has the built device tool check the saved package of a case on the case's flash; adds a failure to the
/// test when it crashes or prints an error.
Outcome RunTheDevice(const Files& files, const AgreementCase& test);

}  // namespace checktest

#endif
