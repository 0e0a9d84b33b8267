#include "verify/asn1/lumo_asn1_decode.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "tests/support/der_builder.h"
#include "verify/asn1/lumo_x509_templ.h"
#include "verify/lumo_plt_proxy.h"

namespace {

using der::Bytes;

constexpr LUMO_ASN1_TEMPLATE RowFor(const LUMO_ASN1_ITEM& item, TEV_UINT16 flags = 0, FieldTag tag = {}) {
  return {.asn1_item = &item,
          .tagCode = tag.code,
          .tagType = tag.type,
          .flag = flags,
          .offset_val = 0,
          .pDefaultVal = 0};
}

// Runs one decode function over a buffer and keeps all that it leaves behind.
class Decoding {
 public:
  Decoding(TEV_ASN_DECODE_ITEM decode, Bytes input, void* target, const LUMO_ASN1_TEMPLATE* templ)
      : input_(std::move(input)) {
    EXPECT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0);
    EXPECT_EQ(lumo_buf_init(&buf_, input_.data(), static_cast<TEV_UINT32>(input_.size())), LUMO_OK);
    code = decode(&vrf_, &buf_, target, &consumed, templ);
    cursor = buf_.iCursor;
  }

  [[nodiscard]] const TEV_BYTE* at(std::size_t offset) const { return input_.data() + offset; }

  TEV_UINT32 code = 0;
  TEV_UINT32 consumed = 0xEEEEEEEE;
  TEV_UINT32 cursor = 0;

 private:
  LUMO_VRF vrf_{};
  Bytes input_;
  LUMO_BUF buf_{};
};

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

// Sets.

struct Ints {
  SetTypeOf<LUMO_ASN_INT, 3> set;
};
constexpr LUMO_ASN1_TEMPLATE kIntsRows[] = {LUMO_ELEMENTS(Ints, set, 3, LUMO_ASN_INT_item)};
constexpr ItemOf<Ints> kIntsItem = SetOf<Ints>(kIntsRows);
constexpr LUMO_ASN1_TEMPLATE kInts = RowFor(kIntsItem);
static_assert(IsSound(kIntsItem));

Bytes SetOfInts(int count) {
  std::vector<Bytes> elements;
  for (int i = 0; i < count; ++i) elements.push_back(der::Integer(i + 1));
  return der::SetOf(elements);
}

TEST(DecSetOf, ElementsUpToTheCapacityInTheirOrder) {
  for (int count = 0; count <= 3; ++count) {
    Ints ints{};
    Decoding run(lumo_dec_setof, SetOfInts(count), &ints, &kInts);
    EXPECT_EQ(run.code, LUMO_OK);
    EXPECT_EQ(run.consumed, 2u + 3u * static_cast<unsigned>(count));
    ASSERT_EQ(ints.set.num, static_cast<unsigned>(count));
    for (int i = 0; i < count; ++i) EXPECT_EQ(ints.set.data[i], i + 1);
  }
}

TEST(DecSetOf, OneMoreThanTheCapacityFails) {
  Ints ints{};
  Decoding run(lumo_dec_setof, SetOfInts(4), &ints, &kInts);
  EXPECT_EQ(run.code, 0x88300701u);
  EXPECT_EQ(run.cursor, 0u);
}

TEST(DecSetOf, EveryFailureIsTheSets) {
  Ints ints{};
  for (const char* hex : {"30030201 01", "31030201", "3103040101", "3104020101", "3102020101", "1f00"}) {
    Decoding run(lumo_dec_setof, der::FromHex(hex), &ints, &kInts);
    EXPECT_EQ(run.code, 0x88300701u) << hex;
    EXPECT_EQ(run.cursor, 0u) << hex;
  }
}

TEST(DecSetOf, WithoutCapacityOnlyAnEmptySetFits) {
  static constexpr LUMO_ASN1_TEMPLATE kNoneRows[] = {LUMO_ELEMENTS(Ints, set, 0, LUMO_ASN_INT_item)};
  static constexpr ItemOf<Ints> kNoneItem = SetOf<Ints>(kNoneRows);
  constexpr LUMO_ASN1_TEMPLATE kNone = RowFor(kNoneItem);
  Ints ints{};
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(0), &ints, &kNone).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(1), &ints, &kNone).code, 0x88300701u);
}

TEST(DecSetOf, AnItemWithoutExactlyOneRowIsRefused) {
  Ints ints{};
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(1), &ints, &kInt).code, 0x88100001u);
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(1), nullptr, &kInts).code, 0x88100001u);
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(1), &ints, nullptr).code, 0x88100001u);
}

