#ifndef FWVET_TESTS_APP_TEST_ROOT_H
#define FWVET_TESTS_APP_TEST_ROOT_H

#include <string>

#include "tests/support/test_world.h"

/// The world whose root the tool under test trusts, made once per process.
const world::World& TheWorld();

/// Puts other text in the place of the root certificate until the object dies.
class OtherRoot {
 public:
  explicit OtherRoot(std::string text);
  ~OtherRoot();
  OtherRoot(const OtherRoot&) = delete;
  OtherRoot& operator=(const OtherRoot&) = delete;
};

#endif
