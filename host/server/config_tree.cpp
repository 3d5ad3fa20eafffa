#include "server/config_tree.h"

#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

lyd_node* find_counterpart(const lyd_node* siblings, const lyd_node* node)
{
    lyd_node* found = nullptr;
    if ((node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0)
        lyd_find_sibling_first(siblings, node, &found);
    else // libyang would compare the values of leaves as well
        lyd_find_sibling_val(siblings, node->schema, nullptr, 0, &found);
    return found;
}

lyd_node* ConfigTree::children(const lyd_node* parent) const
{
    return parent != nullptr ? lyd_child(parent) : first();
}

void ConfigTree::insert(lyd_node* parent, lyd_node* node)
{
    if (parent != nullptr) {
        check(lyd_insert_child(parent, node), node, "insert");
        return;
    }
    lyd_node* first = tree_.release();
    const LY_ERR result = lyd_insert_sibling(first, node, &first);
    tree_.reset(first);
    check(result, node, "insert");
}

TreePtr ConfigTree::extract(lyd_node* node)
{
    lyd_node* first = tree_.release();
    if (node == first)
        first = first->next;
    lyd_unlink_tree(node);
    tree_.reset(first);
    return TreePtr(node);
}

void ConfigTree::find_first()
{
    tree_.reset(lyd_first_sibling(tree_.release()));
}

} // namespace qnips
