#include "server/edit_attributes.h"

#include <algorithm>
#include <array>
#include <span>

#include <fmt/format.h>

namespace qnips
{

namespace
{

constexpr const char* netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char* yang_namespace = "urn:ietf:params:xml:ns:yang:1";

constexpr std::array<std::string_view, 5> operations = {"merge", "replace", "create", "delete", "remove"};
constexpr std::array<std::string_view, 4> places = {"first", "last", "before", "after"};

struct AttributeRule {
    std::string_view name;
    std::string_view prefix; // the usual one, for the advice
    std::string_view space;
    std::string_view kind; // of its value
    std::span<const std::string_view> words;
};
constexpr AttributeRule attribute_rules[] = {{"operation", "nc", netconf_namespace, "an operation", operations},
                                             {"insert", "yang", yang_namespace, "a place", places},
                                             {"key", "yang", yang_namespace, "", {}},
                                             {"value", "yang", yang_namespace, "", {}}};

// "merge, replace or create"
std::string alternatives(std::span<const std::string_view> words)
{
    std::string text;
    for (const std::string_view& word : words) {
        if (!text.empty())
            text += &word == &words.back() ? " or " : ", ";
        text += word;
    }
    return text;
}

const AttributeRule* rule_for(std::string_view name)
{
    for (const AttributeRule& rule : attribute_rules)
        if (rule.name == name)
            return &rule;
    return nullptr;
}

std::string unknown_attribute_reason(std::string_view name, std::string_view space, std::string_view value)
{
    const AttributeRule* rule = rule_for(name);
    const std::string subject = space.empty() ? fmt::format("attribute \"{}\" has no namespace", name)
                                              : fmt::format("attribute \"{}\" of namespace \"{}\"", name, space);
    const std::string meaning = space.empty() ? "" : " has no meaning here";
    if (rule == nullptr)
        return subject + (space.empty() ? " and no meaning here" : meaning);
    return fmt::format("{}{}; write {}:{}=\"{}\" with xmlns:{}=\"{}\"", subject, meaning, rule->prefix, name, value,
                       rule->prefix, rule->space);
}

} // namespace

std::optional<AttributeFault> attribute_fault(std::string_view name, std::string_view space, std::string_view value)
{
    const AttributeRule* rule = rule_for(name);
    if (rule == nullptr || rule->space != space)
        return AttributeFault{"unknown-attribute", unknown_attribute_reason(name, space, value)};
    if (!rule->words.empty() && std::find(rule->words.begin(), rule->words.end(), value) == rule->words.end())
        return AttributeFault{"bad-attribute", fmt::format("\"{}\" is not {}; expected {}", value, rule->kind,
                                                           alternatives(rule->words))};
    return std::nullopt;
}

AttributeFault frame_attribute_fault(std::string_view name)
{
    return {
        "unknown-attribute",
        fmt::format("<config> takes no attribute \"{}\"; an operation stands at a node of the configuration, that of "
                    "all nodes without one in <default-operation>",
                    name)};
}

} // namespace qnips
