#include <fcntl.h>
#include <openssl/core_names.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "tests/support/openssl_owned.h"
#include "tests/support/test_pki.h"

namespace pki {
namespace {

Key Generate(int bits, unsigned long exponent) {
  const std::unique_ptr<EVP_PKEY_CTX, OsslFree<EVP_PKEY_CTX_free>> ctx(
      EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr));
  const OwnedBignum e(BN_new());
  EVP_PKEY* made = nullptr;
  Check(ctx && e && BN_set_word(e.get(), exponent) == 1 && EVP_PKEY_keygen_init(ctx.get()) == 1 &&
            EVP_PKEY_CTX_set_rsa_keygen_bits(ctx.get(), bits) == 1 &&
            EVP_PKEY_CTX_set1_rsa_keygen_pubexp(ctx.get(), e.get()) == 1 &&
            EVP_PKEY_generate(ctx.get(), &made) == 1,
        "make an RSA key");
  return {made, EVP_PKEY_free};
}

Key Load(const std::filesystem::path& path) {
  const OwnedBio file(BIO_new_file(path.c_str(), "rb"));
  if (!file) {
    ERR_clear_error();
    return nullptr;
  }
  EVP_PKEY* key = PEM_read_bio_PrivateKey(file.get(), nullptr, nullptr, nullptr);
  Check(key != nullptr, "read a test key");
  return {key, EVP_PKEY_free};
}

// Tests run side by side: a key appears under its name whole and once, and who comes second takes the first
// one's.
void Keep(const Key& key, const std::filesystem::path& path) {
  const std::filesystem::path draft = path.string() + "." + std::to_string(getpid());
  {
    const OwnedBio file(BIO_new_file(draft.c_str(), "wb"));
    Check(file && chmod(draft.c_str(), 0600) == 0, "keep a test key");
    Check(PEM_write_bio_PKCS8PrivateKey(file.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
          "keep a test key");
  }
  std::error_code taken;
  std::filesystem::create_hard_link(draft, path, taken);
  std::filesystem::remove(draft);
}

Bytes KeyNumber(const Key& key, const char* parameter) {
  BIGNUM* number = nullptr;
  Check(EVP_PKEY_get_bn_param(key.get(), parameter, &number) == 1, parameter);
  const OwnedBignum owned(number);
  Bytes magnitude(static_cast<std::size_t>(BN_num_bytes(number)));
  BN_bn2bin(number, magnitude.data());
  return magnitude;
}

}  // namespace

Key KeyNamed(const std::string& name, int bits, unsigned long exponent) {
  static std::map<std::string, Key> known;
  const std::string file = name + "-" + std::to_string(bits) + "-" + std::to_string(exponent) + ".pem";
  Key& key = known[file];
  if (key) return key;
  const std::filesystem::path path = std::filesystem::path(FWVET_TEST_KEY_DIR) / file;
  key = Load(path);
  if (!key) {
    std::filesystem::create_directories(path.parent_path());
    Keep(Generate(bits, exponent), path);
    key = Load(path);
  }
  Check(key != nullptr, "load a test key");
  return key;
}

Bytes ModulusOf(const Key& key) {
  return KeyNumber(key, OSSL_PKEY_PARAM_RSA_N);
}
Bytes ExponentOf(const Key& key) {
  return KeyNumber(key, OSSL_PKEY_PARAM_RSA_E);
}
Bytes PublicKeyInfoOf(const Key& key) {
  return ToDer(key.get(), i2d_PUBKEY);
}

Bytes SignBytes(const Key& key, const std::string& digest, const Bytes& data) {
  const OwnedMdContext ctx(EVP_MD_CTX_new());
  std::size_t length = 0;
  Check(ctx && EVP_DigestSignInit(ctx.get(), nullptr, DigestNamed(digest), nullptr, key.get()) == 1 &&
            EVP_DigestSign(ctx.get(), nullptr, &length, data.data(), data.size()) == 1,
        "sign");
  Bytes signature(length);
  Check(EVP_DigestSign(ctx.get(), signature.data(), &length, data.data(), data.size()) == 1, "sign");
  signature.resize(length);
  return signature;
}

Bytes DigestOf(const std::string& digest, const Bytes& data) {
  Bytes value(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  Check(EVP_Digest(data.data(), data.size(), value.data(), &length, DigestNamed(digest), nullptr) == 1,
        "digest");
  value.resize(length);
  return value;
}

}  // namespace pki
