#ifndef FWVET_VERIFY_LUMO_REVOCATION_H
#define FWVET_VERIFY_LUMO_REVOCATION_H

#include "verify/lumo_pki_store.h"

// Which stored CRLs speak about a certificate, in what order they are heard, and what the chosen one says.
// The rules are the library's own, not those of RFC 5280.

/// A candidate CRL and how well it suits; the CRL is the store's.
struct LUMO_CRL_SCORE_INFO {
  TEV_UINT32 crlScore;
  LUMO_X509_CRL* pCrl;
};
using LIST_TYPE_LUMO_CRL_SCORE_INFO = LumoListOf<LUMO_CRL_SCORE_INFO>;

/// What a candidate's score is made of.
enum : TEV_UINT32 {
  LUMO_CRL_SCORE_INDIRECT = 16,  ///< marked as indirect
  LUMO_CRL_SCORE_NAME = 32,      ///< issued under the name of the certificate's issuer
  LUMO_CRL_SCORE_CURRENT = 64,   ///< nextUpdate not before the base time
  LUMO_CRL_SCORE_LISTED = 128,   ///< lists the certificate
};

/// The candidates for one certificate, released on every way out.
class ScoredCrls {
 public:
  explicit ScoredCrls(const LUMO_VRF* pVrf) noexcept : pVrf_(pVrf) {}
  ~ScoredCrls();
  ScoredCrls(const ScoredCrls&) = delete;
  ScoredCrls& operator=(const ScoredCrls&) = delete;

  LIST_TYPE_LUMO_CRL_SCORE_INFO list{};

 private:
  const LUMO_VRF* pVrf_;
};

/// Collects the stored CRLs that may speak about `pCert`, whose chain ends in `pRoot`, best first; equal ones
/// stay in store order. A CRL counts when it is of the certificate's issuer or indirect, when its own issuer
/// is stored and ends in the same root, and when it is current at the base time or lists the certificate.
/// Errors: the allocator's code, LUMO_ERR_LIST_FULL.
[[nodiscard]] LUMO_ERROR_CODE _tevGetScoredCrl(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert,
                                               const LUMO_X509_CERT* pRoot, ScoredCrls* pScored);

/// Judges `pCert` by one CRL at the base time: LUMO_OK when it is not revoked, LUMO_ERR_CERT_REVOKED when it
/// is.
///
/// A CA certificate, and every certificate of a timestamp's chain (`isTsRelative`), is revoked by a listing
/// at whatever date, unless the reason is affiliationChanged, superseded or cessationOfOperation; then, and
/// for all other certificates, the listing counts from its date on. Other errors: LUMO_ERR_TIME_FORMAT.
[[nodiscard]] LUMO_ERROR_CODE _tevIsCertRevoked(const LUMO_VRF* pVrf, const LUMO_X509_CERT& cert,
                                                const LUMO_X509_CRL& crl, TEV_BOOL isTsRelative);

#endif
