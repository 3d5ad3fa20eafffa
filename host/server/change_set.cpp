#include "server/change_set.h"

#include <libyang/libyang.h>

namespace qnips
{

Change& ChangeSet::touch(lyd_node* node)
{
    if (Change* known = find(node))
        return *known;

    Change& change = changes_.emplace_back();
    change.schema = node->schema;
    change.node = node;
    change.index = changes_.size() - 1;
    node->priv = &change;
    if (lyd_node* parent = lyd_parent(node)) {
        change.parent = &touch(parent);
        if (!change.parent->is(XMLDIFF_ADD | XMLDIFF_REM))
            change.parent->bits |= XMLDIFF_CHAIN;
        change.parent->children.push_back(&change);
    } else {
        roots_.push_back(&change);
    }
    return change;
}

Change* ChangeSet::find(const lyd_node* node)
{
    return static_cast<Change*>(node->priv);
}

void ChangeSet::drop(Change& change)
{
    change.node->priv = nullptr;
    change.node = nullptr;
}

void ChangeSet::clear()
{
    for (Change& change : changes_)
        if (change.node != nullptr)
            change.node->priv = nullptr;
    changes_.clear();
    roots_.clear();
    old_order_.clear();
}

} // namespace qnips
