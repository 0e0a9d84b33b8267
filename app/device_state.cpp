#include "app/device_state.h"

#include <algorithm>

#include "pieces/flashPieceFile.h"
#include "platform/bounded.h"

namespace {

template <class Record>
unsigned long ReadRecord(const char* piece, Record* record) {
  (void)memset_s(record, sizeof *record, 0, sizeof *record);
  unsigned long act_len = 0;
  return BSP_ApiRomPiecesRead(piece, 0, reinterpret_cast<unsigned char*>(record), sizeof *record, &act_len);
}

template <class Record>
unsigned long WriteRecord(const char* piece, const Record& record) {
  unsigned long act_len = 0;
  return BSP_ApiRomPiecesWrite(piece, 0, reinterpret_cast<const unsigned char*>(&record), sizeof record,
                               &act_len);
}

}  // namespace

std::uint32_t DeviceCrlLength(const LUMO_File& record) {
  return std::min(record.ulFileLen, static_cast<std::uint32_t>(kDeviceCrlRoom));
}

unsigned long BSP_ApiRomPiecesRead(const char* pcPieceName, unsigned long ulOffset, unsigned char* pucRamBuff,
                                   unsigned long ulLen, unsigned long* pulActLen) {
  return BSP_VfsPiecesFileRead(pcPieceName, ulOffset, pucRamBuff, ulLen, pulActLen);
}

unsigned long BSP_ApiRomPiecesWrite(const char* pcPieceName, unsigned long ulOffset,
                                    const unsigned char* pucRamBuff, unsigned long ulLen,
                                    unsigned long* pulActLen) {
  return BSP_VfsPiecesFileWrite(pcPieceName, ulOffset, pucRamBuff, ulLen, pulActLen);
}

unsigned long BSP_ApiRomPiecesDelete(const char* pcPieceName) {
  return BSP_VfsPiecesFileDelete(pcPieceName, 1);
}

startup_check_info_desc_t ReadStartupRecord() {
  startup_check_info_desc_t record;
  // A failed read leaves the zeros.
  (void)ReadRecord(kStartupCheckPiece, &record);
  return record;
}

unsigned long WriteStartupRecord(const startup_check_info_desc_t& record) {
  return WriteRecord(kStartupCheckPiece, record);
}

bool ReadDeviceCrl(LUMO_File* record) {
  return ReadRecord(kDeviceCrlPiece, record) == 0;
}

unsigned long WriteDeviceCrl(const LUMO_File& record) {
  return WriteRecord(kDeviceCrlPiece, record);
}
