/* Datastores and the options of an edit (RFC 6241, 7.2). */
#ifndef TRANSAPI_DATASTORE_H
#define TRANSAPI_DATASTORE_H

#include "transapi/netconf_error.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    NC_DATASTORE_ERROR = 0,
    NC_DATASTORE_CONFIG = 1, /* the configuration stands in the request itself */
    NC_DATASTORE_RUNNING = 2,
    NC_DATASTORE_STARTUP = 3,
    NC_DATASTORE_CANDIDATE = 4
} NC_DATASTORE;

typedef enum {
    NC_EDIT_DEFOP_NOTSET = 0,
    NC_EDIT_DEFOP_MERGE = 1,
    NC_EDIT_DEFOP_REPLACE = 2,
    NC_EDIT_DEFOP_NONE = 3
} NC_EDIT_DEFOP_TYPE;

typedef enum {
    NC_EDIT_ERROPT_NOTSET = 0,
    NC_EDIT_ERROPT_STOP = 1,
    NC_EDIT_ERROPT_CONT = 2,
    NC_EDIT_ERROPT_ROLLBACK = 3
} NC_EDIT_ERROPT_TYPE;

/* The eleven functions through which a server reaches a datastore. A slot may be empty. */
struct ncds_custom_funcs {
    int (*init)(void *data);
    void (*free)(void *data);
    int (*was_changed)(void *data);
    int (*rollback)(void *data);
    int (*lock)(void *data, NC_DATASTORE target, const char *session_id, struct nc_err **error);
    int (*unlock)(void *data, NC_DATASTORE target, const char *session_id, struct nc_err **error);
    int (*is_locked)(void *data, NC_DATASTORE target, const char **session_id, const char **datetime);
    char *(*getconfig)(void *data, NC_DATASTORE target, struct nc_err **error);
    int (*copyconfig)(void *data, NC_DATASTORE target, NC_DATASTORE source, char *config, struct nc_err **error);
    int (*deleteconfig)(void *data, NC_DATASTORE target, struct nc_err **error);
    int (*editconfig)(void *data, NC_DATASTORE target, const char *config, NC_EDIT_DEFOP_TYPE defop,
                      NC_EDIT_ERROPT_TYPE erropt, struct nc_err **error);
};

#ifdef __cplusplus
}
#endif

#endif
