#include "server/list_order.h"

#include <algorithm>
#include <unordered_set>

#include <libyang/libyang.h>

#include "server/change_set.h"

namespace qnips
{

namespace
{

// A node that is replaced as a whole exists before and after: REM in the removal phase, ADD in the set phase.
bool added(const lyd_node* node)
{
    const Change* change = ChangeSet::find(node);
    return change != nullptr && change->is(XMLDIFF_ADD);
}

bool removed(const lyd_node* node)
{
    const Change* change = ChangeSet::find(node);
    return change != nullptr && change->is(XMLDIFF_REM);
}

// Prefix maxima over weights (a Fenwick tree), each with the element it belongs to.
class BestPrefix
{
public:
    struct Best {
        std::size_t weight = 0;
        std::size_t element = npos;
    };
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    explicit BestPrefix(std::size_t size) : best_(size + 1) {}

    void raise(std::size_t position, Best best)
    {
        for (std::size_t i = position + 1; i < best_.size(); i += i & (~i + 1))
            if (best.weight > best_[i].weight)
                best_[i] = best;
    }

    [[nodiscard]] Best below(std::size_t position) const
    {
        Best best;
        for (std::size_t i = position; i > 0; i -= i & (~i + 1))
            if (best_[i].weight > best.weight)
                best = best_[i];
        return best;
    }

private:
    std::vector<Best> best_;
};

} // namespace

lyd_node* linked_previous(const lyd_node* entry)
{
    lyd_node* previous = entry->prev; // of a first sibling this is the last one
    return previous->next != nullptr && previous->schema == entry->schema ? previous : nullptr;
}

lyd_node* linked_next(const lyd_node* entry)
{
    return entry->next != nullptr && entry->next->schema == entry->schema ? entry->next : nullptr;
}

bool visible(const lyd_node* node, View view)
{
    return view == View::before ? !added(node) : !removed(node);
}

void ListOrder::remember(const lyd_node* entry, lyd_node* previous)
{
    // An entry without a record still stands behind its old predecessor, so the first record is the old place.
    if (!added(entry))
        old_previous_.try_emplace(entry, previous);
}

void ListOrder::leaving(lyd_node* entry)
{
    remember(entry, linked_previous(entry));
    if (lyd_node* next = linked_next(entry))
        remember(next, entry);
}

void ListOrder::arrived(lyd_node* entry)
{
    if (lyd_node* next = linked_next(entry))
        remember(next, linked_previous(entry));
}

lyd_node* ListOrder::previous(const lyd_node* entry, View view) const
{
    if (view == View::after) {
        lyd_node* previous = linked_previous(entry);
        while (previous != nullptr && removed(previous))
            previous = linked_previous(previous);
        return previous;
    }
    const auto known = old_previous_.find(entry);
    lyd_node* previous = known != old_previous_.end() ? known->second : linked_previous(entry);
    return previous;
}

std::vector<lyd_node*> ListOrder::entries(lyd_node* any_entry, View view) const
{
    lyd_node* first = any_entry;
    while (lyd_node* previous = linked_previous(first))
        first = previous;

    std::vector<lyd_node*> result;
    for (lyd_node* entry = first; entry != nullptr; entry = linked_next(entry))
        if (visible(entry, view))
            result.push_back(entry);
    if (view == View::after || empty())
        return result;

    std::unordered_map<const lyd_node*, lyd_node*> follower;
    for (lyd_node* entry : result)
        follower.emplace(previous(entry, View::before), entry);
    result.clear();
    for (auto next = follower.find(nullptr); next != follower.end(); next = follower.find(next->second))
        result.push_back(next->second);
    return result;
}

std::vector<lyd_node*> ListOrder::moved(const std::vector<lyd_node*>& placed) const
{
    if (placed.empty())
        return {};
    if (placed.size() == 1) {
        lyd_node* old_neighbour = previous(placed.front(), View::before);
        while (old_neighbour != nullptr && removed(old_neighbour))
            old_neighbour = previous(old_neighbour, View::before);
        lyd_node* new_neighbour = previous(placed.front(), View::after);
        while (new_neighbour != nullptr && added(new_neighbour))
            new_neighbour = previous(new_neighbour, View::after);
        return old_neighbour == new_neighbour ? std::vector<lyd_node*>{} : placed;
    }

    std::unordered_map<const lyd_node*, std::size_t> old_position;
    for (const lyd_node* entry : entries(placed.front(), View::before))
        old_position.emplace(entry, old_position.size());
    const std::unordered_set<const lyd_node*> placed_set(placed.begin(), placed.end());

    std::vector<lyd_node*> kept = entries(placed.front(), View::after);
    std::erase_if(kept, added);
    std::vector<std::size_t> positions;
    std::vector<bool> is_placed;
    for (const lyd_node* entry : kept) {
        positions.push_back(old_position.at(entry));
        is_placed.push_back(placed_set.contains(entry));
    }

    const std::vector<bool> moves = smallest_move(positions, is_placed);
    std::vector<lyd_node*> result;
    for (std::size_t i = 0; i < kept.size(); ++i)
        if (moves[i])
            result.push_back(kept[i]);
    return result;
}

std::vector<bool> smallest_move(std::span<const std::size_t> old_positions, const std::vector<bool>& placed)
{
    // The longest subsequence wins; one entry more outweighs any number of entries that the edit has not placed.
    const std::size_t count = old_positions.size();
    const std::size_t entry_weight = count + 1;
    const std::size_t range = count == 0 ? 0 : *std::max_element(old_positions.begin(), old_positions.end()) + 1;

    BestPrefix best(range);
    std::vector<std::size_t> predecessor(count);
    for (std::size_t i = 0; i < count; ++i) {
        const BestPrefix::Best before = best.below(old_positions[i]);
        predecessor[i] = before.element;
        best.raise(old_positions[i], {before.weight + entry_weight + (placed[i] ? 0 : 1), i});
    }

    std::vector<bool> moves(count, true);
    for (std::size_t i = best.below(range).element; i != BestPrefix::npos; i = predecessor[i])
        moves[i] = false;
    return moves;
}

} // namespace qnips
