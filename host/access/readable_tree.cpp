#include "access/readable_tree.h"

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

class Reading
{
public:
    explicit Reading(UserRights& rights) : rights_(rights) {}

    // Whether the node stays; what may not be read below it is gone then.
    bool keep(lyd_node* node)
    {
        if (node->schema == nullptr) // unknown to the schema: no rule can be about it
            return false;
        line_.push_back(node);
        const bool kept = may_read(rights_, line_) && keep_content(node);
        line_.pop_back();
        return kept;
    }

private:
    bool keep_content(lyd_node* node)
    {
        lyd_node* next = nullptr;
        bool hides_something = false;
        for (lyd_node* child = lyd_child_no_keys(node); child != nullptr; child = next) {
            next = child->next;
            if (keep(child))
                continue;
            lyd_free_tree(child);
            hides_something = true;
        }
        return !hides_something || lyd_child(node) != nullptr || !lysc_is_np_cont(node->schema);
    }

    UserRights& rights_;
    std::vector<const lyd_node*> line_;
};

} // namespace

TreePtr readable_part(UserRights& rights, TreePtr tree)
{
    if (rights.are_unlimited())
        return tree;
    Reading reading(rights);
    lyd_node* first = tree.release();
    lyd_node* next = nullptr;
    for (lyd_node* root = first; root != nullptr; root = next) {
        next = root->next;
        if (reading.keep(root))
            continue;
        first = root == first ? next : first;
        lyd_free_tree(root);
    }
    return TreePtr(first);
}

} // namespace qnips
