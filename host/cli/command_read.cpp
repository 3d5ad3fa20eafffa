// `qn-ips get-config` and `qn-ips get-state`: what the module reads from an emulated device, or from a
// command platform that answers from a file.
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/command.h"
#include "cli/emulated_device.h"
#include "platform/file_platform.h"
#include "server/module_loader.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

struct ReadOptions {
    std::filesystem::path answer;  // of a command platform; empty: an emulated device is read
    std::filesystem::path running; // of the emulated device; empty: it has no configuration
    std::filesystem::path state;   // of an emulated device that is kept
    std::optional<std::string> product;
};

// What is read of a command platform that answers from a file, and of an emulated device.
struct Read {
    std::string (*from_platform)(const PluginModule& module, CommandPlatform& platform);
    std::string (*from_device)(EmulatedDevice& device);
};

// Running as a client reads it: with what the device does not know.
std::string read_running_of(EmulatedDevice& device)
{
    return device.running();
}

std::string read_state_of(EmulatedDevice& device)
{
    return read_state(device.module(), device.platform());
}

std::string read_device(const GlobalOptions& global, const ReadOptions& options, const Read& read)
{
    EmulatedDevice device(global, options.state);
    if (!options.running.empty())
        device.bring_up(options.running);
    if (!options.state.empty())
        device.start();
    return read.from_device(device);
}

ExitCode run(const GlobalOptions& global, const ReadOptions& options, const FilePlatform::Answers& answers,
             const Read& read)
{
    const ProductName product(options.product);
    std::string text;
    if (options.answer.empty()) {
        text = read_device(global, options, read);
    } else {
        const PluginModule module(global.module);
        FilePlatform platform(answers);
        text = read.from_platform(module, platform);
    }
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    fmt::print("{}", text);
    return exit_ok;
}

std::shared_ptr<ReadOptions> add_options(CLI::App& command)
{
    auto options = std::make_shared<ReadOptions>();
    CLI::Option* answer = command
                              .add_option("ANSWER.xml", options->answer,
                                          "What the command platform answers; an empty file: nothing. "
                                          "Without it an emulated device is read")
                              ->check(CLI::ExistingFile);
    command.add_option("--running", options->running, "The emulated device's configuration (default: an empty one)")
        ->type_name("RUNNING.xml")
        ->check(CLI::ExistingFile)
        ->excludes(answer);
    add_state_option(command, options->state)->excludes(answer)->excludes("--running");
    command.add_option("--product", options->product, "The device's product name; small models have no IPS")
        ->type_name("NAME");
    return options;
}

} // namespace

Command add_get_config_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("get-config", "Read the configuration through the module");
    const auto read = add_options(*command);
    return {command, [&options, read] {
                return run(options, *read, {.configuration = read->answer, .state = std::nullopt},
                           {read_configuration, read_running_of});
            }};
}

Command add_get_state_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("get-state", "Read the state through the module");
    const auto read = add_options(*command);
    return {command, [&options, read] {
                return run(options, *read, {.configuration = std::nullopt, .state = read->answer},
                           {read_state, read_state_of});
            }};
}

} // namespace qnips::cli
