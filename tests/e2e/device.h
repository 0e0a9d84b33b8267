#ifndef FWVET_TESTS_E2E_DEVICE_H
#define FWVET_TESTS_E2E_DEVICE_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/flash_model.h"
#include "tests/support/run_tool.h"
#include "tests/support/test_world.h"

/// The maker whose root the program under test trusts.
const world::World& TheMaker();

/// A device: the built program, a flash of its own, and what that flash must hold.
class DeviceTest : public testing::Test {
 protected:
  /// Runs the tool and tells the model that it started.
  ToolResult Run(const std::vector<std::string>& arguments);
  /// Runs the tool and expects status, output and a flash that is the model's. Writes that the run is to make
  /// are told to the model with Will.
  void Expect(const std::vector<std::string>& arguments, int status, const std::string& out);
  /// The next run is to write this file.
  void Will(const std::string& name, const der::Bytes& content) { will_[name] = content; }
  void WillStoreCrl(const der::Bytes& crl) { Will("CmsCrl", DeviceCrlRecord(crl)); }

  /// Puts piece files on the flash, as earlier runs would have.
  void Install(const std::map<std::string, der::Bytes>& files);
  void InstallCrl(const der::Bytes& crl) { Install({{"CmsCrl", DeviceCrlRecord(crl)}}); }
  void InstallStartup(std::uint32_t magic, std::uint32_t mode) {
    Install({{"startup_check_info", StartupRecord(magic, mode, 0, 0)}});
  }

  /// Saves a file and returns its path.
  [[nodiscard]] std::string Save(const std::string& name, const der::Bytes& content) const;
  [[nodiscard]] std::string SavePackage(const world::PackagePlan& plan,
                                        const std::string& name = "package") const;

  [[nodiscard]] der::Bytes Flash() const { return ReadWholeFile(flash_path()); }
  [[nodiscard]] std::string flash_path() const { return dir_ / "flash"; }
  /// How often the last run flushed all disks.
  [[nodiscard]] std::size_t Syncs() const { return syncs_; }

  ScratchDir dir_;
  FlashModel model_;
  ToolSetup setup_;

 private:
  std::map<std::string, der::Bytes> will_;
  std::size_t syncs_ = 0;
};

inline constexpr char kRevokedLine[] = "\r\nError: The certificate of system-software has been revoked!\r\n";
inline constexpr char kBackupDone[] = "Info: Backup Crl File Success\r\n";
inline constexpr char kVerifySuccess[] = "\r\nverify success.\r\n";
inline constexpr char kVerifyFailed[] = "\r\nverify failed.\r\n";

#endif
