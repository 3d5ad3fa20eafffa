#include "server/marked_tree.h"

#include <algorithm>
#include <cstring>

#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

namespace
{

bool exists(const lyd_node* node)
{
    return visible(node, View::after);
}

bool has_mark(const lyd_node* node, unsigned bits)
{
    const Change* change = ChangeSet::find(node);
    return change != nullptr && change->is(bits);
}

bool has_content(const lyd_node* container)
{
    const lyd_node* child = lyd_child(container);
    while (child != nullptr && !exists(child))
        child = child->next;
    return child != nullptr;
}

// A container without presence exists through its content only (RFC 7950, 7.5.1).
bool means_nothing(const lyd_node* node)
{
    return lysc_is_np_cont(node->schema) && !has_content(node);
}

} // namespace

lyd_node* MarkedTree::find(const lyd_node* parent, const EditNode& edit) const
{
    lyd_node* node = find_linked(parent, edit);
    return node != nullptr && exists(node) ? node : nullptr;
}

lyd_node* MarkedTree::find_linked(const lyd_node* parent, const EditNode& edit) const
{
    if (edit.node->schema != nullptr)
        return find_counterpart(tree_.children(parent), edit.node);
    lyd_node* node = nullptr;
    lyd_find_sibling_val(tree_.children(parent), edit.schema, nullptr, 0, &node);
    return node;
}

std::vector<lyd_node*> MarkedTree::content(const lyd_node* parent) const
{
    std::vector<lyd_node*> result;
    for (lyd_node* node = tree_.children(parent); node != nullptr; node = node->next)
        if (exists(node) && !lysc_is_key(node->schema))
            result.push_back(node);
    return result;
}

lyd_node* MarkedTree::create(lyd_node* parent, const EditNode& edit)
{
    lyd_node* node = find_linked(parent, edit);
    if (node != nullptr)
        revive(node, edit);
    else
        node = link_new(parent, edit);
    if (!lysc_is_np_cont(edit.schema))
        displace_other_cases(node);
    return node;
}

lyd_node* MarkedTree::link_new(lyd_node* parent, const EditNode& edit)
{
    lyd_node* node = nullptr;
    check(lyd_dup_single(edit.node, nullptr, LYD_DUP_NO_META, &node), edit.node, "copy");
    journal_.insert(parent, TreePtr(node));
    changes_.touch(node).bits = XMLDIFF_ADD;
    for (lyd_node* key = lyd_child(node); key != nullptr; key = key->next)
        changes_.touch(key).bits = XMLDIFF_ADD;
    return node;
}

void MarkedTree::revive(lyd_node* node, const EditNode& edit)
{
    changes_.touch(node).bits = XMLDIFF_NONE;
    if ((node->schema->nodetype & LYS_LEAF) != 0)
        set_value(node, lyd_get_value(edit.node));
    for (lyd_node* key = lyd_child(node); key != nullptr && lysc_is_key(key->schema); key = key->next)
        drop_changes(key);
    if (lysc_is_userordered(node->schema))
        place_last(node);
}

void MarkedTree::set_value(lyd_node* leaf, const char* canonical)
{
    if (std::strcmp(lyd_get_value(leaf), canonical) == 0)
        return;
    Change& change = changes_.touch(leaf);
    if (!change.is(XMLDIFF_ADD | XMLDIFF_MOD)) {
        change.old_value = lyd_get_value(leaf);
        change.bits |= XMLDIFF_MOD;
    }
    journal_.set_value(leaf, canonical);
}

void MarkedTree::remove(lyd_node* node)
{
    if (has_mark(node, XMLDIFF_ADD)) {
        forget(node);
        return;
    }
    Change& change = changes_.touch(node);
    if (change.is(XMLDIFF_MOD)) // what goes is the old leaf, with its old value
        journal_.set_value(node, change.old_value);
    change.bits = XMLDIFF_REM;

    lyd_node* next = nullptr;
    for (lyd_node* child = lyd_child(node); child != nullptr; child = next) {
        next = child->next;
        remove(child);
    }
}

void MarkedTree::forget(lyd_node* node)
{
    drop_changes(node);
    journal_.unlink(node);
}

void MarkedTree::drop_changes(lyd_node* node)
{
    if (Change* change = ChangeSet::find(node))
        ChangeSet::drop(*change);
    for (lyd_node* child = lyd_child(node); child != nullptr; child = child->next)
        drop_changes(child);
}

void MarkedTree::displace_other_cases(lyd_node* created)
{
    // The containers around it have come to life with it if they only mean something now.
    lyd_node* node = created;
    do {
        for (const lysc_node* branch = node->schema->parent;
             branch != nullptr && (branch->nodetype & (LYS_CHOICE | LYS_CASE)) != 0; branch = branch->parent)
            if (branch->nodetype == LYS_CASE)
                displace_siblings(node, branch);
        node = lyd_parent(node);
    } while (node != nullptr && lysc_is_np_cont(node->schema));
}

