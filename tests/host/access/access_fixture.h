// What the tests of access control share: schema, rules in short writing, configurations as lines of text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "access/access_control.h"
#include "server/config_tree.h"
#include "server/edit_config.h"
#include "server/rpc_error.h"
#include "server/yang_schema.h"

namespace qnips::test
{

using Lines = std::vector<std::string>;

// The modules access-test, access-more, ietf-netconf-acm, ietf-netconf-monitoring and nc-notifications; made once for
// all tests of a program.
const YangSchema& access_schema();

// The rules in the content of a <nacm>, in which the prefixes at, am, nc and n (ietf-netconf-acm) can be used in paths.
AccessRules rules_of(std::string_view nacm_content);

// A rule: "<path>/at:device</path>" or another rule-type, or "" for none; "" for all operations.
std::string rule(std::string_view target, std::string_view operations, std::string_view action);
// Rules for the group "staff", in which the user ann is, and nobody else.
std::string staff_rules(std::string_view rules);
AccessRules staff_only(std::string_view rules);

AccessUser user(std::string_view name);

// A configuration (with state) from the roots of access-test, the prefix am bound.
TreePtr tree_of(std::string_view roots);

// The leaves, and the containers and entries that have none below them, in the order of the tree: "/at:device/name=x".
Lines lines_of(const lyd_node* first);
// The same of what somebody can read, without "/at:" in front.
Lines read_lines(const AccessRules& rules, std::string_view who, std::string_view roots);

// What check_writes says of an edit of a configuration, both as roots of access-test: "" if it is permitted, else
// "tag path: message".
std::string write_result(const AccessRules& rules, std::string_view who, std::string_view before,
                         std::string_view edit);

// The schema node of an rpc or a notification, "access-test:restart".
const lysc_node* top_node(std::string_view name);

} // namespace qnips::test
