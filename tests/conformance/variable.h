// What may differ between two edits of a node: the values of leaves that its callbacks look at, and what stands before
// it. A run goes through all combinations.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "conformance/trial.h"

namespace qnips::conformance
{

struct Choice {
    std::string label;   // how a row's condition names it, as Markdown
    std::string value{}; // the text that may appear in a line; empty when there is none
    bool absent = false;
    std::vector<Change> changes{};
    std::optional<test::Answer> answer{};
};

struct Variable {
    std::string name;        // how a condition names it, as Markdown
    std::string placeholder; // what stands for its value in a line
    ElementId element = 0;
    bool of_words = false; // its values are the words of a type
    std::vector<Choice> choices{};
};

// All samples; the first holds every node that has no other case of a choice.
using Samples = std::vector<Sample>;

// The choices of a leaf: each word of its type or one value of each shape that the samples have, and, unless it must be
// there, its absence.
Variable leaf_variable(const Samples& samples, const Sample& sample, ElementId leaf, const SchemaFacts& facts,
                       bool may_be_absent);

// "with a blank", "IPv6" and the like: what a text looks like, as far as lines may depend on it.
std::string shape_of_text(const std::string& text);

// For an entry of a list that the user orders: the entry before it, if any, and the first one that the device has.
std::vector<Variable> order_variables(const Sample& sample, ElementId entry);

// The leaf is the first of its kind ("start-x") to which a last one ("end-x") belongs; null if it has none.
std::optional<ElementId> range_start(const Sample& sample, ElementId leaf);

} // namespace qnips::conformance
