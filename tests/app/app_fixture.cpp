#include "tests/app/app_fixture.h"

#include <cstdio>
#include <cstdlib>

#include "app/cmsdebug.h"
#include "pieces/crc.h"
#include "pieces/flashPiece.h"
#include "pieces/flashPieceAdp.h"
#include "tests/support/flash_device.h"

std::string Printed(const std::function<void()>& action) {
  (void)std::fflush(stdout);
  testing::internal::CaptureStdout();
  action();
  (void)std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string PrintedVerbosely(const std::function<void()>& action) {
  return Printed([&] {
    g_debug = 1;
    action();
    g_debug = 0;
  });
}

AppTest::AppTest() {
  flash_device::UsePath(dir_ / "flash");
  flash_device::Reset();
  g_debug = 0;
  StartDevice();
}

AppTest::~AppTest() {
  g_debug = 0;
  flash_device::Reset();
}

void AppTest::StartDevice() {
  BSP_CrcInit();
  if (FLASH_InitFlash() != 0) throw std::runtime_error("no flash for the test");
  BSP_VfsPiecesConfig(0, FlashModel::kFlashSize);
  if (BSP_VfsPiecesInit() != 0) throw std::runtime_error("no piece file system for the test");
  model_.Start();
}

void AppTest::StartDeviceWith(const std::map<std::string, der::Bytes>& files) {
  for (const auto& [name, content] : files) model_.Write(name, content);
  WriteWholeFile(dir_ / "flash", model_.Flash());
  StartDevice();
}

der::Bytes AppTest::Flash() const {
  return ReadWholeFile(dir_ / "flash");
}

std::string AppTest::Save(const std::string& name, const der::Bytes& content) const {
  std::string path = dir_ / name;
  WriteWholeFile(path, content);
  return path;
}

std::string AppTest::SavePackage(const world::PackagePlan& plan) const {
  return Save("package", TheWorld().Package(plan));
}
