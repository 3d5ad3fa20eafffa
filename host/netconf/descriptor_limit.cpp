#include "netconf/descriptor_limit.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace qnips
{

namespace
{

// The client's socket, the two ends of the session's pipe, and one of the SSH library or of the session.
constexpr std::uint64_t of_a_client = 4;
// Databases, logs, places to listen, and what libraries open for a moment.
constexpr std::uint64_t of_the_process = 32;

} // namespace

std::uint64_t raise_descriptor_limit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        throw std::system_error(errno, std::generic_category(), "the system does not tell the limit of open files");
    const rlimit raised{limit.rlim_max, limit.rlim_max};
    if (limit.rlim_cur < limit.rlim_max && setrlimit(RLIMIT_NOFILE, &raised) == 0)
        return raised.rlim_cur;
    return limit.rlim_cur;
}

std::uint64_t descriptors_needed(const ServerLimits& limits)
{
    const std::uint64_t newcomers = std::max<std::uint64_t>(limits.sessions, fewest_newcomers);
    return of_a_client * (limits.sessions + newcomers) + of_the_process;
}

} // namespace qnips
