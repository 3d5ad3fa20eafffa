// `qn-ips plan`: a dry run that shows every command line of an edit and the callback that sends it.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "cli/command.h"
#include "platform/recording_platform.h"
#include "server/edit_engine.h"
#include "server/known_order.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/operation_names.h"
#include "transapi/command_platform.h"

namespace qnips::cli
{

namespace
{

using Json = nlohmann::ordered_json;

struct PlanOptions {
    std::filesystem::path edit;
    std::optional<std::filesystem::path> running;
    bool json = false;
    bool trace = false;
};

struct DryRun {
    PassResult pass;
    bool test_only = false; // the edit's own test-option: it was checked, and no callback called
};

std::string read_file(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream)
        throw std::runtime_error(fmt::format("{} cannot be read", file.string()));
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        throw std::runtime_error(fmt::format("{} is empty", file.string()));
    return text;
}

std::string_view operation_name(int command_operation)
{
    switch (command_operation) {
    case API_CMD_ADD:
        return "add";
    case API_CMD_DEL:
        return "delete";
    case API_CMD_MOD:
        return "modify";
    default:
        return "unknown";
    }
}

// ------------------------------------------------------------------------------------------------------- text --

std::string place(const CommandLine& line)
{
    std::string text = line.vsys ? fmt::format("vsys {}, ", *line.vsys) : std::string();
    text += fmt::format("view {}", line.view);
    if (line.view_type)
        text += fmt::format(", type {}", *line.view_type);
    return text;
}

std::string cause(const CallbackRecord& record)
{
    return fmt::format("{}  {}  {}, priority {}", record.path, operation_names(record.op), record.callback,
                       record.priority);
}

struct Totals {
    std::size_t callbacks = 0;
    std::size_t commits = 0;
    std::size_t lines = 0;
    std::size_t covered = 0;
};

Totals totals(const PassResult& pass)
{
    Totals sum{.callbacks = pass.trace.size()};
    for (const CallbackRecord& record : pass.trace) {
        sum.commits += record.scripts.size();
        sum.covered += record.covered ? 1 : 0;
        for (const CommittedScript& script : record.scripts)
            sum.lines += script.lines.size();
    }
    return sum;
}

void print_lines(const CallbackRecord& record, std::size_t& number)
{
    for (const CommittedScript& script : record.scripts) {
        for (const CommandLine& line : script.lines)
            fmt::print("{:>4}  {}\n      {} ({})\n      {}\n\n", ++number, line.text, place(line),
                       operation_name(script.operation), cause(record));
    }
}

void print_remarks(const CallbackRecord& record)
{
    if (record.has_warning()) {
        for (const ReportedError& error : record.errors)
            fmt::print("warning: {}: {}: {}\n", record.path, error_tag(error.code), error.message);
    }
    for (const CommandLine& line : record.dropped)
        fmt::print("warning: {}: the line \"{}\" was cached and not committed\n", record.path, line.text);
}

void print_trace(const PassResult& pass)
{
    fmt::print("Callbacks:{}\n", pass.trace.empty() ? " none" : "");
    for (const CallbackRecord& record : pass.trace)
        fmt::print("  {}{}\n", cause(record), record.covered ? "  (covered by the removal above it)" : "");
    fmt::print("\n");
}

std::string counted(std::size_t number, std::string_view what)
{
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

void print_text(const DryRun& result, bool trace)
{
    const PassResult& pass = result.pass;
    std::size_t number = 0;
    if (trace)
        print_trace(pass);
    for (const CallbackRecord& record : pass.trace)
        print_lines(record, number);
    for (const CallbackRecord& record : pass.trace)
        print_remarks(record);
    for (const std::string& name : pass.removed_vsys)
        fmt::print("Virtual system {} is gone: the platform drops its configuration without a command line.\n", name);

    if (result.test_only)
        fmt::print("The edit is valid. It asks for a test only (test-option), so no callback is called.\n");
    const Totals sum = totals(pass);
    fmt::print("{} in {}, from {}", counted(sum.lines, "command line"), counted(sum.commits, "commit"),
               counted(sum.callbacks, "callback"));
    if (sum.covered != 0)
        fmt::print(" ({} covered by the removal of what contains them)", sum.covered);
    fmt::print("\n");
}

// ------------------------------------------------------------------------------------------------------- JSON --

Json text_or_null(const std::optional<std::string>& text)
{
    return text ? Json(*text) : Json(nullptr);
}

Json as_json(const CommandLine& line)
{
    return {{"vsys", text_or_null(line.vsys)},
            {"view", line.view},
            {"view-type", text_or_null(line.view_type)},
            {"line", line.text}};
}

Json as_json(const CallbackRecord& record)
{
    Json json = {{"node", record.path},         {"operation", operation_names(record.op)},
                 {"callback", record.callback}, {"priority", record.priority},
                 {"covered", record.covered},   {"commits", Json::array()},
                 {"warnings", Json::array()},   {"not-committed", Json::array()}};
    for (const CommittedScript& script : record.scripts) {
        Json lines = Json::array();
        for (const CommandLine& line : script.lines)
            lines.push_back(as_json(line));
        json["commits"].push_back({{"operation", operation_name(script.operation)}, {"lines", std::move(lines)}});
    }
    for (const ReportedError& error : record.errors)
        json["warnings"].push_back({{"tag", error_tag(error.code)}, {"message", error.message}});
    for (const CommandLine& line : record.dropped)
        json["not-committed"].push_back(as_json(line));
    return json;
}

void print_json(const DryRun& result)
{
    const PassResult& pass = result.pass;
    const Totals sum = totals(pass);
    Json json = {{"lines", sum.lines}, {"commits", sum.commits}, {"callbacks", Json::array()}};
    for (const CallbackRecord& record : pass.trace)
        json["callbacks"].push_back(as_json(record));
    json["removed-vsys"] = pass.removed_vsys;
    json["test-only"] = result.test_only;
    fmt::print("{}\n", json.dump(2));
}

void print_refusal_json(const RpcError& error)
{
    const Json json = {
        {"refused",
         {{"path", error.path()}, {"tag", error.tag()}, {"app-tag", error.app_tag()}, {"message", error.what()}}}};
    fmt::print("{}\n", json.dump(2));
}

// -------------------------------------------------------------------------------------------------------- run --

// What is wrong with the edited configuration is no refusal of the edit, so it is reported as an error of its own.
ConfigTree read_running(const YangSchema& schema, const std::filesystem::path& file)
{
    const std::string text = read_file(file);
    try {
        return ConfigTree(schema.parse_configuration(text));
    } catch (const RpcError& error) {
        const std::string node = error.path().empty() ? "" : fmt::format("\n  node:   {}", error.path());
        throw std::runtime_error(fmt::format("the running configuration in {} is not valid{}\n  reason: {}",
                                             file.string(), node, error.what()));
    }
}

DryRun dry_run(const GlobalOptions& global, const PlanOptions& options)
{
    const std::string edit = read_file(options.edit);
    const PluginModule module(global.module);
    const YangSchema schema(global.yang);
    const NodeTable table(module.rows(), schema);

    ConfigTree running;
    if (options.running)
        running = read_running(schema, *options.running);
    RecordingPlatform platform;
    append_signature_sets(running, platform.signature_sets());
    EditEngine engine(schema, table, std::move(running));
    const EditRequest request = parse_edit_request(schema, edit);
    return {.pass = engine.edit(request, platform, AfterEdit::take_back),
            .test_only = request.test_option == TestOption::test_only};
}

ExitCode run(const GlobalOptions& global, const PlanOptions& options)
{
    try {
        const DryRun result = dry_run(global, options);
        if (options.json)
            print_json(result);
        else
            print_text(result, options.trace);
        return exit_ok;
    } catch (const RpcError& error) {
        if (options.json)
            print_refusal_json(error);
        fmt::print(stderr, "qn-ips: error: the edit is refused, nothing would be sent\n");
        if (!error.path().empty())
            fmt::print(stderr, "  node:   {}\n", error.path());
        fmt::print(stderr, "  tag:    {}{}\n  reason: {}\n", error.tag(),
                   error.app_tag().empty() ? "" : fmt::format(" ({})", error.app_tag()), error.what());
        return exit_refused;
    }
}

// Why the file cannot be read; empty when it is there.
std::string file_fault(const std::string& file)
{
    std::error_code fault; // a folder on the way that may not be searched counts as missing
    if (!std::filesystem::exists(file, fault))
        return fmt::format("{} does not exist", file);
    return std::filesystem::is_directory(file, fault) ? fmt::format("{} is a folder, not a file", file) : "";
}

} // namespace

Command add_plan_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("plan", "Show the command lines of an edit without sending them");
    auto plan = std::make_shared<PlanOptions>();
    const CLI::Validator existing_file(file_fault, ""); // no description: the help needs no ":FILE"
    command->add_option("EDIT.xml", plan->edit, "An <rpc> with <edit-config>, an <edit-config>, a <config> or data")
        ->required()
        ->type_name("")
        ->check(existing_file);
    command->add_option("--running", plan->running, "The configuration that is edited (default: an empty one)")
        ->type_name("RUNNING.xml")
        ->check(existing_file);
    command->add_flag("--json", plan->json, "Print every callback with its lines as JSON");
    command->add_flag("--trace", plan->trace, "Also list every callback that is called");
    return {command, [&options, plan] { return run(options, *plan); }};
}

} // namespace qnips::cli
