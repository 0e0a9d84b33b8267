#include "verify/lumo_ctx.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/test_cms.h"
#include "tests/support/test_world.h"
#include "tests/verify/verify_context.h"

namespace {

/// A value that no call stores in a handle.
LUMO_VRF_CTX Poison() {
  static char mark;
  return &mark;
}

struct ParamsCase {
  const char* name;
  void (*change)(LUMO_CTX_CREATE_PARAMS&);

  friend void PrintTo(const ParamsCase& row, std::ostream* out) { *out << row.name; }
};

TEST(LumoCtx, CreationWithoutAPlaceOrWithoutParametersChangesNothing) {
  const FailingAllocator allocator;
  const LUMO_CTX_CREATE_PARAMS params = allocator.params();
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(nullptr, &params), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(ctx, Poison());
  EXPECT_EQ(allocator.calls(), 0u);
}

class LumoCtxSizes : public ::testing::TestWithParam<ParamsCase> {};

TEST_P(LumoCtxSizes, AWrongSizeIsRefused) {
  const FailingAllocator allocator;
  LUMO_CTX_CREATE_PARAMS params = allocator.params();
  GetParam().change(params);
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), 0x88100002);
  EXPECT_EQ(ctx, nullptr);
  EXPECT_EQ(allocator.calls(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    OffByOne, LumoCtxSizes,
    ::testing::Values(
        ParamsCase{"ParametersAbove", [](LUMO_CTX_CREATE_PARAMS& p) { ++p.st_size; }},
        ParamsCase{"ParametersBelow", [](LUMO_CTX_CREATE_PARAMS& p) { --p.st_size; }},
        ParamsCase{"ParametersZero", [](LUMO_CTX_CREATE_PARAMS& p) { p.st_size = 0; }},
        ParamsCase{"CallbacksAbove", [](LUMO_CTX_CREATE_PARAMS& p) { ++p.callback_funcs.st_size; }},
        ParamsCase{"CallbacksBelow", [](LUMO_CTX_CREATE_PARAMS& p) { --p.callback_funcs.st_size; }},
        ParamsCase{"PlatformAbove", [](LUMO_CTX_CREATE_PARAMS& p) { ++p.callback_funcs.plt_funcs.st_size; }},
        ParamsCase{"PlatformBelow", [](LUMO_CTX_CREATE_PARAMS& p) { --p.callback_funcs.plt_funcs.st_size; }},
        ParamsCase{"SystemAbove",
                   [](LUMO_CTX_CREATE_PARAMS& p) { ++p.callback_funcs.plt_funcs.sys_funcs.st_size; }},
        ParamsCase{"SystemBelow",
                   [](LUMO_CTX_CREATE_PARAMS& p) { --p.callback_funcs.plt_funcs.sys_funcs.st_size; }}),
    NameOfRow());

class LumoCtxOptional : public ::testing::TestWithParam<ParamsCase> {};

TEST_P(LumoCtxOptional, CreationDoesWithoutIt) {
  const FailingAllocator allocator;
  LUMO_CTX_CREATE_PARAMS params = allocator.params();
  GetParam().change(params);
  LUMO_VRF_CTX ctx = nullptr;
  ASSERT_EQ(lumo_verify_create_ctx(&ctx, &params), LUMO_OK);
  EXPECT_EQ(lumo_vrf_ctx_free(ctx), LUMO_OK);
  EXPECT_EQ(allocator.live(), 0u);
}

constexpr LUMO_SYS_FUNCS& System(LUMO_CTX_CREATE_PARAMS& p) {
  return p.callback_funcs.plt_funcs.sys_funcs;
}
constexpr LUMO_SYS_STR_FUNCS& Strings(LUMO_CTX_CREATE_PARAMS& p) {
  return System(p).str_funcs;
}

INSTANTIATE_TEST_SUITE_P(
    Each, LumoCtxOptional,
    ::testing::Values(
        ParamsCase{"CryptoSize", [](LUMO_CTX_CREATE_PARAMS& p) { p.callback_funcs.crypt_funcs.st_size = 0; }},
        ParamsCase{"DigestSize", [](LUMO_CTX_CREATE_PARAMS& p) { p.callback_funcs.md_funcs.st_size = 0; }},
        ParamsCase{"Vsnprintf", [](LUMO_CTX_CREATE_PARAMS& p) { Strings(p).pf_vsnprintf_s = nullptr; }},
        ParamsCase{"FileSize",
                   [](LUMO_CTX_CREATE_PARAMS& p) { System(p).file_funcs.get_file_size = nullptr; }},
        ParamsCase{"ThreadId",
                   [](LUMO_CTX_CREATE_PARAMS& p) { System(p).plt_funcs.get_thread_id = nullptr; }},
        ParamsCase{"UtcTime", [](LUMO_CTX_CREATE_PARAMS& p) { System(p).plt_funcs.get_utc_time = nullptr; }},
        ParamsCase{"Mktime", [](LUMO_CTX_CREATE_PARAMS& p) { System(p).plt_funcs.mktime = nullptr; }}),
    NameOfRow());

class LumoCtxRequired : public ::testing::TestWithParam<ParamsCase> {};

TEST_P(LumoCtxRequired, CreationWithoutItIsRefused) {
  const FailingAllocator allocator;
  LUMO_CTX_CREATE_PARAMS params = allocator.params();
  GetParam().change(params);
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), 0x88100003);
  EXPECT_EQ(ctx, nullptr);
  EXPECT_EQ(allocator.calls(), 0u);
}

