// `qn-ips drift`: in what a device that is kept and its datastore differ, and the end of that in either direction.
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/edit_output.h"
#include "cli/emulated_device.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

struct DriftOptions {
    std::filesystem::path state;
    std::string repair; // "device", "datastore" or empty
};

void print(const std::vector<Difference>& drift)
{
    for (const Difference& difference : drift)
        fmt::print("{} {}\n", difference.on_device ? "device   " : "datastore", difference.line);
}

ExitCode repair_device(EmulatedDevice& device)
{
    const Restoration repair = device.datastore().repair_device({user_name(), "drift --repair device"});
    if (!repair.done()) {
        print_refusal_text(*repair.fault, "the device still differs:");
        print(repair.remaining);
        return exit_refused;
    }
    fmt::print("The device has what the datastore has.\n");
    return exit_ok;
}

ExitCode repair_datastore(EmulatedDevice& device)
{
    try {
        const std::int64_t commit = device.datastore().repair_datastore({user_name(), "drift --repair datastore"});
        fmt::print("The datastore has what the device has{}.\n",
                   commit != 0 ? fmt::format(" (commit {})", commit) : "");
        return exit_ok;
    } catch (const RpcError& error) {
        print_refusal_text(error, "what the device has is no valid configuration");
        return exit_refused;
    }
}

ExitCode run(const GlobalOptions& global, const DriftOptions& options)
{
    EmulatedDevice device(global, options.state);
    device.start(false);
    const std::vector<Difference> drift = device.datastore().drift();
    print(drift);
    if (drift.empty()) {
        fmt::print("Device and datastore do not differ.\n");
        return exit_ok;
    }
    if (options.repair.empty())
        return exit_refused;
    return options.repair == "device" ? repair_device(device) : repair_datastore(device);
}

} // namespace

Command add_drift_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("drift", "Show in what a device that is kept and its datastore differ");
    auto drift = std::make_shared<DriftOptions>();
    add_state_option(*command, drift->state)->required();
    command->add_option("--repair", drift->repair, "Which of the two gets what the other has: device or datastore")
        ->type_name("WHICH")
        ->check(CLI::IsMember({"device", "datastore"}));
    command->footer("Exit status 1 when they differ (and nothing is repaired), 0 when they do not.");
    return {command, [&options, drift] { return run(options, *drift); }};
}

} // namespace qnips::cli
