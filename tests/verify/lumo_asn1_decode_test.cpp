#include "verify/asn1/lumo_asn1_decode.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/verify/asn1_decoding.h"
#include "verify/asn1/lumo_x509_templ.h"

// Single elements. What consists of elements is in lumo_asn1_constructed_test.cpp.

namespace {

using der::Bytes;

constexpr LUMO_ASN1_TEMPLATE kAny = RowFor(LUMO_ASN_OCTS_item);
constexpr LUMO_ASN1_TEMPLATE kBigint = RowFor(LUMO_ASN_BIGINT_item);
constexpr LUMO_ASN1_TEMPLATE kInt = RowFor(LUMO_ASN_INT_item);
constexpr LUMO_ASN1_TEMPLATE kBool = RowFor(LUMO_ASN_BOOL_item);
constexpr LUMO_ASN1_TEMPLATE kBits = RowFor(LUMO_ASN_BITS_item);
constexpr LUMO_ASN1_TEMPLATE kKeyUsage = RowFor(LUMO_ASN_BITS_TO_INT_item);
constexpr LUMO_ASN1_TEMPLATE kPurposes = RowFor(LUMO_ASN_EXKU_item);

LUMO_BER_TAG Tag(LUMO_BER_CLASS cls, LUMO_BER_FORM form, int code) {
  return {cls, form, static_cast<LUMO_BER_TAG_CODE>(code)};
}

// Any element.

TEST(DecOct, GivesTagLengthAndAViewOfTheContent) {
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("0403616263"), &view, &kAny);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(run.consumed, 5u);
  EXPECT_EQ(view.len, 3u);
  EXPECT_EQ(view.octs, run.at(2));
  EXPECT_EQ(view.tag, Tag(CBC_UNIV, CBF_PRIM, 4));
}

TEST(DecOct, TheHighTagNumberFormIsRefused) {
  LUMO_ASN_OCTS view{};
  for (const char* hex : {"1f0100", "3f0100", "9f0100", "ff0100"}) {
    Decoding run(lumo_dec_oct, der::FromHex(hex), &view, &kAny);
    EXPECT_EQ(run.code, 0x88300001u);
    EXPECT_EQ(run.cursor, 0u);
  }
}

TEST(DecOct, TagThirtyIsTheHighestThatCanBeDecoded) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("1e0100"), &view, &kAny).code, LUMO_OK);
  EXPECT_EQ(view.tag.code, 30);
}

TEST(DecOct, IndefiniteLengthIsRefused) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("24800401610000"), &view, &kAny).code, 0x88300101u);
}

TEST(DecOct, FourLengthOctetsAreAcceptedWhenTheContentIsThere) {
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("0484000000036162630000"), &view, &kAny);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(view.len, 3u);
}

TEST(DecOct, FiveLengthOctetsAreRefused) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("048500000000036162630000"), &view, &kAny).code, 0x88300101u);
}

TEST(DecOct, NonMinimalLengthsAreAccepted) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("0481036162630000"), &view, &kAny).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("048200036162630000"), &view, &kAny).code, LUMO_OK);
}

TEST(DecOct, ALengthBeyondTheBufferFailsAtTheLength) {
  LUMO_ASN_OCTS view{};
  for (const char* hex : {"0403616 2", "0484ffffffff61", "04847fffffff61", "0483ffffff61", "0401"}) {
    Decoding run(lumo_dec_oct, der::FromHex(hex), &view, &kAny);
    EXPECT_EQ(run.code, 0x88300101u) << hex;
    EXPECT_EQ(run.cursor, 0u);
  }
  EXPECT_EQ(view.octs, nullptr);
}

TEST(DecOct, LengthOctetsThatAreCutOffOverrunTheBuffer) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("04"), &view, &kAny).code, 0x88000201u);
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("048201"), &view, &kAny).code, 0x88000201u);
}

