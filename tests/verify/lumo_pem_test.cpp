#include "verify/lumo_pem.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;

constexpr PEM_LABEL kLabel = {.begin = "-----BEGIN ABC-----",
                              .beginLength = 19,
                              .bodyOffset = 20,
                              .end = "-----END ABC-----",
                              .endLength = 17};

class LumoPem : public ::testing::Test {
 protected:
  /// Copies a text and looks for its first block.
  LUMO_ERROR_CODE Find(const std::string& text) {
    const Bytes bytes = der::FromText(text);
    EXPECT_EQ(lumo_copy_text(context_.vrf(), bytes.data(), static_cast<TEV_UINT32>(bytes.size()), text_),
              LUMO_OK);
    return lumo_next_pem_block(context_.vrf(), text_.get(), bytes.size(), &block_);
  }
  [[nodiscard]] std::string Block() const { return {block_.start, block_.length}; }
  /// The base64 text of the first block of `text`, or "none".
  std::string Body(const std::string& text) {
    if (Find(text) != LUMO_OK || block_.start == nullptr) return "no block";
    TEV_UINT32 length = 0;
    const TEV_CHAR* body = lumo_pem_body(context_.vrf(), block_, kLabel, &length);
    return body == nullptr ? "none" : std::string(body, length);
  }

  FaultyCallbacks callbacks_;
  VerifyContext context_{callbacks_.table()};
  OwnedText text_{context_.vrf()};
  PEM_BLOCK block_{};
};

TEST_F(LumoPem, PemIsKnownByItsFirstTenCharacters) {
  const Bytes pem = der::FromText("-----BEGINxxxx");
  const Bytes other = der::FromText("-----BEGIMxxxx");
  EXPECT_TRUE(lumo_is_pem(context_.vrf(), pem.data()));
  EXPECT_FALSE(lumo_is_pem(context_.vrf(), other.data()));
}

TEST_F(LumoPem, ATextIsCopiedWithATerminator) {
  ASSERT_EQ(Find("plain text"), LUMO_OK);
  EXPECT_STREQ(text_.get(), "plain text");
  EXPECT_EQ(block_.start, nullptr);
}

TEST_F(LumoPem, ABlockReachesFromItsBeginBehindTheDashesOfItsEnd) {
  ASSERT_EQ(Find("note -----BEGIN A-----\nxx\n-----END A-----\ntail"), LUMO_OK);
  EXPECT_EQ(Block(), "-----BEGIN A-----\nxx\n-----END A-----");
  EXPECT_EQ(block_.left, 41u);
}

TEST_F(LumoPem, TheEndsLabelIsNotCompared) {
  ASSERT_EQ(Find("-----BEGIN A-----\nxx\n-----END OTHER-----\n"), LUMO_OK);
  EXPECT_EQ(Block(), "-----BEGIN A-----\nxx\n-----END OTHER-----");
}

TEST_F(LumoPem, TheDashesBehindTheEndMayStandAnywhereBehindIt) {
  ASSERT_EQ(Find("-----BEGIN A-----\n-----END\n\nmuch later -----BEGIN B"), LUMO_OK);
  EXPECT_EQ(Block(), "-----BEGIN A-----\n-----END\n\nmuch later -----");
}

TEST_F(LumoPem, ABlockWithoutItsEndIsAnError) {
  EXPECT_EQ(Find("-----BEGIN A-----\nxx\n"), LUMO_ERR_FORMAT);
  EXPECT_EQ(Find("-----BEGIN A-----\nxx\n-----END A----"), LUMO_ERR_FORMAT);
  EXPECT_EQ(Find("-----END A-----\n-----BEGIN A-----\n"), LUMO_ERR_FORMAT);
}

TEST_F(LumoPem, ABodyLiesBetweenHeaderAndEndMarker) {
  EXPECT_EQ(Body("-----BEGIN ABC-----\nTEXT\n-----END ABC-----"), "TEXT\n");
  EXPECT_EQ(Body("-----BEGIN ABC-----\n-----END ABC-----"), "");
}

TEST_F(LumoPem, ABlockOfAnotherLabelHasNoBody) {
  EXPECT_EQ(Body("-----BEGIN ABD-----\nTEXT\n-----END ABC-----"), "none");
}

TEST_F(LumoPem, AnEndMarkerInFrontOfTheBodyCountsAsNone) {
  EXPECT_EQ(Body("-----BEGIN ABC----------END ABC-----"), "none")
      << "the skipped line break is its first dash";
}

TEST_F(LumoPem, AnEndMarkerBehindTheBlockCountsUpToTheBlocksLength) {
  // The block is 41 characters long: header, line break, "x", line break, "-----END X-----" and what stands
  // between.
  const std::string block = "-----BEGIN ABC-----\nxxxx\n-----END XY-----";
  ASSERT_EQ(block.size(), 41u);
  const std::string near(20 + 41 - block.size(), '.');
  EXPECT_EQ(Body(block + near + "-----END ABC-----"), block.substr(20) + near) << "41 characters of body";
  EXPECT_EQ(Body(block + near + ".-----END ABC-----"), "none") << "42 characters of body";
}

