/* The record that an entry point fills for one callback and hands to its handler. */
#ifndef TRANSAPI_HANDLER_ENVIRONMENT_H
#define TRANSAPI_HANDLER_ENVIRONMENT_H

#include <stddef.h>

#include <libxml/tree.h>

#include "transapi/netconf_error.h"
#include "transapi/static_check.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct stAPI_ENV {
    xmlNodePtr node;       /* the changed node */
    int node_oper;         /* XMLDIFF_OP bits as the server passed them */
    void **data;           /* the server's context of this callback */
    struct nc_err **error; /* the server's error slot of this callback */
    int module;            /* API_MODULE_TYPE */
    int cmd_oper;          /* API_CMD_OPERATION of the next commit */
    const char *path;
    int sid;
    int more;
    int priority;
} API_ENV_S;

TRANSAPI_STATIC_CHECK(sizeof(API_ENV_S) == 64, "API_ENV_S is 64 bytes");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, node) == 0, "node");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, node_oper) == 8, "node_oper");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, data) == 16, "data");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, error) == 24, "error");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, module) == 32, "module");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, cmd_oper) == 36, "cmd_oper");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, path) == 40, "path");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, sid) == 48, "sid");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, more) == 52, "more");
TRANSAPI_STATIC_CHECK(offsetof(API_ENV_S, priority) == 56, "priority");

#ifdef __cplusplus
}
#endif

#endif
