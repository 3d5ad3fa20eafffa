#include "netconf/request_parameters.h"

#include <charconv>
#include <chrono>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/edit_config.h"
#include "server/edit_request.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

std::string path_of(const lyd_node* rpc, std::string_view name)
{
    return fmt::format("{}/{}", instance_path(rpc), name);
}

// What a <config> holds, as a configuration of its own.
ConfigTree configuration_in(const lyd_node* config)
{
    const auto* any = reinterpret_cast<const lyd_node_any*>(config);
    ConfigTree tree;
    if (config->schema == nullptr || any->value_type != LYD_ANYDATA_DATATREE || any->value.tree == nullptr)
        return tree;
    EditRequest request;
    request.edit = any->value.tree;
    AppliedEdit(tree, request).commit();
    return tree;
}

} // namespace

std::optional<std::string> read_leaf(const lyd_node* rpc, std::string_view name)
{
    const lyd_node* leaf = find_child(rpc, name);
    if (leaf == nullptr)
        return std::nullopt;
    if (leaf->schema == nullptr)
        throw RpcError("bad-element", path_of(rpc, name), fmt::format("the value of <{}> is not allowed", name));
    return lyd_get_value(leaf);
}

std::string require_leaf(const lyd_node* rpc, std::string_view name)
{
    std::optional<std::string> value = read_leaf(rpc, name);
    if (!value)
        throw RpcError("missing-element", path_of(rpc, name), fmt::format("<{}> is missing", name));
    return *value;
}

Datastores::Source read_source(const lyd_node* rpc)
{
    const lyd_node* source = find_child(rpc, "source");
    const lyd_node* config = source != nullptr ? find_child(source, "config") : nullptr;
    if (config != nullptr)
        return configuration_in(config);
    return read_datastore(rpc, "source");
}

DefaultsMode read_defaults(const lyd_node* rpc)
{
    struct Word {
        std::string_view text;
        DefaultsMode mode;
    };
    static constexpr Word words[] = {{"explicit", DefaultsMode::report_explicit},
                                     {"trim", DefaultsMode::trim},
                                     {"report-all", DefaultsMode::report_all},
                                     {"report-all-tagged", DefaultsMode::report_all_tagged}};
    const std::optional<std::string> value = read_leaf(rpc, "with-defaults");
    for (const Word& word : words)
        if (value == word.text)
            return word.mode;
    return DefaultsMode::report_explicit;
}

CommitRequest read_commit(const lyd_node* rpc)
{
    CommitRequest request;
    request.confirmed = find_child(rpc, "confirmed") != nullptr;
    if (const auto timeout = read_leaf(rpc, "confirm-timeout")) {
        std::uint32_t seconds = 0; // a number, by its type
        std::from_chars(timeout->data(), timeout->data() + timeout->size(), seconds);
        request.timeout = std::chrono::seconds(seconds);
    }
    request.persist = read_leaf(rpc, "persist");
    request.persist_id = read_leaf(rpc, "persist-id");
    return request;
}

} // namespace qnips
