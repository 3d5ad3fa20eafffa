/* Rules of basic signatures: the entry, its scope and its order; and what all handlers of rules share. */
#include "quorin-intrusion-prevention-core/handlers/signature_rule.h"

#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_LINE = 128;
static const int LEN_ENTRY_LINE = 160;

/* From a rule of a basic signature up to its signature. */
static const int LEVELS_TO_SIGNATURE = 4;

bool ips_rule_get(API_ENV_S *pstEnv, IPS_RULE_INFO *pstRule, int iRuleLevel, int iSignatureLevel, const char *pcHandler,
                  int iLine, int *piResult)
{
    char acRuleName[IPS_LEN_NAME] = {0};

    memset_s(pstRule, sizeof(*pstRule), 0, sizeof(*pstRule));
    if (!ips_signature_get(pstEnv, &pstRule->stSignature, iSignatureLevel, pcHandler, iLine, piResult))
        return false;
    if (api_find_parent_key_node_content(pstEnv, iRuleLevel, "name", acRuleName, sizeof(acRuleName)) != 0) {
        *piResult = ips_error(pstEnv, NC_ERR_MISSING_ELEM, "Get an error rule name.");
        return false;
    }
    if (ips_string_is_valid(acRuleName) == 0) {
        *piResult = ips_error(pstEnv, NC_ERR_INVALID_VALUE, "Invalid rule name, because of spaces.");
        return false;
    }
    ips_remove_head_and_tail_spaces(acRuleName, pstRule->acRuleName, sizeof(pstRule->acRuleName));
    return true;
}

bool ips_basic_rule_begin(API_ENV_S *pstEnv, std::initializer_list<int> guards, int iRuleLevel, IPS_RULE_INFO *pstRule,
                          const char *pcHandler, int iLine, int *piResult)
{
    const int iSignatureLevel = iRuleLevel + LEVELS_TO_SIGNATURE;

    *piResult = 0;
    if (ips_ancestor_goes(pstEnv, guards) ||
        !ips_rule_get(pstEnv, pstRule, iRuleLevel, iSignatureLevel, pcHandler, iLine, piResult))
        return false;
    *piResult = Judge_UDBasicSig_By_SigNature(pstEnv, iSignatureLevel);
    return *piResult == 0;
}

static void rule_view_name(const IPS_RULE_INFO *pstRule, char (&acView)[IPS_LEN_VIEW])
{
    IPS_FORMAT(acView, "ips-signature-%s-rule-%s", pstRule->stSignature.acSignatureID, pstRule->acRuleName);
}

void ips_rule_line(const IPS_RULE_INFO *pstRule, const char *pcLine)
{
    char acView[IPS_LEN_VIEW] = {0};

    rule_view_name(pstRule, acView);
    ips_line_cache(pstRule->stSignature.acVsysName, acView, IPS_VIEW_TYPE_RULE, pcLine);
}

void ips_rule_undo_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine)
{
    ips_rule_line(pstRule, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

void ips_rule_removal_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine)
{
    char acView[IPS_LEN_VIEW] = {0};

    rule_view_name(pstRule, acView);
    ips_removal_line_cache(pstRule->stSignature.acVsysName, acView, IPS_VIEW_TYPE_RULE, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

void ips_rule_spaced_removal_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine)
{
    char acView[IPS_LEN_VIEW] = {0};

    rule_view_name(pstRule, acView);
    ips_spaced_line_cache(pstRule->stSignature.acVsysName, acView, IPS_VIEW_TYPE_RULE, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

int ips_rule_entry(int iOp, xmlNodePtr pstNode, API_ENV_S *pstEnv, const char *pcVsys, const char *pcView)
{
    char acQuotedName[IPS_LEN_NAME] = {0};
    char acCmdMes[LEN_ENTRY_LINE] = {0};
    int iResult = 0;

    const char *pcName = ips_child_text(pstNode, "name");
    if (!ips_value_check(pstEnv, pcName, &iResult))
        return iResult;
    IPS_FORMAT(acQuotedName, "\"%s\"", pcName);

    if (ips_op_is_set(iOp)) {
        IPS_FORMAT(acCmdMes, "rule name %s", acQuotedName);
        ips_line_cache(pcVsys, pcView, IPS_VIEW_TYPE_SIGNATURE, acCmdMes);
    } else if (ips_op_is_undo(iOp)) {
        IPS_FORMAT(acCmdMes, "undo rule name %s", acQuotedName);
        ips_line_cache(pcVsys, pcView, IPS_VIEW_TYPE_SIGNATURE, acCmdMes);
        pstEnv->cmd_oper = API_CMD_DEL;
    } else if (ips_op_is_chain_or_reorder(iOp)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN.\r\n\r");
        return 0; /* the change is below the entry */
    } else {
        ips_op_unknown(iOp);
    }
    return ips_commit(pstEnv, "[IPS]ERROR: The leaf of signature rule name is wrong.\r\n\r");
}

/* A leaf that is one of two or three words: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *apcWords[4]; /* ends with a null */
    const char *pcSetLine;
    const char *pcUndoLine;
    const char *pcFailure;
} RULE_WORD_LEAF;

static int rule_word_leaf(int op, xmlNodePtr node, API_ENV_S *env, const RULE_WORD_LEAF *pstLeaf)
{
    IPS_RULE_INFO stRule;
    char acValue[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstLeaf->pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {7, 5, 3, 1}, 1, &stRule, pstLeaf->pcHandler, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acValue, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (!ips_is_listed(acValue, pstLeaf->apcWords))
            return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the information.");
        IPS_FORMAT(acCmdMes, pstLeaf->pcSetLine, acValue);
        ips_rule_line(&stRule, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_rule_undo_line(env, &stRule, pstLeaf->pcUndoLine);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstLeaf->pcFailure);
}

extern "C" {

/* .../qn-ips:protocol-rules/qn-ips:rules/qn-ips:signature-rule */
int IPS_UD_SigRule(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIG_ID_INFO stSignature;
    char acView[IPS_LEN_VIEW] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2}))
        return 0;
    if (!ips_signature_get(env, &stSignature, 4, __func__, __LINE__, &iResult))
        return iResult;
    iResult = Judge_UDBasicSig_By_SigNature(env, 4);
    if (iResult != 0)
        return iResult;

    IPS_FORMAT(acView, "ips-signature-%s", stSignature.acSignatureID);
    return ips_rule_entry(op, node, env, stSignature.acVsysName, acView);
}

/* .../qn-ips:signature-rule/qn-ips:scope */
int IPS_UD_SigRuleScope(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_WORD_LEAF stScope = {
        .pcHandler = __func__,
        .apcWords = {"flow", "message", "packet"},
        .pcSetLine = "scope %s",
        .pcUndoLine = "undo scope",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule scope is wrong.\r\n\r",
    };

    return rule_word_leaf(op, node, env, &stScope);
}

/* .../qn-ips:signature-rule/qn-ips:sequence */
int IPS_UD_SigRuleSequence(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_WORD_LEAF stSequence = {
        .pcHandler = __func__,
        .apcWords = {"sequential", "random-order"},
        .pcSetLine = "check %s",
        .pcUndoLine = "undo check",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule sequence is wrong.\r\n\r",
    };

    return rule_word_leaf(op, node, env, &stSequence);
}
}
