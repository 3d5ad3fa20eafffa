/* HTTP headers X-Online-Host and X-Forwarded-For: how each is checked, and the hosts that count. One line carries the
 * type and the action of a check, whichever of them changes, so an edit of both sends it twice. */
#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_HEADER_LINE = 160;
static const int LEN_HOST = 256;
static const int LEN_BLACKLIST_LINE = 320;
static const int LEN_WHITELIST_LINE = 256;

/* What a leaf of a header check does before its operation is decoded. There is no line that takes type or action alone
 * away, so a plain removal is refused before the value is read. True when the handler goes on with the value in
 * `acValue`; otherwise it returns `*piResult`. */
static bool header_leaf_get(int op, xmlNodePtr node, API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile,
                            char (&acValue)[IPS_LEN_VALUE], const char *pcHandler, int iLine, int *piResult)
{
    if (!ips_profile_get(env, pstProfile, 5, pcHandler, iLine, piResult))
        return false;
    if (ips_op_is_removal(op)) {
        *piResult = ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
        return false;
    }

    if (!ips_value_get(env, get_node_content(node), acValue, piResult))
        return false;
    return true;
}

extern "C" {

/* .../qn-ips:x-online-host/qn-ips:check-type-action
 * The container speaks when it goes; when it comes or changes, its leaves do. */
int IPS_UD_ProContHTTPXOHTypeAction(int op, xmlNodePtr, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, "undo http x-online-host check");
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-online-host is wrong.\r\n\r");
}

/* .../qn-ips:x-forwarded-for/qn-ips:check-type-action
 * As for X-Online-Host, with debug lines of its own. */
int IPS_UD_ProContHTTPXFFTypeAction(int op, xmlNodePtr, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acView[IPS_LEN_VIEW] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acView, "profile-ips-%s", stProfile.acProfileName);
        ips_removal_line_cache(stProfile.acVsysName, acView, IPS_VIEW_TYPE_PROFILE, "undo http x-forwarded-for check");
        env->cmd_oper = API_CMD_DEL;
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-forwarded-for is wrong.\r\n\r");
}

/* .../qn-ips:x-online-host/qn-ips:check-type-action/qn-ips:type */
int IPS_UD_ProContHTTPXOHType(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_HEADER_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {7, 5, 1}))
        return 0;
    if (!header_leaf_get(op, node, env, &stProfile, acType, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = ips_profile_http_x_online_host_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "action", acAction);
        IPS_FORMAT(acCmdMes, "http x-online-host check %s action %s", acType, acAction);
        ips_profile_line(&stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-online-host type is wrong.\r\n\r");
}

/* .../qn-ips:x-online-host/qn-ips:check-type-action/qn-ips:action */
int IPS_UD_ProContHTTPXOHAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_HEADER_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {7, 5, 1}))
        return 0;
    if (!header_leaf_get(op, node, env, &stProfile, acAction, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = ips_profile_http_x_online_host_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "type", acType);
        IPS_FORMAT(acCmdMes, "http x-online-host check %s action %s", acType, acAction);
        ips_profile_line(&stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-online-host action is wrong.\r\n\r");
}

/* .../qn-ips:x-forwarded-for/qn-ips:check-type-action/qn-ips:type */
int IPS_UD_ProContHTTPXFFType(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_HEADER_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {7, 5, 1}))
        return 0;
    if (!header_leaf_get(op, node, env, &stProfile, acType, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = ips_profile_http_x_forwarded_for_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "action", acAction);
        IPS_FORMAT(acCmdMes, "http x-forwarded-for check %s action %s", acType, acAction);
        ips_profile_line(&stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-forwarded-for type is wrong.\r\n\r");
}

/* .../qn-ips:x-forwarded-for/qn-ips:check-type-action/qn-ips:action */
int IPS_UD_ProContHTTPXFFAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_HEADER_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {7, 5, 1}))
        return 0;
    if (!header_leaf_get(op, node, env, &stProfile, acAction, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = ips_profile_http_x_forwarded_for_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "type", acType);
        IPS_FORMAT(acCmdMes, "http x-forwarded-for check %s action %s", acType, acAction);
        ips_profile_line(&stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-forwarded-for action is wrong.\r\n\r");
}

/* .../qn-ips:x-online-host/qn-ips:blacklist */
int IPS_UD_ProContHTTPBlacklist(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acHost[LEN_HOST] = {0};
    char acCmdMes[LEN_BLACKLIST_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acHost, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "http x-online-host blacklist %s", acHost);
        ips_profile_line(&stProfile, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo http x-online-host blacklist %s", acHost);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-online-host blacklist is wrong.\r\n\r");
}

/* .../qn-ips:x-forwarded-for/qn-ips:whitelist
 * A set line that is too long is cut. A removal must not name another address, so its line may use up the whole buffer
 * and is emptied when it does not fit. */
int IPS_UD_ProContHTTPWhitelist(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acHost[LEN_HOST] = {0};
    char acCmdMes[LEN_WHITELIST_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 4, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acHost, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "http x-forwarded-for whitelist ipv4 %s", acHost);
        ips_profile_line(&stProfile, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        snprintf_s(acCmdMes, sizeof(acCmdMes), sizeof(acCmdMes), "undo http x-forwarded-for whitelist ipv4 %s", acHost);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile http x-forwarded-for whitelist is wrong.\r\n\r");
}
}
