// Files that say who may do what: read only where nobody can have written them but root and the process's own user, who
// could change what the process does anyway.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qnips
{

// The content of the file. Throws std::runtime_error that names it as `what` ("the users' file") when it cannot be
// read, when it belongs to somebody else, and when others than its owner can write it.
std::string read_trusted_file(const std::filesystem::path& file, std::string_view what);

} // namespace qnips
