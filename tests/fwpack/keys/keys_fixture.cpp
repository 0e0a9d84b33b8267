#include "tests/fwpack/keys/keys_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include "tools/fwpack/pem_files.h"

namespace packtest {
namespace {

using MdContext = fwpack::OpenSslPtr<EVP_MD_CTX, EVP_MD_CTX_free>;

Bytes Sign(EVP_PKEY* key, const Bytes& data) {
  const MdContext context(EVP_MD_CTX_new());
  std::size_t length = 0;
  EXPECT_EQ(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key), 1);
  EXPECT_EQ(EVP_DigestSign(context.get(), nullptr, &length, data.data(), data.size()), 1);
  Bytes value(length);
  EXPECT_EQ(EVP_DigestSign(context.get(), value.data(), &length, data.data(), data.size()), 1);
  return value;
}

}  // namespace

KeysTest::KeysTest() {
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(dup2(null, STDIN_FILENO), STDIN_FILENO);
  close(null);
}

void KeysTest::Make(const std::vector<std::string>& arguments) {
  const ToolResult result = OpenSsl(arguments);
  EXPECT_EQ(result.status, 0) << result.err;
}

std::string KeysTest::File(const std::string& name, const std::string& content) const {
  WriteText(dir_ / name, content);
  return dir_ / name;
}

fwpack::IdentitySource KeysTest::Source(const std::string& key, const std::string& cert,
                                        const std::string& passphrase) const {
  return {key, cert, {File("passphrase", passphrase + "\n"), std::nullopt}};
}

std::string KeysTest::EncryptedKey() const {
  const std::string key = dir_ / "encrypted.key";
  Make({"pkcs8", "-topk8", "-in", Pki("signer.key"), "-out", key, "-v2", "aes-256-cbc", "-passout",
        std::string("pass:") + kPassphrase});
  return key;
}

std::string KeysTest::TraditionalKey() const {
  const std::string key = dir_ / "traditional.key";
  Make({"rsa", "-traditional", "-aes128", "-in", Pki("signer.key"), "-out", key, "-passout",
        std::string("pass:") + kPassphrase});
  return key;
}

std::string KeysTest::Pkcs12(const std::vector<std::string>& options) const {
  std::vector<std::string> arguments = {"pkcs12", "-export",         "-inkey", Pki("signer.key"),
                                        "-in",    Pki("signer.pem"), "-out",   dir_ / "signer.p12"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  Make(arguments);
  return dir_ / "signer.p12";
}

bool SignsAs(const fwpack::Identity& identity, const std::filesystem::path& cert) {
  const Bytes data = der::FromText("what is signed");
  const Bytes value = Sign(identity.key.get(), data);
  const fwpack::CertPtr expected = fwpack::LoadCert(cert);
  EXPECT_EQ(X509_cmp(identity.cert.get(), expected.get()), 0);
  const MdContext context(EVP_MD_CTX_new());
  return EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr,
                              X509_get0_pubkey(expected.get())) == 1 &&
         EVP_DigestVerify(context.get(), value.data(), value.size(), data.data(), data.size()) == 1;
}

std::string LoadError(const fwpack::IdentitySource& source) {
  return ErrorOf([&source] { (void)fwpack::LoadIdentity(source); });
}

}  // namespace packtest
