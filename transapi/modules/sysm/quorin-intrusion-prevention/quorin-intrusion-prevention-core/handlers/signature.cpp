/* User-defined signatures: the entry and its own leaves. A signature is basic or associated by its associated-enable;
 * the entry's line is the same for both. */
#include <string.h>

#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_LINE = 128;
static const int LEN_NAME_LINE = 160;
static const int LEN_DESCRIPTION = 256;
static const int LEN_DESCRIPTION_LINE = 288;

/* Where a leaf directly under a signature belongs. True when the handler goes on; otherwise it returns `*piResult`, 0
 * when a removal above covers the leaf. */
static bool leaf_begin(API_ENV_S *env, IPS_SIG_ID_INFO *pstSignature, const char *pcHandler, int iLine, int *piResult)
{
    *piResult = 0;
    return !ips_ancestor_goes(env, {1, 3}) && ips_signature_get(env, pstSignature, 1, pcHandler, iLine, piResult);
}

/* A leaf that is one of a few words: what differs from one to the other. */
typedef struct {
    const char *apcWords[5]; /* ends with a null */
    const char *pcSetLine;
    const char *pcUndoLine;
    const char *pcFailure;
} WORD_LEAF;

/* An undo takes whatever word the leaf had. */
static int word_leaf(int op, xmlNodePtr node, API_ENV_S *env, const IPS_SIG_ID_INFO *pstSignature,
                     const WORD_LEAF *pstLeaf)
{
    char acValue[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    if (!ips_value_get(env, get_node_content(node), acValue, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (!ips_is_listed(acValue, pstLeaf->apcWords))
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        IPS_FORMAT(acCmdMes, pstLeaf->pcSetLine, acValue);
        ips_signature_line(pstSignature, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_signature_undo_line(env, pstSignature, pstLeaf->pcUndoLine);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstLeaf->pcFailure);
}

extern "C" {

/* .../qn-ips:vsys/qn-ips:user-defined-signatures/qn-ips:signature
 * The nature is read before the id: an entry with both wrong reports the nature. */
int IPS_UD_Signature(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_VSYS_NAME_INFO stVsys;
    char acNatureValue[IPS_LEN_VALUE] = {0};
    char acSignatureID[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_vsys_goes(env, 2))
        return 0;
    if (!ips_vsys_get(env, &stVsys, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, ips_child_text(node, "associated-enable"), acNatureValue, &iResult))
        return iResult;
    if (!ips_is_one_of(acNatureValue, {"true", "false"}))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the value of associated-enable.");

    if (!ips_value_get(env, ips_child_text(node, "id"), acSignatureID, &iResult))
        return iResult;
    if (!ips_number_is_within(acSignatureID, 1, IPS_USER_SIGNATURE_ID_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "The signature id is wrong.");

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "ips signature-id %s", acSignatureID);
        ips_system_line(stVsys.acVsysName, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo ips signature-id %s", acSignatureID);
        ips_system_undo_line(env, stVsys.acVsysName, acCmdMes);
    } else if (ips_op_is_chain_or_reorder(op)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN.\r\n\r");
        return 0; /* the change is below the entry */
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature id is wrong.\r\n\r");
}

/* .../qn-ips:signature/qn-ips:name */
int IPS_UD_SignatureName(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIG_ID_INFO stSignature;
    char acName[IPS_LEN_NAME] = {0};
    char acCmdMes[LEN_NAME_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!leaf_begin(env, &stSignature, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcValue = get_node_content(node);
    if (!ips_value_check(env, pcValue, &iResult))
        return iResult;
    if (ips_contained_spaces_marks(pcValue) == 1)
        IPS_FORMAT(acName, "\"%s\"", pcValue);
    else
        IPS_FORMAT(acName, "%s", pcValue);

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "name %s", acName);
        ips_signature_line(&stSignature, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_signature_undo_line(env, &stSignature, "undo name");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature name is wrong.\r\n\r");
}

/* .../qn-ips:signature/qn-ips:description */
int IPS_UD_SignatureDescription(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIG_ID_INFO stSignature;
    char acDescription[LEN_DESCRIPTION] = {0};
    char acCmdMes[LEN_DESCRIPTION_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!leaf_begin(env, &stSignature, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acDescription, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "description %s", acDescription);
        ips_signature_line(&stSignature, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_signature_undo_line(env, &stSignature, "undo description");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature description is wrong.\r\n\r");
}

/* .../qn-ips:signature/qn-ips:target
 * An associated signature has no target: the leaf may stand there and is not sent. The debug line names another
 * leaf, and stays so. */
int IPS_UD_SignatureTarget(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const WORD_LEAF stTarget = {
        .apcWords = {"both", "client", "server"},
        .pcSetLine = "target %s",
        .pcUndoLine = "undo target",
        .pcFailure = "[IPS]ERROR: The leaf of signature target is wrong.\r\n\r",
    };
    IPS_SIG_ID_INFO stSignature;
    char acNatureValue[IPS_LEN_VALUE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!leaf_begin(env, &stSignature, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_sibling_get(env, "associated-enable", acNatureValue))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error associated-enable node information.");
    if (strcmp(acNatureValue, "true") == 0) {
        ips_debug_line("[IPS]Info: The nature is associated, the current node is protocol.\r\n\r");
        return 0;
    }
    return word_leaf(op, node, env, &stSignature, &stTarget);
}

/* .../qn-ips:signature/qn-ips:severity */
int IPS_UD_SignatureSeverity(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const WORD_LEAF stSeverity = {
        .apcWords = {"high", "medium", "low", "information"},
        .pcSetLine = "severity %s",
        .pcUndoLine = "undo severity",
        .pcFailure = "[IPS]ERROR: The leaf of signature severity is wrong.\r\n\r",
    };
    IPS_SIG_ID_INFO stSignature;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!leaf_begin(env, &stSignature, __func__, __LINE__, &iResult))
        return iResult;
    return word_leaf(op, node, env, &stSignature, &stSeverity);
}

/* .../qn-ips:signature/qn-ips:action */
int IPS_UD_SignatureAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const WORD_LEAF stAction = {
        .apcWords = {"alert", "block", "allow"},
        .pcSetLine = "action %s",
        .pcUndoLine = "undo action",
        .pcFailure = "[IPS]ERROR: The leaf of signature action is wrong.\r\n\r",
    };
    IPS_SIG_ID_INFO stSignature;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!leaf_begin(env, &stSignature, __func__, __LINE__, &iResult))
        return iResult;
    return word_leaf(op, node, env, &stSignature, &stAction);
}

/* .../qn-ips:signature/qn-ips:signature-rule-information/qn-ips:protocol-rules
 * The container speaks for its leaf `protocol`. Only a basic signature has one. */
int IPS_UD_SignatureProtocolRules(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIG_ID_INFO stSignature;
    char acProtocol[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {2, 4}))
        return 0;
    if (!ips_signature_get(env, &stSignature, 2, __func__, __LINE__, &iResult))
        return iResult;
    iResult = Judge_UDBasicSig_By_SigNature(env, 2);
    if (iResult != 0)
        return iResult;

    if (!ips_value_get(env, ips_child_text(node, "protocol"), acProtocol, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "protocol %s", acProtocol);
        ips_signature_line(&stSignature, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_signature_undo_line(env, &stSignature, "undo protocol");
    } else if (ips_op_is_chain_or_reorder(op)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN.\r\n\r");
        return 0; /* the change is below the container */
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of signature protocol is wrong.\r\n\r");
}
}
