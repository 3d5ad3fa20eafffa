/* What a signature set selects by application, protocol and category.
 *
 * The three are built alike: a container, a leaf that selects everything, and single entries.
 * The container's removal takes the whole selection back, the leaf itself cannot be removed. The single entries differ
 * in what they do about the word "all", so each stands for itself. */
#include <string.h>

#include "quorin-intrusion-prevention-core/handlers/signature_set.h"

static const int LEN_WORD_LINE = 128;
static const int LEN_APPLICATION = 128;
static const int LEN_APPLICATION_LINE = 256;
static const int LEN_SUB_CATEGORY = 128;
static const int LEN_SUB_CATEGORY_LINE = 160;

static int information_error(API_ENV_S *env, NC_ERR enCode)
{
    return ips_error(env, enCode, "Failed to check the information.");
}

/* A container of a selection: what differs from one to the other. */
typedef struct {
    const char *pcHandler;
    const char *pcAllLeaf;
    const char *pcBadValue;
    const char *pcUndoLine;
    const char *pcFailure;
} SELECTION;

/* The leaf that selects everything is tested before the operation is looked at. */
static int selection_container(int op, xmlNodePtr node, API_ENV_S *env, const SELECTION *pstSelection)
{
    IPS_SIGSET_INFO stSet;
    int iResult = 0;

    ips_handler_enter(env, pstSelection->pcHandler, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 1, pstSelection->pcHandler, __LINE__, &iResult))
        return iResult;
    const char *pcAll = ips_child_text(node, pstSelection->pcAllLeaf);
    if (!ips_value_check(env, pcAll, &iResult))
        return iResult;
    if (!ips_is_one_of(pcAll, {"true", "false"}))
        return ips_error(env, NC_ERR_INVALID_VALUE, pstSelection->pcBadValue);

    if (ips_op_is_undo(op)) {
        ips_sigset_undo_line(env, &stSet, pstSelection->pcUndoLine);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op os OK.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstSelection->pcFailure);
}

/* A leaf that selects everything. "false" sends the line that takes all back, as an addition. */
typedef struct {
    const char *pcHandler;
    const char *pcOnLine;
    const char *pcOffLine;
    const char *pcFailure;
} SELECT_ALL;

static int select_all_leaf(int op, xmlNodePtr node, API_ENV_S *env, const SELECT_ALL *pstAll)
{
    IPS_SIGSET_INFO stSet;
    int iResult = 0;

    ips_handler_enter(env, pstAll->pcHandler, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, pstAll->pcHandler, __LINE__, &iResult))
        return iResult;
    const char *pcValue = get_node_content(node);
    if (!ips_value_check(env, pcValue, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(pcValue, "true") == 0)
            ips_sigset_line(&stSet, pstAll->pcOnLine);
        else if (strcmp(pcValue, "false") == 0)
            ips_sigset_line(&stSet, pstAll->pcOffLine);
        else
            return information_error(env, NC_ERR_INVALID_VALUE);
    } else if (ips_op_is_undo(op)) {
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstAll->pcFailure);
}

/* A single entry has nothing to say when everything is selected. True when the handler goes on; otherwise it returns
 * `*piResult`. */
static bool single_entries_count(API_ENV_S *env, const char *pcAllLeaf, const char *pcError, const char *pcQuiet,
                                 int *piResult)
{
    char acAll[IPS_LEN_VALUE] = {0};

    *piResult = 0;
    if (!ips_sibling_get(env, pcAllLeaf, acAll)) {
        *piResult = ips_error(env, NC_ERR_MISSING_ELEM, pcError);
        return false;
    }
    if (strcmp(acAll, "true") == 0) {
        ips_debug_line(pcQuiet);
        return false;
    }
    return true;
}

