// `qn-ips history` and `qn-ips show`: what has been done to a device that is kept. They read beside whoever writes.
#include <fmt/format.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/command.h"
#include "cli/emulated_device.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips::cli
{

namespace
{

constexpr std::size_t most_by_default = 20;

struct HistoryOptions {
    std::filesystem::path state;
    std::size_t most = most_by_default;
};

struct ShowOptions {
    std::filesystem::path state;
    std::int64_t number = 0;
};

std::string_view outcome_word(CommitOutcome outcome)
{
    switch (outcome) {
    case CommitOutcome::applied:
        return "applied";
    case CommitOutcome::partly_applied:
        return "partly applied";
    case CommitOutcome::rolled_back:
        return "taken back";
    case CommitOutcome::rollback_failed:
        return "NOT taken back";
    case CommitOutcome::abandoned:
        return "abandoned";
    }
    return "unknown";
}

std::string first_line(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

CommitStore open_history(const std::filesystem::path& state)
{
    return CommitStore(history_file(state).string(), CommitStore::Mode::read_only);
}

ExitCode run_history(const HistoryOptions& options)
{
    const CommitStore store = open_history(options.state);
    for (const CommitRecord& record : store.history(options.most)) {
        fmt::print("{:>6}  {}  {:<12}  {:<16}  {}{}\n", record.id, record.time, record.user, record.origin,
                   outcome_word(record.outcome),
                   record.message.empty() ? std::string() : ": " + first_line(record.message));
    }
    return exit_ok;
}

ExitCode run_show(const ShowOptions& options)
{
    const CommitStore store = open_history(options.state);
    const std::optional<CommitRecord> record = store.commit(options.number);
    if (!record)
        throw std::runtime_error(
            fmt::format("the history in {} has no commit {}", options.state.string(), options.number));
    fmt::print("commit   {}\ntime     {}\nuser     {}\norigin   {}\noutcome  {}\n", record->id, record->time,
               record->user, record->origin, outcome_word(record->outcome));
    if (!record->message.empty())
        fmt::print("message  {}\n", record->message);
    fmt::print("\nChange{}", record->edit.empty() ? ": none\n" : ":\n\n" + indented_xml(record->edit));
    fmt::print("\nCommand lines{}", record->lines.empty() ? ": none\n" : ":\n\n" + record->lines);
    return exit_ok;
}

} // namespace

Command add_history_command(CLI::App& app, const GlobalOptions&)
{
    CLI::App* command = app.add_subcommand("history", "List what has been done to a device that is kept");
    auto history = std::make_shared<HistoryOptions>();
    add_state_option(*command, history->state)->required();
    command->add_option("--most", history->most, "How many, from the newest")->type_name("N")->capture_default_str();
    return {command, [history] { return run_history(*history); }};
}

Command add_show_command(CLI::App& app, const GlobalOptions&)
{
    CLI::App* command = app.add_subcommand("show", "Show a commit of the history: its change and its command lines");
    auto show = std::make_shared<ShowOptions>();
    command->add_option("N", show->number, "The commit's number in the history")->required()->type_name("");
    add_state_option(*command, show->state)->required();
    return {command, [show] { return run_show(*show); }};
}

} // namespace qnips::cli
