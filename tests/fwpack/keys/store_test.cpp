#include "tools/fwpack/keys/store.h"

#include <gmock/gmock.h>
#include <openssl/err.h>

#include "tests/fwpack/keys/keys_fixture.h"

using fwpack::PassphraseReader;
using packtest::ErrorOf;
using packtest::kPassphrase;
using packtest::Pki;
using testing::HasSubstr;

namespace {

// The same calls that reach a PKCS #11 provider, answered by OpenSSL's own store of files.
class Store : public packtest::KeysTest {
 protected:
  [[nodiscard]] PassphraseReader Reader(const std::string& passphrase) const {
    return {{File("passphrase", passphrase), std::nullopt}, "the store"};
  }
  void TearDown() override { ERR_clear_error(); }
};

}  // namespace

TEST_F(Store, GivesKeyAndCertificateOfOneUri) {
  const std::string uri = "file:" + Pkcs12({"-passout", std::string("pass:") + kPassphrase});
  PassphraseReader reader = Reader(kPassphrase);
  fwpack::Identity identity;
  identity.key = fwpack::LoadStoredKey(uri, reader);
  identity.cert = fwpack::LoadStoredCert(uri, reader);
  ASSERT_NE(identity.key, nullptr);
  ASSERT_NE(identity.cert, nullptr);
  EXPECT_TRUE(packtest::SignsAs(identity, Pki("signer.pem")));
}

TEST_F(Store, WithoutSuchAnObjectGivesNone) {
  PassphraseReader reader = Reader(kPassphrase);
  EXPECT_EQ(fwpack::LoadStoredKey("file:" + Pki("signer.pem").string(), reader), nullptr);
  EXPECT_EQ(fwpack::LoadStoredCert("file:" + Pki("signer.key").string(), reader), nullptr);
  EXPECT_EQ(fwpack::LoadStoredKey("file:" + (dir_ / "absent"), reader), nullptr);
  EXPECT_EQ(fwpack::LoadStoredKey("unknown-scheme:x", reader), nullptr);
}

TEST_F(Store, WithAWrongPassphraseGivesNoKey) {
  PassphraseReader reader = Reader("wrong");
  EXPECT_EQ(fwpack::LoadStoredKey("file:" + EncryptedKey(), reader), nullptr);
}

TEST_F(Store, WithoutAPassphraseSaysWhatIsMissing) {
  PassphraseReader reader({}, "the store");
  const std::string uri = "file:" + EncryptedKey();
  EXPECT_THAT(ErrorOf([&] { (void)fwpack::LoadStoredKey(uri, reader); }),
              HasSubstr("the store: needs a passphrase"));
}
