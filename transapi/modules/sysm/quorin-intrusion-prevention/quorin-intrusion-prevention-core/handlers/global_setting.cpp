/* Device-wide settings: for how many sessions attack evidence is collected, and the switches. Their lines belong to no
 * vsys. */
#include <string.h>

#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_LINE = 128;
static const int LEN_SESSION_NUMBER_LINE = 256;
static const int LEN_ENTRY_TEXT = 32;

static const uint32_t SESSION_NUMBER_MAX = 50;

static bool is_predefined_signature_id(const char *pcId)
{
    return ips_number_is_within(pcId, IPS_PREDEFINED_SIGNATURE_ID_MIN, IPS_SIGNATURE_ID_MAX);
}

/* A leaf of two words: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *pcOn;
    const char *pcOnLine;
    const char *pcOff;
    const char *pcOffLine;
    const char *pcUndoLine;
    const char *pcFailure;
} GLOBAL_SWITCH;

static int global_switch(int op, xmlNodePtr node, API_ENV_S *env, const GLOBAL_SWITCH *pstSwitch)
{
    char acValue[IPS_LEN_VALUE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstSwitch->pcHandler, __LINE__, op);
    if (!ips_value_get(env, get_node_content(node), acValue, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_system_undo_line(env, nullptr, pstSwitch->pcUndoLine);
    } else if (ips_op_is_set(op)) {
        if (strcmp(acValue, pstSwitch->pcOn) == 0)
            ips_system_line(nullptr, pstSwitch->pcOnLine);
        else if (strcmp(acValue, pstSwitch->pcOff) == 0)
            ips_system_line(nullptr, pstSwitch->pcOffLine);
        else
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstSwitch->pcFailure);
}

/* The id of an entry, from its child. True when it is one of a predefined signature; otherwise the client has been
 * told, and the handler returns `*piResult`. */
static bool entry_id_get(API_ENV_S *env, xmlNodePtr node, char (&acId)[LEN_ENTRY_TEXT], int *piResult)
{
    const char *pcId = ips_child_text(node, "signature-id");

    if (pcId == nullptr) {
        *piResult = ips_error(env, NC_ERR_MISSING_ELEM, "The signature-id node is NULL.");
        return false;
    }
    if (ips_string_is_valid(pcId) == 0) {
        *piResult = ips_error(env, NC_ERR_MISSING_ELEM, "Invalid signature id, because of spaces or '?'.");
        return false;
    }
    IPS_FORMAT(acId, "%s", pcId);
    if (acId[0] == '\0') {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        return false;
    }
    if (!is_predefined_signature_id(acId)) {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the signature-id information.");
        return false;
    }
    return true;
}

/* The same for the id beside a changed session number, with texts and codes of its own. */
static bool sibling_id_get(API_ENV_S *env, char (&acId)[IPS_LEN_VALUE], int *piResult)
{
    if (!ips_sibling_get(env, "signature-id", acId)) {
        *piResult = ips_error(env, NC_ERR_MISSING_ELEM, "Get error signature id information.");
        return false;
    }
    if (ips_string_is_valid(acId) == 0) {
        *piResult = ips_error(env, NC_ERR_INVALID_VALUE, "Invalid signature id, because of spaces or '?'.");
        return false;
    }
    if (acId[0] == '\0') {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        return false;
    }
    if (!is_predefined_signature_id(acId)) {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Failed to check id information.");
        return false;
    }
    return true;
}

