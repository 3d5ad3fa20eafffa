#include "conformance/schema_facts.h"

#include <stdexcept>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/yang_schema.h"

namespace qnips::conformance
{

namespace
{

// libyang's sized arrays as ranges.
template <class Item>
std::size_t sized(const Item* array)
{
    return LY_ARRAY_COUNT(array);
}

std::string one_line(const char* text)
{
    std::string line;
    for (const char* at = text; at != nullptr && *at != '\0'; ++at) {
        const bool blank = *at == ' ' || *at == '\n';
        if (!blank)
            line += *at;
        else if (!line.empty() && !line.ends_with(' '))
            line += ' ';
    }
    return line;
}

Bounds bounds_of(const lysc_range* range, std::uint64_t least, std::uint64_t most)
{
    if (range == nullptr)
        return {least, most};
    return {range->parts[0].min_u64, range->parts[sized(range->parts) - 1].max_u64};
}

Bounds number_bounds(const lysc_type* type)
{
    const auto* number = reinterpret_cast<const lysc_type_num*>(type);
    std::uint64_t most = UINT64_MAX;
    if (type->basetype == LY_TYPE_UINT8)
        most = UINT8_MAX;
    else if (type->basetype == LY_TYPE_UINT16)
        most = UINT16_MAX;
    else if (type->basetype == LY_TYPE_UINT32)
        most = UINT32_MAX;
    return bounds_of(number->range, 0, most);
}

std::vector<std::string> words_of(const lysc_type* type)
{
    if (type->basetype == LY_TYPE_BOOL)
        return {"true", "false"};
    std::vector<std::string> words;
    if (type->basetype == LY_TYPE_ENUM) {
        const auto* enums = reinterpret_cast<const lysc_type_enum*>(type)->enums;
        for (std::size_t at = 0; at < sized(enums); ++at)
            words.emplace_back(enums[at].name);
    }
    return words;
}

// The name of the type that the YANG text gives the leaf; empty for a built-in one.
std::string named_type_of(const lysc_node* node)
{
    const auto* parsed = static_cast<const lysp_node*>(node->priv);
    if (parsed == nullptr)
        return {};
    const char* name = node->nodetype == LYS_LEAF ? reinterpret_cast<const lysp_node_leaf*>(parsed)->type.name
                                                  : reinterpret_cast<const lysp_node_leaflist*>(parsed)->type.name;
    const auto* typedefs = node->module->parsed->typedefs;
    for (std::size_t at = 0; at < sized(typedefs); ++at) {
        if (std::string_view(typedefs[at].name) == name)
            return name;
    }
    return {};
}

std::string type_text(const lysc_type* type, const SchemaFacts& facts)
{
    if (!facts.words.empty()) {
        std::string text;
        for (const std::string& word : facts.words)
            text += (text.empty() ? "`" : ", `") + word + '`';
        return text;
    }
    if (facts.range)
        return fmt::format("a number from {} to {}", facts.range->least, facts.range->most);
    std::string text = facts.type_name.empty() ? "text" : fmt::format("[{0}](#type-{0})", facts.type_name);
    if (const auto* length = reinterpret_cast<const lysc_type_str*>(type)->length) {
        const Bounds characters = bounds_of(length, 0, UINT64_MAX);
        text += fmt::format(" of {} to {} characters", characters.least, characters.most);
    }
    return text;
}

void add_value_facts(SchemaFacts& facts, const lysc_node* node)
{
    const auto* leaf = reinterpret_cast<const lysc_node_leaf*>(node);
    const bool is_leaf = node->nodetype == LYS_LEAF;
    const lysc_type* type = is_leaf ? leaf->type : reinterpret_cast<const lysc_node_leaflist*>(node)->type;
    const char* units = is_leaf ? leaf->units : nullptr;
    facts.type_name = named_type_of(node);
    facts.words = words_of(type);
    if (facts.words.empty() && type->basetype != LY_TYPE_STRING)
        facts.range = number_bounds(type);
    facts.accepts = type_text(type, facts);
    if (units != nullptr)
        facts.accepts += fmt::format(" ({})", units);
    if (is_leaf && leaf->dflt != nullptr)
        facts.accepts += fmt::format("; `{}` when absent", lyd_value_get_canonical(node->module->ctx, leaf->dflt));
    if (facts.key)
        facts.accepts += "; key";
    else if (facts.mandatory)
        facts.accepts += "; mandatory";
    if (!is_leaf)
        facts.accepts += "; any number of values";
}

std::string structure_text(const lysc_node* node, const SchemaFacts& facts)
{
    if (facts.shape == NodeShape::container)
        return node->flags & LYS_PRESENCE ? "container with presence" : "container";
    std::string keys;
    for (const lysc_node* child = lysc_node_child(node); child != nullptr; child = child->next) {
        if (lysc_is_key(child))
            keys += (keys.empty() ? "`" : ", `") + std::string(child->name) + '`';
    }
    return fmt::format("list entry, key {}{}", keys, facts.ordered_by_user ? ", ordered by the user" : "");
}

void add_choice(SchemaFacts& facts, const lysc_node* own_case)
{
    const lysc_node* choice = own_case->parent;
    facts.accepts += fmt::format("; a case of the choice `{}`", choice->name);
    for (const lysc_node* other = lysc_node_child(choice); other != nullptr; other = other->next) {
        if (other != own_case && lysc_node_child(other) != nullptr)
            facts.other_cases.emplace_back(lysc_node_child(other)->name);
    }
}

NodeShape shape_of(const lysc_node* node)
{
    switch (node->nodetype) {
    case LYS_LEAF:
        return NodeShape::leaf;
    case LYS_LEAFLIST:
        return NodeShape::leaf_list;
    case LYS_LIST:
        return NodeShape::list;
    default:
        return NodeShape::container;
    }
}

} // namespace

SchemaFacts schema_facts(const YangSchema& schema, const std::string& path)
{
    const lysc_node* node = schema.find(path);
    if (node == nullptr)
        throw std::invalid_argument("no node of the schema: " + path);
    SchemaFacts facts;
    facts.shape = shape_of(node);
    facts.key = lysc_is_key(node);
    facts.mandatory = (node->flags & LYS_MAND_TRUE) != 0;
    facts.ordered_by_user = facts.shape == NodeShape::list && lysc_is_userordered(node);
    if (facts.is_value())
        add_value_facts(facts, node);
    else
        facts.accepts = structure_text(node, facts);
    if (node->parent != nullptr && node->parent->nodetype == LYS_CASE)
        add_choice(facts, node->parent);
    if (const lysc_must* musts = lysc_node_musts(node)) {
        for (std::size_t at = 0; at < sized(musts); ++at)
            facts.demands.push_back(one_line(musts[at].emsg));
    }
    return facts;
}

std::vector<NamedType> named_types(const YangSchema& schema)
{
    std::vector<NamedType> types;
    const auto* typedefs = schema.module()->parsed->typedefs;
    for (std::size_t at = 0; at < sized(typedefs); ++at)
        types.push_back({typedefs[at].name, one_line(typedefs[at].dsc)});
    return types;
}

YangSchema load_schema()
{
    YangSchema schema({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR});
    // Lets a compiled leaf lead to its statement, which has the name of its type.
    if (ly_ctx_set_options(schema.context(), LY_CTX_SET_PRIV_PARSED) != LY_SUCCESS)
        throw std::runtime_error("the schema cannot be compiled again");
    return schema;
}

} // namespace qnips::conformance
