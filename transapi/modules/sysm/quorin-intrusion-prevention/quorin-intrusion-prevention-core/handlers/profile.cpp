/* IPS assignment of a virtual system, its exception domain names, profiles and the profiles' own leaves. */
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "quorin-intrusion-prevention-core/commands/profile_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_VSYS_VIEW = 160;
static const int LEN_SWITCH_LINE = 64;
static const int LEN_PROFILE_LINE = 160;
static const int LEN_DESCRIPTION = 256;
static const int LEN_DESCRIPTION_LINE = 288;
static const int LEN_DOMAIN = 512;
static const int LEN_DOMAIN_LINE = 576;

extern "C" {

/* .../qn-ips:vsys/qn-ips:ips-enable
 * Removing the leaf assigns the function again: that is the leaf's default, so undo and "true" send the same line. */
int IPS_UD_Assign_IPS_Function(int op, xmlNodePtr node, API_ENV_S *env)
{
    char acVsysName[IPS_LEN_NAME] = {0};
    char acView[LEN_VSYS_VIEW] = {0};
    char acValue[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_SWITCH_LINE] = {0};
    int iResult = 0;

    ips_version_banner();
    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_vsys_goes(env, 1))
        return 0;

    if (api_find_parent_key_node_content(env, 1, "name", acVsysName, sizeof(acVsysName)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    if (strcmp(acVsysName, "public") == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM,
                         "Current vsys name is public, the node is only operated under vsys system.");
    IPS_FORMAT(acView, "vsys-%s", acVsysName);

    if (!ips_value_get(env, get_node_content(node), acValue, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "assign function ips");
        env->cmd_oper = API_CMD_DEL;
    } else if (ips_op_is_set(op)) {
        if (strcmp(acValue, "true") == 0)
            IPS_FORMAT(acCmdMes, "assign function ips");
        else if (strcmp(acValue, "false") == 0)
            IPS_FORMAT(acCmdMes, "undo assign function ips");
        else
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the assign-ips-enable node.");
    } else {
        ips_op_unknown(op);
    }

    /* The root system decides which functions a virtual system gets. */
    if (acCmdMes[0] != '\0')
        ips_line_cache("public", acView, IPS_VIEW_TYPE_VSYS, acCmdMes);
    return ips_commit(env, "[IPS]ERROR: The leaf of assign-ips-enable is wrong.\r\n\r");
}

/* The quoted name is compared with the bare names of the table, so no name is ever refused: a client may configure the
 * delivered profiles under their own names. */
static bool is_delivered_profile(const char *pcQuotedName)
{
    for (int iPos = IPS_PROFILE_TEMPLET_COUNT - 1; iPos >= 0; iPos--) {
        if (strcmp(pcQuotedName, g_ips_paucProfileTemplet[iPos]) == 0)
            return true;
    }
    return false;
}

/* .../qn-ips:vsys/qn-ips:profiles/qn-ips:profile */
int IPS_UD_Profile(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_VSYS_NAME_INFO stVsys;
    char acQuotedName[IPS_LEN_NAME] = {0};
    char acCmdMes[LEN_PROFILE_LINE] = {0};
    int iResult = 0;

    ips_version_banner();
    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_vsys_goes(env, 2))
        return 0;
    if (!ips_vsys_get(env, &stVsys, 2, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcName = ips_child_text(node, "name");
    if (!ips_value_check(env, pcName, &iResult))
        return iResult;
    IPS_FORMAT(acQuotedName, "\"%s\"", pcName);
    if (is_delivered_profile(acQuotedName))
        return ips_error(env, NC_ERR_BAD_ELEM, "The profile name is uesd as default profile.");

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo profile type ips name %s", acQuotedName);
        ips_system_undo_line(env, stVsys.acVsysName, acCmdMes);
    } else if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "profile type ips name %s", acQuotedName);
        ips_system_line(stVsys.acVsysName, acCmdMes);
    } else if (ips_op_is_chain_or_reorder(op)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN.\r\n\r");
        return 0; /* the change is below the entry */
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile name is wrong.\r\n\r");
}

/* .../qn-ips:profile/qn-ips:description */
int IPS_UD_ProfileDescription(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acDescription[LEN_DESCRIPTION] = {0};
    char acCmdMes[LEN_DESCRIPTION_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {1, 3}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 1, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acDescription, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "description %s", acDescription);
        ips_profile_line(&stProfile, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, "undo description");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile description is wrong.\r\n\r");
}

/* A true/false leaf of a profile: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *pcOnLine;
    const char *pcOffLine; /* also when the leaf is removed */
    const char *pcBadValue;
    const char *pcFailure;
} PROFILE_SWITCH;

