/* A C program that uses nothing but the public header. Ends with 0 when all that it expects holds. */
#include "verify/lumo.h"

#include <stdio.h>
#include <string.h>

/* Tables and records cross the library's boundary by value: on a 64-bit system their layout is fixed. */
_Static_assert(sizeof(TEV_BOOL) == 4 && sizeof(TEV_INT) == 4 && sizeof(LUMO_ERROR_CODE) == 4, "32-bit types");
_Static_assert(sizeof(TEV_SIZE_T) == 8 && sizeof(TEV_TIME_T) == 8 && (TEV_TIME_T)-1 < 0, "64-bit types");
_Static_assert(sizeof(LUMO_BIGINT) == 516 && offsetof(LUMO_BIGINT, aVal) == 4, "LUMO_BIGINT");
_Static_assert(sizeof(LUMO_DATETIME) == 12 && offsetof(LUMO_DATETIME, uMillSecond) == 6 &&
                   offsetof(LUMO_DATETIME, uSecond) == 8,
               "LUMO_DATETIME");
_Static_assert(sizeof(LUMO_SYS_MEM_FUNCS) == 40 && sizeof(LUMO_SYS_STR_FUNCS) == 64, "memory and text slots");
_Static_assert(sizeof(LUMO_SYS_FILE_FUNCS) == 32 && sizeof(LUMO_SYS_PLANTFORM_FUNCS) == 24,
               "file and platform slots");
_Static_assert(sizeof(LUMO_SYS_FUNCS) == 168 && offsetof(LUMO_SYS_FUNCS, mem_funcs) == 8 &&
                   offsetof(LUMO_SYS_FUNCS, str_funcs) == 48 && offsetof(LUMO_SYS_FUNCS, file_funcs) == 112 &&
                   offsetof(LUMO_SYS_FUNCS, plt_funcs) == 144,
               "LUMO_SYS_FUNCS");
_Static_assert(sizeof(LUMO_PLT_FUNCS) == 176 && sizeof(LUMO_CRYPTO_FUNCS) == 48 &&
                   sizeof(LUMO_MD_FUNCS) == 48,
               "platform, RSA and digest tables");
_Static_assert(sizeof(LUMO_CALLBACK_FUNCS) == 280 && offsetof(LUMO_CALLBACK_FUNCS, plt_funcs) == 8 &&
                   offsetof(LUMO_CALLBACK_FUNCS, crypt_funcs) == 184 &&
                   offsetof(LUMO_CALLBACK_FUNCS, md_funcs) == 232,
               "LUMO_CALLBACK_FUNCS");
_Static_assert(sizeof(LUMO_CTX_CREATE_PARAMS) == 352 &&
                   offsetof(LUMO_CTX_CREATE_PARAMS, callback_funcs) == 8 &&
                   offsetof(LUMO_CTX_CREATE_PARAMS, resv) == 288,
               "LUMO_CTX_CREATE_PARAMS");

int lumo_set_callback_funcs_for_c(LUMO_CALLBACK_FUNCS* funcs);

static int failures = 0;

static void expect(int holds, const char* what) {
  if (holds) return;
  printf("does not hold: %s\n", what);
  ++failures;
}

static LUMO_ERROR_CODE no_memory(void** block, TEV_SIZE_T size) {
  (void)size;
  *block = NULL;
  return LUMO_ERR_MALLOC;
}

static void fill(LUMO_CTX_CREATE_PARAMS* params) {
  memset(params, 0, sizeof(*params));
  params->st_size = sizeof(*params);
  expect(lumo_set_callback_funcs_for_c(&params->callback_funcs) == 0, "the callback table is filled");
}

static void test_codes(void) {
  expect(LUMO_ERR_BER_INTEGER_SIZE == 0x88300801u, "codes above INT_MAX are constants");
  expect(strcmp(lumo_error_name(LUMO_ERR_CERT_REVOKED), "LUMO_ERR_CERT_REVOKED") == 0, "a code has its name");
  expect(strlen(lumo_error_meaning(LUMO_ERR_CERT_REVOKED)) > 10, "a code has a meaning");
  expect(lumo_error_name(1) == NULL, "no code, no name");
  switch (lumo_vrf_ctx_free(NULL)) {
    case LUMO_ERR_PARAM:
      break;
    default:
      expect(0, "codes serve as case labels");
  }
}

