/* What the handlers below one signature set share. Not exported. */
#ifndef QN_IPS_SIGNATURE_SET_H
#define QN_IPS_SIGNATURE_SET_H

#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

#pragma GCC visibility push(hidden)

/* The signature set that a changed node belongs to. */
typedef struct {
    IPS_PRO_NAME_INFO stProfile;
    char acSigSetName[IPS_LEN_NAME]; /* trimmed */
    char acView[IPS_LEN_VIEW];
} IPS_SIGSET_INFO;

/* Fills a record; the set's entry stands `iSetLevel` levels above the changed node. False when the client has been told
 * why not, and `*piResult` is what the handler returns. */
bool ips_sigset_get(API_ENV_S *pstEnv, IPS_SIGSET_INFO *pstSet, int iSetLevel, const char *pcHandler, int iLine,
                    int *piResult);

/* Cache a line in the set's view; the second tells the commit that the line undoes. */
void ips_sigset_line(const IPS_SIGSET_INFO *pstSet, const char *pcLine);
void ips_sigset_undo_line(API_ENV_S *pstEnv, const IPS_SIGSET_INFO *pstSet, const char *pcLine);

#pragma GCC visibility pop

#endif
