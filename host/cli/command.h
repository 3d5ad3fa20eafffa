// What the subcommands of qn-ips share: the global options, how a subcommand is added and what it returns.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <vector>

namespace qnips::cli
{

enum ExitCode {
    exit_ok = 0,
    exit_refused = 1, // an edit was refused, a check has failed, or something that is needed is not there
    exit_usage = 2
};

struct GlobalOptions {
    std::filesystem::path module;
    std::vector<std::filesystem::path> yang; // searched in order
    std::filesystem::path catalogue;         // of the emulated device's own signatures
};

// A subcommand. `run` is called after parsing when it was chosen; its exceptions are reported by the caller.
struct Command {
    CLI::App* app = nullptr;
    std::function<ExitCode()> run;
};

// Each adds one subcommand to `app`. `app` and `options` must outlive the result.
Command add_plan_command(CLI::App& app, const GlobalOptions& options);
Command add_apply_command(CLI::App& app, const GlobalOptions& options);
Command add_get_config_command(CLI::App& app, const GlobalOptions& options);
Command add_get_state_command(CLI::App& app, const GlobalOptions& options);
Command add_history_command(CLI::App& app, const GlobalOptions& options);
Command add_show_command(CLI::App& app, const GlobalOptions& options);
Command add_rollback_command(CLI::App& app, const GlobalOptions& options);
Command add_drift_command(CLI::App& app, const GlobalOptions& options);
Command add_nodes_command(CLI::App& app, const GlobalOptions& options);
Command add_console_command(CLI::App& app, const GlobalOptions& options);
Command add_check_module_command(CLI::App& app, const GlobalOptions& options);
Command add_serve_command(CLI::App& app, const GlobalOptions& options);

} // namespace qnips::cli
