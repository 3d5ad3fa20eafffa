// `qn-ips console`: command lines typed into the views of an emulated device, or read from standard input.
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/console_session.h"
#include "cli/emulated_device.h"
#include "cli/line_editor.h"

namespace qnips::cli
{

namespace
{

struct ConsoleOptions {
    std::filesystem::path running; // empty: the device starts without a configuration
    std::filesystem::path history; // empty: in memory only
    bool batch = false;
    bool keep_going = false;
};

void print_result(const ConsoleAnswer& answer)
{
    if (!answer.text.empty())
        fmt::print("{}\n", answer.text);
    std::fflush(stdout);
}

ExitCode run_on_terminal(ConsoleSession& session, const std::filesystem::path& history)
{
    LineEditor editor([&](std::string_view line) { return session.complete(line); }, history);
    fmt::print("An emulated device. Tab completes a command, :help shows what there is, Ctrl-D ends.\n");
    while (const auto line = editor.read(session.prompt())) {
        const ConsoleAnswer answer = session.enter(*line);
        print_result(answer);
        if (answer.kind == ConsoleAnswer::Kind::end)
            return exit_ok;
    }
    fmt::print("\n");
    return exit_ok;
}

// Prints results only, so that what goes in can be told from what comes out.
ExitCode run_batch(ConsoleSession& session, bool keep_going)
{
    LineEditor input;
    ExitCode code = exit_ok;
    std::size_t number = 0;
    while (const auto line = input.read({})) {
        ++number;
        const ConsoleAnswer answer = session.enter(*line);
        if (answer.kind == ConsoleAnswer::Kind::end)
            break;
        if (answer.kind == ConsoleAnswer::Kind::done) {
            print_result(answer);
            continue;
        }
        fmt::print(stderr, "qn-ips: error: line {}: {}\n", number, answer.text);
        code = exit_refused;
        if (!keep_going)
            break;
    }
    return code;
}

ExitCode run(const GlobalOptions& global, const ConsoleOptions& options)
{
    EmulatedDevice device(global);
    if (!options.running.empty())
        device.bring_up(options.running);
    ConsoleSession session(device.emulator());
    if (options.batch || !is_on_terminal())
        return run_batch(session, options.keep_going);
    return run_on_terminal(session, options.history);
}

} // namespace

Command add_console_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("console", "Type command lines into the views of an emulated device");
    auto console = std::make_shared<ConsoleOptions>();
    command->add_option("--running", console->running, "The device's configuration (default: an empty one)")
        ->type_name("RUNNING.xml")
        ->check(CLI::ExistingFile);
    command->add_option("--history", console->history, "Keep the lines that are typed in a file, for the next time")
        ->type_name("FILE");
    command->add_flag("--batch", console->batch,
                      "Print results only, and end at the first refused line; always so without a terminal");
    command->add_flag("--keep-going", console->keep_going,
                      "In a batch, go on after refused lines; the exit status still tells");
    return {command, [&options, console] { return run(options, *console); }};
}

} // namespace qnips::cli
