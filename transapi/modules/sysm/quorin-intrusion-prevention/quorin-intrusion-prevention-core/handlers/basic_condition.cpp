/* Basic conditions of a rule. A condition is one command line with all its leaves, so a set of any of them has the
 * builder write the whole line again; a qualifier goes by removing the condition and writing it without.
 *
 * The group's check stops a handler with a result of exactly 1 only: whatever else it returns, the line is written. */
#include "quorin-intrusion-prevention-core/checks/rule_check.h"
#include "quorin-intrusion-prevention-core/commands/condition_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"
#include "quorin-intrusion-prevention-core/handlers/signature_rule.h"

static const int LEN_LINE = 128;
static const int LEN_QUALIFIER_LINE = 160;
static const int LEN_QUALIFIER_ID = 128;

/* The text of a condition's id, in `acId` when it is one. Otherwise the client has been told, and the handler returns
 * `*piResult`. */
static bool condition_id_get(API_ENV_S *env, const char *pcValue, char (&acId)[IPS_LEN_VALUE], int *piResult)
{
    if (!ips_value_check(env, pcValue, piResult))
        return false;
    IPS_FORMAT(acId, "%s", pcValue);
    if (ips_number_is_within(acId, 0, IPS_CONDITION_ID_MAX))
        return true;
    *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
    return false;
}

static bool condition_is_refused(API_ENV_S *env)
{
    if (ips_signature_rule_basic_condition_check(env) != 1)
        return false;
    ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
    return true;
}

/* True when the condition's line is cached; otherwise the client has been told, and the handler returns `*piResult`. */
static bool condition_write(API_ENV_S *env, IPS_RULE_INFO *pstRule, int *piResult)
{
    *piResult = ips_cmd_zell_signature_rule_basic_condition_operation(
        env, pstRule->stSignature.acVsysName, pstRule->stSignature.acSignatureID, pstRule->acRuleName);
    if (*piResult == 0)
        return true;
    ips_debug_line("[IPS]ERROR: Failed to cmd the signature rule condition.\r\n\r");
    return false;
}

/* A leaf that every condition has: it goes with its condition only. From here on all of them are alike. */
static int mandatory_leaf_apply(int op, API_ENV_S *env, IPS_RULE_INFO *pstRule, const char *pcFailure)
{
    int iResult = 0;

    if (ips_op_is_set(op)) {
        if (condition_is_refused(env))
            return 1;
        if (!condition_write(env, pstRule, &iResult))
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pcFailure);
}

/* The mandatory leaves but the id, which is checked before the operation is looked at. */
static int mandatory_leaf(int op, xmlNodePtr node, API_ENV_S *env, const char *pcHandler, const char *pcFailure)
{
    IPS_RULE_INFO stRule;
    int iResult = 0;

    ips_handler_enter(env, pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {9, 7, 5, 3, 1}, 3, &stRule, pcHandler, __LINE__, &iResult))
        return iResult;
    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;
    return mandatory_leaf_apply(op, env, &stRule, pcFailure);
}

/* Removes the condition as the device has it. False when its id cannot be read: the client has been told, and the
 * handler returns `*piResult`. The commit is not told that a line undoes: the condition itself stays. */
static bool condition_undo(API_ENV_S *env, const IPS_RULE_INFO *pstRule, int *piResult)
{
    char acCondID[LEN_QUALIFIER_ID] = {0};
    char acCmdMes[LEN_QUALIFIER_LINE] = {0};

    ips_sibling_get(env, "id", acCondID);
    if (acCondID[0] == '\0') {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the condition-id information.");
        return false;
    }
    IPS_FORMAT(acCmdMes, "undo condition %s", acCondID);
    ips_rule_line(pstRule, acCmdMes);
    return true;
}

/* The qualifiers differ in their leaf only. A modification that reaches the removal entry point takes the condition
 * away and does not write it again. */
