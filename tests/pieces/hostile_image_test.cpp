// Images that pass the check with random lies in head and descriptors go through every operation and every
// diagnostic. Under the sanitizers this shows that nothing outside the image is touched.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <set>

#include "pieces/flashPiece.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

constexpr std::uint32_t kContents = 19584;
constexpr std::uint32_t kSmallArea = 0x6000;  // the smaller the area, the more images a second holds
constexpr unsigned kImages = 2000;

const char* const kNames[] = {"a", "b", "c",
                              "d", "",  "0123456789012345678901234567890123456789012345678901234567890123"};

class HostileImage : public PieceTest {
 protected:
  std::uint32_t Random(std::uint32_t below) { return static_cast<std::uint32_t>(random_()) % below; }

  // A number that is near something that matters, or any.
  std::uint32_t Number() {
    static constexpr std::uint32_t kNear[] = {0,          16,         32,          64,         128,
                                              255,        256,        257,         0x1979,     kContents,
                                              kSmallArea, 0x7FFFFFFF, 0x80000000U, 0xFFFFFFE0, 0xFFFFFFFF};
    const std::uint32_t near = kNear[Random(std::size(kNear))] + Random(5) - 2;
    switch (Random(4)) {
      case 0:
        return static_cast<std::uint32_t>(random_());
      case 1:
        return kContents + 32 * Random(160);
      default:
        return near;
    }
  }

  // A sound image with a few files, and then the lies.
  void MakeImage() {
    ASSERT_EQ(BSP_VfsPiecesFileInit(1), 0U);
    const std::uint32_t files = Random(4) == 0 ? 256 : Random(5);
    for (std::uint32_t i = 0; i < files; ++i) BSP_VfsPiecesFileCreate(kNames[i % 4], Random(100), nullptr);
    const std::uint32_t lies = 1 + Random(4);
    for (std::uint32_t i = 0; i < lies; ++i) {
      const std::uint32_t lie = Number();
      std::memcpy(g_pucPieceBuff + LyingField(), &lie, sizeof lie);
    }
    if (Random(8) == 0) std::memset(g_pstPieceFileDes[Random(4)].ulPieceFileName, 'a', 64);
    ASSERT_EQ(BSP_VfsPiecesMemToFlash(), 0U);
  }

  unsigned long LyingField() {
    if (Random(2) == 0) return 80 + 4 * Random(12);
    const std::uint32_t index = Random(8) == 0 ? Random(256) : Random(4);
    return 128 + 76 * index + 64 + 4 * Random(3);
  }

  // One operation with random arguments. Refused for its range, it must not have changed anything.
  void OperateOnce() {
    const char* name = kNames[Random(std::size(kNames))];
    const Bytes before = Image();
    const std::uint64_t status = Operation(name);
    EXPECT_TRUE(kStatuses.contains(status)) << std::hex << status;
    if (status == PIECE_ERR_RANGE || status == PIECE_ERR_NULL_PTR) {
      EXPECT_EQ(Image(), before);
    }
  }

  std::uint64_t Operation(const char* name) {
    Bytes buffer(1 + Random(300), 0x77);
    const unsigned long length = Random(static_cast<std::uint32_t>(buffer.size()));
    const unsigned long offset = Random(3) == 0 ? Number() : Random(200);
    switch (Random(5)) {
      case 0:
        return BSP_VfsPiecesFileWrite(name, offset, buffer.data(), length, nullptr);
      case 1:
        return BSP_VfsPiecesFileRead(name, offset, buffer.data(), length, nullptr);
      case 2:
        return BSP_VfsPiecesFileDelete(name, Random(2));
      case 3:
        return BSP_VfsPiecesFileCreate(name, offset, nullptr);
      default:
        return BSP_VfsPiecesFileLookUp(name, nullptr);
    }
  }

  static const std::set<std::uint64_t> kStatuses;
  std::mt19937 random_{20181108};  // NOLINT(cert-msc*): the same images on every run
};

const std::set<std::uint64_t> HostileImage::kStatuses = {PIECE_OK, 1, PIECE_ERR_RANGE, PIECE_ERR_NOT_FOUND,
                                                         PIECE_ERR_NO_SPACE};

TEST_F(HostileImage, OperationsStayInsideTheImage) {
  SetDevice(Bytes(kFlashSize, 0xFF));
  BSP_VfsPiecesConfig(0, 2UL * kSmallArea);
  for (unsigned image = 0; image < kImages; ++image) {
    ASSERT_EQ(BSP_VfsPiecesAreaInit(), 0U);
    ASSERT_NO_FATAL_FAILURE(MakeImage());
    ASSERT_EQ(BSP_VfsPiecesInit(), 0U);
    flash_device::Reset();
    for (int i = 0; i < 8 && !HasFailure(); ++i) OperateOnce();
    ASSERT_FALSE(HasFailure()) << "image " << image;
    if (image % 10 != 0) continue;
    Printed(BSP_VfsPiecesFileShow);
    Printed(BSP_VfsPiecesFileDebug);
    Printed(BSP_VfsPiecesFileDebugMem);
    Printed([] { BSP_VfsPiecesFileMore("a", 100); });
  }
}

}  // namespace
