#include "server/touched_nodes.h"

#include <algorithm>
#include <unordered_set>

#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

namespace
{

constexpr unsigned whole_bits = XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_MOD;

TreePtr copy_single(const lyd_node* node, uint32_t depth)
{
    lyd_node* copy = nullptr;
    check(lyd_dup_single(node, nullptr, LYD_DUP_NO_META | depth, &copy), node, "copy");
    return TreePtr(copy);
}

bool changes_order(const Change& change)
{
    return lysc_is_userordered(change.schema) &&
           (change.is(XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_SIBLING) || change.replaced);
}

lyd_node* counterpart(const lyd_node* siblings, const lyd_node* node)
{
    return siblings != nullptr ? find_counterpart(siblings, node) : nullptr;
}

} // namespace

TouchedNodes::TouchedNodes(const ChangeSet& changes)
{
    for (const Change* root : changes.roots())
        roots_.push_back(node_of(*root));
}

TouchedNodes::Node TouchedNodes::node_of(const Change& change)
{
    Node node;
    node.like = copy_single(change.node, 0);
    node.whole = change.is(whole_bits) || change.replaced;
    if (node.whole)
        return node;
    for (const Change* child : change.children) {
        if (lysc_is_key(child->schema))
            continue;
        node.below.push_back(node_of(*child));
        const auto same_list = [&](const TreePtr& entry) { return entry->schema == child->schema; };
        if (changes_order(*child) && std::none_of(node.reordered.begin(), node.reordered.end(), same_list))
            node.reordered.push_back(copy_single(child->node, 0));
    }
    return node;
}

ConfigTree TouchedNodes::overlaid(const ConfigTree& before, const ConfigTree& device) const
{
    ConfigTree result = copy_of(before);
    overlay(roots_, result, nullptr, device.first());
    return result;
}

void TouchedNodes::overlay(const std::vector<Node>& nodes, ConfigTree& result, lyd_node* parent, const lyd_node* device)
{
    for (const Node& node : nodes)
        overlay(node, result, parent, device);
}

void TouchedNodes::overlay(const Node& node, ConfigTree& result, lyd_node* parent, const lyd_node* device)
{
    lyd_node* mine = counterpart(result.children(parent), node.like.get());
    const lyd_node* its = counterpart(device, node.like.get());
    const bool container = lysc_is_np_cont(node.like->schema);
    if (mine != nullptr && (node.whole || (its == nullptr && !container))) {
        result.extract(mine);
        mine = nullptr;
    }
    if (mine == nullptr && its != nullptr) {
        result.insert(parent, copy_single(its, node.whole ? LYD_DUP_RECURSIVE : 0U).release());
        mine = counterpart(result.children(parent), node.like.get());
    }
    if (mine == nullptr || node.whole)
        return;
    overlay(node.below, result, mine, its != nullptr ? lyd_child(its) : nullptr);
    for (const TreePtr& entry : node.reordered)
        reorder(entry.get(), result, mine, its != nullptr ? lyd_child(its) : nullptr);
    if (container && lyd_child(mine) == nullptr)
        result.extract(mine);
}

// The entries of one list that both have, in the order of the device's; what it lacks keeps its place between them.
void TouchedNodes::reorder(const lyd_node* like, ConfigTree& result, lyd_node* parent, const lyd_node* device)
{
    std::vector<lyd_node*> common;
    for (; device != nullptr; device = device->next) {
        lyd_node* mine = device->schema == like->schema ? counterpart(result.children(parent), device) : nullptr;
        if (mine != nullptr)
            common.push_back(mine);
    }
    const std::unordered_set<const lyd_node*> shared(common.begin(), common.end());
    std::vector<lyd_node*> order;
    auto next = common.begin();
    for (lyd_node* mine = result.children(parent); mine != nullptr; mine = mine->next) {
        if (mine->schema == like->schema)
            order.push_back(shared.contains(mine) ? *next++ : mine);
    }
    for (lyd_node* entry : order)
        result.insert(parent, result.extract(entry).release());
}

ConfigTree copy_of(const ConfigTree& tree)
{
    lyd_node* copy = nullptr;
    if (tree.first() != nullptr)
        check(lyd_dup_siblings(tree.first(), nullptr, LYD_DUP_RECURSIVE | LYD_DUP_NO_META, &copy), tree.first(),
              "copy");
    return ConfigTree(TreePtr(copy));
}

} // namespace qnips
