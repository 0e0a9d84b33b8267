#ifndef FWVET_APP_FWVET_MESSAGES_H
#define FWVET_APP_FWVET_MESSAGES_H

// Every text that the tool prints. Scripts on the device look for these bytes, so none of them changes, odd
// line ends included. Those marked "line" are followed by a line feed.

inline constexpr char kReleaseNumber[] = "006";
inline constexpr char kVersionLine[] = "fwvet version %s, build time %s %s\n";

// Usage, line by line. The lines that describe an option stand in the option table.
inline constexpr char kUsageTitle[] = "usage:";
inline constexpr char kUsageSynopsis[] = " fwvet <option ...>";
inline constexpr char kUsageOptions[] = " options:";

inline constexpr char kOpenFileError[] = "open file error.";  // line
inline constexpr char kCertificateRevoked[] =
    "\r\nError: The certificate of system-software has been revoked!\r";  // line

// The check of a package. Shown with "-v", but for the first.
inline constexpr char kVerifyParaError[] = "para error!\r";  // line
inline constexpr char kSetCallbacksFailed[] = "set callback functions failed: %08x\r\n";
inline constexpr char kCreateCtxFailed[] = "\ncreate ctx fail!(%x)\n";
inline constexpr char kMallocFailed[] = "\r\nmalloc failed!\r\n";
inline constexpr char kAddCertFailed[] = "\r\nAdd certificate file failed.(%x)\r\n";
inline constexpr char kAddCrlFailed[] = "\r\nAdd CRL file failed.(%x)\r\n";
inline constexpr char kAddSignatureFailed[] = "\r\nAdd signature file error, code %08x.\r\n";
inline constexpr char kAddSourceFailed[] = "\r\nAdd source file error, code %08x.\r\n";
inline constexpr char kVerifySignatureFailed[] = "\r\nverify signature error, code %08x.\r\n";
inline constexpr char kAddDeviceCrlFailed[] = "\r\nAdd Device-CRL[%d] file failed.(%x)\r\n";
inline constexpr char kVerifyExtraFailed[] = "\r\nverify signature extra error, code %08x.\r\n";
inline constexpr char kVerifySummary[] = "\r\nverify %s.\r\n";
inline constexpr char kSummarySuccess[] = "success";
inline constexpr char kSummaryFailed[] = "failed";

// The content pass. Shown with "-v".
inline constexpr char kContentParaError[] = "\r\npara error\r\n";
inline constexpr char kContentOpenError[] = "\r\nopen file error! %s\r\n";
inline constexpr char kContentMallocError[] = "\r\nmalloc error!\r\n";
inline constexpr char kContentReadError[] = "\r\nread file size error.\r\n";

// Keeping the newer CRL. The comparison's texts are shown with "-v", the two outcomes always.
inline constexpr char kCrlMallocFailed[] = "\r\nmalloc failed!";
inline constexpr char kCreateCtx1Failed[] = "\r\ncreate ctx1 fail!(%x)\n";
inline constexpr char kCreateCtx2Failed[] = "\r\ncreate ctx2 fail!(%x)\n";
inline constexpr char kAddRoot1Failed[] = "\r\nAdd root cert failed1(%x).\r\n";
inline constexpr char kAddRoot2Failed[] = "\r\nAdd root cert failed2(%x).\r\n";
inline constexpr char kDecodeCrl1Failed[] = "\r\ndecode crl1 file failed(%x).\r\n";
inline constexpr char kDecodeCrl2Failed[] = "\r\ndecode crl2 file failed(%x).\r\n";
inline constexpr char kCompareCrlFailed[] = "\r\ncompare crl failed(%x).\r\n";
inline constexpr char kCompareResult[] = "\r\ncompare result: ";
inline constexpr char kCompareSame[] = "same\r\n";
inline constexpr char kCompareNew[] = "new\r\n";
inline constexpr char kCompareOld[] = "old\r\n";
inline constexpr char kCompareMix[] = "mix\r\n";
inline constexpr char kBackupSuccess[] = "Info: Backup Crl File Success\r";   // line
inline constexpr char kBackupFailed[] = "Warning: Backup Crl File Failed\r";  // line

// The file tail record.
inline constexpr char kEfsInputNull[] = "EFS input is NULL \r";                 // line
inline constexpr char kEfsFileDataNull[] = "\r\nThe EFS file data is NULL\r";   // line
inline constexpr char kEfsTailDataError[] = "\r\nThe EFS tail data ERROR!!\r";  // line
inline constexpr char kEfsDumpTitle[] = "\r\nEtner Dump EFS Data\r";            // line
inline constexpr char kEfsDumpMagic[] = "aucMagicNum=%c%c\r\n";
inline constexpr char kEfsDumpVersion[] = "wEFSVersion=%d\r\n";
inline constexpr char kEfsDumpProductName[] = "aucProductName=%.*s\r\n";
inline constexpr char kEfsDumpVersionV[] = "wVersionV=%d\r\n";
inline constexpr char kEfsDumpVersionR[] = "wVersionR=%d\r\n";
inline constexpr char kEfsDumpVersionLll[] = "aucVersionLLL=%c%c%c\r\n";
inline constexpr char kEfsDumpVersionB[] = "wVersionB=%d\r\n";
inline constexpr char kEfsDumpVersionC[] = "wVersionC=%d\r\n";
inline constexpr char kEfsDumpVersionD[] = "wVersionD=%d\r\n";
inline constexpr char kEfsDumpVersionSp[] = "wVersionSP=%d\r\n";
inline constexpr char kEfsDumpToolVer[] = "ucEfsToolVer=%d\r\n";
inline constexpr char kEfsDumpYear[] = "wYear=%d\r\n";
inline constexpr char kEfsDumpMonth[] = "ucMonth=%d\r\n";
inline constexpr char kEfsDumpDay[] = "ucDay=%d\r\n";
inline constexpr char kEfsDumpHour[] = "ucHour=%d\r\n";
inline constexpr char kEfsDumpMinute[] = "ucMinute=%d\r\n";
inline constexpr char kEfsDumpSecond[] = "ucSecond=%d\r\n";
inline constexpr char kEfsDumpTick[] = "ucTick=%d\r\n";
inline constexpr char kEfsDumpFileType[] = "wFileType=%d\r\n";
inline constexpr char kEfsDumpCodeType[] = "wCodeType=%d\r\n";
inline constexpr char kEfsDumpReserved[] = "reserved2=%d\r\n";
inline constexpr char kEfsDumpDesc[] = "aucDesc=%.*s\r\n";
inline constexpr char kEfsDumpTotalLen[] = "dwTotalLen=0x%x\r\n";
inline constexpr char kEfsDumpCodeLen[] = "dwCodeLen=0x%x\r\n";
inline constexpr char kEfsDumpCodeCrc[] = "wCodeCrc=0x%04x\r\n";
inline constexpr char kEfsDumpEfsCrc[] = "wEFSCrc=0x%04x\r\n";

#endif
