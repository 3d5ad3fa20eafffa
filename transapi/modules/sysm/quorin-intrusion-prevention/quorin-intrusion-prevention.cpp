/* The module's face to the server: the exported tables and the entry points that they name, both made from the node
 * table. An entry point decides whether it is the one of its pair that must act and hands over to its handler. */
#include "quorin-intrusion-prevention.h"

#include <stddef.h>

#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "quorin-intrusion-prevention-core/report.h"

static void entry_environment(API_ENV_S *pstEnv, void **data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err **error)
{
    pstEnv->node = node;
    pstEnv->node_oper = op;
    pstEnv->data = data;
    pstEnv->error = error;
    pstEnv->module = API_MODULE_QN_IPS;
    pstEnv->cmd_oper = CMD_ADD;
    pstEnv->path = nullptr;
    pstEnv->sid = 0;
    pstEnv->more = 0;
    pstEnv->priority = 0;
}

static bool set_acts(XMLDIFF_OP op)
{
    return (op & XMLDIFF_REM) == 0;
}

static bool remove_acts(XMLDIFF_OP op)
{
    return (op & XMLDIFF_REM) != 0;
}

/* A change of one end of a range is a change below it, which first takes the range away: the removal entry point acts
 * as well, unless the range is only just being created. */
static bool range_remove_acts(XMLDIFF_OP op)
{
    if ((op & XMLDIFF_CHAIN) != 0)
        return (op & XMLDIFF_ADD) == 0;
    return remove_acts(op);
}

/* The other entry point of the pair acts. */
static int entry_skips(const char *pcEntry, int iLine, XMLDIFF_OP op)
{
    ips_trace_print("[IPS]Success:Current Function is %s , current line is %d, , current op is %d.\r\n\r\n", pcEntry,
                    iLine, op);
    return 0;
}

/* One entry point: `acts` is its dispatch test, `...` what the handler takes behind the environment. The line number of
 * its trace is the node's line in the node table. */