extern "C" {

/* .../qn-ips:signature-set/qn-ips:application */
int IPS_UD_SigSetApplication(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECTION stSelection = {
        .pcHandler = __func__,
        .pcAllLeaf = "all-application",
        .pcBadValue = "Failed to check the value of application all.",
        .pcUndoLine = "undo application all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signatureset application is wrong.\r\n\r",
    };

    return selection_container(op, node, env, &stSelection);
}

/* .../qn-ips:application/qn-ips:all-application */
int IPS_UD_SigSetAllApplication(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECT_ALL stAll = {
        .pcHandler = __func__,
        .pcOnLine = "application all",
        .pcOffLine = "undo application all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signature-set all application is wrong.\r\n\r",
    };

    return select_all_leaf(op, node, env, &stAll);
}

/* .../qn-ips:application/qn-ips:specifed-application
 * The word "all" is reported to the client and sent all the same: the device takes it for every application. */
int IPS_UD_SigSetSpecifiedApplication(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    char acApplication[LEN_APPLICATION] = {0};
    char acCmdMes[LEN_APPLICATION_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!single_entries_count(env, "all-application", "Get error all-application information.",
                              "[IPS]SUCCESS: The application all is true.\r", &iResult))
        return iResult;

    if (!ips_value_get(env, get_node_content(node), acApplication, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(acApplication, "all") == 0)
            information_error(env, NC_ERR_BAD_ELEM);
        IPS_FORMAT(acCmdMes, "application %s", acApplication);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        if (strcmp(acApplication, "all") == 0)
            information_error(env, NC_ERR_BAD_ELEM);
        IPS_FORMAT(acCmdMes, "undo application %s", acApplication);
        ips_sigset_undo_line(env, &stSet, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set application is wrong.\r\n\r");
}

/* .../qn-ips:signature-set/qn-ips:protocol */
int IPS_UD_SigSetProtocol(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECTION stSelection = {
        .pcHandler = __func__,
        .pcAllLeaf = "all-protocol",
        .pcBadValue = "Failed to check the value of protocol-all node.",
        .pcUndoLine = "undo protocol all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signatureset protocol is wrong.\r\n\r",
    };

    return selection_container(op, node, env, &stSelection);
}

/* .../qn-ips:protocol/qn-ips:all-protocol */
int IPS_UD_SigSetAllProtocol(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECT_ALL stAll = {
        .pcHandler = __func__,
        .pcOnLine = "protocol all",
        .pcOffLine = "undo protocol all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signature-set all protocol is wrong.\r\n\r",
    };

    return select_all_leaf(op, node, env, &stAll);
}

/* .../qn-ips:protocol/qn-ips:specifed-protocol
 * Unlike an application, the word "all" ends the handler. */
int IPS_UD_SigSetSpecifiedProtocol(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    char acProtocol[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_WORD_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!single_entries_count(env, "all-protocol", "Get error all-protocol information.",
                              "[IPS]SUCCESS: The protocol all is true.\r", &iResult))
        return iResult;

    if (!ips_value_get(env, get_node_content(node), acProtocol, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(acProtocol, "all") == 0)
            return information_error(env, NC_ERR_BAD_ELEM);
        IPS_FORMAT(acCmdMes, "protocol %s", acProtocol);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        if (strcmp(acProtocol, "all") == 0)
            return information_error(env, NC_ERR_BAD_ELEM);
        IPS_FORMAT(acCmdMes, "undo protocol %s", acProtocol);
        ips_sigset_undo_line(env, &stSet, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set protocol is wrong.\r\n\r");
}

/* .../qn-ips:signature-set/qn-ips:category */
int IPS_UD_SigSetCategory(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECTION stSelection = {
        .pcHandler = __func__,
        .pcAllLeaf = "all-category",
        .pcBadValue = "Failed to check the value of category-all node.",
        .pcUndoLine = "undo category all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signatureset category is wrong.\r\n\r",
    };

    return selection_container(op, node, env, &stSelection);
}

/* .../qn-ips:category/qn-ips:all-category */
int IPS_UD_SigSetAllCategory(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const SELECT_ALL stAll = {
        .pcHandler = __func__,
        .pcOnLine = "category all",
        .pcOffLine = "undo category all",
        .pcFailure = "[IPS]ERROR: The leaf of profile signature-set all category is wrong.\r\n\r",
    };

    return select_all_leaf(op, node, env, &stAll);
}

/* .../qn-ips:category/qn-ips:specifed-category
 * A category of which only some sub-categories are selected says nothing itself: its sub-categories do. Its removal is
 * told in any case. */
int IPS_UD_SigSetSpecifiedCategory(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    char acAllSub[IPS_LEN_NAME] = {0};
    char acCategory[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_WORD_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {6, 4, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 2, __func__, __LINE__, &iResult))
        return iResult;
    if (!single_entries_count(env, "all-category", "Get all-category information.",
                              "[IPS]SUCCESS: The application all is true.\r", &iResult))
        return iResult;

    const char *pcAllSub = ips_child_text(node, "all-sub-category");
    if (pcAllSub != nullptr)
        ips_remove_head_and_tail_spaces(pcAllSub, acAllSub, sizeof(acAllSub));
    if (!ips_value_get(env, ips_child_text(node, "name"), acCategory, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(acAllSub, "false") == 0) {
            ips_debug_line("[IPS]SUCCESS: The parent of category do not cmd.\r");
            return 0;
        }
        if (strcmp(acAllSub, "true") != 0)
            return ips_error_debug(env, NC_ERR_INVALID_VALUE, "Failed to check the information.",
                                   "[IPS]ERROR: The type of all-sub-category is wrong.\r\n\r");
        if (strcmp(acCategory, "all") == 0)
            return information_error(env, NC_ERR_INVALID_VALUE);
        IPS_FORMAT(acCmdMes, "category %s", acCategory);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        if (strcmp(acCategory, "all") == 0)
            return information_error(env, NC_ERR_INVALID_VALUE);
        IPS_FORMAT(acCmdMes, "undo category %s", acCategory);
        ips_sigset_undo_line(env, &stSet, acCmdMes);
    } else if (ips_op_has(op, XMLDIFF_CHAIN)) {
        ips_debug_line("[IPS]SUCCESS: The operation is CHAIN\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set category is wrong.\r\n\r");
}

/* .../qn-ips:specifed-category/qn-ips:sub-category
 * On the device a sub-category is a category like any other. Whether everything is selected is not looked at. */
int IPS_UD_SigSetSSCategory(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    char acCategory[LEN_SUB_CATEGORY] = {0};
    char acCmdMes[LEN_SUB_CATEGORY_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {7, 5, 3, 2, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 3, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, ips_child_text(node, "name"), acCategory, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (strcmp(acCategory, "all") == 0)
            return information_error(env, NC_ERR_INVALID_VALUE);
        IPS_FORMAT(acCmdMes, "category %s", acCategory);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        if (strcmp(acCategory, "all") == 0)
            return information_error(env, NC_ERR_INVALID_VALUE);
        IPS_FORMAT(acCmdMes, "undo category %s", acCategory);
        ips_sigset_undo_line(env, &stSet, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set sub category is wrong.\r\n\r");
}
}
