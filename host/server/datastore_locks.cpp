#include "server/datastore_locks.h"

#include <fmt/format.h>

namespace qnips
{

std::string_view datastore_word(DatastoreName name)
{
    constexpr std::array<std::string_view, datastore_count> words = {"running", "candidate", "startup"};
    return words[static_cast<std::size_t>(name)];
}

void DatastoreLocks::require_free(DatastoreName name) const
{
    if (const std::optional<SessionId> current = holder(name))
        throw RpcError("lock-denied", {}, fmt::format("{} is locked by session {}", datastore_word(name), *current), {},
                       current);
}

void DatastoreLocks::acquire(SessionId session, DatastoreName name)
{
    require_free(name);
    holders_[index(name)] = session;
}

void DatastoreLocks::release(SessionId session, DatastoreName name)
{
    std::optional<SessionId>& current = holders_[index(name)];
    if (!current)
        throw RpcError("operation-failed", {}, fmt::format("{} is not locked", datastore_word(name)));
    if (current != session)
        throw RpcError(
            "operation-failed", {},
            fmt::format("{} is locked by session {}, which alone can unlock it", datastore_word(name), *current));
    current.reset();
}

void DatastoreLocks::release_all(SessionId session)
{
    for (std::optional<SessionId>& current : holders_) {
        if (current == session)
            current.reset();
    }
}

void DatastoreLocks::require_access(SessionId session, DatastoreName name) const
{
    const std::optional<SessionId> current = holder(name);
    if (current && current != session)
        throw RpcError("in-use", {}, fmt::format("{} is locked by session {}", datastore_word(name), *current));
}

} // namespace qnips
