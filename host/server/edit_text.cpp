#include "server/edit_text.h"

#include <string_view>
#include <unordered_map>
#include <vector>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/config_tree.h"
#include "server/libyang_error.h"
#include "server/libyang_memory.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr unsigned places = XMLDIFF_ADD | XMLDIFF_SIBLING;

void annotate(lyd_node* node, const char* name, const std::string& value)
{
    check(lyd_new_meta(LYD_CTX(node), node, nullptr, name, value.c_str(), 0, nullptr), node, "annotate");
}

// How `insert` names an entry (RFC 7950, 7.7.9 and 7.8.6): by its keys in predicates, of a leaf-list by its value.
std::string anchor_of(const lyd_node* entry)
{
    if (entry->schema->nodetype == LYS_LEAFLIST)
        return lyd_get_value(entry);
    std::string text;
    for (const lyd_node* key = lyd_child(entry); key != nullptr && lysc_is_key(key->schema); key = key->next) {
        const std::string_view value = lyd_get_value(key);
        const char quote = value.find('\'') == std::string_view::npos ? '\'' : '"';
        text += fmt::format("[{}={}{}{}]", key->schema->name, quote, value, quote);
    }
    return text;
}

class EditWriter
{
public:
    explicit EditWriter(const ListOrder& order) : order_(order) {}

    TreePtr write(const std::vector<Change*>& roots)
    {
        add_all(roots, nullptr);
        return tree_.release();
    }

private:
    void add_all(const std::vector<Change*>& changes, lyd_node* parent)
    {
        for (const Change* change : in_new_order(changes))
            add(*change, parent);
    }

    void add(const Change& change, lyd_node* parent)
    {
        if (change.bits == XMLDIFF_NONE || lysc_is_key(change.schema))
            return;
        lyd_node* copy = nullptr;
        const uint32_t depth = change.is(XMLDIFF_ADD) ? LYD_DUP_RECURSIVE : 0U;
        check(lyd_dup_single(change.node, nullptr, LYD_DUP_NO_META | depth, &copy), change.node, "copy");
        tree_.insert(parent, copy);
        if (change.is(XMLDIFF_REM))
            return annotate(copy, "ietf-netconf:operation", "remove");
        if (lysc_is_userordered(change.schema) && change.is(places))
            place(change, copy);
        if (!change.is(XMLDIFF_ADD))
            add_all(change.children, copy);
    }

    void place(const Change& change, lyd_node* copy)
    {
        const lyd_node* previous = order_.previous(change.node, View::after);
        annotate(copy, "yang:insert", previous != nullptr ? "after" : "first");
        if (previous == nullptr)
            return;
        annotate(copy, change.schema->nodetype == LYS_LIST ? "yang:key" : "yang:value", anchor_of(previous));
    }

    // Each placed entry names the one before it, which has to have its own place by then.
    [[nodiscard]] std::vector<const Change*> in_new_order(const std::vector<Change*>& changes) const
    {
        std::vector<const Change*> result(changes.begin(), changes.end());
        std::unordered_map<const lysc_node*, std::vector<std::size_t>> placed;
        for (std::size_t i = 0; i < result.size(); ++i)
            if (lysc_is_userordered(result[i]->schema) && result[i]->is(places))
                placed[result[i]->schema].push_back(i);
        for (const auto& [schema, slots] : placed)
            if (slots.size() > 1)
                sort(result, slots);
        return result;
    }

    void sort(std::vector<const Change*>& changes, const std::vector<std::size_t>& slots) const
    {
        auto slot = slots.begin();
        for (const lyd_node* entry : order_.entries(changes[slots.front()]->node, View::after)) {
            const Change* change = ChangeSet::find(entry);
            if (change != nullptr && change->is(places))
                changes[*slot++] = change;
        }
    }

    const ListOrder& order_;
    ConfigTree tree_;
};

} // namespace

std::string edit_text(const ChangeSet& changes)
{
    if (changes.empty())
        return {};
    const TreePtr tree = EditWriter(changes.old_order()).write(changes.roots());
    char* raw = nullptr;
    check(lyd_print_mem(&raw, tree.get(), LYD_XML, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK), tree.get(), "print");
    const TextPtr text(raw);
    return std::string(R"(<config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)") + raw + "</config>";
}

} // namespace qnips
