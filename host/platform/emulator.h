// An emulated device: it understands every command line that the module sends, refuses what a device refuses, and gives
// its configuration back as XML of the YANG module.
//
// A line is executed in a view, which exists while its object does. Errors: NC_ERR_SET_VIEW for a view that does not
// exist, NC_ERR_PARSE_COMMAND for a command that the view does not have, NC_ERR_COMMAND_EXECUTE for one that cannot be
// carried out, be it for want of room in a list.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/command_platform.h"
#include "platform/device_limits.h"
#include "platform/device_tree.h"
#include "platform/signature_catalogue.h"

namespace qnips
{

class EmulatedPlatform final : public CommandPlatform
{
public:
    // The catalogue has to outlive the device.
    explicit EmulatedPlatform(const SignatureCatalogue& catalogue, DeviceLimits limits = {})
        : catalogue_(catalogue), tree_(std::move(limits))
    {
    }

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override;
    PlatformAnswer state() override;
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;

    [[nodiscard]] const DeviceTree& device() const { return tree_; }

    // Execution in two steps, for whoever has to do something between them: after a script that is tried without an
    // error, or a removal, one of the other two is called before anything else.
    std::optional<PlatformError> try_script(std::span<const CommandLine> script);
    void try_removal(std::string_view vsys);
    void accept() { tree_.commit(); }
    void take_back() { tree_.roll_back(); }

    // Makes a new device what another one was: see platform/device_dump.h, also for what it throws.
    void restore(std::string_view dump);

private:
    const SignatureCatalogue& catalogue_;
    DeviceTree tree_;
};

} // namespace qnips
