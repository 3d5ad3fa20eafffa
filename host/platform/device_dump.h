// A device's tree as one text, and back: paths, values, orders. Trees with the same dump are the same.
#pragma once

#include <string>
#include <string_view>

#include "platform/device_tree.h"

namespace qnips
{

std::string dump(const DeviceTree& tree);

// Makes the nodes of a dump in an empty tree; commit them or take them back. std::invalid_argument when it is no dump,
// ListFull when a list of the tree has too little room.
void restore(DeviceTree& tree, std::string_view dump);

} // namespace qnips
