#include "cli/edit_output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <optional>
#include <string>

#include "server/operation_names.h"
#include "transapi/command_platform.h"

namespace qnips::cli
{

namespace
{

using Json = nlohmann::ordered_json;

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

std::string cause(const CallbackRecord& record)
{
    return fmt::format("{}  {}  {}, priority {}", record.path.str(), operation_names(record.op), record.callback.str(),
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
    Totals sum{.callbacks = pass.callbacks, .covered = pass.covered};
    for (const CallbackRecord& record : pass.trace) {
        sum.commits += record.scripts.size();
        for (const CommittedScript& script : record.scripts)
            sum.lines += script.lines.size();
    }
    return sum;
}

void print_lines(const CallbackRecord& record, std::size_t& number)
{
    for (const CommittedScript& script : record.scripts) {
        for (const CommandLine& line : script.lines)
            fmt::print("{:>4}  {}\n      {} ({})\n      {}\n\n", ++number, line.text, place_of(line),
                       operation_name(script.operation), cause(record));
    }
}

void print_remarks(const CallbackRecord& record)
{
    if (record.has_warning()) {
        for (const ReportedError& error : record.errors)
            fmt::print("warning: {}: {}: {}\n", record.path.str(), error_tag(error.code), error.message);
    }
    for (const CommandLine& line : record.dropped)
        fmt::print("warning: {}: the line \"{}\" was cached and not committed\n", record.path.str(), line.text);
}

void print_trace(const PassResult& pass)
{
    fmt::print("Callbacks:{}\n", pass.trace.empty() ? " none" : "");
    for (const CallbackRecord& record : pass.trace)
        fmt::print("  {}{}\n", cause(record), record.covered ? "  (covered by the removal above it)" : "");
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
    Json json = {{"node", record.path.str()},         {"operation", operation_names(record.op)},
                 {"callback", record.callback.str()}, {"priority", record.priority},
                 {"covered", record.covered},         {"commits", Json::array()},
                 {"warnings", Json::array()},         {"not-committed", Json::array()}};
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

} // namespace

std::string counted(std::size_t number, std::string_view what)
{
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

void print_text(const EditReport& result, bool trace)
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

void print_json(const EditReport& result)
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

void print_refusal_text(const RpcError& error, std::string_view consequence)
{
    fmt::print(stderr, "qn-ips: error: the edit is refused, {}\n", consequence);
    print_error_text(error);
    for (const RpcError& other : error.others())
        print_error_text(other);
}

void print_error_text(const RpcError& error)
{
    if (!error.path().empty())
        fmt::print(stderr, "  node:   {}\n", error.path());
    fmt::print(stderr, "  tag:    {}{}\n  reason: {}\n", error.tag(),
               error.app_tag().empty() ? "" : fmt::format(" ({})", error.app_tag()), error.what());
}

} // namespace qnips::cli
