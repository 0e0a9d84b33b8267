#include "verify/asn1/lumo_x509_name.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/x509_fixture.h"

namespace {

using pki::Bytes;

class LumoX509Name : public LumoX509 {
 protected:
  std::string TextOf(const Bytes& name, LUMO_ERROR_CODE expected = LUMO_OK) {
    TEV_CHAR* text = nullptr;
    TEV_UINT32 length = 0;
    const LUMO_X509_NAME* decoded = NameOf(name);
    if (decoded == nullptr) return "not decoded";
    EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, decoded, &text, &length), expected);
    if (text == nullptr) return "";
    std::string result = text;
    EXPECT_EQ(result.size(), length);
    lumo_free(&vrf_, text);
    return result;
  }
};

constexpr const char* kCommonName = "2.5.4.3";
constexpr const char* kCountry = "2.5.4.6";
constexpr const char* kOrganization = "2.5.4.10";

Bytes Attribute(const char* oid, const Bytes& value) {
  return der::Seq(der::Oid(oid), value);
}
Bytes Rdn(const char* oid, const Bytes& value) {
  return der::Set(Attribute(oid, value));
}
Bytes CommonName(const std::string& text) {
  return der::Seq(Rdn(kCommonName, der::Utf8(text)));
}

TEST_F(LumoX509Name, NamesDifferInCase) {
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")), NameOf(CommonName("A"))), 0xFFFFFFFFu);
}

TEST_F(LumoX509Name, StringTypesDoNotMatter) {
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")),
                                   NameOf(der::Seq(Rdn(kCommonName, der::Printable("a"))))),
            LUMO_OK);
}

TEST_F(LumoX509Name, OnlyTheFirstAttributeOfAnRdnIsCompared) {
  const Bytes one =
      der::Seq(der::Set(Attribute(kCommonName, der::Utf8("a")), Attribute(kOrganization, der::Utf8("x"))));
  const Bytes two =
      der::Seq(der::Set(Attribute(kCommonName, der::Utf8("a")), Attribute(kOrganization, der::Utf8("y"))));
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(two)), LUMO_OK);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(CommonName("a"))), LUMO_OK);
}

TEST_F(LumoX509Name, NamesOfDifferentLengthsOrTypesDiffer) {
  const Bytes two = der::Seq(Rdn(kCommonName, der::Utf8("a")), Rdn(kCommonName, der::Utf8("a")));
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")), NameOf(two)), 0xFFFFFFFFu);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")),
                                   NameOf(der::Seq(Rdn(kOrganization, der::Utf8("a"))))),
            0xFFFFFFFFu);
}

TEST_F(LumoX509Name, EmptyNamesAreEqualAndNullIsRefused) {
  const LUMO_X509_NAME* empty = NameOf(der::Seq());
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, empty, NameOf(der::Seq())), LUMO_OK);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, nullptr, empty), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, empty, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoX509Name, ANameReadsInEncodedOrder) {
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCountry, der::Printable("CN")), Rdn(kOrganization, der::Utf8("x")),
                            Rdn(kCommonName, der::Utf8("y")))),
            "C=CN,O=x,CN=y");
}

TEST_F(LumoX509Name, EveryKnownAttributeHasItsPrefix) {
  EXPECT_EQ(TextOf(der::Seq(Rdn("2.5.4.3", der::Utf8("a")), Rdn("2.5.4.7", der::Utf8("b")),
                            Rdn("2.5.4.8", der::Utf8("c")), Rdn("2.5.4.10", der::Utf8("d")),
                            Rdn("2.5.4.11", der::Utf8("e")), Rdn("2.5.4.6", der::Utf8("f")),
                            Rdn("1.2.840.113549.1.9.1", der::Ia5("g")), Rdn("2.5.29.15", der::Utf8("h")))),
            "CN=a,L=b,S=c,O=d,OU=e,C=f,E=g,xx=h");
}

TEST_F(LumoX509Name, AnAttributeOutsideTheTableFailsTheConversion) {
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCommonName, der::Utf8("a")), Rdn("2.5.4.5", der::Printable("123"))),
                   LUMO_ERR_NAME_CONVERT),
            "");
}

TEST_F(LumoX509Name, AnEmptyNameIsAnEmptyText) {
  EXPECT_EQ(TextOf(der::Seq()), "");
}

TEST_F(LumoX509Name, AValueIsCutAtAZeroOctet) {
  EXPECT_EQ(TextOf(CommonName(std::string("ab\0cd", 5))), "CN=ab");
}

TEST_F(LumoX509Name, AValueThatFillsTheRoomLosesItsLastOctetAndALongerOneIsDropped) {
  EXPECT_EQ(TextOf(CommonName(std::string(124, 'x'))), "CN=" + std::string(124, 'x'));
  EXPECT_EQ(TextOf(CommonName(std::string(125, 'x'))), "CN=" + std::string(124, 'x'));
  EXPECT_EQ(TextOf(CommonName(std::string(126, 'x'))), "CN=");
}

