#ifndef FWVET_APP_CMSDEBUG_H
#define FWVET_APP_CMSDEBUG_H

/// The verbose switch: 0 at start, 1 once "-v" was met.
extern unsigned int g_debug;

/// Prints `str` with its arguments to standard output while g_debug is non-zero.
void cmsdebug(const char* str, ...) __attribute__((format(printf, 1, 2)));

#endif
