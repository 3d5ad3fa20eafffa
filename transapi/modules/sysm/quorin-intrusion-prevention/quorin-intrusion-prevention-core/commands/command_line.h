/* The one way from a composed command line into the server's pending script. Not exported. */
#ifndef QN_IPS_COMMAND_LINE_H
#define QN_IPS_COMMAND_LINE_H

#include "quorin-intrusion-prevention.h"

#pragma GCC visibility push(hidden)

/* Caches a line for a view. `pcVsys` is null for device-wide settings, `pcViewType` for the system view. */
void ips_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine);

#pragma GCC visibility pop

#endif
