#include "tests/e2e/device.h"

#include <algorithm>
#include <filesystem>

#include "tests/e2e/test_root.h"

const world::World& TheMaker() {
  static const world::World maker(TheRoot());
  return maker;
}

ToolResult DeviceTest::Run(const std::vector<std::string>& arguments) {
  ToolSetup setup = setup_;
  const std::string log = dir_ / "syncs";
  setup.environment["FWVET_TEST_FLASH"] = flash_path();
  setup.environment["FWVET_TEST_SYNC_LOG"] = log;
  std::filesystem::remove(log);
  ToolResult result = RunTool(FWVET_UNDER_TEST, arguments, setup);
  syncs_ = 0;
  if (std::filesystem::exists(log)) {
    const der::Bytes lines = ReadWholeFile(log);
    syncs_ = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
  }
  model_.Start();
  return result;
}

void DeviceTest::Expect(const std::vector<std::string>& arguments, int status, const std::string& out) {
  const ToolResult result = Run(arguments);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, "");
  for (const auto& [name, content] : will_) model_.Write(name, content);
  will_.clear();
  EXPECT_TRUE(Flash() == model_.Flash()) << "the flash holds something else than it must";
}

void DeviceTest::Install(const std::map<std::string, der::Bytes>& files) {
  model_.Start();
  for (const auto& [name, content] : files) model_.Write(name, content);
  WriteWholeFile(flash_path(), model_.Flash());
}

std::string DeviceTest::Save(const std::string& name, const der::Bytes& content) const {
  std::string path = dir_ / name;
  WriteWholeFile(path, content);
  return path;
}

std::string DeviceTest::SavePackage(const world::PackagePlan& plan, const std::string& name) const {
  return Save(name, TheMaker().Package(plan));
}
