#include "tools/fwpack/prepared_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/pem_files.h"

using packtest::ErrorOf;
using packtest::Pki;
using testing::HasSubstr;

namespace {

fwpack::PreparedState SomeState() {
  fwpack::PreparedState state;
  state.content = {.size = 21, .digest = std::string(32, 'd')};
  state.digest = "sha256";
  state.signing_time = fwpack::ParseUtcTime(packtest::kTime);
  state.form = fwpack::SignatureForm::kPem;
  state.tail.product = " BOARD: 1 ";
  state.tail.description = "desc";
  state.tail.version = fwpack::ParsePackageVersion("1.2.ABC.3.4.5.6");
  state.tail.file_type = 7;
  state.tail.code_type = 65535;
  state.tail.build_time = 1;
  state.certs.push_back(fwpack::LoadCert(Pki("signer.pem")));
  state.certs.push_back(fwpack::LoadCert(Pki("issuing-ca.pem")));
  state.attributes = fwpack::SignedAttributes(state.content.digest, state.signing_time);
  return state;
}

// A state file whose text a test changes.
class FwpackPreparedState : public testing::Test {
 protected:
  fwpack::PreparedState Load() {
    packtest::WriteText(dir_ / "state", text_);
    return fwpack::LoadPreparedState(dir_ / "state");
  }
  std::string LoadError() {
    return ErrorOf([this] { (void)Load(); });
  }
  // Puts another value into the line of a field.
  void Set(const std::string& field, const std::string& value) {
    const std::size_t at = text_.find("\n" + field + ": ") + 1;
    ASSERT_NE(at, 0U) << field;
    text_.replace(at, text_.find('\n', at) - at, field + ": " + value);
  }

  ScratchDir dir_{};
  std::string text_ = fwpack::FormatPreparedState(SomeState());
};

}  // namespace

TEST_F(FwpackPreparedState, ComesBackAsItWasWritten) {
  const fwpack::PreparedState state = Load();
  EXPECT_EQ(state.content.size, 21U);
  EXPECT_EQ(state.tail.product, " BOARD: 1 ");
  EXPECT_EQ(state.tail.code_type, 65535);
  EXPECT_EQ(state.certs.size(), 2U);
  EXPECT_EQ(state.form, fwpack::SignatureForm::kPem);
  EXPECT_EQ(fwpack::FormatPreparedState(state), text_);
}

TEST_F(FwpackPreparedState, MayLackVersionAndIssuer) {
  Set("issuer", "");
  Set("package-version", "");
  const fwpack::PreparedState state = Load();
  EXPECT_EQ(state.certs.size(), 1U);
  EXPECT_FALSE(state.tail.version.has_value());
  EXPECT_EQ(fwpack::FormatPreparedState(state), text_);
}

TEST_F(FwpackPreparedState, IsRefusedWithTheNameOfTheFieldThatIsWrong) {
  struct Case {
    const char* field;
    std::string value;
    const char* error;
  };
  const std::string signer_hex = text_.substr(text_.find("\nsigner: ") + 9, 40);
  const Case cases[] = {
      {"content-size", "0", "is no size"},
      {"content-size", "-1", "is no size"},
      {"content-size", "21 ", "is no size"},
      {"content-size", "4294967296", "is no size"},
      {"content-size", "99999999999999999999999999", "is no size"},
      {"digest", "sha1", "no digest 'sha1'"},
      {"digest", "sha512", "has not the length of its digest"},
      {"content-digest", "64", "has not the length of its digest"},
      {"content-digest", "646", "half an octet"},
      {"content-digest", "6G", "is not hexadecimal"},
      {"content-digest", std::string(64, 'A'), "is not hexadecimal"},
      {"content-digest", std::string(64, 'a'), "does not follow from the fields before it"},
      {"signing-time", "soon", "is no time"},
      {"signing-time", "2025-06-01T12:34:51Z", "does not follow from the fields before it"},
      {"signature-form", "xml", "is neither der nor pem"},
      {"product", "thirteen byte", "has 13 bytes"},
      {"product", "\x1b[2J", "other characters than printable"},
      {"description", "nine byte", "has 9 bytes"},
      {"package-version", "1.2.3", "is not of the form"},
      {"file-type", "65536", "is no number"},
      {"code-type", "", "is no number"},
      {"build-time", "1969-01-01", "is no time"},
      {"signer", "", "is no certificate"},
      {"signer", "3000", "is no certificate"},
      {"signer", signer_hex, "is no certificate"},
      {"issuer", "00", "is no certificate"},
      {"to-be-signed", "", "does not follow"},
      {"to-be-signed", "3100", "does not follow"},
  };
  const std::string good = text_;
  for (const Case& c : cases) {
    text_ = good;
    Set(c.field, c.value);
    const std::string error = LoadError();
    EXPECT_THAT(error, HasSubstr(c.error)) << c.field << " " << c.value;
    EXPECT_THAT(error, HasSubstr("/state: ")) << c.field << " " << c.value;
  }
}

TEST_F(FwpackPreparedState, ShowsWhatATerminalWouldObeyAsText) {
  const std::string good = text_;
  for (const char* field : {"digest", "file-type", "build-time"}) {
    text_ = good;
    Set(field, "\x1b[2J\xc2\x9b");
    EXPECT_THAT(LoadError(), HasSubstr("'\\x1b[2J\\xc2\\x9b'")) << field;
  }
}

TEST_F(FwpackPreparedState, TakesNoCertificateWithMoreBehindIt) {
  const std::size_t end = text_.find('\n', text_.find("\nsigner: ") + 1);
  text_.insert(end, "00");
  EXPECT_THAT(LoadError(), HasSubstr("field 'signer': is no certificate in DER"));
}

TEST_F(FwpackPreparedState, IsRefusedInAnotherVersionOrOrder) {
  const std::string good = text_;
  text_[good.find(" 1\n") + 1] = '2';
  EXPECT_THAT(LoadError(), HasSubstr("is no state file of `fwpack prepare`, or one of another version"));
  text_ = good;
  text_.insert(text_.find("digest: "), "digest: sha256\n");
  EXPECT_THAT(LoadError(), HasSubstr("has no field 'content-digest' at its place"));
  text_ = good + "more: x\n";
  EXPECT_THAT(LoadError(), HasSubstr("has more lines"));
  text_ = good + std::string(300000, 'x');
  EXPECT_THAT(LoadError(), HasSubstr("longer than"));
}

TEST_F(FwpackPreparedState, EndsWithAnErrorWhereverItIsCut) {
  const std::string good = text_;
  for (std::size_t length = 0; length < good.size(); length += length < 600 ? 1 : 61) {
    text_ = good.substr(0, length);
    EXPECT_NE(LoadError(), "no error") << length;
  }
}
