// From the outcomes of all combinations to a few rows: what does not matter falls away, what is left out with a leaf is
// bracketed, and the rest becomes conditions.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "conformance/line_format.h"

namespace qnips::conformance
{

// What a combination comes to.
struct Outcome {
    std::vector<LineFormat> lines;
    std::optional<unsigned> operation;
    std::vector<std::pair<int, std::string>> errors; // code and text
    bool refused = false;

    bool operator==(const Outcome&) const = default;
};

// A factor of the table: how many choices, and which one is the absence of a leaf.
struct Factor {
    std::size_t variable = 0;
    std::vector<std::size_t> choices;
    std::optional<std::size_t> absence;
};

// The outcomes of all combinations, the last factor running fastest.
struct OutcomeTable {
    std::vector<Factor> factors;
    std::vector<Outcome> outcomes;
};

struct Condition {
    std::size_t variable = 0;
    std::vector<std::size_t> choices;
    bool in_order = false; // each has its own word in a line, in this order

    bool operator==(const Condition&) const = default;
};

struct OutcomeRow {
    std::vector<Condition> when; // all of them; none: always
    Outcome outcome;
    // How many values of the first condition the row has taken in, each with its own word in a line.
    std::size_t alternatives = 1;

    bool operator==(const OutcomeRow&) const = default;
};

std::vector<OutcomeRow> rows_of(OutcomeTable table);

} // namespace qnips::conformance
