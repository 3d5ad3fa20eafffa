#include "netconf/trusted_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fmt/format.h>

namespace qnips
{

std::string read_trusted_file(const std::filesystem::path& file, std::string_view what)
{
    struct stat status {
    };
    if (stat(file.c_str(), &status) != 0)
        throw std::runtime_error(fmt::format("{} {} cannot be read: {}", what, file.string(), strerror(errno)));
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error(fmt::format("{} {} can be written by others than its owner", what, file.string()));
    std::ifstream stream(file);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw std::runtime_error(fmt::format("{} {} cannot be read", what, file.string()));
    return text;
}

} // namespace qnips