static void test_creation(void) {
  LUMO_CTX_CREATE_PARAMS params;
  LUMO_VRF_CTX ctx = NULL;
  fill(&params);
  expect(lumo_verify_create_ctx(NULL, &params) == LUMO_ERR_PARAM, "no place for the handle");
  expect(lumo_verify_create_ctx(&ctx, NULL) == LUMO_ERR_PARAM, "no parameters");
  ++params.st_size;
  expect(lumo_verify_create_ctx(&ctx, &params) == LUMO_ERR_PARAM_SIZE, "a size that is off by one");
  fill(&params);
  params.callback_funcs.plt_funcs.sys_funcs.mem_funcs.free = NULL;
  expect(lumo_verify_create_ctx(&ctx, &params) == LUMO_ERR_CALLBACK_MISSING, "an empty slot");
  fill(&params);
  params.callback_funcs.plt_funcs.sys_funcs.mem_funcs.malloc = no_memory;
  expect(lumo_verify_create_ctx(&ctx, &params) == LUMO_ERR_MALLOC && ctx == NULL, "no memory");
  fill(&params);
  expect(lumo_verify_create_ctx(&ctx, &params) == LUMO_OK && ctx != NULL, "a context");
  expect(lumo_vrf_ctx_free(ctx) == LUMO_OK, "its end");
}

static LUMO_ERROR_CODE create(const LUMO_CTX_CREATE_PARAMS* params) {
  LUMO_VRF_CTX ctx = NULL;
  LUMO_ERROR_CODE rc = lumo_verify_create_ctx(&ctx, params);
  expect((rc == LUMO_OK) == (ctx != NULL), "a context with success, none without");
  if (ctx != NULL) expect(lumo_vrf_ctx_free(ctx) == LUMO_OK, "its end");
  return rc;
}

/* What creation answers with the size at `offset` of the parameters off by one, above and below. */
static void expect_size_checked(size_t offset, LUMO_ERROR_CODE expected, const char* what) {
  for (int step = -1; step <= 1; step += 2) {
    LUMO_CTX_CREATE_PARAMS params;
    TEV_SIZE_T size;
    fill(&params);
    memcpy(&size, (const char*)&params + offset, sizeof(size));
    size += (TEV_SIZE_T)step;
    memcpy((char*)&params + offset, &size, sizeof(size));
    expect(create(&params) == expected, what);
  }
}

static void test_sizes(void) {
  expect_size_checked(offsetof(LUMO_CTX_CREATE_PARAMS, st_size), LUMO_ERR_PARAM_SIZE,
                      "size of the parameters");
  expect_size_checked(8, LUMO_ERR_PARAM_SIZE, "size of the callback table");
  expect_size_checked(16, LUMO_ERR_PARAM_SIZE, "size of the platform table");
  expect_size_checked(24, LUMO_ERR_PARAM_SIZE, "size of the system table");
  expect_size_checked(8 + offsetof(LUMO_CALLBACK_FUNCS, crypt_funcs), LUMO_OK,
                      "the RSA table's size is not looked at");
  expect_size_checked(8 + offsetof(LUMO_CALLBACK_FUNCS, md_funcs), LUMO_OK,
                      "the digest table's size is not looked at");
}

/* Empties each slot of `count` slots at `offset` of the parameters in turn. */
static void expect_slots(size_t offset, size_t count, LUMO_ERROR_CODE expected, const char* what) {
  for (size_t i = 0; i < count; ++i) {
    LUMO_CTX_CREATE_PARAMS params;
    fill(&params);
    memset((char*)&params + offset + i * sizeof(void*), 0, sizeof(void*));
    expect(create(&params) == expected, what);
  }
}