extern "C" {

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:global-max-session-number/qn-ips:default-session-number
 * Only the line that sets ends in a blank. */
int IPS_GlobalMaxSessionNumDefNum(int op, xmlNodePtr node, API_ENV_S *env)
{
    char acNumber[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!ips_value_get(env, get_node_content(node), acNumber, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_system_undo_line(env, nullptr, "undo ips collect-attack-evidence max-session-number");
    } else if (ips_op_is_set(op)) {
        if (!ips_number_is_within(acNumber, 0, SESSION_NUMBER_MAX))
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the information.");
        IPS_FORMAT(acCmdMes, "ips collect-attack-evidence max-session-number %s ", acNumber);
        ips_system_line(nullptr, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of ips collect-attack-evidence max-session-number is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:global-max-session-number/qn-ips:session-number-signature
 * A new entry's line carries its session number; a change of the number is the leaf's. */
int IPS_GlobalMaxSessionNumSig(int op, xmlNodePtr node, API_ENV_S *env)
{
    char acSignatureID[LEN_ENTRY_TEXT] = {0};
    char acNumber[LEN_ENTRY_TEXT] = {0};
    char acCmdMes[LEN_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!entry_id_get(env, node, acSignatureID, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo ips collect-attack-evidence max-session-number signature-id %s ", acSignatureID);
        ips_system_undo_line(env, nullptr, acCmdMes);
    } else if (ips_op_is_set(op)) {
        if (!ips_value_get(env, ips_child_text(node, "session-number"), acNumber, &iResult))
            return iResult;
        if (acNumber[0] == '\0' || !ips_number_is_within(acNumber, 0, SESSION_NUMBER_MAX))
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the session number information.");
        IPS_FORMAT(acCmdMes, "ips collect-attack-evidence max-session-number %s signature-id %s ", acNumber,
                   acSignatureID);
        ips_system_line(nullptr, acCmdMes);
    } else if (ips_op_has(op, XMLDIFF_CHAIN)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN.\r");
        return 0; /* the change is below the entry */
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of session_number_signatureID is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:global-max-session-number/qn-ips:session-number-signature/
 * qn-ips:session-number
 * Unlike the entry, a change does not look at how large the number is. */
int IPS_GlobalMaxSessionSigNum(int op, xmlNodePtr node, API_ENV_S *env)
{
    char acSessionNumber[IPS_LEN_VALUE] = {0};
    char acSignatureID[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_SESSION_NUMBER_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_op_has(api_find_parent_operation(env, 1), XMLDIFF_REM)) {
        ips_debug_line("[IPS]SUCCESS: The parent op is delete.\r");
        return 0;
    }
    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (!ips_value_get(env, get_node_content(node), acSessionNumber, &iResult))
        return iResult;

    if (ips_op_has(op, XMLDIFF_ADD)) {
        ips_debug_line("[IPS]SUCCESS: The children op is add\r");
        return 0; /* the entry's line has carried the number */
    }
    if (ips_op_has(op, XMLDIFF_MOD)) {
        if (!sibling_id_get(env, acSignatureID, &iResult))
            return iResult;
        IPS_FORMAT(acCmdMes, "ips collect-attack-evidence max-session-number %s signature-id %s ", acSessionNumber,
                   acSignatureID);
        ips_system_line(nullptr, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of session_number_signatureID acSessionNumber is wrong.\r\n\r");
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:regular-expression-unlimit */
int IPS_GlobalRegularExpressionUnlimit(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const GLOBAL_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOn = "true",
        .pcOnLine = "ips signature regular-expression unlimit ",
        .pcOff = "false",
        .pcOffLine = "undo ips signature regular-expression unlimit ",
        .pcUndoLine = "undo ips signature regular-expression unlimit ",
        .pcFailure = "[IPS]ERROR: The leaf of regular_expression_unlimit is wrong.\r",
    };

    return global_switch(op, node, env, &stSwitch);
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:engine-log-switch */
int IPS_GlobalEngineLog(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const GLOBAL_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOn = "true",
        .pcOnLine = "engine log ips enable ",
        .pcOff = "false",
        .pcOffLine = "undo engine log ips enable ",
        .pcUndoLine = "undo engine log ips enable ",
        .pcFailure = "[IPS]ERROR: The leaf of engine log switch is wrong.\r\n\r",
    };

    return global_switch(op, node, env, &stSwitch);
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:log-merge-switch */
int IPS_GlobalLogMerge(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const GLOBAL_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOn = "true",
        .pcOnLine = "ips log merge enable ",
        .pcOff = "false",
        .pcOffLine = "undo ips log merge enable ",
        .pcUndoLine = "undo ips log merge enable ",
        .pcFailure = "[IPS]ERROR: The leaf of merge-log-switch is wrong.\r\n\r",
    };

    return global_switch(op, node, env, &stSwitch);
}

/* /qn-ips:ips-config/qn-ips:global-config/qn-ips:global-signature-state
 * Its removal has a line of its own, which is neither of the other two. */
int IPS_GlobalSigState(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const GLOBAL_SWITCH stSwitch = {
        .pcHandler = __func__,
        .pcOn = "enable",
        .pcOnLine = "ips signature-state enabled ",
        .pcOff = "disable",
        .pcOffLine = "ips signature-state disabled ",
        .pcUndoLine = "undo ips signature-state ",
        .pcFailure = "[IPS]ERROR: The leaf of state is wrong.\r\n\r",
    };

    return global_switch(op, node, env, &stSwitch);
}
}
