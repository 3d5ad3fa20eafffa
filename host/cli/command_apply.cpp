// `qn-ips apply`: carries an edit out on an emulated device and shows the device's configuration.
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/edit_input.h"
#include "cli/edit_output.h"
#include "cli/emulated_device.h"
#include "cli/outcome_output.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

struct ApplyOptions {
    EditFiles files;
    std::filesystem::path state;
    bool trace = false;
};

ExitCode run(const GlobalOptions& global, const ApplyOptions& options)
{
    const std::string edit = read_file(options.files.edit);
    EmulatedDevice device(global, options.state);
    if (!options.files.running.empty())
        device.bring_up(options.files.running);
    if (!options.state.empty())
        device.start();

    device.datastore().trace_all(options.trace);
    try {
        const EditRequest request = parse_edit_request(device.schema(), edit);
        const EditOutcome outcome = device.datastore().edit(request, {user_name(), "edit-config"});
        const ExitCode code = print_outcome(outcome, request.test_option == TestOption::test_only, options.trace);
        if (code != exit_ok)
            return code;
    } catch (const RpcError& error) {
        print_refusal_text(error, "the device keeps its configuration");
        return exit_refused;
    }
    const std::string after = device.configuration();
    fmt::print("\nThe device's configuration{}", after.empty() ? " is empty.\n" : ":\n\n" + after);
    return exit_ok;
}

} // namespace

Command add_apply_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("apply", "Carry an edit out on an emulated device");
    auto apply = std::make_shared<ApplyOptions>();
    add_edit_files(*command, apply->files);
    add_state_option(*command, apply->state)->excludes("--running");
    command->add_flag("--trace", apply->trace, "Also list every callback that is called");
    return {command, [&options, apply] { return run(options, *apply); }};
}

} // namespace qnips::cli
