#include "tests/support/der_builder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using der::FromHex;

TEST(DerBuilder, WritesTheEncodingsOfTheStandardsExamples) {
  EXPECT_EQ(der::Integer(0), FromHex("02 01 00"));
  EXPECT_EQ(der::Integer(127), FromHex("02 01 7F"));
  EXPECT_EQ(der::Integer(128), FromHex("02 02 00 80"));
  EXPECT_EQ(der::Integer(-128), FromHex("02 01 80"));
  EXPECT_EQ(der::Integer(-129), FromHex("02 02 FF 7F"));
  EXPECT_EQ(der::UnsignedInteger({0x80}), FromHex("02 02 00 80"));
  EXPECT_EQ(der::Oid("1.2.840.113549"), FromHex("06 06 2A 86 48 86 F7 0D"));
  EXPECT_EQ(der::Oid("2.999.3"), FromHex("06 03 88 37 03"));
  EXPECT_EQ(der::BitString({0x0A, 0x3B}, 4), FromHex("03 03 04 0A 3B"));
  EXPECT_EQ(der::Boolean(true), FromHex("01 01 FF"));
  EXPECT_EQ(der::Printable("A"), FromHex("13 01 41"));
}

TEST(DerBuilder, NestsAndTags) {
  EXPECT_EQ(der::Seq(der::Integer(1), der::Null()), FromHex("30 05 02 01 01 05 00"));
  EXPECT_EQ(der::Explicit(3, der::Integer(1)), FromHex("A3 03 02 01 01"));
  EXPECT_EQ(der::Implicit(0, der::Set(der::Null())), FromHex("A0 02 05 00"));
  EXPECT_EQ(der::Implicit(4, der::Boolean(true)), FromHex("84 01 FF"));
  EXPECT_EQ(der::LongTag(0xA0, 0x4001, {}), FromHex("BF 81 80 01 00"));
}

TEST(DerBuilder, WritesEveryFormOfLength) {
  EXPECT_EQ(der::Length(127), FromHex("7F"));
  EXPECT_EQ(der::Length(128), FromHex("81 80"));
  EXPECT_EQ(der::Length(65536), FromHex("83 01 00 00"));
  EXPECT_EQ(der::LongLength(5, 4), FromHex("84 00 00 00 05"));
  EXPECT_EQ(der::LongLength(0xFFFFFFFF, 4), FromHex("84 FF FF FF FF"));
  EXPECT_EQ(der::Indefinite(0x30, der::Null()), FromHex("30 80 05 00 00 00"));
}

TEST(DerBuilder, TakesApartWhatItBuilt) {
  const der::Bytes sequence = der::Seq(der::Integer(1), der::OctetString(der::Bytes(300, 7)));
  const std::vector<der::Bytes> children = der::Children(der::ContentOf(sequence));
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(children[0], der::Integer(1));
  EXPECT_EQ(der::ContentOf(children[1]), der::Bytes(300, 7));
  EXPECT_THROW(der::FirstElement(FromHex("30 05 02")), std::invalid_argument);
  EXPECT_THROW(der::Oid("1.x"), std::invalid_argument);
}

}  // namespace
