// A module small enough to break: in order as it stands, with one fault for each macro that is defined from outside.
// A fault is a value that replaces a good one, or an exported name that is taken away.
#include "transapi/transapi.h"

#ifndef TEST_VERSION
#define TEST_VERSION 4
#endif
#ifndef TEST_ORDER
#define TEST_ORDER TRANSAPI_CLBCKS_ROOT_TO_LEAF
#endif
#ifndef TEST_COUNT
#define TEST_COUNT ROW_COUNT
#endif
#ifndef TEST_PREFIX
#define TEST_PREFIX "qn-ips"
#endif
#ifndef TEST_NUMBER_PATH
#define TEST_NUMBER_PATH const_cast<char*>(HOUSE "/qn-ips:number")
#endif
#ifndef TEST_NUMBER_FUNCTION
#define TEST_NUMBER_FUNCTION set_number
#endif
#ifndef TEST_NUMBER_PRIORITY
#define TEST_NUMBER_PRIORITY 18
#endif
#ifndef TEST_NUMBER_SCHEMA_PATH
#define TEST_NUMBER_SCHEMA_PATH nullptr
#endif
#ifndef TEST_EXTRA_ROWS
#define TEST_EXTRA_ROWS
#endif
#ifndef TEST_ERROPT
#define TEST_ERROPT NC_EDIT_ERROPT_NOTSET
#endif
#ifndef TEST_MODIFIED
#define TEST_MODIFIED 0
#endif
#ifndef TEST_RPCS
#define TEST_RPCS 0
#endif
#ifndef TEST_LOCK
#define TEST_LOCK custom_lock
#endif
#ifndef TEST_IS_LOCKED
#define TEST_IS_LOCKED nullptr
#endif
#ifndef TEST_INIT_RESULT
#define TEST_INIT_RESULT 0
#endif

#define CONFIG "/qn-ips:ips-config"
#define HOUSE CONFIG "/qn-ips:house"
#define STATE "/qn-ips:ips-state"
#define ROW(path, function, priority)                                                                                  \
    {                                                                                                                  \
        const_cast<char*>(path), function, priority, nullptr                                                           \
    }

// Never called: its result is as large as a list of rows is long.
template <std::size_t N>
char (&counted(const clbk (&&rows)[N]))[N];
#define ROW_COUNT sizeof(counted(ROWS))

extern "C" {

#define CALLBACK(name)                                                                                                 \
    int name(void**, XMLDIFF_OP, xmlNodePtr, nc_err**)                                                                 \
    {                                                                                                                  \
        return 0;                                                                                                      \
    }

CALLBACK(nothing)
CALLBACK(set_house)
CALLBACK(remove_house)
CALLBACK(set_number)
CALLBACK(remove_number)
CALLBACK(wood_ADD)
CALLBACK(wood_Delete)

int always_free(void*, NC_DATASTORE, const char**, const char**)
{
    return 0;
}

// How often the server has called in; read by the test.
int test_inits = 0;
int test_closes = 0;

int transapi_version = TEST_VERSION;
TRANSAPI_CLBCKS_ORDER_TYPE callbacks_order = TEST_ORDER;
NC_EDIT_ERROPT_TYPE erropt = TEST_ERROPT;
int config_modified = TEST_MODIFIED;
ns_pair namespace_mapping[] = {{TEST_PREFIX, "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"},
#ifdef TEST_OPEN_NAMESPACES
                               {"other", "urn:other"},
#endif
                               {nullptr, nullptr}};

struct {
    int count;
    rpc_clbk row;
} rpc_clbks = {TEST_RPCS, {nullptr, nullptr}};

#ifndef TEST_NO_TABLE
// clang-format off
#define ROWS                                                                                                           \
    {                                                                                                                  \
        ROW(HOUSE, set_house, 19),                                                                                     \
        ROW(HOUSE, remove_house, 55),                                                                                  \
        ROW(HOUSE "/qn-ips:name", nothing, 18),                                                                        \
        {TEST_NUMBER_PATH, TEST_NUMBER_FUNCTION, TEST_NUMBER_PRIORITY, TEST_NUMBER_SCHEMA_PATH},                       \
        ROW(HOUSE "/qn-ips:number", remove_number, 54),                                                                \
        ROW(HOUSE "/qn-ips:stove", nothing, 0),                                                                        \
        ROW(HOUSE "/qn-ips:stove/qn-ips:fuel", nothing, 0),                                                            \
        ROW(HOUSE "/qn-ips:stove/qn-ips:wood", wood_ADD, 17),                                                          \
        ROW(HOUSE "/qn-ips:stove/qn-ips:wood", wood_Delete, 57),                                                       \
        ROW(HOUSE "/qn-ips:cold", nothing, 0),                                                                         \
        ROW(CONFIG "/qn-ips:alone", nothing, 0),                                                                       \
        ROW(STATE, nothing, 0),                                                                                        \
        ROW(STATE "/qn-ips:lamps", nothing, 0),                                                                        \
        TEST_EXTRA_ROWS                                                                                                \
    }
// clang-format on

// The same layout as transapi_data_callbacks, whose open end cannot be initialised in C++.
struct {
    int count;
    void* data;
    clbk callbacks[ROW_COUNT];
} clbks = {static_cast<int>(TEST_COUNT), nullptr, ROWS};
#endif

ncds_custom_funcs custom_funcs = {custom_init,       custom_free,         custom_changed,   custom_rollback,
                                  TEST_LOCK,         custom_unlock,       TEST_IS_LOCKED,   custom_getconfig,
                                  custom_copyconfig, custom_deleteconfig, custom_editconfig};

int transapi_init(xmlDocPtr*)
{
    ++test_inits;
    return TEST_INIT_RESULT;
}

#ifndef TEST_NO_CLOSE
void transapi_close()
{
    ++test_closes;
}
#endif

#ifndef TEST_NO_READS
xmlDocPtr get_state_data(xmlDocPtr, xmlDocPtr, nc_err**)
{
    return nullptr;
}
char* perform_getconfig(void*, NC_DATASTORE, nc_err**)
{
    return nullptr;
}
int perform_copyconfig(void*, NC_DATASTORE, NC_DATASTORE, char*, nc_err**)
{
    return 0;
}
#endif

#ifdef TEST_UNRESOLVED
int no_server_has_this();
int needs_it()
{
    return no_server_has_this();
}
#endif

} // extern "C"
