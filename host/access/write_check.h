// Writing under access control (RFC 8341, 3.2.5 to 3.2.8, 3.4.5): each node that an edit, a copy or a commit changes
// has to be permitted, and no other. It costs as the edit.
//
//   ADD, REM    create, delete: each node of a subtree, keys included
//   MOD         update
//   SIBLING     update of the entry: another place among its like alters an entry that exists
//   CHAIN       nothing: an ancestor does not change
//
// Changes that only follow from others need no permission. These are containers without presence, which come and go
// with their content (RFC 7950, 7.5.1), and nodes of one case of a choice that give way to a node of another case: the
// new node alone would remove them.
#pragma once

#include <optional>
#include <string>

#include "access/user_rights.h"
#include "server/change_set.h"

namespace qnips
{

struct DeniedWrite {
    // The instance path of the node. Where it may not be read: of the nearest node above it that may, empty when there
    // is none, since an error must not tell what is there.
    std::string path;
    // What is denied. None where the node may not be read: create and update would tell whether it exists.
    std::optional<AccessOperation> operation;
};

// The first change, in the order of the set and parents before children, that is not permitted.
std::optional<DeniedWrite> first_denied_write(UserRights& rights, const ChangeSet& changes);

} // namespace qnips
