#include "server/callback_plan.h"

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_set>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

using Buckets = std::map<int, std::vector<CallbackStep>, std::greater<>>;

void add_rows(Buckets& buckets, const NodeTable& table, const Change* change, Phase phase)
{
    if (change->op(phase) == XMLDIFF_NONE)
        return;
    for (const Row& row : table.rows(change->schema, phase))
        buckets[row.priority].push_back({change, &row, phase});
}

// The changes that `own` has stand first, in its order; those that only the other document has follow. Their rows have
// nothing to do in this phase, but the module is told all the same.
void add_phase(Buckets& buckets, const NodeTable& table, Phase phase, const std::vector<const Change*>& ordered,
               const CallbackDocument& own, const std::vector<const Change*>& others)
{
    for (const Change* change : ordered)
        add_rows(buckets, table, change, phase);
    for (const Change* change : others) {
        if (own.element(*change) == nullptr)
            add_rows(buckets, table, change, phase);
    }
}

const Change* speaker_of(const Change* leaf, const lysc_node* speaker)
{
    const Change* change = leaf->parent;
    while (change != nullptr && change->schema != speaker)
        change = change->parent;
    return change;
}

// An ancestor that comes or goes with the edit speaks for everything in it already.
bool comes_or_goes(const Change* change)
{
    for (; change != nullptr; change = change->parent) {
        if (change->is(XMLDIFF_ADD) || change->is(XMLDIFF_REM))
            return true;
    }
    return false;
}

void replace(ChangeSet& changes, lyd_node* node)
{
    changes.touch(node).replaced = true;
    lyd_node* child = nullptr;
    LY_LIST_FOR(lyd_child(node), child) replace(changes, child);
}

void find_replaced(const Change* change, const NodeTable& table, std::unordered_set<const Change*>& found)
{
    constexpr unsigned own_changes = XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_MOD;
    if ((change->bits & own_changes) != 0 && table.speaks_through_parent(change->schema)) {
        const Change* speaker = speaker_of(change, table.speaker(change->schema));
        if (speaker != nullptr && !comes_or_goes(speaker))
            found.insert(speaker);
    }
    for (const Change* child : change->children)
        find_replaced(child, table, found);
}

} // namespace

std::vector<CallbackStep> plan_callbacks(const ChangeSet& changes, const NodeTable& table,
                                         const CallbackDocument& before, const CallbackDocument& after)
{
    Buckets buckets;
    add_phase(buckets, table, Phase::removal, before.in_reverse(), before, after.in_reverse());
    add_phase(buckets, table, Phase::set, after.in_order(), after, before.in_order());

    std::vector<CallbackStep> plan;
    plan.reserve(2 * changes.size());
    for (const auto& [priority, steps] : buckets)
        plan.insert(plan.end(), steps.begin(), steps.end());
    return plan;
}

void mark_replaced(ChangeSet& changes, const NodeTable& table)
{
    std::unordered_set<const Change*> found;
    for (const Change* root : changes.roots())
        find_replaced(root, table, found);
    for (const Change* speaker : found)
        replace(changes, speaker->node);
}

void mark_replaced(ChangeSet& changes, const std::vector<std::string>& paths)
{
    for (const std::string& path : paths) {
        lyd_node* node = nullptr; // for a path that leads nowhere the last node on the way
        const bool found =
            !changes.empty() && lyd_find_path(changes.roots().front()->node, path.c_str(), 0, &node) == LY_SUCCESS;
        const Change* change = found ? ChangeSet::find(node) : nullptr;
        if (change != nullptr && !comes_or_goes(change))
            replace(changes, node);
    }
}

} // namespace qnips
