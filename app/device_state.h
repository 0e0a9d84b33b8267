#ifndef FWVET_APP_DEVICE_STATE_H
#define FWVET_APP_DEVICE_STATE_H

#include <cstddef>
#include <cstdint>

// What the tool keeps on the device: two piece files, each one raw record in host byte order.

inline constexpr char kStartupCheckPiece[] = "startup_check_info";
inline constexpr char kDeviceCrlPiece[] = "CmsCrl";

inline constexpr std::uint32_t kStartupMagic = 0x12341234;
inline constexpr std::uint32_t kCheckModeNormal = 3;
inline constexpr std::uint32_t kCheckModeAdmitPlain = 0xFFFF;  // a file without a trailer is admitted

/// The start-up record, the whole content of the piece file "startup_check_info".
struct startup_check_info_desc_s {
  std::uint32_t magic_word;        // kStartupMagic when the record is valid
  std::uint32_t check_mode;        // kCheckModeNormal or kCheckModeAdmitPlain
  std::uint32_t skip_crl_chkflag;  // carried for others
  std::uint32_t crc_flag;          // carried for others
};
using startup_check_info_desc_t = startup_check_info_desc_s;
static_assert(sizeof(startup_check_info_desc_t) == 16);
static_assert(offsetof(startup_check_info_desc_t, check_mode) == 4);
static_assert(offsetof(startup_check_info_desc_t, skip_crl_chkflag) == 8);
static_assert(offsetof(startup_check_info_desc_t, crc_flag) == 12);

inline constexpr std::size_t kDeviceCrlRoom = 32768;

/// The device CRL record, the whole content of the piece file "CmsCrl".
struct LUMO_File {
  std::uint8_t ucFile[kDeviceCrlRoom];  // the CRL image, zeros behind its end
  std::uint32_t ulFileLen;              // its length; may exceed the room, see DeviceCrlLength
};
static_assert(sizeof(LUMO_File) == 32772);
static_assert(offsetof(LUMO_File, ulFileLen) == 32768);

/// How many bytes of `ucFile` are the CRL. A CRL that did not fit is recorded with its full length over a
/// cleared buffer, so the recorded length alone must never be trusted as a bound.
std::uint32_t DeviceCrlLength(const LUMO_File& record);

/// Reads `ulLen` bytes at `ulOffset` of a piece file; see BSP_VfsPiecesFileRead.
unsigned long BSP_ApiRomPiecesRead(const char* pcPieceName, unsigned long ulOffset, unsigned char* pucRamBuff,
                                   unsigned long ulLen, unsigned long* pulActLen);

/// Writes `ulLen` bytes at `ulOffset` of a piece file and flushes both areas; see BSP_VfsPiecesFileWrite.
unsigned long BSP_ApiRomPiecesWrite(const char* pcPieceName, unsigned long ulOffset,
                                    const unsigned char* pucRamBuff, unsigned long ulLen,
                                    unsigned long* pulActLen);

/// Deletes a piece file and flushes both areas; see BSP_VfsPiecesFileDelete.
unsigned long BSP_ApiRomPiecesDelete(const char* pcPieceName);

/// Reads the start-up record. A record that cannot be read counts as all zeros.
startup_check_info_desc_t ReadStartupRecord();

/// Writes the start-up record; the status of the write.
unsigned long WriteStartupRecord(const startup_check_info_desc_t& record);

/// Reads the device CRL record into `*record`, which is zeroed first. False when there is none to read.
bool ReadDeviceCrl(LUMO_File* record);

/// Writes the device CRL record; the status of the write.
unsigned long WriteDeviceCrl(const LUMO_File& record);

#endif
