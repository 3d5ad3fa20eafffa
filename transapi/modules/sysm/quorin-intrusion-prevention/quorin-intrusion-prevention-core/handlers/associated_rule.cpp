/* Rules of associated signatures, which count the hits of another signature. Every handler refuses a basic one.
 *
 * The condition comes into being with its signature id, through the builder; a later change of a value sends that value
 * alone on the same command, and a removed value is sent as the device's default. */
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/rule_check.h"
#include "quorin-intrusion-prevention-core/commands/condition_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"
#include "quorin-intrusion-prevention-core/handlers/signature_rule.h"

static const int LEN_SIGNATURE_VIEW = 64;
static const int LEN_VALUE_LINE = 256;

/* What every leaf of a condition does first. True when the handler goes on; otherwise it returns `*piResult`, 0 when a
 * removal above covers the leaf. */
static bool condition_leaf_begin(API_ENV_S *env, IPS_RULE_INFO *pstRule, const char *pcHandler, int iLine,
                                 int *piResult)
{
    *piResult = 0;
    if (ips_ancestor_goes(env, {7, 5, 2, 1}) || !ips_rule_get(env, pstRule, 2, 5, pcHandler, iLine, piResult))
        return false;
    *piResult = Judge_UDAssocSig_By_SigNature(env, 5);
    return *piResult == 0;
}

/* Checks the condition's leaves as a group and caches its whole line. */
static int condition_set(API_ENV_S *env, IPS_RULE_INFO *pstRule)
{
    int iResult = ips_udsig_assoc_condition_check(env);
    if (iResult != 0) {
        ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
        return iResult;
    }

    iResult = ips_cmd_zell_udassoc_signature_condition_operation(
        env, pstRule->stSignature.acVsysName, pstRule->stSignature.acSignatureID, pstRule->acRuleName);
    if (iResult != 0)
        ips_debug_line("[IPS]ERROR: Failed to cmd the signature rule condition.\r\n\r");
    return iResult;
}

/* A value of a condition: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *pcKeyword;
    const char *pcDefault;
    uint32_t uiMax; /* of a number; 0 for the correlation */
    const char *pcFailure;
} CONDITION_VALUE;

static bool value_is_valid(const char *pcValue, const CONDITION_VALUE *pstValue)
{
    if (pstValue->uiMax == 0)
        return ips_is_correlation(pcValue);
    return pcValue[0] != '\0' && ips_number_is_within(pcValue, 1, pstValue->uiMax);
}

/* The line needs the signature id, a removal's as well, so that is read before the operation is looked at. */
static int condition_value(int op, xmlNodePtr node, API_ENV_S *env, const CONDITION_VALUE *pstValue)
{
    IPS_RULE_INFO stRule;
    char acValue[IPS_LEN_VALUE] = {0};
    char acSigID[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_VALUE_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstValue->pcHandler, __LINE__, op);
    if (!condition_leaf_begin(env, &stRule, pstValue->pcHandler, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acValue, &iResult))
        return iResult;
    if (!ips_sibling_get(env, "signature-id", acSigID))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error assoc/signature-id information.");
    if (acSigID[0] == '\0')
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the signature-id information.");

    if (ips_op_is_set(op)) {
        if (!value_is_valid(acValue, pstValue))
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        IPS_FORMAT(acCmdMes, "condition associated signature-id %s %s %s", acSigID, pstValue->pcKeyword, acValue);
        ips_rule_line(&stRule, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "condition associated signature-id %s %s %s", acSigID, pstValue->pcKeyword,
                   pstValue->pcDefault);
        ips_rule_undo_line(env, &stRule, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstValue->pcFailure);
}

extern "C" {

/* .../qn-ips:associated-rule/qn-ips:protocol
 * Nothing is sent: the leaf only must not stand on a basic signature. */
int IPS_UD_SigAssociatedRuleProtocol(int op, xmlNodePtr, API_ENV_S *env)
{
    char acSigNature[IPS_LEN_VALUE] = {0};

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3}))
        return 0;
    if (api_find_parent_key_node_content(env, 3, "associated-enable", acSigNature, sizeof(acSigNature)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error signature nature information.");
    if (acSigNature[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The associated-enable node is NULL.");
    if (strcmp(acSigNature, "true") != 0)
        return ips_error(env, NC_ERR_BAD_ELEM, "The nature is not associated, the operation is not supported.");
    ips_debug_line("[IPS]Info: The nature is associated, the current node is protocol.\r\n\r");
    return 0;
}

/* .../qn-ips:associated-rule/qn-ips:signature-rule */
int IPS_UD_SigAssociatedSigRule(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIG_ID_INFO stSignature;
    char acView[LEN_SIGNATURE_VIEW] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3}))
        return 0;
    if (!ips_signature_get(env, &stSignature, 3, __func__, __LINE__, &iResult))
        return iResult;
    iResult = Judge_UDAssocSig_By_SigNature(env, 3);
    if (iResult != 0)
        return iResult;

    IPS_FORMAT(acView, "ips-signature-%s", stSignature.acSignatureID);
    return ips_rule_entry(op, node, env, stSignature.acVsysName, acView);
}