// Sequences.

struct Pair {
  LUMO_ASN_INT first;
  LUMO_ASN_OCTS second;
  LUMO_ASN_BOOL third;
};
constexpr LUMO_ASN1_TEMPLATE kPairRows[] = {
    LUMO_FIELD(Pair, first, LUMO_ASN_INT_item, .tag = Explicit(0), .flags = LUMO_ASN_FLAG_OPTIONAL),
    LUMO_FIELD(Pair, second, LUMO_ASN_BIGINT_item),
    LUMO_FIELD(Pair, third, LUMO_ASN_BOOL_item, .flags = LUMO_ASN_FLAG_DEFAULT),
};
constexpr ItemOf<Pair> kPairItem = Sequence<Pair>(kPairRows);
constexpr LUMO_ASN1_TEMPLATE kPair = RowFor(kPairItem);

TEST(DecSeq, AllFieldsInOrder) {
  Pair pair{};
  Decoding run(lumo_dec_seq, der::Seq(der::Explicit(0, der::Integer(3)), der::Integer(9), der::Boolean(true)),
               &pair, &kPair);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(pair.first, 3);
  EXPECT_EQ(pair.second.len, 1u);
  EXPECT_EQ(pair.third, 1);
}

TEST(DecSeq, OptionalFieldsMayBeAbsent) {
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(der::Integer(9)), &pair, &kPair).code, LUMO_OK);
  EXPECT_EQ(pair.first, 0);
  EXPECT_EQ(pair.third, 0);
}

TEST(DecSeq, AMissingLastMandatoryFieldFails) {
  Pair pair{};
  Decoding run(lumo_dec_seq, der::Seq(der::Explicit(0, der::Integer(3))), &pair, &kPair);
  EXPECT_EQ(run.code, 0x88300401u);
  EXPECT_EQ(run.cursor, 0u);
}

TEST(DecSeq, AnUnknownTrailingFieldFails) {
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(der::Integer(9), der::Null()), &pair, &kPair).code, 0x88300401u);
}

TEST(DecSeq, AHighTagInAnOptionalFieldSkipsTheField) {
  struct Loose {
    LUMO_ASN_OCTS first;
    LUMO_ASN_OCTS second;
  };
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {
      LUMO_FIELD(Loose, first, LUMO_ASN_OCTS_item, .flags = LUMO_ASN_FLAG_OPTIONAL),
      LUMO_FIELD(Loose, second, LUMO_ASN_OCTS_item, .flags = LUMO_ASN_FLAG_OPTIONAL)};
  static constexpr ItemOf<Loose> kItem = Sequence<Loose>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kLoose = RowFor(kItem);
  Loose loose{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("30031f0100"), &loose, &kLoose).code, 0x88300401u);
  EXPECT_EQ(loose.first.octs, nullptr);
}

TEST(DecSeq, AMissingExplicitTagFailsWithoutACodeOfItsOwn) {
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {
      LUMO_FIELD(Pair, first, LUMO_ASN_INT_item, .tag = Explicit(0))};
  static constexpr ItemOf<Pair> kItem = Sequence<Pair>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kTagged = RowFor(kItem);
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(der::Integer(3)), &pair, &kTagged).code, 0xFFFFFFFFu);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(der::Explicit(1, der::Integer(3))), &pair, &kTagged).code,
            0xFFFFFFFFu);
}

TEST(DecSeq, TheLengthOfAnExplicitWrapperIsNotCompared) {
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("3008a0010201030201 09"), &pair, &kPair).code, LUMO_OK);
  EXPECT_EQ(pair.first, 3);
}

TEST(DecSeq, FieldsThatReachBehindTheContentFail) {
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("300302020909"), &pair, &kPair).code, 0x88300401u);
}

TEST(DecSeq, AnEmptySequenceTriesItsFirstFieldOnWhatFollows) {
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {
      LUMO_FIELD(Pair, third, LUMO_ASN_BOOL_item, .flags = LUMO_ASN_FLAG_DEFAULT)};
  static constexpr ItemOf<Pair> kItem = Sequence<Pair>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kOptionalOnly = RowFor(kItem);
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("3000"), &pair, &kOptionalOnly).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("30000500"), &pair, &kOptionalOnly).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("30000101ff"), &pair, &kOptionalOnly).code, 0x88300401u);
}

