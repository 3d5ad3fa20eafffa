// The node table, made from the module's own; the promised rows, read from a file.
#include "module/node_table.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/config_text.h"

// clang-format off
#define DECLARE(entry) int entry(void** data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err** error);
#define DECLARE_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path) \
    DECLARE(set_entry) DECLARE(remove_entry)
// clang-format on

extern "C" {
#define QN_IPS_NOOP(entry, priority, path) DECLARE(entry)
#define QN_IPS_NOOP_PAIR(set_entry, set_priority, remove_entry, remove_priority, path)                                 \
    DECLARE(set_entry) DECLARE(remove_entry)
#define QN_IPS_PAIR DECLARE_PAIR
#define QN_IPS_PAIR_FLAG DECLARE_PAIR
#define QN_IPS_PAIR_RANGE DECLARE_PAIR
#define QN_IPS_UNREGISTERED(entry) DECLARE(entry)
#include "quorin-intrusion-prevention-nodes.def"
}

namespace qnips::test
{

namespace
{

constexpr std::string_view prefix = "qn-ips:";

} // namespace

const std::vector<TableNode>& node_table()
{
    static const std::vector<TableNode> nodes = {
#define QN_IPS_NOOP(entry, priority, path) {NodeKind::noop, path, {#entry, entry, priority}, {}, ""},
#define QN_IPS_NOOP_PAIR(set_entry, set_priority, remove_entry, remove_priority, path)                                 \
    {NodeKind::noop_pair,                                                                                              \
     path,                                                                                                             \
     {#set_entry, set_entry, set_priority},                                                                            \
     {#remove_entry, remove_entry, remove_priority},                                                                   \
     ""},
#define HANDLED(kind, set_entry, set_priority, remove_entry, remove_priority, handler, path)                           \
    {kind, path, {#set_entry, set_entry, set_priority}, {#remove_entry, remove_entry, remove_priority}, #handler},
#define QN_IPS_PAIR(...) HANDLED(NodeKind::pair, __VA_ARGS__)
#define QN_IPS_PAIR_FLAG(...) HANDLED(NodeKind::flag_pair, __VA_ARGS__)
#define QN_IPS_PAIR_RANGE(...) HANDLED(NodeKind::range_pair, __VA_ARGS__)
#include "quorin-intrusion-prevention-nodes.def"
    };
    return nodes;
}

std::vector<TableNode> handled_nodes()
{
    std::vector<TableNode> nodes = node_table();
    std::erase_if(nodes, [](const TableNode& node) { return !node.has_handler(); });
    return nodes;
}

const std::vector<EntryPoint>& unregistered_entry_points()
{
    static const std::vector<EntryPoint> entries = {
#define QN_IPS_UNREGISTERED(entry) {#entry, entry, 0},
#include "quorin-intrusion-prevention-nodes.def"
    };
    return entries;
}

std::vector<GoldenRow> golden_rows()
{
    std::ifstream file(QN_IPS_TEST_DATA "/rows.golden");
    if (!file)
        throw std::runtime_error("rows.golden cannot be read");
    std::vector<GoldenRow> rows;
    for (std::string text; std::getline(file, text);) {
        if (text.starts_with('#'))
            continue;
        GoldenRow row;
        std::istringstream(text) >> row.priority >> row.entry >> row.handler >> row.path;
        rows.push_back(row);
    }
    return rows;
}

std::vector<std::string> path_names(const std::string& path)
{
    std::istringstream steps(path);
    std::vector<std::string> names;
    std::string step;
    std::getline(steps, step, '/'); // before the first slash
    while (std::getline(steps, step, '/'))
        names.push_back(step.substr(step.starts_with(prefix) ? prefix.size() : 0));
    return names;
}

std::string bare_edit(const std::string& path, const std::string& inner)
{
    Steps steps;
    for (const std::string& name : path_names(path))
        steps.push_back({name});
    return nested(steps, inner);
}

std::string bare_xpath(const std::string& path)
{
    std::string xpath;
    for (const std::string& name : path_names(path))
        xpath += '/' + name;
    return xpath;
}

} // namespace qnips::test
