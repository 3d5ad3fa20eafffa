// `qn-ips nodes`: the module's node table, as text to read or as JSON.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/yang_schema.h"

namespace qnips::cli
{

namespace
{

struct ListedNode {
    std::string path;
    Row set;
    std::optional<Row> removal;
    std::optional<std::string> speaker; // path of the node that is replaced when this leaf changes
};

// In the order of the module's table, which holds the set row of a node before its removal row.
std::vector<ListedNode> listed_nodes(const std::vector<Row>& rows, const NodeTable& table, const YangSchema& schema)
{
    std::vector<ListedNode> nodes;
    for (const Row& row : rows) {
        if (phase_of(row) == Phase::removal)
            continue;
        const lysc_node* schema_node = schema.find(row.path);
        ListedNode node{.path = row.path, .set = row, .removal = {}, .speaker = {}};
        const auto removal = table.rows(schema_node, Phase::removal);
        if (!removal.empty())
            node.removal = removal.front();
        if (table.speaks_through_parent(schema_node)) {
            const lysc_node* speaker = table.speaker(schema_node);
            if (speaker != nullptr)
                node.speaker = schema_path(speaker);
        }
        nodes.push_back(std::move(node));
    }
    return nodes;
}

nlohmann::ordered_json as_json(const Row& row)
{
    return {{"callback", row.callback.str()}, {"priority", row.priority}};
}

nlohmann::ordered_json as_json(const ListedNode& node)
{
    nlohmann::ordered_json json;
    json["path"] = node.path;
    json["set"] = as_json(node.set);
    json["removal"] = node.removal ? as_json(*node.removal) : nlohmann::ordered_json(nullptr);
    json["pair"] = node.removal.has_value();
    json["speaker"] = node.speaker ? nlohmann::ordered_json(*node.speaker) : nlohmann::ordered_json(nullptr);
    return json;
}

void print_json(const PluginModule& module, const std::vector<ListedNode>& nodes)
{
    nlohmann::ordered_json json;
    json["module"] = module.file().string();
    json["rows"] = module.rows().size();
    json["nodes"] = nlohmann::ordered_json::array();
    for (const ListedNode& node : nodes)
        json["nodes"].push_back(as_json(node));
    fmt::print("{}\n", json.dump(2));
}

// The path without the prefixes that repeat the first one.
std::string short_path(std::string_view path)
{
    const std::size_t first_step = path.find(':') + 1;
    const std::string repeated = "/" + std::string(path.substr(1, first_step - 1));
    std::string text(path.substr(0, first_step));
    for (std::size_t at = first_step; at < path.size();) {
        if (path.substr(at).starts_with(repeated)) {
            text += '/';
            at += repeated.size();
        } else {
            text += path[at++];
        }
    }
    return text;
}

std::string_view last_step(std::string_view path)
{
    return path.substr(path.rfind(':') + 1);
}

// Two names, with what they begin with written once: "callback_Profile_{ADD,Delete}".
std::string paired(std::string_view first, std::string_view second)
{
    const auto common = std::ranges::mismatch(first, second).in1 - first.begin();
    const std::size_t length = first.substr(0, static_cast<std::size_t>(common)).rfind('_') + 1; // 0 without one
    if (length == 0)
        return fmt::format("{}, {}", first, second);
    return fmt::format("{}{{{},{}}}", first.substr(0, length), first.substr(length), second.substr(length));
}

struct Line {
    std::string priorities;
    std::string callbacks;
    std::string handler;
    std::string path;
};

Line text_line(const ListedNode& node)
{
    Line line{.priorities = fmt::format("{:>2}", node.set.priority),
              .callbacks = node.set.callback,
              .handler = "none",
              .path = short_path(node.path)};
    if (node.removal) {
        line.priorities += fmt::format("/{}", node.removal->priority);
        line.callbacks = paired(node.set.callback.str(), node.removal->callback.str());
        line.handler = "own";
    } else if (node.speaker) {
        line.handler = fmt::format("{}'s", last_step(*node.speaker));
    }
    return line;
}

void print_text(const PluginModule& module, const std::vector<ListedNode>& nodes)
{
    std::vector<Line> lines = {
        {.priorities = "PRIORITY", .callbacks = "CALLBACKS", .handler = "HANDLER", .path = "NODE"}};
    std::size_t pairs = 0;
    for (const ListedNode& node : nodes) {
        lines.push_back(text_line(node));
        pairs += node.removal ? 1U : 0U;
    }

    Line width;
    const auto widen = [](std::string& column, const std::string& text) {
        column.resize(std::max(column.size(), text.size()));
    };
    for (const Line& line : lines) {
        widen(width.priorities, line.priorities);
        widen(width.callbacks, line.callbacks);
        widen(width.handler, line.handler);
    }
    for (const Line& line : lines)
        fmt::print("{:<{}}  {:<{}}  {:<{}}  {}\n", line.priorities, width.priorities.size(), line.callbacks,
                   width.callbacks.size(), line.handler, width.handler.size(), line.path);
    fmt::print("\n{} rows for {} nodes: {} with a set and a removal callback, {} with one that does nothing\n",
               module.rows().size(), nodes.size(), pairs, nodes.size() - pairs);
}

ExitCode run(const GlobalOptions& options, bool json)
{
    const YangSchema schema(options.yang);
    const PluginModule module(options.module);
    const NodeTable table(module.rows(), schema);
    const std::vector<ListedNode> nodes = listed_nodes(module.rows(), table, schema);
    if (json)
        print_json(module, nodes);
    else
        print_text(module, nodes);
    return exit_ok;
}

} // namespace

Command add_nodes_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("nodes", "Show the module's node table: callbacks, priorities, handlers");
    const CLI::Option* json = command->add_flag("--json")->description("Print JSON");
    command->footer(
        "PRIORITY is that of the set callback and, after the slash, that of the removal callback; higher\n"
        "numbers are called first. HANDLER is \"own\" for a node with both callbacks. A leaf that has none\n"
        "but stands below such a node names it: when the leaf changes, that node is replaced. For all\n"
        "others there is nothing to send.");
    return {.app = command, .run = [&options, json] { return run(options, json->count() > 0); }};
}

} // namespace qnips::cli
