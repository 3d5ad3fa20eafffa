// An emulated device that survives its process: it keeps its configuration in a file of its own, as a device does,
// whatever a host keeps of it.
//
// The file holds the device as it once was, and the scripts that it has taken since, which it takes again when it is
// opened. When they outweigh the device, opening replaces both by the device as it is now.
#pragma once

#include <memory>
#include <string>

#include "platform/command_platform.h"
#include "platform/device_limits.h"
#include "platform/emulator.h"
#include "platform/signature_catalogue.h"
#include "store/store_error.h"

namespace qnips
{

class KeptDevice final : public CommandPlatform
{
public:
    // Opens the device's file, which is made when it is missing; ":memory:" keeps nothing. No other process may open it
    // meanwhile, nor this one again. Throws StoreError; one of Kind::corrupt also when a script that was once taken is
    // refused now, as by another catalogue or with less room. The catalogue has to outlive the device.
    KeptDevice(const std::string& file, const SignatureCatalogue& catalogue, const DeviceLimits& limits = {});
    KeptDevice(const KeptDevice&) = delete;
    KeptDevice& operator=(const KeptDevice&) = delete;
    ~KeptDevice() override;

    // A script is durable when it has been taken, and is there whole or not at all after a crash. One that cannot be
    // kept is refused by NC_ERR_OP_FAILED, and has no effect. So is the removal of a virtual system.
    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;

    PlatformAnswer configuration() override { return device_.configuration(); }
    PlatformAnswer state() override { return device_.state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        return device_.first_signature_set(vsys, profile);
    }

    [[nodiscard]] const DeviceTree& device() const { return device_.device(); }

private:
    class Log;

    // Ends what the device has tried: it stays when it could be written down.
    std::optional<PlatformError> keep(const std::string& entry);
    void take_again(const std::string& entry);

    EmulatedPlatform device_;
    std::unique_ptr<Log> log_;
};

} // namespace qnips
