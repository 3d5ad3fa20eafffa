// What the server tells of itself: ietf-netconf-monitoring (RFC 6022) and ietf-yang-library (RFC 8525).
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "netconf/sessions.h"
#include "server/datastore_locks.h"
#include "server/yang_schema.h"

namespace qnips
{

struct HeldLock {
    DatastoreName datastore = DatastoreName::running;
    SessionId session = 0;
    std::time_t since = 0;
};

// The tree of /netconf-state.
TreePtr monitoring_state(const YangSchema& schema, const std::vector<std::string>& capabilities,
                         const std::vector<HeldLock>& locks, const SessionTable& sessions);

// The trees of /yang-library and /modules-state.
TreePtr yang_library_state(const YangSchema& schema);

// The YANG text of a module or submodule. An empty version stands for the only one. Throws RpcError "invalid-value"
// when there is none, and "operation-failed" with app-tag "data-not-unique" when there are several (RFC 6022, 3.1).
std::string schema_text(const YangSchema& schema, const std::string& identifier, const std::string& version);

// The streams of events (RFC 5277, 3.2.5.1): the one that every server has, without earlier events.
TreePtr streams_state(const YangSchema& schema);

} // namespace qnips