static void test_slots(void) {
  const size_t system = 24;
  const size_t text = system + offsetof(LUMO_SYS_FUNCS, str_funcs);
  const size_t files = system + offsetof(LUMO_SYS_FUNCS, file_funcs);
  expect_slots(system + offsetof(LUMO_SYS_FUNCS, mem_funcs), 5, LUMO_ERR_CALLBACK_MISSING, "memory slots");
  expect_slots(text, 7, LUMO_ERR_CALLBACK_MISSING, "text slots");
  expect_slots(text + offsetof(LUMO_SYS_STR_FUNCS, pf_vsnprintf_s), 1, LUMO_OK, "printing is optional");
  expect_slots(files, 3, LUMO_ERR_CALLBACK_MISSING, "file slots");
  expect_slots(files + offsetof(LUMO_SYS_FILE_FUNCS, get_file_size), 1, LUMO_OK, "the file size is optional");
  expect_slots(system + offsetof(LUMO_SYS_FUNCS, plt_funcs), 3, LUMO_OK, "platform slots are optional");
  expect_slots(8 + offsetof(LUMO_CALLBACK_FUNCS, crypt_funcs) + 8, 5, LUMO_ERR_CALLBACK_MISSING, "RSA slots");
  expect_slots(8 + offsetof(LUMO_CALLBACK_FUNCS, md_funcs) + 8, 5, LUMO_ERR_CALLBACK_MISSING, "digest slots");
}

static void test_calls(void) {
  LUMO_CTX_CREATE_PARAMS params;
  LUMO_VRF_CTX ctx = NULL;
  LUMO_CRL_BUNDLE_INFO* bundle = NULL;
  LUMO_CRL_PERIOD_STAT stat = SCPS_OLD;
  TEV_INT32 result = 7;
  const TEV_BYTE octets[64] = {0};
  fill(&params);
  expect(lumo_verify_create_ctx(&ctx, &params) == LUMO_OK, "a context");
  expect(lumo_verify_add_cert(ctx, octets, 0) == LUMO_ERR_PARAM, "no certificate");
  expect(lumo_verify_add_cert(ctx, octets, 37) == LUMO_ERR_FORMAT, "too short for a certificate");
  expect(lumo_verify_add_cert_file(ctx, "/nonexistent") == LUMO_ERR_FILE_OPEN, "no file");
  expect(lumo_verify_add_crl(ctx, octets, 64) == LUMO_ERR_CRL_DECODE, "no CRL");
  expect(lumo_verify_add_crl_file(ctx, NULL) == LUMO_ERR_PARAM, "no file name");
  expect(lumo_verify_detach_signature_begin(ctx, octets, 37) == LUMO_ERR_FORMAT, "too short for a signature");
  expect(lumo_verify_detach_signature_update(ctx, octets, 1) == LUMO_ERR_NOT_STARTED, "nothing begun");
  expect(lumo_verify_detach_signature_update(ctx, octets, -1) == LUMO_ERR_PARAM, "a negative length");
  expect(lumo_verify_detach_signature_final(ctx, &result) == LUMO_OK && result == 1, "nothing to compare");
  expect(lumo_verify_detach_signature_quick(ctx, "a", "/nonexistent", &result) == LUMO_ERR_FILE_OPEN &&
             result == 0,
         "no signature file");
  expect(lumo_decode_crl(ctx, octets, 64, &bundle) == LUMO_ERR_CRL_DECODE && bundle == NULL, "no bundle");
  expect(lumo_decode_crl_file(ctx, "/nonexistent", &bundle) == LUMO_ERR_FILE_OPEN, "no bundle file");
  expect(lumo_crl_compare(ctx, NULL, NULL, &stat) == LUMO_ERR_PARAM && stat == SCPS_OLD,
         "nothing to compare");
  expect(lumo_crl_free(ctx, NULL) == LUMO_ERR_PARAM, "no bundle to free");
  expect(lumo_vrf_ctx_free(ctx) == LUMO_OK, "its end");
  expect(strlen(lumo_get_version()) > 0, "a version");
}

int main(void) {
  test_codes();
  test_creation();
  test_sizes();
  test_slots();
  test_calls();
  printf("%s\n", failures == 0 ? "all holds" : "failed");
  return failures != 0;
}
