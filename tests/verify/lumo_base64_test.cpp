#include "verify/asn1/lumo_base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

struct Decoded {
  LUMO_ERROR_CODE code;
  std::string octets;
  friend bool operator==(const Decoded&, const Decoded&) = default;
};

Decoded Decode(const std::string& text) {
  std::vector<TEV_BYTE> room(text.size() + 4);
  auto size = static_cast<TEV_UINT32>(room.size());
  const LUMO_ERROR_CODE code =
      lumo_base64_decode(text.data(), static_cast<TEV_UINT32>(text.size()), room.data(), &size);
  if (code != LUMO_OK) return {code, ""};
  return {code, std::string(room.begin(), room.begin() + size)};
}

TEV_UINT32 Needed(const std::string& text) {
  TEV_UINT32 size = 0;
  EXPECT_EQ(lumo_base64_decode(text.data(), static_cast<TEV_UINT32>(text.size()), nullptr, &size), LUMO_OK);
  return size;
}

TEST(LumoBase64, WholeGroupsAndPads) {
  EXPECT_EQ(Decode("TWFu"), (Decoded{LUMO_OK, "Man"}));
  EXPECT_EQ(Decode("TWE="), (Decoded{LUMO_OK, "Ma"}));
  EXPECT_EQ(Decode("TQ=="), (Decoded{LUMO_OK, "M"}));
}

