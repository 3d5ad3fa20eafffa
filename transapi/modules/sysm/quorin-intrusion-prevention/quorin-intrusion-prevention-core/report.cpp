/* What the module says: debug lines to standard output and errors to the client. */
#include "quorin-intrusion-prevention-core/report.h"

#include <stdarg.h>
#include <stdio.h>

#include "adapter/api_adp_libnetconf.h"

static void print_if(uint32_t uiSwitch, const char *pcFormat, va_list stArgs)
{
    if (uiSwitch != 0)
        vprintf(pcFormat, stArgs);
}

void ips_debug_line(const char *pcText)
{
    if (g_ulZDBIPSprint != 0)
        puts(pcText);
}

void ips_debug_print(const char *pcFormat, ...)
{
    va_list stArgs;
    va_start(stArgs, pcFormat);
    print_if(g_ulZDBIPSprint, pcFormat, stArgs);
    va_end(stArgs);
}

void ips_trace_print(const char *pcFormat, ...)
{
    va_list stArgs;
    va_start(stArgs, pcFormat);
    print_if(g_ulZDBIPSprintSpecial, pcFormat, stArgs);
    va_end(stArgs);
}

int ips_error(API_ENV_S *pstEnv, NC_ERR enCode, const char *pcText)
{
    ips_debug_print("[IPS]ERROR: %s\r\n\r\n", pcText);
    return api_error(pstEnv, nullptr, enCode, "%s", pcText);
}

int ips_error_debug(API_ENV_S *pstEnv, NC_ERR enCode, const char *pcText, const char *pcDebugLine)
{
    ips_debug_line(pcDebugLine);
    return api_error(pstEnv, nullptr, enCode, "%s", pcText);
}
