#include "tools/fwpack/tsa/tsa.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tests/fwpack/tsa/time_stamp_server.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

using packtest::ErrorOf;
using packtest::Pki;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr char kSignature[] = "a signature value";

// One server for all cases: each asks it for its own kind of answer.
class FwpackTsa : public testing::Test {
 protected:
  static void SetUpTestSuite() { server_ = std::make_unique<packtest::TimeStampServer>(); }
  static void TearDownTestSuite() { server_.reset(); }

  FwpackTsa() : bundle_(fwpack::LoadCerts(Pki("bundle.pem"))), tsa_(fwpack::LoadCert(Pki("tsa.pem"))) {
    for (const fwpack::CertPtr& cert : bundle_) known_.push_back(cert.get());
  }

  std::string Fetch(const std::string& url, const std::string& digest = "sha256") {
    return fwpack::FetchTimeStamp({.url = url, .timeout_seconds = timeout_}, kSignature,
                                  fwpack::DigestNamed(digest), known_);
  }
  std::string ErrorFrom(const std::string& answer) {
    return ErrorOf([&] { (void)Fetch(server_->Url(answer)); });
  }

  // Others check the token over what was to be stamped.
  ToolResult VerifyToken(const std::string& token) {
    packtest::WriteText(dir_ / "token", token);
    packtest::WriteText(dir_ / "signature", kSignature);
    return packtest::OpenSsl({"ts", "-verify", "-in", dir_ / "token", "-token_in", "-data",
                              dir_ / "signature", "-CAfile", Pki("root.pem"), "-untrusted",
                              Pki("tsa-ca.pem")});
  }

  static std::unique_ptr<packtest::TimeStampServer> server_;
  ScratchDir dir_{};
  std::vector<fwpack::CertPtr> bundle_;
  fwpack::CertPtr tsa_;
  std::vector<X509*> known_{};
  long timeout_ = 30;
};

std::unique_ptr<packtest::TimeStampServer> FwpackTsa::server_;

}  // namespace

TEST_F(FwpackTsa, GetsATokenThatOthersVerify) {
  for (const char* digest : {"sha256", "sha384", "sha512"}) {
    const ToolResult verified = VerifyToken(Fetch(server_->Url("good"), digest));
    EXPECT_EQ(verified.status, 0) << verified.out << verified.err;
  }
}

TEST_F(FwpackTsa, AsksWithNonceAndForCertificates) {
  std::string queries[2];
  for (std::string& query : queries) {
    (void)Fetch(server_->Url("good"));
    query = server_->LastQuery();
  }
  EXPECT_EQ(server_->LastType(), "application/timestamp-query");
  EXPECT_NE(queries[0], queries[1]);
  packtest::WriteText(dir_ / "query", queries[0]);
  const ToolResult shown = packtest::OpenSsl({"ts", "-query", "-in", dir_ / "query", "-text"});
  EXPECT_THAT(shown.out, HasSubstr("Nonce: 0x"));
  EXPECT_THAT(shown.out, HasSubstr("Certificate required: yes"));
}

TEST_F(FwpackTsa, TakesAContentTypeInCapitalsAndWithParameters) {
  EXPECT_EQ(VerifyToken(Fetch(server_->Url("type-in-capitals"))).status, 0);
}

TEST_F(FwpackTsa, NamesTheServerAndTheFaultOfItsAnswer) {
  struct Case {
    const char* answer;
    const char* error;
  };
  const Case cases[] = {
      {"wrong-nonce", "answers another request (wrong nonce)"},
      {"no-nonce", "answers another request (wrong nonce)"},
      {"wrong-imprint", "covers something else than this signature (wrong imprint)"},
      {"rejection", "refuses: rejection, badAlg"},
      {"status", "HTTP status 500 where 200 is wanted"},
      {"type", "content type 'text/html"},
      {"garbage", "is no time-stamp reply"},
      {"empty", "is no time-stamp reply"},
      {"trailing", "is no time-stamp reply"},
      {"oversize", "the reply is longer than 131072 bytes"},
      {"damaged", "does not verify"},
      {"no-stamper", "'CN = Development Signer 1' has no certificate for time-stamping"},
      {"three-certificates", "carries 3 certificates where the device decodes 2"},
      {"no-certificates", "neither the time-stamp nor the bundle has the certificate of its signer"},
      {"redirect", "HTTP status 302, a redirection to file:///etc/hostname, which is not followed"},
  };
  for (const Case& c : cases) {
    const std::string error = ErrorFrom(c.answer);
    EXPECT_THAT(error, HasSubstr(c.error)) << c.answer;
    EXPECT_THAT(error, StartsWith(server_->Url(c.answer) + ": ")) << c.answer;
    EXPECT_EQ(error.find_first_of("\x1b\n\r"), std::string::npos) << c.answer;
  }
}

