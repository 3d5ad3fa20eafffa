// Who may change which datastore: the global locks of RFC 6241, 7.5 and 7.6. Knows nothing of what the datastores hold.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "server/rpc_error.h"

namespace qnips
{

// A session-id of RFC 6241. 0 stands for somebody outside of NETCONF, who counts as one session.
using SessionId = std::uint32_t;

enum class DatastoreName { running, candidate, startup };
inline constexpr std::size_t datastore_count = 3;

// The name as NETCONF writes it: "running".
std::string_view datastore_word(DatastoreName name);

class DatastoreLocks
{
public:
    [[nodiscard]] std::optional<SessionId> holder(DatastoreName name) const { return holders_[index(name)]; }
    [[nodiscard]] bool holds(SessionId session, DatastoreName name) const { return holder(name) == session; }

    // Throws RpcError "lock-denied" with the holder when somebody holds the lock.
    void require_free(DatastoreName name) const;
    // Throws like require_free, also when the holder is the session itself.
    void acquire(SessionId session, DatastoreName name);

    // Throws RpcError "operation-failed" when the session does not hold the lock.
    void release(SessionId session, DatastoreName name);
    void release_all(SessionId session);

    // Throws RpcError "in-use" when another session holds the lock.
    void require_access(SessionId session, DatastoreName name) const;

private:
    static constexpr std::size_t index(DatastoreName name) { return static_cast<std::size_t>(name); }

    std::array<std::optional<SessionId>, datastore_count> holders_;
};

} // namespace qnips
