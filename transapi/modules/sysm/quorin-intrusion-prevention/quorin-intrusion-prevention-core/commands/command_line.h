/* From a composed command line into the server's pending script. Not exported. */
#ifndef QN_IPS_COMMAND_LINE_H
#define QN_IPS_COMMAND_LINE_H

#include "quorin-intrusion-prevention.h"

/* A pointer does not compile: its size would be that of an address. */
template <size_t SIZE>
static constexpr size_t ips_array_size(const char (&)[SIZE])
{
    return SIZE;
}

/* Formats into an array, at most its size minus one characters. */
#define IPS_FORMAT(array, ...) snprintf_s(array, ips_array_size(array), ips_array_size(array) - 1, __VA_ARGS__)

#pragma GCC visibility push(hidden)

/* Caches a line for a view. `pcVsys` is null for device-wide settings, `pcViewType` for the system view. */
void ips_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine);

/* Caches a line for a profile's view. */
void ips_profile_line_cache(const char *pcVsys, const char *pcProfile, const char *pcLine);

/* As ips_line_cache, with the other debug lines that a few removals have: one that names the operation, one with two
 * blanks. */
void ips_removal_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine);
void ips_spaced_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine);

#pragma GCC visibility pop

#endif
