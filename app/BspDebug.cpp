#include "app/BspDebug.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

std::uint32_t g_u32BspDebug = 0;
unsigned long g_ulPrintSwitch = 0;

void BSP_Print(unsigned long /*ulMid*/, unsigned long /*ulPrintSwitch*/, const char* format, ...) {
  if (g_u32BspDebug == 0 || format == nullptr) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
}

void BSP_TracePrint(const char* pFormat, ...) {
  if (g_u32BspDebug != 1 || pFormat == nullptr) return;
  std::va_list arguments;
  va_start(arguments, pFormat);
  std::vprintf(pFormat, arguments);
  va_end(arguments);
}

void BSP_FatalErrRecord(const char* filepath, unsigned long fileline, unsigned long ulErrNo) {
  if (g_u32BspDebug == 0) return;
  std::printf("\r\n[ERR]Rec and record Err:[%ld] from %s %ld\r\n", static_cast<long>(ulErrNo),
              filepath != nullptr ? filepath : "(null)", static_cast<long>(fileline));
}

void BSP_ApiErrRec(const char* /*filename*/, unsigned long /*fileline*/, unsigned long /*ulErrNo*/) {}

const char* BSP_StripPath(const char* pPathName) {
  if (pPathName == nullptr) return nullptr;
  for (std::size_t index = std::strlen(pPathName); index > 0; --index) {
    if (pPathName[index] == '/' || pPathName[index] == '\\') return pPathName + index + 1;
  }
  return pPathName;
}
