#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tools/fwpack/view/bundle_view.h"

namespace {

using fwpack::BundleView;
using fwpack::Encoding;
using fwpack::ViewBundle;
using testing::HasSubstr;
using viewtest::Maker;
using viewtest::Text;

std::string Bundle(bool as_der = false) {
  return Text(Maker().Crls({.as_der = as_der}));
}

TEST(BundleView, ReadsPemWithOffsets) {
  const std::string bytes = Bundle();
  const BundleView view = ViewBundle(bytes, 1000);
  EXPECT_EQ(view.encoding, Encoding::kPem);
  EXPECT_EQ(view.bytes, bytes);
  EXPECT_EQ(view.pem_blocks, 3U);
  ASSERT_EQ(view.crls.size(), 2U);
  EXPECT_EQ(view.crls[0].offset, 1000U);
  EXPECT_EQ(view.crls[1].offset, 1000 + bytes.find("-----BEGIN", 10));
  ASSERT_EQ(view.certs.size(), 1U);
  EXPECT_EQ(view.certs[0].subject.text, "CN = issuing-ca");
  EXPECT_TRUE(view.stops.empty());
}

TEST(BundleView, ReadsDerObjectsInARowWithOffsets) {
  const BundleView view = ViewBundle(Bundle(true), 7);
  EXPECT_EQ(view.encoding, Encoding::kDer);
  EXPECT_EQ(view.pem_blocks, 0U);
  ASSERT_EQ(view.crls.size(), 2U);
  EXPECT_EQ(view.crls[1].offset, 7 + view.crls[0].der.size());
  ASSERT_EQ(view.certs.size(), 1U);
  EXPECT_TRUE(view.stops.empty());
}

TEST(BundleView, TakesFewBytesBehindDerForPaddingAsTheDeviceDoes) {
  EXPECT_TRUE(ViewBundle(Bundle(true) + std::string(32, '\0')).stops.empty());
  const BundleView view = ViewBundle(Bundle(true) + std::string(33, '\0'));
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_EQ(view.stops[0].offset, Bundle(true).size());
}

TEST(BundleView, GoesOnBehindADamagedPemBlock) {
  std::string bytes = Bundle();
  const std::size_t second = bytes.find("-----BEGIN", 10);
  bytes[bytes.find('\n', second) + 1] = '!';
  const BundleView view = ViewBundle(bytes, 5);
  EXPECT_EQ(view.pem_blocks, 3U);
  EXPECT_EQ(view.crls.size(), 1U);
  EXPECT_EQ(view.certs.size(), 1U);
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_EQ(view.stops[0].offset, second + 5);
}

TEST(BundleView, StopsAtAPemBlockWithoutItsEnd) {
  const std::string bytes = Bundle();
  const std::size_t last = bytes.rfind("-----BEGIN");
  const BundleView view = ViewBundle(bytes.substr(0, bytes.size() - 30));
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_EQ(view.stops[0].offset, last);
  EXPECT_EQ(view.stops[0].reason, "the PEM block has no end");
  EXPECT_EQ(view.crls.size(), 2U);
}

TEST(BundleView, TellsOfBlocksThatADeviceSkips) {
  const BundleView view = ViewBundle(pki::Pem("TRUSTED\x1b CERTIFICATE", Maker().ca.der) + Bundle());
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_EQ(view.stops[0].reason, "a device skips PEM blocks labelled 'TRUSTED\\x1b CERTIFICATE'");
  EXPECT_EQ(view.pem_blocks, 4U);
  EXPECT_EQ(view.crls.size(), 2U);
}

TEST(BundleView, TellsOfTextInFrontOfThePem) {
  const BundleView view = ViewBundle("Issued today\n" + Bundle());
  EXPECT_EQ(view.crls.size(), 2U);
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_THAT(view.stops[0].reason, HasSubstr("in front of the first PEM block"));
}

TEST(BundleView, EndsPemAtAZeroByte) {
  const BundleView view = ViewBundle(Bundle() + '\0' + Bundle());
  EXPECT_EQ(view.crls.size(), 2U);
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_EQ(view.stops[0].offset, Bundle().size());
  EXPECT_TRUE(ViewBundle(Bundle() + std::string(100, '\0')).stops.empty());
}

TEST(BundleView, StopsAtDerThatIsNoObject) {
  const BundleView view = ViewBundle(Bundle(true) + Text(der::Seq(der::OctetString(der::Bytes(40)))));
  EXPECT_EQ(view.crls.size(), 2U);
  ASSERT_EQ(view.stops.size(), 1U);
  EXPECT_THAT(view.stops[0].reason, HasSubstr("no certificate or CRL"));
}

TEST(BundleView, BoundsTheNumberOfObjects) {
  std::string bytes;
  for (int i = 0; i < 5000; ++i) bytes += "-----BEGIN-----END-----";
  const BundleView view = ViewBundle(bytes);
  EXPECT_EQ(view.stops.size(), 1025U);
  EXPECT_THAT(view.stops.back().reason, HasSubstr("more than 1024"));
}

TEST(BundleView, TellsOfAnEmptyBundle) {
  EXPECT_EQ(ViewBundle("").stops.size(), 1U);
}

}  // namespace
