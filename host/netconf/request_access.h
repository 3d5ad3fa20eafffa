// What access control asks of requests (RFC 8341, 3.2): the rights of a user held against an operation, its source and
// what it changes.
#pragma once

#include "access/access_control.h"
#include "server/change_set.h"
#include "server/datastores.h"

namespace qnips
{

// Throws RpcError "access-denied" unless the user may carry out the operation whose node is `rpc`.
void require_execution(AccessControl& access, const AccessUser& user, const lyd_node* rpc);

// What an edit, a copy or a commit of the user is held against. Empty for one who may do everything. Both outlive it.
ChangeCheck check_of(AccessControl& access, const AccessUser& user);

// The source of a <copy-config>, less what the user may not read of it (3.2.4).
Datastores::Source readable_source(const AccessControl& access, const AccessUser& user, const Datastores& datastores,
                                   Datastores::Source source);

// A <validate>. What is wrong in a part that the user may not read is told without its place.
void validate_for(const AccessControl& access, const AccessUser& user, const Datastores& datastores,
                  const Datastores::Source& source);

// Throws RpcError "operation-not-supported" when the configuration of a request has a root /nacm: the access rules are
// those of a file that is the administrator's alone.
void refuse_access_rules(const lyd_node* first);

// The namespace of ietf-netconf-acm.
inline constexpr const char* access_namespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-acm";

} // namespace qnips
