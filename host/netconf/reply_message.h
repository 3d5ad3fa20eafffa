// Replies as the NETCONF library sends them.
#pragma once

#include "netconf/reply.h"

struct lyd_node;
struct nc_server_reply;

namespace qnips
{

// The message for the reply to `rpc`, owned by the caller, who gives it to the library. Takes the reply's data with it.
// Null for want of memory: the library then answers "operation-failed".
nc_server_reply* reply_message(lyd_node* rpc, Reply reply);

} // namespace qnips
