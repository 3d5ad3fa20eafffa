// All combinations of what may differ between two edits of a node in one situation.
#pragma once

#include <functional>
#include <vector>

#include "conformance/node_report.h"
#include "conformance/trial.h"
#include "conformance/variable.h"
#include "conformance/workbench.h"

namespace qnips::conformance
{

struct Combination {
    std::vector<std::size_t> choices; // one of each variable
    Reply reply;
};

// The runs of one node in one situation.
struct Combinations {
    const Sample* sample = nullptr;
    ElementId target = 0;
    std::vector<Variable> variables;
    std::vector<Combination> all; // the last variable running fastest
};

// Finds out which leaves matter and runs all combinations of their choices.
Combinations run_combinations(Workbench& bench, const ModuleNode& node, const Sample& sample, ElementId target,
                              const Situation& situation);

// The names that lead to the node: keys of the entries around it, outermost first.
struct EntryKey {
    ElementId leaf = 0;
    std::string entry; // name of the list
};
std::vector<EntryKey> keys_around(Workbench& bench, const Sample& sample, ElementId target);

// The rows that tell what the combinations come to. What was recorded goes to `sightings`.
std::vector<ReportRow> report_rows(Workbench& bench, const Combinations& combinations,
                                   std::vector<Sighting>& sightings);

} // namespace qnips::conformance
