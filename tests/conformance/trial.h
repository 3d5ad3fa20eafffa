// Calls of a node's callbacks in an edit of a sample, and the edits to call them in.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "conformance/module_nodes.h"
#include "conformance/sample.h"
#include "conformance/schema_facts.h"
#include "support/recording_server.h"

namespace qnips::conformance
{

// What an edit does to the node.
struct Situation {
    std::string name; // "added", "removed with `profile`"
    int op = 0;
    std::map<ElementId, int> operations; // of all marked elements, the node's own included
};

struct Edit {
    const Sample* sample = nullptr;
    ElementId target = 0;
    const Situation* situation = nullptr;
    std::vector<Change> changes{};
    std::vector<test::Answer> answers{}; // of the platform
};

// What both callbacks of a node did together.
struct Reply {
    test::Lines lines;
    test::ClientErrors errors;
    bool refused = false;              // a callback has returned an error
    std::optional<unsigned> operation; // of the commit that the lines went with
    std::vector<test::KeyLookup> lookups;
};

// Calls the removal callback, then the set callback, as their priorities say; each decides whether it acts.
Reply call_node(test::RecordingServer& server, const ModuleNode& node, const Edit& edit);

// Everything that can happen to the node: added, changed, moved where the user orders, removed.
std::vector<Situation> own_situations(const Sample& sample, ElementId target, const SchemaFacts& facts);

// The situation with an element beside the node that the same edit changes.
Situation with_change_beside(const Sample& sample, const Situation& situation, ElementId beside,
                             const SchemaFacts& facts);

// Removed together with an ancestor, from the nearest one on.
std::vector<Situation> ancestor_removals(const Sample& sample, ElementId target);

} // namespace qnips::conformance
