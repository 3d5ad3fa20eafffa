#include "cli/emulated_device.h"

#include <fmt/format.h>

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "cli/edit_input.h"
#include "cli/edit_output.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"
#include "server/unsent_nodes.h"

namespace qnips::cli
{

namespace
{

std::string store_file(const std::filesystem::path& state)
{
    if (state.empty())
        return ":memory:";
    std::error_code error;
    if (std::filesystem::create_directories(state, error)) // for its owner, as all that the server keeps
        std::filesystem::permissions(state, std::filesystem::perms::owner_all, error);
    if (error)
        throw std::runtime_error(fmt::format("cannot make the folder {}: {}", state.string(), error.message()));
    return history_file(state).string();
}

void show_progress(std::size_t done, std::size_t all)
{
    constexpr std::size_t worth_showing = 2000;
    constexpr std::size_t steps = 100;
    if (all < worth_showing || (done * steps / all == (done - 1) * steps / all && done != all))
        return;
    fmt::print(stderr, "\rqn-ips: giving the device its configuration: {:>3} %{}", done * steps / all,
               done == all ? "\n" : "");
    std::fflush(stderr);
}

void tell(const StartOutcome& start, bool tells_drift)
{
    if (start.interrupted)
        fmt::print(stderr, "qn-ips: note: the edit of {} by {} was interrupted; {}\n", start.interrupted->time,
                   start.interrupted->user,
                   start.interrupted_stands ? "the device has it, so it stands"
                   : start.errors.empty()   ? "it has been taken back"
                                            : "the device may still have a part of it");
    if (start.restored != 0)
        fmt::print(stderr, "qn-ips: note: the device had no configuration and got the stored one, by {}\n",
                   counted(start.restored, "callback"));
    for (const RpcError& error : start.errors)
        fmt::print(stderr, "qn-ips: warning: {}: {}\n", error.path(), error.what());
    if (tells_drift && !start.drift.empty())
        fmt::print(stderr, "qn-ips: warning: device and datastore differ in {}; see qn-ips drift\n",
                   counted(start.drift.size(), "place"));
}

} // namespace

CLI::Option* add_state_option(CLI::App& command, std::filesystem::path& folder)
{
    return command.add_option("--state", folder, "Folder that keeps the device, its configuration and its history")
        ->type_name("DIR")
        ->envname("QN_IPS_STATE");
}

std::filesystem::path history_file(const std::filesystem::path& state)
{
    return state / "history.db";
}

std::string user_name()
{
    const passwd* entry = getpwuid(geteuid()); // NOLINT(concurrency-mt-unsafe): one thread asks
    return entry != nullptr ? entry->pw_name : std::to_string(geteuid());
}

EmulatedDevice::EmulatedDevice(const GlobalOptions& options, const std::filesystem::path& state,
                               const std::vector<std::string>& further)
    : module_(options.module), schema_(options.yang, default_yang_module, further), table_(module_.rows(), schema_),
      catalogue_(SignatureCatalogue::load(options.catalogue)), store_(store_file(state)), emulator_(catalogue_),
      datastore_(schema_, table_,
                 state.empty() ? static_cast<CommandPlatform&>(emulator_)
                               : kept_.emplace((state / "device.db").string(), catalogue_),
                 store_)
{
}

CommandPlatform& EmulatedDevice::platform()
{
    return kept_ ? static_cast<CommandPlatform&>(*kept_) : emulator_;
}

void EmulatedDevice::bring_up(const std::filesystem::path& running)
{
    read_running(schema_, running); // says what is wrong with the file in its own words
    const auto refuse = [&](const RpcError& error) {
        throw std::runtime_error(fmt::format("the device does not take the running configuration in {}\n"
                                             "  node:   {}\n  reason: {}",
                                             running.string(), error.path(), error.what()));
    };
    try {
        const EditRequest request = parse_edit_request(schema_, read_file(running));
        const EditOutcome outcome = datastore_.edit(request, {user_name(), "start"});
        if (!outcome.errors.empty())
            refuse(outcome.errors.front());
    } catch (const RpcError& error) {
        refuse(error);
    }
}

void EmulatedDevice::start(bool tells_drift)
{
    const bool on_terminal = isatty(STDERR_FILENO) == 1;
    tell(datastore_.start(on_terminal ? show_progress : RunningDatastore::Progress()), tells_drift);
}

ConfigTree EmulatedDevice::read()
{
    return ConfigTree(parse_device_configuration(schema_, read_configuration(module_, platform())));
}

std::string EmulatedDevice::configuration()
{
    return tree_text(read().first());
}

std::string EmulatedDevice::running()
{
    return tree_text(running_tree().first());
}

ConfigTree EmulatedDevice::running_tree()
{
    return complete(read(), datastore_.configuration());
}

} // namespace qnips::cli
