/* The one way from a composed command line into the server's pending script. */
#include "quorin-intrusion-prevention-core/commands/command_line.h"

#include "quorin-intrusion-prevention-core/report.h"

void ips_line_cache(const char *pcVsys, const char *pcView, const char *pcViewType, const char *pcLine)
{
    /* The server copies all four texts. Its result is not looked at: the commit reports what went wrong. */
    api_script_cache_lines(const_cast<char *>(pcVsys), const_cast<char *>(pcView), const_cast<char *>(pcViewType),
                           const_cast<char *>(pcLine));
    ips_debug_print("[IPS]Operation: %s \r\n", pcLine);
}
