/* Predefined signatures: their state and their correlated condition. They are the device's own, so their lines belong
 * to no vsys. */
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/rule_check.h"
#include "quorin-intrusion-prevention-core/commands/condition_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_LINE = 128;

/* The id of the signature that a leaf directly under it belongs to. True when it is one of a predefined signature;
 * otherwise the client has been told, and the handler returns `*piResult`. */
static bool signature_id_get(API_ENV_S *env, char (&acId)[IPS_LEN_VALUE], int *piResult)
{
    const char *pcError = nullptr;

    if (!ips_sibling_get(env, "id", acId))
        pcError = "Get error associated signature id node information.";
    else if (acId[0] == '\0')
        pcError = "The associated signature id node is NULL.";
    else if (ips_string_is_valid(acId) == 0)
        pcError = "Invalid signature id, because of spaces.";
    else if (!ips_number_is_within(acId, IPS_PREDEFINED_SIGNATURE_ID_MIN, IPS_SIGNATURE_ID_MAX))
        pcError = "Failed to check the signature id range information.";
    else
        return true;

    *piResult = ips_error(env, NC_ERR_MISSING_ELEM, pcError);
    return false;
}

/* A value of the condition. Any of them has the whole condition sent; they go with their container only. The debug
 * lines of a refusal name another container, and stay so. */
static int condition_value(int op, xmlNodePtr node, API_ENV_S *env, const char *pcHandler, const char *pcFailure)
{
    int iResult = 0;

    ips_handler_enter(env, pcHandler, __LINE__, op);
    if (ips_op_has(api_find_parent_operation(env, 1), XMLDIFF_REM)) {
        ips_debug_line("[IPS]SUCCESS: The parent op is del.\r");
        return 0;
    }
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (ips_op_is_set(op)) {
        iResult = ips_presig_assoc_condition_check(env);
        if (iResult != 0) {
            ips_debug_line("[IPS]ERROR: Failed to check the dcommand-and-control-domain-filter node.\r\n\r");
            return iResult;
        }
        iResult = ips_cmd_zell_preassoc_signature_condition_operation(env);
        if (iResult != 0) {
            ips_debug_line("[IPS]ERROR: Failed to cmd the dcommand-and-control-domain-filter.\r\n\r");
            return iResult;
        }
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pcFailure);
}

extern "C" {

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:config-state
 * A signature is on or off; there is no line that forgets which. */
int IPS_PreSigConfigState(int op, xmlNodePtr node, API_ENV_S *env)
{
    char acSignatureID[IPS_LEN_VALUE] = {0};
    char acState[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!signature_id_get(env, acSignatureID, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acState, &iResult)) {
        ips_debug_print("[IPS]Current Function is %s , current line is %d.\r\n\r\n", __func__, __LINE__);
        return iResult;
    }

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (ips_op_is_set(op)) {
        if (strcmp(acState, "enable") == 0)
            IPS_FORMAT(acCmdMes, "ips signature-state signature-id %s enabled ", acSignatureID);
        else if (strcmp(acState, "disable") == 0)
            IPS_FORMAT(acCmdMes, "ips signature-state signature-id %s disabled ", acSignatureID);
        else
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        ips_system_line(nullptr, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of predefined signature state is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:associated-condition
 * The container speaks when it goes; when it comes or changes, its leaves do. */
int IPS_PreSigAssocCond(int op, xmlNodePtr, API_ENV_S *env)
{
    char acSignatureID[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!signature_id_get(env, acSignatureID, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo ips associated pre-defined signature-id %s ", acSignatureID);
        ips_system_undo_line(env, nullptr, acCmdMes);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The parent op is CHAIN.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of predefined signature assoc condition is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:associated-condition/qn-ips:threshold */
int IPS_PreSigAssocCondThreshold(int op, xmlNodePtr node, API_ENV_S *env)
{
    return condition_value(
        op, node, env, __func__,
        "[IPS]ERROR: The leaf of predefined signature rule assoc condition threshold is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:associated-condition/qn-ips:interval */
int IPS_PreSigAssocCondInterval(int op, xmlNodePtr node, API_ENV_S *env)
{
    return condition_value(
        op, node, env, __func__,
        "[IPS]ERROR: The leaf of predefined signature rule assoc condition interval is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:associated-condition/qn-ips:block-time */
int IPS_PreSigAssocCondBlockTime(int op, xmlNodePtr node, API_ENV_S *env)
{
    return condition_value(
        op, node, env, __func__,
        "[IPS]ERROR: The leaf of prefedined signature rule assoc condition block-time is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature/qn-ips:associated-condition/qn-ips:correlation */
int IPS_PreSigAssocCondCorrelation(int op, xmlNodePtr node, API_ENV_S *env)
{
    return condition_value(op, node, env, __func__,
                           "[IPS]ERROR: The leaf of signature rule assoc condition correlation is wrong.\r\n\r");
}
}
