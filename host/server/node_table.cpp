// See node_table.h.
#include "server/node_table.h"

#include <libyang/libyang.h>

#include <fmt/format.h>

#include <algorithm>

#include "server/load_error.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

struct NodeCount {
    int set = 0;
    int removal = 0;
    int set_priority = 0; // of the last set row
};
using NodeCounts = std::unordered_map<const lysc_node*, NodeCount>;

bool is_configuration(const lysc_node* node)
{
    return (node->flags & LYS_CONFIG_W) != 0;
}

// All data nodes below `parent` (null for the module's roots), parents first, in the order of the schema.
void collect_data_nodes(const lysc_node* parent, const lysc_module* module, std::vector<const lysc_node*>& nodes)
{
    const lysc_node* child = nullptr;
    while ((child = lys_getnext(child, parent, module, 0)) != nullptr) {
        if ((child->nodetype & (LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST | LYS_ANYDATA)) == 0)
            continue;
        nodes.push_back(child);
        if ((child->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0)
            collect_data_nodes(child, module, nodes);
    }
}

NodeCounts count_rows(std::span<const Row> rows, const YangSchema& schema, std::vector<std::string>& findings)
{
    NodeCounts counts;
    for (const Row& row : rows) {
        const lysc_node* node = schema.find(row.path);
        if (node == nullptr) {
            findings.push_back(fmt::format("{}: the schema has no such node", row.path));
            continue;
        }
        NodeCount& count = counts[node];
        if (phase_of(row) == Phase::removal) {
            ++count.removal;
        } else {
            ++count.set;
            count.set_priority = row.priority;
        }
    }
    return counts;
}

void check_rows_of(const lysc_node* node, const NodeCounts& counts, std::vector<std::string>& findings)
{
    const auto found = counts.find(node);
    if (found == counts.end()) {
        const bool configuration_root = node->parent == nullptr && is_configuration(node);
        if (!configuration_root)
            findings.push_back(fmt::format("{}: no row", schema_path(node)));
        return;
    }
    const NodeCount& count = found->second;
    if (count.set != 1 || count.removal > 1)
        findings.push_back(fmt::format("{}: {} set rows and {} removal rows, expected one set row and at most one "
                                       "removal row",
                                       schema_path(node), count.set, count.removal));
}

bool is_pair(const NodeCount& count)
{
    return count.set == 1 && count.removal == 1;
}

// Comparing with the nearest pair above is enough: the order is transitive. (Choices and cases on the way have no
// rows.)
void check_set_priority(const lysc_node* node, const NodeCounts& counts, std::vector<std::string>& findings)
{
    const auto found = counts.find(node);
    if (found == counts.end() || !is_pair(found->second))
        return;
    for (const lysc_node* above = node->parent; above != nullptr; above = above->parent) {
        const auto parent = counts.find(above);
        if (parent == counts.end() || !is_pair(parent->second))
            continue;
        if (parent->second.set_priority < found->second.set_priority)
            findings.push_back(fmt::format("{}: set priority {} is above the {} of {}, which has to be set before it",
                                           schema_path(node), found->second.set_priority, parent->second.set_priority,
                                           schema_path(above)));
        return;
    }
}

} // namespace

std::vector<std::string> table_findings(std::span<const Row> rows, const YangSchema& schema)
{
    std::vector<std::string> findings;
    const NodeCounts counts = count_rows(rows, schema, findings);

    std::vector<const lysc_node*> nodes;
    collect_data_nodes(nullptr, schema.module()->compiled, nodes);
    for (const lysc_node* node : nodes) {
        check_rows_of(node, counts, findings);
        check_set_priority(node, counts, findings);
    }
    return findings;
}

NodeTable::NodeTable(std::span<const Row> rows, const YangSchema& schema)
{
    std::vector<std::string> findings = table_findings(rows, schema);
    if (!findings.empty())
        throw LoadError("the module's table does not fit the YANG schema", std::move(findings));

    for (const Row& row : rows) {
        NodeRows& node = nodes_[schema.find(row.path)];
        (phase_of(row) == Phase::removal ? node.removal : node.set).push_back(row);
    }
}

std::span<const Row> NodeTable::rows(const lysc_node* node, Phase phase) const
{
    const auto found = nodes_.find(node);
    if (found == nodes_.end())
        return {};
    return phase == Phase::removal ? found->second.removal : found->second.set;
}

bool NodeTable::has_pair(const lysc_node* node) const
{
    return !rows(node, Phase::set).empty() && !rows(node, Phase::removal).empty();
}

bool NodeTable::speaks_through_parent(const lysc_node* node) const
{
    const bool value = (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    return value && !lysc_is_key(node) && is_configuration(node) && !has_pair(node);
}

const lysc_node* NodeTable::speaker(const lysc_node* node) const
{
    const lysc_node* above = node->parent;
    while (above != nullptr && !has_pair(above))
        above = above->parent;
    return above;
}

} // namespace qnips
