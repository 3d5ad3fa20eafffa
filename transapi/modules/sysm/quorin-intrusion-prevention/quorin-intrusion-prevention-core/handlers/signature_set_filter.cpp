/* What a signature set selects by target, severity and operating system. */
#include "quorin-intrusion-prevention-core/handlers/signature_set.h"

static const int LEN_WORD_LINE = 128;

static int information_error(API_ENV_S *env)
{
    return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the information.");
}

extern "C" {

/* .../qn-ips:signature-set/qn-ips:target
 * There is one target, so that its removal needs no value. */
int IPS_UD_SigSetTarget(int op, xmlNodePtr node, API_ENV_S *env)
{
    IPS_SIGSET_INFO stSet;
    char acTarget[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_WORD_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, __func__, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 1, __func__, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acTarget, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (!ips_is_one_of(acTarget, {"both", "client", "server"}))
            return information_error(env);
        IPS_FORMAT(acCmdMes, "target %s", acTarget);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        ips_sigset_undo_line(env, &stSet, "undo target");
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, "[IPS]ERROR: The leaf of profile signature-set target is wrong.\r\n\r");
}

/* A leaf-list of words, each of which is set and taken back by itself. */
typedef struct {
    const char *pcHandler;
    const char *apcWords[6]; /* ends with a null */
    const char *pcSetLine;
    const char *pcUndoLine;
    const char *pcUndoAllLine;
    const char *pcFailure;
} WORD_LIST;

static int word_entry(int op, xmlNodePtr node, API_ENV_S *env, const WORD_LIST *pstList)
{
    IPS_SIGSET_INFO stSet;
    char acWord[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_WORD_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstList->pcHandler, __LINE__, op);
    if (ips_ancestor_goes(env, {5, 3, 1}))
        return 0;
    if (!ips_sigset_get(env, &stSet, 1, pstList->pcHandler, __LINE__, &iResult))
        return iResult;
    if (!ips_value_get(env, get_node_content(node), acWord, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (!ips_is_listed(acWord, pstList->apcWords))
            return information_error(env);
        IPS_FORMAT(acCmdMes, pstList->pcSetLine, acWord);
        ips_sigset_line(&stSet, acCmdMes);
    } else if (ips_op_is_undo(op)) {
        if (ips_is_listed(acWord, pstList->apcWords))
            IPS_FORMAT(acCmdMes, pstList->pcUndoLine, acWord);
        else if (acWord[0] == '\0')
            IPS_FORMAT(acCmdMes, "%s",
                       pstList->pcUndoAllLine); /* not reached while the string check refuses empty texts */
        else
            return information_error(env);
        ips_sigset_undo_line(env, &stSet, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstList->pcFailure);
}

/* .../qn-ips:signature-set/qn-ips:severity */
int IPS_UD_SigSetSeverity(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const WORD_LIST stList = {
        .pcHandler = __func__,
        .apcWords = {"high", "medium", "low", "information"},
        .pcSetLine = "severity %s",
        .pcUndoLine = "undo severity %s",
        .pcUndoAllLine = "undo severity",
        .pcFailure = "[IPS]ERROR: The leaf of profile signature-set severity is wrong.\r\n\r",
    };

    return word_entry(op, node, env, &stList);
}

/* .../qn-ips:signature-set/qn-ips:operating-system */
int IPS_UD_SigSetOS(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const WORD_LIST stList = {
        .pcHandler = __func__,
        .apcWords = {"other", "android", "ios", "unix-like", "windows"},
        .pcSetLine = "os %s",
        .pcUndoLine = "undo os %s",
        .pcUndoAllLine = "undo os",
        .pcFailure = "[IPS]ERROR: The leaf of profile signature-set os is wrong.\r\n\r",
    };

    return word_entry(op, node, env, &stList);
}
}
