// The server contract's services with C linkage: each hands on to the recording server that is alive. The datastore
// functions stand in a module's table only; a module that calls one misuses it.
#include <cstdlib>
#include <memory>

#include "support/edit_tree.h"
#include "support/recording_server.h"
#include "transapi/transapi.h"

namespace
{

using qnips::test::RecordingServer;

int datastore_misuse(const char* function)
{
    RecordingServer::current().misuse(function);
    return 1;
}

} // namespace

extern "C" {

const char* g_product_name_for_dp = nullptr;

int transapi_comm_with_zell(msg_dp_zell_head_t header, unsigned operation, msg_to_dp_t** reply, struct nc_err** error,
                            void* extra)
{
    return RecordingServer::current().serve_message(header, operation, reply, error, extra);
}

unsigned api_script_cache_lines(char* vsys, char* view, char* view_type, char* line)
{
    return RecordingServer::current().serve_line(vsys, view, view_type, line);
}

int fail_nc_err(struct nc_err** error, char* message, char* second, int kind, NC_ERR code)
{
    const std::unique_ptr<char, decltype(&std::free)> owned(message, std::free);
    return RecordingServer::current().serve_error(error, message, second, kind, code);
}

const char* get_node_content(const xmlNode* node)
{
    return node == nullptr ? nullptr : qnips::test::leaf_text(node);
}

XMLDIFF_OP transapi_transform_op(XMLDIFF_OP op)
{
    return static_cast<XMLDIFF_OP>(RecordingServer::current().serve_transform(op));
}

XMLDIFF_OP priority_transapi_find_parent_op_by_xmldiff(void** data, int level)
{
    return static_cast<XMLDIFF_OP>(RecordingServer::current().serve_ancestor_op(data, level));
}

XMLDIFF_OP priority_transapi_find_parent_children_op_by_xmldiff(void** data, int level, char* name)
{
    return static_cast<XMLDIFF_OP>(RecordingServer::current().serve_child_op(data, level, name));
}

XMLDIFF_OP priority_transapi_find_bro_op_by_xmldiff(void** data, int level, char* name)
{
    return static_cast<XMLDIFF_OP>(RecordingServer::current().serve_child_op(data, level, name));
}

char* priority_transapi_find_parent_key_node_content(int level, xmlNodePtr node, char* name)
{
    return const_cast<char*>(RecordingServer::current().serve_key(level, node, name));
}

unsigned long long SOS_Free(void** slot, char* file, unsigned long long line)
{
    RecordingServer::current().serve_release(slot, file, line);
    return 0;
}

int custom_init(void* /*data*/)
{
    return datastore_misuse("custom_init");
}

void custom_free(void* /*data*/)
{
    datastore_misuse("custom_free");
}

int custom_changed(void* /*data*/)
{
    return datastore_misuse("custom_changed");
}

int custom_rollback(void* /*data*/)
{
    return datastore_misuse("custom_rollback");
}

int custom_lock(void* /*data*/, NC_DATASTORE /*target*/, const char* /*session_id*/, struct nc_err** /*error*/)
{
    return datastore_misuse("custom_lock");
}

int custom_unlock(void* /*data*/, NC_DATASTORE /*target*/, const char* /*session_id*/, struct nc_err** /*error*/)
{
    return datastore_misuse("custom_unlock");
}

char* custom_getconfig(void* /*data*/, NC_DATASTORE /*target*/, struct nc_err** /*error*/)
{
    datastore_misuse("custom_getconfig");
    return nullptr;
}

int custom_copyconfig(void* /*data*/, NC_DATASTORE /*target*/, NC_DATASTORE /*source*/, char* /*config*/,
                      struct nc_err** /*error*/)
{
    return datastore_misuse("custom_copyconfig");
}

int custom_deleteconfig(void* /*data*/, NC_DATASTORE /*target*/, struct nc_err** /*error*/)
{
    return datastore_misuse("custom_deleteconfig");
}

int custom_editconfig(void* /*data*/, NC_DATASTORE /*target*/, const char* /*config*/, NC_EDIT_DEFOP_TYPE /*defop*/,
                      NC_EDIT_ERROPT_TYPE /*erropt*/, struct nc_err** /*error*/)
{
    return datastore_misuse("custom_editconfig");
}
}
