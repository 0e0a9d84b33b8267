#include "platform/lumo_plt_impl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/openssl_owned.h"
#include "tests/support/test_pki.h"

namespace {

using pki::Bytes;

LUMO_BIGINT Big(const Bytes& magnitude) {
  LUMO_BIGINT number{};
  number.uiLength = static_cast<TEV_UINT32>(magnitude.size());
  std::copy(magnitude.begin(), magnitude.end(), number.aVal);
  return number;
}

TEST(LumoPltImpl, FillRefusesNull) {
  EXPECT_EQ(lumo_set_callback_funcs(nullptr), -1);
}

TEST(LumoPltImpl, FillSetsEverySizeAndSlot) {
  LUMO_CALLBACK_FUNCS funcs;
  std::memset(&funcs, 0x5A, sizeof(funcs));
  ASSERT_EQ(lumo_set_callback_funcs(&funcs), 0);
  const LUMO_SYS_FUNCS& sys = funcs.plt_funcs.sys_funcs;
  EXPECT_EQ(funcs.st_size, sizeof(LUMO_CALLBACK_FUNCS));
  EXPECT_EQ(funcs.plt_funcs.st_size, sizeof(LUMO_PLT_FUNCS));
  EXPECT_EQ(sys.st_size, sizeof(LUMO_SYS_FUNCS));
  EXPECT_EQ(funcs.crypt_funcs.st_size, sizeof(LUMO_CRYPTO_FUNCS));
  EXPECT_EQ(funcs.md_funcs.st_size, sizeof(LUMO_MD_FUNCS));
  EXPECT_EQ(sys.mem_funcs.malloc, tev_malloc_impl);
  EXPECT_EQ(sys.mem_funcs.memset_s, tev_memset_s_impl);
  EXPECT_EQ(sys.mem_funcs.memcpy_s, tev_memcpy_s_impl);
  EXPECT_EQ(sys.mem_funcs.free, tev_free_impl);
  EXPECT_EQ(sys.mem_funcs.memcmp, tev_memcmp_impl);
  EXPECT_EQ(sys.str_funcs.pf_strncmp, tev_strncmp_impl);
  EXPECT_EQ(sys.str_funcs.pf_strstr, tev_strstr_impl);
  EXPECT_EQ(sys.str_funcs.pf_strchr, tev_strchr_impl);
  EXPECT_EQ(sys.str_funcs.pf_strlen, tev_strlen_impl);
  EXPECT_EQ(sys.str_funcs.pf_strcmp, tev_strcmp_impl);
  EXPECT_EQ(sys.str_funcs.pf_strcpy_s, tev_strcpy_s_impl);
  EXPECT_EQ(sys.str_funcs.pf_strcat_s, tev_strcat_s_impl);
  EXPECT_EQ(sys.str_funcs.pf_vsnprintf_s, tev_vsnprintf_s_impl);
  EXPECT_EQ(sys.file_funcs.fopen, tev_fopen_impl);
  EXPECT_EQ(sys.file_funcs.fread, _tev_fread_impl);
  EXPECT_EQ(sys.file_funcs.fclose, _tev_fclose_impl);
  EXPECT_EQ(sys.file_funcs.get_file_size, _tev_get_file_size_impl);
  EXPECT_EQ(sys.plt_funcs.get_thread_id, nullptr);
  EXPECT_EQ(sys.plt_funcs.get_utc_time, nullptr);
  EXPECT_EQ(sys.plt_funcs.mktime, nullptr);
  EXPECT_EQ(funcs.crypt_funcs.lumo_verify_ctx_create, lumo_verify_ctx_create_impl);
  EXPECT_EQ(funcs.crypt_funcs.lumo_verify_init, _tev_verify_init_impl);
  EXPECT_EQ(funcs.crypt_funcs.lumo_verify_update, lumo_verify_update_impl);
  EXPECT_EQ(funcs.crypt_funcs.lumo_verify_final, _tev_verify_final_impl);
  EXPECT_EQ(funcs.crypt_funcs.lumo_verify_ctx_destory, _tev_verify_ctx_destory_impl);
  EXPECT_EQ(funcs.md_funcs.lumo_md_ctx_create, _tev_md_ctx_create_impl);
  EXPECT_EQ(funcs.md_funcs.lumo_md_init, _tev_md_init_impl);
  EXPECT_EQ(funcs.md_funcs.lumo_md_update, _tev_md_update_impl);
  EXPECT_EQ(funcs.md_funcs.lumo_md_final, _tev_md_final_impl);
  EXPECT_EQ(funcs.md_funcs.lumo_md_ctx_destory, _tev_md_ctx_destory_impl);
}

TEST(LumoPltImpl, MemoryAndTextCodes) {
  void* block = nullptr;
  ASSERT_EQ(tev_malloc_impl(&block, 0), LUMO_OK);
  EXPECT_NE(block, nullptr);
  tev_free_impl(block);
  EXPECT_EQ(tev_malloc_impl(nullptr, 1), 0x88000001);
  char text[4] = "ab";
  EXPECT_EQ(tev_memset_s_impl(text, 4, 0, 5), 0x88000003);
  EXPECT_EQ(tev_memcpy_s_impl(text, 4, "abcde", 5), 0x88000002);
  EXPECT_EQ(tev_memcpy_s_impl(text, 4, nullptr, 0), 0x88000002);
  EXPECT_EQ(tev_strcpy_s_impl(text, 4, "abcd"), 0x880004FF);
  EXPECT_EQ(tev_strcpy_s_impl(text, 4, "abc"), LUMO_OK);
  EXPECT_EQ(tev_strcat_s_impl(text, 4, "d"), 0x880004FF);
}

TEST(LumoPltImpl, TextServicesAreThoseOfLibc) {
  char text[] = "a\xE4z";
  EXPECT_EQ(tev_strchr_impl(text, static_cast<TEV_CHAR>(0xE4)), text + 1);
  EXPECT_EQ(tev_strchr_impl(text, 'q'), nullptr);
  EXPECT_EQ(tev_strlen_impl("abc"), 3u);
  EXPECT_EQ(tev_strstr_impl(text, "z"), text + 2);
  EXPECT_EQ(tev_strcmp_impl("a", "a"), 0);
  EXPECT_EQ(tev_strncmp_impl("ab", "ac", 1), 0);
  EXPECT_EQ(tev_memcmp_impl("ab", "ab", 2), 0);
}

__attribute__((format(printf, 4, 5))) TEV_INT Print(char* dest, std::size_t room, std::size_t count,
                                                    const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const TEV_INT result = tev_vsnprintf_s_impl(dest, room, count, format, arguments);
  va_end(arguments);
  return result;
}

TEST(LumoPltImpl, ABoundedPrintExpandsOrRefuses) {
  char text[8];
  EXPECT_EQ(Print(text, sizeof(text), 7, "%d-%s", 12, "ab"), 0);
  EXPECT_STREQ(text, "12-ab");
  EXPECT_NE(Print(text, sizeof(text), 7, "%s", "12345678"), 0);
  EXPECT_NE(Print(text, sizeof(text), 9, "%s", "1"), 0);
}

class LumoPltFile : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = ::testing::TempDir() + "lumo_plt_file";
    std::ofstream(path_, std::ios::binary) << "0123456789";
    file_ = tev_fopen_impl(path_.c_str(), "rb");
    ASSERT_NE(file_, nullptr);
  }
  void TearDown() override {
    EXPECT_EQ(_tev_fclose_impl(file_), LUMO_OK);
    std::remove(path_.c_str());
  }

  std::string path_;
  TEV_FILE_HANDLE file_ = nullptr;
};

