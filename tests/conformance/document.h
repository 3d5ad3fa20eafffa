// The conformance table as a Markdown document.
#pragma once

#include <string>
#include <vector>

#include "conformance/node_report.h"
#include "conformance/workbench.h"

namespace qnips::conformance
{

// All registered nodes of the module, in the order of its table: those of the state only by their rows.
struct Conformance {
    std::vector<NodeReport> speaking; // their callbacks do something
    std::vector<ModuleNode> silent;   // of the configuration, whose callbacks do nothing in any run
    std::vector<SchemaFacts> silent_facts;
    std::vector<ModuleNode> state;
};

// Runs everything.
Conformance examine(Workbench& bench);

std::string document(const Conformance& conformance, const YangSchema& schema);

// The heading of a node's section, and what stands in it; for checks of the document.
std::string heading(const ModuleNode& node);

// Why nothing is sent for a node in a situation, as the other nodes' lines show it; empty when they say nothing.
std::string reason_of_silence(const Conformance& conformance, const NodeReport& report, const std::string& situation);

} // namespace qnips::conformance
