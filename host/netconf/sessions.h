// The sessions of the server and what is counted of them (RFC 6022, 2.1.4 and 2.1.5). Threads may share it.
#pragma once

#include <cstdint>
#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "server/datastore_locks.h"

namespace qnips
{

struct SessionCounters {
    std::uint32_t in_rpcs = 0;
    std::uint32_t in_bad_rpcs = 0;
    std::uint32_t out_rpc_errors = 0;
    std::uint32_t out_notifications = 0;
};

struct SessionInfo {
    SessionId id = 0;
    std::string user;
    std::string transport; // an identity derived from ietf-netconf-monitoring:transport
    std::string host;      // empty for a session of this machine
    std::time_t login = 0;
    SessionCounters counters{};
};

struct ServerStatistics {
    std::time_t started = 0;
    std::uint32_t in_bad_hellos = 0;
    std::uint32_t in_sessions = 0;
    std::uint32_t dropped_sessions = 0;
    SessionCounters counters{};
};

// How a session has ended (RFC 6470, termination-reason).
enum class SessionEndReason { closed, killed, dropped, timeout, bad_hello, other };

// A session that another one ends.
struct Kill {
    SessionId victim = 0;
    SessionId by = 0;
};

class SessionTable
{
public:
    using Counter = std::uint32_t SessionCounters::*;

    explicit SessionTable(std::time_t started) { statistics_.started = started; }

    void add(SessionInfo session);
    // `dropped`: it was neither closed nor killed.
    void remove(SessionId id, bool dropped);
    void count(SessionId id, Counter counter);
    void count_bad_hello();

    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] std::vector<SessionInfo> list() const;
    [[nodiscard]] ServerStatistics statistics() const;

private:
    mutable std::mutex mutex_;
    std::vector<SessionInfo> sessions_;
    ServerStatistics statistics_;
};

} // namespace qnips
