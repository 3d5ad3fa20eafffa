/* From a composed command line into the server's pending script. */
#include "quorin-intrusion-prevention-core/commands/command_line.h"

#include "quorin-intrusion-prevention-core/commands/edit_context.h"
#include "quorin-intrusion-prevention-core/report.h"

/* The result is not looked at: the commit reports what went wrong. */
static void line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine)
{
    api_script_cache_lines(const_cast<char *>(pcVsys), const_cast<char *>(pcView), const_cast<char *>(pcViewType),
                           const_cast<char *>(pcLine));
}

void ips_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine)
{
    line_cache(pcVsys, pcView, pcViewType, pcLine);
    ips_debug_print("[IPS]Operation: %s \r\n", pcLine);
}

void ips_removal_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine)
{
    line_cache(pcVsys, pcView, pcViewType, pcLine);
    ips_debug_print("[IPS]Operation: %s, acCmdMes: %s \r\n", "XMLDIFF_REM", pcLine);
}

void ips_spaced_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine)
{
    line_cache(pcVsys, pcView, pcViewType, pcLine);
    ips_debug_print("[IPS]Operation:  %s \r\n", pcLine);
}

void ips_profile_line_cache(const char *pcVsys, const char *pcProfile, const char *pcLine)
{
    char acView[IPS_LEN_VIEW] = {0};

    IPS_FORMAT(acView, "profile-ips-%s", pcProfile);
    ips_line_cache(pcVsys, acView, IPS_VIEW_TYPE_PROFILE, pcLine);
}
