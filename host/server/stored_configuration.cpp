#include "server/stored_configuration.h"

#include <fmt/format.h>

#include "server/rpc_error.h"
#include "server/store_errors.h"

namespace qnips
{

namespace
{

auto asked(const auto& question)
{
    try {
        return question();
    } catch (const StoreError& error) {
        throw rpc_error(error);
    }
}

} // namespace

std::optional<ConfigTree> StoredConfiguration::read() const
{
    const std::optional<std::string> text = asked([&] { return store_.document(name_); });
    if (!text)
        return std::nullopt;
    try {
        return ConfigTree(schema_.parse_configuration(*text));
    } catch (const RpcError& error) {
        throw RpcError("operation-failed", error.path(),
                       fmt::format("the stored {} configuration does not fit the schema: {}", name_, error.what()));
    }
}

bool StoredConfiguration::write(const ConfigTree& tree)
{
    const std::string text = tree_text(tree.first());
    return asked([&] {
        if (store_.document(name_) == text)
            return false;
        store_.set_document(name_, text);
        return true;
    });
}

bool StoredConfiguration::remove()
{
    return asked([&] {
        if (!store_.document(name_))
            return false;
        store_.remove_document(name_);
        return true;
    });
}

} // namespace qnips
