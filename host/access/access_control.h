// Access control of a NETCONF server (RFC 8341): who may call an operation, read and write data, and receive a
// notification. It knows users, schema and data, and nothing of messages, sessions or transports.
//
// What the caller has to do (RFC 8341, 3.2):
//   every rpc: may_execute before anything else
//   get, get-config: readable on all of the data, and filters on what that leaves
//   edit-config, copy-config, commit: check_writes on what it changes in running, in the candidate or in startup,
//   before
//     any of it takes effect; copy-config from running to startup needs no more than its execution
//   copy-config, validate: a source counts with what is readable of it
//   discard-changes, delete-config, lock and the like: nothing more
//   a notification: may_receive for each subscriber
// Changes of the data that no client has asked for (a confirmed commit that expires, a start) are nobody's to permit.
#pragma once

#include <cstdint>
#include <utility>

#include "access/access_rules.h"
#include "access/user_rights.h"
#include "server/change_set.h"
#include "server/yang_schema.h"

namespace qnips
{

// How often something was denied since the server started; they wrap around (RFC 8341, zero-based-counter32).
struct AccessCounters {
    std::uint32_t denied_operations = 0;
    std::uint32_t denied_data_writes = 0; // requests, not nodes; they do not count as operations as well
    std::uint32_t denied_notifications = 0;

    bool operator==(const AccessCounters&) const = default;
};

// One thread.
class AccessControl
{
public:
    // Without rules what RFC 8341 has as defaults holds: all may be read and called, nothing may be written.
    explicit AccessControl(AccessRules rules = {}) : rules_(std::move(rules)) {}

    // From now on these rules hold. The counters go on.
    void use(AccessRules rules) { rules_ = std::move(rules); }
    [[nodiscard]] const AccessRules& rules() const { return rules_; }

    // Whether the user may call an rpc, given by its schema node. A refusal is counted.
    bool may_execute(const AccessUser& user, const lysc_node* rpc);

    // Whether the user may be told of an event, given by the notification's schema node. A refusal is counted.
    bool may_receive(const AccessUser& user, const lysc_node* notification);

    // What the user may read of a tree of configuration or state, which is used up. See readable_tree.h.
    [[nodiscard]] TreePtr readable(const AccessUser& user, TreePtr tree) const;

    // Throws RpcError "access-denied", and counts it, unless the user may do all that the changes do. Its path is that
    // of the first node that stands against it, as far as the user may read it. See write_check.h.
    void check_writes(const AccessUser& user, const ChangeSet& changes);

    [[nodiscard]] const AccessCounters& counters() const { return counters_; }

    // The counters as state data, /nacm with three leaves. Throws std::runtime_error when the schema has no
    // ietf-netconf-acm.
    [[nodiscard]] TreePtr state(const YangSchema& schema) const;

private:
    AccessRules rules_;
    AccessCounters counters_;
};

} // namespace qnips
