// Why a node of an edit that does not fit the schema is refused.
#pragma once

struct lyd_node;
struct lysc_node;

namespace qnips
{

// The schema node that a node of an edit without a schema node of its own names, below `parent` (null: as a root); null
// if there is none.
const lysc_node* named_schema(const lyd_node* opaque, const lysc_node* parent);

// Throws the RpcError for such a node: its namespace, its name, a key or its value is at fault (RFC 7950, 8.3.1).
[[noreturn]] void refuse_misfit(const lyd_node* opaque, const lysc_node* parent);

} // namespace qnips