static int qualifier(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete, const char *pcHandler,
                     const char *pcFailure)
{
    IPS_RULE_INFO stRule;
    int iResult = 0;

    ips_handler_enter(env, pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {9, 7, 5, 3, 1}, 3, &stRule, pcHandler, __LINE__, &iResult))
        return iResult;
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    if (!ips_op_is_set(op) && !ips_op_is_undo(op)) {
        ips_op_unknown(op);
        return ips_commit(env, pcFailure);
    }
    if (condition_is_refused(env))
        return 1;

    bool bDone = false;
    if (ips_op_is_plain_set(op))
        bDone = condition_write(env, &stRule, &iResult);
    else if (ips_op_has(op, XMLDIFF_MOD))
        bDone = iIsDelete == 1 ? condition_undo(env, &stRule, &iResult) : condition_write(env, &stRule, &iResult);
    else
        bDone = condition_undo(env, &stRule, &iResult) && condition_write(env, &stRule, &iResult);
    return bDone ? ips_commit(env, pcFailure) : iResult;
}

extern "C" {

/* .../qn-ips:signature-rule/qn-ips:basic-conditions/qn-ips:rule-condition
 * The entry speaks when it goes; when it comes or changes, its leaves do. */
int IPS_UD_SigRuleBasicCond(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_RULE_INFO stRule;
    char acCondID[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!ips_basic_rule_begin(env, {8, 6, 4, 2}, 2, &stRule, __func__, __LINE__, &iResult))
        return iResult;
    if (!condition_id_get(env, ips_child_text(node, "id"), acCondID, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo condition %s", acCondID);
        ips_rule_undo_line(env, &stRule, acCmdMes);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature rule condition is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:id */
int IPS_UD_SigRuleBasicCondID(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_RULE_INFO stRule;
    char acCondID[IPS_LEN_VALUE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!ips_basic_rule_begin(env, {9, 7, 5, 3, 1}, 3, &stRule, __func__, __LINE__, &iResult))
        return iResult;
    if (!condition_id_get(env, get_node_content(node), acCondID, &iResult))
        return iResult;
    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    return mandatory_leaf_apply(op, env, &stRule,
                                "[IPS]ERROR: The leaf of signature rule condition id is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:field-name */
int IPS_UD_SigRuleBasicCondFieldName(int op, xmlNodePtr node, API_ENV_S *env)
{
    return mandatory_leaf(op, node, env, __func__,
                          "[IPS]ERROR: The leaf of signature rule condition field-name is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:operator */
int IPS_UD_SigRuleBasicCondOperator(int op, xmlNodePtr node, API_ENV_S *env)
{
    return mandatory_leaf(op, node, env, __func__,
                          "[IPS]ERROR: The leaf of signature rule condition operation is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:value */
int IPS_UD_SigRuleBasicCondValue(int op, xmlNodePtr node, API_ENV_S *env)
{
    return mandatory_leaf(op, node, env, __func__,
                          "[IPS]ERROR: The leaf of signature rule condition value is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:offset */
int IPS_UD_SigRuleBasicCondOffset(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return qualifier(op, node, env, iIsDelete, __func__,
                     "[IPS]ERROR: The leaf of signature rule condition offset is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:depth */
int IPS_UD_SigRuleBasicCondDepth(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return qualifier(op, node, env, iIsDelete, __func__,
                     "[IPS]ERROR: The leaf of signature rule condition depth is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:direction */
int IPS_UD_SigRuleBasicCondDirection(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return qualifier(op, node, env, iIsDelete, __func__,
                     "[IPS]ERROR: The leaf of signature rule condition direction is wrong.\r\n\r");
}

/* .../qn-ips:rule-condition/qn-ips:qualifier-http-method */
int IPS_UD_SigRuleBasicCondHTTPMethod(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return qualifier(op, node, env, iIsDelete, __func__,
                     "[IPS]ERROR: The leaf of signature rule condition qualifier-http-method is wrong.\r\n\r");
}
}
