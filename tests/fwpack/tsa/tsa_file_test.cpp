#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/timestamp.h"
#include "tools/fwpack/tsa/tsa.h"

using packtest::ErrorOf;
using packtest::Pki;
using packtest::ReadText;
using testing::HasSubstr;

namespace {

constexpr char kSignature[] = "a signature value";

// A file with a token over kSignature, made here, and one with a reply.
class FwpackTimeStampFile : public testing::Test {
 protected:
  FwpackTimeStampFile() {
    const fwpack::CertPtr cert = fwpack::LoadCert(Pki("tsa.pem"));
    const fwpack::KeyPtr key = fwpack::LoadKey(Pki("tsa.key"));
    token_ = fwpack::MakeTimeStampToken({.cert = cert.get(), .key = key.get(), .digest = EVP_sha384()},
                                        kSignature, fwpack::ParseUtcTime(packtest::kTime));
    Write(token_);
  }

  // With the DER of TimeStampResp: status 0 in front of the token.
  static std::string ReplyWith(const std::string& status, const std::string& token) {
    const std::string content = status + token;
    std::string head = "\x30\x82";
    head += static_cast<char>(content.size() >> 8U);
    head += static_cast<char>(content.size() & 0xFFU);
    return head + content;
  }
  static std::string Status(char code) { return {0x30, 0x03, 0x02, 0x01, code}; }

  static std::string ImprintOfSignature() {
    unsigned char hash[EVP_MAX_MD_SIZE] = {};
    unsigned int length = 0;
    EXPECT_EQ(EVP_Digest(kSignature, sizeof kSignature - 1, hash, &length, EVP_sha384(), nullptr), 1);
    return {reinterpret_cast<const char*>(hash), length};
  }

  void Write(const std::string& bytes) { packtest::WriteText(dir_ / "stamp", bytes); }
  std::string Load(const std::string& signature = kSignature) {
    return fwpack::LoadTimeStamp(dir_ / "stamp", signature, {});
  }

  ScratchDir dir_{};
  std::string token_{};
};

}  // namespace

TEST_F(FwpackTimeStampFile, MayHoldTheTokenAlone) {
  EXPECT_EQ(Load(), token_);
}

TEST_F(FwpackTimeStampFile, MayHoldAGrantedReply) {
  for (const char status : {'\0', '\1'}) {
    Write(ReplyWith(Status(status), token_));
    EXPECT_EQ(Load(), token_);
  }
}

TEST_F(FwpackTimeStampFile, IsRefusedWhenItRefuses) {
  Write(ReplyWith(Status(2), ""));
  EXPECT_THAT(ErrorOf([this] { (void)Load(); }),
              HasSubstr("stamp: the time-stamp server refuses: rejection"));
  Write(ReplyWith(Status(77), ""));
  EXPECT_THAT(ErrorOf([this] { (void)Load(); }), HasSubstr("refuses: 77"));
}

TEST_F(FwpackTimeStampFile, TellsTheWordsOfARefusalWithoutTheirControlCharacters) {
  const std::string words = "\x1b[2Jno";
  const std::string utf8 = std::string("\x0c") + static_cast<char>(words.size()) + words;
  const std::string list = std::string("\x30") + static_cast<char>(utf8.size()) + utf8;
  const std::string status = std::string("\x30") + static_cast<char>(3 + list.size()) + "\x02\x01\x02" + list;
  Write(std::string("\x30") + static_cast<char>(status.size()) + status);
  EXPECT_THAT(ErrorOf([this] { (void)Load(); }), HasSubstr("refuses: rejection, '\\x1b[2Jno'"));
}

TEST_F(FwpackTimeStampFile, MustCoverTheSignature) {
  EXPECT_THAT(ErrorOf([this] { (void)Load("another signature"); }),
              HasSubstr("stamp: the time-stamp covers something else than this signature"));
}

TEST_F(FwpackTimeStampFile, MustBeOne) {
  EXPECT_THAT(ErrorOf([this] { (void)fwpack::LoadTimeStamp(dir_ / "none", kSignature, {}); }),
              HasSubstr("none: cannot be opened"));
  const std::string contentless("\x30\x0b\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x02", 13);
  for (const std::string& bytes :
       {std::string(), std::string("stamp"), ReadText(Pki("tsa.pem")), token_ + "x", contentless,
        ReplyWith(Status(0), ""), ReplyWith(Status(0), contentless), ReplyWith(Status(0), token_) + "x"}) {
    Write(bytes);
    EXPECT_THAT(ErrorOf([this] { (void)Load(); }), HasSubstr("stamp: is no time-stamp reply"));
  }
}

TEST_F(FwpackTimeStampFile, EndsWithAnErrorForEveryShorterOrBentFile) {
  const std::string reply = ReplyWith(Status(0), token_);
  for (std::size_t length = 0; length < reply.size(); length += 7) {
    Write(reply.substr(0, length));
    EXPECT_THAT(ErrorOf([this] { (void)Load(); }), HasSubstr("is no time-stamp reply")) << length;
  }
  // What surrounds the signed part may be bent in ways that change nothing; the signed part may not.
  const std::size_t imprint = reply.find(ImprintOfSignature());
  ASSERT_NE(imprint, std::string::npos);
  for (std::size_t at = 0; at < reply.size(); at += 7) {
    std::string bent = reply;
    bent[at] = static_cast<char>(bent[at] ^ 0x21);
    Write(bent);
    const std::string error = ErrorOf([this] { (void)Load(); });
    const bool is_signed_part = at >= imprint - 10 && at < imprint + 48;
    EXPECT_TRUE(!is_signed_part || error != "no error") << at;
  }
}
