// Edits as text: the steps from the root down to a changed node, each with its keys and its operation.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qnips::test
{

struct Step {
    std::string name;
    std::string content = ""; // XML that stands before the next step: keys and the like
    std::string op = "";      // "REM", "ADD|CHAIN", ...; empty: takes no part in the edit
};
using Steps = std::vector<Step>;

// Nests the steps, the last around `inner`.
std::string nested(const Steps& steps, std::string_view inner);

// `steps` with an operation on the one that stands `level` steps above what they are nested around (1 is the last).
Steps with_op(Steps steps, int level, std::string_view op);

// <name>text</name>, with the text's markup characters escaped.
std::string leaf(std::string_view name, std::string_view text);

// ips-config, user-defined-ips and the entry of a virtual system.
Steps in_vsys(std::string_view vsys);

// The same and a profile's entry: the vsys entry stands three levels above the profile's leaves.
Steps in_profile(std::string_view vsys, std::string_view profile);

// The same for a user-defined signature.
Steps in_signature(std::string_view vsys, std::string_view id);

// `steps` and more of them below.
Steps operator/(Steps steps, Step below);

} // namespace qnips::test
