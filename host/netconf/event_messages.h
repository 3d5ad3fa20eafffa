// The events that the server tells of (RFC 6470), as notifications.
#pragma once

#include <string_view>
#include <vector>

#include "netconf/event_stream.h"
#include "netconf/requester.h"
#include "server/yang_schema.h"

namespace qnips
{

class ChangeSet;
struct ConfirmedCommitEvent;

// One change as RFC 6470 tells it.
struct ChangedNode {
    std::string target; // its instance path, as libyang writes it
    std::string_view operation;
};
// What an edit has done, told by the topmost nodes that it has created or removed and the leaves that it has changed.
// Where that is too much for one notification it is the root alone.
std::vector<ChangedNode> changed_nodes(const ChangeSet& changes);

// All do nothing when nobody has subscribed, and throw nothing: that an event cannot be told does not undo it.
void publish_session_start(EventStream& events, const YangSchema& schema, const Requester& requester);
void publish_session_end(EventStream& events, const YangSchema& schema, const Requester& requester,
                         std::string_view reason, SessionId killed_by);
// `requester` is null for a change that the server has made of its own.
void publish_config_change(EventStream& events, const YangSchema& schema, const Requester* requester,
                           std::string_view datastore, const std::vector<ChangedNode>& nodes);
void publish_confirmed_commit(EventStream& events, const YangSchema& schema, const ConfirmedCommitEvent& commit);

// That a subscription is over (RFC 5277, 2.1.1).
TreePtr notification_complete(const YangSchema& schema);

} // namespace qnips