TEST(DecSeq, PeekAndTheFieldItselfSeeTheSameOctets) {
  struct Both {
    LUMO_ASN_OCTS raw;
    LUMO_ASN_INT value;
  };
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {
      LUMO_FIELD(Both, raw, LUMO_ASN_OCTS_item, .flags = LUMO_ASN_FLAG_PEEK | LUMO_ASN_FLAG_RAW),
      LUMO_FIELD(Both, value, LUMO_ASN_INT_item)};
  static constexpr ItemOf<Both> kItem = Sequence<Both>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kBoth = RowFor(kItem);
  Both both{};
  Decoding run(lumo_dec_seq, der::Seq(der::Integer(5)), &both, &kBoth);
  EXPECT_EQ(run.code, LUMO_OK);
  EXPECT_EQ(both.raw.len, 3u);
  EXPECT_EQ(both.raw.octs, run.at(2));
  EXPECT_EQ(both.value, 5);
}

struct Holder {
  Ints ints;
  LUMO_ASN_OCTS rest;
};
constexpr LUMO_ASN1_TEMPLATE kHolderRows[] = {
    LUMO_FIELD(Holder, ints, kIntsItem, .flags = LUMO_ASN_FLAG_OPTIONAL),
    LUMO_FIELD(Holder, rest, LUMO_ASN_OCTS_item, .flags = LUMO_ASN_FLAG_OPTIONAL),
};
constexpr ItemOf<Holder> kHolderItem = Sequence<Holder>(kHolderRows);
constexpr LUMO_ASN1_TEMPLATE kHolder = RowFor(kHolderItem);

TEST(DecSeq, AnOptionalSetThatHoldsTooMuchIsNeverForgiven) {
  Holder holder{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(SetOfInts(3)), &holder, &kHolder).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(SetOfInts(4)), &holder, &kHolder).code, 0x88300701u);
}

TEST(DecSeq, OtherFailuresOfAnOptionalSetAreForgotten) {
  Holder holder{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(der::Set(der::OctetString("x"))), &holder, &kHolder).code,
            LUMO_OK);
  EXPECT_NE(holder.rest.octs, nullptr);
}

TEST(DecSeq, ABitStringMayWrapAStructure) {
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {LUMO_FIELD(Pair, second, LUMO_ASN_BIGINT_item)};
  static constexpr ItemOf<Pair> kItem = SequenceInBits<Pair>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kWrapped = RowFor(kItem);
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("030400020105"), &pair, &kWrapped).code, LUMO_OK);
  EXPECT_EQ(pair.second.len, 1u);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("0300020105"), &pair, &kWrapped).code, 0x88300401u);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("230400020105"), &pair, &kWrapped).code, 0x88300001u);
}

TEST(DecSeq, MissingArgumentsAreRefused) {
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(), nullptr, &kPair).code, 0x88100001u);
  EXPECT_EQ(Decoding(lumo_dec_seq, der::Seq(), &pair, nullptr).code, 0x88100001u);
}

// Maps.

constexpr LUMO_ASN1_TEMPLATE kExtensions = {.asn1_item = &LUMO_X509_CERT_EXTS_item,
                                            .tagCode = 0,
                                            .tagType = LUMO_ASN_TAG_NONE,
                                            .flag = 0,
                                            .offset_val = 0,
                                            .pDefaultVal = 0};

Bytes Extension(const char* oid, const Bytes& value, bool critical = false) {
  return critical ? der::Seq(der::Oid(oid), der::Boolean(true), der::OctetString(value))
                  : der::Seq(der::Oid(oid), der::OctetString(value));
}

constexpr const char* kKeyUsageOid = "2.5.29.15";
constexpr const char* kBasicConstraintsOid = "2.5.29.19";

TEST(DecMap, KnownIdentifiersReachTheirFields) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes input = der::Seq(Extension(kKeyUsageOid, der::FromHex("03020780"), true),
                               Extension(kBasicConstraintsOid, der::Seq(der::Boolean(true))));
  EXPECT_EQ(Decoding(lumo_dec_map, input, &exts, &kExtensions).code, LUMO_OK);
  EXPECT_EQ(exts.ku, 0x80);
  EXPECT_EQ(exts.ca_info.is_ca, 1);
}

TEST(DecMap, UnknownIdentifiersAreIgnoredEvenWhenCritical) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes input =
      der::Seq(Extension("1.2.3.4", der::Null(), true), Extension("2.5.29.30", der::Null(), true));
  EXPECT_EQ(Decoding(lumo_dec_map, input, &exts, &kExtensions).code, LUMO_OK);
}

TEST(DecMap, AnEmptyValueFailsTheWholeMap) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(Extension("1.2.3.4", {})), &exts, &kExtensions).code,
            0x88300701u);
}