TEST_F(LumoPltFile, TheSizeLeavesThePositionWhereItWas) {
  char octets[16];
  ASSERT_EQ(_tev_fread_impl(octets, 3, file_), 3u);
  EXPECT_EQ(_tev_get_file_size_impl(file_), 10u);
  EXPECT_EQ(_tev_fread_impl(octets, 16, file_), 7u);
  EXPECT_EQ(std::string(octets, 7), "3456789");
}

TEST_F(LumoPltFile, ASizeThatCannotBeToldIsAllOnes) {
  EXPECT_EQ(_tev_get_file_size_impl(nullptr), 0xFFFFFFFFu);
  TEV_FILE_HANDLE pipe = popen("true", "r");
  ASSERT_NE(pipe, nullptr);
  EXPECT_EQ(_tev_get_file_size_impl(pipe), 0xFFFFFFFFu);
  pclose(static_cast<FILE*>(pipe));
}

TEST_F(LumoPltFile, AMissingFileOrPathIsNull) {
  EXPECT_EQ(tev_fopen_impl(nullptr, "rb"), nullptr);
  EXPECT_EQ(tev_fopen_impl((path_ + ".none").c_str(), "rb"), nullptr);
}

TEST(LumoPltImpl, AFileThatCannotBeFlushedFailsToClose) {
  TEV_FILE_HANDLE full = tev_fopen_impl("/dev/full", "wb");
  ASSERT_NE(full, nullptr);
  ASSERT_EQ(std::fputc('x', static_cast<FILE*>(full)), 'x');
  EXPECT_EQ(_tev_fclose_impl(full), 0x88000105);
}

