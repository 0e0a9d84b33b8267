#include "app/fwvet.h"

#include <cstdio>

#include "app/EfsLoader.h"
#include "app/crl_update.h"
#include "app/fwvet_messages.h"
#include "app/lumo_plt_adp.h"
#include "app/trailer_block.h"
#include "pieces/crc.h"
#include "pieces/flashPiece.h"
#include "pieces/flashPieceAdp.h"

namespace {

constexpr int kPassed = 0;
constexpr int kAdmitted = 1;
constexpr int kRejected = -1;
constexpr int kNoPieces = 1;
constexpr unsigned int kCheckFailed = 0xFFFFFFFFU;
constexpr unsigned long kFlashAddress = 0;
constexpr unsigned long kFlashSize = 0x100000;

void PrintVersion() {
  std::printf(kVersionLine, kReleaseNumber, __DATE__, __TIME__);
}

int UsageError() {
  usage();
  return kRejected;
}

bool ReadLastTail(const char* path, SEFS* tail) {
  const OwnedFile file = OpenForReading(path);
  if (!file) {
    std::puts(kOpenFileError);
    return false;
  }
  constexpr long kFromEnd = static_cast<long>(kEndPadLength + sizeof *tail);
  if (std::fseek(file.get(), -kFromEnd, SEEK_END) != 0) return false;
  return std::fread(tail, 1, sizeof *tail, file.get()) == sizeof *tail;
}

struct PackageParts {
  TrailerBlock crl;
  TrailerBlock signature;
};

bool ReadPackage(const char* path, PackageParts* parts) {
  unsigned int file_size = 0;
  if (get_file_size(path, &file_size) != 0) return false;
  const OwnedFile file = OpenForReading(path);
  return file && ReadTrailerBlock(file.get(), file_size, file_size - kEndPadLength, &parts->crl) &&
         ReadTrailerBlock(file.get(), file_size, parts->crl.start, &parts->signature);
}

LUMO_DataParams ParamsOf(const char* path, const PackageParts& parts) {
  LUMO_DataParams params{};
  params.pucCrl[0] = parts.crl.payload.get();
  params.ulCrlLen[0] = parts.crl.length;
  params.u32CrlNum = 1;
  params.pucSig = parts.signature.payload.get();
  params.ulSigLen = parts.signature.length;
  params.pcSrcFilePath = path;
  params.ulSrcLen = parts.signature.start;
  return params;
}

void AddDeviceCrl(LUMO_DataParams* params, LUMO_File* record) {
  if (!ReadDeviceCrl(record)) return;
  params->pucCrl[params->u32CrlNum] = record->ucFile;
  params->ulCrlLen[params->u32CrlNum] = DeviceCrlLength(*record);
  ++params->u32CrlNum;
}

// Does what the options say, left to right; those that act end the run at once.
int RunOptions(int args, const char* const* argv) {
  const char* path = nullptr;
  int backup = 0;
  for (int i = 1; i < args; ++i) {
    switch (lookup_cmd_para(argv[i])) {
      case VERSION:
        PrintVersion();
        return kPassed;
      case FILENAME:
        if (++i == args) return UsageError();
        path = argv[i];
        break;
      case BACKUP:
        backup = 1;
        break;
      case VERBOSE:
        g_debug = 1;
        break;
      case RECOVER:
        return do_recover();
      default:
        return UsageError();
    }
  }
  return do_fwvet(path, backup);
}

}  // namespace

void usage() {
  std::puts(kUsageTitle);
  std::puts(kUsageSynopsis);
  std::puts(kUsageOptions);
  for (unsigned int line = 0; line < kOptions.size(); ++line) {
    for (const CommandOption& option : kOptions) {
      if (option.help_line == line) std::puts(option.help);
    }
  }
}

int fwvet_main(int args, const char* const* argv) {
  if (args <= 1) return UsageError();
  BSP_CrcInit();
  if (FLASH_InitFlash() != 0) return kRejected;
  BSP_VfsPiecesConfig(kFlashAddress, kFlashSize);
  if (BSP_VfsPiecesInit() != 0) return kNoPieces;
  return RunOptions(args, argv);
}

int do_fwvet(const char* file_full_name, int backup) {
  SEFS tail{};
  if (!ReadLastTail(file_full_name, &tail)) return kRejected;
  const startup_check_info_desc_t startup = ReadStartupRecord();
  if (HasEfsMagic(tail)) {
    const unsigned int result = FileCertCheck(file_full_name);
    if (result == 0 && backup != 0) BSP_BackupCrlFile(file_full_name);
    return static_cast<int>(result);
  }
  const bool admitted = startup.magic_word == kStartupMagic && startup.check_mode == kCheckModeAdmitPlain;
  return admitted ? kAdmitted : kRejected;
}

unsigned int FileCertCheck(const char* pcFilePath) {
  PackageParts parts;
  if (!ReadPackage(pcFilePath, &parts)) return kCheckFailed;
  LUMO_DataParams params = ParamsOf(pcFilePath, parts);
  LUMO_File device_crl;
  AddDeviceCrl(&params, &device_crl);
  unsigned int result = 0;
  const unsigned int code = BSP_LUMO_Verify_Data(&params, &result);
  if (result != 0 && code != 0) std::puts(kCertificateRevoked);
  return result != 0 && code == 0 ? 0 : kCheckFailed;
}

int do_recover() {
  startup_check_info_desc_t record = ReadStartupRecord();
  if (record.magic_word == kStartupMagic && record.check_mode == kCheckModeNormal) return 0;
  record.check_mode = kCheckModeNormal;
  record.magic_word = kStartupMagic;
  return static_cast<int>(WriteStartupRecord(record));
}
