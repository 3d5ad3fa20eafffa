// The nodes that one edit changes, as a tree from the roots of the configuration down.
//
// An edit is applied to the configuration in place. What it creates is inserted, what it removes stays linked and is
// only marked until the edit is committed, so one tree holds both the old and the new configuration:
//   the old one is the tree without the nodes whose change is ADD, with `old_value` for leaves that are MOD and with
//   the order that `old_order` knows; the new one is the tree without the nodes whose change is REM.
// `lyd_node::priv` of a changed node points to its Change and is null everywhere else.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "server/list_order.h"
#include "server/shared_text.h"
#include "transapi/edit_operation.h"

struct lyd_node;
struct lysc_node;

namespace qnips
{

// The two halves of a pass: callbacks with removal priorities see the old configuration, the others the new one.
enum class Phase { removal, set };

struct Change {
    const lysc_node* schema = nullptr;
    lyd_node* node = nullptr; // null once the change was taken back by a later part of the same edit
    Change* parent = nullptr; // null for a root only: every ancestor of a change is at least CHAIN
    std::vector<Change*> children;
    std::size_t index = 0; // its place in the set, below ChangeSet::size()

    unsigned bits = XMLDIFF_NONE; // XMLDIFF_OP: what the edit does to the data
    std::string old_value;        // canonical value before the edit, of a leaf with MOD

    // True for an entry or container that callbacks see removed and then created with all below it, whatever the edit
    // does to it, because a leaf without a callback of its own changed in it. Set on every node below it as well.
    bool replaced = false;

    [[nodiscard]] bool is(unsigned any_of) const { return (bits & any_of) != 0; }

    // The node's instance path, as an error-path shows it. Made once, from the parent's: a record of every callback
    // carries it.
    [[nodiscard]] const SharedText& path() const;

    // The operation that callbacks of a phase see.
    [[nodiscard]] unsigned op(Phase phase) const
    {
        if (!replaced)
            return bits;
        if (phase == Phase::removal)
            return is(XMLDIFF_ADD) ? XMLDIFF_NONE : XMLDIFF_REM;
        return is(XMLDIFF_REM) ? XMLDIFF_NONE : XMLDIFF_ADD;
    }

private:
    mutable SharedText path_;
};

// Owns the changes of one edit. Addresses stay valid while it lives.
class ChangeSet
{
public:
    // The change of `node`, made if there is none yet, with CHAIN on every ancestor that had none.
    Change& touch(lyd_node* node);

    // The change of `node`, or null.
    static Change* find(const lyd_node* node);

    // Takes back the change of one node (not of those below it): the node counts as untouched again.
    static void drop(Change& change);

    [[nodiscard]] const std::vector<Change*>& roots() const { return roots_; }
    [[nodiscard]] std::vector<Change*>& roots() { return roots_; }
    [[nodiscard]] bool empty() const { return roots_.empty(); }
    // How many changes were ever made, those taken back included.
    [[nodiscard]] std::size_t size() const { return changes_.size(); }

    // Where the entries of user-ordered lists stood before the edit.
    [[nodiscard]] const ListOrder& old_order() const { return old_order_; }
    [[nodiscard]] ListOrder& old_order() { return old_order_; }

    // Unties all changes from the tree, whose nodes must still exist, and forgets them.
    void clear();

private:
    std::deque<Change> changes_;
    std::vector<Change*> roots_;
    ListOrder old_order_;
};

// Asked about what an edit changes, before anything of it takes effect. Throws RpcError for what must not happen;
// nothing has changed then. An empty one lets everything pass.
using ChangeCheck = std::function<void(const ChangeSet&)>;

// What an edit that is being carried out asks of whoever wants it.
struct EditWatch {
    ChangeCheck check{};
    // Before each callback: whether to break off, and to take back what has taken effect. An empty one never does.
    std::function<bool()> aborts{};
};

} // namespace qnips