TEST(DecOct, ABigIntegerLosesOneLeadingZero) {
  LUMO_ASN_OCTS view{};
  Decoding one(lumo_dec_oct, der::FromHex("020200ff"), &view, &kBigint);
  EXPECT_EQ(view.len, 1u);
  EXPECT_EQ(view.octs, one.at(3));
  Decoding two(lumo_dec_oct, der::FromHex("0203000001"), &view, &kBigint);
  EXPECT_EQ(view.len, 2u);
  EXPECT_EQ(view.octs, two.at(3));
}

TEST(DecOct, TheIntegerZeroIsEmptyButNotAbsent) {
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("020100"), &view, &kBigint);
  EXPECT_EQ(view.len, 0u);
  EXPECT_EQ(view.octs, run.at(3));
}

TEST(DecOct, AnElementImplicitlyTaggedTwoLosesItsZeroToo) {
  constexpr LUMO_ASN1_TEMPLATE kTagged = RowFor(LUMO_ASN_OCTS_item, 0, Implicit(2));
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("82020005"), &view, &kTagged).code, LUMO_OK);
  EXPECT_EQ(view.len, 1u);
}

TEST(DecOct, AnotherTagThanTheItemsIsAMismatch) {
  LUMO_ASN_OCTS view{};
  for (const char* hex : {"040100", "220100", "820100"}) {
    Decoding run(lumo_dec_oct, der::FromHex(hex), &view, &kBigint);
    EXPECT_EQ(run.code, 0x88300003u) << hex;
    EXPECT_EQ(run.cursor, 0u);
  }
}

TEST(DecOct, AnImplicitTagReplacesClassAndCode) {
  constexpr LUMO_ASN1_TEMPLATE kTagged = RowFor(LUMO_ASN_SEQ_item, 0, Implicit(1));
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("a1020500"), &view, &kTagged).code, LUMO_OK);
  EXPECT_EQ(view.tag, Tag(CBC_CNTX, CBF_CONS, 1));
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("a2020500"), &view, &kTagged).code, 0x88300003u);
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("81020500"), &view, &kTagged).code, 0x88300003u);
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("30020500"), &view, &kTagged).code, 0x88300003u);
}

TEST(DecOct, AnEmptyElementLeavesLengthAndTagAlone) {
  LUMO_ASN_OCTS view = {
      .len = 7, .tag = Tag(CBC_PRIV, CBF_CONS, 9), .octs = reinterpret_cast<const TEV_BYTE*>("x")};
  Decoding run(lumo_dec_oct, der::FromHex("0400"), &view, &kAny);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(run.consumed, 2u);
  EXPECT_EQ(view.octs, nullptr);
  EXPECT_EQ(view.len, 7u);
  EXPECT_EQ(view.tag, Tag(CBC_PRIV, CBF_CONS, 9));
}

TEST(DecOct, RawGivesTheWholeElement) {
  constexpr LUMO_ASN1_TEMPLATE kRaw = RowFor(LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_RAW);
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("02020001"), &view, &kRaw);
  EXPECT_EQ(view.len, 4u);
  EXPECT_EQ(view.octs, run.at(0));
}

TEST(DecOct, PeekConsumesNothing) {
  constexpr LUMO_ASN1_TEMPLATE kPeek = RowFor(LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_PEEK | LUMO_ASN_FLAG_RAW);
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("0403616263"), &view, &kPeek);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(run.consumed, 0u);
  EXPECT_EQ(run.cursor, 0u);
  EXPECT_EQ(view.len, 5u);
}

TEST(DecOct, APeekAtAnImplicitTagRecordsTheItemsOwn) {
  static constexpr ItemOf<LUMO_ASN_OCTS> kItem =
      Primitive<LUMO_ASN_OCTS>(g_tevAsnFuncOct, CBC_UNIV, CBF_CONS, CBT_SETS);
  constexpr LUMO_ASN1_TEMPLATE kPeek = RowFor(kItem, LUMO_ASN_FLAG_PEEK | LUMO_ASN_FLAG_RAW, Implicit(0));
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("a003020101"), &view, &kPeek).code, LUMO_OK);
  EXPECT_EQ(view.tag, Tag(CBC_UNIV, CBF_CONS, 17));
}

