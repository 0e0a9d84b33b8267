#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tools/fwpack/view/crl_view.h"

namespace {

using fwpack::CrlView;
using viewtest::Maker;

CrlView ViewMade(const pki::CrlSpec& spec) {
  return fwpack::ViewCrl(viewtest::Text(pki::MakeCrl(Maker().ca, spec)), 40);
}

TEST(CrlView, ShowsIssuerTimesAndRevokedSerials) {
  const CrlView view = ViewMade({.this_update = pki::Utc(2024, 5, 1, 10, 34, 56),
                                 .revoked = {{.serial = {9}, .date = pki::Utc(2024, 1, 1), .reason = 1},
                                             {.serial = {0x80}, .date = pki::Utc(2024, 1, 2)}},
                                 .number = 255});
  ASSERT_NE(view.x509, nullptr);
  EXPECT_EQ(view.offset, 40U);
  EXPECT_EQ(view.device_code, LUMO_OK);
  EXPECT_EQ(view.issuer.text, "CN = issuing-ca");
  EXPECT_EQ(view.this_update.encoded, "240501103456Z");
  EXPECT_EQ(view.this_update.meant, pki::Utc(2024, 5, 1, 10, 34, 56));
  EXPECT_EQ(view.this_update.device, pki::Utc(2024, 5, 1, 10, 33, 45));
  ASSERT_TRUE(view.next_update.has_value());
  EXPECT_EQ(view.next_update->meant, pki::Utc(2034, 5, 1));
  EXPECT_EQ(view.signature_algorithm, "sha256WithRSAEncryption");
  EXPECT_EQ(view.number_hex, "00ff");
  ASSERT_EQ(view.revoked.size(), 2U);
  EXPECT_EQ(view.revoked[0].serial.hex, "09");
  EXPECT_EQ(view.revoked[0].reason, 1);
  EXPECT_EQ(view.revoked[1].serial.hex, "0080");
  EXPECT_EQ(view.revoked[1].date.meant, pki::Utc(2024, 1, 2));
  EXPECT_EQ(view.revoked[1].reason, std::nullopt);
}

TEST(CrlView, Shows21EntriesThatADeviceDoesNotTake) {
  pki::CrlSpec spec;
  for (std::uint8_t i = 1; i <= 21; ++i)
    spec.revoked.push_back({.serial = {i}, .date = pki::Utc(2024, 1, 1)});
  const CrlView view = ViewMade(spec);
  EXPECT_EQ(view.revoked.size(), 21U);
  EXPECT_NE(view.device_code, LUMO_OK);
}

TEST(CrlView, ShowsACrlWithoutNextUpdateThatADeviceDoesNotTake) {
  const CrlView view = ViewMade({.next_update = std::nullopt});
  ASSERT_NE(view.x509, nullptr);
  EXPECT_FALSE(view.next_update.has_value());
  EXPECT_EQ(view.number_hex, std::nullopt);
  EXPECT_EQ(view.device_code, LUMO_ERR_BER_SEQUENCE);
}

}  // namespace
