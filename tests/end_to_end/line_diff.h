// The difference of two texts, line by line.
#pragma once

#include <string>

namespace qnips::test
{

// Empty when the texts are equal. Else the differing lines with their neighbours: "- " stands before what is expected
// and not there, "+ " before what is there and not expected. A last line without an end is marked as such.
std::string line_diff(const std::string& expected, const std::string& actual);

} // namespace qnips::test
