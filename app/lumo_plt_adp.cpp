#include "app/lumo_plt_adp.h"

#include <algorithm>
#include <cstdio>

#include "app/checked_file.h"
#include "app/cmsdebug.h"
#include "app/fwvet_messages.h"
#include "app/lumo_context.h"
#include "app/root_cert.h"

namespace {

constexpr LUMO_ERROR_CODE kFailed = 0xFFFFFFFFU;
constexpr std::uint32_t kChunkSize = 0x100000;

// Reads `length` bytes and feeds them. False ends the pass; `*status` is the code of the last update made.
bool FeedPiece(std::FILE* file, unsigned char* buffer, std::uint32_t length, LUMO_VRF_CTX ctx,
               LUMO_ERROR_CODE* status) {
  if (std::fread(buffer, 1, length, file) != length) {
    cmsdebug(kContentReadError);
    return false;
  }
  *status = lumo_verify_detach_signature_update(ctx, buffer, static_cast<TEV_INT32>(length));
  if (*status != LUMO_OK) cmsdebug(kAddSourceFailed, *status);
  return *status == LUMO_OK;
}

LUMO_ERROR_CODE LoadMaterial(LUMO_VRF_CTX ctx, const LUMO_DataParams& params) {
  const OwnedBytes root = MakeRootCert();
  if (!root) {
    cmsdebug(kMallocFailed);
    return LUMO_ERR_MALLOC;
  }
  if (auto code = lumo_verify_add_cert(ctx, root.get(), kRootCertSize); code != LUMO_OK) {
    cmsdebug(kAddCertFailed, code);
    return code;
  }
  if (auto code = lumo_verify_add_crl(ctx, params.pucCrl[0], params.ulCrlLen[0]); code != LUMO_OK) {
    cmsdebug(kAddCrlFailed, code);
    return code;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE CheckSignature(LUMO_VRF_CTX ctx, LUMO_DataParams* params, unsigned int* result) {
  if (auto code = lumo_verify_detach_signature_begin(ctx, params->pucSig, params->ulSigLen);
      code != LUMO_OK) {
    cmsdebug(kAddSignatureFailed, code);
    return code;
  }
  if (auto code = Load_PakerCheck(params, ctx); code != LUMO_OK) {
    cmsdebug(kAddSourceFailed, code);
    return code;
  }
  TEV_INT32 verdict = 0;
  const LUMO_ERROR_CODE code = lumo_verify_detach_signature_final(ctx, &verdict);
  *result = static_cast<unsigned int>(verdict);
  if (code != LUMO_OK) cmsdebug(kVerifySignatureFailed, code);
  return code;
}

// What the device CRLs say of the signer. One that cannot be added must not keep a genuine file from
// starting.
LUMO_ERROR_CODE RecheckSigner(LUMO_VRF_CTX ctx, const LUMO_DataParams& params) {
  const std::uint32_t count = std::min(params.u32CrlNum, static_cast<std::uint32_t>(kMaxCrls));
  for (std::uint32_t i = 1; i < count; ++i) {
    if (auto code = lumo_verify_add_crl(ctx, params.pucCrl[i], params.ulCrlLen[i]); code != LUMO_OK) {
      cmsdebug(kAddDeviceCrlFailed, static_cast<int>(i), code);
    }
  }
  const LUMO_ERROR_CODE code = lumo_verify_detach_signature_begin(ctx, params.pucSig, params.ulSigLen);
  if (code != LUMO_OK) cmsdebug(kVerifyExtraFailed, code);
  return code;
}

LUMO_ERROR_CODE VerifyData(LUMO_DataParams* params, unsigned int* result) {
  LUMO_CTX_CREATE_PARAMS create_params;
  if (const int status = FillCreateParams(&create_params); status != 0) {
    cmsdebug(kSetCallbacksFailed, static_cast<unsigned int>(status));
    return static_cast<LUMO_ERROR_CODE>(status);
  }
  LumoContext ctx;
  if (auto code = ctx.Create(create_params); code != LUMO_OK) {
    cmsdebug(kCreateCtxFailed, code);
    return code;
  }
  if (auto code = LoadMaterial(ctx.get(), *params); code != LUMO_OK) return code;
  if (auto code = CheckSignature(ctx.get(), params, result); code != LUMO_OK) return code;
  return RecheckSigner(ctx.get(), *params);
}

}  // namespace

unsigned int BSP_LUMO_Verify_Data(void* pParams, unsigned int* pu32Result) {
  LUMO_ERROR_CODE code = kFailed;
  if (pParams == nullptr || pu32Result == nullptr) {
    std::puts(kVerifyParaError);
  } else {
    *pu32Result = 0;
    code = VerifyData(static_cast<LUMO_DataParams*>(pParams), pu32Result);
  }
  const bool success = pu32Result != nullptr && *pu32Result == 1 && code == LUMO_OK;
  cmsdebug(kVerifySummary, success ? kSummarySuccess : kSummaryFailed);
  return code;
}

LUMO_ERROR_CODE Load_PakerCheck(void* pParams, LUMO_VRF_CTX vrf_ctx) {
  if (pParams == nullptr || vrf_ctx == nullptr) {
    cmsdebug(kContentParaError);
    return kFailed;
  }
  const auto& params = *static_cast<const LUMO_DataParams*>(pParams);
  const OwnedFile file = OpenForReading(params.pcSrcFilePath);
  if (!file) {
    cmsdebug(kContentOpenError, params.pcSrcFilePath == nullptr ? "" : params.pcSrcFilePath);
    return kFailed;
  }
  (void)std::fseek(file.get(), static_cast<long>(params.ulSrcOffset), SEEK_SET);
  const OwnedBytes buffer = AllocateBytes(kChunkSize);
  if (!buffer) {
    cmsdebug(kContentMallocError);
    return kFailed;
  }
  LUMO_ERROR_CODE status = kFailed;
  std::uint32_t remaining = params.ulSrcLen;
  for (; remaining > kChunkSize; remaining -= kChunkSize) {
    if (!FeedPiece(file.get(), buffer.get(), kChunkSize, vrf_ctx, &status)) return status;
  }
  // The last piece may fill the whole buffer, so that content of n MiB never ends in an empty one.
  (void)FeedPiece(file.get(), buffer.get(), remaining, vrf_ctx, &status);
  return status;
}
