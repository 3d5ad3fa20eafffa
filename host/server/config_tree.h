// The configuration as one data tree of explicit nodes: no implicit defaults, no empty non-presence containers.
#pragma once

#include "server/yang_schema.h"

namespace qnips
{

// The node among `siblings`, perhaps of another tree, that stands for the same node of the configuration as `node`: the
// one of the same schema node, in a list the one with the same keys, in a leaf-list the one with the same value; or
// null. By hash, so that no list is searched.
lyd_node* find_counterpart(const lyd_node* siblings, const lyd_node* node);

class ConfigTree
{
public:
    ConfigTree() = default;
    explicit ConfigTree(TreePtr tree) : tree_(std::move(tree)) {}

    // The first root, null for an empty configuration.
    [[nodiscard]] lyd_node* first() const { return tree_.get(); }

    // The first child of `parent`; the first root if `parent` is null.
    [[nodiscard]] lyd_node* children(const lyd_node* parent) const;

    // Links `node` below `parent` (null: as a root), behind the instances of its list, else in schema order.
    void insert(lyd_node* parent, lyd_node* node);

    // Takes `node` with all below it out of the tree and returns it.
    TreePtr extract(lyd_node* node);

    TreePtr release() { return std::move(tree_); }

    // To be called when roots have changed their order by other means than this class.
    void find_first();

private:
    TreePtr tree_;
};

} // namespace qnips
