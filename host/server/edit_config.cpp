// How an edit becomes a tree of changes.
//
// The edit's tree is walked once, top down, beside the running tree. For each node of the edit the instance it stands
// for is looked up by hash among the children of its parent's instance; what is found, and the operation in force (RFC
// 6241, 7.2), decide what happens:
//
//                    instance exists                   instance does not exist
//     merge          leaf: new value; else descend     create, descend
//     replace        the same, after removing what     create, descend
//                    the edit does not have
//     create         data-exists                       create, descend
//     delete         remove                            data-missing
//     remove         remove                            nothing
//     none           descend                           data-missing
//
// Nothing is looked at that the edit does not name, except what a `replace` has to remove. So the cost follows the
// edit.
//
// The walk does not build a second tree. It marks: created nodes are linked at once and count as ADD, removed nodes
// stay linked and count as REM until commit. A REM node is absent to every later look-up; when the same edit creates it
// again it is revived, and what is then left of the difference are MOD leaves and REM children. A node that the edit
// has created and removes again disappears from the tree and from the changes. Both make the changes the net
// difference, whatever detours the edit took.
//
// Three things are only known when the walk is over, and are settled bottom-up over the changes, never over the tree:
// which entries of user-ordered lists were moved (the smallest set that explains the new order), which containers
// without presence have lost their last content and go with it, and which marks turned out to mean nothing.
//
// A container without presence neither exists nor is missing by itself (RFC 7950, 7.5.1): under `none` one that is not
// there is no error, it is linked for what may come below it and disappears again in the settling if nothing does.
#include "server/edit_config.h"

#include <algorithm>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/marked_tree.h"

namespace qnips
{

namespace
{

EditOperation initial_operation(DefaultOperation operation)
{
    switch (operation) {
    case DefaultOperation::replace:
        return EditOperation::replace;
    case DefaultOperation::none:
        return EditOperation::none;
    case DefaultOperation::merge:
        break;
    }
    return EditOperation::merge;
}

[[noreturn]] void refuse_missing(const EditNode& edit)
{
    throw RpcError("data-missing", edit_path(edit.node),
                   fmt::format("the node does not exist (operation {})", operation_word(edit.operation)));
}

class EditWalk
{
public:
    EditWalk(ConfigTree& tree, EditJournal& journal, ChangeSet& changes) : tree_(tree, journal, changes) {}

    void apply(const EditRequest& request)
    {
        const EditOperation operation = initial_operation(request.default_operation);
        const std::vector<EditNode> roots = read_edit_roots(request.edit, operation, &errors_);
        apply_siblings(roots, request.edit, nullptr, operation == EditOperation::replace);
        errors_.throw_all();
        tree_.settle();
    }

private:
    // `replaces`: the nodes of the edit are all that is to be left below `parent`, and their order is the new one.
    void apply_siblings(const std::vector<EditNode>& edits, const lyd_node* first, lyd_node* parent, bool replaces)
    {
        if (replaces)
            remove_others(edits, first, parent);
        for (const EditNode& edit : edits) {
            try {
                apply_one(parent, edit, replaces);
            } catch (const RpcError& error) {
                errors_.add(error);
            }
        }
    }

    void apply_one(lyd_node* parent, const EditNode& edit, bool replaces)
    {
        lyd_node* node = apply_node(parent, edit);
        if (node == nullptr || !lysc_is_userordered(edit.schema))
            return;
        if (edit.insert != InsertAt::unspecified)
            insert(node, edit);
        else if (replaces)
            tree_.place_last(node);
    }

