#include <gmock/gmock.h>
#include <openssl/bn.h>

#include <cstdlib>
#include <functional>
#include <iostream>

#include "tests/fwpack/keys/keys_fixture.h"
#include "tests/fwpack/sign/sign_arguments.h"

using fwpack::Identity;
using fwpack::IdentitySource;
using fwpack::LoadIdentity;
using packtest::LoadError;
using packtest::Pki;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// For builds with LeakSanitizer: the engine gives back neither its copy of the RSA method nor what OpenSSL
// allocated for it when a key cannot be loaded, and its frames are gone with it by the time leaks are looked
// for. Only this program loads it; the others keep their checks.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_options();       // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_options() {
  return "print_suppressions=0";  // they would mix with what the tests compare
}
extern "C" const char* __lsan_default_suppressions() {
  return "leak:RSA_meth_dup\nleak:CRYPTO_zalloc\n";
}

namespace {

constexpr char kPin[] = "87654321";
constexpr char kKeyUri[] = "pkcs11:token=fwpack%20test;object=signer";
constexpr char kBareUri[] = "pkcs11:token=fwpack%20test;object=bare";

void Run(const std::string& program, const std::vector<std::string>& arguments) {
  const ToolResult result = RunTool(program, arguments);
  ASSERT_EQ(result.status, 0) << result.out << result.err;
}

// A token of SoftHSM's: "signer" has a key and its certificate, "bare" a key alone, "other" a certificate
// alone, "ec" a key of another kind.
class SoftToken {
 public:
  SoftToken() {
    std::filesystem::create_directory(dir_ / "tokens");
    packtest::WriteText(dir_ / "softhsm2.conf", "directories.tokendir = " + (dir_ / "tokens") +
                                                    "\nobjectstore.backend = file\nlog.level = ERROR\n");
    EXPECT_EQ(setenv("SOFTHSM2_CONF", (dir_ / "softhsm2.conf").c_str(), 1), 0);
    EXPECT_EQ(setenv("PKCS11_MODULE_PATH", FWVET_SOFTHSM2_MODULE, 1), 0);
    Run(FWVET_SOFTHSM2_UTIL,
        {"--init-token", "--free", "--label", "fwpack test", "--so-pin", "1234567890", "--pin", kPin});
    ImportKey("signer", Pki("signer.key"), "a1");
    ImportCert("signer", Pki("signer.pem"), "a1");
    ImportKey("bare", Pki("signer2.key"), "b2");
    ImportCert("other", Pki("signer2.pem"), "c3");
    EXPECT_EQ(packtest::OpenSsl({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                                 "-out", dir_ / "ec.key"})
                  .status,
              0);
    ImportKey("ec", dir_ / "ec.key", "d4");
  }

 private:
  static void ImportKey(const std::string& label, const std::string& key, const std::string& id) {
    Run(FWVET_SOFTHSM2_UTIL,
        {"--import", key, "--token", "fwpack test", "--label", label, "--id", id, "--pin", kPin});
  }
  void ImportCert(const std::string& label, const std::string& cert, const std::string& id) const {
    EXPECT_EQ(packtest::OpenSsl({"x509", "-in", cert, "-outform", "DER", "-out", dir_ / "cert.der"}).status,
              0);
    Run(FWVET_PKCS11_TOOL,
        {"--module", FWVET_SOFTHSM2_MODULE, "--token-label", "fwpack test", "--login", "--pin", kPin,
         "--write-object", dir_ / "cert.der", "--type", "cert", "--label", label, "--id", id});
  }

  ScratchDir dir_{};
};

class Token : public packtest::KeysTest {
 protected:
  static void SetUpTestSuite() { soft_token_ = new SoftToken; }
  static void TearDownTestSuite() { delete soft_token_; }

