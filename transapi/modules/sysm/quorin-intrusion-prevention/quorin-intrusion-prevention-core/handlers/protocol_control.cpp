/* Protocol checks of a profile that are one action each: malformed DNS messages, DNS requests of other types than those
 * listed, several Host headers, SSH over HTTP. */
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_ACTION_LINE = 128;

/* A check that is one action: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *apcActions[4]; /* ends with a null */
    const char *pcSetLine;
    const char *pcUndoLine;
    const char *pcFailure;
} ACTION_LEAF;

static int action_leaf(int op, xmlNodePtr node, API_ENV_S *env, const ACTION_LEAF *pstLeaf)
{
    IPS_PRO_NAME_INFO stProfile;
    char acAction[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_ACTION_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstLeaf->pcHandler, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 3, pstLeaf->pcHandler, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acAction, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (!ips_is_listed(acAction, pstLeaf->apcActions))
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        IPS_FORMAT(acCmdMes, pstLeaf->pcSetLine, acAction);
        ips_profile_line(&stProfile, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, pstLeaf->pcUndoLine);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstLeaf->pcFailure);
}

extern "C" {

/* .../qn-ips:dns-check/qn-ips:malformed-packet-action */
int IPS_UD_ProContDnsMalPacAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const ACTION_LEAF stLeaf = {
        .pcHandler = __func__,
        .apcActions = {"alert", "block"},
        .pcSetLine = "dns malformed-packet check action %s",
        .pcUndoLine = "undo dns malformed-packet check",
        .pcFailure = "[IPS]ERROR: The leaf of profile dns malformed-packet is wrong.\r\n\r",
    };

    return action_leaf(op, node, env, &stLeaf);
}

/* .../qn-ips:dns-check/qn-ips:request-type-default-action
 * The device has no command that takes it back, so its removal sets the default again. */
int IPS_UD_ProContDnsReqTypeDefAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const ACTION_LEAF stLeaf = {
        .pcHandler = __func__,
        .apcActions = {"alert", "block", "allow"},
        .pcSetLine = "dns request-type check default-action %s",
        .pcUndoLine = "dns request-type check default-action allow",
        .pcFailure = "[IPS]ERROR: The leaf of profile dns request-type check default-action is wrong.\r\n\r",
    };

    return action_leaf(op, node, env, &stLeaf);
}

/* .../qn-ips:http-check/qn-ips:multi-host-action */
int IPS_UD_ProContHTTPMulHostAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const ACTION_LEAF stLeaf = {
        .pcHandler = __func__,
        .apcActions = {"alert", "block"},
        .pcSetLine = "http multi-host check action %s",
        .pcUndoLine = "undo http multi-host check",
        .pcFailure = "[IPS]ERROR: The leaf of profile http multi-host is wrong.\r\n\r",
    };

    return action_leaf(op, node, env, &stLeaf);
}

/* .../qn-ips:http-check/qn-ips:ssh-over-http-action */
int IPS_UD_ProContHTTPSSHAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const ACTION_LEAF stLeaf = {
        .pcHandler = __func__,
        .apcActions = {"alert", "block"},
        .pcSetLine = "http ssh-over-http check action %s",
        .pcUndoLine = "undo http ssh-over-http check",
        .pcFailure = "[IPS]ERROR: The leaf of profile http ssh-over-http is wrong.\r\n\r",
    };

    return action_leaf(op, node, env, &stLeaf);
}
}