    // The instance that is left, null if none is.
    lyd_node* apply_node(lyd_node* parent, const EditNode& edit)
    {
        lyd_node* node = tree_.find(parent, edit);
        switch (edit.operation) {
        case EditOperation::delete_existing:
        case EditOperation::remove:
            remove(node, edit);
            return nullptr;
        case EditOperation::create:
            if (node != nullptr)
                throw RpcError("data-exists", edit_path(edit.node), "the node exists already (operation create)");
            break;
        case EditOperation::none:
            if (node == nullptr && !lysc_is_np_cont(edit.schema))
                refuse_missing(edit);
            break;
        case EditOperation::merge:
        case EditOperation::replace:
            break;
        }

        const bool existed = node != nullptr;
        if (!existed)
            node = tree_.create(parent, edit);
        if (edit.schema->nodetype == LYS_LEAF && edit.operation != EditOperation::none)
            tree_.set_value(node, lyd_get_value(edit.node));
        else if ((edit.schema->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0)
            apply_siblings(read_edit_children(edit, &errors_), lyd_child(edit.node), node,
                           existed && edit.operation == EditOperation::replace);
        return node;
    }

    void remove(lyd_node* node, const EditNode& edit)
    {
        check_removed_content(edit);
        if (node != nullptr)
            tree_.remove(node);
        else if (edit.operation == EditOperation::delete_existing)
            refuse_missing(edit);
    }

    // What stands in an edit below a node to be removed goes with it; an operation of its own would contradict that.
    static void check_removed_content(const EditNode& edit)
    {
        if (edit.node->schema == nullptr)
            return;
        for (const EditNode& child : read_edit_children(edit)) {
            if (child.operation != edit.operation)
                throw RpcError("bad-attribute", edit_path(child.node),
                               fmt::format("operation {} below a node with operation {}",
                                           operation_word(child.operation), operation_word(edit.operation)))
                    .naming("operation");
            check_removed_content(child);
        }
    }

    void remove_others(const std::vector<EditNode>& edits, const lyd_node* first, const lyd_node* parent)
    {
        std::vector<const lysc_node*> valueless;
        for (const EditNode& edit : edits)
            if (edit.node->schema == nullptr)
                valueless.push_back(edit.schema);
        for (lyd_node* node : tree_.content(parent)) {
            if ((first == nullptr || find_counterpart(first, node) == nullptr) &&
                std::find(valueless.begin(), valueless.end(), node->schema) == valueless.end())
                tree_.remove(node);
        }
    }

    void insert(lyd_node* entry, const EditNode& edit)
    {
        if (edit.insert == InsertAt::first) {
            tree_.place_first(entry);
            return;
        }
        if (edit.insert == InsertAt::last) {
            tree_.place_last(entry);
            return;
        }
        lyd_node* anchor = tree_.find_anchor(entry, edit.anchor);
        if (anchor == nullptr || anchor == entry)
            throw RpcError("bad-attribute", edit_path(edit.node),
                           fmt::format("there is no other entry {} to insert beside", edit.anchor), "missing-instance")
                .naming(edit.schema->nodetype == LYS_LIST ? "key" : "value");
        if (edit.insert == InsertAt::before)
            tree_.place_before(entry, anchor);
        else
            tree_.place_after(entry, anchor);
    }

    MarkedTree tree_;
    EditErrors errors_;
};

// The topmost removed nodes; what is below them goes along.
void collect_removed(const std::vector<Change*>& changes, std::vector<lyd_node*>& removed)
{
    for (const Change* change : changes) {
        if (change->is(XMLDIFF_REM))
            removed.push_back(change->node);
        else
            collect_removed(change->children, removed);
    }
}

} // namespace

AppliedEdit::AppliedEdit(ConfigTree& tree, const EditRequest& request) : tree_(tree), journal_(tree)
{
    try {
        EditWalk(tree_, journal_, changes_).apply(request);
    } catch (...) {
        rollback();
        throw;
    }
}

AppliedEdit::~AppliedEdit()
{
    rollback();
}

void AppliedEdit::commit()
{
    std::vector<lyd_node*> removed;
    collect_removed(changes_.roots(), removed);
    changes_.clear();
    journal_.commit();
    for (lyd_node* node : removed)
        tree_.extract(node);
}

void AppliedEdit::rollback()
{
    changes_.clear();
    journal_.rollback();
}

} // namespace qnips