TEST_F(LumoPem, ALookBeyondTheBlockLeavesTheTextAsItWas) {
  const std::string text = "-----BEGIN ABC-----\nxxxx\n-----END XY-----" + std::string(200, '.');
  EXPECT_EQ(Body(text), "none");
  EXPECT_EQ(std::string(text_.get()), text);
}

struct Base64Case {
  const char* name;
  const char* text;
  LUMO_ERROR_CODE code;
  TEV_UINT32 size;

  friend void PrintTo(const Base64Case& row, std::ostream* out) { *out << row.name; }
};

class LumoPemBase64 : public LumoPem, public ::testing::WithParamInterface<Base64Case> {};

TEST_P(LumoPemBase64, Text) {
  const std::string text = GetParam().text;
  OwnedBytes bytes(context_.vrf());
  TEV_UINT32 size = 77;
  EXPECT_EQ(lumo_decode_base64_text(context_.vrf(), text.data(), static_cast<TEV_UINT32>(text.size()), bytes,
                                    &size),
            GetParam().code);
  EXPECT_EQ(size, GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(
    Of, LumoPemBase64,
    ::testing::Values(Base64Case{"WholeGroups", "QUJD\nREVG", LUMO_OK, 6},
                      Base64Case{"OnePad", "QUI=", LUMO_OK, 2}, Base64Case{"TwoPads", "QQ==", LUMO_OK, 1},
                      // The size query counts on an incomplete group that the decoding drops.
                      Base64Case{"AnIncompleteGroup", "QUJDQU", LUMO_OK, 3},
                      Base64Case{"OnlyAnIncompleteGroup", "QU", LUMO_OK, 0},
                      Base64Case{"OnlyPads", "==", LUMO_ERR_FORMAT, 77},
                      Base64Case{"Nothing", "", LUMO_ERR_PARAM, 77},
                      Base64Case{"OnlyLineBreaks", "\n\n", LUMO_ERR_BASE64, 77},
                      Base64Case{"ASpaceInside", "QU JD", LUMO_ERR_BASE64, 77},
                      Base64Case{"DataBehindAPad", "QQ==QUJD", LUMO_ERR_BASE64, 77}),
    NameOfRow());

// Work. What is counted is every character that a search in the text looks at.

std::string Repeat(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

struct WorkCase {
  const char* name;
  std::string text;
  LUMO_ERROR_CODE code;

  friend void PrintTo(const WorkCase& row, std::ostream* out) { *out << row.name; }
};

class LumoPemWork : public LumoPem, public ::testing::WithParamInterface<WorkCase> {};

TEST_P(LumoPemWork, GrowsWithTheLengthOfTheText) {
  const Bytes text = der::FromText(GetParam().text);
  EXPECT_EQ(context_.AddCert(text), GetParam().code);
  EXPECT_LE(callbacks_.searched(), 6 * text.size());
  EXPECT_EQ(context_.vrf()->raw_set.num, 0u);
}

std::vector<WorkCase> WorkCases() {
  constexpr std::size_t kBlocks = 100'000;
  constexpr std::size_t kMarkers = 1'000'000;
  const std::string end = "-----END CERTIFICATE-----\n";
  return {
      {"TinyBlocksOfNoLabel", Repeat("-----BEGIN-----END-----", kBlocks), LUMO_ERR_GENERIC},
      {"TinyBlocksOfAnotherLabel", Repeat("-----BEGIN X-----\n-----END X-----\n", kBlocks), LUMO_ERR_GENERIC},
      {"TinyCertificateBlocks", Repeat("-----BEGIN CERTIFICATE-----\n" + end, kBlocks), LUMO_ERR_GENERIC},
      {"TinyCertificateBlocksThatEndAsOthers",
       Repeat("-----BEGIN CERTIFICATE-----\n-----END X-----\n", kBlocks), LUMO_ERR_GENERIC},
      {"TinyCrlBlocksThatEndAsOthers", Repeat("-----BEGIN X509 CRL-----\n-----END X-----\n", kBlocks),
       LUMO_ERR_GENERIC},
      {"BeginMarkersWithoutAnEnd", Repeat("-----BEGIN", kMarkers), LUMO_ERR_FORMAT},
      {"BeginMarkersInOneBlock", Repeat("-----BEGIN", kMarkers) + end, LUMO_ERR_GENERIC},
      {"CertificateMarkersInOneBlock", Repeat("-----BEGIN CERTIFICATE-----", kMarkers / 4) + end,
       LUMO_ERR_GENERIC},
      {"EndMarkers", "-----BEGIN X-----" + Repeat("-----END", kMarkers), LUMO_ERR_GENERIC},
      {"Dashes", "-----BEGIN X-----" + std::string(kMarkers, '-'), LUMO_ERR_FORMAT},
  };
}

INSTANTIATE_TEST_SUITE_P(Of, LumoPemWork, ::testing::ValuesIn(WorkCases()), NameOfRow());

}  // namespace