void MarkedTree::displace_siblings(lyd_node* node, const lysc_node* branch)
{
    // lys_getnext also steps into nested choices, so it names every data node that a case can have.
    const auto* choice = reinterpret_cast<const lysc_node_choice*>(branch->parent);
    const lyd_node* siblings = lyd_first_sibling(node);
    for (const lysc_node_case* other = choice->cases; other != nullptr;
         other = reinterpret_cast<const lysc_node_case*>(other->next)) {
        const auto* other_branch = reinterpret_cast<const lysc_node*>(other);
        if (other_branch == branch)
            continue;
        const lysc_node* schema = nullptr;
        while ((schema = lys_getnext(schema, other_branch, nullptr, 0)) != nullptr) {
            lyd_node* rival = nullptr;
            lyd_find_sibling_val(siblings, schema, nullptr, 0, &rival);
            for (lyd_node* next = nullptr; rival != nullptr; rival = next) {
                next = linked_next(rival);
                if (!exists(rival) || means_nothing(rival))
                    continue;
                if (has_mark(rival, XMLDIFF_ADD))
                    refuse_both_cases(node, rival, branch->parent);
                remove(rival);
            }
        }
    }
}

lyd_node* MarkedTree::first_instance(const lyd_node* entry) const
{
    lyd_node* first = nullptr;
    lyd_find_sibling_val(tree_.children(lyd_parent(entry)), entry->schema, nullptr, 0, &first);
    return first;
}

lyd_node* MarkedTree::find_anchor(lyd_node* entry, const std::string& anchor) const
{
    lyd_node* node = nullptr;
    lyd_find_sibling_val(tree_.children(lyd_parent(entry)), entry->schema, anchor.c_str(), anchor.size(), &node);
    return node != nullptr && exists(node) ? node : nullptr;
}

void MarkedTree::begin_move(lyd_node* entry)
{
    if (!has_mark(entry, XMLDIFF_ADD)) {
        changes_.touch(entry);
        placed_[{lyd_parent(entry), entry->schema}].push_back(entry);
    }
    changes_.old_order().leaving(entry);
}

void MarkedTree::place_first(lyd_node* entry)
{
    lyd_node* first = first_instance(entry);
    if (first != entry)
        place_before(entry, first);
    else
        begin_move(entry);
}

void MarkedTree::place_last(lyd_node* entry)
{
    begin_move(entry);
    if (linked_next(entry) != nullptr)
        journal_.move_last(entry);
}

void MarkedTree::place_before(lyd_node* entry, lyd_node* anchor)
{
    begin_move(entry);
    if (linked_next(entry) == anchor)
        return;
    journal_.move_before(entry, anchor);
    changes_.old_order().arrived(entry);
}

void MarkedTree::place_after(lyd_node* entry, lyd_node* anchor)
{
    begin_move(entry);
    if (linked_previous(entry) == anchor)
        return;
    journal_.move_after(entry, anchor);
    changes_.old_order().arrived(entry);
}

void MarkedTree::settle()
{
    for (auto& [list, entries] : placed_) {
        std::sort(entries.begin(), entries.end());
        entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
        std::erase_if(entries, [](const lyd_node* entry) { return !exists(entry); });
        for (lyd_node* entry : changes_.old_order().moved(entries))
            changes_.touch(entry).bits |= XMLDIFF_SIBLING;
    }
    for (Change* root : changes_.roots())
        settle(*root);
    std::erase_if(changes_.roots(), [](const Change* change) { return change->node == nullptr; });
}

void MarkedTree::settle(Change& change)
{
    for (Change* child : change.children)
        settle(*child);
    std::erase_if(change.children, [](const Change* child) { return child->node == nullptr; });
    if (change.node == nullptr)
        return;
    if (lysc_is_np_cont(change.schema) && !change.is(XMLDIFF_REM) && !has_content(change.node))
        settle_container(change);
    if (change.node == nullptr || change.is(XMLDIFF_ADD | XMLDIFF_REM))
        return;

    unsigned bits = change.bits & static_cast<unsigned>(XMLDIFF_SIBLING);
    if (change.is(XMLDIFF_MOD) && change.old_value != lyd_get_value(change.node))
        bits |= XMLDIFF_MOD;
    if (!change.children.empty())
        bits |= XMLDIFF_CHAIN;
    change.bits = bits;
    if (bits == XMLDIFF_NONE)
        ChangeSet::drop(change);
}

void MarkedTree::settle_container(Change& change)
{
    if (change.is(XMLDIFF_ADD))
        forget(change.node);
    else
        change.bits = XMLDIFF_REM;
}

} // namespace qnips
