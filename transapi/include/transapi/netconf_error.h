/* Errors that reach the NETCONF client, numbered as the server numbers them. */
#ifndef TRANSAPI_NETCONF_ERROR_H
#define TRANSAPI_NETCONF_ERROR_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    NC_ERR_EMPTY = 0,
    NC_ERR_OP_FAILED = 1,
    NC_ERR_IN_USE = 2,
    NC_ERR_INVALID_VALUE = 3,
    NC_ERR_TOO_BIG = 4,
    NC_ERR_MISSING_ATTR = 5,
    NC_ERR_BAD_ATTR = 6,
    NC_ERR_UNKNOWN_ATTR = 7,
    NC_ERR_MISSING_ELEM = 8,
    NC_ERR_BAD_ELEM = 9,
    NC_ERR_UNKNOWN_ELEM = 10,
    NC_ERR_UNKNOWN_NS = 11,
    NC_ERR_ACCESS_DENIED = 12,
    NC_ERR_LOCK_DENIED = 13,
    NC_ERR_RES_DENIED = 14,
    NC_ERR_ROLLBACK_FAILED = 15,
    NC_ERR_DATA_EXISTS = 16,
    NC_ERR_DATA_MISSING = 17,
    NC_ERR_OP_NOT_SUPPORTED = 18,
    NC_ERR_MALFORMED_MSG = 19,
    NC_ERR_BACKUP_DEVICE = 20,
    NC_ERR_SYSTEM_BUSY = 21,
    NC_ERR_PARSE_COMMAND = 22,  /* the command platform does not know the line */
    NC_ERR_SET_VIEW = 23,       /* the command platform has no such view */
    NC_ERR_COMMAND_EXECUTE = 24 /* the command platform could not carry the line out */
} NC_ERR;

/* The server's own record. A module only passes the slot on that holds it. */
struct nc_err;

#ifdef __cplusplus
}
#endif

#endif
