// Sockets that clients connect to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "netconf/file_descriptor.h"

namespace qnips
{

// A UNIX socket at a path, with the permission bits of a file. A socket of an earlier process that is in the way goes.
// Throws std::runtime_error that names the path.
FileDescriptor listen_on_socket(const std::filesystem::path& path, unsigned mode);

// A TCP port of an address, 0 for any that is free. Throws std::runtime_error that names both.
FileDescriptor listen_on_port(const std::string& address, std::uint16_t port);

// Where it listens.
std::uint16_t port_of(const FileDescriptor& listener);

struct Accepted {
    FileDescriptor socket;
    std::string source; // the address of a TCP client
};
// A client that waits. No socket when there is none, and when there is no room for one.
Accepted accept_client(const FileDescriptor& listener);

} // namespace qnips
