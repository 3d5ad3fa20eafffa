// How far an XPath expression of a `must` can look, as far as its text tells.
//
// libyang names the schema nodes that an expression touches, but not whether it touches them in the context's own
// ancestors or in other instances of the same list. The text tells: only steps downwards lead into other instances.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qnips
{

struct ExpressionReach {
    // Names (without prefix) of the steps that lead from a node to its children.
    std::vector<std::string> child_steps;
    // The part of the expression that can reach anywhere (an absolute path, a wildcard, a sideways axis...); else
    // empty.
    std::string unbounded;
};

ExpressionReach reach_of(std::string_view expression);

} // namespace qnips
