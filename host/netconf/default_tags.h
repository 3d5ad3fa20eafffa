// The attribute that marks default values (RFC 6243). libyang knows it in the namespace of its YANG module, which is
// not the attribute's own (RFC 6243, 6), so it is translated in requests and in replies.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <libxml/tree.h>

namespace qnips
{

inline constexpr std::string_view default_tag_namespace = "urn:ietf:params:xml:ns:netconf:default:1.0";

// Whether a value of the attribute says that a node is at its default; nullopt for a text that is no boolean.
std::optional<bool> default_tag_value(std::string_view text);

// A message with the attribute as libyang reads it. All values have to be booleans. Throws RpcError for what is no XML.
std::string with_library_tags(std::string_view message);

// Gives the attribute of the nodes, as libyang has written it, its own namespace.
void correct_tags(xmlNode* first);

} // namespace qnips
