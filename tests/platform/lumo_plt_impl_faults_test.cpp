#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstring>

#include "platform/lumo_plt_impl.h"
#include "tests/support/test_pki.h"

// What the platform functions do when libc or libcrypto fails under them. The linker leads each of the calls
// below through a function that can be told to fail once; the address sanitizer's build sees what leaks.

namespace {

const char* g_failing = "";
int g_good_calls_before = 0;

bool Fails(const char* call) {
  if (std::strcmp(call, g_failing) != 0) return false;
  return g_good_calls_before-- == 0;
}

/// While it lives, the call of that name fails once, after as many good calls as told.
class Failing {
 public:
  explicit Failing(const char* call, int good_calls_before = 0) {
    g_good_calls_before = good_calls_before;
    g_failing = call;
  }
  ~Failing() {
    g_failing = "";
    EXPECT_LT(g_good_calls_before, 0) << "the call never came";
  }
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;
};

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  return Fails("malloc") ? nullptr : __real_malloc(size);
}
// An optimiser may make one calloc of a malloc and the zeros that follow it.
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Fails("malloc") ? nullptr : __real_calloc(count, size);
}
EVP_MD_CTX* __real_EVP_MD_CTX_new();
EVP_MD_CTX* __wrap_EVP_MD_CTX_new() {
  return Fails("EVP_MD_CTX_new") ? nullptr : __real_EVP_MD_CTX_new();
}
int __real_EVP_MD_CTX_reset(EVP_MD_CTX* ctx);
int __wrap_EVP_MD_CTX_reset(EVP_MD_CTX* ctx) {
  return Fails("EVP_MD_CTX_reset") ? 0 : __real_EVP_MD_CTX_reset(ctx);
}
int __real_EVP_DigestInit_ex(EVP_MD_CTX* ctx, const EVP_MD* type, ENGINE* engine);
int __wrap_EVP_DigestInit_ex(EVP_MD_CTX* ctx, const EVP_MD* type, ENGINE* engine) {
  return Fails("EVP_DigestInit_ex") ? 0 : __real_EVP_DigestInit_ex(ctx, type, engine);
}
int __real_EVP_DigestUpdate(EVP_MD_CTX* ctx, const void* data, std::size_t size);
int __wrap_EVP_DigestUpdate(EVP_MD_CTX* ctx, const void* data, std::size_t size) {
  return Fails("EVP_DigestUpdate") ? 0 : __real_EVP_DigestUpdate(ctx, data, size);
}
int __real_EVP_DigestFinal(EVP_MD_CTX* ctx, unsigned char* digest, unsigned int* size);
int __wrap_EVP_DigestFinal(EVP_MD_CTX* ctx, unsigned char* digest, unsigned int* size) {
  return Fails("EVP_DigestFinal") ? 0 : __real_EVP_DigestFinal(ctx, digest, size);
}
EVP_PKEY* __real_EVP_PKEY_new();
EVP_PKEY* __wrap_EVP_PKEY_new() {
  return Fails("EVP_PKEY_new") ? nullptr : __real_EVP_PKEY_new();
}
int __real_EVP_PKEY_assign(EVP_PKEY* key, int type, void* part);
int __wrap_EVP_PKEY_assign(EVP_PKEY* key, int type, void* part) {
  return Fails("EVP_PKEY_assign") ? 0 : __real_EVP_PKEY_assign(key, type, part);
}
RSA* __real_RSA_new();
RSA* __wrap_RSA_new() {
  return Fails("RSA_new") ? nullptr : __real_RSA_new();
}
int __real_RSA_set0_key(RSA* rsa, BIGNUM* n, BIGNUM* e, BIGNUM* d);
int __wrap_RSA_set0_key(RSA* rsa, BIGNUM* n, BIGNUM* e, BIGNUM* d) {
  return Fails("RSA_set0_key") ? 0 : __real_RSA_set0_key(rsa, n, e, d);
}
BIGNUM* __real_BN_bin2bn(const unsigned char* octets, int size, BIGNUM* number);
BIGNUM* __wrap_BN_bin2bn(const unsigned char* octets, int size, BIGNUM* number) {
  return Fails("BN_bin2bn") ? nullptr : __real_BN_bin2bn(octets, size, number);
}
}

namespace {

using pki::Bytes;

TEST(LumoPltFaults, WithoutMemoryABlockIsNull) {
  void* block = &block;
  const Failing failing("malloc");
  EXPECT_EQ(tev_malloc_impl(&block, 16), 0x88000001);
  EXPECT_EQ(block, nullptr);
}

TEST(LumoPltFaults, ADigestStateThatCannotBeMadeIsNull) {
  LUMO_CRYPTO_MD_CTX md = &md;
  {
    const Failing failing("malloc");
    EXPECT_EQ(_tev_md_ctx_create_impl(&md), 0x88000001);
    EXPECT_EQ(md, nullptr);
  }
  md = &md;
  const Failing failing("EVP_MD_CTX_new");
  EXPECT_EQ(_tev_md_ctx_create_impl(&md), 0xFFFFFFFF);
  EXPECT_EQ(md, nullptr);
}

TEST(LumoPltFaults, AVerificationStateThatCannotBeMadeIsNull) {
  for (const char* call : {"malloc", "EVP_MD_CTX_new"}) {
    LUMO_CRYPTO_VRF_CTX state = &state;
    const Failing failing(call);
    EXPECT_EQ(lumo_verify_ctx_create_impl(&state), 0xFFFFFFFF) << call;
    EXPECT_EQ(state, nullptr) << call;
  }
}

class LumoPltDigestFaults : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(_tev_md_ctx_create_impl(&md_), LUMO_OK); }
  void TearDown() override { _tev_md_ctx_destory_impl(md_); }

  LUMO_CRYPTO_MD_CTX md_ = nullptr;
  TEV_BYTE octets_[64] = {};
  TEV_UINT32 size_ = 0;
};

