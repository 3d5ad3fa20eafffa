// The module's callback rows by schema node.
//
// A table only comes into being when it fits the schema: an edit never meets a node without its row, nor a row that is
// called for nothing.
#pragma once

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "server/change_set.h"
#include "server/module_loader.h"

struct lysc_node;

namespace qnips
{

class YangSchema;

// Rows with this priority and above are called in the removal phase, the others in the set phase.
inline constexpr int first_removal_priority = 50;

constexpr Phase phase_of(const Row& row)
{
    return row.priority >= first_removal_priority ? Phase::removal : Phase::set;
}

// Everything that keeps `rows` from being called for data of `schema`; empty when they fit:
//   - every path is a node of the schema;
//   - every data node has a row, except a top-level container of the configuration;
//   - a node has one set row, and at most one removal row beside it;
//   - of two nodes with both rows, the outer one's set priority is not lower: it is set before what it contains.
//   (Removal
//     priorities are free: what an entry holds is often taken back before the entry goes.)
std::vector<std::string> table_findings(std::span<const Row> rows, const YangSchema& schema);

class NodeTable
{
public:
    // Throws LoadError with all findings when the rows do not fit. The module that the rows come from must stay loaded,
    // and `schema` alive, as long as the table is used.
    NodeTable(std::span<const Row> rows, const YangSchema& schema);

    // The rows to call for a node in a phase, in the order of the module's table; empty when there are none.
    [[nodiscard]] std::span<const Row> rows(const lysc_node* node, Phase phase) const;

    // True when the node has a set row and a removal row: only then a handler may stand behind it.
    [[nodiscard]] bool has_pair(const lysc_node* node) const;

    // True for a writable leaf or leaf-list, no key, without a pair of rows: no line is sent when only it changes.
    [[nodiscard]] bool speaks_through_parent(const lysc_node* node) const;

    // The nearest ancestor with a pair of rows, which has to be replaced when such a leaf changes; null if none has.
    [[nodiscard]] const lysc_node* speaker(const lysc_node* node) const;

private:
    struct NodeRows {
        std::vector<Row> set;
        std::vector<Row> removal;
    };

    std::unordered_map<const lysc_node*, NodeRows> nodes_;
};

} // namespace qnips
