/* Bounds-checked memory and string functions, provided by the server.
 *
 * `dest_max` is the size of the destination in bytes. When a copy does not fit, the destination is emptied (its first
 * byte becomes 0) and the result is not 0. */
#ifndef TRANSAPI_BOUNDED_STRING_H
#define TRANSAPI_BOUNDED_STRING_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Copies `count` bytes. */
int memcpy_s(void *dest, size_t dest_max, const void *src, size_t count);

/* Fills `count` bytes with `c`. */
int memset_s(void *dest, size_t dest_max, int c, size_t count);

/* Copies at most `count` characters of `src` and a terminator. */
int strncpy_s(char *dest, size_t dest_max, const char *src, size_t count);

/* Writes at most `count` characters and a terminator and returns the number of characters. A text longer than `count`
 * is cut, terminated and reported with -1 when `count` is below `dest_max`; otherwise a text that does not fit leaves
 * the destination empty, with the result -1. */
int snprintf_s(char *dest, size_t dest_max, size_t count, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
