#include "server/edit_scope.h"

#include <algorithm>
#include <span>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

constexpr unsigned instance_kinds = LYS_LIST | LYS_LEAFLIST;

class ScopeWalk
{
public:
    ScopeWalk(const ListOrder& order, View view, const ScopeRules& rules, const EnterNode& enter,
              const LeaveNode& leave)
        : order_(order), view_(view), rules_(rules), enter_(enter), leave_(leave)
    {
    }

    void visit_roots(const std::vector<Change*>& roots)
    {
        if (roots.empty())
            return;
        // Containers, as a rule, and few.
        for (lyd_node* node = lyd_first_sibling(roots.front()->node); node != nullptr; node = node->next)
            if (visible(node, view_) && (ChangeSet::find(node) != nullptr || rules_.watched != nullptr))
                visit(node);
    }

private:
    void visit(lyd_node* node)
    {
        const Change* change = ChangeSet::find(node);
        enter_(node, change);
        if ((node->schema->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0) {
            if (change != nullptr && all_below_changed(*change))
                visit_all_children(node);
            else
                visit_children(node, change);
        }
        leave_(node);
    }

    // A subtree that exists in this view only consists of changed nodes, which stand in schema order already.
    [[nodiscard]] bool all_below_changed(const Change& change) const
    {
        return change.is(view_ == View::after ? XMLDIFF_ADD : XMLDIFF_REM) && (view_ == View::after || order_.empty());
    }

    void visit_all_children(const lyd_node* parent)
    {
        for (lyd_node* node = lyd_child(parent); node != nullptr; node = node->next)
            if (visible(node, view_))
                visit(node);
    }

    // Goes by the schema and looks each child up by hash: the instances of a long list between them are not passed.
    void visit_children(const lyd_node* parent, const Change* change)
    {
        std::vector<lyd_node*> touched = touched_instances(change);
        const lysc_node* schema = nullptr;
        while ((schema = lys_getnext(schema, parent->schema, nullptr, 0)) != nullptr) {
            if ((schema->nodetype & instance_kinds) == 0) {
                lyd_node* node = nullptr;
                lyd_find_sibling_val(lyd_child(parent), schema, nullptr, 0, &node);
                if (node != nullptr && visible(node, view_))
                    visit(node);
            } else if (rules_.watched != nullptr && rules_.watched->contains(schema)) {
                visit_every_instance(parent, schema);
            } else {
                const auto [first, last] = std::equal_range(touched.begin(), touched.end(), schema, BySchema{});
                visit_instances(std::span<lyd_node*>(first, last));
            }
        }
    }

    struct BySchema {
        bool operator()(const lyd_node* left, const lyd_node* right) const { return left->schema < right->schema; }
        bool operator()(const lyd_node* left, const lysc_node* right) const { return left->schema < right; }
        bool operator()(const lysc_node* left, const lyd_node* right) const { return left < right->schema; }
    };

    // The changed list and leaf-list instances below a node, list by list, each in the order the edit touched them.
    [[nodiscard]] std::vector<lyd_node*> touched_instances(const Change* change) const
    {
        std::vector<lyd_node*> touched;
        if (change == nullptr)
            return touched;
        for (const Change* child : change->children)
            if ((child->schema->nodetype & instance_kinds) != 0 && visible(child->node, view_))
                touched.push_back(child->node);
        std::stable_sort(touched.begin(), touched.end(), BySchema{});
        return touched;
    }

    void visit_every_instance(const lyd_node* parent, const lysc_node* schema)
    {
        lyd_node* first = nullptr;
        lyd_find_sibling_val(lyd_child(parent), schema, nullptr, 0, &first);
        if (first == nullptr)
            return;
        for (lyd_node* node : order_.entries(first, view_))
            visit(node);
    }

    void visit_instances(std::span<lyd_node*> touched)
    {
        if (touched.empty())
            return;
        if (!lysc_is_userordered(touched.front()->schema)) {
            for (lyd_node* node : touched)
                visit(node);
            return;
        }
        // One entry needs no walk of its list to be in order.
        if (touched.size() > 1)
            sort_by_position(touched);
        const lyd_node* last = nullptr;
        for (lyd_node* node : touched) {
            const lyd_node* previous = order_.previous(node, view_);
            if (rules_.preceding_entries && previous != nullptr && previous != last)
                visit_keys(previous);
            visit(node);
            last = node;
        }
    }

    void sort_by_position(std::span<lyd_node*> touched) const
    {
        const std::unordered_set<const lyd_node*> wanted(touched.begin(), touched.end());
        auto next = touched.begin();
        for (lyd_node* entry : order_.entries(touched.front(), view_))
            if (wanted.contains(entry))
                *next++ = entry;
    }

    void visit_keys(const lyd_node* entry)
    {
        enter_(entry, nullptr);
        for (const lyd_node* key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema); key = key->next) {
            enter_(key, nullptr);
            leave_(key);
        }
        leave_(entry);
    }

    const ListOrder& order_;
    View view_;
    const ScopeRules& rules_;
    const EnterNode& enter_;
    const LeaveNode& leave_;
};

} // namespace

void walk_scope(const ChangeSet& changes, View view, const ScopeRules& rules, const EnterNode& enter,
                const LeaveNode& leave)
{
    ScopeWalk(changes.old_order(), view, rules, enter, leave).visit_roots(changes.roots());
}

} // namespace qnips
