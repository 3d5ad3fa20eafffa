// The module's node table as values, and the rows that it has promised to servers.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "transapi/transapi.h"

namespace qnips::test
{

enum class NodeKind { noop, noop_pair, pair, flag_pair, range_pair };

struct EntryPoint {
    std::string name;
    transapi_callback function = nullptr;
    int priority = 0;
};

// A node of the table. A no-op node that is no pair has its entry point in `set`; `remove` is empty then.
struct TableNode {
    NodeKind kind = NodeKind::noop;
    std::string path;
    EntryPoint set;
    EntryPoint remove;
    std::string handler; // empty for no-op nodes

    [[nodiscard]] bool has_handler() const { return !handler.empty(); }
    [[nodiscard]] bool is_pair() const { return remove.function != nullptr; }
    friend void PrintTo(const TableNode& node, std::ostream* out) { *out << node.path; }
};

// All nodes in the table's order.
const std::vector<TableNode>& node_table();

// The nodes that have a handler.
std::vector<TableNode> handled_nodes();

// Entry points without a row.
const std::vector<EntryPoint>& unregistered_entry_points();

// A row as it was promised: kept by hand in rows.golden, not made from the module's table.
struct GoldenRow {
    int priority = 0;
    std::string entry;
    std::string handler; // "-" for none
    std::string path;

    bool operator==(const GoldenRow&) const = default;
    friend void PrintTo(const GoldenRow& row, std::ostream* out)
    {
        *out << row.priority << ' ' << row.entry << ' ' << row.handler << ' ' << row.path;
    }
};

// The rows of rows.golden, in order. Throws std::runtime_error when the file cannot be read.
std::vector<GoldenRow> golden_rows();

// The names on a registered path, from the root.
std::vector<std::string> path_names(const std::string& path);

// An edit that holds nothing but the elements of a registered path; `inner` stands in the last.
std::string bare_edit(const std::string& path, const std::string& inner = "");

// The XPath of the last of them.
std::string bare_xpath(const std::string& path);

} // namespace qnips::test
