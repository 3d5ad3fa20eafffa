// Validates what an edit has changed, at the cost of the edit.
//
// libyang validates whole trees only. So the closure of the edit is copied into a small tree of its own: the changed
// nodes, their ancestors, and the leaves and containers beside them (see edit_scope.h). That gives the same answer as
// the whole tree as long as no expression of the module looks further; ValidationRules makes sure of that once, at
// load.
#pragma once

#include "server/change_set.h"
#include "server/config_tree.h"
#include "server/edit_scope.h"
#include "server/yang_schema.h"

namespace qnips
{

class ValidationRules
{
public:
    // Throws std::runtime_error that names the node for a module whose validity the closure of an edit cannot tell. The
    // schema must outlive the rules.
    explicit ValidationRules(const YangSchema& schema);

    [[nodiscard]] const YangSchema& schema() const { return schema_; }

    // Lists and leaf-lists that have to be in the closure with all their instances: a `must` outside of them looks at
    // them, or one of theirs looks at what may change outside of them.
    [[nodiscard]] const SchemaNodeSet& watched() const { return watched_; }

private:
    const YangSchema& schema_;
    SchemaNodeSet watched_;
};

// Throws RpcError for the first violation of the schema in the configuration that the edit leads to:
//   a `must` that is false      operation-failed, app-tag of the must or "must-violation" (RFC 7950, 15.4)
//   no case of a mandatory choice  data-missing, "missing-choice" (RFC 7950, 15.6)
//   a mandatory leaf missing    data-missing (RFC 7950 names no tag; RFC 6241, A: "the data does not exist")
//   anything else               operation-failed
void validate_edit(const ValidationRules& rules, const ChangeSet& changes);

// The same for a whole configuration, at the cost of its size.
void validate_tree(const YangSchema& schema, const ConfigTree& tree);

} // namespace qnips
