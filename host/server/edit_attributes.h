// The attributes that elements of an edit may have: what is to be done with a node (RFC 6241, 7.2), and where an entry
// of a list that is ordered by the user is to stand (RFC 7950, 7.7.9 and 7.8.6).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qnips
{

struct AttributeFault {
    std::string_view tag; // "unknown-attribute" or "bad-attribute"
    std::string reason;
};

// What is wrong with an attribute of this name, namespace ("" for none) and value; nullopt when nothing is.
std::optional<AttributeFault> attribute_fault(std::string_view name, std::string_view space, std::string_view value);

// What is wrong with an attribute of this name at the <config> around an edit: that has none, and an operation there
// would mean nothing.
AttributeFault frame_attribute_fault(std::string_view name);

} // namespace qnips
