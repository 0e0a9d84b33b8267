// Files cut off and bent anywhere: reading them ends, says where it stopped, and prints a sound document.

#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tools/fwpack/view/inspect_json.h"
#include "tools/fwpack/view/inspect_text.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/token_view.h"

namespace {

using der::Bytes;
using fwpack::InspectKind;
using viewtest::Maker;

struct Row {
  const char* name;
  Bytes bytes;
  InspectKind kind;
};

class Damaged : public testing::TestWithParam<Row> {
 protected:
  // Every document parses and fits, the text is printable.
  [[nodiscard]] fwpack::Inspection Look(const Bytes& bytes) const {
    fwpack::Inspection inspection = inspector_.Inspect(bytes, GetParam().kind);
    (void)viewtest::CheckedJson(inspection);
    for (const char character : fwpack::InspectText(inspection))
      EXPECT_TRUE(character == '\n' || (character >= ' ' && character <= '~'));
    return inspection;
  }
  viewtest::Inspector inspector_;
};

TEST_P(Damaged, SaysWhereItIsCutOff) {
  const Bytes& whole = GetParam().bytes;
  EXPECT_TRUE(Look(whole).stops.empty());
  const std::size_t step = whole.size() / 20 + 1;
  for (std::size_t length = 0; length < whole.size(); length += step) {
    const auto inspection = Look(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    EXPECT_FALSE(inspection.stops.empty()) << "cut off at " << length;
    for (const fwpack::Stop& stop : inspection.stops) EXPECT_NE(stop.reason, "");
  }
}

TEST_P(Damaged, ReadsOnWhateverByteIsBent) {
  const Bytes& whole = GetParam().bytes;
  const std::size_t step = whole.size() / 30 + 1;
  for (std::size_t at = 0; at < whole.size(); at += step) {
    for (const std::uint8_t mask : std::initializer_list<std::uint8_t>{0x01, 0xFF}) {
      Bytes bent = whole;
      bent[at] ^= mask;
      (void)Look(bent);
    }
  }
}

std::vector<Row> Rows() {
  return {{"Package", Maker().Package({}), InspectKind::kPackage},
          {"PemPackage", Maker().Package({.crl = {.as_der = true}, .pem_signature = true}),
           InspectKind::kPackage},
          {"Tail", package::Tail(200, 100), InspectKind::kTail},
          {"PemSignature", Maker().Signature({.pem_signature = true}), InspectKind::kSignature},
          {"Signature", Maker().Signature({}), InspectKind::kSignature},
          {"Cert", Maker().signer.der, InspectKind::kCert}};
}
INSTANTIATE_TEST_SUITE_P(View, Damaged, testing::ValuesIn(Rows()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(DamagedHeads, OfEveryByteOfAMessageAreSurvived) {
  const std::string whole = viewtest::Text(Maker().Signature({}));
  for (std::size_t at = 0; at < whole.size(); ++at) {
    std::string bent = whole;
    bent[at] = static_cast<char>(bent[at] ^ 0x81);
    const fwpack::MessageView view = fwpack::ViewMessage(bent);
    EXPECT_EQ(view.cms == nullptr && !view.stop, false) << "bent at " << at;
    (void)fwpack::ViewToken(view);
  }
}

}  // namespace