TEST(DecOct, APeekNeedsATargetAndAnImplicitOneAnItem) {
  constexpr LUMO_ASN1_TEMPLATE kSkippedPeek =
      RowFor(LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_PEEK | LUMO_ASN_FLAG_SKIP);
  LUMO_ASN_OCTS view{};
  Decoding skipped(lumo_dec_oct, der::FromHex("0403616263"), &view, &kSkippedPeek);
  EXPECT_EQ(skipped.code, 0x88300202u);
  EXPECT_EQ(skipped.cursor, 0u);
  LUMO_ASN1_TEMPLATE without = RowFor(LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_PEEK, Implicit(0));
  without.asn1_item = nullptr;
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("a003020101"), &view, &without).code, 0x88300202u);
}

TEST(DecOct, SkipStepsOverAndStoresNothing) {
  constexpr LUMO_ASN1_TEMPLATE kSkip = RowFor(LUMO_ASN_OCTS_item, LUMO_ASN_FLAG_SKIP);
  LUMO_ASN_OCTS view{};
  Decoding run(lumo_dec_oct, der::FromHex("0403616263"), &view, &kSkip);
  EXPECT_EQ(run.consumed, 5u);
  EXPECT_EQ(view.octs, nullptr);
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("0200"), nullptr, &kSkip).code, LUMO_OK);
}

TEST(DecOct, WithoutATemplateAnythingIsTaken) {
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("c00161"), &view, nullptr).code, LUMO_OK);
  EXPECT_EQ(view.tag, Tag(CBC_PRIV, CBF_PRIM, 0));
}

TEST(DecOct, MissingArgumentsAreRefused) {
  EXPECT_EQ(Decoding(lumo_dec_oct, der::FromHex("040161"), nullptr, &kAny).code, 0x88100001u);
  LUMO_ASN_OCTS view{};
  EXPECT_EQ(lumo_dec_oct(nullptr, nullptr, &view, nullptr, &kAny), 0x88100001u);
}

// Integers.

struct IntCase {
  const char* hex;
  TEV_UINT32 code;
  LUMO_ASN_INT value;
};

TEST(DecInt, IntegersOfUpToFourOctets) {
  for (const IntCase& c :
       {IntCase{"020105", 0, 5}, IntCase{"0201ff", 0, -1}, IntCase{"02020080", 0, 128},
        IntCase{"020480000000", 0, -2147483647 - 1}, IntCase{"02047fffffff", 0, 2147483647}}) {
    LUMO_ASN_INT value = 0;
    EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex(c.hex), &value, &kInt).code, c.code);
    EXPECT_EQ(value, c.value) << c.hex;
  }
}

TEST(DecInt, FiveOctetsAreTooMany) {
  LUMO_ASN_INT value = 9;
  Decoding run(lumo_dec_int, der::FromHex("02050000000001"), &value, &kInt);
  EXPECT_EQ(run.code, 0x88300601u);
  EXPECT_EQ(run.cursor, 0u);
  EXPECT_EQ(value, 9);
}

TEST(DecInt, AnEmptyIntegerTakesTheNextOctet) {
  LUMO_ASN_INT value = 0;
  Decoding run(lumo_dec_int, der::FromHex("02000a"), &value, &kInt);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(run.consumed, 3u);
  EXPECT_EQ(value, 10);
}

TEST(DecInt, AnEmptyIntegerAtTheEndFails) {
  LUMO_ASN_INT value = 0;
  Decoding run(lumo_dec_int, der::FromHex("0200"), &value, &kInt);
  EXPECT_EQ(run.code, 0x88300601u);
  EXPECT_EQ(run.cursor, 0u);
}

