#include "app/cmsdebug.h"

#include <cstdarg>
#include <cstdio>

unsigned int g_debug = 0;

void cmsdebug(const char* str, ...) {
  if (g_debug == 0) return;
  std::va_list arguments;
  va_start(arguments, str);
  std::vprintf(str, arguments);
  va_end(arguments);
}
