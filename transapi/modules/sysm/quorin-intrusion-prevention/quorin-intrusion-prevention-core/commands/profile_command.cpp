/* Command lines that combine several leaves of a profile. */
#include "quorin-intrusion-prevention-core/commands/profile_command.h"

#include <string.h>

#include "adapter/api_adp_libnetconf.h"
#include "quorin-intrusion-prevention-core/commands/command_line.h"
#include "quorin-intrusion-prevention-core/commands/edit_context.h"
#include "quorin-intrusion-prevention-core/report.h"

static const int LEN_LINE = 256;

extern "C" {

int ips_cmd_zell_profile_cnc(API_ENV_S *env, char *pcVsysName, char *pcProfileName)
{
    char acEnable[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acView[IPS_LEN_VIEW] = {0};
    char acCmdMes[LEN_LINE] = {0};

    if (api_find_parent_key_node_content(env, 1, "domain-filter-enable", acEnable, sizeof(acEnable)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error cnc/domain-filter-enable node information.");

    if (strcmp(acEnable, "false") == 0)
        snprintf_s(acCmdMes, sizeof(acCmdMes), sizeof(acCmdMes) - 1, "undo cnc domain-filter enable");
    else if (strcmp(acEnable, "true") != 0)
        return ips_error_debug(env, NC_ERR_INVALID_VALUE, "Failed to check cnc domain-filter enable node information",
                               "[IPS]Failed to check cnc domain-filter enable node information.\r\n\r");
    else if (api_find_parent_key_node_content(env, 1, "action", acAction, sizeof(acAction)) == 0)
        snprintf_s(acCmdMes, sizeof(acCmdMes), sizeof(acCmdMes) - 1, "cnc domain-filter enable action %s", acAction);
    else
        snprintf_s(acCmdMes, sizeof(acCmdMes), sizeof(acCmdMes) - 1, "cnc domain-filter enable");

    snprintf_s(acView, sizeof(acView), sizeof(acView) - 1, "profile-ips-%s", pcProfileName);
    ips_line_cache(pcVsysName, acView, IPS_VIEW_TYPE_PROFILE, acCmdMes);
    return 0;
}
}