class LumoPltDigest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(_tev_md_ctx_create_impl(&md_), LUMO_OK); }
  void TearDown() override { _tev_md_ctx_destory_impl(md_); }

  LUMO_CRYPTO_MD_CTX md_ = nullptr;
  TEV_BYTE digest_[64] = {};
  TEV_UINT32 size_ = 0;
};

TEST_F(LumoPltDigest, ExactlyThreeAlgorithmsAreKnown) {
  for (TEV_UINT32 id : {0u, 42u, 46u, 63u, 0xFFFFFFFFu})
    EXPECT_EQ(_tev_md_init_impl(md_, id), 0xFFFFFFFF) << id;
  for (TEV_UINT32 id : {43u, 44u, 45u}) EXPECT_EQ(_tev_md_init_impl(md_, id), LUMO_OK) << id;
}

TEST_F(LumoPltDigest, DigestsAgreeWithTheEncodersOwn) {
  const Bytes data = der::FromText("some content");
  for (const auto& [id, name] :
       {std::pair{43u, "SHA256"}, std::pair{44u, "SHA384"}, std::pair{45u, "SHA512"}}) {
    ASSERT_EQ(_tev_md_init_impl(md_, id), LUMO_OK);
    ASSERT_EQ(_tev_md_update_impl(md_, data.data(), 4), LUMO_OK);
    ASSERT_EQ(_tev_md_update_impl(md_, data.data() + 4, static_cast<TEV_UINT32>(data.size()) - 4), LUMO_OK);
    ASSERT_EQ(_tev_md_final_impl(md_, digest_, &size_), LUMO_OK);
    EXPECT_EQ(Bytes(digest_, digest_ + size_), pki::DigestOf(name, data));
  }
}

TEST_F(LumoPltDigest, NoDataSucceedsEvenWithoutADigestRunning) {
  EXPECT_EQ(_tev_md_update_impl(md_, nullptr, 5), LUMO_OK);
  EXPECT_EQ(_tev_md_update_impl(md_, digest_, 0), LUMO_OK);
}

TEST_F(LumoPltDigest, NullIsRefused) {
  EXPECT_EQ(_tev_md_ctx_create_impl(nullptr), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_init_impl(nullptr, 43), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_update_impl(nullptr, digest_, 1), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_final_impl(nullptr, digest_, &size_), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_final_impl(md_, nullptr, &size_), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_final_impl(md_, digest_, nullptr), 0xFFFFFFFF);
  _tev_md_ctx_destory_impl(nullptr);
}

TEST_F(LumoPltDigest, WithoutADigestRunningThereIsNothingToFeedOrEnd) {
  EXPECT_EQ(_tev_md_update_impl(md_, digest_, 1), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_final_impl(md_, digest_, &size_), 0xFFFFFFFF);
  ASSERT_EQ(_tev_md_init_impl(md_, 43), LUMO_OK);
  ASSERT_EQ(_tev_md_init_impl(md_, 42), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_update_impl(md_, digest_, 1), 0xFFFFFFFF);
  EXPECT_EQ(_tev_md_final_impl(md_, digest_, &size_), 0xFFFFFFFF);
}