static int profile_switch(int op, xmlNodePtr node, API_ENV_S *env, const PROFILE_SWITCH *pstSwitch)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, pstSwitch->pcHandler, __LINE__, op);
    if (ips_ancestor_goes(env, {1, 3}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 1, pstSwitch->pcHandler, __LINE__, &iResult))
        return iResult;
    const char *pcValue = get_node_content(node);
    if (!ips_value_check(env, pcValue, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(pcValue, "true") == 0)
            ips_profile_line(&stProfile, pstSwitch->pcOnLine);
        else if (strcmp(pcValue, "false") == 0)
            ips_profile_line(&stProfile, pstSwitch->pcOffLine);
        else
            return ips_error(env, NC_ERR_BAD_ELEM, pstSwitch->pcBadValue);
    } else if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, pstSwitch->pcOffLine);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstSwitch->pcFailure);
}

/* .../qn-ips:profile/qn-ips:collect-attack-evidence-enable
 */
int IPS_UD_ProfileCAE_Enable(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const PROFILE_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOnLine = "collect-attack-evidence enable",
        .pcOffLine = "undo collect-attack-evidence enable",
        .pcBadValue = "Failed to check the collect-attack-evidence node.",
        .pcFailure = "[IPS]ERROR: The leaf of profile collect-attack-evidence is wrong.\r\n\r",
    };

    return profile_switch(op, node, env, &stSwitch);
}

/* .../qn-ips:profile/qn-ips:associated-check-enable
 */
int IPS_UD_ProfileASSOC_Enable(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const PROFILE_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOnLine = "assoc-check enable",
        .pcOffLine = "undo assoc-check enable",
        .pcBadValue = "Failed to check the associated-check-enable node.",
        .pcFailure = "[IPS]ERROR: The leaf of profile associated-check-enable is wrong.\r\n\r",
    };

    return profile_switch(op, node, env, &stSwitch);
}

/* .../qn-ips:profile/qn-ips:command-and-control-domain-filter
 * The container speaks when it goes; when it comes or changes, its leaves do. */
int IPS_UD_ProfileCNC(int op, xmlNodePtr, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {1, 3}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 1, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, "undo cnc domain-filter enable");
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is ok.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile cnc domain-filter is wrong.\r\n\r");
}

/* Checks the changed leaf and its sibling and caches the one line that carries both. */
static int domain_filter_set(xmlNodePtr node, API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile)
{
    int iResult = 0;

    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    iResult = ips_profile_cnc_check(env);
    if (iResult != 0) {
        ips_debug_line("[IPS]ERROR: Failed to check the dcommand-and-control-domain-filter node.\r\n\r");
        return iResult;
    }

    iResult = ips_cmd_zell_profile_cnc(env, pstProfile->acVsysName, pstProfile->acProfileName);
    if (iResult != 0)
        ips_debug_line("[IPS]ERROR: Failed to cmd the dcommand-and-control-domain-filter.\r\n\r");
    return iResult;
}

/* .../qn-ips:profile/qn-ips:command-and-control-domain-filter/qn-ips:domain-filter-enable */
int IPS_UD_ProfileCNC_Enable(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {1, 2, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 2, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_profile_undo_line(env, &stProfile, "undo cnc domain-filter enable");
    } else if (ips_op_is_set(op)) {
        iResult = domain_filter_set(node, env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile cnc domain-filter enable is wrong.\r\n\r");
}

/* .../qn-ips:profile/qn-ips:command-and-control-domain-filter/qn-ips:action
 * There is no line that takes the action alone away. Only the plain removal is refused; the rollback of an addition
 * counts as unknown. */
int IPS_UD_ProfileCNC_Action(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {1, 2, 4}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 2, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The node could not support the operation(rem).");
    if (ips_op_is_set(op)) {
        iResult = domain_filter_set(node, env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile cnc domain-filter action is wrong.\r\n\r");
}

/* .../qn-ips:vsys/qn-ips:exception-domain-name-information/qn-ips:exception-domain-name */
int IPS_ExceptionDomainName(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_VSYS_NAME_INFO stVsys;
    char acDomain[LEN_DOMAIN] = {0};
    char acCmdMes[LEN_DOMAIN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_vsys_goes(env, 2))
        return 0;
    if (!ips_vsys_get(env, &stVsys, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acDomain, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "cnc domain-filter exception domain-name %s", acDomain);
        ips_system_line(stVsys.acVsysName, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo cnc domain-filter exception domain-name %s", acDomain);
        ips_system_undo_line(env, stVsys.acVsysName, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of cnc domain name is wrong.\r\n\r");
}
}
