// Access control of a NETCONF server (RFC 8341): who may call an operation, read and write data, and receive a
// notification. It knows users, schema and data, and nothing of messages, sessions or transports.
//
// What the caller has to do (RFC 8341, 3.2):
//   every rpc: may_execute before anything else
//   get, get-config: readable on all of the data, and filters on what that leaves
//   edit-config, copy-config, commit: check_writes on what it changes in running, in the candidate or in startup,
//     before any of it takes effect; copy-config from running to startup needs no more than its execution
//   copy-config: a source counts with what is readable of it
//   validate: an error must not tell what is in a part that is not readable
//   discard-changes, delete-config, lock and the like: nothing more
//   a notification: may_receive for each subscriber
// Changes of the data that no client has asked for (a confirmed commit that expires, a start) are nobody's to permit.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

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

// Threads may share it. A question that is being answered is answered by the rules with which it began.
class AccessControl
{
public:
    // Without rules what RFC 8341 has as defaults holds: all may be read and called, nothing may be written.
    explicit AccessControl(AccessRules rules = {}) { use(std::move(rules)); }

    // From now on these rules hold. The counters go on. `configuration` is what they were read from, the root /nacm,
    // null when they come from nowhere; it needs its schema as long as the rules do.
    void use(AccessRules rules, TreePtr configuration = nullptr);

    // Whether nothing is forbidden to the user.
    [[nodiscard]] bool is_unlimited(const AccessUser& user) const;

    // Whether the user may call an rpc, given by its schema node. A refusal is counted.
    bool may_execute(const AccessUser& user, const lysc_node* rpc);

    // Whether the user may be told of an event, given by the notification's schema node. A refusal is counted.
    bool may_receive(const AccessUser& user, const lysc_node* notification);

    // What the user may read of a tree of configuration or state, which is used up. See readable_tree.h.
    [[nodiscard]] TreePtr readable(const AccessUser& user, TreePtr tree) const;

    // Throws RpcError "access-denied", and counts it, unless the user may do all that the changes do. Its path is that
    // of the first node that stands against it, as far as the user may read it. See write_check.h.
    void check_writes(const AccessUser& user, const ChangeSet& changes);

    [[nodiscard]] AccessCounters counters() const;

    // The configuration from which the rules were read, /nacm; null when there is none.
    [[nodiscard]] TreePtr configuration() const;
    // The same with the counters, three leaves of state. Throws std::runtime_error when the schema has no
    // ietf-netconf-acm.
    [[nodiscard]] TreePtr state(const YangSchema& schema) const;

private:
    struct Present {
        AccessRules rules;
        TreePtr configuration;
    };
    [[nodiscard]] std::shared_ptr<const Present> present() const;

    mutable std::mutex mutex_; // of what follows
    std::shared_ptr<const Present> present_;

    std::atomic<std::uint32_t> denied_operations_ = 0;
    std::atomic<std::uint32_t> denied_data_writes_ = 0;
    std::atomic<std::uint32_t> denied_notifications_ = 0;
};

} // namespace qnips
