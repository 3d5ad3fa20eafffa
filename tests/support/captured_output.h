// Standard output of a piece of code as text. Works below the C library, so that it also holds what a shared library
// prints.
#pragma once

#include <functional>
#include <string>

namespace qnips::test
{

// Runs `body` and returns what it has written to standard output. Throws std::system_error when output cannot be
// redirected; what `body` throws passes through, with standard output restored.
std::string captured_output(const std::function<void()>& body);

} // namespace qnips::test
