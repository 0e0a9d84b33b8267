#include "tools/fwpack/keys/pkcs11_uri.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"

using fwpack::ParsePkcs11Uri;
using packtest::ErrorOf;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::Optional;

TEST(Pkcs11Uri, IsToldFromAFile) {
  EXPECT_TRUE(fwpack::IsPkcs11Uri("pkcs11:token=a"));
  EXPECT_FALSE(fwpack::IsPkcs11Uri("pkcs11.pem"));
  EXPECT_TRUE(fwpack::IsPkcs11Uri("PKCS11:token=a")) << "no file, of which an error would show the PIN";
  EXPECT_EQ(ParsePkcs11Uri("PKCS11:token=a").object, "pkcs11:token=a");
  EXPECT_FALSE(fwpack::IsPkcs11Uri("dir/pkcs11:a"));
  EXPECT_FALSE(fwpack::IsPkcs11Uri("pkcs11"));
}

TEST(Pkcs11Uri, IsTakenApart) {
  const auto uri = ParsePkcs11Uri(
      "pkcs11:token=My%20token;object=signer?pin-source=file:/run/pin&module-path=/usr/lib/m%2eso");
  EXPECT_EQ(uri.object, "pkcs11:token=My%20token;object=signer");
  EXPECT_THAT(uri.pin_file, Optional(std::string("/run/pin")));
  EXPECT_THAT(uri.module_path, Optional(std::string("/usr/lib/m.so")));
  EXPECT_EQ(uri.pin, std::nullopt);
}

TEST(Pkcs11Uri, KeepsThePinOutOfWhatIsShown) {
  for (const char* text :
       {"pkcs11:token=t;object=o?pin-value=12%3A4", "pkcs11:token=t;pin-value=12%3a4;object=o"}) {
    const auto uri = ParsePkcs11Uri(text);
    EXPECT_EQ(uri.object, "pkcs11:token=t;object=o");
    ASSERT_TRUE(uri.pin);
    EXPECT_EQ(fwpack::TextOf(*uri.pin), "12:4");
  }
}

TEST(Pkcs11Uri, ShowsNoPinThatIsWrittenAmiss) {
  for (const char* text : {"pkcs11:token=t?PIN-VALUE=98765", "pkcs11:token=t;PIN-VALUE=98765",
                           "pkcs11:token=t;Pin-Value=98765?pin-value=1", "PKCS11:token=t?Pin-value=98765",
                           "pkcs11:token=t&pin-value=98765", "pkcs11:token=t; pin-value=98765",
                           "pkcs11:token=t;pin-value:98765", "pkcs11:token=t?x-PIN-VALUE=98765"}) {
    EXPECT_THAT(ErrorOf([text] { (void)ParsePkcs11Uri(text); }),
                AllOf(HasSubstr("write it like pkcs11:"), Not(HasSubstr("98765"))))
        << text;
  }
}

TEST(Pkcs11Uri, PinSourceIsAFileByUrlOrByName) {
  for (const char* source : {"/run/pin", "file:/run/pin", "file:///run/pin"}) {
    EXPECT_THAT(ParsePkcs11Uri(std::string("pkcs11:token=t?pin-source=") + source).pin_file,
                Optional(std::string("/run/pin")));
  }
}

TEST(Pkcs11Uri, ThatMakesNoSenseIsRefusedWithoutItsPin) {
  struct Case {
    const char* uri;
    const char* error;
  };
  const Case cases[] = {
      {"signer.key", "begins with \"pkcs11:\""},
      {"pkcs11:token=t?pin-value=98765%", "pin-value"},
      {"pkcs11:token=t?pin-value=98765%4", "pin-value"},
      {"pkcs11:token=t?pin-value=98765%xy", "pin-value"},
      {"pkcs11:token=t?pin-value=98765&x-unknown=1", "only pin-value"},
      {"pkcs11:token=t?pin-source=%7Cget-pin", "names no file"},
      {"pkcs11:token=t?pin-source=https://host/pin", "names no file"},
      {"pkcs11:token=t?pin-source=", "names no file"},
      {"pkcs11:token=t?98765", "only pin-value"},
  };
  for (const Case& c : cases) {
    EXPECT_THAT(ErrorOf([&c] { (void)ParsePkcs11Uri(c.uri); }),
                AllOf(HasSubstr(c.error), Not(HasSubstr("98765"))));
  }
}

TEST(Pkcs11Uri, OfTheCertificateBesideAKey) {
  EXPECT_EQ(fwpack::CertificateUri("pkcs11:token=t;type=private;object=o"),
            "pkcs11:token=t;object=o;type=cert");
  EXPECT_EQ(fwpack::CertificateUri("pkcs11:"), "pkcs11:type=cert");
}