using P = LUMO_CTX_CREATE_PARAMS;
constexpr LUMO_SYS_MEM_FUNCS& Memory(P& p) {
  return System(p).mem_funcs;
}
constexpr LUMO_SYS_FILE_FUNCS& Files(P& p) {
  return System(p).file_funcs;
}
constexpr LUMO_CRYPTO_FUNCS& Rsa(P& p) {
  return p.callback_funcs.crypt_funcs;
}
constexpr LUMO_MD_FUNCS& Md(P& p) {
  return p.callback_funcs.md_funcs;
}

INSTANTIATE_TEST_SUITE_P(
    Each, LumoCtxRequired,
    ::testing::Values(ParamsCase{"Malloc", [](P& p) { Memory(p).malloc = nullptr; }},
                      ParamsCase{"Memset", [](P& p) { Memory(p).memset_s = nullptr; }},
                      ParamsCase{"Memcpy", [](P& p) { Memory(p).memcpy_s = nullptr; }},
                      ParamsCase{"Free", [](P& p) { Memory(p).free = nullptr; }},
                      ParamsCase{"Memcmp", [](P& p) { Memory(p).memcmp = nullptr; }},
                      ParamsCase{"Strncmp", [](P& p) { Strings(p).pf_strncmp = nullptr; }},
                      ParamsCase{"Strstr", [](P& p) { Strings(p).pf_strstr = nullptr; }},
                      ParamsCase{"Strchr", [](P& p) { Strings(p).pf_strchr = nullptr; }},
                      ParamsCase{"Strlen", [](P& p) { Strings(p).pf_strlen = nullptr; }},
                      ParamsCase{"Strcmp", [](P& p) { Strings(p).pf_strcmp = nullptr; }},
                      ParamsCase{"Strcpy", [](P& p) { Strings(p).pf_strcpy_s = nullptr; }},
                      ParamsCase{"Strcat", [](P& p) { Strings(p).pf_strcat_s = nullptr; }},
                      ParamsCase{"Fopen", [](P& p) { Files(p).fopen = nullptr; }},
                      ParamsCase{"Fread", [](P& p) { Files(p).fread = nullptr; }},
                      ParamsCase{"Fclose", [](P& p) { Files(p).fclose = nullptr; }},
                      ParamsCase{"RsaCreate", [](P& p) { Rsa(p).lumo_verify_ctx_create = nullptr; }},
                      ParamsCase{"RsaInit", [](P& p) { Rsa(p).lumo_verify_init = nullptr; }},
                      ParamsCase{"RsaUpdate", [](P& p) { Rsa(p).lumo_verify_update = nullptr; }},
                      ParamsCase{"RsaFinal", [](P& p) { Rsa(p).lumo_verify_final = nullptr; }},
                      ParamsCase{"RsaDestroy", [](P& p) { Rsa(p).lumo_verify_ctx_destory = nullptr; }},
                      ParamsCase{"MdCreate", [](P& p) { Md(p).lumo_md_ctx_create = nullptr; }},
                      ParamsCase{"MdInit", [](P& p) { Md(p).lumo_md_init = nullptr; }},
                      ParamsCase{"MdUpdate", [](P& p) { Md(p).lumo_md_update = nullptr; }},
                      ParamsCase{"MdFinal", [](P& p) { Md(p).lumo_md_final = nullptr; }},
                      ParamsCase{"MdDestroy", [](P& p) { Md(p).lumo_md_ctx_destory = nullptr; }}),
    NameOfRow());

