// Why a node of an edit that does not fit the schema is refused, and which attributes it must not have.
#pragma once

#include <string>
#include <string_view>

#include <libxml/tree.h>

struct ly_ctx;
struct lyd_node;
struct lysc_node;

namespace qnips
{

// The schema node that a node of an edit without a schema node of its own names, below `parent` (null: as a root); null
// if there is none.
const lysc_node* named_schema(const lyd_node* opaque, const lysc_node* parent);

// Throws the RpcError for such a node: its namespace, its name, a key or its value is at fault (RFC 7950, 8.3.1).
[[noreturn]] void refuse_misfit(const lyd_node* opaque, const lysc_node* parent);

// "of namespace "urn:..."", or that there is none.
std::string namespace_phrase(std::string_view space);

// Throws the RpcError for the first attribute below `frame` (the <config> of an edit, or a document that holds nothing
// but data) that no edit has, or whose value is no operation (RFC 6241, 7.2) or place (RFC 7950, 7.7.9). To be asked
// before libyang reads the text: it passes over attributes that it does not know, so that a delete that lacks its
// namespace would become a merge.
void refuse_wrong_attributes(const ly_ctx* context, const xmlNode* frame);

} // namespace qnips