  // What `work` returns and all that is printed meanwhile, in a process of its own that must also end well: a
  // login is for the whole process, and a module that was loaded is in the way of its end.
  static void InFreshProcess(const std::function<std::string()>& work,
                             const testing::Matcher<const std::string&>& expected) {
    const auto run = [&work] {
      std::cerr << work();
      std::exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), expected);
  }
  static void ExpectSigns(const IdentitySource& source, const std::filesystem::path& cert) {
    const auto sign = [&] { return packtest::SignsAs(LoadIdentity(source), cert) ? "signed" : "not signed"; };
    InFreshProcess(sign, testing::StrEq("signed"));
  }
  static void ExpectRefused(const IdentitySource& source,
                            const testing::Matcher<const std::string&>& expected) {
    InFreshProcess([&source] { return LoadError(source); }, expected);
  }

 private:
  static SoftToken* soft_token_;  // no owner that the end of a fresh process would run
};

SoftToken* Token::soft_token_ = nullptr;

}  // namespace

TEST_F(Token, SignsWithItsKeyAndGivesTheCertificateBesideIt) {
  ExpectSigns(Source(kKeyUri, "", kPin), Pki("signer.pem"));
}

TEST_F(Token, KeepsTheKeyToItself) {
  const auto ask_for_secret = [this] {
    const Identity identity = LoadIdentity(Source(kKeyUri, "", kPin));
    BIGNUM* exponent = nullptr;
    return EVP_PKEY_get_bn_param(identity.key.get(), "d", &exponent) == 1 ? "given" : "kept";
  };
  InFreshProcess(ask_for_secret, testing::StrEq("kept"));
}

TEST_F(Token, TakesThePinOfTheUri) {
  const std::string uri = kKeyUri;
  ExpectSigns({uri + "?pin-value=" + kPin, "", {}}, Pki("signer.pem"));
  ExpectSigns({uri + ";pin-value=" + kPin, "", {}}, Pki("signer.pem"));
  ExpectSigns({uri + "?pin-source=file:" + File("pin", kPin), "", {}}, Pki("signer.pem"));
}

TEST_F(Token, PrefersThePinThatIsGivenToThatOfTheUri) {
  ExpectSigns(Source(std::string(kKeyUri) + "?pin-value=0000", "", kPin), Pki("signer.pem"));
}

TEST_F(Token, NamesItsObjectsByTypeAndId) {
  ExpectSigns(Source("pkcs11:token=fwpack%20test;id=%a1;type=private", "", kPin), Pki("signer.pem"));
}

TEST_F(Token, IsFoundThroughTheModuleOfTheUri) {
  const std::string uri = kKeyUri;
  ExpectRefused(Source(uri + "?module-path=/nonexistent.so", "", kPin), HasSubstr("no such private key"));
  ASSERT_EQ(setenv("PKCS11_MODULE_PATH", "/nonexistent.so", 1), 0);
  ExpectRefused(Source(uri, "", kPin), HasSubstr("no such private key"));
  ExpectSigns(Source(uri + "?module-path=" FWVET_SOFTHSM2_MODULE, "", kPin), Pki("signer.pem"));
  ASSERT_EQ(setenv("PKCS11_MODULE_PATH", FWVET_SOFTHSM2_MODULE, 1), 0);
}

TEST_F(Token, GoesWithACertificateFromAFileOrOfAnotherName) {
  ExpectSigns(Source(kKeyUri, Pki("signer.pem"), kPin), Pki("signer.pem"));
  ExpectSigns(Source(Pki("signer.key"), kKeyUri, kPin), Pki("signer.pem"));
  ExpectSigns(Source(kBareUri, "pkcs11:token=fwpack%20test;object=other", kPin), Pki("signer2.pem"));
  ExpectRefused(Source(kKeyUri, "pkcs11:token=fwpack%20test;object=other", kPin),
                HasSubstr("object=other: the certificate is not that of the key"));
}

