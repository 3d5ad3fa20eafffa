// The order of user-ordered lists (RFC 7950, 7.7.1): what it was before an edit, and which entries an edit has moved.
//
// A move of one entry must not cost a walk of its list. So the old order is kept only as the differences from the
// present one: for each entry that got another predecessor, the predecessor it had.
#pragma once

#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

struct lyd_node;

namespace qnips
{

// The configuration before an edit or after it: without what the edit adds, or without what it removes.
enum class View { before, after };

// The instance of the same list or leaf-list that stands directly before or after `entry`, marked ones included; or
// null.
lyd_node* linked_previous(const lyd_node* entry);
lyd_node* linked_next(const lyd_node* entry);

// Whether `node` exists in that view.
bool visible(const lyd_node* node, View view);

class ListOrder
{
public:
    // To be called before `entry` leaves its place, and after it has come to one.
    void leaving(lyd_node* entry);
    void arrived(lyd_node* entry);

    // The entry that stands before `entry` in that view, of which `entry` itself is part; null if it is the first.
    [[nodiscard]] lyd_node* previous(const lyd_node* entry, View view) const;

    // All entries of the list of `any_entry` in the order of that view. Costs a walk of the list.
    [[nodiscard]] std::vector<lyd_node*> entries(lyd_node* any_entry, View view) const;

    // Of the existing entries of one list that the edit has `placed`, and those it has not: the smallest set of entries
    // whose move explains the new order. One placed entry costs no walk of the list.
    [[nodiscard]] std::vector<lyd_node*> moved(const std::vector<lyd_node*>& placed) const;

    [[nodiscard]] bool empty() const { return old_previous_.empty(); }
    void clear() { old_previous_.clear(); }

private:
    void remember(const lyd_node* entry, lyd_node* previous);

    std::unordered_map<const lyd_node*, lyd_node*> old_previous_;
};

// The idea behind `moved`, without nodes. `old_positions` lists the entries in their new order, each by its place in
// the old order; `placed` tells which ones the edit has placed itself. The result tells for each entry whether it has
// to move: the others are a longest increasing subsequence, and among those the one with the fewest placed entries.
std::vector<bool> smallest_move(std::span<const std::size_t> old_positions, const std::vector<bool>& placed);

} // namespace qnips