TEST(LumoBase64, ASpaceInsideALineFails) {
  EXPECT_EQ(Decode("TW Fu").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, SpacesInFrontOfALineEndAreSkipped) {
  EXPECT_EQ(Decode("TWFu  \r\nTWFu"), (Decoded{LUMO_OK, "ManMan"}));
  EXPECT_EQ(Decode("TWFu  \nTWFu"), (Decoded{LUMO_OK, "ManMan"}));
}

TEST(LumoBase64, SpacesAtTheEndAreSkipped) {
  EXPECT_EQ(Decode("TWFu   "), (Decoded{LUMO_OK, "Man"}));
}

TEST(LumoBase64, SpacesInFrontOfDataFail) {
  EXPECT_EQ(Decode(" TWFu").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, ThreePadsFail) {
  EXPECT_EQ(Decode("TQ===").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, DataBehindAPadFails) {
  EXPECT_EQ(Decode("TQ=a").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, CharactersOutsideTheAlphabetCountAs63) {
  EXPECT_EQ(Decode("TW!u"), Decode("TW/u"));
  EXPECT_EQ(Decode("TW-u"), Decode("TW/u"));
  EXPECT_EQ(Decode("TW\tu"), Decode("TW/u"));
}

TEST(LumoBase64, ALoneCarriageReturnIsCountedButNotDecoded) {
  EXPECT_EQ(Needed("TWFu\rTWFu"), 7u);
  EXPECT_EQ(Decode("TWFu\rTWFu"), (Decoded{LUMO_OK, "ManMan"}));
}

TEST(LumoBase64, CharactersAbove127Fail) {
  EXPECT_EQ(Decode("TW\xE4u").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, TextWithoutDataFails) {
  EXPECT_EQ(Decode("   ").code, LUMO_ERR_BASE64);
  EXPECT_EQ(Decode("\r\n\n").code, LUMO_ERR_BASE64);
}

TEST(LumoBase64, TooLittleRoomTellsTheSizeAndWritesNothing) {
  TEV_BYTE room[3] = {0xAA, 0xAA, 0xAA};
  TEV_UINT32 size = 2;
  EXPECT_EQ(lumo_base64_decode("TWFu", 4, room, &size), LUMO_OK);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(room[0], 0xAA);
  EXPECT_EQ(room[1], 0xAA);
  EXPECT_EQ(room[2], 0xAA);
}

TEST(LumoBase64, AnIncompleteGroupIsNeededButDropped) {
  EXPECT_EQ(Needed("TWFuTQ"), 5u);
  TEV_BYTE room[5];
  TEV_UINT32 size = 5;
  EXPECT_EQ(lumo_base64_decode("TWFuTQ", 6, room, &size), LUMO_OK);
  EXPECT_EQ(size, 3u);
}

TEST(LumoBase64, NullAndEmptyAreRefused) {
  TEV_UINT32 size = 0;
  EXPECT_EQ(lumo_base64_decode(nullptr, 4, nullptr, &size), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_base64_decode("TWFu", 0, nullptr, &size), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_base64_decode("TWFu", 4, nullptr, nullptr), LUMO_ERR_PARAM);
}

TEST(LumoBase64, ALengthThatIsNegativeAsASignedNumberFails) {
  TEV_UINT32 size = 0;
  EXPECT_EQ(lumo_base64_decode("TWFu", 0x80000000u, nullptr, &size), LUMO_ERR_BASE64);
}

TEST(LumoBase64, TheMapIsTheStandardAlphabet) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
  for (unsigned code = 0; code < 128; ++code) {
    const std::size_t index = alphabet.find(static_cast<char>(code));
    EXPECT_EQ(tev_base64_dec_map[code], index == std::string::npos ? 127u : index) << code;
  }
}

TEST(LumoBase64, AgreesWithAnIndependentEncoder) {
  std::mt19937 random(1);
  for (int length = 1; length < 400; ++length) {
    std::string octets(static_cast<std::size_t>(length), 0);
    for (char& octet : octets) octet = static_cast<char>(random());
    std::string text(octets.size() * 2 + 4, 0);
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(octets.data()), length);
    text.resize(static_cast<std::size_t>(size));
    EXPECT_EQ(Decode(text), (Decoded{LUMO_OK, octets}));
    EXPECT_EQ(Needed(text), octets.size());
  }
}

// What OpenSSL decodes from whole groups of the alphabet; it gives the octets that pads stand for as zeros.
std::string OracleDecode(const std::string& text) {
  std::string octets(text.size(), 0);
  const int size =
      EVP_DecodeBlock(reinterpret_cast<unsigned char*>(octets.data()),
                      reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  EXPECT_EQ(size, static_cast<int>(text.size() / 4 * 3));
  const auto pads = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  octets.resize(text.size() / 4 * 3 - pads);
  return octets;
}

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

TEST(LumoBase64, AgreesWithOpensslOnEveryThreeDigits) {
  std::string text;
  for (std::size_t i = 0; i < 64 * 64 * 64; ++i) {
    text += {kAlphabet[i / 4096], kAlphabet[i / 64 % 64], kAlphabet[i % 64], kAlphabet[i * 7 / 64 % 64]};
  }
  EXPECT_TRUE(Decode(text) == (Decoded{LUMO_OK, OracleDecode(text)}));
}

TEST(LumoBase64, AgreesWithOpensslOnEveryPaddedGroup) {
  for (const char a : kAlphabet) {
    for (const char b : kAlphabet) {
      const std::string one = {a, b, '=', '='};
      const std::string two = {b, a, b, '='};
      ASSERT_EQ(Decode(one), (Decoded{LUMO_OK, OracleDecode(one)})) << one;
      ASSERT_EQ(Decode(two), (Decoded{LUMO_OK, OracleDecode(two)})) << two;
    }
  }
}

TEST(LumoBase64, PadsLowerEveryLaterGroup) {
  EXPECT_EQ(Decode("TQ==!!!!"), (Decoded{LUMO_OK, "M\xFF"}));
  EXPECT_EQ(Decode("!!!="), (Decoded{LUMO_OK, "\xFF\xFF"}));
  EXPECT_EQ(Decode("="), (Decoded{LUMO_OK, ""}));
}

TEST(LumoBase64, ARoomThatIsNegativeAsASignedNumberIsTooLittle) {
  TEV_BYTE room[4] = {0xAA, 0xAA, 0xAA, 0xAA};
  TEV_UINT32 size = 0x80000000;
  EXPECT_EQ(lumo_base64_decode("TWFu", 4, room, &size), LUMO_OK);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(room[0], 0xAA);
}

TEST(LumoBase64, NeverWritesBeyondTheNeededSize) {
  std::mt19937 random(2);
  const std::string characters = "Az09+/==!\r\n  ";
  for (int round = 0; round < 20000; ++round) {
    std::string text(1 + random() % 24, 0);
    for (char& character : text) character = characters[random() % characters.size()];
    TEV_UINT32 needed = 0;
    const auto length = static_cast<TEV_UINT32>(text.size());
    if (lumo_base64_decode(text.data(), length, nullptr, &needed) != LUMO_OK) continue;
    std::vector<TEV_BYTE> room(needed + 1, 0x5A);
    TEV_UINT32 size = needed;
    ASSERT_EQ(lumo_base64_decode(text.data(), length, room.data(), &size), LUMO_OK);
    EXPECT_LE(size, needed);
    EXPECT_EQ(room[needed], 0x5A);
  }
}

}  // namespace
