#include "netconf/request_access.h"

#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/rpc_error.h"
#include "server/touched_nodes.h"

namespace qnips
{

namespace
{

ConfigTree content(const Datastores& datastores, DatastoreName name)
{
    switch (name) {
    case DatastoreName::running:
        return copy_of(datastores.running());
    case DatastoreName::candidate:
        return copy_of(datastores.candidate());
    case DatastoreName::startup:
        break;
    }
    return datastores.startup();
}

bool is_same(const RpcError& one, const RpcError& other)
{
    return one.path() == other.path() && std::string_view(one.what()) == other.what();
}

} // namespace

void require_execution(AccessControl& access, const AccessUser& user, const lyd_node* rpc)
{
    if (!access.may_execute(user, rpc->schema))
        throw RpcError("access-denied", instance_path(rpc),
                       fmt::format("user \"{}\" may not carry out <{}>", user.name, node_name(rpc)));
}

ChangeCheck check_of(AccessControl& access, const AccessUser& user)
{
    if (access.is_unlimited(user))
        return {};
    return [&access, &user](const ChangeSet& changes) { access.check_writes(user, changes); };
}

Datastores::Source readable_source(const AccessControl& access, const AccessUser& user, const Datastores& datastores,
                                   Datastores::Source source)
{
    const auto* name = std::get_if<DatastoreName>(&source);
    if (name == nullptr || access.is_unlimited(user))
        return source;
    const ConfigTree whole = content(datastores, *name);
    ConfigTree part(access.readable(user, copy_of(whole).release()));
    // The datastore itself, where it is the same, because that can cost less.
    if (lyd_compare_siblings(whole.first(), part.first(), LYD_COMPARE_FULL_RECURSION) == LY_SUCCESS)
        return source;
    return part;
}

void validate_for(const AccessControl& access, const AccessUser& user, const Datastores& datastores,
                  const Datastores::Source& source)
{
    try {
        datastores.validate(source);
    } catch (const RpcError& error) {
        const auto* name = std::get_if<DatastoreName>(&source);
        if (name == nullptr || access.is_unlimited(user))
            throw;
        // A fault that the readable part has as well tells nothing that cannot be read.
        try {
            datastores.validate(ConfigTree(access.readable(user, content(datastores, *name).release())));
        } catch (const RpcError& seen) {
            if (is_same(seen, error))
                throw;
        }
        throw RpcError(error.tag(), {},
                       fmt::format("{} is not valid, in a part that the user may not read", datastore_word(*name)));
    }
}

void refuse_access_rules(const lyd_node* first)
{
    for (const lyd_node* root = first; root != nullptr; root = root->next)
        if (node_namespace(root) == access_namespace)
            throw RpcError("operation-not-supported", "/nacm:nacm",
                           "the access rules are read from a file of the server and cannot be changed by NETCONF");
}

} // namespace qnips
