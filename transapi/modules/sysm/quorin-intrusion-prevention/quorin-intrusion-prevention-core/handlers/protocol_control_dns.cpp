/* DNS request types of a profile: ranges with an action each. The device knows a range by its ends and takes it in one
 * line with its action. */
#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "quorin-intrusion-prevention-core/commands/profile_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_REQUEST_TYPE_LINE = 160;

extern "C" {

static bool is_request_type(const char *pcValue)
{
    return ips_number_is_within(pcValue, 0, IPS_DNS_REQUEST_TYPE_MAX);
}

/* .../qn-ips:dns-check/qn-ips:request-type
 * The entry speaks when it goes; when it comes, its start type speaks for it. */
int IPS_UD_ProContDnsReqType(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acStart[IPS_LEN_VALUE] = {0};
    char acEnd[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_REQUEST_TYPE_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 3, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcStart = ips_child_text(node, "start-type");
    if (!ips_value_check(env, pcStart, &iResult))
        return iResult;
    if (!is_request_type(pcStart))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the start type range.");
    const char *pcEnd = ips_child_text(node, "end-type");
    if (!ips_value_check(env, pcEnd, &iResult))
        return iResult;
    if (!is_request_type(pcEnd))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the end type range.");
    if (ips_number(pcStart) > ips_number(pcEnd))
        return ips_error(env, NC_ERR_BAD_ELEM, "End type is gthan start type.");
    IPS_FORMAT(acStart, "%s", pcStart);
    IPS_FORMAT(acEnd, "%s", pcEnd);

    if (ips_op_is_undo(op)) {
        if (ips_number(pcStart) == ips_number(pcEnd))
            IPS_FORMAT(acCmdMes, "undo dns request-type check %s", acStart);
        else
            IPS_FORMAT(acCmdMes, "undo dns request-type check %s to %s", acStart, acEnd);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile dns request-type is wrong.\r\n\r");
}

/* Checks the entry's leaves as a group and caches its whole line. */
static int request_type_set(API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile)
{
    int iResult = ips_profile_dns_request_type_check(env);
    if (iResult != 0) {
        ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
        return iResult;
    }

    iResult = ips_cmd_zell_profile_dns_request_type(env, pstProfile->acVsysName, pstProfile->acProfileName);
    if (iResult != 0)
        ips_debug_line("[IPS]ERROR: Failed to cmd the request type.\r\n\r");
    return iResult;
}

/* .../qn-ips:request-type/qn-ips:start-type */
int IPS_UD_ProContDnsReqStartType(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 1}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcValue = get_node_content(node);
    if (!ips_value_check(env, pcValue, &iResult))
        return iResult;
    if (!is_request_type(pcValue))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the start type range.");

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The node could support the operation(rem).");
    if (ips_op_is_set(op)) {
        iResult = request_type_set(env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile dns request-type is wrong.\r\n\r");
}

/* .../qn-ips:request-type/qn-ips:end-type
 * The start type's line carries it, so here nothing is resolved, checked or committed. The device knows an entry by
 * both ends: another end means another entry. */
int IPS_UD_ProContDnsReqEndType(int op, xmlNodePtr, API_ENV_S *env)
{
    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 1}))
        return 0;
    if (ips_op_is_removal(op) || ips_op_has(op, XMLDIFF_MOD))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    return 0;
}

/* .../qn-ips:request-type/qn-ips:action
 * When the entry is new, the start type's line has carried the action already. */
int IPS_UD_ProContDnsReqTypeAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 1}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;
    if (!ips_op_has(op, XMLDIFF_MOD)) {
        ips_debug_print("[IPS]SUCCESS: The action have been saved, op(%u).\r\n\r\n", static_cast<unsigned>(op));
        return 0;
    }

    iResult = request_type_set(env, &stProfile);
    if (iResult != 0)
        return iResult;
    return ips_commit(env, "[IPS]ERROR: The leaf of profile dns request-type action is wrong.\r\n\r");
}
}
