// What the YANG module demands of a configuration beyond the types of its leaves: mandatory leaves, its `must`
// statements, and one case of a choice.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/server/configuration_model.h"

namespace qnips::test
{

// A value that the leaf may have below that parent.
using ValueOf = std::function<std::string(const lysc_node* leaf, const ConfigNode& parent)>;

// Changes as little of a configuration as makes it valid; what is missing takes its values from `value_of`.
void make_valid(Config& config, const ValueOf& value_of);

ConfigNode* child(ConfigNode& parent, std::string_view name);

// Erases the siblings that belong to another case of a choice than `schema` does.
void keep_case_of(Config& siblings, const lysc_node* schema);

} // namespace qnips::test
