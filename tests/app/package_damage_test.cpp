// Damage to a good package: every truncation, every changed byte of its two trailer blocks.

#include <algorithm>
#include <array>
#include <filesystem>

#include "app/fwvet.h"
#include "tests/app/app_fixture.h"

namespace {

using der::Bytes;
using Path = std::vector<std::size_t>;

enum class Part { kTag, kLength, kContent, kUnusedBits };

// A part of an element that nothing protects. The path tells the way to the element by numbers: {0, 1, 2} is
// the third element in the second in the first.
struct Place {
  Path path;
  Part part;
  const char* reason;
};

constexpr const char* kAnyTag = "the general element reader takes any tag here";
constexpr const char* kAnyType = "the type of the message is not compared";
constexpr const char* kWrapper = "the length of an explicit wrapper is not compared with what it wraps";
constexpr const char* kVersion =
    "the version is read and not judged; an empty INTEGER takes the octet behind it";
constexpr const char* kSkipped = "stepped over unread: the signer's digest algorithm and key decide";
constexpr const char* kUnused = "the count of unused bits is stepped over";

struct Span {
  std::size_t begin;
  std::size_t end;
};

Path Join(Path path, const Path& more) {
  path.insert(path.end(), more.begin(), more.end());
  return path;
}

Span SpanOf(const Bytes& payload, const Place& place) {
  std::size_t start = 0;
  Bytes level = payload;
  Bytes element;
  for (const std::size_t index : place.path) {
    start += element.size() - (element.empty() ? 0 : level.size());
    const std::vector<Bytes> children = der::Children(level);
    for (std::size_t i = 0; i < index; ++i) start += children.at(i).size();
    element = children.at(index);
    level = der::ContentOf(element);
  }
  const std::size_t content = start + element.size() - level.size();
  switch (place.part) {
    case Part::kTag:
      return {start, start + 1};
    case Part::kLength:
      return {start + 1, content};
    case Part::kUnusedBits:
      return {content, content + 1};
    default:
      return {content, content + level.size()};
  }
}

// The outer signature of a certificate or a CRL.
void AddFrame(std::vector<Place>& places, const Path& frame) {
  places.push_back({Join(frame, {1, 0}), Part::kTag, kAnyTag});
  places.push_back({Join(frame, {1, 1}), Part::kTag, kAnyTag});
  places.push_back({Join(frame, {2}), Part::kUnusedBits, kUnused});
}

// What signature and time-stamp token have in common: ContentInfo, SignedData, one certificate, one signer.
void AddMessage(std::vector<Place>& places, const Path& message) {
  const auto add = [&](const Path& more, Part part, const char* reason) {
    places.push_back({Join(message, more), part, reason});
  };
  add({0}, Part::kTag, kAnyTag);
  add({0}, Part::kContent, kAnyType);
  add({1}, Part::kLength, kWrapper);
  add({1, 0, 0}, Part::kLength, kVersion);
  add({1, 0, 0}, Part::kContent, kVersion);
  add({1, 0, 1}, Part::kContent, kSkipped);
  add({1, 0, 2, 0}, Part::kTag, kAnyTag);
  add({1, 0, 2, 0}, Part::kContent, kAnyType);
  AddFrame(places, Join(message, {1, 0, 3, 0}));
  add({1, 0, 4, 0, 0}, Part::kLength, kVersion);
  add({1, 0, 4, 0, 0}, Part::kContent, kVersion);
  add({1, 0, 4, 0, 1, 0, 0, 0, 0}, Part::kTag, kAnyTag);
  add({1, 0, 4, 0, 1, 0, 0, 0, 1}, Part::kTag, kAnyTag);
  add({1, 0, 4, 0, 2, 0}, Part::kTag, kAnyTag);
  add({1, 0, 4, 0, 4}, Part::kContent, kSkipped);
  add({1, 0, 4, 0, 5}, Part::kTag, kAnyTag);
}

std::vector<Place> PlacesOfSignature() {
  std::vector<Place> places;
  AddMessage(places, {0});
  const Path attribute{0, 1, 0, 4, 0, 6, 0};
  places.push_back({Join(attribute, {0}), Part::kTag, kAnyTag});
  places.push_back({Join(attribute, {1}), Part::kTag, kAnyTag});
  const Path token = Join(attribute, {1, 0});
  AddMessage(places, token);
  places.push_back({Join(token, {1, 0, 2, 1}), Part::kTag, kAnyTag});
  places.push_back({Join(token, {1, 0, 2, 1, 0}), Part::kTag, kAnyTag});
  return places;
}

std::vector<Place> PlacesOfCrl() {
  std::vector<Place> places;
  for (const std::size_t object : {0U, 1U, 2U}) AddFrame(places, {object});
  return places;
}

// A good package without anything in it twice, and the spans of its file that nothing protects.
struct GoodPackage {
  GoodPackage() {
    const world::World& w = TheWorld();
    const pki::TokenSpec token{.tsa = w.tsa, .certs = {w.tsa}};
    const pki::SignerSpec signer{.signer = w.signer, .token = token};
    const Bytes content = der::FromText("software");
    const Bytes signature = pki::MakeCms({.content = content, .signers = {signer}, .certs = {w.signer}});
    const Bytes crl = w.Crls({.as_der = true});
    file = package::Build(content, signature, crl);
    trailer_at = content.size();
    end_pad_at = file.size() - package::kEndPad;
    AddSpans(signature, PlacesOfSignature(), trailer_at);
    AddSpans(crl, PlacesOfCrl(), trailer_at + signature.size() + package::kTailSize);
  }
  void AddSpans(const Bytes& payload, const std::vector<Place>& places, std::size_t at) {
    for (const Place& place : places) {
      const Span span = SpanOf(payload, place);
      unprotected.emplace_back(Span{at + span.begin, at + span.end}, place.reason);
    }
  }
  [[nodiscard]] bool IsUnprotected(std::size_t at) const {
    return std::any_of(unprotected.begin(), unprotected.end(),
                       [at](const auto& entry) { return entry.first.begin <= at && at < entry.first.end; });
  }
  Bytes file;
  std::size_t trailer_at = 0;
  std::size_t end_pad_at = 0;
  std::vector<std::pair<Span, const char*>> unprotected;
};

constexpr std::array<std::uint8_t, 2> kMasks{0x01, 0x80};

class Damage : public AppTest {
 protected:
  int Verdict(const Bytes& file) {
    const std::string path = Save("package", file);
    int verdict = 99;
    EXPECT_EQ(Printed([&] { verdict = do_fwvet(path.c_str(), 0); }), "");
    return verdict;
  }
  int VerdictWith(std::size_t at, std::uint8_t mask) {
    Bytes file = good_.file;
    file[at] ^= mask;
    return Verdict(file);
  }
  GoodPackage good_;
};

TEST_F(Damage, TruncationAtEveryLengthIsRejected) {
  const std::string path = Save("package", good_.file);
  ASSERT_EQ(do_fwvet(path.c_str(), 0), 0);
  EXPECT_EQ(Printed([&] {
              for (std::size_t length = good_.file.size(); length-- > 0;) {
                std::filesystem::resize_file(path, length);
                ASSERT_EQ(do_fwvet(path.c_str(), 0), -1) << length;
              }
            }),
            "");
  EXPECT_TRUE(Flash() == model_.Flash());
}

TEST_F(Damage, OfTheEndBytesIsNotSeen) {
  Bytes file = good_.file;
  for (std::size_t at = good_.end_pad_at; at < file.size(); ++at) file[at] ^= 0xFF;
  EXPECT_EQ(Verdict(file), 0) << "nobody reads the last 32 bytes";
}

TEST_F(Damage, IsNotSeenWhereNothingProtects) {
  for (const auto& [span, reason] : good_.unprotected) {
    bool accepted = false;
    for (std::size_t at = span.begin; at < span.end; ++at) {
      for (const std::uint8_t mask : kMasks) accepted = accepted || VerdictWith(at, mask) == 0;
    }
    EXPECT_TRUE(accepted) << "offset " << span.begin << " is protected after all, although " << reason;
  }
}

constexpr std::size_t kSlices = 4;

class ChangedByte : public Damage,
                    public testing::WithParamInterface<std::tuple<std::size_t, std::uint8_t>> {};

TEST_P(ChangedByte, IsRejectedUnlessNothingProtectsIt) {
  const auto [slice, mask] = GetParam();
  for (std::size_t at = good_.trailer_at + slice; at < good_.end_pad_at; at += kSlices) {
    const int verdict = VerdictWith(at, mask);
    EXPECT_TRUE(verdict == -1 || (verdict == 0 && good_.IsUnprotected(at)))
        << "offset " << at << ": " << verdict;
  }
  EXPECT_TRUE(Flash() == model_.Flash());
}

INSTANTIATE_TEST_SUITE_P(All, ChangedByte,
                         testing::Combine(testing::Range<std::size_t>(0, kSlices),
                                          testing::ValuesIn(kMasks)));

}  // namespace
