#include "access/user_rights.h"

#include <algorithm>
#include <string_view>

#include <libyang/libyang.h>

#include "server/yang_schema.h"

namespace qnips
{

namespace
{

bool is_named(std::string_view pattern, std::string_view name)
{
    return pattern == "*" || pattern == name;
}

bool is_node(const lysc_node* schema, std::string_view module, std::string_view name)
{
    return module == schema->module->name && name == schema->name;
}

// Whether the definition of the node itself carries an extension of ietf-netconf-acm.
bool has_extension(const lysc_node* schema, std::string_view name)
{
    for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(schema->exts); ++i) {
        const lysc_ext* extension = schema->exts[i].def;
        if (name == extension->name && std::string_view(extension->module->name) == "ietf-netconf-acm")
            return true;
    }
    return false;
}

// It holds for all that is below the node that carries it, also when that is a choice or a case (RFC 8341, 3.4.5).
// libyang copies it to the nodes below as it compiles them, which it does not promise.
bool is_marked(const lysc_node* schema, std::string_view extension)
{
    while (schema != nullptr && !has_extension(schema, extension))
        schema = schema->parent;
    return schema != nullptr;
}

std::vector<std::string> groups_of(const AccessRules& rules, const AccessUser& user)
{
    std::vector<std::string> groups;
    if (const auto known = rules.groups_of_user.find(user.name); known != rules.groups_of_user.end())
        groups = known->second;
    if (rules.external_groups)
        groups.insert(groups.end(), user.groups.begin(), user.groups.end());
    return groups;
}

bool is_for(const AccessRuleList& list, const std::vector<std::string>& groups)
{
    return std::any_of(list.groups.begin(), list.groups.end(), [&](const std::string& name) {
        return name == "*" || std::find(groups.begin(), groups.end(), name) != groups.end();
    });
}

bool is_permitted(AccessAction action)
{
    return action == AccessAction::permit;
}

} // namespace

UserRights::UserRights(const AccessRules& rules, const AccessUser& user)
    : rules_(rules), unlimited_(!rules.enabled || user.is_recovery)
{
    const std::vector<std::string> groups = groups_of(rules, user);
    if (unlimited_ || groups.empty()) // who is in no group has no rules, not even those for all groups
        return;
    for (const AccessRuleList& list : rules.rule_lists)
        if (is_for(list, groups))
            for (const AccessRule& rule : list.rules)
                own_.push_back(&rule);
}

bool UserRights::may_execute(const lysc_node* rpc) const
{
    if (unlimited_ || is_node(rpc, "ietf-netconf", "close-session"))
        return true;
    for (const AccessRule* rule : own_) {
        const auto* named = std::get_if<AccessRule::Rpc>(&rule->target);
        const bool fits = named != nullptr ? is_named(named->name, rpc->name)
                                           : std::holds_alternative<AccessRule::Anything>(rule->target);
        if (fits && rule->is_about(AccessOperation::exec) && is_named(rule->module, rpc->module->name))
            return is_permitted(rule->action);
    }
    // The two operations by name: ietf-netconf is older than the extension.
    if (is_marked(rpc, "default-deny-all") || is_node(rpc, "ietf-netconf", "kill-session") ||
        is_node(rpc, "ietf-netconf", "delete-config"))
        return false;
    return is_permitted(rules_.exec_default);
}

bool UserRights::may_receive(const lysc_node* notification) const
{
    if (unlimited_ || is_node(notification, "nc-notifications", "replayComplete") ||
        is_node(notification, "nc-notifications", "notificationComplete"))
        return true;
    for (const AccessRule* rule : own_) {
        const auto* named = std::get_if<AccessRule::Notification>(&rule->target);
        const bool fits = named != nullptr ? is_named(named->name, notification->name)
                                           : std::holds_alternative<AccessRule::Anything>(rule->target);
        if (fits && rule->is_about(AccessOperation::read) && is_named(rule->module, notification->module->name))
            return is_permitted(rule->action);
    }
    return !is_marked(notification, "default-deny-all") && is_permitted(rules_.read_default);
}

bool UserRights::may(AccessOperation operation, NodeLine line)
{
    if (unlimited_)
        return true;
    const lysc_node* schema = line.back()->schema;
    auto known = verdicts_.find({schema, operation});
    if (known == verdicts_.end())
        known = verdicts_.emplace(std::pair{schema, operation}, verdict_of(operation, schema)).first;
    const Verdict& verdict = known->second;
    for (const AccessRule* rule : verdict.by_instance)
        if (std::get<DataPath>(rule->target).covers(line))
            return is_permitted(rule->action);
    return verdict.otherwise;
}

UserRights::Verdict UserRights::verdict_of(AccessOperation operation, const lysc_node* schema) const
{
    Verdict verdict;
    for (const AccessRule* rule : own_) {
        if (!rule->is_about(operation) || !is_named(rule->module, schema->module->name))
            continue;
        const auto* path = std::get_if<DataPath>(&rule->target);
        const bool fits =
            path != nullptr ? path->reaches(schema) : std::holds_alternative<AccessRule::Anything>(rule->target);
        if (!fits)
            continue;
        if (path == nullptr || path->is_for_all_instances()) {
            verdict.otherwise = is_permitted(rule->action);
            return verdict;
        }
        verdict.by_instance.push_back(rule);
    }
    verdict.otherwise = permitted_without_rule(operation, schema);
    return verdict;
}

bool UserRights::permitted_without_rule(AccessOperation operation, const lysc_node* schema) const
{
    if (is_marked(schema, "default-deny-all"))
        return false;
    if (operation == AccessOperation::read)
        return is_permitted(rules_.read_default);
    return !is_marked(schema, "default-deny-write") && is_permitted(rules_.write_default);
}

bool may_read(UserRights& rights, std::vector<const lyd_node*>& line)
{
    const lyd_node* node = line.back();
    if (!rights.may(AccessOperation::read, line))
        return false;
    bool readable = true;
    for (const lyd_node* key = lyd_child(node); readable && key != nullptr && lysc_is_key(key->schema);
         key = key->next) {
        line.push_back(key);
        readable = rights.may(AccessOperation::read, line);
        line.pop_back();
    }
    return readable;
}

} // namespace qnips
