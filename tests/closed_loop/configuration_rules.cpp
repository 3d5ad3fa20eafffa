#include "configuration_rules.h"

#include <algorithm>
#include <array>
#include <utility>

#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

std::string value_at(ConfigNode& parent, std::string_view name)
{
    const ConfigNode* leaf = child(parent, name);
    return leaf != nullptr ? leaf->value : std::string();
}

void drop(ConfigNode& parent, std::string_view name)
{
    std::erase_if(parent.children, [&](const ConfigNode& node) { return name == node.schema->name; });
}

void put(ConfigNode& parent, std::string_view name, std::string value)
{
    if (ConfigNode* leaf = child(parent, name)) {
        leaf->value = std::move(value);
        return;
    }
    const lysc_node* schema =
        lys_find_child(parent.schema, parent.schema->module, name.data(), name.size(), LYS_LEAF, 0);
    parent.children.push_back({schema, std::move(value), {}});
}

void add_mandatory(ConfigNode& node, const ValueOf& value_of)
{
    const lysc_node* schema = nullptr;
    while ((schema = lys_getnext(schema, node.schema, nullptr, 0)) != nullptr) {
        const bool mandatory = schema->nodetype == LYS_LEAF && (schema->flags & LYS_MAND_TRUE) != 0;
        if (mandatory && !lysc_is_key(schema) && child(node, schema->name) == nullptr)
            node.children.push_back({schema, value_of(schema, node), {}});
    }
}

// ------------------------------------------------------------------------------------------------- addresses --

bool is_ipv6(const std::string& address)
{
    return address.find(':') != std::string::npos;
}

// IPv4 addresses are compared by their last number first.
std::array<int, 4> order_of(const std::string& address)
{
    std::array<int, 4> numbers{};
    std::size_t at = 0;
    for (int& number : numbers) {
        number = std::stoi(address.substr(at));
        at = address.find('.', at) + 1;
    }
    std::reverse(numbers.begin(), numbers.end());
    return numbers;
}

bool is_above(const std::string& first, const std::string& last)
{
    return is_ipv6(first) ? first > last : order_of(first) > order_of(last);
}

// The leaves of a rule that hold an address.
std::vector<ConfigNode*> addresses(ConfigNode& rule)
{
    std::vector<ConfigNode*> leaves;
    for (const char* name : {"source-ip", "destination-ip"})
        if (ConfigNode* leaf = child(rule, name))
            leaves.push_back(leaf);
    for (const char* name : {"source-ip-range", "destination-ip-range"}) {
        ConfigNode* range = child(rule, name);
        for (const char* end : {"start-ip", "end-ip"})
            if (range != nullptr && child(*range, end) != nullptr)
                leaves.push_back(child(*range, end));
    }
    return leaves;
}

void fix_range(ConfigNode& range)
{
    ConfigNode* start = child(range, "start-ip");
    ConfigNode* end = child(range, "end-ip");
    if (is_above(start->value, end->value))
        std::swap(start->value, end->value);
}

// All addresses are of the family of the first.
void fix_rule(ConfigNode& rule, const ValueOf& value_of)
{
    for (const char* name : {"source-ip-range", "destination-ip-range"})
        if (ConfigNode* range = child(rule, name))
            add_mandatory(*range, value_of);
    const std::vector<ConfigNode*> leaves = addresses(rule);
    for (ConfigNode* leaf : leaves)
        while (is_ipv6(leaf->value) != is_ipv6(leaves.front()->value))
            leaf->value = value_of(leaf->schema, rule);
    for (const char* name : {"source-ip-range", "destination-ip-range"})
        if (ConfigNode* range = child(rule, name))
            fix_range(*range);
}

// ----------------------------------------------------------------------------------------------- other rules --

void fix_exception(ConfigNode& exception)
{
    const std::string action = value_at(exception, "action");
    if (action != "block-source-ip" && action != "block-destination-ip")
        drop(exception, "timeout");
    if (action.empty() || action == "allow")
        drop(exception, "interworking");
}

void fix_signature(ConfigNode& signature)
{
    const bool associated = value_at(signature, "associated-enable") == "true";
    if (associated)
        drop(signature, "target");
    if (ConfigNode* rules = child(signature, "signature-rule-information"))
        drop(*rules, associated ? "protocol-rules" : "associated-rule");
}

void fix_category(ConfigNode& category)
{
    if (child(category, "sub-category") == nullptr)
        put(category, "all-sub-category", "true");
    else if (value_at(category, "all-sub-category") == "true")
        drop(category, "sub-category");
}

void fix(ConfigNode& node, const ValueOf& value_of)
{
    const std::string_view name = node.schema->name;
    const auto drop_beside_all = [&](const char* all, const char* single) {
        if (value_at(node, all) == "true")
            drop(node, single);
    };
    if (name == "vsys" && value_at(node, "name") == "public" && value_at(node, "ips-enable") == "false")
        drop(node, "ips-enable");
    else if (name == "application")
        drop_beside_all("all-application", "specifed-application");
    else if (name == "protocol" && !node.children.empty())
        drop_beside_all("all-protocol", "specifed-protocol");
    else if (name == "category")
        drop_beside_all("all-category", "specifed-category");
    else if (name == "specifed-category")
        fix_category(node);
    else if (name == "exception-signature")
        fix_exception(node);
    else if (name == "request-type" && std::stoi(value_at(node, "end-type")) < std::stoi(value_at(node, "start-type")))
        put(node, "end-type", value_at(node, "start-type"));
    else if (name == "signature" && child(node, "associated-enable") != nullptr)
        fix_signature(node);
    else if (name == "signature-rule")
        fix_rule(node, value_of);
    else if (name == "rule-condition" && value_at(node, "operator") == "prefix-match")
        drop(node, "offset");
    else if (name == "associated-condition" && node.children.empty())
        put(node, "threshold", "30");
}

const lysc_node* case_of(const lysc_node* schema)
{
    const lysc_node* parent = schema->parent;
    return parent != nullptr && parent->nodetype == LYS_CASE ? parent : nullptr;
}

} // namespace

ConfigNode* child(ConfigNode& parent, std::string_view name)
{
    const auto found = std::find_if(parent.children.begin(), parent.children.end(),
                                    [&](const ConfigNode& node) { return name == node.schema->name; });
    return found != parent.children.end() ? &*found : nullptr;
}

void keep_case_of(Config& siblings, const lysc_node* schema)
{
    const lysc_node* mine = case_of(schema);
    std::erase_if(siblings, [&](const ConfigNode& node) {
        const lysc_node* other = case_of(node.schema);
        return mine != nullptr && other != nullptr && other != mine && other->parent == mine->parent;
    });
}

void make_valid(Config& config, const ValueOf& value_of)
{
    for (ConfigNode& node : config) {
        if ((node.schema->nodetype & LYD_NODE_TERM) != 0)
            continue;
        add_mandatory(node, value_of);
        fix(node, value_of);
        make_valid(node.children, value_of);
    }
    std::erase_if(config, [](const ConfigNode& node) { return lysc_is_np_cont(node.schema) && node.children.empty(); });
}

} // namespace qnips::test
