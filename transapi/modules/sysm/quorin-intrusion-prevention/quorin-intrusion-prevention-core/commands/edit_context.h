/* Where a changed node belongs: the virtual system, the profile or the user-defined signature above it, and the CLI
 * view that its command lines are executed in.
 *
 * A level counts ancestors: 1 is the parent of the changed node. */
#ifndef QN_IPS_EDIT_CONTEXT_H
#define QN_IPS_EDIT_CONTEXT_H

#include "quorin-intrusion-prevention.h"

extern "C" {

typedef struct tagIPSName {
    int curVsysLevel; /* of the vsys entry */
    char acVsysName[IPS_LEN_NAME];
} IPS_VSYS_NAME_INFO;

typedef struct tagIPSProName {
    int curProLevel; /* of the profile entry; the vsys entry stands two levels above */
    char acProfileName[IPS_LEN_NAME];
    char acVsysName[IPS_LEN_NAME];
} IPS_PRO_NAME_INFO;

typedef struct tagIPSSigName {
    int curSigLevel; /* of the signature entry; the vsys entry stands two levels above */
    char acSignatureID[IPS_LEN_NAME];
    char acVsysName[IPS_LEN_NAME];
} IPS_SIG_ID_INFO;

/* Fill a zeroed record whose level is set. 0 filled; otherwise the client has been told and no name is stored. */
int Get_VsysName(API_ENV_S *env, IPS_VSYS_NAME_INFO *pstVsys);
int Get_VsysName_And_ProfileName(API_ENV_S *env, IPS_PRO_NAME_INFO *pstProfile);
int Get_VsysName_And_SignatureID(API_ENV_S *env, IPS_SIG_ID_INFO *pstSignature);

/* 0 the signature at `iLevel` is a basic one (is an associated one); otherwise the client has been told. */
int Judge_UDBasicSig_By_SigNature(API_ENV_S *env, int iLevel);
int Judge_UDAssocSig_By_SigNature(API_ENV_S *env, int iLevel);

/* Writes the name of a list entry, trimmed, and in double quotes if it holds white space. Returns the buffer, or null
 * (buffer untouched) when there is no entry or no name. */
char *IPS_GetTargetPolicyName(xmlNodePtr node, char *pcTargetSigSetName, unsigned int uiBuflen);
}

#pragma GCC visibility push(hidden)

/* CLI views: the device-wide one, and the types of the others. */
#define IPS_VIEW_SYSTEM "system"
#define IPS_VIEW_TYPE_VSYS "mgmt-vsys"
#define IPS_VIEW_TYPE_PROFILE "profile-ips"
#define IPS_VIEW_TYPE_SIGSET "ips-sigset"
#define IPS_VIEW_TYPE_SIGNATURE "ips-signature"
#define IPS_VIEW_TYPE_RULE "ips-signature-rule"

/* The text of the first element child called `pcName`; null when there is no such child or it has no text. */
const char *ips_child_text(xmlNodePtr pstNode, const char *pcName);

#pragma GCC visibility pop

#endif
