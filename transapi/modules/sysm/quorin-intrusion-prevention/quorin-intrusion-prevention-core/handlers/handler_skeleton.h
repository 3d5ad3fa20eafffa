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

/* Zero a context record, set its level and fill it. 0 filled; otherwise the client has been told. */
int ips_vsys_get(API_ENV_S *pstEnv, IPS_VSYS_NAME_INFO *pstVsys, int iLevel, const char *pcHandler, int iLine);
int ips_profile_get(API_ENV_S *pstEnv, IPS_PRO_NAME_INFO *pstProfile, int iLevel, const char *pcHandler, int iLine);

/* What an operation asks for. An operation may satisfy both tests (a rollback of an addition that is also a restore),
 * so the order in which a handler asks is part of its behaviour. */
bool ips_op_is_set(int iOp);
bool ips_op_is_undo(int iOp);
bool ips_op_is_removal(int iOp); /* a plain one: no rollback */
bool ips_op_is_change(int iOp);  /* an addition, a modification or a change below, rollbacks included */

/* An operation that is neither: nothing to cache, and the handler still commits. */
void ips_op_unknown(int iOp);

/* Every handler's last step. Returns the server's result, after `pcFailure` as debug line when it is not 0. */
int ips_commit(API_ENV_S *pstEnv, const char *pcFailure);

#pragma GCC visibility pop

#endif
