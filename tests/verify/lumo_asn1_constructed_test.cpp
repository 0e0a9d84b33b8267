#include <gtest/gtest.h>

#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/verify/asn1_decoding.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_x509_templ.h"

// Sets, sequences, maps and whole values.

namespace {

using der::Bytes;

constexpr LUMO_ASN1_TEMPLATE kInt = RowFor(LUMO_ASN_INT_item);

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
  elements.reserve(static_cast<std::size_t>(count));
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

TEST(DecSetOf, AnEmptySetEmptiesTheRecord) {
  Ints ints{};
  ints.set.num = 2;
  EXPECT_EQ(Decoding(lumo_dec_setof, SetOfInts(0), &ints, &kInts).code, LUMO_OK);
  EXPECT_EQ(ints.set.num, 0u);
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

TEST(DecSeq, AFieldThatReachesBehindTheContentFailsTheSequenceNotTheNextField) {
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {LUMO_FIELD(Pair, second, LUMO_ASN_BIGINT_item),
                                                 LUMO_FIELD(Pair, first, LUMO_ASN_INT_item)};
  static constexpr ItemOf<Pair> kItem = Sequence<Pair>(kRows);
  constexpr LUMO_ASN1_TEMPLATE kBoth = RowFor(kItem);
  Pair pair{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("3003020209090500"), &pair, &kBoth).code, 0x88300401u);
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

TEST(DecSeq, AnElementThatReachesBehindItsOptionalSetIsForgotten) {
  Holder holder{};
  EXPECT_EQ(Decoding(lumo_dec_seq, der::FromHex("300b310402010502010702 0108"), &holder, &kHolder).code,
            0x88300401u);
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

TEST(DecMap, AValueOfTheIntegerZeroIsEmptyToo) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(
      Decoding(lumo_dec_map, der::Seq(der::Seq(der::Oid("1.2.3.4"), der::Integer(0))), &exts, &kExtensions)
          .code,
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

TEST(DecMap, EachElementStartsFromAnEmptyEntry) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes input =
      der::Seq(Extension(kKeyUsageOid, der::FromHex("03020780")), der::Seq(der::Oid("1.2.3"), Bytes{4, 0}));
  EXPECT_EQ(Decoding(lumo_dec_map, input, &exts, &kExtensions).code, 0x88300701u);
}

TEST(DecMap, AnElementWithoutAValueIsMalformed) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(der::Seq(der::Oid("1.2.3"))), &exts, &kExtensions).code,
            0x88300401u);
}

TEST(DecMap, AnElementWithoutAnIdentifierIsUnknown) {
  LUMO_X509_CERT_EXTS exts{};
  const Bytes nameless = der::Seq(Bytes{6, 0}, der::OctetString("x"));
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(nameless), &exts, &kExtensions).code, LUMO_OK);
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(der::Seq(Bytes{6, 1, 0xFF}, der::OctetString("x"))), &exts,
                     &kExtensions)
                .code,
            LUMO_OK);
}

TEST(DecMap, AnAttributesValueIsTheFirstOfItsSet) {
  struct Attributes {
    LUMO_ASN_OCTS digest;
  };
  static constexpr LUMO_ASN1_TEMPLATE kRows[] = {
      LUMO_FIELD(Attributes, digest, LUMO_ASN_OCTS_item, .tag = Key(271), .flags = LUMO_ASN_FLAG_OPTIONAL)};
  static constexpr ItemOf<Attributes> kItem = Map<Attributes>(kRows, CBT_SETS);
  constexpr LUMO_ASN1_TEMPLATE kMap = RowFor(kItem, 0, Implicit(0));
  const Bytes type = der::Oid("1.2.840.113549.1.9.4");
  Attributes attributes{};
  const Bytes one = der::Seq(type, der::Set(der::OctetString("ab"), der::OctetString("cde")));
  EXPECT_EQ(Decoding(lumo_dec_map, der::Tlv(0xA0, one), &attributes, &kMap).code, LUMO_OK);
  EXPECT_EQ(attributes.digest.len, 2u);
  const Bytes empty = der::Seq(type, der::Set());
  EXPECT_EQ(Decoding(lumo_dec_map, der::Tlv(0xA0, one, empty), &attributes, &kMap).code, 0x88300701u);
  const Bytes hollow = der::Seq(type, der::Set(der::OctetString("")));
  EXPECT_EQ(Decoding(lumo_dec_map, der::Tlv(0xA0, one, hollow), &attributes, &kMap).code, LUMO_OK);
  EXPECT_EQ(attributes.digest.octs, nullptr);
}

TEST(DecMap, MissingArgumentsAreRefused) {
  LUMO_X509_CERT_EXTS exts{};
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(), nullptr, &kExtensions).code, 0x88100001u);
  EXPECT_EQ(Decoding(lumo_dec_map, der::Seq(), &exts, nullptr).code, 0x88100001u);
}

// The cursor.

struct CursorCase {
  const char* name;
  TEV_ASN_DECODE_ITEM decode;
  const LUMO_ASN1_TEMPLATE* templ;
  std::vector<const char*> bad;  // hexadecimal
};

