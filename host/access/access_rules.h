// The rules of access control (RFC 8341), as the configuration of ietf-netconf-acm says them. Says nothing of what they
// mean for a request: see user_rights.h.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "access/data_path.h"

namespace qnips
{

// Bits, because a rule is about several.
enum class AccessOperation : unsigned { create = 1, read = 2, update = 4, delete_node = 8, exec = 16 };
constexpr unsigned all_access_operations = 31;

enum class AccessAction { permit, deny };

// In names "*" stands for any.
struct AccessRule {
    struct Anything {
    };
    struct Rpc {
        std::string name;
    };
    struct Notification {
        std::string name;
    };
    using Target = std::variant<Anything, Rpc, Notification, DataPath>;

    std::string module = "*"; // of the operation, the notification, or the data node
    Target target;
    unsigned operations = all_access_operations;
    AccessAction action = AccessAction::deny;

    [[nodiscard]] bool is_about(AccessOperation operation) const
    {
        return (operations & static_cast<unsigned>(operation)) != 0;
    }
};

struct AccessRuleList {
    std::vector<std::string> groups; // whom it is for; "*" for everybody who is in a group
    std::vector<AccessRule> rules;
};

// As it stands here it is what holds without a configuration.
struct AccessRules {
    bool enabled = true;
    AccessAction read_default = AccessAction::permit;
    AccessAction write_default = AccessAction::deny;
    AccessAction exec_default = AccessAction::permit;
    bool external_groups = true; // groups that the transport has found for a user count as well
    std::map<std::string, std::vector<std::string>, std::less<>> groups_of_user{};
    std::vector<AccessRuleList> rule_lists{}; // in the order in which they are tried, as their rules are
};

// Reads the rules from a valid tree with ietf-netconf-acm among its roots; from one without it (or null) those that
// hold without a configuration. Throws RpcError "invalid-value", with the path of the leaf, for a rule whose path
// cannot be used. The schema must outlive the rules.
AccessRules read_access_rules(const lyd_node* first);

} // namespace qnips
