#include "netconf/listener.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace qnips
{

namespace
{

constexpr int waiting_clients = 128;

// A client whose machine has gone is noticed after two minutes, and with data under way after one.
constexpr int idle_seconds = 60;
constexpr int probe_seconds = 20;
constexpr int probes = 3;
constexpr unsigned unanswered_milliseconds = 60000;

struct AddressDeleter {
    void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};

void set_option(int socket, int level, int option, int value)
{
    setsockopt(socket, level, option, &value, sizeof value);
}

std::string numeric(const sockaddr* address, socklen_t size)
{
    std::array<char, NI_MAXHOST> text{};
    if (getnameinfo(address, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0)
        return {};
    return text.data();
}

sockaddr_un address_of(const std::filesystem::path& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path)
        throw std::runtime_error(fmt::format("{} is too long for the path of a socket", path.string()));
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    return address;
}

[[noreturn]] void cannot_listen(const std::filesystem::path& path, std::string_view reason)
{
    throw std::runtime_error(fmt::format("cannot listen on the socket {}: {}", path.string(), reason));
}

// Only a socket on which nobody listens may go, so that no server loses its clients to another.
void clear(const std::filesystem::path& path, const sockaddr_un& address)
{
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(path, ignored).type();
    if (type == std::filesystem::file_type::not_found)
        return;
    if (type != std::filesystem::file_type::socket)
        throw std::runtime_error(fmt::format("{} is there and is no socket", path.string()));
    const FileDescriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool is_answered = connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (is_answered || errno == EAGAIN) // which says that too many clients wait already
        cannot_listen(path, "a server listens there already");
    if (errno == ECONNREFUSED)
        std::filesystem::remove(path, ignored);
    else if (errno != ENOENT)
        cannot_listen(path, strerror(errno));
}

} // namespace

SocketPath::SocketPath(std::filesystem::path path) : path_(std::move(path))
{
    struct stat status {
    };
    if (lstat(path_.c_str(), &status) != 0)
        throw std::runtime_error(fmt::format("the socket {} has gone: {}", path_.string(), strerror(errno)));
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

SocketPath& SocketPath::operator=(SocketPath&& other) noexcept
{
    path_.swap(other.path_);
    std::swap(device_, other.device_);
    std::swap(inode_, other.inode_);
    return *this;
}

SocketPath::~SocketPath()
{
    struct stat status {
    };
    if (!path_.empty() && lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_)
        unlink(path_.c_str());
}

UnixListener listen_on_socket(const std::filesystem::path& path, unsigned mode)
{
    const sockaddr_un address = address_of(path);
    clear(path, address);
    UnixListener listener{FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), {}};
    const int socket = listener.socket.get();
    if (socket < 0 || bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        cannot_listen(path, strerror(errno));
    listener.path = SocketPath(path);
    // Nobody can connect before it listens, and then the permissions are right.
    if (chmod(path.c_str(), static_cast<mode_t>(mode)) != 0 || listen(socket, waiting_clients) != 0)
        cannot_listen(path, strerror(errno));
    return listener;
}

FileDescriptor listen_on_port(const std::string& address, std::uint16_t port)
{
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (result != 0)
        throw std::runtime_error(fmt::format("cannot listen on {} port {}: {}", address, port, gai_strerror(result)));
    const std::unique_ptr<addrinfo, AddressDeleter> list(found);
    FileDescriptor listener(socket(list->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool has_socket = listener.get() >= 0;
    if (has_socket)
        set_option(listener.get(), SOL_SOCKET, SO_REUSEADDR, 1);
    // So that all addresses of IPv4 can have the same port.
    if (has_socket && list->ai_family == AF_INET6)
        set_option(listener.get(), IPPROTO_IPV6, IPV6_V6ONLY, 1);
    if (!has_socket || bind(listener.get(), list->ai_addr, list->ai_addrlen) != 0 ||
        listen(listener.get(), waiting_clients) != 0)
        throw std::runtime_error(fmt::format("cannot listen on {} port {}: {}", address, port, strerror(errno)));
    return listener;
}

std::uint16_t port_of(const FileDescriptor& listener)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::system_error(errno, std::generic_category(), "the system does not tell the port");
    return ntohs(address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                               : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

Accepted accept_client(const FileDescriptor& listener)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    Accepted accepted{FileDescriptor(accept4(listener.get(), generic, &size, SOCK_CLOEXEC)), {}};
    if (accepted.socket.get() < 0 || address.ss_family == AF_UNIX)
        return accepted;
    const int socket = accepted.socket.get();
    set_option(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    set_option(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
    set_option(socket, IPPROTO_TCP, TCP_KEEPIDLE, idle_seconds);
    set_option(socket, IPPROTO_TCP, TCP_KEEPINTVL, probe_seconds);
    set_option(socket, IPPROTO_TCP, TCP_KEEPCNT, probes);
    set_option(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(unanswered_milliseconds));
    accepted.source = numeric(generic, size);
    return accepted;
}

} // namespace qnips
