/* Command lines that combine several leaves of a profile. */
#include "quorin-intrusion-prevention-core/commands/profile_command.h"

#include <stdlib.h>
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/commands/command_line.h"
#include "quorin-intrusion-prevention-core/commands/edit_context.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

static const int LEN_LINE = 256;
static const int LEN_EXCEPTION_LINE = 512;

extern "C" {

int ips_cmd_zell_profile_cnc(API_ENV_S *env, char *pcVsysName, char *pcProfileName)
{
    char acEnable[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};

    if (!ips_sibling_get(env, "domain-filter-enable", acEnable))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error cnc/domain-filter-enable node information.");

    if (strcmp(acEnable, "false") == 0)
        IPS_FORMAT(acCmdMes, "undo cnc domain-filter enable");
    else if (strcmp(acEnable, "true") != 0)
        return ips_error_debug(env, NC_ERR_INVALID_VALUE, "Failed to check cnc domain-filter enable node information",
                               "[IPS]Failed to check cnc domain-filter enable node information.\r\n\r");
    else if (ips_sibling_get(env, "action", acAction))
        IPS_FORMAT(acCmdMes, "cnc domain-filter enable action %s", acAction);
    else
        IPS_FORMAT(acCmdMes, "cnc domain-filter enable");

    ips_profile_line_cache(pcVsysName, pcProfileName, acCmdMes);
    return 0;
}

int ips_cmd_zell_profile_signatureset_action(API_ENV_S *env, char *pcVsysName, char *pcProfileName, char *pcSigSetName)
{
    char acAction[IPS_LEN_VALUE] = {0};
    char acInterworking[IPS_LEN_VALUE] = {0};
    char acView[IPS_LEN_VIEW] = {0};
    char acCmdMes[LEN_LINE] = {0};

    if (!ips_sibling_get(env, "action", acAction))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error signatureset/action node information.");

    const bool bIsDefault =
        xmlStrcmp(reinterpret_cast<const xmlChar *>(acAction), reinterpret_cast<const xmlChar *>("default-type")) == 0;
    const char *pcKeyword = bIsDefault ? "default" : acAction;
    if (ips_sibling_get(env, "interworking", acInterworking))
        IPS_FORMAT(acCmdMes, "action %s interwork %s", pcKeyword, acInterworking);
    else
        IPS_FORMAT(acCmdMes, "action %s", pcKeyword);

    IPS_FORMAT(acView, "profile-ips-%s-sigset-%s", pcProfileName, pcSigSetName);
    ips_line_cache(pcVsysName, acView, IPS_VIEW_TYPE_SIGSET, acCmdMes);
    return 0;
}

/* A timeout that comes with an action which blocks no address is left out. */
int ips_cmd_zell_profile_exception_signatureID(API_ENV_S *env, char *pcVsysName, char *pcProfileName)
{
    char acId[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acTimeout[IPS_LEN_VALUE] = {0};
    char acInterworking[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_EXCEPTION_LINE] = {0};

    if (!ips_sibling_get(env, "id", acId))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error exception-signature/id information.");
    if (acId[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The exception-signature/id node is NULL.");
    const bool bAction = ips_sibling_get(env, "action", acAction);
    const bool bTimeout = ips_sibling_get(env, "timeout", acTimeout) &&
                          ips_is_one_of(acAction, {"block-source-ip", "block-destination-ip"});
    const bool bInterworking = ips_sibling_get(env, "interworking", acInterworking);

    if (!bAction)
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s ", acId);
    else if (bTimeout && bInterworking)
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s timeout %s interwork %s", acId, acAction,
                   acTimeout, acInterworking);
    else if (bTimeout)
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s timeout %s", acId, acAction, acTimeout);
    else if (bInterworking)
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s interwork %s", acId, acAction, acInterworking);
    else
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s", acId, acAction);

    ips_profile_line_cache(pcVsysName, pcProfileName, acCmdMes);
    return 0;
}

/* The action is not looked at: the handler's check has asked for it. Equal numbers may be written differently ("5" and
 * "05"); the line carries the texts. */
int ips_cmd_zell_profile_dns_request_type(API_ENV_S *env, char *pcVsysName, char *pcProfileName)
{
    char acStart[IPS_LEN_VALUE] = {0};
    char acEnd[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};

    ips_sibling_get(env, "start-type", acStart);
    ips_sibling_get(env, "end-type", acEnd);
    ips_sibling_get(env, "action", acAction);
    if (acStart[0] == '\0' || acEnd[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The start type or action or end type is NULL.");

    if (strtol(acStart, nullptr, 10) == strtol(acEnd, nullptr, 10))
        IPS_FORMAT(acCmdMes, "dns request-type check %s action %s", acStart, acAction);
    else
        IPS_FORMAT(acCmdMes, "dns request-type check %s to %s action %s", acStart, acEnd, acAction);

    ips_profile_line_cache(pcVsysName, pcProfileName, acCmdMes);
    return 0;
}
}
