/* What the bits of an operation ask for. An operation may satisfy several tests (a rollback of an addition that is also
 * a restore), so the order in which a handler asks is part of its behaviour. Not exported. */
#ifndef QN_IPS_OPERATION_H
#define QN_IPS_OPERATION_H

#include "transapi/transapi.h"

/* Of a node that takes no part in the edit: every bit. */
static const int IPS_OP_NOT_IN_EDIT = -1;

static inline bool ips_op_has(int iOp, int iBits)
{
    return (iOp & iBits) != 0;
}

/* A plain removal, no rollback of one. */
static inline bool ips_op_is_removal(int iOp)
{
    return (iOp & (XMLDIFF_ROLLBACK | XMLDIFF_REM)) == XMLDIFF_REM;
}

/* A removal, or the rollback of an addition. */
static inline bool ips_op_is_undo(int iOp)
{
    return ips_op_is_removal(iOp) || (iOp & (XMLDIFF_ROLLBACK | XMLDIFF_ADD)) == (XMLDIFF_ROLLBACK | XMLDIFF_ADD);
}

/* A restore, or the rollback of a removal. */
static inline bool ips_op_is_restore(int iOp)
{
    return ips_op_has(iOp, XMLDIFF_CFGR) ||
           (iOp & (XMLDIFF_ROLLBACK | XMLDIFF_REM)) == (XMLDIFF_ROLLBACK | XMLDIFF_REM);
}

/* An addition, no rollback of one. */
static inline bool ips_op_is_addition(int iOp)
{
    return (iOp & (XMLDIFF_ROLLBACK | XMLDIFF_ADD)) == XMLDIFF_ADD;
}

/* An addition, a modification or a restore. */
static inline bool ips_op_is_set(int iOp)
{
    return ips_op_is_addition(iOp) || ips_op_has(iOp, XMLDIFF_MOD) || ips_op_is_restore(iOp);
}

/* The same for handlers to which a modification is something else. */
static inline bool ips_op_is_plain_set(int iOp)
{
    return ips_op_is_addition(iOp) || ips_op_is_restore(iOp);
}

/* An addition, a modification or a change below, rollbacks included. */
static inline bool ips_op_is_change(int iOp)
{
    return ips_op_has(iOp, XMLDIFF_ADD | XMLDIFF_MOD | XMLDIFF_CHAIN);
}

/* A change below the entry, or of its place. */
static inline bool ips_op_is_chain_or_reorder(int iOp)
{
    return ips_op_has(iOp, XMLDIFF_CHAIN | XMLDIFF_REORDER);
}

#endif
