// What the log is told of requests and of the edits they make.
#pragma once

#include <chrono>

#include "netconf/reply.h"
#include "netconf/requester.h"
#include "netconf/server_log.h"
#include "server/yang_schema.h"

namespace qnips
{

struct ConfirmedCommitEvent;
struct EditOutcome;

// One line: who, which operation, of which datastore, with what result, how long. What was only read is told at the
// level debug. `rpc` is the operation's node.
void log_request(ServerLog& log, const Requester& requester, const lyd_node* rpc, const Reply& reply,
                 std::chrono::nanoseconds duration);

// An edit whose callbacks were called. At the level debug one line with where its time has gone; at the level trace
// also one for every callback of which there is a record, and one for every command line it has sent.
void log_transaction(ServerLog& log, const Requester& requester, const EditOutcome& outcome);

// What has become of a confirmed commit, which can happen without a request.
void log_confirmed_commit(ServerLog& log, const ConfirmedCommitEvent& event);

} // namespace qnips
