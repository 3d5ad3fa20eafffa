#include "access/access_control.h"

#include <stdexcept>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "access/readable_tree.h"
#include "access/write_check.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

std::string_view verb_of(AccessOperation operation)
{
    if (operation == AccessOperation::create)
        return "create";
    if (operation == AccessOperation::update)
        return "update";
    return "delete";
}

} // namespace

bool AccessControl::may_execute(const AccessUser& user, const lysc_node* rpc)
{
    const bool permitted = UserRights(rules_, user).may_execute(rpc);
    counters_.denied_operations += permitted ? 0 : 1;
    return permitted;
}

bool AccessControl::may_receive(const AccessUser& user, const lysc_node* notification)
{
    const bool permitted = UserRights(rules_, user).may_receive(notification);
    counters_.denied_notifications += permitted ? 0 : 1;
    return permitted;
}

TreePtr AccessControl::readable(const AccessUser& user, TreePtr tree) const
{
    UserRights rights(rules_, user);
    return readable_part(rights, std::move(tree));
}

void AccessControl::check_writes(const AccessUser& user, const ChangeSet& changes)
{
    UserRights rights(rules_, user);
    const std::optional<DeniedWrite> denied = first_denied_write(rights, changes);
    if (!denied)
        return;
    ++counters_.denied_data_writes;
    throw RpcError("access-denied", denied->path,
                   denied->operation
                       ? fmt::format("user \"{}\" may not {} this node", user.name, verb_of(*denied->operation))
                       : fmt::format("user \"{}\" may not change what the edit changes here", user.name));
}

TreePtr AccessControl::state(const YangSchema& schema) const
{
    const std::pair<const char*, std::uint32_t> leaves[] = {{"denied-operations", counters_.denied_operations},
                                                            {"denied-data-writes", counters_.denied_data_writes},
                                                            {"denied-notifications", counters_.denied_notifications}};
    const lys_module* module = ly_ctx_get_module_implemented(schema.context(), "ietf-netconf-acm");
    lyd_node* nacm = nullptr;
    if (module == nullptr || lyd_new_inner(nullptr, module, "nacm", 0, &nacm) != LY_SUCCESS)
        throw std::runtime_error("the schema has no ietf-netconf-acm");
    TreePtr tree(nacm);
    for (const auto& [name, count] : leaves)
        if (lyd_new_term(nacm, nullptr, name, fmt::to_string(count).c_str(), 0, nullptr) != LY_SUCCESS)
            throw std::runtime_error(fmt::format("the counter {} cannot be made", name));
    return tree;
}

} // namespace qnips
