// The commands that the device knows, as a table: the view, what the line looks like, and what it does to which node of
// the configuration.
#pragma once

#include <span>
#include <string_view>

#include "platform/command_pattern.h"

namespace qnips
{

// Where a line is executed. The node of a row's command is below the view's node.
enum class CommandView {
    device,        // the device itself
    vsys,          // a virtual system
    management,    // a virtual system, seen from the root system
    profile,       // a profile
    signature_set, // a signature set of a profile
    signature,     // a user-defined signature
    rule,          // a rule of a signature
};

// How messages and tests call it.
std::string_view name_of(CommandView view);

enum class Meaning {
    create,      // an entry, which may be there already
    remove,      // something that has to be there
    clear,       // something that may be there
    set,         // the line's parts become leaves of the node
    replace,     // the same, and leaves that the line could carry and does not go
    move_after,  // an entry of an ordered list, in front of or behind another one
    move_before, //
    select_all,  // everything, in place of single entries
    select_none, // nothing: neither everything nor single entries
    select,      // a single entry, in place of everything
    category,    // a category or a sub-category
    undo_category,
    create_rule,       // a rule, of the kind that the signature has
    remove_rule,       //
    address,           // one address, or a range
    undo_address,      //
    undo_request_type, // an entry that is named by both its ends
};

// What a line does. In `node` a step `entry[part]` is the entry whose key is that part of the line. `constant` is a
// leaf that a line stands for without naming it: "leaf=value", or "leaf=<part>" for the value of a part when the leaf's
// own is missing.
struct Command {
    CommandView view;
    CommandPattern pattern;
    Meaning meaning;
    std::string_view node;
    std::string_view constant = {};
};

std::span<const Command> commands();

} // namespace qnips
