#include "tests/pieces/piece_fixture.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "app/BspDebug.h"
#include "pieces/crc.h"
#include "pieces/flashPieceAdp.h"
#include "tests/support/flash_device.h"

std::string Printed(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

std::string Hex(std::uint64_t value) {
  std::ostringstream text;
  text << std::hex << value;
  return text.str();
}

std::string CrcLine(const Bytes& area) {
  Bytes stamped = area;
  Stamp(stamped);
  return "\r\nusCrcCheck = 0x" + Hex(Get32(stamped, 4)) + ";pstPieceHead->ulCrc = 0x" + Hex(Get32(area, 4));
}

void Put32(Bytes& image, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) image.at(offset + i) = static_cast<unsigned char>(value >> (8 * i));
}

std::uint32_t Get32(const Bytes& image, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{image.at(offset + i)} << (8 * i);
  return value;
}

void Stamp(Bytes& image) {
  BSP_VfsPieceSet(image.data(), image.size());
}

PieceTest::PieceTest() {
  std::string pattern = testing::TempDir() + "fwvet-pieces-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no directory for the flash file");
  directory_ = pattern;
  path_ = (directory_ / "flash").string();
  flash_device::UsePath(path_);
  flash_device::Reset();
  g_u32BspDebug = 0;
  BSP_CrcInit();
  Forget();
}

PieceTest::~PieceTest() {
  flash_device::Reset();
  g_u32BspDebug = 0;
  Forget();
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

std::uint64_t PieceTest::StartUp() {
  if (FLASH_InitFlash() != 0) throw std::runtime_error("the flash file cannot be made");
  BSP_VfsPiecesConfig(0, kFlashSize);
  return BSP_VfsPiecesInit();
}

void PieceTest::Forget() {
  BSP_VfsPiecesConfig(0, 0);
  g_ulSemPiece = nullptr;
}

std::uint64_t PieceTest::Restart() {
  Forget();
  flash_device::Reset();
  return StartUp();
}

void PieceTest::StartFormatted() {
  ASSERT_EQ(StartUp(), 0U);
  ASSERT_EQ(BSP_VfsPiecesMemToFlash(), 0U);
  flash_device::Reset();
}

Bytes PieceTest::Device() const {
  Bytes bytes(std::filesystem::file_size(path_));
  std::ifstream file(path_, std::ios::binary);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file) throw std::runtime_error("the flash file cannot be read");
  return bytes;
}

void PieceTest::SetDevice(const Bytes& bytes) const {
  std::ofstream file(path_, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("the flash file cannot be written");
}

Bytes PieceTest::Main() const {
  const Bytes device = Device();
  return {device.begin(), device.begin() + kAreaSize};
}

Bytes PieceTest::Spare() const {
  const Bytes device = Device();
  return {device.begin() + kAreaSize, device.begin() + kFlashSize};
}

void PieceTest::SetAreas(const Bytes& main, const Bytes& spare) const {
  Bytes device = main;
  device.insert(device.end(), spare.begin(), spare.end());
  SetDevice(device);
}

Bytes PieceTest::Image() {
  if (g_pucPieceBuff == nullptr) return {};
  return {g_pucPieceBuff, g_pucPieceBuff + g_ulPieceSize};
}

void PieceTest::StartChanged(const std::function<void(Bytes&)>& change) {
  Bytes image = Image();
  change(image);
  Stamp(image);
  SetAreas(image, image);
  ASSERT_EQ(Restart(), 0U);
  ASSERT_EQ(Image(), image);
}

std::uint64_t PieceTest::Write(const std::string& name, const Bytes& bytes, unsigned long offset) {
  static const unsigned char kNothing = 0;
  return BSP_VfsPiecesFileWrite(name.c_str(), offset, bytes.empty() ? &kNothing : bytes.data(), bytes.size(),
                                nullptr);
}

Bytes PieceTest::Read(const std::string& name, unsigned long length, unsigned long offset) {
  Bytes bytes(length + 1);
  if (BSP_VfsPiecesFileRead(name.c_str(), offset, bytes.data(), length, nullptr) != 0) return {};
  bytes.resize(length);
  return bytes;
}
