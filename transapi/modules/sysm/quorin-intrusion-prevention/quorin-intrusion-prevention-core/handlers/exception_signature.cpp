/* Exception signatures of a profile. The device keeps one line for each with all its settings, so a set of any leaf
 * sends the whole line, and removing an optional leaf sends it again without that leaf: for the device a positive
 * command, for the server a removal. */
#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "quorin-intrusion-prevention-core/commands/profile_command.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int LEN_ENTRY_LINE = 128;
static const int LEN_LEAF_LINE = 256;

static bool is_exception_id(const char *pcId)
{
    return ips_number_is_within(pcId, 1, IPS_SIGNATURE_ID_MAX);
}

/* Checks the entry's leaves as a group and caches its whole line. */
static int exception_set(API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile)
{
    int iResult = ips_profile_exception_signature_check(env);
    if (iResult != 0) {
        ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
        return iResult;
    }

    iResult = ips_cmd_zell_profile_exception_signatureID(env, pstProfile->acVsysName, pstProfile->acProfileName);
    if (iResult != 0)
        ips_debug_line("[IPS]ERROR: Failed to cmd the exception signature.\r\n\r");
    return iResult;
}

extern "C" {

/* .../qn-ips:exception-signatures/qn-ips:exception-signature
 * The entry speaks when it goes; when it comes or changes, its leaves do. */
int IPS_UD_ExcSignature(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acId[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_ENTRY_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {4, 2}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 2, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcId = ips_child_text(node, "id");
    if (!ips_value_check(env, pcId, &iResult))
        return iResult;
    if (!is_exception_id(pcId))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the signature-id information.");
    IPS_FORMAT(acId, "%s", pcId);

    if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo exception ips-signature-id %s", acId);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile exception ips-signature-id is wrong.\r\n\r");
}

/* .../qn-ips:exception-signature/qn-ips:id
 * The key goes with its entry only. */
int IPS_UD_ExcSigID(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3, 1}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 3, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcId = get_node_content(node);
    if (!ips_value_check(env, pcId, &iResult))
        return iResult;
    if (!is_exception_id(pcId))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the signature-id information.");

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The node could support the operation(rem).");
    if (ips_op_is_set(op)) {
        iResult = exception_set(env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile exception signature id is wrong.\r\n\r");
}

/* The steps of an optional leaf before its operation is looked at. False when the handler is done: it returns
 * `*piResult`, 0 when a removal above covers the leaf. */
static bool exception_leaf_begin(xmlNodePtr node, API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile, const char *pcHandler,
                                 int iLine, int *piResult)
{
    *piResult = 0;
    return !ips_ancestor_goes(env, {5, 3, 1}) && ips_profile_get(env, pstProfile, 3, pcHandler, iLine, piResult) &&
           ips_value_check(env, get_node_content(node), piResult);
}

/* .../qn-ips:exception-signature/qn-ips:action
 * Without its action the exception stays and allows. Unlike its neighbours, the removal checks nothing but the id. */
int IPS_UD_ExcSigAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acId[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LEAF_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!exception_leaf_begin(node, env, &stProfile, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = exception_set(env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else if (ips_op_is_undo(op)) {
        if (!ips_sibling_get(env, "id", acId))
            return ips_error(env, NC_ERR_MISSING_ELEM, "Get error exception-signature/id information.");
        if (acId[0] == '\0')
            return ips_error(env, NC_ERR_MISSING_ELEM, "The exception-signature/id node is NULL.");
        IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action allow", acId);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile exception ips-signature-id action is wrong.\r\n\r");
}

/* .../qn-ips:exception-signature/qn-ips:timeout
 * The interworking stays in the line whatever the action is. */
int IPS_UD_ExcSigTimeout(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acId[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acInterworking[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LEAF_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!exception_leaf_begin(node, env, &stProfile, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = exception_set(env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else if (ips_op_is_undo(op)) {
        iResult = ips_profile_exception_signature_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "id", acId);
        ips_sibling_get(env, "action", acAction);
        ips_sibling_get(env, "interworking", acInterworking);
        if (acInterworking[0] != '\0')
            IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s interwork %s", acId, acAction,
                       acInterworking);
        else
            IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s", acId, acAction);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    /* No blank behind the colon, unlike the other lines. */
    return ips_commit(env, "[IPS]ERROR:The leaf of profile exception ips-signature-id timeout is wrong.\r\n\r");
}

/* .../qn-ips:exception-signature/qn-ips:interworking
 * The timeout stays in the line only with an action that blocks an address. */
int IPS_UD_ExcSigInterworking(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acId[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acTimeout[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LEAF_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (!exception_leaf_begin(node, env, &stProfile, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = exception_set(env, &stProfile);
        if (iResult != 0)
            return iResult;
    } else if (ips_op_is_undo(op)) {
        iResult = ips_profile_exception_signature_check(env);
        if (iResult != 0)
            return iResult;
        ips_sibling_get(env, "id", acId);
        ips_sibling_get(env, "action", acAction);
        ips_sibling_get(env, "timeout", acTimeout);
        if (ips_action_has_timeout(acAction) && acTimeout[0] != '\0')
            IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s timeout %s", acId, acAction, acTimeout);
        else
            IPS_FORMAT(acCmdMes, "exception ips-signature-id %s action %s", acId, acAction);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile exception ips-signature-id interworking is wrong.\r\n\r");
}
}
