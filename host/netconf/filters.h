// What a client selects of the data that it reads: subtree filters (RFC 6241, 6) and XPath filters (8.9).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "server/yang_schema.h"

namespace qnips
{

// One element of a subtree filter. Selection node without text and children, content match node with a text,
// containment node with children.
struct FilterNode {
    std::string name;
    std::string space; // the namespace; empty: any (6.2.1)
    std::string text;  // without white space around it
    std::vector<FilterNode> children;

    [[nodiscard]] bool is_content_match() const { return children.empty() && !text.empty(); }
};

class Filter
{
public:
    // Reads the <filter> of a parsed <get> or <get-config>; without one everything is selected. Throws RpcError
    // "missing-attribute" for an XPath filter without an expression.
    explicit Filter(const lyd_node* rpc);

    // Whether anything below the root of this name can be selected. What says no need not be read.
    [[nodiscard]] bool may_select(std::string_view space, std::string_view root) const;

    // The tree with its siblings, less what is not selected. An entry that is selected in part has its keys. Costs as
    // the tree. Throws RpcError "invalid-value" for an expression that cannot be evaluated or selects no nodes but a
    // number, a text or a truth value.
    [[nodiscard]] TreePtr selected_of(TreePtr data) const;

private:
    enum class Kind { none, subtree, xpath };

    Kind kind_ = Kind::none;
    std::vector<FilterNode> nodes_; // of a subtree filter
    std::string expression_;        // of an XPath filter, with module names as prefixes
    const lyd_node* rpc_ = nullptr;
};

} // namespace qnips
