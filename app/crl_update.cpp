#include "app/crl_update.h"

#include <array>
#include <cstdio>

#include "app/checked_file.h"
#include "app/cmsdebug.h"
#include "app/device_state.h"
#include "app/fwvet_messages.h"
#include "app/lumo_context.h"
#include "app/root_cert.h"
#include "app/trailer_block.h"
#include "platform/bounded.h"

namespace {

struct CrlBytes {
  const unsigned char* data;
  unsigned long length;
};

// A decoded bundle and the context that owns what it was decoded from.
struct DecodedCrl {
  DecodedCrl() = default;
  ~DecodedCrl() {
    if (bundle != nullptr) (void)lumo_crl_free(ctx.get(), bundle);
  }
  DecodedCrl(const DecodedCrl&) = delete;
  DecodedCrl& operator=(const DecodedCrl&) = delete;

  LumoContext ctx;
  LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
};

enum class Step { kCreate, kAddRoot, kDecode, kDone };

// How far the decoding came, and why it stopped there.
struct Progress {
  Step step;
  LUMO_ERROR_CODE code;
};

Progress Decode(const LUMO_CTX_CREATE_PARAMS& params, const OwnedBytes& root, CrlBytes crl,
                DecodedCrl* decoded) {
  if (auto code = decoded->ctx.Create(params); code != LUMO_OK) return {Step::kCreate, code};
  LUMO_VRF_CTX ctx = decoded->ctx.get();
  if (auto code = lumo_verify_add_cert(ctx, root.get(), kRootCertSize); code != LUMO_OK)
    return {Step::kAddRoot, code};
  const auto length = static_cast<TEV_UINT32>(crl.length);
  if (auto code = lumo_decode_crl(ctx, crl.data, length, &decoded->bundle); code != LUMO_OK) {
    return {Step::kDecode, code};
  }
  return {Step::kDone, LUMO_OK};
}

void ReportOffered(Progress progress) {
  if (progress.step == Step::kCreate) cmsdebug(kCreateCtx1Failed, progress.code);
  if (progress.step == Step::kAddRoot) cmsdebug(kAddRoot1Failed, progress.code);
  if (progress.step == Step::kDecode) cmsdebug(kDecodeCrl1Failed, progress.code);
}

void ReportStored(Progress progress) {
  if (progress.step == Step::kCreate) cmsdebug(kCreateCtx2Failed, progress.code);
  if (progress.step == Step::kAddRoot) cmsdebug(kAddRoot2Failed, progress.code);
  if (progress.step == Step::kDecode) cmsdebug(kDecodeCrl2Failed, progress.code);
}

LUMO_CRL_PERIOD_STAT Compare(const OwnedBytes& root, CrlBytes offered, CrlBytes stored) {
  LUMO_CTX_CREATE_PARAMS params;
  (void)FillCreateParams(&params);
  DecodedCrl bundle1;
  const Progress progress1 = Decode(params, root, offered, &bundle1);
  ReportOffered(progress1);
  if (progress1.step != Step::kDone) return SCPS_MIX;

  DecodedCrl bundle2;
  const Progress progress2 = Decode(params, root, stored, &bundle2);
  ReportStored(progress2);
  // What the device cannot decode protects nobody: any decodable CRL is better.
  if (progress2.step == Step::kDecode) return SCPS_NEW;
  if (progress2.step != Step::kDone) return SCPS_MIX;

  LUMO_CRL_PERIOD_STAT stat = SCPS_MIX;
  const LUMO_ERROR_CODE code = lumo_crl_compare(bundle2.ctx.get(), bundle1.bundle, bundle2.bundle, &stat);
  if (code != LUMO_OK) cmsdebug(kCompareCrlFailed, code);
  return stat;
}

void ReportResult(LUMO_CRL_PERIOD_STAT stat) {
  constexpr std::array<const char*, 4> kResults{kCompareSame, kCompareNew, kCompareOld, kCompareMix};
  cmsdebug(kCompareResult);
  cmsdebug("%s", kResults[stat]);
}

bool ReadPackageCrl(const char* path, TrailerBlock* crl) {
  unsigned int file_size = 0;
  if (get_file_size(path, &file_size) != 0) return false;
  const OwnedFile file = OpenForReading(path);
  return file && ReadTrailerBlock(file.get(), file_size, file_size - kEndPadLength, crl);
}

bool IsNewer(const TrailerBlock& crl, const LUMO_File& stored) {
  return BSP_LUMO_Crl_Compare_Update(crl.payload.get(), crl.length, stored.ucFile, DeviceCrlLength(stored)) !=
         0;
}

}  // namespace

void BSP_BackupCrlFile(const char* pFilePath) {
  TrailerBlock crl;
  if (!ReadPackageCrl(pFilePath, &crl)) return;
  LUMO_File record;
  if (ReadDeviceCrl(&record) && !IsNewer(crl, record)) return;
  (void)memset_s(record.ucFile, sizeof record.ucFile, 0, sizeof record.ucFile);
  // A CRL that does not fit leaves the buffer cleared; the record then counts as undecodable until a CRL that
  // fits replaces it.
  (void)memcpy_s(record.ucFile, sizeof record.ucFile, crl.payload.get(), crl.length);
  record.ulFileLen = crl.length;
  std::puts(WriteDeviceCrl(record) == 0 ? kBackupSuccess : kBackupFailed);
}

unsigned long BSP_LUMO_Crl_Compare_Update(const unsigned char* pucCrlToUpdate,
                                          const unsigned long ulCrlToUpdateSize,
                                          const unsigned char* pucCrlOnDevice,
                                          const unsigned long ulCrlOnDeviceSize) {
  if (pucCrlToUpdate == nullptr || ulCrlToUpdateSize == 0 || pucCrlOnDevice == nullptr ||
      ulCrlOnDeviceSize == 0) {
    return LUMO_ERR_PARAM;
  }
  const OwnedBytes root = MakeRootCert();
  if (!root) {
    cmsdebug(kCrlMallocFailed);
    return LUMO_ERR_MALLOC;
  }
  const LUMO_CRL_PERIOD_STAT stat =
      Compare(root, {pucCrlToUpdate, ulCrlToUpdateSize}, {pucCrlOnDevice, ulCrlOnDeviceSize});
  ReportResult(stat);
  return stat == SCPS_NEW ? 1 : 0;
}
