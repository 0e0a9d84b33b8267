#include "tools/fwpack/cli/suggest.h"

#include <gtest/gtest.h>

using fwpack::EditDistance;
using fwpack::Nearest;

TEST(EditDistanceOf, CountsInsertionsDeletionsReplacementsAndSwaps) {
  struct Case {
    const char* left;
    const char* right;
    std::size_t distance;
  };
  constexpr Case kCases[] = {
      {"", "", 0},      {"", "abc", 3},    {"abc", "", 3},      {"crl", "crl", 0}, {"crll", "crl", 1},
      {"cl", "crl", 1}, {"cxl", "crl", 1}, {"sgin", "sign", 1}, {"ba", "ab", 1},   {"kitten", "sitting", 3}};
  for (const Case& one : kCases) EXPECT_EQ(EditDistance(one.left, one.right), one.distance) << one.left;
}

TEST(NearestName, IsTheOneThatIsFewestSlipsAway) {
  const std::vector<std::string> names = {"--ca", "--crl", "--tsa-cert", "--signer-cert", "-h"};
  EXPECT_EQ(Nearest("--crll", names), "--crl");
  EXPECT_EQ(Nearest("-crl", names), "--crl");
  EXPECT_EQ(Nearest("--tsa-crt", names), "--tsa-cert");
  EXPECT_EQ(Nearest("--singer-cert", names), "--signer-cert");
}

TEST(NearestName, IsTheFirstAmongEquallyNearOnes) {
  EXPECT_EQ(Nearest("--cx", {"--ca", "--cb"}), "--ca");
}

TEST(NearestName, IsTheFirstThatBeginsWithWhatWasTypedWhenNoneIsNear) {
  EXPECT_EQ(Nearest("--sign", {"--crl", "--signer-certificate"}), "--signer-certificate");
  EXPECT_EQ(Nearest("--", {"--signer-certificate"}), "");
}

TEST(NearestName, IsNoneWhenNothingComesClose) {
  EXPECT_EQ(Nearest("--weather", {"--ca", "--crl"}), "");
  EXPECT_EQ(Nearest("", {"a"}), "");
  EXPECT_EQ(Nearest("x", {"h"}), "");
  EXPECT_EQ(Nearest("--ca", {}), "");
  EXPECT_EQ(Nearest(std::string(100000, 'a'), {std::string(99999, 'a')}), "");
}
