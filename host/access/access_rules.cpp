#include "access/access_rules.h"

#include <string_view>
#include <utility>

#include <libyang/libyang.h>

#include "server/yang_schema.h"

namespace qnips
{

namespace
{

AccessAction action_of(std::string_view value)
{
    return value == "permit" ? AccessAction::permit : AccessAction::deny;
}

unsigned operations_of(std::string_view value)
{
    static constexpr std::pair<std::string_view, AccessOperation> names[] = {{"create", AccessOperation::create},
                                                                             {"read", AccessOperation::read},
                                                                             {"update", AccessOperation::update},
                                                                             {"delete", AccessOperation::delete_node},
                                                                             {"exec", AccessOperation::exec}};
    if (value == "*")
        return all_access_operations;
    unsigned operations = 0;
    while (!value.empty()) {
        const std::string_view word = value.substr(0, value.find(' '));
        value.remove_prefix(word.size());
        value.remove_prefix(value.empty() ? 0 : 1);
        for (const auto& [name, operation] : names)
            if (word == name)
                operations |= static_cast<unsigned>(operation);
    }
    return operations;
}

AccessRule rule_of(const lyd_node* entry)
{
    AccessRule rule;
    for (const lyd_node* node = lyd_child(entry); node != nullptr; node = node->next) {
        const std::string_view name = schema_name(node->schema);
        if (name == "module-name")
            rule.module = lyd_get_value(node);
        else if (name == "rpc-name")
            rule.target = AccessRule::Rpc{lyd_get_value(node)};
        else if (name == "notification-name")
            rule.target = AccessRule::Notification{lyd_get_value(node)};
        else if (name == "path")
            rule.target = DataPath::read(node);
        else if (name == "access-operations")
            rule.operations = operations_of(lyd_get_value(node));
        else if (name == "action")
            rule.action = action_of(lyd_get_value(node));
    }
    return rule;
}

AccessRuleList rule_list_of(const lyd_node* entry)
{
    AccessRuleList list;
    for (const lyd_node* node = lyd_child(entry); node != nullptr; node = node->next) {
        const std::string_view name = schema_name(node->schema);
        if (name == "group")
            list.groups.emplace_back(lyd_get_value(node));
        else if (name == "rule")
            list.rules.push_back(rule_of(node));
    }
    return list;
}

void read_groups(const lyd_node* groups, AccessRules& rules)
{
    for (const lyd_node* group = lyd_child(groups); group != nullptr; group = group->next) {
        const char* name = lyd_get_value(lyd_child(group));
        for (const lyd_node* node = lyd_child(group); node != nullptr; node = node->next)
            if (schema_name(node->schema) == "user-name")
                rules.groups_of_user[lyd_get_value(node)].emplace_back(name);
    }
}

AccessRules rules_of(const lyd_node* nacm)
{
    AccessRules rules;
    for (const lyd_node* node = lyd_child(nacm); node != nullptr; node = node->next) {
        const std::string_view name = schema_name(node->schema);
        if (name == "groups")
            read_groups(node, rules);
        else if (name == "rule-list")
            rules.rule_lists.push_back(rule_list_of(node));
        else if (name == "enable-nacm")
            rules.enabled = std::string_view(lyd_get_value(node)) == "true";
        else if (name == "enable-external-groups")
            rules.external_groups = std::string_view(lyd_get_value(node)) == "true";
        else if (name == "read-default")
            rules.read_default = action_of(lyd_get_value(node));
        else if (name == "write-default")
            rules.write_default = action_of(lyd_get_value(node));
        else if (name == "exec-default")
            rules.exec_default = action_of(lyd_get_value(node));
    }
    return rules;
}

} // namespace

AccessRules read_access_rules(const lyd_node* first)
{
    for (const lyd_node* root = first; root != nullptr; root = root->next)
        if (root->schema != nullptr && std::string_view(root->schema->module->name) == "ietf-netconf-acm" &&
            schema_name(root->schema) == "nacm")
            return rules_of(root);
    return {};
}

} // namespace qnips
