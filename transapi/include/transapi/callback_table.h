/* The tables that a module exports and the functions that the server calls through them. */
#ifndef TRANSAPI_CALLBACK_TABLE_H
#define TRANSAPI_CALLBACK_TABLE_H

#include <stddef.h>

#include <libxml/tree.h>

#include "transapi/edit_operation.h"
#include "transapi/netconf_error.h"
#include "transapi/static_check.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The interface version that a module exports as `transapi_version`. */
#define TRANSAPI_VERSION 4

typedef enum {
    TRANSAPI_CLBCKS_LEAF_TO_ROOT = 0,
    TRANSAPI_CLBCKS_ROOT_TO_LEAF = 1,
    TRANSAPI_CLBCKS_ORDER_DEFAULT = 0
} TRANSAPI_CLBCKS_ORDER_TYPE;

/* Called for one changed node. `data` is the server's context of this callback and goes back to it unchanged; an error
 * for the client goes into `error`. Returns 0 when the change is done or needs nothing. */
typedef int (*transapi_callback)(void **data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err **error);

/* One row: the callback of a schema path. Rows are called in descending priority. */
struct clbk {
    char *path; /* absolute, each step with its prefix */
    transapi_callback func;
    int priority;
    char *schema_path;
};

TRANSAPI_STATIC_CHECK(sizeof(struct clbk) == 32, "a row is 32 bytes");
TRANSAPI_STATIC_CHECK(offsetof(struct clbk, path) == 0, "path");
TRANSAPI_STATIC_CHECK(offsetof(struct clbk, func) == 8, "func");
TRANSAPI_STATIC_CHECK(offsetof(struct clbk, priority) == 16, "priority");
TRANSAPI_STATIC_CHECK(offsetof(struct clbk, schema_path) == 24, "schema_path");

/* Exported as `clbks`. */
struct transapi_data_callbacks {
    int callbacks_count;
    void *data;
    TRANSAPI_FLEXIBLE_ARRAY(struct clbk, callbacks)
};

TRANSAPI_STATIC_CHECK(offsetof(struct transapi_data_callbacks, callbacks_count) == 0, "callbacks_count");
TRANSAPI_STATIC_CHECK(offsetof(struct transapi_data_callbacks, data) == 8, "data");
TRANSAPI_STATIC_CHECK(offsetof(struct transapi_data_callbacks, callbacks) == 16, "callbacks");

struct rpc_clbk {
    char *name;
    void *(*func)(xmlNodePtr input);
};

/* Exported as `rpc_clbks`. */
struct transapi_rpc_callbacks {
    int callbacks_count;
    TRANSAPI_FLEXIBLE_ARRAY(struct rpc_clbk, callbacks)
};

TRANSAPI_STATIC_CHECK(offsetof(struct transapi_rpc_callbacks, callbacks) == 8, "callbacks");

/* One entry of `namespace_mapping`; a pair of two nulls ends the list. */
struct ns_pair {
    const char *prefix;
    const char *href;
};

TRANSAPI_STATIC_CHECK(sizeof(struct ns_pair) == 16, "ns_pair is 16 bytes");

#ifdef __cplusplus
}
#endif

#endif
