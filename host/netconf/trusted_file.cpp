#include "netconf/trusted_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

#include "netconf/file_descriptor.h"

namespace qnips
{

namespace
{

std::string content_of(const FileDescriptor& file)
{
    std::string text;
    std::array<char, 65536> part{};
    ssize_t count = 0;
    while ((count = read(file.get(), part.data(), part.size())) > 0)
        text.append(part.data(), static_cast<std::size_t>(count));
    if (count < 0)
        throw std::system_error(errno, std::generic_category());
    return text;
}

} // namespace

std::string read_trusted_file(const std::filesystem::path& file, std::string_view what)
{
    const auto refuse = [&](std::string_view reason) {
        throw std::runtime_error(fmt::format("{} {} {}", what, file.string(), reason));
    };
    // What is judged is what is read, whatever becomes of the name; and a pipe keeps nobody waiting.
    const FileDescriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {
    };
    if (opened.get() < 0 || fstat(opened.get(), &status) != 0)
        refuse(fmt::format("cannot be read: {}", strerror(errno)));
    if (!S_ISREG(status.st_mode))
        refuse("is no file");
    if (status.st_uid != 0 && status.st_uid != geteuid())
        refuse("belongs to neither root nor the user of this process");
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        refuse("can be written by others than its owner");
    try {
        return content_of(opened);
    } catch (const std::system_error& error) {
        refuse(fmt::format("cannot be read: {}", error.what()));
    }
    return {};
}

} // namespace qnips
