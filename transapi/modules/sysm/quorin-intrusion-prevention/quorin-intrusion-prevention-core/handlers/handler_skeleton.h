/* The steps that every handler is made of. A handler calls them in its own order and stays readable from top to bottom:
 *
 *   enter, guard (is an ancestor's removal covering this node?), context, value and checks, decode the operation, cache
 * the line, commit.
 *
 * Not exported. */
#ifndef QN_IPS_HANDLER_SKELETON_H
#define QN_IPS_HANDLER_SKELETON_H

#include <initializer_list>

#include "adapter/api_adp_libnetconf.h"
#include "quorin-intrusion-prevention-core/checks/string_check.h"
#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/commands/command_line.h"
#include "quorin-intrusion-prevention-core/commands/edit_context.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "quorin-intrusion-prevention-core/operation.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

#pragma GCC visibility push(hidden)

/* Every handler's first step: the next commit is an addition until the handler says otherwise, and the entry trace. */
void ips_handler_enter(API_ENV_S *pstEnv, const char *pcHandler, int iLine, int iOp);

void ips_version_banner(void);

/* True when an ancestor at one of the levels is being removed: its own removal covers this node, the handler is done.
 */
bool ips_ancestor_goes(API_ENV_S *pstEnv, std::initializer_list<int> levels);

/* The same for handlers that look at the vsys entry only. */
bool ips_vsys_goes(API_ENV_S *pstEnv, int iLevel);

/* Zero a context record, set its level and fill it. True when it is filled; otherwise the client has been told, and the
 * handler returns `*piResult`. */
bool ips_vsys_get(API_ENV_S *pstEnv, IPS_VSYS_NAME_INFO *pstVsys, int iLevel, const char *pcHandler, int iLine,
                  int *piResult);
bool ips_profile_get(API_ENV_S *pstEnv, IPS_PRO_NAME_INFO *pstProfile, int iLevel, const char *pcHandler, int iLine,
                     int *piResult);
bool ips_signature_get(API_ENV_S *pstEnv, IPS_SIG_ID_INFO *pstSignature, int iLevel, const char *pcHandler, int iLine,
                       int *piResult);

/* Whether a leaf's text is acceptable; and the same with a copy of it in a zeroed array, cut at the array's size. True
 * when it is; otherwise the client has been told, and the handler returns `*piResult`. */
bool ips_value_check(API_ENV_S *pstEnv, const char *pcText, int *piResult);

template <size_t SIZE>
static inline bool ips_value_get(API_ENV_S *pstEnv, const char *pcText, char (&acValue)[SIZE], int *piResult)
{
    if (!ips_value_check(pstEnv, pcText, piResult))
        return false;
    IPS_FORMAT(acValue, "%s", pcText);
    return true;
}

/* An operation that is neither set nor undo: nothing to cache, and the handler still commits. */
void ips_op_unknown(int iOp);

/* Cache a line in the view of its object; the second of each pair tells the commit that the line undoes. `pcVsys` is
 * null for device-wide settings. */
void ips_system_line(const char *pcVsys, const char *pcLine);
void ips_system_undo_line(API_ENV_S *pstEnv, const char *pcVsys, const char *pcLine);
void ips_profile_line(const IPS_PRO_NAME_INFO *pstProfile, const char *pcLine);
void ips_profile_undo_line(API_ENV_S *pstEnv, const IPS_PRO_NAME_INFO *pstProfile, const char *pcLine);
void ips_signature_line(const IPS_SIG_ID_INFO *pstSignature, const char *pcLine);
void ips_signature_undo_line(API_ENV_S *pstEnv, const IPS_SIG_ID_INFO *pstSignature, const char *pcLine);

/* Every handler's last step. Returns the server's result, after `pcFailure` as debug line when it is not 0. */
int ips_commit(API_ENV_S *pstEnv, const char *pcFailure);

#pragma GCC visibility pop

#endif
