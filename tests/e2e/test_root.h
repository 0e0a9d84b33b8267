#ifndef FWVET_TESTS_E2E_TEST_ROOT_H
#define FWVET_TESTS_E2E_TEST_ROOT_H

#include "tests/support/test_pki.h"

/// The root that the program under test trusts. Its key lies in the build tree and nothing in it depends on
/// the day, so the tests make the very certificate that was compiled in.
inline pki::Cert TheRoot() {
  return pki::SelfSigned(pki::CaSpec("e2e-root"));
}

#endif