TEST(DecInt, TrueIsFFOnly) {
  LUMO_ASN_INT value = 7;
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("010101"), &value, &kBool).code, LUMO_OK);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("0101ff"), &value, &kBool).code, LUMO_OK);
  EXPECT_EQ(value, 1);
}

TEST(DecInt, ABooleanHasOneOctet) {
  LUMO_ASN_INT value = 0;
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("0102ffff"), &value, &kBool).code, 0x88300801u);
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("0100ff"), &value, &kBool).code, 0x88300801u);
}

TEST(DecInt, AnotherTagIsRefused) {
  LUMO_ASN_INT value = 0;
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("040105"), &value, &kInt).code, 0x88300001u);
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("220105"), &value, &kInt).code, 0x88300001u);
}

TEST(DecInt, SkipStepsOverAnyLength) {
  constexpr LUMO_ASN1_TEMPLATE kSkip = RowFor(LUMO_ASN_INT_item, LUMO_ASN_FLAG_SKIP);
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("02050102030405"), nullptr, &kSkip).consumed, 7u);
  EXPECT_EQ(Decoding(lumo_dec_int, der::FromHex("020005"), nullptr, &kSkip).consumed, 2u);
}

TEST(DecInt, WithoutATargetTheCursorStaysBehindTheLength) {
  Decoding run(lumo_dec_int, der::FromHex("020105"), nullptr, &kInt);
  EXPECT_EQ(run.code, 0x88300601u);
  EXPECT_EQ(run.cursor, 2u);
}

// Bit strings.

TEST(DecBits, TheUnusedBitsAreIgnored) {
  LUMO_ASN_BITS bits{};
  Decoding run(lumo_dec_bits, der::FromHex("0303070102"), &bits, &kBits);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(bits.len, 2u);
  EXPECT_EQ(bits.octs, run.at(3));
}

TEST(DecBits, ItsTagIsRecordedAsRead) {
  constexpr LUMO_ASN1_TEMPLATE kTagged = RowFor(LUMO_ASN_BITS_item, 0, Implicit(1));
  LUMO_ASN_BITS bits{};
  EXPECT_EQ(Decoding(lumo_dec_bits, der::FromHex("03020001"), &bits, &kBits).code, LUMO_OK);
  EXPECT_EQ(bits.tag, Tag(CBC_UNIV, CBF_PRIM, 3));
  EXPECT_EQ(Decoding(lumo_dec_bits, der::FromHex("81020001"), &bits, &kTagged).code, LUMO_OK);
  EXPECT_EQ(bits.tag, Tag(CBC_CNTX, CBF_PRIM, 1));
}

TEST(DecBits, EmptyContentFails) {
  LUMO_ASN_BITS bits{};
  Decoding run(lumo_dec_bits, der::FromHex("030001"), &bits, &kBits);
  EXPECT_EQ(run.code, 0x88300501u);
  EXPECT_EQ(run.cursor, 0u);
}

TEST(DecBits, AConstructedOneFailsAtItsTag) {
  LUMO_ASN_BITS bits{};
  EXPECT_EQ(Decoding(lumo_dec_bits, der::FromHex("2303030100"), &bits, &kBits).code, 0x88300001u);
}

TEST(DecBits, NoTargetFailsUnlessSkipped) {
  constexpr LUMO_ASN1_TEMPLATE kSkip = RowFor(LUMO_ASN_BITS_item, LUMO_ASN_FLAG_SKIP);
  EXPECT_EQ(Decoding(lumo_dec_bits, der::FromHex("03020001"), nullptr, &kBits).code, 0x88300501u);
  EXPECT_EQ(Decoding(lumo_dec_bits, der::FromHex("03020001"), nullptr, &kSkip).code, LUMO_OK);
}