/* .../qn-ips:associated-rule/qn-ips:signature-rule/qn-ips:associated-condition
 * Unlike everything else below a rule, the condition is undone even when its rule or its signature goes; only the
 * removal of the vsys covers it. */
int IPS_UD_SigRuleAssocCond(int op, xmlNodePtr, API_ENV_S *env)
{
    IPS_RULE_INFO stRule;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6}))
        return 0;
    if (ips_op_has(api_find_parent_operation(env, 4) | api_find_parent_operation(env, 1), XMLDIFF_REM))
        ips_debug_line("[IPS]INFO: The parent operation is deleted, delete the condition first.\r");
    if (!ips_rule_get(env, &stRule, 1, 4, __func__, __LINE__, &iResult))
        return iResult;
    iResult = Judge_UDAssocSig_By_SigNature(env, 4);
    if (iResult != 0)
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_rule_undo_line(env, &stRule, "undo condition associated");
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature condition associated signature-id is wrong.\r\n\r");
}

/* .../qn-ips:associated-condition/qn-ips:signature-id
 * A modification that reaches the removal entry point takes the condition away; the commit is not told so. */
int IPS_UD_SigRuleAssocCondSigID(int op, xmlNodePtr node, API_ENV_S *env, int bIsDelete)
{
    IPS_RULE_INFO stRule;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!condition_leaf_begin(env, &stRule, __func__, __LINE__, &iResult))
        return iResult;
    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (bIsDelete == 1 && !ips_op_is_plain_set(op)) {
            ips_rule_line(&stRule, "undo condition associated");
        } else {
            iResult = condition_set(env, &stRule);
            if (iResult != 0)
                return iResult;
        }
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature condition associated signature-id is wrong.\r\n\r");
}

/* .../qn-ips:associated-condition/qn-ips:threshold */
int IPS_UD_SigRuleAssocCondThreshold(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const CONDITION_VALUE stThreshold = {
        .pcHandler = __func__,
        .pcKeyword = "threshold",
        .pcDefault = "30",
        .uiMax = IPS_THRESHOLD_MAX,
        .pcFailure = "[IPS]ERROR: The leaf of signature rule assoc condition threshold is wrong.\r\n\r",
    };

    return condition_value(op, node, env, &stThreshold);
}

/* .../qn-ips:associated-condition/qn-ips:interval */
int IPS_UD_SigRuleAssocCondInterval(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const CONDITION_VALUE stInterval = {
        .pcHandler = __func__,
        .pcKeyword = "interval",
        .pcDefault = "60",
        .uiMax = IPS_INTERVAL_MAX,
        .pcFailure = "[IPS]ERROR: The leaf of signature rule assoc condition interval is wrong.\r\n\r",
    };

    return condition_value(op, node, env, &stInterval);
}

/* .../qn-ips:associated-condition/qn-ips:block-time */
int IPS_UD_SigRuleAssocCondBlockTime(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const CONDITION_VALUE stBlockTime = {
        .pcHandler = __func__,
        .pcKeyword = "block-time",
        .pcDefault = "5",
        .uiMax = IPS_BLOCK_TIME_MAX,
        .pcFailure = "[IPS]ERROR: The leaf of signature rule assoc condition block-time is wrong.\r\n\r",
    };

    return condition_value(op, node, env, &stBlockTime);
}

/* .../qn-ips:associated-condition/qn-ips:correlation
 * The command knows it as "correlateby". */
int IPS_UD_SigRuleAssocCondCorrelation(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const CONDITION_VALUE stCorrelation = {
        .pcHandler = __func__,
        .pcKeyword = "correlateby",
        .pcDefault = "source-destination",
        .uiMax = 0,
        .pcFailure = "[IPS]ERROR: The leaf of signature rule assoc condition correlation is wrong.\r\n\r",
    };

    return condition_value(op, node, env, &stCorrelation);
}
}
