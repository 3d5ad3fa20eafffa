// Counts the memory that a benchmark asks for, whoever asks: this program, libyang, libxml2.
#pragma once

#include <cstddef>

namespace qnips::bench
{

// Calls of malloc, calloc, realloc and operator new so far.
std::size_t allocations() noexcept;

} // namespace qnips::bench
