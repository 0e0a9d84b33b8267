#ifndef FWVET_PLATFORM_BOUNDED_H
#define FWVET_PLATFORM_BOUNDED_H

#include <cstdarg>
#include <cstddef>

// Copies, fills and prints that know the size of their destination. Each returns 0 when it did its work. A
// null pointer, or a count or text that does not fit the destination, is refused with a non-zero result:
// nothing is written outside the destination, and a destination that is known (not null, size not 0 and not
// absurd) is left cleared, so that nobody works on with half a copy.

/// Fills the first `count` of `destMax` bytes at `dest` with `c`.
int memset_s(void* dest, std::size_t destMax, int c, std::size_t count);

/// Copies `count` bytes from `src` to `dest`, which has room for `destMax`. The two must not overlap.
int memcpy_s(void* dest, std::size_t destMax, const void* src, std::size_t count);

/// Copies the text `src` with its terminator into `dest`, which has room for `destMax` characters.
int strcpy_s(char* dest, std::size_t destMax, const char* src);

/// Appends the text `src` to the text in `dest`, which has room for `destMax` characters, terminator
/// included.
int strcat_s(char* dest, std::size_t destMax, const char* src);

/// Prints at most `count` characters and a terminator into `dest`, which has room for `destMax` characters. A
/// text longer than `count` characters, or without room for its terminator, is refused, never cut.
int vsnprintf_s(char* dest, std::size_t destMax, std::size_t count, const char* format,
                std::va_list arguments) __attribute__((format(printf, 4, 0)));

#endif