TEST_F(LumoX509Name, WhatDoesNotFitDropsTheTailOfItsRdnOnly) {
  const Bytes filler = der::Utf8(std::string(120, 'x'));
  const std::string taken = "CN=" + std::string(120, 'x');
  const Bytes name =
      der::Seq(Rdn(kCommonName, filler), Rdn(kCommonName, filler),
               der::Set(Attribute(kCommonName, der::Utf8("too long")), Attribute(kCountry, der::Utf8("c"))),
               Rdn(kCountry, der::Utf8("d")));
  EXPECT_EQ(TextOf(name), taken + "," + taken + ",C=d");
}

TEST_F(LumoX509Name, ANameOf255CharactersFits) {
  const Bytes name =
      der::Seq(Rdn(kCommonName, der::Utf8(std::string(120, 'x'))),
               Rdn(kCommonName, der::Utf8(std::string(120, 'x'))), Rdn(kCountry, der::Utf8("12345")));
  EXPECT_EQ(TextOf(name).size(), 255u);
  const Bytes longer =
      der::Seq(Rdn(kCommonName, der::Utf8(std::string(120, 'x'))),
               Rdn(kCommonName, der::Utf8(std::string(120, 'x'))), Rdn(kCountry, der::Utf8("123456")));
  EXPECT_EQ(TextOf(longer).size(), 247u);
}

TEST_F(LumoX509Name, TheConversionRefusesMissingArguments) {
  TEV_CHAR* text = nullptr;
  TEV_UINT32 length = 0;
  const LUMO_X509_NAME* name = NameOf(CommonName("a"));
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, nullptr, &text, &length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, name, nullptr, &length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, name, &text, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoX509Name, NamesWithoutAttributesInTheirRdnsAreEqual) {
  const Bytes hollow = der::Seq(der::Set());
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(hollow), NameOf(hollow)), LUMO_OK);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(hollow), NameOf(CommonName("a"))), 0xFFFFFFFFu);
  EXPECT_EQ(TextOf(hollow), "");
}

TEST_F(LumoX509Name, ALaterRdnDecidesToo) {
  const Bytes one = der::Seq(Rdn(kCountry, der::Utf8("c")), Rdn(kCommonName, der::Utf8("a")));
  const Bytes two = der::Seq(Rdn(kCountry, der::Utf8("c")), Rdn(kCommonName, der::Utf8("b")));
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(two)), 0xFFFFFFFFu);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(one)), LUMO_OK);
}

TEST_F(LumoX509Name, BlanksAreNotFolded) {
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a b")), NameOf(CommonName("a  b"))),
            0xFFFFFFFFu);
}

TEST_F(LumoX509Name, AnEmptyValueIsItsPrefixAlone) {
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCommonName, der::Utf8("")), Rdn(kCountry, der::Utf8("c")))), "CN=,C=c");
}

TEST_F(LumoX509Name, AnUnknownTypeBehindWhatNoLongerFitsIsNotLookedAt) {
  const Bytes filler = der::Utf8(std::string(120, 'x'));
  const Bytes tail =
      der::Set(Attribute(kCommonName, der::Utf8("too long")), Attribute("2.5.4.5", der::Utf8("1")));
  const std::string taken = "CN=" + std::string(120, 'x');
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCommonName, filler), Rdn(kCommonName, filler), tail)), taken + "," + taken);
}

TEST_F(LumoX509Name, AllAttributesOfAnRdnAreRead) {
  EXPECT_EQ(
      TextOf(der::Seq(der::Set(Attribute(kCommonName, der::Utf8("a")), Attribute(kCountry, der::Utf8("c"))))),
      "CN=a,C=c");
}

TEST_F(LumoX509Name, AFailedAllocationIsReturned) {
  const LUMO_X509_NAME* name = NameOf(CommonName("a"));
  const LUMO_CALLBACK_FUNCS own = vrf_.callback_funcs;
  {
    FailingAllocator allocator(1);
    vrf_.callback_funcs = allocator.table();
    TEV_CHAR* text = nullptr;
    TEV_UINT32 length = 0;
    EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, name, &text, &length), LUMO_ERR_MALLOC);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(allocator.live(), 0u);
  }
  vrf_.callback_funcs = own;
}

TEST_F(LumoX509Name, AnyStringCallbackThatFailsIsReportedAndTheTextIsFreed) {
  const LUMO_X509_NAME* name =
      NameOf(der::Seq(Rdn(kCommonName, der::Utf8("a")), Rdn(kCountry, der::Utf8("c"))));
  const LUMO_CALLBACK_FUNCS own = vrf_.callback_funcs;
  for (const Slot slot : {Slot::kStrcpy, Slot::kStrcat, Slot::kMemcpy}) {
    for (unsigned long nth = 1;; ++nth) {
      FaultyCallbacks callbacks;
      vrf_.callback_funcs = callbacks.table();
      callbacks.FailNth(slot, nth);
      TEV_CHAR* text = nullptr;
      TEV_UINT32 length = 0;
      const LUMO_ERROR_CODE rc = lumo_convert_from_x509_name(&vrf_, name, &text, &length);
      EXPECT_EQ(rc != LUMO_OK, callbacks.failed()) << ::NameOf(slot) << nth;
      lumo_free(&vrf_, text);
      EXPECT_EQ(callbacks.live(), 0) << ::NameOf(slot) << nth;
      if (callbacks.failed()) continue;
      EXPECT_GT(nth, 2u) << ::NameOf(slot);
      break;
    }
  }
  vrf_.callback_funcs = own;
}

}  // namespace
