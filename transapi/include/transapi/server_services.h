/* What the server provides to a module. A module leaves these symbols undefined; whoever loads it resolves them. */
#ifndef TRANSAPI_SERVER_SERVICES_H
#define TRANSAPI_SERVER_SERVICES_H

#include <libxml/tree.h>

#include "transapi/command_platform.h"
#include "transapi/datastore.h"
#include "transapi/edit_operation.h"
#include "transapi/netconf_error.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The device's product name, or null while it is not known. */
extern const char *g_product_name_for_dp;

/* Sends one message to the command platform and waits for the answer. A message of type API_DP2ZELL_CMD_CONFIG executes
 * the pending command script as one unit, `operation` being the API_CMD_OPERATION of the callback; queries pass 0. A
 * failure is reported in `error` unless that is null. A reply that is stored into `reply` belongs to the caller, who
 * releases it with SOS_Free. `extra` is the payload record of an anonymous query, otherwise null. Returns 0 on success.
 */
int transapi_comm_with_zell(msg_dp_zell_head_t header, unsigned operation, msg_to_dp_t **reply, struct nc_err **error,
                            void *extra);

/* Appends a command line to the pending script. The four texts are copied and not written to; `vsys` and `view_type`
 * may be null. Returns 0 on success. */
unsigned api_script_cache_lines(char *vsys, char *view, char *view_type, char *line);

/* Records an error for the client. `message` is null or a text from malloc that passes to the server. Returns 1. */
int fail_nc_err(struct nc_err **error, char *message, char *second, int kind, NC_ERR code);

/* The text of a leaf, borrowed for the callback; null when it has none. */
const char *get_node_content(const xmlNode *node);

/* The operation a handler acts on. */
XMLDIFF_OP transapi_transform_op(XMLDIFF_OP op);

/* The operation on the ancestor `level` steps above the changed node (1 is its parent). */
XMLDIFF_OP priority_transapi_find_parent_op_by_xmldiff(void **data, int level);

/* The operation on the child `name` of the ancestor `level` steps up. */
XMLDIFF_OP priority_transapi_find_parent_children_op_by_xmldiff(void **data, int level, char *name);

/* The operation on the sibling `name`; level 1 means the siblings of the changed node itself. XMLDIFF_NONE when it
 * exists and takes no part in the edit, XMLDIFF_ERR when there is none. */
XMLDIFF_OP priority_transapi_find_bro_op_by_xmldiff(void **data, int level, char *name);

/* The text of the leaf `name` of the ancestor `level` steps above `node`, borrowed for the callback; null if none. */
char *priority_transapi_find_parent_key_node_content(int level, xmlNodePtr node, char *name);

/* Releases a reply of the command platform and clears the slot. `file` and `line` say who released it. */
unsigned long long SOS_Free(void **slot, char *file, unsigned long long line);

/* The server's datastore, for a module's table `custom_funcs`. */
int custom_init(void *data);
void custom_free(void *data);
int custom_changed(void *data);
int custom_rollback(void *data);
int custom_lock(void *data, NC_DATASTORE target, const char *session_id, struct nc_err **error);
int custom_unlock(void *data, NC_DATASTORE target, const char *session_id, struct nc_err **error);
char *custom_getconfig(void *data, NC_DATASTORE target, struct nc_err **error);
int custom_copyconfig(void *data, NC_DATASTORE target, NC_DATASTORE source, char *config, struct nc_err **error);
int custom_deleteconfig(void *data, NC_DATASTORE target, struct nc_err **error);
int custom_editconfig(void *data, NC_DATASTORE target, const char *config, NC_EDIT_DEFOP_TYPE defop,
                      NC_EDIT_ERROPT_TYPE erropt, struct nc_err **error);

#ifdef __cplusplus
}
#endif

#endif