constexpr LUMO_ERROR_CODE kForeign = 0x12345678;
int g_fills_left = 0;

LUMO_ERROR_CODE RefusingMalloc(void**, TEV_SIZE_T) {
  return kForeign;
}
/// Works g_fills_left times, then refuses with a code that the library does not make.
LUMO_ERROR_CODE TiringMemset(void* dest, TEV_SIZE_T max, TEV_INT c, TEV_SIZE_T count) {
  if (g_fills_left-- == 0) return kForeign;
  return PlatformTable().plt_funcs.sys_funcs.mem_funcs.memset_s(dest, max, c, count);
}

TEST(LumoCtx, TheAllocatorsOwnErrorIsReturned) {
  LUMO_CTX_CREATE_PARAMS params = ParamsOf(PlatformTable());
  Memory(params).malloc = RefusingMalloc;
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), kForeign);
  EXPECT_EQ(ctx, nullptr);
}

TEST(LumoCtx, ARecordThatCannotBeClearedIsFreed) {
  const FailingAllocator allocator;
  LUMO_CTX_CREATE_PARAMS params = allocator.params();
  Memory(params).memset_s = TiringMemset;
  g_fills_left = 0;
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), LUMO_ERR_SYS_MEMSET);
  EXPECT_EQ(ctx, nullptr);
  EXPECT_EQ(allocator.live(), 0u);
}

TEST(LumoCtx, AStoreThatCannotBeClearedEndsWithTheFillsOwnCode) {
  const FailingAllocator allocator;
  LUMO_CTX_CREATE_PARAMS params = allocator.params();
  Memory(params).memset_s = TiringMemset;
  g_fills_left = 1;
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), kForeign);
  EXPECT_EQ(ctx, nullptr);
  EXPECT_EQ(allocator.live(), 0u);
}

TEST(LumoCtx, AStoreThatCannotBeAllocatedFreesTheRecord) {
  const FailingAllocator allocator(2);
  const LUMO_CTX_CREATE_PARAMS params = allocator.params();
  LUMO_VRF_CTX ctx = Poison();
  EXPECT_EQ(lumo_verify_create_ctx(&ctx, &params), LUMO_ERR_MALLOC);
  EXPECT_EQ(ctx, nullptr);
  EXPECT_EQ(allocator.live(), 0u);
}

