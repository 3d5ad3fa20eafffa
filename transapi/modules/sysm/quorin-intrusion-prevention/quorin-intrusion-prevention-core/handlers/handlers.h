/* The handlers' prototypes, from the node table. A handler carries one change out: it returns 0 when the change is done
 * or needs nothing, otherwise what the failed step returned; the client has been told. `op` are XMLDIFF_OP bits. */
#ifndef QN_IPS_HANDLERS_H
#define QN_IPS_HANDLERS_H

#include "quorin-intrusion-prevention.h"

extern "C" {

#define QN_IPS_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path)                             \
    int handler(int op, xmlNodePtr node, API_ENV_S *env);
#define QN_IPS_PAIR_FLAG(set_entry, set_priority, remove_entry, remove_priority, handler, path)                        \
    int handler(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete);
#define QN_IPS_PAIR_RANGE QN_IPS_PAIR_FLAG
#include "quorin-intrusion-prevention-nodes.def"
}

#endif
