// What of a configuration no command line carries, and configurations without it.
//
// A device keeps what its lines say, and the lines do not say everything: a device cannot tell a default that was given
// from one that was not, nor does it learn what nature a signature has. So datastore and device are compared in a
// normal form without such nodes, and a read of the running configuration takes them from the datastore.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "server/config_tree.h"
#include "server/yang_schema.h"

namespace qnips
{

// Nodes that no line carries, as a user is told of them.
struct UnsentNode {
    std::string_view node;   // last steps of the schema path, as many as it takes to know the node; "*" for any leaf
    std::string_view when;   // in which case no line carries it; empty: in any
    std::string_view reason; // a sentence
};
std::span<const UnsentNode> unsent_nodes();

// Everything that lines carry, sorted: "path = value" for a leaf, the path alone for a list entry, and
// for a user-ordered list its keys in their order. Two configurations are the same to a device when their normal forms
// are.
std::vector<std::string> normal_form(const lyd_node* first);
std::vector<std::string> normal_form(const ConfigTree& tree);

// The configuration that a device has given as XML. Unlike YangSchema::parse_configuration it takes one that lacks what
// no line carries, even where the schema makes it mandatory. Null for an empty one. Throws RpcError "operation-failed"
// for a text that is no data of the module.
TreePtr parse_device_configuration(const YangSchema& schema, std::string_view xml);

// The device's configuration with what no line carries taken from the datastore. Equal to the datastore when the normal
// forms are the same, except for the order of entries where the order means nothing. What only the device has is kept,
// what only the datastore has and a line carries is left out; a signature that the datastore does not have counts as
// associated when it has associated rules.
ConfigTree complete(ConfigTree device, const ConfigTree& datastore);

} // namespace qnips
