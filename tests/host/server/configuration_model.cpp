#include "configuration_model.h"

#include <algorithm>

#include <fmt/format.h>
#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

bool is_term(const lysc_node* schema)
{
    return (schema->nodetype & LYD_NODE_TERM) != 0;
}

std::string predicates(const ConfigNode& node)
{
    std::string text;
    if (node.schema->nodetype == LYS_LEAFLIST)
        text = fmt::format("[.='{}']", node.value);
    for (const ConfigNode& child : node.children)
        if (lysc_is_key(child.schema))
            text += fmt::format("[{}='{}']", child.schema->name, child.value);
    return text;
}

ConfigNode* find(Config& siblings, const lysc_node* schema, const std::string& id)
{
    const auto found = std::find_if(siblings.begin(), siblings.end(),
                                    [&](const ConfigNode& node) { return node.schema == schema && node.id() == id; });
    return found != siblings.end() ? &*found : nullptr;
}

const ConfigNode* find(const Config& siblings, const ConfigNode& like)
{
    return find(const_cast<Config&>(siblings), like.schema, like.id()); // NOLINT: nothing is changed
}

void put(Config& siblings, const ConfigNode& node, std::size_t position)
{
    std::erase_if(siblings,
                  [&](const ConfigNode& other) { return other.schema == node.schema && other.id() == node.id(); });
    siblings.insert(siblings.begin() + static_cast<std::ptrdiff_t>(std::min(position, siblings.size())), node);
}

// Moves an entry behind (or in front of) all others of its list, or beside one of them.
void place(Config& siblings, ConfigNode node, InsertAt where, const std::string& anchor)
{
    std::erase_if(siblings,
                  [&](const ConfigNode& other) { return other.schema == node.schema && other.id() == node.id(); });
    std::size_t position = where == InsertAt::first ? 0 : siblings.size();
    if (where == InsertAt::before || where == InsertAt::after) {
        const auto found = std::find_if(siblings.begin(), siblings.end(), [&](const ConfigNode& other) {
            return other.schema == node.schema && other.id() == anchor;
        });
        if (found == siblings.end())
            throw ModelRefusal("bad-attribute");
        position = static_cast<std::size_t>(found - siblings.begin()) + (where == InsertAt::after ? 1 : 0);
    }
    put(siblings, node, position);
}

void drop_other_cases(Config& siblings, const lysc_node* schema)
{
    for (const lysc_node* mine = schema->parent; mine != nullptr && (mine->nodetype & (LYS_CASE | LYS_CHOICE)) != 0;
         mine = mine->parent) {
        if (mine->nodetype != LYS_CASE)
            continue;
        std::erase_if(siblings, [&](const ConfigNode& other) {
            const lysc_node* up = other.schema;
            while (up != nullptr && up->parent != mine->parent)
                up = up->parent;
            return up != nullptr && up != mine;
        });
    }
}

bool apply_siblings(Config& siblings, const EditModel& edit, bool replaces);

// Whether something has come into being at or below the node that means something by itself.
bool apply_node(Config& siblings, const EditModelNode& edit)
{
    const ConfigNode fresh = edit.as_config();
    ConfigNode* existing = find(siblings, edit.schema, fresh.id());
    const bool existed = existing != nullptr;
    if (edit.operation == EditOperation::delete_existing && !existed)
        throw ModelRefusal("data-missing");
    if (edit.operation == EditOperation::delete_existing || edit.operation == EditOperation::remove) {
        std::erase_if(siblings, [&](const ConfigNode& node) { return existed && &node == existing; });
        return false;
    }
    if (edit.operation == EditOperation::create && existed)
        throw ModelRefusal("data-exists");
    const bool bare_container = lysc_is_np_cont(edit.schema) != 0;
    if (edit.operation == EditOperation::none && !existed && !bare_container)
        throw ModelRefusal("data-missing");

    if (!existed) {
        siblings.push_back(fresh);
        existing = &siblings.back();
    }
    if (edit.operation != EditOperation::none && is_term(edit.schema))
        existing->value = edit.value;
    bool made = !existed && !bare_container;
    const bool made_below =
        apply_siblings(existing->children, edit.children, existed && edit.operation == EditOperation::replace);
    made = made || (bare_container && made_below);
    if (made)
        drop_other_cases(siblings, edit.schema);
    return made;
}

bool apply_siblings(Config& siblings, const EditModel& edit, bool replaces)
{
    if (replaces)
        std::erase_if(siblings, [&](const ConfigNode& node) {
            return !lysc_is_key(node.schema) && std::none_of(edit.begin(), edit.end(), [&](const EditModelNode& other) {
                return other.schema == node.schema && other.as_config().id() == node.id();
            });
        });
    bool made = false;
    for (const EditModelNode& node : edit) {
        if (lysc_is_key(node.schema))
            continue;
        made = apply_node(siblings, node) || made;
        const ConfigNode* left = find(siblings, node.as_config());
        if (left == nullptr || !lysc_is_userordered(node.schema))
            continue;
        if (node.insert != InsertAt::unspecified)
            place(siblings, *left, node.insert, node.anchor);
        else if (replaces)
            place(siblings, *left, InsertAt::last, {});
    }
    return made;
}

void prune(Config& siblings)
{
    for (ConfigNode& node : siblings)
        prune(node.children);
    std::erase_if(siblings,
                  [](const ConfigNode& node) { return lysc_is_np_cont(node.schema) && node.children.empty(); });
}

void append_subtree(const char* operation, const ConfigNode& node, const std::string& path,
                    std::vector<std::string>& lines)
{
    lines.push_back(fmt::format("{} {}", operation, path));
    for (const ConfigNode& child : node.children)
        append_subtree(operation, child, path + child.step(false), lines);
}

