/* Where a changed node belongs: the virtual system, the profile or the user-defined signature above it. */
#include "quorin-intrusion-prevention-core/commands/edit_context.h"

#include <string.h>

#include "adapter/api_adp_libnetconf.h"
#include "quorin-intrusion-prevention-core/checks/string_check.h"
#include "quorin-intrusion-prevention-core/element.h"
#include "quorin-intrusion-prevention-core/report.h"

/* From a profile or a signature to its vsys entry there is one container in between. */
static const int LEVELS_TO_VSYS = 2;

const char *ips_child_text(xmlNodePtr pstNode, const char *pcName)
{
    const xmlNodePtr pstChild = ips_child_find(pstNode, pcName);

    return pstChild == nullptr ? nullptr : get_node_content(pstChild);
}

extern "C" {

int Get_VsysName(API_ENV_S *env, IPS_VSYS_NAME_INFO *pstVsys)
{
    char acVsys[IPS_LEN_NAME] = {0};

    if (api_find_parent_key_node_content(env, pstVsys->curVsysLevel, "name", acVsys, sizeof(acVsys)) != 0)
        return ips_error_debug(env, NC_ERR_MISSING_ELEM, "Get an error vsys name.",
                               "[IPS]ERROR: Get an error vsys name..\r\n\r");

    ips_remove_head_and_tail_spaces(acVsys, pstVsys->acVsysName, sizeof(pstVsys->acVsysName));
    return 0;
}

int Get_VsysName_And_ProfileName(API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile)
{
    const int iVsysLevel = pstProfile->curProLevel + LEVELS_TO_VSYS;
    char acVsys[IPS_LEN_NAME] = {0};
    char acProfile[IPS_LEN_NAME] = {0};

    if (api_find_parent_key_node_content(env, iVsysLevel, "name", acVsys, sizeof(acVsys)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    if (api_find_parent_key_node_content(env, pstProfile->curProLevel, "name", acProfile, sizeof(acProfile)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get an error profile name.");
    if (ips_string_is_valid(acVsys) == 0)
        return ips_error(env, NC_ERR_INVALID_VALUE, "Invalid vsys-system name, because of spaces.");
    if (ips_string_is_valid(acProfile) == 0)
        return ips_error(env, NC_ERR_INVALID_VALUE, "Invalid profile name, because of spaces.");

    ips_remove_head_and_tail_spaces(acProfile, pstProfile->acProfileName, sizeof(pstProfile->acProfileName));
    ips_remove_head_and_tail_spaces(acVsys, pstProfile->acVsysName, sizeof(pstProfile->acVsysName));
    return 0;
}

/* Every fault here has the code of a missing element, also where the profile's twin calls the value invalid: clients
 * tell the two apart by it. */
int Get_VsysName_And_SignatureID(API_ENV_S *env, IPS_SIG_ID_INFO *pstSignature)
{
    const int iVsysLevel = pstSignature->curSigLevel + LEVELS_TO_VSYS;
    char acVsys[IPS_LEN_NAME] = {0};
    char acId[IPS_LEN_VALUE] = {0};

    if (api_find_parent_key_node_content(env, iVsysLevel, "name", acVsys, sizeof(acVsys)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get an error vsys name.");
    if (api_find_parent_key_node_content(env, pstSignature->curSigLevel, "id", acId, sizeof(acId)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get an error signature-id.");
    if (ips_string_is_valid(acVsys) == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid vsys-system name, because of spaces.");
    if (ips_string_is_valid(acId) == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid signature-id, because of spaces.");
    if (ips_signature_id_check(acId) == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid signature-id, because of range(<1-1024>).");

    ips_remove_head_and_tail_spaces(acId, pstSignature->acSignatureID, sizeof(pstSignature->acSignatureID));
    ips_remove_head_and_tail_spaces(acVsys, pstSignature->acVsysName, sizeof(pstSignature->acVsysName));
    return 0;
}

/* Each test refuses one exact word, so that any other text passes both. */
static int nature_judge(API_ENV_S *env, int iLevel, const char *pcRefused, const char *pcError)
{
    char acNature[IPS_LEN_VALUE] = {0};

    if (api_find_parent_key_node_content(env, iLevel, "associated-enable", acNature, sizeof(acNature)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error associated-enable node information.");
    if (strcmp(acNature, pcRefused) == 0)
        return ips_error(env, NC_ERR_BAD_ELEM, pcError);
    return 0;
}

int Judge_UDBasicSig_By_SigNature(API_ENV_S *env, int iLevel)
{
    return nature_judge(env, iLevel, "true", "The nature is associated, the operation is not supported.");
}

int Judge_UDAssocSig_By_SigNature(API_ENV_S *env, int iLevel)
{
    return nature_judge(env, iLevel, "false", "The nature is not associated, the operation is not supported.");
}

char *IPS_GetTargetPolicyName(xmlNodePtr node, char *pcTargetSigSetName, unsigned int uiBuflen)
{
    char acName[IPS_LEN_NAME] = {0};

    if (node == nullptr || pcTargetSigSetName == nullptr || ips_child_find(node, "name") == nullptr)
        return nullptr;

    const char *pcName = ips_child_text(node, "name");
    if (pcName != nullptr)
        ips_remove_head_and_tail_spaces(pcName, acName, sizeof(acName));

    const char *pcFormat = ips_contained_spaces_marks(acName) == 1 ? "\"%s\"" : "%s";
    snprintf_s(pcTargetSigSetName, uiBuflen, uiBuflen - 1, pcFormat, acName);
    return pcTargetSigSetName;
}
}
