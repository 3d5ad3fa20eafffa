/* The steps that every handler is made of. */
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static const int ROLLBACK_OR_ADD = XMLDIFF_ROLLBACK | XMLDIFF_ADD;
static const int ROLLBACK_OR_REM = XMLDIFF_ROLLBACK | XMLDIFF_REM;

void ips_version_banner(void)
{
    ips_debug_print("[IPS]-------Current version is %u -----------\r\n", g_current_Version);
}

void ips_handler_enter(API_ENV_S *pstEnv, const char *pcHandler, int iLine, int iOp)
{
    pstEnv->cmd_oper = API_CMD_ADD;
    ips_trace_print("[IPS]Current Function is %s , current line is %d, current op is %d\r\n", pcHandler, iLine, iOp);
}

bool ips_ancestor_goes(API_ENV_S *pstEnv, std::initializer_list<int> levels)
{
    int iOps = 0;

    for (const int iLevel : levels)
        iOps |= api_find_parent_operation(pstEnv, iLevel);
    if ((iOps & XMLDIFF_REM) == 0)
        return false;
    ips_debug_line("[IPS]SUCCESS: The parent operation is deleted.\r");
    return true;
}

bool ips_vsys_goes(API_ENV_S *pstEnv, int iLevel)
{
    if ((api_find_parent_operation(pstEnv, iLevel) & XMLDIFF_REM) == 0)
        return false;
    ips_debug_line("[IPS]SUCCESS: The vsys operation is delete.\r");
    return true;
}

static int context_result(int iResult, const char *pcHandler, int iLine)
{
    if (iResult != 0)
        ips_debug_print("[IPS]Current Function is %s , current line is %d.\r\n\r\n", pcHandler, iLine);
    return iResult;
}

int ips_vsys_get(API_ENV_S *pstEnv, IPS_VSYS_NAME_INFO *pstVsys, int iLevel, const char *pcHandler, int iLine)
{
    memset_s(pstVsys, sizeof(*pstVsys), 0, sizeof(*pstVsys));
    pstVsys->curVsysLevel = iLevel;
    return context_result(Get_VsysName(pstEnv, pstVsys), pcHandler, iLine);
}

int ips_profile_get(API_ENV_S *pstEnv, IPS_PRO_NAME_INFO *pstProfile, int iLevel, const char *pcHandler, int iLine)
{
    memset_s(pstProfile, sizeof(*pstProfile), 0, sizeof(*pstProfile));
    pstProfile->curProLevel = iLevel;
    return context_result(Get_VsysName_And_ProfileName(pstEnv, pstProfile), pcHandler, iLine);
}

bool ips_op_is_removal(int iOp)
{
    return (iOp & ROLLBACK_OR_REM) == XMLDIFF_REM;
}

bool ips_op_is_undo(int iOp)
{
    return ips_op_is_removal(iOp) || (iOp & ROLLBACK_OR_ADD) == ROLLBACK_OR_ADD;
}

bool ips_op_is_set(int iOp)
{
    return (iOp & ROLLBACK_OR_ADD) == XMLDIFF_ADD || (iOp & (XMLDIFF_CFGR | XMLDIFF_MOD)) != 0 ||
           (iOp & ROLLBACK_OR_REM) == ROLLBACK_OR_REM;
}

bool ips_op_is_change(int iOp)
{
    return (iOp & (XMLDIFF_ADD | XMLDIFF_MOD | XMLDIFF_CHAIN)) != 0;
}

void ips_op_unknown(int iOp)
{
    ips_debug_print("[IPS]ERROR: Unknown op(%d).\r\n\r\n", iOp);
}

int ips_commit(API_ENV_S *pstEnv, const char *pcFailure)
{
    const int iResult = api_commit_cmd(pstEnv);

    if (iResult != 0)
        ips_debug_line(pcFailure);
    return iResult;
}
