// The errors of a node: what its callbacks tell a client about faulty edits.
#pragma once

#include <map>

#include "conformance/combinations.h"
#include "conformance/node_report.h"

namespace qnips::conformance
{

// Adds the errors of edits in which one leaf is faulty: the node's own, one in it, or one that the combinations have
// shown its callbacks to look at; each of a fixed list of faults.
void add_faults(Workbench& bench, const ModuleNode& node, const Combinations& combinations, const Situation& situation,
                std::map<ErrorKey, ErrorReport>& errors);

// Adds the errors of a run.
void add_errors(const Reply& reply, const Cause& cause, std::map<ErrorKey, ErrorReport>& errors);

} // namespace qnips::conformance
