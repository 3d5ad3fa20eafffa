// The running configuration while an edit is applied to it: each method changes the tree, keeps the journal and marks
// the change in one go, so that the three never disagree.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "server/change_set.h"
#include "server/edit_journal.h"
#include "server/edit_node.h"

namespace qnips
{

class MarkedTree
{
public:
    MarkedTree(ConfigTree& tree, EditJournal& journal, ChangeSet& changes)
        : tree_(tree), journal_(journal), changes_(changes)
    {
    }

    // The instance below `parent` (null: among the roots) that the edit's node stands for, if it exists at this point
    // of the edit; or null. By hash: no list is searched.
    [[nodiscard]] lyd_node* find(const lyd_node* parent, const EditNode& edit) const;

    // The children of `parent` at this point of the edit, without keys.
    [[nodiscard]] std::vector<lyd_node*> content(const lyd_node* parent) const;

    // Makes the instance that the edit's node stands for, a leaf with its value, an entry with its keys. What the same
    // edit has removed comes back instead, without its former content.
    lyd_node* create(lyd_node* parent, const EditNode& edit);

    // Gives a leaf the value that it has in the edit.
    void set_value(lyd_node* leaf, const char* canonical);

    // Removes `node` and all below it.
    void remove(lyd_node* node);

    // Gives an entry of a user-ordered list its place.
    void place_first(lyd_node* entry);
    void place_last(lyd_node* entry);
    void place_before(lyd_node* entry, lyd_node* anchor);
    void place_after(lyd_node* entry, lyd_node* anchor);

    // The entry that `insert` names by its keys or its value, or null.
    [[nodiscard]] lyd_node* find_anchor(lyd_node* entry, const std::string& anchor) const;

    // To be called once, at the end: finds the entries that were moved, takes along containers that hold nothing any
    // longer, and drops what turned out to be no change.
    void settle();

private:
    // Entries of one list that existed before the edit and were placed by it.
    using ListKey = std::pair<const lyd_node*, const lysc_node*>;

    [[nodiscard]] lyd_node* find_linked(const lyd_node* parent, const EditNode& edit) const;
    lyd_node* first_instance(const lyd_node* entry) const;
    lyd_node* link_new(lyd_node* parent, const EditNode& edit);
    void revive(lyd_node* node, const EditNode& edit);
    void forget(lyd_node* node);
    static void drop_changes(lyd_node* node);
    void displace_other_cases(lyd_node* created);
    void displace_siblings(lyd_node* node, const lysc_node* branch);
    void begin_move(lyd_node* entry);
    void settle(Change& change);
    void settle_container(Change& change);

    ConfigTree& tree_;
    EditJournal& journal_;
    ChangeSet& changes_;
    std::map<ListKey, std::vector<lyd_node*>> placed_;
};

} // namespace qnips
