#ifndef FWVET_VERIFY_LUMO_H
#define FWVET_VERIFY_LUMO_H

/**
 * The public interface of lumo, the verification library: detached CMS signatures with RFC 3161 timestamps,
 * judged against certificates and CRLs that the caller loads. C11 and C++ alike.
 *
 * Order of use: lumo_verify_create_ctx, any number of lumo_verify_add_*, then one verification
 * (lumo_verify_detach_signature_begin, _update, _final, or _quick), then lumo_vrf_ctx_free. A context belongs
 * to one thread at a time. The library has no state outside its contexts and reaches memory, strings, files,
 * digests and RSA only through the callback table that the caller hands over.
 *
 * Every function returns a status, LUMO_OK (0) for success; a verdict is an out-value of its own. Out-values
 * are written only where the function says so. lumo_error_name and lumo_error_meaning tell what a status
 * means.
 */

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define LUMO_NOEXCEPT noexcept
#define LUMO_NODISCARD [[nodiscard]]
extern "C" {
#else
#define LUMO_NOEXCEPT
#define LUMO_NODISCARD
#endif

typedef uint8_t TEV_UINT8;
typedef uint16_t TEV_UINT16;
typedef uint32_t TEV_UINT32;
typedef int32_t TEV_INT32;
typedef uint64_t TEV_UINT64;
typedef int64_t TEV_INT64;
typedef uint8_t TEV_BYTE;
typedef char TEV_CHAR;
typedef int TEV_INT;
typedef TEV_UINT32 TEV_BOOL; /* 0 is false, 1 is true */
typedef size_t TEV_SIZE_T;
typedef int64_t TEV_TIME_T;    /* seconds since 1970-01-01 00:00:00, no time zone */
typedef void* TEV_FILE_HANDLE; /* an open file of the platform */

typedef TEV_UINT32 LUMO_ERROR_CODE;
typedef void* LUMO_VRF_CTX;        /* a verify context */
typedef void* LUMO_CRYPTO_MD_CTX;  /* a running digest of the platform */
typedef void* LUMO_CRYPTO_VRF_CTX; /* a running RSA verification of the platform */

/* The statuses, from verify/lumo_errors.def. Their values do not fit ISO C11 enumerators, hence the two
 * spellings. */
#define LUMO_ERROR(code, name, meaning) name = (code),
#ifdef __cplusplus
enum LUMO_STATUS : LUMO_ERROR_CODE {
#else
__extension__ enum LUMO_STATUS {
#endif
#include "verify/lumo_errors.def"
};
#undef LUMO_ERROR

/** An unsigned big-endian integer of up to 4096 bits: an RSA modulus or exponent. */
typedef struct lumo_bigint_st {
  TEV_UINT32 uiLength; /* bytes used in aVal, 0 to 512 */
  TEV_BYTE aVal[512];
} LUMO_BIGINT;

/** A broken-down time. The library fills and reads year, month, day, hour, minute and second only. */
typedef struct lumo_datetime_st {
  TEV_UINT16 uYear;
  TEV_UINT8 uMonth;
  TEV_UINT8 uDay;
  TEV_UINT8 uHour;
  TEV_UINT8 uMinute;
  TEV_UINT16 uMillSecond;
  TEV_UINT8 uSecond;
  TEV_UINT8 uUtcFlag;
  TEV_UINT8 uUtcHour;
  TEV_UINT8 uUtcMinute;
} LUMO_DATETIME;

/* Slots of the callback table. All but those marked optional must be filled. */

/* Allocates `size` bytes (0 included) into *ppByte; LUMO_ERR_MALLOC when it cannot. */
typedef LUMO_ERROR_CODE (*tev_func_malloc)(void** ppByte, TEV_SIZE_T size);
typedef LUMO_ERROR_CODE (*tev_func_memset_s)(void* dest, TEV_SIZE_T destMax, TEV_INT c, TEV_SIZE_T count);
typedef LUMO_ERROR_CODE (*tev_func_memcpy_s)(void* dest, TEV_SIZE_T destMax, const void* src,
                                             TEV_SIZE_T count);
typedef void (*tev_func_free)(void* ptr);
typedef TEV_INT (*tev_func_memcmp)(const void* s1, const void* s2, TEV_SIZE_T n);
typedef TEV_INT (*tev_func_strncmp)(const TEV_CHAR* s1, const TEV_CHAR* s2, TEV_SIZE_T n);
typedef const TEV_CHAR* (*tev_func_strstr)(const TEV_CHAR* haystack, const TEV_CHAR* needle);
typedef TEV_CHAR* (*tev_func_strchr)(TEV_CHAR* s, TEV_CHAR c);
typedef TEV_UINT32 (*tev_func_strlen)(const TEV_CHAR* s);
typedef TEV_INT (*tev_func_strcmp)(const TEV_CHAR* s1, const TEV_CHAR* s2);
typedef LUMO_ERROR_CODE (*tev_func_strcpy_s)(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);
typedef LUMO_ERROR_CODE (*tev_func_strcat_s)(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);
typedef TEV_INT (*tev_func_vsnprintf_s)(TEV_CHAR* dest, TEV_SIZE_T destMax, TEV_SIZE_T count,
                                        const TEV_CHAR* format, va_list arglist);
typedef TEV_FILE_HANDLE (*tev_func_fopen)(const TEV_CHAR* path, const TEV_CHAR* mode);
typedef TEV_SIZE_T (*tev_func_fread)(void* buf, TEV_SIZE_T size, TEV_FILE_HANDLE hFile);
typedef LUMO_ERROR_CODE (*tev_func_fclose)(TEV_FILE_HANDLE hFile);
typedef TEV_UINT64 (*tev_func_get_file_size)(TEV_FILE_HANDLE hFile);
typedef void* (*tev_func_get_thread_id)(void);
typedef TEV_TIME_T (*tev_func_get_utc_time)(void);
typedef TEV_TIME_T (*tev_func_mktime)(const LUMO_DATETIME* time);

/* hash_id is 43 (SHA-256), 44 (SHA-384) or 45 (SHA-512). */
typedef LUMO_ERROR_CODE (*pfunc_lumo_md_ctx_create)(LUMO_CRYPTO_MD_CTX* md_ctx);
typedef LUMO_ERROR_CODE (*pfunc_lumo_md_init)(LUMO_CRYPTO_MD_CTX md_ctx, TEV_UINT32 hash_id);
typedef LUMO_ERROR_CODE (*pfunc_lumo_md_update)(LUMO_CRYPTO_MD_CTX md_ctx, const TEV_BYTE* data,
                                                TEV_UINT32 len);
/* Writes at most 64 bytes to digest and their number to *len. */
typedef LUMO_ERROR_CODE (*pfunc_lumo_md_final)(LUMO_CRYPTO_MD_CTX md_ctx, TEV_BYTE* digest, TEV_UINT32* len);
typedef void (*pfunc_lumo_md_ctx_destory)(LUMO_CRYPTO_MD_CTX md_ctx);

typedef LUMO_ERROR_CODE (*pfunc_lumo_verify_ctx_create)(LUMO_CRYPTO_VRF_CTX* vrf_ctx);
typedef LUMO_ERROR_CODE (*pfunc_lumo_verify_init)(LUMO_CRYPTO_VRF_CTX vrf_ctx, const LUMO_BIGINT* e,
                                                  const LUMO_BIGINT* n, TEV_UINT32 hash_id);
typedef LUMO_ERROR_CODE (*pfunc_lumo_verify_update)(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* data,
                                                    TEV_UINT32 len);
/* *result becomes 1 when the PKCS #1 v1.5 signature is good, else 0; a bad signature is not an error. */
typedef LUMO_ERROR_CODE (*pfunc_lumo_verify_final)(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* pbSignature,
                                                   TEV_UINT32 len, TEV_INT* result);
typedef void (*pfunc_lumo_verify_ctx_destory)(LUMO_CRYPTO_VRF_CTX vrf_ctx);

/* The tables. Each st_size holds the size of its own record. */

typedef struct lumo_sys_mem_funcs_st {
  tev_func_malloc malloc;
  tev_func_memset_s memset_s;
  tev_func_memcpy_s memcpy_s;
  tev_func_free free;
  tev_func_memcmp memcmp;
} LUMO_SYS_MEM_FUNCS;

typedef struct lumo_sys_str_funcs_st {
  tev_func_strncmp pf_strncmp;
  tev_func_strstr pf_strstr;
  tev_func_strchr pf_strchr;
  tev_func_strlen pf_strlen;
  tev_func_strcmp pf_strcmp;
  tev_func_strcpy_s pf_strcpy_s;
  tev_func_strcat_s pf_strcat_s;
  tev_func_vsnprintf_s pf_vsnprintf_s; /* optional */
} LUMO_SYS_STR_FUNCS;

typedef struct lumo_sys_file_funcs_st {
  tev_func_fopen fopen;
  tev_func_fread fread;
  tev_func_fclose fclose;
  tev_func_get_file_size get_file_size; /* optional; without it every file counts as empty */
} LUMO_SYS_FILE_FUNCS;

typedef struct lumo_sys_plantform_funcs_st {
  tev_func_get_thread_id get_thread_id; /* optional */
  tev_func_get_utc_time get_utc_time;   /* optional */
  tev_func_mktime mktime;               /* optional */
} LUMO_SYS_PLANTFORM_FUNCS;

typedef struct lumo_sys_funcs_st {
  TEV_SIZE_T st_size;
  LUMO_SYS_MEM_FUNCS mem_funcs;
  LUMO_SYS_STR_FUNCS str_funcs;
  LUMO_SYS_FILE_FUNCS file_funcs;
  LUMO_SYS_PLANTFORM_FUNCS plt_funcs;
} LUMO_SYS_FUNCS;

typedef struct lumo_plt_funcs_st {
  TEV_SIZE_T st_size;
  LUMO_SYS_FUNCS sys_funcs;
} LUMO_PLT_FUNCS;

typedef struct _LUMO_CRYPTO_FUNCS {
  TEV_SIZE_T st_size;
  pfunc_lumo_verify_ctx_create lumo_verify_ctx_create;
  pfunc_lumo_verify_init lumo_verify_init;
  pfunc_lumo_verify_update lumo_verify_update;
  pfunc_lumo_verify_final lumo_verify_final;
  pfunc_lumo_verify_ctx_destory lumo_verify_ctx_destory;
} LUMO_CRYPTO_FUNCS;

typedef struct _LUMO_MD_FUNCS {
  TEV_SIZE_T st_size;
  pfunc_lumo_md_ctx_create lumo_md_ctx_create;
  pfunc_lumo_md_init lumo_md_init;
  pfunc_lumo_md_update lumo_md_update;
  pfunc_lumo_md_final lumo_md_final;
  pfunc_lumo_md_ctx_destory lumo_md_ctx_destory;
} LUMO_MD_FUNCS;

typedef struct _LUMO_CALLBACK_FUNCS {
  TEV_SIZE_T st_size;
  LUMO_PLT_FUNCS plt_funcs;
  LUMO_CRYPTO_FUNCS crypt_funcs;
  LUMO_MD_FUNCS md_funcs;
} LUMO_CALLBACK_FUNCS;

typedef struct lumo_ctx_create_params_st {
  TEV_SIZE_T st_size;
  LUMO_CALLBACK_FUNCS callback_funcs;
  TEV_CHAR resv[64]; /* zero */
} LUMO_CTX_CREATE_PARAMS;

/** How an offered CRL bundle relates to a stored one. */
typedef enum lumo_crl_period_stat {
  SCPS_SAME = 0, /* covers the same period */
  SCPS_NEW = 1,  /* the offered one is newer */
  SCPS_OLD = 2,  /* the offered one is older */
  SCPS_MIX = 3   /* newer in one respect and older in another, or not comparable */
} LUMO_CRL_PERIOD_STAT;

/** A certificate serial number as encoded. */
typedef struct lumo_serial_num_st {
  TEV_BYTE sn[32];
  TEV_UINT32 sn_len; /* bytes used in sn, 1 to 32 */
} LUMO_SERIAL_NUM;

/** Revoked serial numbers; the list owns its array. */
typedef struct lumo_revoke_list_st {
  LUMO_SERIAL_NUM* sn_list;
  TEV_UINT32 revoke_count;
} LUMO_REVOKE_LIST;

/** What a comparison needs to know of one CRL. */
typedef struct lumo_crl_info_st {
  TEV_INT valid;                /* 1: the issuing certificate was found and is valid at update_time */
  TEV_INT64 update_time;        /* thisUpdate in seconds; 0 when it cannot be converted */
  TEV_INT64 valid_until;        /* nextUpdate in seconds; 0 when it cannot be converted */
  TEV_CHAR issuer[256];         /* the issuer as text; empty when the name has no text form */
  LUMO_SERIAL_NUM issuer_sn;    /* serial number of the issuing certificate, when it has at most 32 bytes */
  LUMO_REVOKE_LIST revoke_list; /* filled only when the issuing certificate is self-signed */
  TEV_CHAR resv[60];
} LUMO_CRL_INFO;

/** A decoded CRL bundle: up to 16 CRLs. Made by lumo_decode_crl, released by lumo_crl_free. */
typedef struct lumo_crl_bundle_info_st {
  LUMO_CRL_INFO* crl_info_list[16];
  TEV_INT crl_count;
  TEV_CHAR resv[64];
} LUMO_CRL_BUNDLE_INFO;

/**
 * Creates a context that holds a copy of the callback table.
 *
 * The caller owns *pCtx and releases it with lumo_vrf_ctx_free. Errors: LUMO_ERR_PARAM for a null pointer,
 * LUMO_ERR_PARAM_SIZE for a wrong st_size (parameters, callback table, platform table, system table),
 * LUMO_ERR_CALLBACK_MISSING for an empty required slot, the allocator's own error, LUMO_ERR_SYS_MEMSET.
 * *pCtx is null after every failure but the first, which leaves it untouched.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_create_ctx(LUMO_VRF_CTX* pCtx,
                                                      const LUMO_CTX_CREATE_PARAMS* pParams) LUMO_NOEXCEPT;

/**
 * Adds every certificate of `pbCert` (DER, several in a row allowed, or PEM) to the context as trusted
 * material; a self-signed certificate added here is a root. The bytes are copied. Duplicates are skipped.
 *
 * Errors: LUMO_ERR_PARAM; LUMO_ERR_FORMAT for input below 38 bytes or a PEM block without its end; a decoder
 * code; LUMO_ERR_GENERIC when there is no certificate in the input; LUMO_ERR_LIST_FULL.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_add_cert(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCert,
                                                    TEV_UINT32 nCertLength) LUMO_NOEXCEPT;

/** As lumo_verify_add_cert, from a file of at most 2,000,000 bytes. Also LUMO_ERR_FILE_*. */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_add_cert_file(LUMO_VRF_CTX ctx,
                                                         const TEV_CHAR* pszCertFile) LUMO_NOEXCEPT;

/**
 * Adds every CRL of `pbCrl` (DER or PEM) to the context, and the certificates found beside them, self-signed
 * ones excepted. The bytes are copied. Duplicates are skipped.
 *
 * Errors: LUMO_ERR_PARAM; LUMO_ERR_CRL_FROZEN; LUMO_ERR_CRL_DECODE when the input holds no decodable CRL;
 * LUMO_ERR_LIST_FULL.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_add_crl(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCrl,
                                                   TEV_UINT32 nCrlLength) LUMO_NOEXCEPT;

/** As lumo_verify_add_crl, from a file of at most 2,000,000 bytes. Also LUMO_ERR_FILE_*. */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_add_crl_file(LUMO_VRF_CTX ctx,
                                                        const TEV_CHAR* pszCrlFile) LUMO_NOEXCEPT;

/**
 * Takes a detached signature (DER, or PEM labelled CMS or PKCS7) and checks all of it that needs no content:
 * its timestamp, the timestamp's signer, the signer's certificate at the stamped time, the signed attributes.
 *
 * A DER signature is not copied: the certificates in it are kept by reference, so `pbSignature` must live as
 * long as the context is used for anything but freeing. Errors: LUMO_ERR_PARAM; LUMO_ERR_FORMAT;
 * LUMO_ERR_GENERIC for a PKCS7 block without its end; LUMO_ERR_BASE64; LUMO_ERR_PKCS7_DECODE; LUMO_ERR_TST_*;
 * LUMO_ERR_TSA_*; LUMO_ERR_SIGNER_NOT_FOUND; LUMO_ERR_CERT_*; LUMO_ERR_CRL_*; LUMO_ERR_SIGNATURE_INVALID;
 * LUMO_ERR_SIGN_ALGO; LUMO_ERR_DIGEST_*; LUMO_ERR_ISSUER_NOT_FOUND; LUMO_ERR_DEPTH_EXCEEDED;
 * LUMO_ERR_LIST_FULL; a decoder or callback code.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_detach_signature_begin(LUMO_VRF_CTX ctx,
                                                                  const TEV_BYTE* pbSignature,
                                                                  TEV_UINT32 nSigLength) LUMO_NOEXCEPT;

/**
 * Feeds the next piece of the signed content, of any size above 0. Errors: LUMO_ERR_PARAM (null, zero or
 * negative length), LUMO_ERR_NOT_STARTED, a callback's code.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_detach_signature_update(LUMO_VRF_CTX ctx,
                                                                   const TEV_BYTE* pbContent,
                                                                   TEV_INT32 nContentLength) LUMO_NOEXCEPT;

/**
 * Ends the verification: *result is 1 when the content is what was signed, else 0. A message without a signer
 * gives 1, so success counts only together with a successful update. Errors: LUMO_ERR_PARAM (result
 * untouched), LUMO_ERR_SIGNATURE_INVALID, a callback's code (*result 0).
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_detach_signature_final(LUMO_VRF_CTX ctx,
                                                                  TEV_INT32* result) LUMO_NOEXCEPT;

/**
 * Begin, update and final over two files, the content of any size, the signature of at most 2,000,000 bytes.
 * An empty content is never fed, so a message without a signer passes for it, as with final. After this call
 * the context is only to be freed. Errors: those of the three calls and LUMO_ERR_FILE_*; *result is 0 after
 * each of them.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_verify_detach_signature_quick(LUMO_VRF_CTX ctx, const TEV_CHAR* srcfile,
                                                                  const TEV_CHAR* sigfile,
                                                                  TEV_INT32* result) LUMO_NOEXCEPT;

/** Releases the context and all that it holds. Errors: LUMO_ERR_PARAM for null. */
LUMO_ERROR_CODE lumo_vrf_ctx_free(LUMO_VRF_CTX ctx) LUMO_NOEXCEPT;

/** The release label of the library, constant text. */
const TEV_CHAR* lumo_get_version(void) LUMO_NOEXCEPT;

/**
 * Decodes a CRL bundle (DER or PEM: one or more CRLs and the certificates that issued them), adds it to the
 * context and summarises it in a new record.
 *
 * The caller owns *ppResult and releases it with lumo_crl_free and the same context. Afterwards the context's
 * validation time is that of the last CRL. Errors: LUMO_ERR_PARAM (*ppResult untouched); with *ppResult null:
 * LUMO_ERR_CRL_DECODE (not decodable, no CRL, no certificate, not storable, out of memory),
 * LUMO_ERR_CRL_BUNDLE_DECODE (more than 16 CRLs).
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_decode_crl(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCrl, TEV_UINT32 nCrlLength,
                                               LUMO_CRL_BUNDLE_INFO** ppResult) LUMO_NOEXCEPT;

/** As lumo_decode_crl, from a file of at most 2,000,000 bytes. Also LUMO_ERR_FILE_*. */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_decode_crl_file(LUMO_VRF_CTX ctx, const TEV_CHAR* crlFile,
                                                    LUMO_CRL_BUNDLE_INFO** pResult) LUMO_NOEXCEPT;

/**
 * Tells how the bundle `crlToUpdate` relates to `crlOnDevice`.
 *
 * *stat is SCPS_MIX after every error but LUMO_ERR_PARAM and LUMO_ERR_CRL_BUNDLE_EMPTY, which leave it
 * untouched. A mixed verdict can come with LUMO_OK: look at *stat. Other errors: LUMO_ERR_CRL_INFO_INVALID,
 * LUMO_ERR_CRL_ISSUER_DUPLICATE, LUMO_ERR_CRL_MIXED.
 */
LUMO_NODISCARD LUMO_ERROR_CODE lumo_crl_compare(LUMO_VRF_CTX ctx, const LUMO_CRL_BUNDLE_INFO* crlToUpdate,
                                                const LUMO_CRL_BUNDLE_INFO* crlOnDevice,
                                                LUMO_CRL_PERIOD_STAT* stat) LUMO_NOEXCEPT;

/** Releases a bundle that lumo_decode_crl made with this context. Errors: LUMO_ERR_PARAM for null. */
LUMO_ERROR_CODE lumo_crl_free(LUMO_VRF_CTX ctx, LUMO_CRL_BUNDLE_INFO* pCrlBundle) LUMO_NOEXCEPT;

/** The name of a status ("LUMO_ERR_PARAM"), or null for a value that is none. */
const TEV_CHAR* lumo_error_name(LUMO_ERROR_CODE code) LUMO_NOEXCEPT;

/** What a status means, one line of text, or null for a value that is none. */
const TEV_CHAR* lumo_error_meaning(LUMO_ERROR_CODE code) LUMO_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
