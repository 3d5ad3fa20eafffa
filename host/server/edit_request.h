// An <edit-config> request (RFC 6241, 7.2) as the engine takes it: from the text of a file, or from the parsed tree
// that a NETCONF session has received.
#pragma once

#include <string_view>

#include "server/config_tree.h"
#include "server/datastore_locks.h"
#include "server/yang_schema.h"

namespace qnips
{

enum class DefaultOperation { merge, replace, none };
// Unstated is test-then-set (RFC 6241, 7.2), but for the candidate, which an edit may leave invalid until it is
// committed.
enum class TestOption { unstated, test_then_set, set, test_only };
enum class ErrorOption { stop_on_error, continue_on_error, rollback_on_error };

struct EditRequest {
    // What owns the nodes of `edit`; both null when the tree belongs to somebody else, who has to keep it.
    TreePtr envelope;
    TreePtr rpc;

    DatastoreName target = DatastoreName::running;
    DefaultOperation default_operation = DefaultOperation::merge;
    TestOption test_option = TestOption::unstated;
    ErrorOption error_option = ErrorOption::stop_on_error;
    const lyd_node* edit = nullptr; // the first node below <config>; null for an empty one
};

// The edit that makes `goal` of any configuration, with the fewest changes. The tree must outlive the request.
EditRequest replacement(const ConfigTree& goal);

// Reads an edit from XML text whose root is <rpc>, <edit-config>, <config> or a root of the module's configuration;
// what is missing around it is supplied, with rollback-on-error. The target is running. Throws RpcError, also for an
// edit without a node.
EditRequest parse_edit_request(const YangSchema& schema, std::string_view xml);

// Reads an edit from the <edit-config> node of a parsed rpc, which must outlive the request. Throws RpcError.
EditRequest read_edit_request(const lyd_node* edit_config);

// The child of a node by its name, also where the schema does not know it; null if there is none.
const lyd_node* find_child(const lyd_node* parent, std::string_view name);

// The datastore that a parameter (<target>, <source>) of a parsed rpc names. Throws RpcError "missing-element" when it
// names none and "operation-not-supported" for one that is no datastore of this server.
DatastoreName read_datastore(const lyd_node* rpc, std::string_view parameter);

} // namespace qnips
