/* Signature sets of a profile: the ordered list's entries and their action. */
#include "quorin-intrusion-prevention-core/handlers/signature_set.h"

#include <string.h>

#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "quorin-intrusion-prevention-core/commands/profile_command.h"
#include "quorin-intrusion-prevention-reads.h"

static const int LEN_QUOTED_SET = 64;
static const int LEN_TARGET_SET = 64;
static const int LEN_ENTRY_LINE = 128;
static const int LEN_MOVE_LINE = 256;

/* From a signature set's entry to its profile's there is one container in between. */
static const int LEVELS_TO_PROFILE = 2;

bool ips_sigset_get(API_ENV_S *pstEnv, IPS_SIGSET_INFO *pstSet, int iSetLevel, const char *pcHandler, int iLine,
                    int *piResult)
{
    char acName[IPS_LEN_NAME] = {0};

    memset_s(pstSet, sizeof(*pstSet), 0, sizeof(*pstSet));
    if (!ips_profile_get(pstEnv, &pstSet->stProfile, iSetLevel + LEVELS_TO_PROFILE, pcHandler, iLine, piResult))
        return false;

    if (api_find_parent_key_node_content(pstEnv, iSetLevel, "name", acName, sizeof(acName)) != 0) {
        *piResult = ips_error(pstEnv, NC_ERR_MISSING_ELEM, "Get an error signatureset name.");
        return false;
    }
    if (ips_string_is_valid(acName) == 0) {
        *piResult = ips_error(pstEnv, NC_ERR_INVALID_VALUE, "Invalid signature-set name, because of spaces.");
        return false;
    }
    ips_remove_head_and_tail_spaces(acName, pstSet->acSigSetName, sizeof(pstSet->acSigSetName));

    IPS_FORMAT(pstSet->acView, "profile-ips-%s-sigset-%s", pstSet->stProfile.acProfileName, pstSet->acSigSetName);
    return true;
}

void ips_sigset_line(const IPS_SIGSET_INFO *pstSet, const char *pcLine)
{
    ips_line_cache(pstSet->stProfile.acVsysName, pstSet->acView, IPS_VIEW_TYPE_SIGSET, pcLine);
}

void ips_sigset_undo_line(API_ENV_S *pstEnv, const IPS_SIGSET_INFO *pstSet, const char *pcLine)
{
    ips_sigset_line(pstSet, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

/* The nearest entry of the same list that stands before this one; null when it is the first. */
static xmlNodePtr entry_before(xmlNodePtr pstNode)
{
    for (xmlNodePtr pstOther = pstNode->prev; pstOther != nullptr; pstOther = pstOther->prev) {
        if (pstOther->type == XML_ELEMENT_NODE && xmlStrcmp(pstOther->name, pstNode->name) == 0)
            return pstOther;
    }
    return nullptr;
}

/* Caches the line that gives the set its place: behind its neighbour, or before the device's first set.
 *
 * The device names its first set bare unless the name holds white space, this entry's name is always quoted: a set with
 * a plain name is ordered before itself when it is the first already, and the device takes no notice of that. */
static void place_cache(xmlNodePtr pstNode, IPS_PRO_NAME_INFO *pstProfile, const char *pcQuotedName)
{
    const xmlNodePtr pstBefore = entry_before(pstNode);
    char acTarget[LEN_TARGET_SET] = {0};
    char acMove[LEN_MOVE_LINE] = {0};

    if (IPS_GetTargetPolicyName(pstBefore, acTarget, sizeof(acTarget)) != nullptr) {
        IPS_GetTargetPolicyName(pstBefore, acTarget, sizeof(acTarget)); /* refills the same buffer: kept, harmless */
        IPS_FORMAT(acMove, "signature-set move %s after %s", pcQuotedName, acTarget);
    } else {
        const char *pcFirst = IPS_GetFirstSigSet(pstProfile->acVsysName, pstProfile->acProfileName);
        if (pcFirst == nullptr || strcmp(pcFirst, pcQuotedName) == 0)
            return;
        IPS_FORMAT(acMove, "signature-set move %s before %s", pcQuotedName, pcFirst);
    }
    ips_profile_line(pstProfile, acMove);
}

extern "C" {

/* .../qn-ips:profile/qn-ips:signature-sets/qn-ips:signature-set
 * A place is given whenever the entry is new or has moved, whatever else the operation says: the rollback of an
 * addition removes the set and then moves it. */
int IPS_UD_ProfileSigSet(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_PRO_NAME_INFO stProfile;
    char acQuotedName[LEN_QUOTED_SET] = {0};
    char acCmdMes[LEN_ENTRY_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {4, 2}))
        return 0;
    if (!ips_profile_get(env, &stProfile, 2, __func__, __LINE__, &iResult))
        return iResult;
    const char *pcName = ips_child_text(node, "name");
    if (!ips_value_check(env, pcName, &iResult))
        return iResult;
    IPS_FORMAT(acQuotedName, "\"%s\"", pcName);

    if (ips_op_is_set(op)) {
        IPS_FORMAT(acCmdMes, "signature-set name %s", acQuotedName);
        ips_profile_line(&stProfile, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        IPS_FORMAT(acCmdMes, "undo signature-set name %s", acQuotedName);
        ips_profile_undo_line(env, &stProfile, acCmdMes);
    } else {
        ips_debug_print("[IPS]INFO: May be SIBLING op(%d).\r\n\r\n", op);
    }

    if (ips_op_has(op, XMLDIFF_ADD | XMLDIFF_SIBLING))
        place_cache(node, &stProfile, acQuotedName);
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set name is wrong.\r\n\r");
}

/* .../qn-ips:signature-set/qn-ips:signature-set-action
 * The container speaks when it goes; when it comes or changes, its leaves do. */
int IPS_UD_SigSetSSAction(int op, xmlNodePtr, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 1, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_sigset_undo_line(env, &stSet, "undo action");
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is ok.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set action is wrong.\r\n\r");
}

/* Checks the action with its interworking and caches the one line that carries both. */
static int action_set(API_ENV_S *env, IPS_SIGSET_INFO *pstSet)
{
    int iResult = ips_profile_signatureset_action_check(env);
    if (iResult != 0) {
        ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
        return iResult;
    }

    iResult = ips_cmd_zell_profile_signatureset_action(env, pstSet->stProfile.acVsysName,
                                                       pstSet->stProfile.acProfileName, pstSet->acSigSetName);
    if (iResult != 0)
        ips_debug_line("[IPS]ERROR: Failed to cmd the signatureset action information.\r\n\r");
    return iResult;
}

/* .../qn-ips:signature-set-action/qn-ips:action */
int IPS_UD_SigSetAction(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_sigset_undo_line(env, &stSet, "undo action");
    } else if (ips_op_is_set(op)) {
        iResult = action_set(env, &stSet);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set-action action is wrong.\r\n\r");
}

/* .../qn-ips:signature-set-action/qn-ips:interworking
 * There is no line that takes the interworking alone away. Only the plain removal is refused, before the value is read;
 * the rollback of an addition counts as unknown. */
int IPS_UD_SigSetInterworking(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, __func__, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The node could support the operation(rem).");
    if (!ips_value_check(env, get_node_content(node), &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        iResult = action_set(env, &stSet);
        if (iResult != 0)
            return iResult;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set-action interworking is wrong.\r\n\r");
}
}
