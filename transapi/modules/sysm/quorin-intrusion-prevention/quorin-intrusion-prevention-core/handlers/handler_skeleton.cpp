/* The steps that every handler is made of. */
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

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
    if (!ips_op_has(iOps, XMLDIFF_REM))
        return false;
    ips_debug_line("[IPS]SUCCESS: The parent operation is deleted.\r");
    return true;
}

bool ips_vsys_goes(API_ENV_S *pstEnv, int iLevel)
{
    if (!ips_op_has(api_find_parent_operation(pstEnv, iLevel), XMLDIFF_REM))
        return false;
    ips_debug_line("[IPS]SUCCESS: The vsys operation is delete.\r");
    return true;
}

static bool context_result(int iResult, const char *pcHandler, int iLine, int *piResult)
{
    *piResult = iResult;
    if (iResult == 0)
        return true;
    ips_debug_print("[IPS]Current Function is %s , current line is %d.\r\n\r\n", pcHandler, iLine);
    return false;
}

bool ips_vsys_get(API_ENV_S *pstEnv, IPS_VSYS_NAME_INFO *pstVsys, int iLevel, const char *pcHandler, int iLine,
                  int *piResult)
{
    memset_s(pstVsys, sizeof(*pstVsys), 0, sizeof(*pstVsys));
    pstVsys->curVsysLevel = iLevel;
    return context_result(Get_VsysName(pstEnv, pstVsys), pcHandler, iLine, piResult);
}

bool ips_profile_get(API_ENV_S *pstEnv, IPS_PRO_NAME_INFO *pstProfile, int iLevel, const char *pcHandler, int iLine,
                     int *piResult)
{
    memset_s(pstProfile, sizeof(*pstProfile), 0, sizeof(*pstProfile));
    pstProfile->curProLevel = iLevel;
    return context_result(Get_VsysName_And_ProfileName(pstEnv, pstProfile), pcHandler, iLine, piResult);
}

bool ips_signature_get(API_ENV_S *pstEnv, IPS_SIG_ID_INFO *pstSignature, int iLevel, const char *pcHandler, int iLine,
                       int *piResult)
{
    memset_s(pstSignature, sizeof(*pstSignature), 0, sizeof(*pstSignature));
    pstSignature->curSigLevel = iLevel;
    return context_result(Get_VsysName_And_SignatureID(pstEnv, pstSignature), pcHandler, iLine, piResult);
}

/* A null text ends the handler even if the server thinks nothing of the error. */
bool ips_value_check(API_ENV_S *pstEnv, const char *pcText, int *piResult)
{
    *piResult = Check_CurValue_String_Is_Valid(pstEnv, pcText);
    return *piResult == 0 && pcText != nullptr;
}

void ips_system_line(const char *pcVsys, const char *pcLine)
{
    ips_line_cache(pcVsys, IPS_VIEW_SYSTEM, nullptr, pcLine);
}

void ips_system_undo_line(API_ENV_S *pstEnv, const char *pcVsys, const char *pcLine)
{
    ips_system_line(pcVsys, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

void ips_profile_line(const IPS_PRO_NAME_INFO *pstProfile, const char *pcLine)
{
    ips_profile_line_cache(pstProfile->acVsysName, pstProfile->acProfileName, pcLine);
}

void ips_profile_undo_line(API_ENV_S *pstEnv, const IPS_PRO_NAME_INFO *pstProfile, const char *pcLine)
{
    ips_profile_line(pstProfile, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
}

void ips_signature_line(const IPS_SIG_ID_INFO *pstSignature, const char *pcLine)
{
    char acView[IPS_LEN_VIEW] = {0};

    IPS_FORMAT(acView, "ips-signature-%s", pstSignature->acSignatureID);
    ips_line_cache(pstSignature->acVsysName, acView, IPS_VIEW_TYPE_SIGNATURE, pcLine);
}

void ips_signature_undo_line(API_ENV_S *pstEnv, const IPS_SIG_ID_INFO *pstSignature, const char *pcLine)
{
    ips_signature_line(pstSignature, pcLine);
    pstEnv->cmd_oper = API_CMD_DEL;
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
