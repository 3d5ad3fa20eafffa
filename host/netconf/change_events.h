// What the server's clients are told of changes of the configuration (RFC 6470).
#pragma once

#include <functional>
#include <vector>

#include "netconf/event_messages.h"
#include "netconf/event_stream.h"
#include "netconf/requester.h"
#include "server/change_set.h"
#include "server/datastores.h"
#include "server/yang_schema.h"

namespace qnips
{

class ChangeEvents
{
public:
    // Both outlive it.
    ChangeEvents(const YangSchema& schema, EventStream& events) : schema_(schema), events_(events) {}

    // A check of an edit that also writes down what the edit changes, if anybody listens. `nodes` outlives it.
    ChangeCheck watched(ChangeCheck check, std::vector<ChangedNode>& nodes);
    // What has become of that edit. Of running and startup it is told; an edit of the candidate changes nothing yet.
    void tell(const Requester& requester, DatastoreName target, const EditOutcome& outcome,
              const std::vector<ChangedNode>& nodes);
    // What has become of a confirmed commit.
    void tell(const ConfirmedCommitEvent& event);

private:
    const YangSchema& schema_;
    EventStream& events_;
};

} // namespace qnips
