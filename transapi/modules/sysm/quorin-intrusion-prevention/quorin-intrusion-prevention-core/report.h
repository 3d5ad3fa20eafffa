/* What the module says: debug lines to standard output and errors to the client. Not exported. */
#ifndef QN_IPS_REPORT_H
#define QN_IPS_REPORT_H

#include "quorin-intrusion-prevention.h"

#pragma GCC visibility push(hidden)

/* Prints `text` and a newline while g_ulZDBIPSprint is on. For the lines that end in "\r". */
void ips_debug_line(const char *pcText);

/* Prints as it stands while g_ulZDBIPSprint is on. For the lines that end in "\n". */
void ips_debug_print(const char *pcFormat, ...) __attribute__((format(printf, 1, 2)));

/* Prints as it stands while g_ulZDBIPSprintSpecial is on. */
void ips_trace_print(const char *pcFormat, ...) __attribute__((format(printf, 1, 2)));

/* Raises an error for the client, with the text as its debug line as well, and returns the server's result. */
int ips_error(API_ENV_S *pstEnv, NC_ERR enCode, const char *pcText);

/* The same for the errors whose debug line differs from what the client reads. */
int ips_error_debug(API_ENV_S *pstEnv, NC_ERR enCode, const char *pcText, const char *pcDebugLine);

#pragma GCC visibility pop

#endif
