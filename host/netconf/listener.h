// Sockets that clients connect to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "netconf/file_descriptor.h"

namespace qnips
{

// The path of a socket that this process has made, which goes with its owner. Where another socket has taken the path
// meanwhile, that one stays.
class SocketPath
{
public:
    SocketPath() = default;
    // Of the socket that is there.
    explicit SocketPath(std::filesystem::path path);
    SocketPath(SocketPath&& other) noexcept { *this = std::move(other); }
    SocketPath& operator=(SocketPath&& other) noexcept;
    SocketPath(const SocketPath&) = delete;
    SocketPath& operator=(const SocketPath&) = delete;
    ~SocketPath();

private:
    std::filesystem::path path_; // empty: of none
    std::uint64_t device_ = 0;
    std::uint64_t inode_ = 0;
};

// The path goes while the socket still listens: as long as it does no other file can have got its inode.
struct UnixListener {
    FileDescriptor socket;
    SocketPath path;
};
// A UNIX socket at a path, with the permission bits of a file. A socket on which nobody listens any more goes. Throws
// std::runtime_error that names the path, also where a server listens already.
UnixListener listen_on_socket(const std::filesystem::path& path, unsigned mode);

// A TCP port of an address, 0 for any that is free; "::" is that of IPv6 alone. Throws std::runtime_error that names
// both.
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
