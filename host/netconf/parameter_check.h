// The parameters of an operation, by its schema.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <libxml/tree.h>

struct ly_ctx;
struct lysc_node;

namespace qnips
{

// Whether an operation that has one of two parameters can have the other one, too: they are different parameters and
// not in different cases of one choice (RFC 7950, 7.9).
bool can_stand_together(const lysc_node* one, const lysc_node* other);

// Why the schema does not take this element of a request with this text and its attributes; nullopt when it does. The
// element stands below an <rpc>, and so does the operation it belongs to; nothing is looked at but names and
// declarations above it.
std::optional<std::string> parameter_fault(const ly_ctx* context, const xmlNode* element, std::string_view text);

// The attributes of a <filter> (RFC 6241, 6.1 and 8.9.5).
struct FilterAttributes {
    std::optional<std::string> type;
    bool has_select = false;

    // Takes one in; false for an attribute that no filter has.
    bool read(std::string_view name, std::string_view space, std::string_view value);
};

} // namespace qnips
