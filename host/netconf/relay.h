// Carries bytes between a client and the pipe of its session until one of them ends.
//
// A Channel is the client's side: it never waits but in wait(), and has
//     std::optional<std::size_t> read(std::span<char>)
//         what the client has sent: 0 for nothing yet, nullopt for no more
//     std::size_t write(std::string_view)
//         how much of it the client takes; throws ClientLost
//     void wait(bool input, bool output, pollfd session, std::chrono::milliseconds)
//         for any of these; throws ClientLost
//     void end_output()
//         tells the client that nothing more comes
//     bool discard_input()
//         forgets what the client has sent; false when it has closed the connection
#pragma once

#include <poll.h>

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>

#include "netconf/session_pipe.h"

namespace qnips
{

// The client has gone.
class ClientLost : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

using RelayClock = std::chrono::steady_clock;

// A client that takes nothing of what it has asked for ends after this, and after the end of its session sooner.
inline constexpr std::chrono::seconds stall_limit{60};
inline constexpr std::chrono::seconds last_stall_limit{5};
// For a client to close its connection when its session has ended.
inline constexpr std::chrono::seconds parting_limit{1};
// After which a relay looks at its flags.
inline constexpr std::chrono::milliseconds relay_tick{200};

// What the client has sent, as far as there is room.
template <class Channel>
void fill(Channel& channel, SessionPipe& pipe, std::span<char> buffer)
{
    if (!pipe.wants_input())
        return;
    if (const auto count = channel.read(buffer))
        pipe.take(std::string_view(buffer.data(), *count));
    else
        pipe.end_input();
}

// What the session has for the client, as far as the client takes it. False when it takes nothing of what there is.
template <class Channel>
bool drain(Channel& channel, SessionPipe& pipe)
{
    bool has_moved = pipe.output().empty();
    while (!pipe.output().empty()) {
        const std::size_t count = channel.write(pipe.output());
        if (count == 0)
            break;
        pipe.sent(count);
        has_moved = true;
    }
    return has_moved;
}

// Returns when the session has ended; throws ClientLost or SessionBroken when the client has ended it. `aborts` ends it
// at once.
template <class Channel>
void relay(Channel& channel, SessionPipe& pipe, const std::atomic<bool>& aborts, RelayClock::time_point hello_deadline)
{
    std::array<char, 65536> buffer{};
    RelayClock::time_point progress = RelayClock::now();
    while (!aborts) {
        fill(channel, pipe, buffer);
        pipe.exchange();
        const RelayClock::time_point now = RelayClock::now();
        if (drain(channel, pipe))
            progress = now;
        if (pipe.has_ended())
            return;
        if (now - progress > (pipe.is_ending() ? last_stall_limit : stall_limit))
            throw ClientLost("the client does not read");
        if (!pipe.is_greeted() && now > hello_deadline)
            throw ClientLost("the client has not said <hello> in time");
        channel.wait(pipe.wants_input(), !pipe.output().empty(), {pipe.descriptor(), pipe.events(), 0}, relay_tick);
    }
}

// Of a client whose session has ended and who has been sent everything: leaves it a moment to close the connection.
// Closed from this side while bytes of the client are unread, a connection is reset, and the client loses answers that
// it has not read yet.
template <class Channel>
void part(Channel& channel, const std::atomic<bool>& aborts)
{
    const RelayClock::time_point deadline = RelayClock::now() + parting_limit;
    try {
        channel.end_output();
        while (!aborts && channel.discard_input() && RelayClock::now() < deadline)
            channel.wait(true, false, {-1, 0, 0}, relay_tick);
    } catch (const ClientLost&) {
        return; // which is what it waits for
    }
}

} // namespace qnips
