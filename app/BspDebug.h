#ifndef FWVET_APP_BSPDEBUG_H
#define FWVET_APP_BSPDEBUG_H

#include <cstdint>

// Board debug services: prints that are silent unless their switch is on, and the error recorder, which on
// this build forgets what it is told.

/// Debug print switch, 0 at start: not 0 lets BSP_Print and BSP_FatalErrRecord print, exactly 1
/// BSP_TracePrint.
extern std::uint32_t g_u32BspDebug;

/// Print switch reserved for the print layer; not consulted.
extern unsigned long g_ulPrintSwitch;

/// Prints `format` with its arguments to standard output while g_u32BspDebug is not 0. The module number and
/// the print switch are ignored.
void BSP_Print(unsigned long ulMid, unsigned long ulPrintSwitch, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Prints `pFormat` with its arguments to standard output while g_u32BspDebug is exactly 1.
void BSP_TracePrint(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));

/// Prints one line with error number, path and line while g_u32BspDebug is not 0.
void BSP_FatalErrRecord(const char* filepath, unsigned long fileline, unsigned long ulErrNo);

/// Takes the report of a failure: source file name, line and error code. Records nothing on this build.
void BSP_ApiErrRec(const char* filename, unsigned long fileline, unsigned long ulErrNo);

/// Returns the text behind the last "/" or "\" of `pPathName`, null for null. The first character is never
/// taken for a separator: "/name" comes back whole.
const char* BSP_StripPath(const char* pPathName);

#endif
