// qn-ips: the stand-alone host on the command line. Parses the global options and hands over to the chosen subcommand.
#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "build_paths.h"
#include "cli/command.h"

namespace qnips::cli
{

namespace
{

constexpr char path_separator = ':';

std::vector<std::filesystem::path> default_yang_folders()
{
    std::vector<std::filesystem::path> folders;
    std::istringstream list(QN_IPS_DEFAULT_YANG_PATH);
    for (std::string folder; std::getline(list, folder, path_separator);)
        folders.emplace_back(folder);
    return folders;
}

void add_global_options(CLI::App& app, GlobalOptions& options)
{
    app.add_option("--module", options.module, "The module's shared library")
        ->type_name("LIB.so")
        ->envname("QN_IPS_MODULE")
        ->capture_default_str();
    app.add_option("--yang", options.yang, "Folder with YANG modules; repeatable, searched in order")
        ->type_name("DIR")
        ->envname("QN_IPS_YANG_PATH")
        ->delimiter(path_separator)
        ->allow_extra_args(false)
        ->capture_default_str();
    app.add_option("--catalogue", options.catalogue, "The emulated device's predefined signatures")
        ->type_name("FILE")
        ->envname("QN_IPS_CATALOGUE")
        ->capture_default_str();
    app.set_version_flag("--version", "qn-ips " QN_IPS_VERSION);
}

// Standard error may be what cannot be written to; the status has to tell it then.
void complain(std::string_view message)
{
    const std::string text = fmt::format("qn-ips: error: {}\n", message);
    std::fwrite(text.data(), 1, text.size(), stderr);
}

int usage_error(std::string_view message)
{
    complain(fmt::format("{}\nRun with --help for more information.", message));
    return exit_usage;
}

// In the order of the command line, which the parser's own message turns round.
std::string unexpected_words(const std::vector<std::string>& words)
{
    return fmt::format("The following argument{} not expected: {}", words.size() == 1 ? " was" : "s were",
                       fmt::join(words, " "));
}

// What a check says of a value is a sentence by itself; the parser puts the option's name and a colon before it.
std::string without_option(const std::string& message)
{
    const std::size_t colon = message.find(": ");
    return colon == std::string::npos ? message : message.substr(colon + 2);
}

// Prints what --help and --version ask for, or the usage error.
int report(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
        return usage_error(unexpected_words(app.remaining(true)));
    return usage_error(error.get_name() == "ValidationError" ? without_option(error.what()) : error.what());
}

int run(int argc, char** argv)
{
    CLI::App app("Stand-alone host of the intrusion-prevention configuration module", "qn-ips");
    GlobalOptions options{
        .module = QN_IPS_DEFAULT_MODULE, .yang = default_yang_folders(), .catalogue = QN_IPS_DEFAULT_CATALOGUE};
    add_global_options(app, options);
    app.fallthrough();            // global options may also stand behind the subcommand
    app.require_subcommand(0, 1); // not 1, which reports a mistyped command as a missing one

    const std::vector<Command> commands = {
        add_plan_command(app, options),         add_apply_command(app, options),
        add_get_config_command(app, options),   add_get_state_command(app, options),
        add_history_command(app, options),      add_show_command(app, options),
        add_rollback_command(app, options),     add_drift_command(app, options),
        add_console_command(app, options),      add_nodes_command(app, options),
        add_check_module_command(app, options), add_serve_command(app, options),
    };

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return report(app, error);
    }
    for (const Command& command : commands) {
        if (command.app->parsed())
            return command.run();
    }
    return usage_error("no command given");
}

// Whoever reads the output has to know that some of it is missing.
int with_whole_output(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    complain(fmt::format("cannot write the output: {}", std::strerror(errno)));
    return status == exit_ok ? exit_refused : status;
}

} // namespace

} // namespace qnips::cli

int main(int argc, char** argv)
{
    try {
        return qnips::cli::with_whole_output(qnips::cli::run(argc, argv));
    } catch (const std::exception& error) {
        std::fflush(stdout);
        qnips::cli::complain(error.what());
        return qnips::cli::exit_refused;
    }
}
