// File descriptors: how many the process may have, and how many a server needs.
#pragma once

#include <cstdint>

#include "netconf/server.h"

namespace qnips
{

// Lets the process have as many as the system permits it, and says how many that are.
std::uint64_t raise_descriptor_limit();

// With as many sessions and newcomers as the limits let in.
std::uint64_t descriptors_needed(const ServerLimits& limits);

} // namespace qnips
