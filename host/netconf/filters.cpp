#include "netconf/filters.h"

#include <algorithm>
#include <unordered_map>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/xml_text.h"
#include "server/edit_request.h"
#include "server/libyang_error.h"
#include "server/libyang_memory.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

const lyd_node_opaq* as_opaque(const lyd_node* node)
{
    return reinterpret_cast<const lyd_node_opaq*>(node);
}

bool is_term(const lyd_node* node)
{
    return node->schema != nullptr && (node->schema->nodetype & LYD_NODE_TERM) != 0;
}

std::string_view text_of(const lyd_node* node)
{
    if (is_term(node))
        return lyd_get_value(node);
    const char* value = node->schema == nullptr ? as_opaque(node)->value : nullptr;
    return value != nullptr ? value : "";
}

// Elements that do not fit the schema are part of a filter like all others: a list entry without its keys, a leaf
// without a value.
std::vector<FilterNode> filter_nodes(const lyd_node* first)
{
    std::vector<FilterNode> nodes;
    for (const lyd_node* node = first; node != nullptr; node = node->next)
        nodes.push_back({node_name(node), std::string(node_namespace(node)), std::string(trimmed(text_of(node))),
                         filter_nodes(lyd_child(node))});
    return nodes;
}

bool is_named(const lyd_node* data, const FilterNode& filter)
{
    return data->schema != nullptr && filter.name == data->schema->name &&
           (filter.space.empty() || filter.space == data->schema->module->ns);
}

bool has_value(const lyd_node* data, const std::string& text)
{
    return is_term(data) &&
           (lyd_get_value(data) == text ||
            lyd_value_compare(reinterpret_cast<const lyd_node_term*>(data), text.c_str(), text.size()) == LY_SUCCESS);
}

// The nodes that are selected.
class Selection
{
public:
    void add_whole(const lyd_node* node)
    {
        marks_[node] = Mark::whole;
        for (const lyd_node* parent = lyd_parent(node); parent != nullptr; parent = lyd_parent(parent))
            add_part(parent);
    }

    void add(const std::vector<FilterNode>& filters, const lyd_node* siblings)
    {
        for (const FilterNode& filter : filters)
            add_matches(filter, siblings);
    }

    void prune(lyd_node*& first) const
    {
        lyd_node* next = nullptr;
        for (lyd_node* node = first; node != nullptr; node = next) {
            next = node->next;
            const auto mark = marks_.find(node);
            if (mark == marks_.end() && !lysc_is_key(node->schema)) {
                first = node == first ? next : first;
                lyd_free_tree(node);
            } else if (mark != marks_.end() && mark->second == Mark::part) {
                lyd_node* child = lyd_child_no_keys(node);
                prune(child);
            }
        }
    }

private:
    enum class Mark { part, whole };

    void add_part(const lyd_node* node) { marks_.try_emplace(node, Mark::part); }

    bool add_matches(const FilterNode& filter, const lyd_node* siblings)
    {
        bool any = false;
        for (const lyd_node* node = siblings; node != nullptr; node = node->next)
            any = (is_named(node, filter) && add_node(filter, node)) || any;
        return any;
    }

    // RFC 6241, 6.2.2 to 6.2.5. Whether the node is selected, wholly or in part.
    bool add_node(const FilterNode& filter, const lyd_node* node)
    {
        if (filter.children.empty()) {
            if (filter.text.empty() || has_value(node, filter.text))
                marks_[node] = Mark::whole;
            return filter.text.empty() || has_value(node, filter.text);
        }
        const bool matches = std::all_of(filter.children.begin(), filter.children.end(), [&](const FilterNode& child) {
            return !child.is_content_match() || has_match(child, lyd_child(node));
        });
        if (!matches)
            return false;
        const bool content_only = std::all_of(filter.children.begin(), filter.children.end(),
                                              [](const FilterNode& child) { return child.is_content_match(); });
        if (content_only) {
            marks_[node] = Mark::whole;
            return true;
        }
        bool any = false;
        for (const FilterNode& child : filter.children)
            any = add_matches(child, lyd_child(node)) || any;
        if (any)
            add_part(node);
        return any;
    }

    static bool has_match(const FilterNode& filter, const lyd_node* siblings)
    {
        for (const lyd_node* node = siblings; node != nullptr; node = node->next)
            if (is_named(node, filter) && has_value(node, filter.text))
                return true;
        return false;
    }

    std::unordered_map<const lyd_node*, Mark> marks_;
};

SetPtr evaluate(const lyd_node* tree, const std::string& expression)
{
    ly_set* set = nullptr;
    const LY_ERR result = lyd_find_xpath3(nullptr, tree, expression.c_str(), nullptr, &set);
    SetPtr owner(set);
    if (result != LY_SUCCESS)
        throw RpcError("invalid-value", {},
                       fmt::format("the filter's expression selects no nodes: {}", last_message(LYD_CTX(tree)).text));
    return owner;
}

} // namespace

Filter::Filter(const lyd_node* rpc) : rpc_(rpc)
{
    const lyd_node* filter = find_child(rpc, "filter");
    if (filter == nullptr)
        return;
    const lyd_meta* type = lyd_find_meta(filter->meta, nullptr, "ietf-netconf:type");
    if (type != nullptr && std::string_view(lyd_get_meta_value(type)) == "xpath") {
        kind_ = Kind::xpath;
        const lyd_meta* select = lyd_find_meta(filter->meta, nullptr, "ietf-netconf:select");
        if (select == nullptr)
            throw RpcError("missing-attribute", instance_path(filter), "the XPath filter has no attribute \"select\"")
                .naming("select");
        expression_ = lyd_get_meta_value(select);
        return;
    }
    kind_ = Kind::subtree;
    const auto* any = reinterpret_cast<const lyd_node_any*>(filter);
    if (filter->schema != nullptr && any->value_type == LYD_ANYDATA_DATATREE)
        nodes_ = filter_nodes(any->value.tree);
}

bool Filter::may_select(std::string_view space, std::string_view root) const
{
    return kind_ != Kind::subtree || std::any_of(nodes_.begin(), nodes_.end(), [&](const FilterNode& node) {
               return node.name == root && (node.space.empty() || node.space == space);
           });
}

TreePtr Filter::selected_of(TreePtr data) const
{
    if (kind_ == Kind::none)
        return data;
    Selection selection;
    if (kind_ == Kind::subtree) {
        selection.add(nodes_, data.get());
    } else {
        // Where there are no data the request takes their place, so that a wrong expression is refused all the same.
        const auto found = evaluate(data != nullptr ? data.get() : rpc_, expression_);
        for (uint32_t i = 0; data != nullptr && i < found->count; ++i)
            selection.add_whole(found->dnodes[i]);
    }
    lyd_node* first = data.release();
    selection.prune(first);
    return TreePtr(first);
}

} // namespace qnips
