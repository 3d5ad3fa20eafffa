// What a run of the module shows of one node.
#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "conformance/decision.h"
#include "conformance/module_nodes.h"
#include "conformance/schema_facts.h"

namespace qnips::conformance
{

// A row of a node's table: under which condition an edit leads to what.
struct ReportRow {
    std::string when; // Markdown; empty: always
    Outcome outcome;

    bool operator==(const ReportRow&) const = default;
};

struct SituationReport {
    std::vector<std::string> names; // situations with the same rows
    std::vector<ReportRow> rows;

    [[nodiscard]] bool sends() const;
};

struct ErrorKey {
    int code = 0;
    std::string text;

    bool operator<(const ErrorKey& other) const { return std::tie(code, text) < std::tie(other.code, other.text); }
};

// What is wrong with which leaf; empty leaves stand for the edit as a whole.
struct Cause {
    std::string leaf;
    std::string fault;

    bool operator<(const Cause& other) const { return std::tie(leaf, fault) < std::tie(other.leaf, other.fault); }
};

// The leaf of a cause when it is the node itself.
inline constexpr const char* own_value = "the value";

struct ErrorReport {
    std::set<Cause> causes;
    bool sent_all_the_same = false; // lines went out although the error was raised
};

// A line as it was recorded in one combination, and the format with the values that were put in its place.
struct Sighting {
    test::Line line;
    std::vector<std::string> words;
    std::vector<NamedValue> values;
};

struct NodeReport {
    ModuleNode node;
    SchemaFacts facts;
    std::vector<SituationReport> situations;
    std::map<ErrorKey, ErrorReport> errors;
    std::vector<Sighting> sightings; // of all combinations, for checks of the report

    // False when no run has left a trace: its callbacks do nothing.
    [[nodiscard]] bool does_something() const;
};

} // namespace qnips::conformance
