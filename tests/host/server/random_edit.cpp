#include "random_edit.h"

#include <algorithm>
#include <cstring>

#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

// Texts of many types; a leaf takes those that its type accepts.
constexpr const char* texts[] = {
    "a",           "b",       "c",       "d",    "1",     "2",      "3",         "4",         "10",         "30",
    "60",          "1025",    "2000",    "true", "false", "enable", "both",      "alert",     "10.0.0.1",   "10.0.0.2",
    "10.0.1.1/24", "fc00::1", "fc00::2", "HTTP", "low",   "high",   "web-alpha", "web-omega", "example.com"};

void add_enumerators(const lysc_type* type, std::vector<std::string>& candidates)
{
    if (type->basetype == LY_TYPE_UNION) {
        const lysc_type* const* members = reinterpret_cast<const lysc_type_union*>(type)->types;
        for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(members); ++i)
            add_enumerators(members[i], candidates);
    }
    if (type->basetype != LY_TYPE_ENUM)
        return;
    const lysc_type_bitenum_item* items = reinterpret_cast<const lysc_type_enum*>(type)->enums;
    for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(items); ++i)
        candidates.emplace_back(items[i].name);
}

bool removes(EditOperation operation)
{
    return operation == EditOperation::delete_existing || operation == EditOperation::remove;
}

} // namespace

EditModel RandomEdit::edit(const Config& config, EditOperation default_operation)
{
    EditModel edits;
    add_children(edits, nullptr, config, default_operation);
    return edits;
}

void RandomEdit::add_children(EditModel& edits, const lysc_node* parent, const Config& config, EditOperation inherited)
{
    std::unordered_map<const lysc_node*, const lysc_node*> chosen;
    const lysc_node* schema = nullptr;
    while ((schema = lys_getnext(schema, parent, schema_.module()->compiled, 0)) != nullptr) {
        if ((schema->flags & LYS_CONFIG_R) != 0 || lysc_is_key(schema) || !in_chosen_case(schema, chosen))
            continue;
        const bool structural = (schema->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0;
        const bool mandatory = (schema->flags & LYS_MAND_TRUE) != 0;
        if (chance(mandatory ? 90 : structural ? 55 : 35))
            add_instances(edits, schema, config, inherited);
    }
    if (parent != nullptr)
        std::shuffle(edits.begin(), edits.end(), random_);
}

bool RandomEdit::in_chosen_case(const lysc_node* schema, std::unordered_map<const lysc_node*, const lysc_node*>& chosen)
{
    bool all = true;
    for (const lysc_node* up = schema->parent; up != nullptr && (up->nodetype & (LYS_CASE | LYS_CHOICE)) != 0;
         up = up->parent)
        if (up->nodetype == LYS_CASE) {
            if (!chosen.contains(up->parent) && chance(50))
                chosen[up->parent] = up;
            all = all && chosen.contains(up->parent) && chosen[up->parent] == up;
        }
    return all;
}

void RandomEdit::add_instances(EditModel& edits, const lysc_node* schema, const Config& config, EditOperation inherited)
{
    std::vector<const ConfigNode*> existing;
    for (const ConfigNode& candidate : config)
        if (candidate.schema == schema)
            existing.push_back(&candidate);
    const bool many = (schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
    for (std::size_t count = many ? 1 + below(3) : 1; count > 0; --count) {
        const ConfigNode* like = existing.empty() || (many && chance(35)) ? nullptr : existing[below(existing.size())];
        EditModelNode made = node(schema, like, config, inherited);
        const std::string id = made.as_config().id();
        const bool again = std::any_of(edits.begin(), edits.end(), [&](const EditModelNode& other) {
            return other.schema == schema && other.as_config().id() == id;
        });
        if (!again)
            edits.push_back(std::move(made));
    }
}

EditModelNode RandomEdit::node(const lysc_node* schema, const ConfigNode* existing, const Config& siblings,
                               EditOperation inherited)
{
    EditModelNode edit;
    edit.schema = schema;
    edit.operation = operation(inherited, edit.stated);
    // Most contradictions are avoided: one is enough to refuse a whole edit.
    if (edit.stated && chance(90)) {
        if (edit.operation == EditOperation::create && existing != nullptr)
            edit.operation = EditOperation::replace;
        else if (edit.operation == EditOperation::delete_existing && existing == nullptr)
            edit.operation = EditOperation::remove;
    }
    if ((schema->nodetype & LYD_NODE_TERM) != 0) {
        const bool keep = existing != nullptr && (schema->nodetype == LYS_LEAFLIST || chance(30));
        edit.value = keep ? existing->value : value(schema);
        if (schema->nodetype == LYS_LEAF && removes(edit.operation) && chance(50))
            edit.value.clear();
        return edit;
    }
    if (schema->nodetype == LYS_LIST)
        add_keys(edit, existing);
    if (lysc_is_userordered(schema) && !removes(edit.operation) && edit.operation != EditOperation::none && chance(50))
        add_insert(edit, siblings);
    if (removes(edit.operation))
        return edit;
    EditModel children;
    add_children(children, schema, existing != nullptr ? existing->children : Config{}, edit.operation);
    edit.children.insert(edit.children.end(), children.begin(), children.end());
    return edit;
}

void RandomEdit::add_keys(EditModelNode& edit, const ConfigNode* existing)
{
    for (const lysc_node* key = lysc_node_child(edit.schema); key != nullptr && lysc_is_key(key); key = key->next) {
        EditModelNode leaf;
        leaf.schema = key;
        leaf.operation = edit.operation;
        leaf.value = value(key);
        if (existing != nullptr)
            for (const ConfigNode& child : existing->children)
                if (child.schema == key)
                    leaf.value = child.value;
        edit.children.push_back(std::move(leaf));
    }
}

void RandomEdit::add_insert(EditModelNode& edit, const Config& siblings)
{
    static constexpr InsertAt places[] = {InsertAt::first, InsertAt::last, InsertAt::before, InsertAt::after};
    edit.insert = places[below(4)];
    if (edit.insert != InsertAt::before && edit.insert != InsertAt::after)
        return;
    std::vector<std::string> others;
    for (const ConfigNode& other : siblings)
        if (other.schema == edit.schema && other.id() != edit.as_config().id())
            others.push_back(other.id());
    if (others.empty())
        edit.insert = InsertAt::first;
    else
        edit.anchor = others[below(others.size())];
}

EditOperation RandomEdit::operation(EditOperation inherited, bool& stated)
{
    static constexpr EditOperation all[] = {EditOperation::merge, EditOperation::replace, EditOperation::create,
                                            EditOperation::delete_existing, EditOperation::remove};
    stated = chance(25);
    return stated ? all[below(5)] : inherited;
}

const std::string& RandomEdit::value(const lysc_node* schema)
{
    std::vector<std::string>& values = values_[schema];
    if (values.empty()) {
        std::vector<std::string> candidates(std::begin(texts), std::end(texts));
        add_enumerators(reinterpret_cast<const lysc_node_leaf*>(schema)->type, candidates);
        for (const std::string& text : candidates) {
            const char* canonical = nullptr;
            if (lyd_value_validate(schema_.context(), schema, text.c_str(), text.size(), nullptr, nullptr,
                                   &canonical) == LY_SUCCESS)
                values.emplace_back(canonical);
            if (canonical != nullptr)
                lydict_remove(schema_.context(), canonical);
        }
        // Few different ones, so that edits meet.
        if (values.size() > 5)
            values.resize(5);
        if (values.empty())
            throw std::logic_error(std::string("no value known for ") + schema->name);
    }
    return values[below(values.size())];
}

} // namespace qnips::test