#define ENTRY(entry, acts, handler, ...)                                                                               \
    int entry(void **data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err **error)                                      \
    {                                                                                                                  \
        API_ENV_S stEnv;                                                                                               \
                                                                                                                       \
        entry_environment(&stEnv, data, op, node, error);                                                              \
        if (!acts(op))                                                                                                 \
            return entry_skips(#entry, __LINE__, op);                                                                  \
        return handler(transapi_transform_op(op), node, &stEnv __VA_OPT__(, ) __VA_ARGS__);                            \
    }

#define NOOP_ENTRY(entry)                                                                                              \
    int entry(void **, XMLDIFF_OP, xmlNodePtr, struct nc_err **)                                                       \
    {                                                                                                                  \
        return 0;                                                                                                      \
    }

/* The two values of a handler's argument iIsDelete. */
static const int FROM_SET_ENTRY = 0;
static const int FROM_REMOVE_ENTRY = 1;

extern "C" {

#define QN_IPS_NOOP(entry, priority, path) NOOP_ENTRY(entry)
#define QN_IPS_NOOP_PAIR(set_entry, set_priority, remove_entry, remove_priority, path)                                 \
    NOOP_ENTRY(set_entry)                                                                                              \
    NOOP_ENTRY(remove_entry)
#define QN_IPS_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path)                             \
    ENTRY(set_entry, set_acts, handler)                                                                                \
    ENTRY(remove_entry, remove_acts, handler)
#define QN_IPS_PAIR_FLAG(set_entry, set_priority, remove_entry, remove_priority, handler, path)                        \
    ENTRY(set_entry, set_acts, handler, FROM_SET_ENTRY)                                                                \
    ENTRY(remove_entry, remove_acts, handler, FROM_REMOVE_ENTRY)
#define QN_IPS_PAIR_RANGE(set_entry, set_priority, remove_entry, remove_priority, handler, path)                       \
    ENTRY(set_entry, set_acts, handler, FROM_SET_ENTRY)                                                                \
    ENTRY(remove_entry, range_remove_acts, handler, FROM_REMOVE_ENTRY)
#define QN_IPS_UNREGISTERED(entry) NOOP_ENTRY(entry)
#include "quorin-intrusion-prevention-nodes.def"

/* ---------------------------------------------------------------------------------------------- exported data -- */

int transapi_version = TRANSAPI_VERSION;

TRANSAPI_CLBCKS_ORDER_TYPE callbacks_order = TRANSAPI_CLBCKS_ROOT_TO_LEAF;

/* The server reads this as struct transapi_data_callbacks, whose open end a C++ initialiser cannot fill. */
struct IPS_DATA_CALLBACKS {
    int callbacks_count;
    void *data;
    struct clbk callbacks[IPS_CLBKS_COUNT];
};
static_assert(offsetof(IPS_DATA_CALLBACKS, callbacks) == offsetof(struct transapi_data_callbacks, callbacks));

#define ROW(path, entry, priority) {const_cast<char *>(path), entry, priority, nullptr},
#define QN_IPS_NOOP(entry, priority, path) ROW(path, entry, priority)
#define QN_IPS_NOOP_PAIR(set_entry, set_priority, remove_entry, remove_priority, path)                                 \
    ROW(path, set_entry, set_priority)                                                                                 \
    ROW(path, remove_entry, remove_priority)
#define QN_IPS_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path)                             \
    ROW(path, set_entry, set_priority)                                                                                 \
    ROW(path, remove_entry, remove_priority)
#define QN_IPS_PAIR_FLAG QN_IPS_PAIR
#define QN_IPS_PAIR_RANGE QN_IPS_PAIR
struct IPS_DATA_CALLBACKS clbks = {
    IPS_CLBKS_COUNT,
    nullptr,
    {
#include "quorin-intrusion-prevention-nodes.def"
    },
};

/* Too many rows do not compile; too few would leave empty ones at the end. */
#define QN_IPS_NOOP(entry, priority, path) +1
#define QN_IPS_NOOP_PAIR(set_entry, set_priority, remove_entry, remove_priority, path) +2
#define QN_IPS_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path) +2
#define QN_IPS_PAIR_FLAG QN_IPS_PAIR
#define QN_IPS_PAIR_RANGE QN_IPS_PAIR
static_assert(0
#include "quorin-intrusion-prevention-nodes.def"
                  == IPS_CLBKS_COUNT,
              "the server is told the number of rows");

struct ns_pair namespace_mapping[] = {
    {"qn-ips", "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"},
    {nullptr, nullptr},
};

struct transapi_rpc_callbacks rpc_clbks; /* zero: no RPCs */

NC_EDIT_ERROPT_TYPE erropt = NC_EDIT_ERROPT_NOTSET;

int config_modified = 0;

struct ncds_custom_funcs custom_funcs = {
    .init = custom_init,
    .free = custom_free,
    .was_changed = custom_changed,
    .rollback = custom_rollback,
    .lock = custom_lock,
    .unlock = custom_unlock,
    .is_locked = nullptr,
    .getconfig = custom_getconfig,
    .copyconfig = custom_copyconfig,
    .deleteconfig = custom_deleteconfig,
    .editconfig = custom_editconfig,
};

uint32_t g_current_Version = 2017053101;

uint32_t g_ulZDBIPSprint = 0;
uint32_t g_ulZDBIPSprintSpecial = 0;

char g_acIPSFirstSigSetName[IPS_LEN_FIRST_SIGSET] = {0};

const char *g_ips_paucProfileTemplet[IPS_PROFILE_TEMPLET_COUNT] = {
    "default",     "ids",        "outside_firewall", "dmz",        "inside_firewall",
    "mail_server", "dns_server", "file_server",      "web_server", "strict",
};

/* The module holds nothing between callbacks, so there is nothing to set up or to give back. */
int transapi_init(xmlDocPtr *)
{
    return 0;
}

void transapi_close(void) {}
}