class LumoPltRsa : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_verify_ctx_create_impl(&state_), LUMO_OK); }
  void TearDown() override { _tev_verify_ctx_destory_impl(state_); }

  LUMO_ERROR_CODE Start(const Bytes& modulus, const Bytes& exponent) {
    const LUMO_BIGINT n = Big(modulus);
    const LUMO_BIGINT e = Big(exponent);
    return _tev_verify_init_impl(state_, &e, &n, 43);
  }

  // The verdict on a signature over the fixed content; -1 when the check could not be made.
  TEV_INT Verdict(const Bytes& signature) {
    EXPECT_EQ(lumo_verify_update_impl(state_, content_.data(), static_cast<TEV_UINT32>(content_.size())),
              LUMO_OK);
    TEV_INT result = -2;
    const LUMO_ERROR_CODE rc =
        _tev_verify_final_impl(state_, signature.data(), static_cast<TEV_UINT32>(signature.size()), &result);
    return rc == LUMO_OK ? result : -1;
  }

  // A PKCS #1 v1.5 block over the content's digest in `size` octets: `padding` octets of FF, `garbage` behind
  // the digest.
  [[nodiscard]] Bytes PaddedBlock(std::size_t size, std::size_t padding) const {
    Bytes block = {0x00, 0x01};
    block.insert(block.end(), padding, 0xFF);
    const Bytes info = der::Concat(Bytes{0x00}, der::FromHex("3031300d060960864801650304020105000420"),
                                   pki::DigestOf("SHA256", content_));
    block.insert(block.end(), info.begin(), info.end());
    block.resize(size, 0x00);
    return block;
  }

  LUMO_CRYPTO_VRF_CTX state_ = nullptr;
  const Bytes content_ = der::FromText("signed content");
};

TEST_F(LumoPltRsa, AGoodSignatureIsOneAndAnAlteredOneIsZero) {
  const pki::Key key = pki::KeyNamed("plt");
  Bytes signature = pki::SignBytes(key, "SHA256", content_);
  ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
  EXPECT_EQ(Verdict(signature), 1);
  signature[17] ^= 1;
  ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
  EXPECT_EQ(Verdict(signature), 0);
}

TEST_F(LumoPltRsa, ASignatureWithoutItsLeadingZeroIsPadded) {
  const pki::Key key = pki::KeyNamed("plt");
  for (int i = 0; i < 20000; ++i) {
    const Bytes content = der::FromText("content " + std::to_string(i));
    const Bytes signature = pki::SignBytes(key, "SHA256", content);
    if (signature[0] != 0) continue;
    ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
    ASSERT_EQ(lumo_verify_update_impl(state_, content.data(), static_cast<TEV_UINT32>(content.size())),
              LUMO_OK);
    TEV_INT result = 0;
    ASSERT_EQ(_tev_verify_final_impl(state_, signature.data() + 1, 255, &result), LUMO_OK);
    EXPECT_EQ(result, 1);
    return;
  }
  FAIL() << "no signature with a leading zero turned up";
}

TEST_F(LumoPltRsa, SignaturesOfOddSizesAreZeroNeverAnError) {
  const pki::Key key = pki::KeyNamed("plt");
  for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{255}, std::size_t{257},
                           std::size_t{513}, std::size_t{65535}}) {
    ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
    EXPECT_EQ(Verdict(Bytes(size, 0xA5)), 0) << size;
  }
}

TEST_F(LumoPltRsa, OddKeysAreZeroNeverACrash) {
  const Bytes even = [] {
    Bytes modulus = pki::ModulusOf(pki::KeyNamed("plt"));
    modulus.back() &= 0xFE;
    return modulus;
  }();
  for (const Bytes& modulus : {Bytes{}, Bytes{1}, Bytes{0}, even, Bytes(512, 0xFF)}) {
    for (const Bytes& exponent : {Bytes{}, Bytes{1}, Bytes{3}, Bytes(512, 0xFF)}) {
      ASSERT_EQ(Start(modulus, exponent), LUMO_OK);
      EXPECT_EQ(Verdict(Bytes(modulus.size(), 0x5A)), 0) << modulus.size() << "/" << exponent.size();
    }
  }
}

TEST_F(LumoPltRsa, AKeyThatClaimsMoreThan4096BitsIsRefused) {
  LUMO_BIGINT n = Big(pki::ModulusOf(pki::KeyNamed("plt")));
  const LUMO_BIGINT e = Big({1, 0, 1});
  n.uiLength = 513;
  EXPECT_EQ(_tev_verify_init_impl(state_, &e, &n, 43), 0xFFFFFFFF);
  n.uiLength = 0xFFFFFFFF;
  EXPECT_EQ(_tev_verify_init_impl(state_, &n, &e, 43), 0xFFFFFFFF);
}