// The entries of user-ordered lists that stand in both, in the order of the first.
std::vector<std::string> common_entries(const Config& siblings, const Config& other, const std::string& path,
                                        const lysc_node* list)
{
    std::vector<std::string> paths;
    for (const ConfigNode& node : siblings)
        if (node.schema == list && find(other, node) != nullptr)
            paths.push_back(path + node.step(path.empty()));
    return paths;
}

std::size_t longest_common_order(const std::vector<std::string>& before, const std::vector<std::string>& after)
{
    std::vector<std::size_t> length(after.size(), 1);
    std::size_t best = 0;
    const auto old_place = [&](const std::string& path) { return std::find(before.begin(), before.end(), path); };
    for (std::size_t i = 0; i < after.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            if (old_place(after[j]) < old_place(after[i]))
                length[i] = std::max(length[i], length[j] + 1);
        best = std::max(best, length[i]);
    }
    return best;
}

void check_moves(const Config& before, const Config& after, const std::string& path, const std::set<std::string>& moved)
{
    std::set<const lysc_node*> lists;
    for (const ConfigNode& node : before)
        if (lysc_is_userordered(node.schema))
            lists.insert(node.schema);
    for (const lysc_node* list : lists) {
        std::vector<std::string> was = common_entries(before, after, path, list);
        std::vector<std::string> is = common_entries(after, before, path, list);
        const std::size_t to_move = is.size() - longest_common_order(was, is);
        const auto is_moved = [&](const std::string& entry) { return moved.contains(entry); };
        if (static_cast<std::size_t>(std::count_if(is.begin(), is.end(), is_moved)) != to_move)
            throw std::logic_error("not the fewest moves in " + path + "/" + list->name);
        std::erase_if(was, is_moved);
        std::erase_if(is, is_moved);
        if (was != is)
            throw std::logic_error("the moves do not explain the order of " + path + "/" + list->name);
    }
}

bool compare(const Config& before, const Config& after, const std::string& path, const std::set<std::string>& moved,
             std::vector<std::string>& lines)
{
    const std::size_t lines_before = lines.size();
    for (const ConfigNode& node : before)
        if (find(after, node) == nullptr)
            append_subtree("REM", node, path + node.step(path.empty()), lines);
    check_moves(before, after, path, moved);
    for (const ConfigNode& node : after) {
        const std::string here = path + node.step(path.empty());
        const ConfigNode* old = find(before, node);
        if (old == nullptr) {
            append_subtree("ADD", node, here, lines);
            continue;
        }
        if (old->value != node.value)
            lines.push_back(fmt::format("MOD {} was {}", here, old->value));
        const bool below = compare(old->children, node.children, here, moved, lines);
        if (below || moved.contains(here))
            lines.push_back(fmt::format("{}{}{} {}", moved.contains(here) ? "SIBLING" : "",
                                        moved.contains(here) && below ? "|" : "", below ? "CHAIN" : "", here));
    }
    return lines.size() > lines_before;
}

} // namespace

std::string ConfigNode::id() const
{
    return predicates(*this);
}

std::string ConfigNode::step(bool root) const
{
    return fmt::format("/{}{}{}", root ? std::string(schema->module->prefix) + ":" : "", schema->name, id());
}

ConfigNode EditModelNode::as_config() const
{
    ConfigNode node{schema, value, {}};
    for (const EditModelNode& child : children)
        if (lysc_is_key(child.schema))
            node.children.push_back({child.schema, child.value, {}});
    return node;
}

Config config_of(const lyd_node* first)
{
    Config config;
    for (const lyd_node* node = first; node != nullptr; node = node->next)
        config.push_back({node->schema, is_term(node->schema) ? lyd_get_value(node) : "", config_of(lyd_child(node))});
    return config;
}

Config canonical(Config siblings)
{
    for (ConfigNode& node : siblings)
        node.children = canonical(std::move(node.children));
    std::stable_sort(siblings.begin(), siblings.end(), [](const ConfigNode& left, const ConfigNode& right) {
        if (left.schema != right.schema)
            return left.schema < right.schema;
        return !lysc_is_userordered(left.schema) && left.id() < right.id();
    });
    return siblings;
}

std::string xml_of(const EditModel& edit)
{
    static constexpr const char* places[] = {"", "first", "last", "before", "after"};
    std::string text;
    for (const EditModelNode& node : edit) {
        text += fmt::format("<{}", node.schema->name);
        if (node.schema->parent == nullptr)
            text += fmt::format(R"( xmlns="{}" xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0")"
                                R"( xmlns:yang="urn:ietf:params:xml:ns:yang:1")",
                                node.schema->module->ns);
        if (node.stated)
            text += fmt::format(R"( nc:operation="{}")", operation_word(node.operation));
        if (node.insert != InsertAt::unspecified)
            text += fmt::format(R"( yang:insert="{}")", places[static_cast<std::size_t>(node.insert)]);
        if (!node.anchor.empty())
            text += fmt::format(R"( yang:key="{}")", node.anchor);
        text += fmt::format(">{}{}</{}>", node.value, xml_of(node.children), node.schema->name);
    }
    return text;
}

Config apply(Config config, const EditModel& edit, EditOperation default_operation)
{
    apply_siblings(config, edit, default_operation == EditOperation::replace);
    prune(config);
    return config;
}

std::vector<std::string> difference(const Config& before, const Config& after, const std::set<std::string>& moved)
{
    std::vector<std::string> lines;
    compare(before, after, {}, moved, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace qnips::test
