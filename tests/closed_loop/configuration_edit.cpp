#include "configuration_edit.h"

#include <algorithm>

#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

const ConfigNode* find(const Config& siblings, const ConfigNode& like)
{
    const auto found = std::find_if(siblings.begin(), siblings.end(), [&](const ConfigNode& node) {
        return node.schema == like.schema && node.id() == like.id();
    });
    return found != siblings.end() ? &*found : nullptr;
}

EditModelNode whole(const ConfigNode& node, EditOperation operation)
{
    EditModelNode edit;
    edit.schema = node.schema;
    edit.value = node.value;
    edit.operation = operation;
    for (const ConfigNode& below : node.children)
        edit.children.push_back(whole(below, operation));
    return edit;
}

// The node with its keys and nothing else below it.
EditModelNode frame(const ConfigNode& node, EditOperation operation)
{
    EditModelNode edit = whole(node, operation);
    std::erase_if(edit.children, [](const EditModelNode& below) { return !lysc_is_key(below.schema); });
    return edit;
}

EditModelNode stated(EditModelNode edit)
{
    edit.stated = true;
    return edit;
}

// Whether the edit creates another case of the choice that the node is in: that alone removes the node, and an edit
// must not name both (RFC 7950, 7.9).
bool gives_way(const ConfigNode& node, const Config& after)
{
    const lysc_node* mine = node.schema->parent;
    return mine != nullptr && mine->nodetype == LYS_CASE &&
           std::any_of(after.begin(), after.end(), [&](const ConfigNode& other) {
               const lysc_node* its = other.schema->parent;
               return its != mine && its->nodetype == LYS_CASE && its->parent == mine->parent;
           });
}

class Writer
{
public:
    Writer(const EditStyle& style, std::mt19937& random) : style_(style), random_(random) {}

    EditModel difference(const Config& before, const Config& after)
    {
        EditModel edits;
        for (const ConfigNode& node : before)
            if (!lysc_is_key(node.schema) && find(after, node) == nullptr && !gives_way(node, after))
                edits.push_back(removal(node));
        for (const ConfigNode& node : after) {
            if (lysc_is_key(node.schema))
                continue;
            const ConfigNode* old = find(before, node);
            if (old == nullptr)
                edits.push_back(addition(node));
            else if (*old != node)
                edits.push_back(change(*old, node));
            else if (chance(style_.repetition))
                edits.push_back(whole(node, EditOperation::merge));
        }
        order(edits, before, after);
        return edits;
    }

private:
    EditModelNode removal(const ConfigNode& node)
    {
        return stated(frame(node, chance(style_.delete_it) ? EditOperation::delete_existing : EditOperation::remove));
    }

    EditModelNode addition(const ConfigNode& node)
    {
        if (chance(style_.create))
            return stated(whole(node, EditOperation::create));
        if (chance(style_.replace))
            return stated(whole(node, EditOperation::replace));
        return whole(node, EditOperation::merge);
    }

    EditModelNode change(const ConfigNode& old, const ConfigNode& node)
    {
        if (chance(style_.replace))
            return stated(whole(node, EditOperation::replace));
        if ((node.schema->nodetype & LYD_NODE_TERM) != 0)
            return whole(node, EditOperation::merge);
        EditModelNode edit = frame(node, EditOperation::merge);
        for (EditModelNode& below : difference(old.children, node.children))
            edit.children.push_back(std::move(below));
        return edit;
    }

    // Gives the entries of a user-ordered list their places, where a merge would not leave them there by itself.
    void order(EditModel& edits, const Config& before, const Config& after)
    {
        const auto ordered = [](const Config& config) {
            std::vector<const ConfigNode*> entries;
            for (const ConfigNode& node : config)
                if (lysc_is_userordered(node.schema))
                    entries.push_back(&node);
            return entries;
        };
        const std::vector<const ConfigNode*> wanted = ordered(after);
        std::vector<const ConfigNode*> present = ordered(before);
        std::erase_if(present, [&](const ConfigNode* entry) { return find(after, *entry) == nullptr; });
        for (const ConfigNode* entry : wanted)
            if (find(before, *entry) == nullptr)
                present.push_back(entry);
        const auto has_id = [](const std::string& id) {
            return [id](const ConfigNode* entry) { return entry->id() == id; };
        };
        for (std::size_t place = 0; place < wanted.size(); ++place) {
            const auto found = std::find_if(present.begin(), present.end(), has_id(wanted[place]->id()));
            const auto target = present.begin() + static_cast<std::ptrdiff_t>(place);
            if (found == target)
                continue;
            std::rotate(target, found, found + 1);
            put_behind(edits, *wanted[place], place > 0 ? wanted[place - 1] : nullptr);
        }
        // An entry is put behind another one that has its place already.
        const auto place_of = [&](const EditModelNode& edit) {
            const auto found = std::find_if(wanted.begin(), wanted.end(), has_id(edit.as_config().id()));
            return found != wanted.end() && (*found)->schema == edit.schema ? found - wanted.begin() : -1;
        };
        std::stable_sort(edits.begin(), edits.end(), [&](const EditModelNode& left, const EditModelNode& right) {
            return place_of(left) < place_of(right);
        });
    }

    static void put_behind(EditModel& edits, const ConfigNode& entry, const ConfigNode* previous)
    {
        auto edit = std::find_if(edits.begin(), edits.end(), [&](const EditModelNode& node) {
            return node.schema == entry.schema && node.as_config().id() == entry.id();
        });
        if (edit == edits.end())
            edit = edits.insert(edits.end(), frame(entry, EditOperation::merge));
        edit->insert = previous != nullptr ? InsertAt::after : InsertAt::first;
        edit->anchor = previous != nullptr ? previous->id() : std::string();
    }

    bool chance(unsigned percent) { return percent != 0 && random_() % 100 < percent; }

    const EditStyle& style_;
    std::mt19937& random_;
};

} // namespace

EditModel edit_between(const Config& before, const Config& after, const EditStyle& style, std::mt19937& random)
{
    return Writer(style, random).difference(before, after);
}

} // namespace qnips::test
