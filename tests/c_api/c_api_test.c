/* A C program that uses nothing but the public header. Ends with 0 when all that it expects holds. */
#include "verify/lumo.h"

#include <stdio.h>
#include <string.h>

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
  expect(lumo_verify_detach_signature_quick(ctx, "a", "/nonexistent", &result) == LUMO_ERR_FILE_OPEN && result == 0,
         "no signature file");
  expect(lumo_decode_crl(ctx, octets, 64, &bundle) == LUMO_ERR_CRL_DECODE && bundle == NULL, "no bundle");
  expect(lumo_decode_crl_file(ctx, "/nonexistent", &bundle) == LUMO_ERR_FILE_OPEN, "no bundle file");
  expect(lumo_crl_compare(ctx, NULL, NULL, &stat) == LUMO_ERR_PARAM && stat == SCPS_OLD, "nothing to compare");
  expect(lumo_crl_free(ctx, NULL) == LUMO_ERR_PARAM, "no bundle to free");
  expect(lumo_vrf_ctx_free(ctx) == LUMO_OK, "its end");
  expect(strlen(lumo_get_version()) > 0, "a version");
}

int main(void) {
  test_codes();
  test_creation();
  test_calls();
  printf("%s\n", failures == 0 ? "all holds" : "failed");
  return failures != 0;
}
