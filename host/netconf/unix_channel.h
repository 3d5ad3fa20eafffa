// A client of this machine, who has come over a UNIX socket.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "netconf/file_descriptor.h"

namespace qnips
{

class UnixChannel
{
public:
    explicit UnixChannel(FileDescriptor socket) : socket_(std::move(socket)) {}

    // The system's name of the user at the other end. Throws ClientLost for one whom the system does not know.
    [[nodiscard]] std::string user() const;

    std::optional<std::size_t> read(std::span<char> buffer);
    std::size_t write(std::string_view bytes);
    void wait(bool input, bool output, pollfd session, std::chrono::milliseconds time);
    void end_output();
    bool discard_input();

private:
    FileDescriptor socket_;
};

} // namespace qnips
