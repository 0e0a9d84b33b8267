#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/view/block_view.h"
#include "tools/fwpack/view/package_view.h"

namespace {

using der::Bytes;
using fwpack::PackageView;
using testing::HasSubstr;
using viewtest::Maker;

class PackageViews : public testing::Test {
 protected:
  [[nodiscard]] PackageView View(const Bytes& bytes) const {
    return fwpack::ViewPackage(inspector_.Save("package", bytes));
  }
  // A package whose last tail record carries these lengths.
  static Bytes WithLengths(std::uint32_t total, std::uint32_t code) {
    return der::Concat(Bytes(500, 'c'), package::Tail(total, code), Bytes(package::kEndPad));
  }
  viewtest::Inspector inspector_;
};

TEST_F(PackageViews, FindsBothBlocksAndWhatIsInThem) {
  const Bytes signature = Maker().Signature({});
  const Bytes crls = Maker().Crls({});
  const PackageView view = View(package::Build(der::FromText("software"), signature, crls));
  EXPECT_EQ(view.content_length, 8U);
  ASSERT_TRUE(view.signature_block && view.crl_block);
  EXPECT_EQ(view.signature_block->offset, 8U);
  EXPECT_EQ(view.signature_block->payload, viewtest::Text(signature));
  EXPECT_EQ(view.crl_block->offset, 8 + signature.size() + 68);
  EXPECT_EQ(view.crl_block->payload, viewtest::Text(crls));
  ASSERT_TRUE(view.crl_block->tail.has_value());
  EXPECT_EQ(view.crl_block->tail->offset, view.size - 100);
  EXPECT_TRUE(view.crl_block->tail->crc_is_good);
  EXPECT_TRUE(view.crl_block->tail->has_magic);
  EXPECT_EQ(view.crl_block->tail->record.dwCodeLen, crls.size());
  ASSERT_TRUE(view.signature && view.token && view.bundle);
  EXPECT_EQ(view.signature->offset, 8U);
  EXPECT_EQ(view.bundle->crls.size(), 2U);
  EXPECT_EQ(view.token->time.meant, pki::Utc(2024, 6, 1, 12));
  EXPECT_TRUE(view.stops.empty());
}

TEST_F(PackageViews, ReadsPemAndDerPayloads) {
  const PackageView view = View(Maker().Package({.crl = {.as_der = true}, .pem_signature = true}));
  ASSERT_TRUE(view.signature && view.token && view.bundle);
  EXPECT_EQ(view.signature->encoding, fwpack::Encoding::kPem);
  EXPECT_EQ(view.bundle->encoding, fwpack::Encoding::kDer);
}

TEST_F(PackageViews, StopsWithoutRoomOrMagic) {
  EXPECT_EQ(View(Bytes(99)).stops.size(), 1U);
  EXPECT_FALSE(View(Bytes(99)).crl_block.has_value());
  const PackageView view = View(Bytes(100));
  ASSERT_TRUE(view.crl_block && view.crl_block->stop);
  EXPECT_EQ(view.crl_block->stop->offset, 0U);
  EXPECT_FALSE(view.signature_block.has_value());
}

TEST_F(PackageViews, FollowsLengthsThatWrapAroundAsTheDeviceDoes) {
  // Modulo 2^32, the block begins at offset 3 all the same.
  const Bytes bytes = WithLengths(565, 4);
  const PackageView view = View(bytes);
  ASSERT_TRUE(view.crl_block.has_value());
  EXPECT_EQ(view.crl_block->offset, 3U);
  EXPECT_EQ(view.crl_block->payload, "cccc");
  const PackageView wrapped = View(WithLengths(600, 4));
  ASSERT_TRUE(wrapped.crl_block && wrapped.crl_block->stop);
  EXPECT_EQ(wrapped.crl_block->offset, 4294967296U - 32);
  EXPECT_EQ(wrapped.crl_block->payload, "");
  EXPECT_THAT(wrapped.crl_block->stop->reason, HasSubstr("4 bytes at offset 4294967264"));
}

TEST_F(PackageViews, SurvivesHostileLengths) {
  constexpr std::uint32_t kHostile[] = {0,   1,          67,         68,         568,
                                        569, 0x7FFFFFFF, 0x80000000, 0xFFFFFFBC, 0xFFFFFFFF};
  for (const std::uint32_t total : kHostile) {
    for (const std::uint32_t code : kHostile) {
      const PackageView view = View(WithLengths(total, code));
      ASSERT_TRUE(view.crl_block.has_value());
      EXPECT_LE(view.crl_block->payload.size(), 600U);
      EXPECT_EQ(view.crl_block->tail->record.dwTotalLen, total);
    }
  }
}

TEST_F(PackageViews, ShowsARecordWithAWrongCrcAndFollowsIt) {
  Bytes bytes = Maker().Package({});
  bytes[bytes.size() - 90] ^= 1;
  const PackageView view = View(bytes);
  ASSERT_TRUE(view.crl_block && view.crl_block->stop);
  EXPECT_FALSE(view.crl_block->tail->crc_is_good);
  EXPECT_EQ(view.crl_block->stop->offset, bytes.size() - 100);
  EXPECT_TRUE(view.signature.has_value());
}

TEST_F(PackageViews, ComparesThePayloadsCrc) {
  EXPECT_EQ(View(Maker().Package({})).crl_block->tail->payload_crc_is_good, false);
  Bytes tail = package::Tail(68 + 3, 3);
  const std::uint16_t crc = package::Crc16(der::FromText("abc"), 3);
  tail[64] = static_cast<std::uint8_t>(crc >> 8U);
  tail[65] = static_cast<std::uint8_t>(crc);
  package::Reseal(tail);
  const PackageView view = View(der::Concat(der::FromText("abc"), tail, Bytes(32)));
  EXPECT_EQ(view.crl_block->tail->payload_crc_is_good, true);
}

TEST_F(PackageViews, DoesNotReadAPayloadLongerThanOneMebibyte) {
  constexpr std::size_t kMost = 1U << 20U;
  const PackageView longest = View(package::Build(der::FromText("x"), der::FromText("y"), Bytes(kMost, 'c')));
  ASSERT_TRUE(longest.crl_block && longest.bundle);
  EXPECT_EQ(longest.crl_block->payload.size(), kMost);
  const PackageView view =
      View(package::Build(der::FromText("x"), der::FromText("y"), Bytes(kMost + 1, 'c')));
  ASSERT_TRUE(view.crl_block && view.crl_block->stop);
  EXPECT_THAT(view.crl_block->stop->reason, HasSubstr("longer than 1048576 bytes and was not read"));
  EXPECT_EQ(view.crl_block->payload, "");
  EXPECT_FALSE(view.bundle.has_value());
  EXPECT_TRUE(view.signature.has_value());
}

TEST_F(PackageViews, NamesAFileThatCannotBeRead) {
  EXPECT_THROW((void)fwpack::ViewPackage("/nonexistent/file"), fwpack::Error);
  EXPECT_THROW((void)fwpack::ViewPackage("/"), fwpack::Error);
}

}  // namespace
