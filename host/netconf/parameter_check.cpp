#include "netconf/parameter_check.h"

#include <libyang/libyang.h>

namespace qnips
{

bool can_stand_together(const lysc_node* one, const lysc_node* other)
{
    const auto is_branch = [](const lysc_node* node) {
        return node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
    };
    for (const lysc_node* a = one->parent; is_branch(a); a = a->parent)
        for (const lysc_node* b = other->parent; is_branch(b); b = b->parent)
            if (a != b && a->nodetype == LYS_CASE && b->nodetype == LYS_CASE && a->parent == b->parent)
                return false;
    return one != other || (one->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

} // namespace qnips
