// What has become of an edit, as the reply to the request that made it.
#pragma once

#include "netconf/reply.h"
#include "server/running_datastore.h"

namespace qnips
{

// All errors of the edit, each with what the device said; for an edit that has succeeded what its callbacks complained
// about, as warnings (RFC 6241, 4.3).
Reply reply_of(const EditOutcome& outcome);

} // namespace qnips
