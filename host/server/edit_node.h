// One node of an edit as the engine reads it: schema node, operation, place in a user-ordered list. What cannot be read
// like that is refused here, with the path of the node at fault (RFC 7950, 8.3.1).
#pragma once

#include <string>
#include <vector>

#include "server/rpc_error.h"

struct lyd_node;
struct lysc_node;

namespace qnips
{

// RFC 6241, 7.2: `none` only comes from the default operation.
enum class EditOperation { merge, replace, create, delete_existing, remove, none };

// RFC 7950, 7.7.9 and 7.8.6.
enum class InsertAt { unspecified, first, last, before, after };

// What is wrong with an edit, in the order of its nodes.
class EditErrors
{
public:
    // More than anybody reads are not kept.
    void add(const RpcError& error);
    // Throws the first, with the others, if there are any.
    void throw_all();

private:
    static constexpr std::size_t most = 100;

    std::vector<RpcError> errors_;
};

struct EditNode {
    const lyd_node* node = nullptr;
    const lysc_node* schema = nullptr; // never null, not even where the edit only names a leaf to be removed
    EditOperation operation = EditOperation::merge;
    InsertAt insert = InsertAt::unspecified;
    std::string anchor; // for before and after: the other entry's keys in predicates, or its value
};

// The children of `parent` in an edit, or its roots, without the keys, which belong to their entry. `inherited` is the
// operation of a node that states none. Checks each node, and what holds among them: every instance once (a root may
// come again, as an edit of its own), keys with the operation of their entry, and of a choice one case only (RFC
// 7950, 7.9). Throws RpcError. With a place for errors they are put there instead, and the nodes at fault left out.
std::vector<EditNode> read_edit_roots(const lyd_node* first, EditOperation inherited, EditErrors* errors = nullptr);
std::vector<EditNode> read_edit_children(const EditNode& parent, EditErrors* errors = nullptr);

// Throws the RpcError for an edit that has nodes of two cases of one choice; `node` is the one at fault.
[[noreturn]] void refuse_both_cases(const lyd_node* node, const lyd_node* other, const lysc_node* choice);

// The instance path of a node of an edit; unlike libyang's it also names nodes that do not fit the schema.
std::string edit_path(const lyd_node* node);

// The word of RFC 6241 for an operation.
const char* operation_word(EditOperation operation);

} // namespace qnips
