/* Checks of groups of sibling leaves of a profile. */
#include "quorin-intrusion-prevention-core/checks/profile_check.h"

#include <string.h>

#include "adapter/api_adp_libnetconf.h"
#include "quorin-intrusion-prevention-core/report.h"

extern "C" {

int ips_profile_cnc_check(API_ENV_S *env)
{
    char acEnable[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};

    if (api_find_parent_key_node_content(env, 1, "domain-filter-enable", acEnable, sizeof(acEnable)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error cnc/domain-filter-enable node information.");

    if (strcmp(acEnable, "false") == 0)
        return 0;
    if (strcmp(acEnable, "true") != 0)
        return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the cnc-enable node.");

    if (api_find_parent_key_node_content(env, 1, "action", acAction, sizeof(acAction)) != 0)
        return 0; /* the filter may be on before it has an action */
    if (strcmp(acAction, "alert") == 0 || strcmp(acAction, "block") == 0)
        return 0;
    return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the cnc-action node.");
}
}
