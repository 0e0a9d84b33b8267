#include "app/EfsLoader.h"

#include <cstdio>
#include <cstring>

#include "app/checked_file.h"
#include "app/fwvet_messages.h"
#include "pieces/make_crc.h"

namespace {

constexpr unsigned int kInvalid = 0xFFFFFFFFU;
constexpr std::size_t kCrcOffset = offsetof(SEFS, wEFSCrc);

void Swap(std::uint16_t& value) {
  value = __builtin_bswap16(value);
}
void Swap(std::uint32_t& value) {
  value = __builtin_bswap32(value);
}

void DumpVersions(const SEFS& efs) {
  std::printf(kEfsDumpMagic, efs.aucMagicNum[0], efs.aucMagicNum[1]);
  std::printf(kEfsDumpVersion, efs.wEFSVersion);
  std::printf(kEfsDumpProductName, static_cast<int>(sizeof efs.aucProductName),
              reinterpret_cast<const char*>(efs.aucProductName));
  std::printf(kEfsDumpVersionV, efs.wVersionV);
  std::printf(kEfsDumpVersionR, efs.wVersionR);
  std::printf(kEfsDumpVersionLll, efs.aucVersionLLL[0], efs.aucVersionLLL[1], efs.aucVersionLLL[2]);
  std::printf(kEfsDumpVersionB, efs.wVersionB);
  std::printf(kEfsDumpVersionC, efs.wVersionC);
  std::printf(kEfsDumpVersionD, efs.wVersionD);
  std::printf(kEfsDumpVersionSp, efs.wVersionSP);
  std::printf(kEfsDumpToolVer, efs.ucEfsToolVer);
}

void DumpBuildTime(const SEFS& efs) {
  std::printf(kEfsDumpYear, efs.wYear);
  std::printf(kEfsDumpMonth, efs.ucMonth);
  std::printf(kEfsDumpDay, efs.ucDay);
  std::printf(kEfsDumpHour, efs.ucHour);
  std::printf(kEfsDumpMinute, efs.ucMinute);
  std::printf(kEfsDumpSecond, efs.ucSecond);
  std::printf(kEfsDumpTick, efs.ucTick);
}

void DumpPayload(const SEFS& efs) {
  std::printf(kEfsDumpFileType, efs.wFileType);
  std::printf(kEfsDumpCodeType, efs.wCodeType);
  std::printf(kEfsDumpReserved, efs.reserved2);
  std::printf(kEfsDumpDesc, static_cast<int>(sizeof efs.aucDesc), reinterpret_cast<const char*>(efs.aucDesc));
  std::printf(kEfsDumpTotalLen, efs.dwTotalLen);
  std::printf(kEfsDumpCodeLen, efs.dwCodeLen);
  std::printf(kEfsDumpCodeCrc, efs.wCodeCrc);
  std::printf(kEfsDumpEfsCrc, efs.wEFSCrc);
}

}  // namespace

bool HasEfsMagic(const SEFS& tail) {
  return tail.aucMagicNum[0] == 'Q' && tail.aucMagicNum[1] == 'Z';
}

unsigned int EFS_CheckEfsTail(const void* pData) {
  if (pData == nullptr) return kInvalid;
  SEFS tail;
  std::memcpy(&tail, pData, sizeof tail);
  if (!HasEfsMagic(tail)) return kInvalid;
  const auto* bytes = static_cast<const unsigned char*>(pData);
  const unsigned int stored = static_cast<unsigned int>(bytes[kCrcOffset]) << 8 | bytes[kCrcOffset + 1];
  return CalCRC(bytes, kCrcOffset) == stored ? 0 : kInvalid;
}

void EFS_ChangeEndian(SEFS* pEfs) {
  if (pEfs == nullptr) {
    std::puts(kEfsInputNull);
    return;
  }
  for (std::uint16_t* word :
       {&pEfs->wEFSVersion, &pEfs->wVersionV, &pEfs->wVersionR, &pEfs->wVersionC, &pEfs->wVersionSP,
        &pEfs->wVersionB, &pEfs->wVersionD, &pEfs->wYear, &pEfs->wFileType, &pEfs->wCodeType,
        &pEfs->reserved2, &pEfs->wCodeCrc, &pEfs->wEFSCrc}) {
    Swap(*word);
  }
  Swap(pEfs->dwTotalLen);
  Swap(pEfs->dwCodeLen);
}

unsigned int EFS_GetFileTailInRam(const void* pEfsData, unsigned int u32FileLen, SEFS* pEFS) {
  if (pEfsData == nullptr || pEFS == nullptr || u32FileLen <= sizeof(SEFS)) {
    std::puts(kEfsFileDataNull);
    return 1;
  }
  std::memcpy(pEFS, static_cast<const unsigned char*>(pEfsData) + u32FileLen - sizeof *pEFS, sizeof *pEFS);
  if (EFS_CheckEfsTail(pEFS) != 0) {
    std::puts(kEfsTailDataError);
    return 1;
  }
  return 0;
}

unsigned int EFS_GetFileTailInOS(const char* pFileName, SEFS* pEFS) {
  if (pFileName == nullptr || pEFS == nullptr) return 1;
  const OwnedFile file = OpenForReading(pFileName);
  if (!file) return 1;
  *pEFS = SEFS{};
  // In a file shorter than the record the seek fails and the read takes what there is.
  (void)std::fseek(file.get(), -static_cast<long>(sizeof *pEFS), SEEK_END);
  if (std::fread(pEFS, 1, sizeof *pEFS, file.get()) == 0) return 1;
  return EFS_CheckEfsTail(pEFS) == 0 ? 0 : 1;
}

void EFS_WriteU32ToChar(unsigned int u32Data, unsigned char* pOut) {
  if (pOut == nullptr) return;
  for (unsigned int i = 0; i < sizeof u32Data; ++i) pOut[i] = static_cast<unsigned char>(u32Data >> (8 * i));
}

void EFS_DumpEFSData(const SEFS* pEfs) {
  std::puts(kEfsDumpTitle);
  if (pEfs == nullptr) {
    std::puts(kEfsInputNull);
    return;
  }
  DumpVersions(*pEfs);
  DumpBuildTime(*pEfs);
  DumpPayload(*pEfs);
}
