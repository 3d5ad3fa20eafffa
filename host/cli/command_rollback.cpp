// `qn-ips rollback`: makes an earlier configuration of a device that is kept the running one, by an edit of its own.
#include <fmt/format.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/command.h"
#include "cli/edit_output.h"
#include "cli/emulated_device.h"
#include "cli/outcome_output.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

struct RollbackOptions {
    std::filesystem::path state;
    std::int64_t number = 0;
    bool trace = false;
};

ConfigTree configuration_at(EmulatedDevice& device, const RollbackOptions& options)
{
    try {
        return device.datastore().at(options.number);
    } catch (const std::out_of_range&) {
        throw std::runtime_error(
            fmt::format("the history in {} has no commit {}", options.state.string(), options.number));
    }
}

ExitCode run(const GlobalOptions& global, const RollbackOptions& options)
{
    EmulatedDevice device(global, options.state);
    device.start();
    const ConfigTree goal = configuration_at(device, options);
    device.datastore().trace_all(options.trace);
    try {
        const Author author{user_name(), fmt::format("rollback {}", options.number)};
        return print_outcome(device.datastore().replace(goal, author), false, options.trace);
    } catch (const RpcError& error) {
        print_refusal_text(error, "the device keeps its configuration");
        return exit_refused;
    }
}

} // namespace

Command add_rollback_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("rollback", "Give a device that is kept the configuration it had after an earlier commit");
    auto rollback = std::make_shared<RollbackOptions>();
    command->add_option("N", rollback->number, "The commit's number in the history")->required()->type_name("");
    add_state_option(*command, rollback->state)->required();
    command->add_flag("--trace", rollback->trace, "Also list every callback that is called");
    return {command, [&options, rollback] { return run(options, *rollback); }};
}

} // namespace qnips::cli
