/* The adapter: the thin layer through which a module's handlers reach the server. It holds no state. */
#ifndef API_ADP_LIBNETCONF_H
#define API_ADP_LIBNETCONF_H

#include <stdint.h>

#include "transapi/transapi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A debug word for other modules of the server; nothing here reads it. */
extern uint32_t g_uiAPIAdpDbg;

/* Raises an error for the client and returns the server's result (1 when no text could be formed). A non-null `path`
 * takes the place of the formatted text. The text passes to the server. */
int api_error(API_ENV_S *env, const char *path, int err_code, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));

/* XMLDIFF_OP bits on the ancestor `level` steps above the changed node (1 is its parent). */
int api_find_parent_operation(API_ENV_S *env, int level);

/* XMLDIFF_OP bits on the child `name` of the ancestor `level` steps up. */
int api_find_parent_children_operation(API_ENV_S *env, int level, const char *name);

/* XMLDIFF_OP bits on the sibling `name`, all bits when there is none. */
int api_find_parent_brother_operation(API_ENV_S *env, int level, const char *name);

/* Copies the text of the leaf `name` of the ancestor `level` steps up. 0 copied; 1 missing, empty, or not shorter than
 * `buff_len`, and `buff` is untouched. */
int api_find_parent_key_node_content(API_ENV_S *env, int level, const char *name, char *buff, unsigned buff_len);

/* Has the command platform execute the lines cached so far. Returns the server's result. */
int api_commit_cmd(API_ENV_S *env);

/* Copies `pcSrcStr` without the prefix up to its first ':' (further ':' are left out as well). `psDstStr` must arrive
 * zeroed: behind a prefix nothing but its last byte is terminated. 0 copied; 1 a null pointer. */
int api_remove_prefix(const char *pcSrcStr, int srcLen, char *psDstStr, int dstLen);

#ifdef __cplusplus
}
#endif

#endif
