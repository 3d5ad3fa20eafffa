#include "server/edit_journal.h"

#include <libyang/libyang.h>

#include "server/libyang_error.h"
#include "server/list_order.h"

namespace qnips
{

namespace
{

// libyang marks what was not validated yet; the marks steer what a later validation may delete by itself.
void clear_new(lyd_node* node)
{
    node->flags &= ~static_cast<std::uint32_t>(LYD_NEW);
    for (lyd_node* key = lyd_child(node); key != nullptr && lysc_is_key(key->schema); key = key->next)
        key->flags &= ~static_cast<std::uint32_t>(LYD_NEW);
}

} // namespace

void EditJournal::insert(lyd_node* parent, TreePtr node)
{
    steps_.emplace_back(Inserted{node.get()});
    tree_.insert(parent, node.release());
}

void EditJournal::set_value(lyd_node* leaf, const std::string& value)
{
    steps_.emplace_back(Revalued{leaf, lyd_get_value(leaf), leaf->flags});
    change_value(leaf, value.c_str());
}

void EditJournal::move_before(lyd_node* entry, lyd_node* anchor)
{
    steps_.emplace_back(Moved{entry, place_of(entry)});
    check(lyd_insert_before(anchor, entry), entry, "move");
    tree_.find_first();
}

void EditJournal::move_after(lyd_node* entry, lyd_node* anchor)
{
    steps_.emplace_back(Moved{entry, place_of(entry)});
    check(lyd_insert_after(anchor, entry), entry, "move");
    tree_.find_first();
}

void EditJournal::move_last(lyd_node* entry)
{
    steps_.emplace_back(Moved{entry, place_of(entry)});
    lyd_node* parent = lyd_parent(entry);
    tree_.insert(parent, tree_.extract(entry).release());
}

void EditJournal::unlink(lyd_node* node)
{
    const Place place = place_of(node);
    steps_.emplace_back(Unlinked{tree_.extract(node), place});
}

void EditJournal::commit()
{
    for (const Step& step : steps_) {
        if (const auto* inserted = std::get_if<Inserted>(&step))
            clear_new(inserted->node);
        else if (const auto* revalued = std::get_if<Revalued>(&step))
            clear_new(revalued->leaf);
    }
    steps_.clear();
}

void EditJournal::rollback()
{
    for (; !steps_.empty(); steps_.pop_back())
        std::visit([this](auto& step) { take_back(step); }, steps_.back());
}

EditJournal::Place EditJournal::place_of(const lyd_node* node)
{
    return {lyd_parent(node), linked_previous(node), linked_next(node)};
}

void EditJournal::take_back(Inserted& step)
{
    tree_.extract(step.node);
}

void EditJournal::take_back(Revalued& step)
{
    change_value(step.leaf, step.value.c_str());
    step.leaf->flags = step.flags;
}

void EditJournal::take_back(Moved& step)
{
    settle(step.entry, step.place);
}

void EditJournal::take_back(Unlinked& step)
{
    lyd_node* node = step.node.get();
    tree_.insert(step.place.parent, step.node.release());
    settle(node, step.place);
}

void EditJournal::settle(lyd_node* node, const Place& place)
{
    // Only in a user-ordered list does the place among its instances mean anything, and only there can it be chosen.
    if (!lysc_is_userordered(node->schema))
        return;
    if (place.previous != nullptr)
        check(lyd_insert_after(place.previous, node), node, "move back");
    else if (place.next != nullptr)
        check(lyd_insert_before(place.next, node), node, "move back");
    tree_.find_first();
}

} // namespace qnips
