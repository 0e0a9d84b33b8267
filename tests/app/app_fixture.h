#ifndef FWVET_TESTS_APP_APP_FIXTURE_H
#define FWVET_TESTS_APP_APP_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/app/test_root.h"
#include "tests/support/flash_model.h"
#include "tests/support/run_tool.h"

/// What `action` prints on standard output.
std::string Printed(const std::function<void()>& action);
/// The same with the verbose switch on.
std::string PrintedVerbosely(const std::function<void()>& action);

/// A device in the process: a flash file of its own, the piece file system started on it, and a directory for
/// files.
class AppTest : public testing::Test {
 protected:
  AppTest();
  ~AppTest() override;

  /// Starts the piece file system over what the flash file holds, as a new process would.
  void StartDevice();
  /// Puts the piece files on a fresh flash and starts.
  void StartDeviceWith(const std::map<std::string, der::Bytes>& files);
  [[nodiscard]] der::Bytes Flash() const;

  /// Saves a file and returns its path.
  [[nodiscard]] std::string Save(const std::string& name, const der::Bytes& content) const;
  /// Saves the package of a plan.
  [[nodiscard]] std::string SavePackage(const world::PackagePlan& plan) const;

  ScratchDir dir_;
  FlashModel model_;  // what the flash must hold
};

#endif
