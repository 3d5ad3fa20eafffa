// The nodes that the module has registered, read from the table that it exports.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "transapi/transapi.h"

namespace qnips::conformance
{

struct Callback {
    std::string name;
    transapi_callback function = nullptr;
    int priority = 0;
};

struct ModuleNode {
    std::string path; // as registered, with the prefix on every step
    Callback set;     // or the only one
    std::optional<Callback> removal;
};

// In the order of the table, a node's two rows as one. Throws std::runtime_error when the module is not linked or a
// callback has no name.
std::vector<ModuleNode> module_nodes();

// The number of rows that the table announces.
int module_row_count();

// The names on a registered path, from the root.
std::vector<std::string> path_steps(const std::string& path);

// The last of them.
std::string last_step(const std::string& path);

// True when `inner` stands below `outer`.
bool is_below(const std::string& inner, const std::string& outer);

} // namespace qnips::conformance
