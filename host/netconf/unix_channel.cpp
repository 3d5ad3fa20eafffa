#include "netconf/unix_channel.h"

#include <pwd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "netconf/relay.h"

namespace qnips
{

std::string UnixChannel::user() const
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket_.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        throw ClientLost("the system does not tell whose connection it is");
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> memory{};
    if (getpwuid_r(peer.uid, &entry, memory.data(), memory.size(), &found) != 0 || found == nullptr)
        throw ClientLost("the system does not know the user");
    return found->pw_name;
}

std::optional<std::size_t> UnixChannel::read(std::span<char> buffer)
{
    const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0)
        return static_cast<std::size_t>(count);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    return std::nullopt;
}

std::size_t UnixChannel::write(std::string_view bytes)
{
    const ssize_t count = send(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR)
        throw ClientLost(std::strerror(errno));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void UnixChannel::wait(bool input, bool output, pollfd session, std::chrono::milliseconds time)
{
    const int events = (input ? POLLIN : 0) | (output ? POLLOUT : 0);
    std::array<pollfd, 2> places{{{socket_.get(), static_cast<short>(events), 0}, session}};
    poll(places.data(), places.size(), static_cast<int>(time.count()));
    // Both directions are closed. What it has sent before is read first.
    if ((places[0].revents & (POLLHUP | POLLERR)) != 0 && !input)
        throw ClientLost("the client has hung up");
}

void UnixChannel::end_output()
{
    shutdown(socket_.get(), SHUT_WR);
}

bool UnixChannel::discard_input()
{
    std::array<char, 65536> buffer{};
    std::optional<std::size_t> count;
    do
        count = read(buffer);
    while (count > 0);
    return count.has_value();
}

} // namespace qnips
