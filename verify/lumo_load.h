#ifndef FWVET_VERIFY_LUMO_LOAD_H
#define FWVET_VERIFY_LUMO_LOAD_H

#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_owned.h"
#include "verify/lumo_vrf.h"

// Bytes and files to decoded certificates and CRLs, and those into the store: also lumo_verify_add_cert,
// lumo_verify_add_cert_file, lumo_verify_add_crl and lumo_verify_add_crl_file of verify/lumo.h.

/// Decoded certificates and CRLs, one reference each, given up on every way out.
class DecodedObjects {
 public:
  explicit DecodedObjects(const LUMO_VRF* pVrf) noexcept : pVrf_(pVrf) {}
  ~DecodedObjects() {
    certs.free_each<lumo_x509_free_cert>(pVrf_);
    crls.free_each<lumo_x509_free_crl>(pVrf_);
  }
  DecodedObjects(const DecodedObjects&) = delete;
  DecodedObjects& operator=(const DecodedObjects&) = delete;

  LIST_TYPE_LUMO_X509_CERT certs{};
  LIST_TYPE_LUMO_X509_CRL crls{};

 private:
  const LUMO_VRF* pVrf_;
};

/// Decodes every certificate and CRL in the input (DER objects in a row, or PEM) into the lists; what belongs
/// to a list that is null is dropped. What decoded objects point into is copied into the context's raw_set.
///
/// In PEM, blocks of other labels and malformed ones are skipped. After an error the lists hold what came
/// before it. Errors: LUMO_ERR_FORMAT (shorter than 38 bytes, PEM block without its end); LUMO_ERR_LIST_FULL
/// (a list or raw_set); for DER the CRL decoder's code, unless fewer than 33 bytes are left, which count as
/// padding; the allocator's code.
[[nodiscard]] LUMO_ERROR_CODE _tevDecodeCertCrl(LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len,
                                                LIST_TYPE_LUMO_X509_CERT* certList,
                                                LIST_TYPE_LUMO_X509_CRL* crlList);

/// Whether the input holds more CRLs than a list can take. Keeps nothing.
[[nodiscard]] bool lumo_holds_too_many_crls(LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len);

/// Adds the certificates to the store, self-signed ones only when asked to; duplicates are skipped. Errors:
/// those of lumo_x509_is_self_signed and lumo_pki_store_add_cert end the walk.
[[nodiscard]] LUMO_ERROR_CODE _tevAddCertToStore(const LUMO_VRF* pVrf,
                                                 const LIST_TYPE_LUMO_X509_CERT* certList,
                                                 TEV_BOOL includeSelfSigned);

/// Adds the CRLs to the store; duplicates are skipped. Errors: LUMO_ERR_LIST_FULL.
[[nodiscard]] LUMO_ERROR_CODE _tevAddCrlToStore(const LUMO_VRF* pVrf, const LIST_TYPE_LUMO_X509_CRL* crlList);

/// Reads a whole file of 1 to 2,000,000 bytes. The caller owns *data (lumo_free). Errors: LUMO_ERR_PARAM
/// (null or empty path); LUMO_ERR_FILE_OPEN; LUMO_ERR_FILE_EMPTY; LUMO_ERR_FILE_TOO_LARGE;
/// LUMO_ERR_FILE_READ; the allocator's code.
[[nodiscard]] LUMO_ERROR_CODE _tevReadFile(const LUMO_VRF* pVrf, const TEV_CHAR* pszFilePath, TEV_BYTE** data,
                                           TEV_INT32* size);

#endif
