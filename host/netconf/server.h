// The NETCONF server: listens, lets clients in, and hands their requests to Operations one after the other.
//
// Threads: a few accept sessions, because the library carries out a whole SSH handshake in the call that accepts it and
// a silent client must not keep the others out; the one that calls run() polls all sessions, carries out requests and
// looks after confirmed commits. So operations and the module's callbacks never meet.
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
#include "netconf/sessions.h"
#include "netconf/users.h"
#include "server/yang_schema.h"

namespace qnips
{

struct SshEndpoint {
    std::string address;
    std::uint16_t port = 830;
};

struct ServerSettings {
    std::optional<std::filesystem::path> unix_socket; // for the user of this process and for root
    std::vector<SshEndpoint> ssh;
    std::filesystem::path host_key; // of the SSH endpoints
    Users users;                    // who may log in over SSH
    std::chrono::seconds hello_timeout{30};
    std::chrono::seconds idle_timeout{0}; // 0: sessions may be idle for ever
    std::size_t max_sessions = 64;
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

    // Serves until `stop` says so; it is asked several times a second. The request in progress is finished first, then
    // all sessions end.
    void run(const std::function<bool()>& stop);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace qnips
