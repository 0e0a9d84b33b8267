#ifndef FWVET_VERIFY_LUMO_PKI_H
#define FWVET_VERIFY_LUMO_PKI_H

#include "verify/lumo_pki_store.h"

/// Judges a certificate at the context's base time: inside its validity, chained to a self-signed certificate
/// of the store, not revoked by the best CRL, whose issuer is judged the same way. A self-signed certificate
/// inside its validity is valid by itself.
///
/// `reset_depth` is 1 for an outer call and 0 for the nested one on a CRL's issuer; `isTsRelative` is 1 for a
/// timestamp's chain, where a lost key revokes at whatever date. *result is 1 when the certificate is valid
/// and 0 after every error. Errors: LUMO_ERR_PARAM (*result untouched for null); LUMO_ERR_DEPTH_EXCEEDED
/// beyond ten nested calls, or beyond the work that one outer call may cause; LUMO_ERR_CERT_NOT_YET_VALID;
/// LUMO_ERR_CERT_EXPIRED; LUMO_ERR_ISSUER_NOT_FOUND; LUMO_ERR_CRL_NOT_FOUND; LUMO_ERR_CRL_UNVERIFIED;
/// LUMO_ERR_CERT_REVOKED; LUMO_ERR_TIME_FORMAT; LUMO_ERR_SIGN_ALGO; an allocator's code.
[[nodiscard]] LUMO_ERROR_CODE lumo_pki_verify_cert(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert,
                                                   TEV_BOOL reset_depth, TEV_BOOL isTsRelative,
                                                   TEV_BOOL* result);

#endif