TEST_F(FwpackTsa, TakesATokenWithoutCertificatesWhenTheBundleHasThem) {
  known_.push_back(tsa_.get());
  const std::string token = Fetch(server_->Url("no-certificates"));
  packtest::WriteText(dir_ / "token", token);
  const ToolResult shown =
      packtest::OpenSsl({"pkcs7", "-inform", "DER", "-in", dir_ / "token", "-print_certs", "-noout"});
  EXPECT_THAT(shown.out, testing::Not(HasSubstr("subject=")));
}

TEST_F(FwpackTsa, GivesUpOnAServerThatDoesNotAnswer) {
  timeout_ = 1;
  EXPECT_THAT(ErrorFrom("hang"), HasSubstr("no whole reply within 1 seconds; try again or give more time"));
}

TEST_F(FwpackTsa, SaysThatNobodyListens) {
  // A port that is taken but not listened at: nobody else can take it meanwhile.
  const int taken = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  ASSERT_EQ(bind(taken, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(getsockname(taken, reinterpret_cast<sockaddr*>(&address), &length), 0);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
  EXPECT_THAT(ErrorOf([&] { (void)Fetch(url); }), testing::AllOf(StartsWith(url), HasSubstr("onnect")));
  (void)close(taken);
}

TEST_F(FwpackTsa, TakesNoOtherSchemeThanHttpAndHttps) {
  for (const char* url : {"file:///etc/hostname", "ftp://127.0.0.1/", "gopher://127.0.0.1/", "tsa"}) {
    EXPECT_THAT(ErrorOf([&] { (void)Fetch(url); }), StartsWith("--tsa-url: ")) << url;
  }
  EXPECT_THAT(ErrorOf([&] { (void)Fetch(""); }), StartsWith("--tsa-url: is no URL"));
}

TEST_F(FwpackTsa, TellsNoPasswordOfTheUrl) {
  std::string url = server_->Url("status");
  url.insert(std::string("http://").size(), "user:secret@");
  EXPECT_THAT(ErrorOf([&] { (void)Fetch(url); }), StartsWith(server_->Url("status") + ": "));
}

TEST_F(FwpackTsa, TellsNoPasswordThatARedirectionInherits) {
  std::string url = server_->Url("redirect-here");
  url.insert(std::string("http://").size(), "user:secret@");
  const std::string error = ErrorOf([&] { (void)Fetch(url); });
  EXPECT_THAT(error, HasSubstr("a redirection to " + server_->Url("good") + ", which is not followed"));
  EXPECT_THAT(error, testing::Not(HasSubstr("secret")));
}

TEST_F(FwpackTsa, TellsNeitherQueryNorFragmentOfTheUrl) {
  const std::string url = server_->Url("status");
  EXPECT_THAT(ErrorOf([&] { (void)Fetch(url + "?key=secret#secret"); }),
              testing::AllOf(StartsWith(url + ": "), testing::Not(HasSubstr("secret"))));
}

TEST_F(FwpackTsa, AsksWithTheQueryOfTheUrlButTellsItOfNoRedirection) {
  const std::string error = ErrorOf([&] { (void)Fetch(server_->Url("redirect-here") + "?key=secret"); });
  EXPECT_THAT(error, HasSubstr("a redirection to " + server_->Url("good") + ", which is not followed"));
  EXPECT_THAT(error, testing::Not(HasSubstr("secret")));
}

TEST_F(FwpackTsa, TellsNoQueryWhenATokenIsRefused) {
  const std::string error = ErrorOf([&] { (void)Fetch(server_->Url("garbage") + "?key=secret"); });
  EXPECT_THAT(error,
              testing::AllOf(StartsWith(server_->Url("garbage") + ": "), testing::Not(HasSubstr("secret"))));
}

TEST_F(FwpackTsa, TakesTimeOutsThatMakeSense) {
  for (const long timeout : {0L, -1L, 3601L}) {
    timeout_ = timeout;
    EXPECT_THAT(ErrorFrom("good"), StartsWith("--tsa-timeout: ")) << timeout;
  }
}
