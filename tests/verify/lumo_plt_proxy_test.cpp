#include "verify/lumo_plt_proxy.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/lumo_plt_impl.h"

namespace {

int g_calls = 0;

LUMO_ERROR_CODE RefuseFill(void*, TEV_SIZE_T, TEV_INT, TEV_SIZE_T) {
  ++g_calls;
  return LUMO_ERR_SYS_MEMSET;
}

void* g_freed = nullptr;
void NoteFree(void* ptr) {
  ++g_calls;
  g_freed = ptr;
  tev_free_impl(ptr);
}

class LumoPltProxy : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0);
    g_calls = 0;
    g_freed = nullptr;
  }

  LUMO_SYS_MEM_FUNCS& memory() { return vrf_.callback_funcs.plt_funcs.sys_funcs.mem_funcs; }

  LUMO_VRF vrf_{};
  LUMO_BIGINT number_{};
  TEV_BYTE octets_[64] = {};
  TEV_UINT32 size_ = 0;
  TEV_INT result_ = 0;
  void* handle_ = nullptr;
};

TEST_F(LumoPltProxy, WithoutAContextNothingIsCalled) {
  char text[8] = "abc";
  void* block = nullptr;
  EXPECT_EQ(lumo_malloc(nullptr, &block, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_malloc_with0(nullptr, &block, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_memset_s(nullptr, text, 8, 0, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_memcpy_s(nullptr, text, 8, "x", 1), 0xFFFFFFFF);
  lumo_free(nullptr, text);
  EXPECT_EQ(lumo_memcmp(nullptr, "a", "a", 1), -1);
  EXPECT_EQ(lumo_strncmp(nullptr, "a", "a", 1), -1);
  EXPECT_EQ(lumo_strstr(nullptr, "a", "a"), nullptr);
  EXPECT_EQ(lumo_strchr(nullptr, text, 'a'), nullptr);
  EXPECT_EQ(lumo_strlen(nullptr, "abc"), 0u);
  EXPECT_EQ(lumo_strcmp(nullptr, "a", "a"), -1);
  EXPECT_EQ(lumo_strcpy_s(nullptr, text, 8, "x"), 0x88100001);
  EXPECT_EQ(lumo_strcat_s(nullptr, text, 8, "x"), 0x88100001);
  EXPECT_EQ(lumo_fopen(nullptr, "/dev/null", "rb"), nullptr);
  EXPECT_EQ(lumo_fread(nullptr, text, 1, text), 0u);
  EXPECT_STREQ(text, "abc");
}

TEST_F(LumoPltProxy, WithoutAContextCryptographyFails) {
  EXPECT_EQ(lumo_md_ctx_create(nullptr, &handle_), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_init(nullptr, &octets_, 43), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_update(nullptr, &octets_, octets_, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_final(nullptr, &octets_, octets_, &size_), 0xFFFFFFFF);
  lumo_md_ctx_destory(nullptr, &octets_);
  EXPECT_EQ(lumo_verify_ctx_create(nullptr, &handle_), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_init(nullptr, &octets_, &number_, &number_, 43), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_update(nullptr, &octets_, octets_, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_final(nullptr, &octets_, octets_, 1, &result_), 0xFFFFFFFF);
  lumo_verify_ctx_destory(nullptr, &octets_);
}

TEST_F(LumoPltProxy, WithEmptySlotsCryptographyFails) {
  vrf_.callback_funcs.md_funcs = {};
  vrf_.callback_funcs.crypt_funcs = {};
  EXPECT_EQ(lumo_md_ctx_create(&vrf_, &handle_), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_init(&vrf_, &octets_, 43), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_update(&vrf_, &octets_, octets_, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_final(&vrf_, &octets_, octets_, &size_), 0xFFFFFFFF);
  lumo_md_ctx_destory(&vrf_, &octets_);
  EXPECT_EQ(lumo_verify_ctx_create(&vrf_, &handle_), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_init(&vrf_, &octets_, &number_, &number_, 43), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_update(&vrf_, &octets_, octets_, 1), 0xFFFFFFFF);
  EXPECT_EQ(lumo_verify_final(&vrf_, &octets_, octets_, 1, &result_), 0xFFFFFFFF);
  lumo_verify_ctx_destory(&vrf_, &octets_);
}

TEST_F(LumoPltProxy, ACopyThatFillsTheDestinationSucceedsAndOneMoreIsRefused) {
  TEV_BYTE dest[4] = {9, 9, 9, 9};
  EXPECT_EQ(lumo_memcpy_s(&vrf_, dest, 4, "abcde", 5), 0x880000FF);
  EXPECT_EQ(dest[0], 9);
  EXPECT_EQ(dest[3], 9);
  EXPECT_EQ(lumo_memcpy_s(&vrf_, dest, 4, "abcd", 4), LUMO_OK);
  EXPECT_EQ(std::string(dest, dest + 4), "abcd");
}

TEST_F(LumoPltProxy, AFillIsBoundedLikeACopy) {
  TEV_BYTE dest[4] = {9, 9, 9, 9};
  EXPECT_EQ(lumo_memset_s(&vrf_, dest, 4, 1, 5), 0x880000FF);
  EXPECT_EQ(dest[0], 9);
  EXPECT_EQ(lumo_memset_s(&vrf_, dest, 4, 1, 4), LUMO_OK);
  EXPECT_EQ(dest[3], 1);
}

TEST_F(LumoPltProxy, ATextNeedsRoomForItsTerminator) {
  char dest[8] = "";
  EXPECT_EQ(lumo_strcpy_s(&vrf_, dest, 7, "seven77"), 0x880004FF);
  EXPECT_EQ(lumo_strcpy_s(&vrf_, dest, 8, "seven77"), LUMO_OK);
  EXPECT_STREQ(dest, "seven77");
}

TEST_F(LumoPltProxy, AnAppendedTextNeedsRoomForItsTerminator) {
  char dest[8] = "abcd";
  EXPECT_EQ(lumo_strcat_s(&vrf_, dest, 8, "efgh"), 0x880004FF);
  EXPECT_STREQ(dest, "abcd");
  EXPECT_EQ(lumo_strcat_s(&vrf_, dest, 8, "efg"), LUMO_OK);
  EXPECT_STREQ(dest, "abcdefg");
}

TEST_F(LumoPltProxy, NullIsNotFreed) {
  memory().free = NoteFree;
  lumo_free(&vrf_, nullptr);
  EXPECT_EQ(g_calls, 0);
}

TEST_F(LumoPltProxy, ABlockComesZeroed) {
  void* block = nullptr;
  ASSERT_EQ(lumo_malloc_with0(&vrf_, &block, 100), LUMO_OK);
  EXPECT_EQ(std::string(static_cast<char*>(block), 100), std::string(100, '\0'));
  lumo_free(&vrf_, block);
}

TEST_F(LumoPltProxy, ABlockThatCannotBeClearedIsFreed) {
  memory().memset_s = RefuseFill;
  memory().free = NoteFree;
  void* block = nullptr;
  EXPECT_EQ(lumo_malloc_with0(&vrf_, &block, 100), LUMO_ERR_SYS_MEMSET);
  EXPECT_EQ(g_calls, 2);
  EXPECT_EQ(g_freed, block);
}

TEST_F(LumoPltProxy, ANewRecordIsNullAfterAFailure) {
  memory().memset_s = RefuseFill;
  auto* record = &number_;
  EXPECT_EQ(lumo_new(&vrf_, &record), LUMO_ERR_SYS_MEMSET);
  EXPECT_EQ(record, nullptr);
}

TEST_F(LumoPltProxy, TextSlotsAreReached) {
  char text[] = "needle in a haystack";
  EXPECT_EQ(lumo_strstr(&vrf_, text, "in"), text + 7);
  EXPECT_EQ(lumo_strchr(&vrf_, text, 'd'), text + 3);
  EXPECT_EQ(lumo_strlen(&vrf_, text), 20u);
  EXPECT_EQ(lumo_strcmp(&vrf_, "a", "a"), 0);
  EXPECT_GT(lumo_strcmp(&vrf_, "b", "a"), 0);
  EXPECT_EQ(lumo_strncmp(&vrf_, "abc", "abd", 2), 0);
  EXPECT_LT(lumo_strncmp(&vrf_, "abc", "abd", 3), 0);
  EXPECT_EQ(lumo_memcmp(&vrf_, "abc", "abd", 2), 0);
}

TEST_F(LumoPltProxy, TextSizesAreComparedIn32Bits) {
  char dest[4] = "old";
  EXPECT_EQ(lumo_strcpy_s(&vrf_, dest, 0x100000002, "ab"), 0x880004FF);
  EXPECT_STREQ(dest, "old");
}

// Two texts of this length: their sum is 0 in 32 bits.
TEV_UINT32 HugeLength(const TEV_CHAR*) {
  return 0x80000000;
}

TEST_F(LumoPltProxy, LengthsThatWrapDoNotFit) {
  vrf_.callback_funcs.plt_funcs.sys_funcs.str_funcs.pf_strlen = HugeLength;
  char dest[4] = "old";
  EXPECT_EQ(lumo_strcat_s(&vrf_, dest, sizeof(dest), "a"), 0x880004FF);
  EXPECT_STREQ(dest, "old");
}

TEST_F(LumoPltProxy, ACharacterAbove127IsFound) {
  char text[] = "a\xE4z";
  EXPECT_EQ(lumo_strchr(&vrf_, text, static_cast<TEV_CHAR>(0xE4)), text + 1);
}

TEST_F(LumoPltProxy, AFailedAllocationKeepsItsCode) {
  memory().malloc = [](void** block, TEV_SIZE_T) -> LUMO_ERROR_CODE {
    *block = nullptr;
    return LUMO_ERR_MALLOC;
  };
  void* block = &block;
  EXPECT_EQ(lumo_malloc(&vrf_, &block, 1), LUMO_ERR_MALLOC);
  EXPECT_EQ(lumo_malloc_with0(&vrf_, &block, 1), LUMO_ERR_MALLOC);
  auto* record = &number_;
  EXPECT_EQ(lumo_new(&vrf_, &record), LUMO_ERR_MALLOC);
  EXPECT_EQ(record, nullptr);
}

TEST_F(LumoPltProxy, ANewRecordIsZeroed) {
  LUMO_BIGINT* record = nullptr;
  ASSERT_EQ(lumo_new(&vrf_, &record), LUMO_OK);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(record), sizeof(*record)),
            std::string(sizeof(*record), '\0'));
  lumo_free(&vrf_, record);
}

// What a slot was called with; each has a result of its own.
struct Seen {
  std::vector<const void*> pointers;
  TEV_UINT32 number = 0;
};
Seen g_seen;

LUMO_MD_FUNCS RecordingDigest() {
  LUMO_MD_FUNCS funcs{};
  funcs.lumo_md_ctx_create = [](LUMO_CRYPTO_MD_CTX* out) -> LUMO_ERROR_CODE {
    g_seen = {{out}, 0};
    return 101;
  };
  funcs.lumo_md_init = [](LUMO_CRYPTO_MD_CTX md, TEV_UINT32 hash) -> LUMO_ERROR_CODE {
    g_seen = {{md}, hash};
    return 102;
  };
  funcs.lumo_md_update = [](LUMO_CRYPTO_MD_CTX md, const TEV_BYTE* data, TEV_UINT32 len) -> LUMO_ERROR_CODE {
    g_seen = {{md, data}, len};
    return 103;
  };
  funcs.lumo_md_final = [](LUMO_CRYPTO_MD_CTX md, TEV_BYTE* digest, TEV_UINT32* len) -> LUMO_ERROR_CODE {
    g_seen = {{md, digest, len}, 0};
    return 104;
  };
  funcs.lumo_md_ctx_destory = [](LUMO_CRYPTO_MD_CTX md) { g_seen = {{md}, 105}; };
  return funcs;
}

LUMO_CRYPTO_FUNCS RecordingRsa() {
  LUMO_CRYPTO_FUNCS funcs{};
  funcs.lumo_verify_ctx_create = [](LUMO_CRYPTO_VRF_CTX* out) -> LUMO_ERROR_CODE {
    g_seen = {{out}, 0};
    return 201;
  };
  funcs.lumo_verify_init = [](LUMO_CRYPTO_VRF_CTX vrf, const LUMO_BIGINT* e, const LUMO_BIGINT* n,
                              TEV_UINT32 hash) -> LUMO_ERROR_CODE {
    g_seen = {{vrf, e, n}, hash};
    return 202;
  };
  funcs.lumo_verify_update = [](LUMO_CRYPTO_VRF_CTX vrf, const TEV_BYTE* data,
                                TEV_UINT32 len) -> LUMO_ERROR_CODE {
    g_seen = {{vrf, data}, len};
    return 203;
  };
  funcs.lumo_verify_final = [](LUMO_CRYPTO_VRF_CTX vrf, const TEV_BYTE* signature, TEV_UINT32 len,
                               TEV_INT* result) -> LUMO_ERROR_CODE {
    g_seen = {{vrf, signature, result}, len};
    return 204;
  };
  funcs.lumo_verify_ctx_destory = [](LUMO_CRYPTO_VRF_CTX vrf) { g_seen = {{vrf}, 205}; };
  return funcs;
}

void ExpectSeen(const std::vector<const void*>& pointers, TEV_UINT32 number) {
  EXPECT_EQ(g_seen.pointers, pointers);
  EXPECT_EQ(g_seen.number, number);
}

TEST_F(LumoPltProxy, DigestSlotsGetTheArgumentsUnchanged) {
  vrf_.callback_funcs.md_funcs = RecordingDigest();
  EXPECT_EQ(lumo_md_ctx_create(&vrf_, &handle_), 101u);
  ExpectSeen({&handle_}, 0);
  EXPECT_EQ(lumo_md_init(&vrf_, &vrf_, 44), 102u);
  ExpectSeen({&vrf_}, 44);
  EXPECT_EQ(lumo_md_update(&vrf_, &vrf_, octets_, 0xFFFFFFFF), 103u);
  ExpectSeen({&vrf_, octets_}, 0xFFFFFFFF);
  EXPECT_EQ(lumo_md_final(&vrf_, &vrf_, octets_, &size_), 104u);
  ExpectSeen({&vrf_, octets_, &size_}, 0);
  lumo_md_ctx_destory(&vrf_, &handle_);
  ExpectSeen({&handle_}, 105);
}

TEST_F(LumoPltProxy, RsaSlotsGetTheArgumentsUnchanged) {
  vrf_.callback_funcs.crypt_funcs = RecordingRsa();
  const LUMO_BIGINT modulus{};
  EXPECT_EQ(lumo_verify_ctx_create(&vrf_, &handle_), 201u);
  ExpectSeen({&handle_}, 0);
  EXPECT_EQ(lumo_verify_init(&vrf_, &vrf_, &number_, &modulus, 45), 202u);
  ExpectSeen({&vrf_, &number_, &modulus}, 45);
  EXPECT_EQ(lumo_verify_update(&vrf_, &vrf_, octets_, 0), 203u);
  ExpectSeen({&vrf_, octets_}, 0);
  EXPECT_EQ(lumo_verify_final(&vrf_, &vrf_, octets_, 513, &result_), 204u);
  ExpectSeen({&vrf_, octets_, &result_}, 513);
  lumo_verify_ctx_destory(&vrf_, &handle_);
  ExpectSeen({&handle_}, 205);
}

TEST_F(LumoPltProxy, AFileIsOpenedReadAndClosed) {
  TEV_FILE_HANDLE file = lumo_fopen(&vrf_, "/proc/self/exe", "rb");
  ASSERT_NE(file, nullptr);
  EXPECT_GT(lumo_get_file_size(&vrf_, file), 4u);
  EXPECT_EQ(lumo_fread(&vrf_, octets_, 4, file), 4u);
  EXPECT_EQ(std::string(octets_, octets_ + 4),
            "\x7f"
            "ELF");
  EXPECT_EQ(lumo_fclose(&vrf_, file), LUMO_OK);
}

TEST_F(LumoPltProxy, WithoutAHandleNothingIsCalled) {
  EXPECT_EQ(lumo_fclose(&vrf_, nullptr), 0x88100001);
  EXPECT_EQ(lumo_get_file_size(&vrf_, nullptr), 0x88100001u);
}

TEST_F(LumoPltProxy, WithoutASizeSlotEveryFileIsEmpty) {
  vrf_.callback_funcs.plt_funcs.sys_funcs.file_funcs.get_file_size = nullptr;
  EXPECT_EQ(lumo_get_file_size(&vrf_, &vrf_), 0u);
}

}  // namespace