TEST(DecMap, ARepeatedIdentifierIsDecodedAgain) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes input = der::Seq(Extension(kKeyUsageOid, der::FromHex("03020780")),
                               Extension(kKeyUsageOid, der::FromHex("03020106")));
  EXPECT_EQ(Decoding(lumo_dec_map, input, &exts, &kExtensions).code, LUMO_OK);
  EXPECT_EQ(exts.ku, 0x06);
}

TEST(DecMap, WhatAValueLeavesUnusedIsNoError) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes input = der::Seq(Extension(kKeyUsageOid, der::FromHex("030207800500")));
  EXPECT_EQ(Decoding(lumo_dec_map, input, &exts, &kExtensions).code, LUMO_OK);
}

TEST(DecMap, AnErrorOfAKnownValueIsReturned) {
  LUMO_X509_CERT_EXTS exts{};
  Decoding run(lumo_dec_map, der::Seq(Extension(kKeyUsageOid, der::FromHex("030400010203"))), &exts,
               &kExtensions);
  EXPECT_EQ(run.code, 0x88300501u);
  EXPECT_EQ(run.cursor, 0u);
}

TEST(DecMap, EmptyContentIsASuccess) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(), &exts, &kExtensions).code, LUMO_OK);
}

TEST(DecMap, AnotherTagOrAnElementBehindTheContentFails) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(Decoding(lumo_dec_map, der::Set(), &exts, &kExtensions).code, 0x88300701u);
  EXPECT_EQ(Decoding(lumo_dec_map, der::FromHex("300430060603 2a0304 0401ff"), &exts, &kExtensions).code,
            0x88300401u);
  EXPECT_EQ(Decoding(lumo_dec_map, der::FromHex("300630080603 2a0304 0401ff"), &exts, &kExtensions).code,
            0x88300701u);
}

// The whole.

TEST(AsnDecode, GivesARecordAndWhatItConsumed) {
  LUMO_VRF vrf{};
  ASSERT_EQ(lumo_set_callback_funcs(&vrf.callback_funcs), 0);
  const Bytes input = der::Concat(der::Seq(der::Integer(9)), der::Null());
  Pair* pair = nullptr;
  TEV_UINT32 consumed = 0;
  ASSERT_EQ(
      lumo_decode_as(&vrf, input.data(), static_cast<TEV_UINT32>(input.size()), kPairItem, &pair, &consumed),
      LUMO_OK);
  EXPECT_EQ(consumed, 5u);
  EXPECT_EQ(pair->second.octs, input.data() + 4);
  lumo_asn_free(&vrf, pair, &kPairItem, 0);
}

TEST(AsnDecode, MissingArgumentsAreRefused) {
  LUMO_VRF vrf{};
  ASSERT_EQ(lumo_set_callback_funcs(&vrf.callback_funcs), 0);
  const Bytes input = der::Seq(der::Integer(9));
  void* record = nullptr;
  TEV_UINT32 consumed = 0;
  EXPECT_EQ(lumo_asn_decode(&vrf, nullptr, 5, &kPairItem, 0, &record, &consumed), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_asn_decode(&vrf, input.data(), 0, &kPairItem, 0, &record, &consumed), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_asn_decode(&vrf, input.data(), 5, nullptr, 0, &record, &consumed), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_asn_decode(&vrf, input.data(), 5, &kPairItem, 0, nullptr, &consumed), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_asn_decode(&vrf, input.data(), 5, &kPairItem, 0, &record, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(record, nullptr);
}

TEST(AsnDecode, AHundredThousandNestedSequencesAreStoppedByTheTables) {
  const Bytes innermost = der::Null();
  Bytes deep;
  for (int i = 0; i < 100000; ++i) {
    deep.push_back(0x30);
    deep.push_back(0x84);
    const auto left = static_cast<TEV_UINT32>(6 * (99999 - i) + 2);
    for (int shift = 24; shift >= 0; shift -= 8) deep.push_back(static_cast<TEV_BYTE>(left >> shift));
  }
  deep.insert(deep.end(), innermost.begin(), innermost.end());
  LUMO_VRF vrf{};
  ASSERT_EQ(lumo_set_callback_funcs(&vrf.callback_funcs), 0);
  LUMO_X509_CERT* cert = nullptr;
  TEV_UINT32 consumed = 0;
  EXPECT_NE(lumo_decode_as(&vrf, deep.data(), static_cast<TEV_UINT32>(deep.size()), LUMO_X509_CERT_item,
                           &cert, &consumed),
            LUMO_OK);
  EXPECT_EQ(cert, nullptr);
}

}  // namespace
