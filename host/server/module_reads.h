// Configuration and state as the module reads them from the command platform.
#pragma once

#include <optional>
#include <string>

#include "platform/command_platform.h"
#include "server/module_loader.h"

namespace qnips
{

// The device's product name as the module sees it while this object lives; a module has no IPS function on some small
// models. Nothing: the product is not known.
class ProductName
{
public:
    explicit ProductName(std::optional<std::string> name);
    ~ProductName();
    ProductName(const ProductName&) = delete;
    ProductName& operator=(const ProductName&) = delete;

private:
    std::optional<std::string> name_;
};

// The configuration as XML text; empty when the device has none. Throws RpcError with the platform's reason when the
// module gets no answer, and LoadError for a module that cannot read.
std::string read_configuration(const PluginModule& module, CommandPlatform& platform);

// The state as XML text; a device without the IPS function has an empty one. Throws like read_configuration, also for
// an answer that is no XML.
std::string read_state(const PluginModule& module, CommandPlatform& platform);

} // namespace qnips
