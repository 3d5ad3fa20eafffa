// Parameters of a parsed request, as values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "netconf/reply.h"
#include "server/datastores.h"
#include "server/yang_schema.h"

namespace qnips
{

// The text of a parameter that is a leaf; nullopt when it is missing. Throws RpcError "bad-element" for a value that
// its type does not allow.
std::optional<std::string> read_leaf(const lyd_node* rpc, std::string_view name);

// The same for one that may not be missing. Throws RpcError "missing-element".
std::string require_leaf(const lyd_node* rpc, std::string_view name);

// The <source> of a <copy-config> or <validate>: a datastore, or a configuration in the request, which is not held
// against the constraints of the schema here. Throws RpcError.
Datastores::Source read_source(const lyd_node* rpc);

// <with-defaults> (RFC 6243, 4.5); without one nodes are reported as they were set.
DefaultsMode read_defaults(const lyd_node* rpc);

// The parameters of a <commit> (RFC 6241, 8.4.5.1).
CommitRequest read_commit(const lyd_node* rpc);

} // namespace qnips
