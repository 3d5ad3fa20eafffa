// The undo log of one edit, and the only hand that changes the running configuration: every step is done and remembered
// at once, so that going back is doing the opposite in reverse order and costs no more than the edit did.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "server/config_tree.h"

namespace qnips
{

class EditJournal
{
public:
    explicit EditJournal(ConfigTree& tree) : tree_(tree) {}

    // Links a new node (with its keys and nothing else below it); the tree owns it from now on.
    void insert(lyd_node* parent, TreePtr node);
    // Gives a leaf another value, canonical.
    void set_value(lyd_node* leaf, const std::string& value);
    // Moves an entry of a user-ordered list.
    void move_before(lyd_node* entry, lyd_node* anchor);
    void move_after(lyd_node* entry, lyd_node* anchor);
    void move_last(lyd_node* entry);
    // Takes a node of the edit's own making out again. It lives on in the journal until the edit is decided.
    void unlink(lyd_node* node);

    // Forgets the steps: the tree stays as it is.
    void commit();
    // Takes the steps back: values, flags, order and presence are what they were before the first one.
    void rollback();

private:
    struct Inserted {
        lyd_node* node;
    };
    struct Revalued {
        lyd_node* leaf;
        std::string value;
        std::uint32_t flags;
    };
    // Where an entry stood among the instances of its list.
    struct Place {
        lyd_node* parent;
        lyd_node* previous;
        lyd_node* next;
    };
    struct Moved {
        lyd_node* entry;
        Place place;
    };
    struct Unlinked {
        TreePtr node;
        Place place;
    };
    using Step = std::variant<Inserted, Revalued, Moved, Unlinked>;

    static Place place_of(const lyd_node* node);
    void take_back(Inserted& step);
    void take_back(Revalued& step);
    void take_back(Moved& step);
    void take_back(Unlinked& step);
    void settle(lyd_node* node, const Place& place);

    ConfigTree& tree_;
    std::vector<Step> steps_;
};

} // namespace qnips
