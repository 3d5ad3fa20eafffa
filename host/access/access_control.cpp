#include "access/access_control.h"

#include <new>
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

void AccessControl::use(AccessRules rules, TreePtr configuration)
{
    auto next = std::make_shared<const Present>(Present{std::move(rules), std::move(configuration)});
    const std::lock_guard guard(mutex_);
    present_.swap(next);
}

std::shared_ptr<const AccessControl::Present> AccessControl::present() const
{
    const std::lock_guard guard(mutex_);
    return present_;
}

bool AccessControl::is_unlimited(const AccessUser& user) const
{
    return UserRights(present()->rules, user).are_unlimited();
}

bool AccessControl::may_execute(const AccessUser& user, const lysc_node* rpc)
{
    const bool permitted = UserRights(present()->rules, user).may_execute(rpc);
    denied_operations_ += permitted ? 0 : 1;
    return permitted;
}

bool AccessControl::may_receive(const AccessUser& user, const lysc_node* notification)
{
    const bool permitted = UserRights(present()->rules, user).may_receive(notification);
    denied_notifications_ += permitted ? 0 : 1;
    return permitted;
}

TreePtr AccessControl::readable(const AccessUser& user, TreePtr tree) const
{
    const std::shared_ptr<const Present> rules = present();
    UserRights rights(rules->rules, user);
    return readable_part(rights, std::move(tree));
}

void AccessControl::check_writes(const AccessUser& user, const ChangeSet& changes)
{
    const std::shared_ptr<const Present> rules = present();
    UserRights rights(rules->rules, user);
    const std::optional<DeniedWrite> denied = first_denied_write(rights, changes);
    if (!denied)
        return;
    ++denied_data_writes_;
    throw RpcError("access-denied", denied->path,
                   denied->operation
                       ? fmt::format("user \"{}\" may not {} this node", user.name, verb_of(*denied->operation))
                       : fmt::format("user \"{}\" may not change what the edit changes here", user.name));
}

AccessCounters AccessControl::counters() const
{
    return {denied_operations_, denied_data_writes_, denied_notifications_};
}

TreePtr AccessControl::configuration() const
{
    const std::shared_ptr<const Present> source = present();
    lyd_node* copy = nullptr;
    if (source->configuration != nullptr && lyd_dup_single(source->configuration.get(), nullptr,
                                                           LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy) != LY_SUCCESS)
        throw std::bad_alloc();
    return TreePtr(copy);
}

TreePtr AccessControl::state(const YangSchema& schema) const
{
    const AccessCounters count = counters();
    const std::pair<const char*, std::uint32_t> leaves[] = {{"denied-operations", count.denied_operations},
                                                            {"denied-data-writes", count.denied_data_writes},
                                                            {"denied-notifications", count.denied_notifications}};
    TreePtr tree = configuration();
    if (tree == nullptr) {
        const lys_module* module = ly_ctx_get_module_implemented(schema.context(), "ietf-netconf-acm");
        lyd_node* nacm = nullptr;
        if (module == nullptr || lyd_new_inner(nullptr, module, "nacm", 0, &nacm) != LY_SUCCESS)
            throw std::runtime_error("the schema has no ietf-netconf-acm");
        tree.reset(nacm);
    }
    for (const auto& [name, value] : leaves)
        if (lyd_new_term(tree.get(), nullptr, name, fmt::to_string(value).c_str(), 0, nullptr) != LY_SUCCESS)
            throw std::runtime_error(fmt::format("the counter {} cannot be made", name));
    return tree;
}

} // namespace qnips