TEST_F(LumoPltDigestFaults, ADigestThatCannotStartFails) {
  for (const char* call : {"EVP_MD_CTX_reset", "EVP_DigestInit_ex"}) {
    const Failing failing(call);
    EXPECT_EQ(_tev_md_init_impl(md_, 43), 0xFFFFFFFF) << call;
  }
  EXPECT_EQ(_tev_md_init_impl(md_, 43), LUMO_OK);
}

TEST_F(LumoPltDigestFaults, ADigestThatCannotGoOnFails) {
  ASSERT_EQ(_tev_md_init_impl(md_, 43), LUMO_OK);
  {
    const Failing failing("EVP_DigestUpdate");
    EXPECT_EQ(_tev_md_update_impl(md_, octets_, 0), LUMO_OK) << "nothing to digest, nothing called";
    EXPECT_EQ(_tev_md_update_impl(md_, nullptr, 1), LUMO_OK) << "nothing to digest, nothing called";
    EXPECT_EQ(_tev_md_update_impl(md_, octets_, 1), 0xFFFFFFFF);
  }
  const Failing failing("EVP_DigestFinal");
  EXPECT_EQ(_tev_md_final_impl(md_, octets_, &size_), 0xFFFFFFFF);
}

class LumoPltRsaFaults : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(lumo_verify_ctx_create_impl(&state_), LUMO_OK);
    const pki::Key key = pki::KeyNamed("plt");
    Fill(pki::ModulusOf(key), &n_);
    Fill(pki::ExponentOf(key), &e_);
    signature_ = pki::SignBytes(key, "SHA256", content_);
  }
  void TearDown() override { _tev_verify_ctx_destory_impl(state_); }

  static void Fill(const Bytes& magnitude, LUMO_BIGINT* number) {
    ASSERT_LE(magnitude.size(), sizeof(number->aVal));
    number->uiLength = static_cast<TEV_UINT32>(magnitude.size());
    std::memcpy(number->aVal, magnitude.data(), magnitude.size());
  }

  LUMO_ERROR_CODE Start() { return _tev_verify_init_impl(state_, &e_, &n_, 43); }
  LUMO_ERROR_CODE Update() {
    return lumo_verify_update_impl(state_, content_.data(), static_cast<TEV_UINT32>(content_.size()));
  }
  LUMO_ERROR_CODE Final(TEV_UINT32 length) {
    return _tev_verify_final_impl(state_, signature_.data(), length, &result_);
  }

  LUMO_CRYPTO_VRF_CTX state_ = nullptr;
  LUMO_BIGINT n_{};
  LUMO_BIGINT e_{};
  const Bytes content_ = der::FromText("signed content");
  Bytes signature_;
  TEV_INT result_ = 7;
};

struct KeyFault {
  const char* call;
  int good_calls_before;
};

TEST_F(LumoPltRsaFaults, AKeyThatCannotBeMadeLeavesTheStateWithoutOneAndTheNextInitWorks) {
  for (const KeyFault& fault :
       {KeyFault{"EVP_PKEY_new", 0}, KeyFault{"RSA_new", 0}, KeyFault{"BN_bin2bn", 0},
        KeyFault{"BN_bin2bn", 1}, KeyFault{"RSA_set0_key", 0}, KeyFault{"EVP_PKEY_assign", 0},
        KeyFault{"EVP_MD_CTX_reset", 0}, KeyFault{"EVP_DigestInit_ex", 0}}) {
    ASSERT_EQ(Start(), LUMO_OK);
    {
      const Failing failing(fault.call, fault.good_calls_before);
      EXPECT_EQ(Start(), 0xFFFFFFFF) << fault.call;
    }
    result_ = 7;
    EXPECT_EQ(Final(256), 0xFFFFFFFF) << fault.call;
    EXPECT_EQ(result_, 7) << fault.call;
    ASSERT_EQ(Start(), LUMO_OK) << fault.call;
    ASSERT_EQ(Update(), LUMO_OK) << fault.call;
    EXPECT_EQ(Final(256), LUMO_OK) << fault.call;
    EXPECT_EQ(result_, 1) << fault.call;
  }
}

TEST_F(LumoPltRsaFaults, AnUpdateThatLibcryptoRefusesFailsTheEmptyOneToo) {
  ASSERT_EQ(Start(), LUMO_OK);
  for (TEV_UINT32 length : {0u, 1u}) {
    const Failing failing("EVP_DigestUpdate");
    EXPECT_EQ(lumo_verify_update_impl(state_, content_.data(), length), 0xFFFFFFFF) << length;
  }
}

TEST_F(LumoPltRsaFaults, APaddedCheckWithoutMemoryGivesNoVerdict) {
  ASSERT_EQ(Start(), LUMO_OK);
  ASSERT_EQ(Update(), LUMO_OK);
  const Failing failing("malloc");
  EXPECT_EQ(Final(255), 0xFFFFFFFF);
  EXPECT_EQ(result_, 7);
}

}  // namespace