TEST_F(LumoPltRsa, WithExponentOneForgedPaddingFails) {
  const Bytes modulus = pki::ModulusOf(pki::KeyNamed("plt"));
  ASSERT_EQ(Start(modulus, {1}), LUMO_OK);
  EXPECT_EQ(Verdict(PaddedBlock(256, 8)), 0);
  ASSERT_EQ(Start(modulus, {1}), LUMO_OK);
  EXPECT_EQ(Verdict(PaddedBlock(256, 100)), 0);
}

TEST_F(LumoPltRsa, WithExponentOneOnlyTheWholeBlockPasses) {
  ASSERT_EQ(Start(pki::ModulusOf(pki::KeyNamed("plt")), {1}), LUMO_OK);
  EXPECT_EQ(Verdict(PaddedBlock(256, 202)), 1);
}

Bytes Octets(const BIGNUM& number, std::size_t size) {
  Bytes octets(size);
  EXPECT_EQ(BN_bn2binpad(&number, octets.data(), static_cast<int>(size)), static_cast<int>(size));
  return octets;
}

pki::OwnedBignum Cube(const BIGNUM& root) {
  const std::unique_ptr<BN_CTX, pki::OsslFree<BN_CTX_free>> scratch(BN_CTX_new());
  pki::OwnedBignum cube(BN_new());
  pki::Check(BN_sqr(cube.get(), &root, scratch.get()) == 1, "square");
  pki::Check(BN_mul(cube.get(), cube.get(), &root, scratch.get()) == 1, "cube");
  return cube;
}

// The largest number whose cube is not above `block`, found bit by bit.
pki::OwnedBignum CubeRoot(const Bytes& block) {
  const pki::OwnedBignum limit(BN_bin2bn(block.data(), static_cast<int>(block.size()), nullptr));
  pki::OwnedBignum root(BN_new());
  for (int bit = BN_num_bits(limit.get()) / 3 + 1; bit >= 0; --bit) {
    pki::Check(BN_set_bit(root.get(), bit) == 1, "set bit");
    if (BN_cmp(Cube(*root).get(), limit.get()) > 0) BN_clear_bit(root.get(), bit);
  }
  return root;
}

TEST_F(LumoPltRsa, WithExponentThreeForgedPaddingFails) {
  constexpr std::size_t kWanted = 62;  // 00 01, eight FF, 00, the digest's frame and the digest
  Bytes block = PaddedBlock(256, 8);
  std::fill(block.begin() + kWanted, block.end(), TEV_BYTE{0xFF});
  const pki::OwnedBignum root = CubeRoot(block);
  const Bytes cube = Octets(*Cube(*root), 256);
  ASSERT_EQ(Bytes(cube.begin(), cube.begin() + kWanted), Bytes(block.begin(), block.begin() + kWanted))
      << "the cube bears the digest, so only the padding behind it is wrong";
  ASSERT_EQ(Start(pki::ModulusOf(pki::KeyNamed("plt")), {3}), LUMO_OK);
  EXPECT_EQ(Verdict(Octets(*root, 256)), 0);
}

TEST_F(LumoPltRsa, WithExponentThreeAGoodSignaturePasses) {
  const pki::Key key = pki::KeyNamed("plt exponent 3", 2048, 3);
  ASSERT_EQ(pki::ExponentOf(key), Bytes{3});
  ASSERT_EQ(Start(pki::ModulusOf(key), {3}), LUMO_OK);
  EXPECT_EQ(Verdict(pki::SignBytes(key, "SHA256", content_)), 1);
}

TEST_F(LumoPltRsa, EveryDigestVerifies) {
  const pki::Key key = pki::KeyNamed("plt");
  const LUMO_BIGINT n = Big(pki::ModulusOf(key));
  const LUMO_BIGINT e = Big(pki::ExponentOf(key));
  for (const auto& [id, name] :
       {std::pair{43u, "SHA256"}, std::pair{44u, "SHA384"}, std::pair{45u, "SHA512"}}) {
    const Bytes signature = pki::SignBytes(key, name, content_);
    for (TEV_UINT32 tried : {43u, 44u, 45u}) {
      ASSERT_EQ(_tev_verify_init_impl(state_, &e, &n, tried), LUMO_OK);
      EXPECT_EQ(Verdict(signature), tried == id ? 1 : 0) << name << " as " << tried;
    }
  }
}

