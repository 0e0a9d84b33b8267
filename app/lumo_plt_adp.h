#ifndef FWVET_APP_LUMO_PLT_ADP_H
#define FWVET_APP_LUMO_PLT_ADP_H

#include <cstddef>
#include <cstdint>

#include "app/device_state.h"  // LUMO_File, the device CRL record
#include "verify/lumo.h"

inline constexpr std::size_t kMaxCrls = 32;

/// What a check needs. The record owns nothing; what it points at must outlive the check.
struct LUMO_DataParams {
  const std::uint8_t* pucCrl[kMaxCrls];  // CRL images: 0 the package's, from 1 up the device's
  std::uint32_t ulCrlLen[kMaxCrls];      // their lengths in bytes
  std::uint32_t u32CrlNum;               // how many there are, 1 to 32
  const std::uint8_t* pucSig;            // the detached signature, DER or PEM
  std::uint32_t ulSigLen;
  const char* pcSrcFilePath;  // the file that holds the signed content
  std::uint32_t ulSrcOffset;  // where the content starts in it
  std::uint32_t ulSrcLen;     // how many bytes of content follow
};

/// Checks a detached signature against the compiled-in root and the package CRL, then the signer once more
/// against the device CRLs. `pParams` points to a LUMO_DataParams.
///
/// Sets `*pu32Result` to 0 first, to 1 when the signature verified. Returns 0 when every step succeeded, else
/// the library's code of the failed step, or 0xFFFFFFFF for null arguments and for a failure of the content
/// pass. A file is genuine only with return 0 and result 1; result 1 with another return means that the
/// device CRLs reject the signer.
unsigned int BSP_LUMO_Verify_Data(void* pParams, unsigned int* pu32Result);

/// Feeds the signed content that `pParams` (a LUMO_DataParams) names to the running verification of
/// `vrf_ctx`, in pieces of at most 1 MiB.
///
/// Returns the code of the last update, 0xFFFFFFFF when there was none. So a file that ends early after at
/// least one full piece returns 0: the digest comparison at the end then rejects it.
LUMO_ERROR_CODE Load_PakerCheck(void* pParams, LUMO_VRF_CTX vrf_ctx);

#endif
