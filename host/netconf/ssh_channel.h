// A client who has come over SSH (RFC 6242): key exchange, login, and the one channel with the subsystem "netconf".
#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "netconf/file_descriptor.h"
#include "netconf/relay.h"

namespace qnips
{

struct SshLogin {
    std::filesystem::path host_key;
    // Whether a user may log in, by a public key in base64 or by a password.
    std::function<bool(const std::string& user, const std::string& key)> accepts_key;
    std::function<bool(const std::string& user, const std::string& password)> accepts_password;
    std::uint16_t attempts = 3; // that may fail
};

class SshChannel
{
public:
    // Throws ClientLost when the library cannot take the connection.
    SshChannel(FileDescriptor socket, SshLogin login);
    ~SshChannel();
    SshChannel(const SshChannel&) = delete;
    SshChannel& operator=(const SshChannel&) = delete;

    // Lets the client log in and open its channel. The user. Throws ClientLost when that is not done at the deadline,
    // when the client has tried too often, and when `aborts`.
    std::string open(const std::atomic<bool>& aborts, RelayClock::time_point deadline);

    // As relay.h has it.
    std::optional<std::size_t> read(std::span<char> buffer);
    std::size_t write(std::string_view bytes);
    void wait(bool input, bool output, pollfd session, std::chrono::milliseconds time);
    void end_output();
    bool discard_input();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace qnips