TEST_F(LumoPltRsa, ASignatureThatIsNullOrTooLongToPadIsRefused) {
  const pki::Key key = pki::KeyNamed("plt");
  ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
  const TEV_BYTE octet = 0;
  TEV_INT result = 7;
  EXPECT_EQ(_tev_verify_final_impl(state_, nullptr, 256, &result), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_final_impl(state_, nullptr, 255, &result), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_final_impl(state_, &octet, 1, nullptr), 0xFFFFFFFF);
  for (TEV_UINT32 length : {0xFFFFFFF9u, 0xFFFFFFFFu}) {
    EXPECT_EQ(_tev_verify_final_impl(state_, &octet, length, &result), 0xFFFFFFFF) << length;
  }
  EXPECT_EQ(result, 7);
  EXPECT_EQ(_tev_verify_final_impl(state_, nullptr, 0, &result), LUMO_OK)
      << "the empty signature is a bad one";
  EXPECT_EQ(result, 0);
}

TEST_F(LumoPltRsa, ContentMayBeEmptyButNotNull) {
  const pki::Key key = pki::KeyNamed("plt");
  ASSERT_EQ(Start(pki::ModulusOf(key), pki::ExponentOf(key)), LUMO_OK);
  EXPECT_EQ(lumo_verify_update_impl(state_, nullptr, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_update_impl(state_, content_.data(), 0), LUMO_OK);
  EXPECT_EQ(lumo_verify_update_impl(state_, nullptr, 0), LUMO_OK);
  EXPECT_EQ(Verdict(pki::SignBytes(key, "SHA256", content_)), 1);
}

TEST_F(LumoPltRsa, AnUnknownDigestLeavesTheStateWithoutAKey) {
  const pki::Key key = pki::KeyNamed("plt");
  const LUMO_BIGINT n = Big(pki::ModulusOf(key));
  const LUMO_BIGINT e = Big(pki::ExponentOf(key));
  ASSERT_EQ(_tev_verify_init_impl(state_, &e, &n, 43), LUMO_OK);
  EXPECT_EQ(_tev_verify_init_impl(state_, &e, &n, 42), 0xFFFFFFFF);
  TEV_INT result = 5;
  const Bytes signature(256, 1);
  EXPECT_EQ(_tev_verify_final_impl(state_, signature.data(), 256, &result), 0xFFFFFFFF);
  EXPECT_EQ(result, 5);
}

TEST_F(LumoPltRsa, ASecondKeyReplacesTheFirst) {
  const pki::Key first = pki::KeyNamed("plt");
  const pki::Key second = pki::KeyNamed("plt second");
  ASSERT_EQ(Start(pki::ModulusOf(first), pki::ExponentOf(first)), LUMO_OK);
  ASSERT_EQ(Start(pki::ModulusOf(second), pki::ExponentOf(second)), LUMO_OK);
  EXPECT_EQ(Verdict(pki::SignBytes(second, "SHA256", content_)), 1);
}

TEST_F(LumoPltRsa, NullIsRefused) {
  const LUMO_BIGINT number{};
  TEV_INT result = 0;
  const TEV_BYTE octet = 0;
  EXPECT_EQ(lumo_verify_ctx_create_impl(nullptr), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_init_impl(nullptr, &number, &number, 43), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_init_impl(state_, nullptr, &number, 43), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_init_impl(state_, &number, nullptr, 43), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_update_impl(nullptr, &octet, 1), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_final_impl(nullptr, &octet, 1, &result), 0xFFFFFFFF);
  EXPECT_EQ(_tev_verify_final_impl(state_, &octet, 1, &result), 0xFFFFFFFF);
  _tev_verify_ctx_destory_impl(nullptr);
}

TEST_F(LumoPltRsa, UpdateWithoutAKeyFails) {
  const TEV_BYTE octet = 0;
  EXPECT_EQ(lumo_verify_update_impl(state_, &octet, 1), 0xFFFFFFFF);
}

}  // namespace
