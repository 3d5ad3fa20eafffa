// What one user may do: the rules of access control, and what holds where no rule does, for one request at a time.
//
// A rule counts for a user when its list names one of the user's groups. The first rule that fits decides (RFC 8341,
// 3.4.4 to 3.4.6). Most rules fit all instances of a schema node or none. So the answer for a schema node is worked out
// once, and an instance costs a look-up and the comparison of the keys that rules name for it.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "access/access_rules.h"

namespace qnips
{

struct AccessUser {
    std::string name;
    std::vector<std::string> groups{}; // as the transport has found them, the system's groups for example
    // The recovery session of the local administrator, to whom no rule and no default applies (RFC 8341, 2). Whether a
    // session is one is not in the rules, so that rules that shut out everybody can be put right.
    bool is_recovery = false;
};

// To be made for a request and dropped with it: it refers to the rules.
class UserRights
{
public:
    UserRights(const AccessRules& rules, const AccessUser& user);

    // Whether everything is permitted.
    [[nodiscard]] bool are_unlimited() const { return unlimited_; }

    // `rpc`: the schema node of an rpc; not of an action.
    [[nodiscard]] bool may_execute(const lysc_node* rpc) const;

    // `notification`: the schema node of a notification at the top of its module.
    [[nodiscard]] bool may_receive(const lysc_node* notification) const;

    // Whether the operation, one of create, read, update and delete, is permitted on the last node of the line. For
    // itself: an ancestor that may not be read hides it nevertheless.
    bool may(AccessOperation operation, NodeLine line);

private:
    // The answer for the instances of one schema node.
    struct Verdict {
        std::vector<const AccessRule*> by_instance; // in order, those that are for some instances
        bool otherwise = false;                     // whether it is permitted where none of them fits
    };

    Verdict verdict_of(AccessOperation operation, const lysc_node* schema) const;
    [[nodiscard]] bool permitted_without_rule(AccessOperation operation, const lysc_node* schema) const;

    const AccessRules& rules_;
    bool unlimited_;
    std::vector<const AccessRule*> own_; // those that count for the user, in order
    std::map<std::pair<const lysc_node*, AccessOperation>, Verdict> verdicts_;
};

// Whether the last node of the line may be read, and, of a list entry, its keys: without them it is no entry. The line
// is used for the keys, and as it was afterwards.
bool may_read(UserRights& rights, std::vector<const lyd_node*>& line);

} // namespace qnips
