#include "netconf/sessions.h"

#include <algorithm>
#include <utility>

namespace qnips
{

namespace
{

auto find(std::vector<SessionInfo>& sessions, SessionId id)
{
    return std::find_if(sessions.begin(), sessions.end(),
                        [id](const SessionInfo& session) { return session.id == id; });
}

} // namespace

void SessionTable::add(SessionInfo session)
{
    const std::lock_guard guard(mutex_);
    ++statistics_.in_sessions;
    sessions_.push_back(std::move(session));
}

void SessionTable::remove(SessionId id, bool dropped)
{
    const std::lock_guard guard(mutex_);
    const auto session = find(sessions_, id);
    if (session == sessions_.end())
        return;
    sessions_.erase(session);
    if (dropped)
        ++statistics_.dropped_sessions;
}

void SessionTable::count(SessionId id, Counter counter)
{
    const std::lock_guard guard(mutex_);
    ++(statistics_.counters.*counter);
    if (const auto session = find(sessions_, id); session != sessions_.end())
        ++(session->counters.*counter);
}

// A session with a bad <hello> has been started as well (RFC 6022, 2.1.5).
void SessionTable::count_bad_hello()
{
    const std::lock_guard guard(mutex_);
    ++statistics_.in_sessions;
    ++statistics_.in_bad_hellos;
}

std::size_t SessionTable::size() const
{
    const std::lock_guard guard(mutex_);
    return sessions_.size();
}

std::vector<SessionInfo> SessionTable::list() const
{
    const std::lock_guard guard(mutex_);
    return sessions_;
}

ServerStatistics SessionTable::statistics() const
{
    const std::lock_guard guard(mutex_);
    return statistics_;
}

} // namespace qnips