constexpr LUMO_ASN1_TEMPLATE kBigint = RowFor(LUMO_ASN_BIGINT_item);
constexpr LUMO_ASN1_TEMPLATE kBool = RowFor(LUMO_ASN_BOOL_item);
constexpr LUMO_ASN1_TEMPLATE kBits = RowFor(LUMO_ASN_BITS_item);
constexpr LUMO_ASN1_TEMPLATE kKeyUsage = RowFor(LUMO_ASN_BITS_TO_INT_item);
constexpr LUMO_ASN1_TEMPLATE kPurposes = RowFor(LUMO_ASN_EXKU_item);

// A record that is large enough for all of the targets.
union AnyTarget {
  Pair pair;
  Ints ints;
  LUMO_ASN_OCTS view;
  LUMO_X509_CERT_EXTS exts;
};

TEST(Cursor, EveryFailurePutsItBackWhereItWas) {
  const std::vector<CursorCase> cases = {
      {"oct", lumo_dec_oct, &kBigint, {"1f0100", "040100", "028001", "0202ff", "02", "028201"}},
      {"int", lumo_dec_int, &kInt, {"1f0100", "040100", "028001", "0202ff", "02", "0200", "02050102030405"}},
      {"bool", lumo_dec_int, &kBool, {"0102ffff", "0100ff"}},
      {"bits", lumo_dec_bits, &kBits, {"1f0100", "040100", "038001", "0302ff", "03", "0300"}},
      {"key usage", lumo_bits_to_int, &kKeyUsage, {"1f0100", "040100", "0302ff", "0300"}},
      {"purposes", lumo_oid_to_exku, &kPurposes, {"1f0100", "060100", "3002ff", "30030602ff"}},
      {"set",
       lumo_dec_setof,
       &kInts,
       {"1f0100", "300302010a", "3103040101", "3104020101", "310c020101020101020101020101"}},
      {"sequence",
       lumo_dec_seq,
       &kPair,
       {"1f0100", "3100", "3000", "3003040101", "3005a003020105", "30050201090500", "300302020909",
        "300702010901020101"}},
      {"map",
       lumo_dec_map,
       &kExtensions,
       {"1f0100", "3100", "30020500", "3004300205 00", "30083006060100040000"}},
  };
  LUMO_VRF vrf{};
  ASSERT_EQ(lumo_set_callback_funcs(&vrf.callback_funcs), 0);
  for (const CursorCase& c : cases) {
    for (const char* hex : c.bad) {
      const Bytes input = der::Concat(Bytes{0x02, 0x01, 0x05}, der::FromHex(hex));
      LUMO_BUF buf{};
      ASSERT_EQ(lumo_buf_init(&buf, input.data(), static_cast<TEV_UINT32>(input.size())), LUMO_OK);
      buf.iCursor = 3;
      AnyTarget target{};
      TEV_UINT32 consumed = 0;
      EXPECT_NE(c.decode(&vrf, &buf, &target, &consumed, c.templ), LUMO_OK) << c.name << " " << hex;
      EXPECT_EQ(buf.iCursor, 3u) << c.name << " " << hex;
    }
  }
}

TEST(Cursor, AKeyUsageThatIsTooLongLeavesItBehindTheBits) {
  LUMO_ASN_INT value = 0;
  Decoding run(lumo_bits_to_int, der::FromHex("030400010203"), &value, &kKeyUsage);
  EXPECT_EQ(run.code, 0x88300501u);
  EXPECT_EQ(run.cursor, 6u);
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

TEST(AsnDecode, NothingIsAllocatedForGoodWhenDecodingFails) {
  FailingAllocator allocator;
  LUMO_VRF vrf{};
  vrf.callback_funcs = allocator.table();
  const Bytes input = der::Set();
  Pair* pair = nullptr;
  TEV_UINT32 consumed = 0;
  EXPECT_EQ(
      lumo_decode_as(&vrf, input.data(), static_cast<TEV_UINT32>(input.size()), kPairItem, &pair, &consumed),
      0x88300001u);
  EXPECT_EQ(pair, nullptr);
  EXPECT_EQ(allocator.calls(), 1u);
  EXPECT_EQ(allocator.live(), 0u);
}

TEST(AsnDecode, AFailedAllocationIsReturned) {
  FailingAllocator allocator(1);
  LUMO_VRF vrf{};
  vrf.callback_funcs = allocator.table();
  const Bytes input = der::Seq(der::Integer(9));
  Pair* pair = nullptr;
  TEV_UINT32 consumed = 0;
  EXPECT_EQ(
      lumo_decode_as(&vrf, input.data(), static_cast<TEV_UINT32>(input.size()), kPairItem, &pair, &consumed),
      LUMO_ERR_MALLOC);
  EXPECT_EQ(pair, nullptr);
}

TEST(AsnDecode, TheWholeRecordIsOneBlock) {
  FailingAllocator allocator;
  LUMO_VRF vrf{};
  vrf.callback_funcs = allocator.table();
  const Bytes input = der::Seq(SetOfInts(3), der::OctetString("x"));
  Holder* holder = nullptr;
  TEV_UINT32 consumed = 0;
  ASSERT_EQ(lumo_decode_as(&vrf, input.data(), static_cast<TEV_UINT32>(input.size()), kHolderItem, &holder,
                           &consumed),
            LUMO_OK);
  EXPECT_EQ(allocator.calls(), 1u);
  lumo_asn_free(&vrf, holder, nullptr, 0xFF);
  EXPECT_EQ(allocator.live(), 0u);
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