TEST(LumoCtx, ANewContextIsEmptyAndKeepsItsOwnCopyOfTheTable) {
  LUMO_CTX_CREATE_PARAMS params = ParamsOf(PlatformTable());
  LUMO_VRF_CTX ctx = nullptr;
  ASSERT_EQ(lumo_verify_create_ctx(&ctx, &params), LUMO_OK);
  const auto malloc_slot = Memory(params).malloc;
  params = {};
  const LUMO_VRF& vrf = *lumo_vrf_of(ctx);
  EXPECT_EQ(vrf.st_size, sizeof(LUMO_VRF));
  EXPECT_EQ(vrf.raw_set.num, 0u);
  EXPECT_EQ(vrf.crl_frozen, 0u);
  EXPECT_EQ(vrf.callback_funcs.plt_funcs.sys_funcs.mem_funcs.malloc, malloc_slot);
  ASSERT_NE(lumo_pki_store_of(&vrf), nullptr);
  EXPECT_EQ(lumo_pki_store_of(&vrf)->cert_store.num(), 0u);
  EXPECT_EQ(lumo_pki_store_of(&vrf)->crl_store.num(), 0u);
  EXPECT_EQ(vrf.vrf_proc.md_info_list.num(), 0u);
  EXPECT_EQ(vrf.base_time, 0);
  EXPECT_EQ(vrf.last_err, LUMO_OK);
  EXPECT_EQ(vrf.curr_depth, 0);
  for (const TEV_BYTE reserved : vrf.resv) EXPECT_EQ(reserved, 0);
  EXPECT_EQ(lumo_vrf_ctx_free(ctx), LUMO_OK);
}

TEST(LumoCtx, FreeingNothingIsRefused) {
  EXPECT_EQ(lumo_vrf_ctx_free(nullptr), LUMO_ERR_PARAM);
}

TEST(LumoCtx, FreeingReleasesStoreOpenChecksAndRawBuffers) {
  const world::World maker(pki::SelfSigned(pki::CaSpec("root")));
  const der::Bytes signature = maker.Signature({.content = der::FromText("abc"), .pem_signature = true});
  const FailingAllocator allocator;
  {
    VerifyContext context(allocator.table());
    context.Trust(maker.root);
    context.Load(maker.Crls({}));
    ASSERT_EQ(context.Begin(signature), LUMO_OK);
    ASSERT_EQ(context.vrf()->vrf_proc.md_info_list.num(), 1u);
    ASSERT_GE(context.vrf()->raw_set.num, 3u);
    EXPECT_GT(allocator.live(), 5u);
  }
  EXPECT_EQ(allocator.live(), 0u);
}

std::vector<void*> g_freed;
void NotingFree(void* block) {
  g_freed.push_back(block);
  PlatformTable().plt_funcs.sys_funcs.mem_funcs.free(block);
}

TEST(LumoCtx, TheRecordGoesLast) {
  LUMO_CALLBACK_FUNCS table = PlatformTable();
  table.plt_funcs.sys_funcs.mem_funcs.free = NotingFree;
  const LUMO_CTX_CREATE_PARAMS params = ParamsOf(table);
  LUMO_VRF_CTX ctx = nullptr;
  ASSERT_EQ(lumo_verify_create_ctx(&ctx, &params), LUMO_OK);
  void* store = lumo_vrf_of(ctx)->pki_ctx;
  g_freed.clear();
  ASSERT_EQ(lumo_vrf_ctx_free(ctx), LUMO_OK);
  EXPECT_EQ(g_freed, (std::vector<void*>{store, ctx}));
}

TEST(LumoCtx, TheVersionNeedsNoContextAndIsConstant) {
  const std::string version = lumo_get_version();
  EXPECT_EQ(version, "2.2.0.510");
  EXPECT_EQ(lumo_get_version(), lumo_get_version());
}

TEST(LumoCtx, TheSeventeenthRawBufferStaysTheCallers) {
  const FailingAllocator allocator;
  {
    const VerifyContext context(allocator.table());
    for (int i = 0; i < 16; ++i) {
      OwnedBytes bytes(context.vrf());
      ASSERT_EQ(lumo_alloc_bytes(context.vrf(), 8, bytes), LUMO_OK);
      ASSERT_EQ(lumo_keep_raw(context.vrf(), bytes), LUMO_OK);
      EXPECT_EQ(bytes.get(), nullptr);
    }
    OwnedBytes bytes(context.vrf());
    ASSERT_EQ(lumo_alloc_bytes(context.vrf(), 8, bytes), LUMO_OK);
    EXPECT_EQ(lumo_keep_raw(context.vrf(), bytes), LUMO_ERR_LIST_FULL);
    EXPECT_NE(bytes.get(), nullptr);
  }
  EXPECT_EQ(allocator.live(), 0u);
}

}  // namespace
