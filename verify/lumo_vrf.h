#ifndef FWVET_VERIFY_LUMO_VRF_H
#define FWVET_VERIFY_LUMO_VRF_H

#include "verify/lumo_limits.h"
#include "verify/lumo_list.h"

/// One open check of the current verification. Either a digest of the content, to be compared with the
/// expected one, or a running RSA verification over the content.
struct LUMO_VERIFY_DIGEST_INFO {
  LUMO_CRYPTO_MD_CTX digestCtx;  ///< running digest, for a signer with signed attributes; else null
  TEV_UINT32 nDigestAlgID;       ///< digest algorithm, a LUMO_AOIDS value
  TEV_BYTE pbDigest[kMaxDigest];
  TEV_UINT32 nDigestSize;  ///< bytes used in pbDigest
  LUMO_CRYPTO_VRF_CTX
  vrfCtx;  ///< running RSA verification, for a signer without signed attributes; else null
  TEV_BYTE pbSignature[kMaxStreamedSignature];
  TEV_UINT32 nSignature;  ///< bytes used in pbSignature
};

struct LUMO_VERIFY_PROCESS {
  LumoListOf<LUMO_VERIFY_DIGEST_INFO> md_info_list;
};

/// The record behind a LUMO_VRF_CTX.
struct LUMO_VRF {
  TEV_SIZE_T st_size;       ///< the record's own size once it is complete
  LUMO_LIST_DUMMY raw_set;  ///< owned buffers that decoded objects point into
  TEV_BOOL crl_frozen;      ///< non-zero: CRLs may no longer be added; never set by the library itself
  LUMO_CALLBACK_FUNCS callback_funcs;  ///< the caller's table, copied
  void* pki_ctx;                       ///< the LUMO_PKI store, owned
  LUMO_VERIFY_PROCESS vrf_proc;
  TEV_TIME_T base_time;      ///< the moment at which certificates and CRLs are judged
  LUMO_ERROR_CODE last_err;  ///< last failure of the choice of a CRL
  TEV_INT curr_depth;        ///< nesting of path validations
  TEV_BYTE resv[64];
  TEV_UINT32 nested_validations;  ///< started since the outer path validation began
};

#endif