TEST(BitsToInt, OneOctetIsItselfAndTwoAreBigEndian) {
  for (const IntCase& c : {IntCase{"03020780", 0, 0x80}, IntCase{"0303078000", 0, 0x8000},
                           IntCase{"0303070080", 0, 0x0080}, IntCase{"030100", 0, 0},
                           IntCase{"030400010203", 0x88300501, 0x55}, IntCase{"0300", 0x88300501, 0x55}}) {
    LUMO_ASN_INT value = 0x55;
    EXPECT_EQ(Decoding(lumo_bits_to_int, der::FromHex(c.hex), &value, &kKeyUsage).code, c.code) << c.hex;
    EXPECT_EQ(value, c.value) << c.hex;
  }
}

TEST(KeyUsage, ItsBitsAreThoseOfTheFirstOctet) {
  EXPECT_TRUE(LumoKeyUsageHas(0x80, LUMO_KU_DIGITAL_SIGNATURE));
  EXPECT_TRUE(LumoKeyUsageHas(0x8000, LUMO_KU_DIGITAL_SIGNATURE));
  EXPECT_TRUE(LumoKeyUsageHas(0x0680, LUMO_KU_CRL_SIGN));
  EXPECT_FALSE(LumoKeyUsageHas(0x0080 << 8, LUMO_KU_CRL_SIGN));
  EXPECT_FALSE(LumoKeyUsageHas(0, LUMO_KU_DIGITAL_SIGNATURE));
}

TEST(KeyUsage, DecipherOnlyAloneReadsAsDigitalSignature) {
  LUMO_ASN_INT ku = 0;
  ASSERT_EQ(Decoding(lumo_bits_to_int, der::FromHex("0303070080"), &ku, &kKeyUsage).code, LUMO_OK);
  EXPECT_TRUE(LumoKeyUsageHas(ku, LUMO_KU_DIGITAL_SIGNATURE));
}

// Extended key usage.

constexpr const char* kCodeSigning = "1.3.6.1.5.5.7.3.3";
constexpr const char* kTimeStamping = "1.3.6.1.5.5.7.3.8";
constexpr const char* kServerAuth = "1.3.6.1.5.5.7.3.1";

LUMO_ASN_INT PurposesOf(const Bytes& input, LUMO_ASN_INT before = 0) {
  LUMO_ASN_INT mask = before;
  EXPECT_EQ(Decoding(lumo_oid_to_exku, input, &mask, &kPurposes).code, LUMO_OK);
  return mask;
}

TEST(OidToExku, OnlyTheFirstPurposeCounts) {
  EXPECT_EQ(PurposesOf(der::Seq(der::Oid(kTimeStamping), der::Oid(kCodeSigning))), 0x40);
  EXPECT_EQ(PurposesOf(der::Seq(der::Oid(kCodeSigning), der::Oid(kTimeStamping))), 0x08);
  EXPECT_EQ(PurposesOf(der::Seq(der::Oid(kServerAuth), der::Oid(kCodeSigning))), 0);
}

TEST(OidToExku, ABitIsAddedToWhatIsThere) {
  EXPECT_EQ(PurposesOf(der::Seq(der::Oid(kCodeSigning)), 0x40), 0x48);
}

TEST(OidToExku, NoPurposeLeavesTheTargetAlone) {
  EXPECT_EQ(PurposesOf(der::Seq(), 0x40), 0x40);
}

TEST(OidToExku, TenPurposesFitAndElevenDoNot) {
  const std::vector<Bytes> ten(10, der::Oid(kCodeSigning));
  const std::vector<Bytes> eleven(11, der::Oid(kCodeSigning));
  EXPECT_EQ(PurposesOf(der::SeqOf(ten)), 0x08);
  LUMO_ASN_INT mask = 0;
  EXPECT_EQ(Decoding(lumo_oid_to_exku, der::SeqOf(eleven), &mask, &kPurposes).code, 0x88300701u);
  EXPECT_EQ(mask, 0);
}

}  // namespace
