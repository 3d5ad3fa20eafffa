// What the validation and the callbacks of an edit can reach: the changed nodes, their ancestors and what stands beside
// them. One walk serves both, so that they cannot disagree about it, and its cost follows the edit, not the
// configuration.
//
// Visited of every changed node and its ancestors: all leaves, all containers with their content, and those entries of
// lists and leaf-lists that are changed themselves, but never a whole list (unless the rules ask for it).
#pragma once

#include <functional>
#include <unordered_set>

#include "server/change_set.h"

namespace qnips
{

using SchemaNodeSet = std::unordered_set<const lysc_node*>;

struct ScopeRules {
    // Also visit, with its keys only, the entry that stands before a visited entry of a user-ordered list.
    bool preceding_entries = false;
    // For validation, else null: lists and leaf-lists of which every instance below a visited node is visited, changed
    // or not. Unchanged roots are visited then, too.
    const SchemaNodeSet* watched = nullptr;
};

// `change` is null for an unchanged node. In View::before a leaf with MOD still shows its new value in the tree, the
// old one is `change->old_value`.
using EnterNode = std::function<void(const lyd_node* node, const Change* change)>;
using LeaveNode = std::function<void(const lyd_node* node)>;

// Parents before children; children in schema order; entries of a user-ordered list in the order of the view, other
// entries in the order in which the edit touched them. Every visited node is entered and left once. In View::before
// nodes with ADD do not exist, in View::after nodes with REM do not.
void walk_scope(const ChangeSet& changes, View view, const ScopeRules& rules, const EnterNode& enter,
                const LeaveNode& leave);

} // namespace qnips