TEST_F(Token, WithoutACertificateNeedsOneNamed) {
  ExpectRefused(
      Source(kBareUri, "", kPin),
      HasSubstr(
          "object=bare: no certificate comes with this key; name its file with --signer-cert or --tsa-cert"));
  ExpectRefused(Source(kBareUri, kBareUri, kPin), HasSubstr("no such certificate"));
  ExpectSigns(Source(kBareUri, Pki("signer2.pem"), kPin), Pki("signer2.pem"));
}

TEST_F(Token, WithAWrongPinIsRefusedWithoutShowingIt) {
  ExpectRefused(Source(std::string(kKeyUri) + "?pin-value=55555555", "", "44444444"),
                AllOf(testing::StartsWith(kKeyUri), HasSubstr("PIN incorrect"), Not(HasSubstr("4444")),
                      Not(HasSubstr("5555"))));
}

TEST_F(Token, WithoutAPinSaysWhatIsMissing) {
  ExpectRefused({kKeyUri, "", {}}, testing::StartsWith(std::string(kKeyUri) + ": needs a PIN"));
}

TEST_F(Token, WithoutSuchAKeyOrOfAnotherNameIsRefusedInOneLine) {
  for (const std::string uri :
       {"pkcs11:token=fwpack%20test;object=nobody", "pkcs11:token=none;object=signer"}) {
    ExpectRefused(Source(uri, "", kPin),
                  AllOf(testing::StartsWith(uri + ": no such private key"), Not(HasSubstr("\n"))));
  }
}

TEST_F(Token, WithNoRsaKeyIsRefused) {
  ExpectRefused(Source("pkcs11:token=fwpack%20test;object=ec", Pki("signer.pem"), kPin),
                HasSubstr("no RSA key"));
}

TEST_F(Token, WithoutProviderAndEngineIsRefusedWithARemedy) {
  ASSERT_EQ(setenv("OPENSSL_ENGINES", dir_.path().c_str(), 1), 0);
  ASSERT_EQ(setenv("OPENSSL_MODULES", dir_.path().c_str(), 1), 0);
  ExpectRefused(Source(kKeyUri, "", kPin), HasSubstr("install one"));
  ASSERT_EQ(unsetenv("OPENSSL_ENGINES"), 0);
  ASSERT_EQ(unsetenv("OPENSSL_MODULES"), 0);
}

// The program, from command line to end: the token signs, and the device accepts what it signed.
TEST_F(Token, SignsAPackageThatTheDeviceAccepts) {
  const std::string package = dir_ / "package";
  const packtest::Words arguments = packtest::Join(
      {{"sign", "--content", File("content", "software"), "--out", package, "--signer-key", kKeyUri},
       {"--passphrase-file", File("pin", std::string(kPin) + "\n"), "--timestamp-time", packtest::kTime},
       packtest::TrustWords(),
       packtest::LocalStamperWords()});
  const ToolResult result = packtest::Fwpack(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out + result.err, "");
  packtest::Device device(packtest::ReadText(Pki("root.pem")));
  EXPECT_EQ(device.Verify(packtest::Split(package)), 0U);
}

TEST_F(Token, WithAWrongPinEndsTheProgramWithStatus3AndNoPackage) {
  const std::string package = dir_ / "package";
  const ToolResult result =
      packtest::Fwpack({"sign", "--content", File("content", "software"), "--out", package, "--signer-key",
                        kKeyUri, "--passphrase-file", File("pin", "44444444"), "--tsa-cert", Pki("tsa.pem"),
                        "--tsa-key", Pki("tsa.key"), "--crl", Pki("bundle.pem"), "--root", Pki("root.pem"),
                        "--timestamp-time", packtest::kTime},
                       {.environment = {{"ASAN_OPTIONS", "detect_leaks=0"}}});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.err, AllOf(HasSubstr("PIN incorrect"), Not(HasSubstr("4444"))));
  EXPECT_FALSE(std::filesystem::exists(package));
}
