#include "netconf/access_file.h"

#include <stdexcept>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/trusted_file.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

bool holds_rules_only(const lyd_node* first)
{
    return first != nullptr && first->next == nullptr &&
           std::string_view(first->schema->module->name) == "ietf-netconf-acm";
}

} // namespace

void load_access_rules(AccessControl& access, const YangSchema& schema, const std::filesystem::path& file)
{
    const std::string text = read_trusted_file(file, "the file with the access rules");
    try {
        TreePtr tree = schema.parse_configuration(text);
        if (!holds_rules_only(tree.get()))
            throw std::runtime_error(fmt::format("{}: expected: one <nacm> of ietf-netconf-acm", file.string()));
        AccessRules rules = read_access_rules(tree.get());
        access.use(std::move(rules), std::move(tree));
    } catch (const RpcError& error) {
        throw std::runtime_error(error.path().empty()
                                     ? fmt::format("{}: {}", file.string(), error.what())
                                     : fmt::format("{}: {}: {}", file.string(), error.path(), error.what()));
    }
}

} // namespace qnips
