// The NETCONF server: listens, lets clients in, and hands their requests to Operations.
//
// Threads: one accepts clients; each client has one for its connection and, once it is let in, one for its session, so
// that whoever is silent or slow keeps nobody else waiting; the one that calls run() looks after confirmed commits.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "netconf/operations.h"
#include "netconf/server_log.h"
#include "netconf/sessions.h"
#include "netconf/users.h"
#include "server/yang_schema.h"

namespace qnips
{

struct SshEndpoint {
    std::string address;
    std::uint16_t port = 830; // 0: any that is free
};

// Clients that are no sessions yet, or not any more, can be as many as sessions and this at least. They are that for
// moments, unless they are silent.
inline constexpr std::size_t fewest_newcomers = 32;

struct ServerLimits {
    std::size_t sessions = 64;              // at a time
    std::size_t message_bytes = 1 << 24;    // 16 MiB, of one message of a client
    std::chrono::seconds hello_seconds{30}; // until a client has to have said <hello>
    std::chrono::seconds idle_seconds{0};   // 0: sessions may be idle for ever
    std::uint16_t login_attempts = 3;       // of one connection over SSH
    std::chrono::seconds login_seconds{30}; // for all of them
};

struct ServerSettings {
    std::optional<std::filesystem::path> unix_socket;
    unsigned socket_mode = 0600; // by default for the user of this process and for root
    std::vector<SshEndpoint> ssh;
    std::filesystem::path host_key;    // of the SSH endpoints
    const LoginUsers* users = nullptr; // who may log in over SSH; null: nobody
    ServerLog* log = nullptr;          // null: nothing is told; else it outlives the server
    ServerLimits limits;
};

class Server
{
public:
    // Listens from now on. Everything has to outlive the server, of which a process can have one at a time. Throws
    // std::runtime_error that names the address when it cannot listen.
    Server(const YangSchema& schema, Operations& operations, SessionTable& sessions, ServerSettings settings);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Where it listens for SSH, with the ports that it has got.
    [[nodiscard]] const std::vector<SshEndpoint>& ssh_endpoints() const;

    // Serves until `stop` says so; it is asked several times a second. The operation in progress is finished first,
    // then all sessions end. False when one cannot end, because what its client has sent takes for ever to be
    // evaluated: no operation is in progress then, and the process may end; the server's destructor would wait.
    [[nodiscard]] bool run(const std::function<bool()>& stop);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace qnips
