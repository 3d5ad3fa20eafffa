// An emulated device: it understands every command line that the module sends, refuses what a device refuses, and gives
// its configuration back as XML of the YANG module.
//
// A line is executed in a view, which exists while its object does. Errors: NC_ERR_SET_VIEW for a view that does not
// exist, NC_ERR_PARSE_COMMAND for a command that the view does not have, NC_ERR_COMMAND_EXECUTE for one that cannot be
// carried out.
#pragma once

#include <string>
#include <string_view>

#include "platform/command_platform.h"
#include "platform/device_tree.h"
#include "platform/signature_catalogue.h"

namespace qnips
{

class EmulatedPlatform final : public CommandPlatform
{
public:
    // The catalogue has to outlive the device.
    explicit EmulatedPlatform(const SignatureCatalogue& catalogue) : catalogue_(catalogue) {}

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    void remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override;
    PlatformAnswer state() override;
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;

    [[nodiscard]] const DeviceTree& device() const { return tree_; }

private:
    const SignatureCatalogue& catalogue_;
    DeviceTree tree_;
};

} // namespace qnips
