// The device's configuration as XML of the YANG module.
#pragma once

#include <string>

#include "platform/device_tree.h"

namespace qnips
{

// The element ips-config with all that is configured; empty when nothing is. Keys come first in their entries,
// signature sets in their order.
std::string configuration_xml(const DeviceTree& device);

} // namespace qnips
