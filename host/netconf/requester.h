// Who makes a request: a session with its user, as access control and the log see them.
#pragma once

#include <functional>
#include <string>

#include "access/user_rights.h"
#include "server/datastore_locks.h"

namespace qnips
{

struct Requester {
    SessionId session = 0;
    AccessUser user;
    std::string source{}; // the client's address; empty for a client of this machine
    // Whether the session was killed, which aborts what it is doing; an empty one says it was not. Threads ask.
    std::function<bool()> is_killed{};
};

// A user of this machine, who has come over the UNIX socket: with the system's groups, and with the rights of the
// recovery session (RFC 8341, 2) when it is the user of this process or root. One whom the system does not know has
// neither. Asks the system, so once a session is enough.
AccessUser local_user(const std::string& name);

} // namespace qnips
