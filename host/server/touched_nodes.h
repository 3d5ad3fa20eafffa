// Which nodes an edit has touched, in a form that outlives the edit: when it fails, what it has left on the device is
// looked for there and nowhere else.
#pragma once

#include <vector>

#include "server/change_set.h"
#include "server/config_tree.h"

namespace qnips
{

class TouchedNodes
{
public:
    explicit TouchedNodes(const ChangeSet& changes);

    // `before`, the configuration without the edit, but each touched node as `device` has it. What else the device has
    // or lacks does not count: it was so before the edit.
    [[nodiscard]] ConfigTree overlaid(const ConfigTree& before, const ConfigTree& device) const;

private:
    struct Node {
        TreePtr like;       // the node, of an entry with its keys
        bool whole = false; // with all below it; otherwise only `below`
        std::vector<Node> below;
        std::vector<TreePtr> reordered; // an entry of each user-ordered list below the node that may have another order
    };

    static Node node_of(const Change& change);
    static void overlay(const std::vector<Node>& nodes, ConfigTree& result, lyd_node* parent, const lyd_node* device);
    static void overlay(const Node& node, ConfigTree& result, lyd_node* parent, const lyd_node* device);
    static void reorder(const lyd_node* like, ConfigTree& result, lyd_node* parent, const lyd_node* device);

    std::vector<Node> roots_;
};

// A copy of a whole configuration.
ConfigTree copy_of(const ConfigTree& tree);

} // namespace qnips
