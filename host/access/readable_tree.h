// Reading under access control (RFC 8341, 3.2.4): what may not be read is left out without a word.
#pragma once

#include "access/user_rights.h"
#include "server/yang_schema.h"

namespace qnips
{

// The tree (null: nothing) without what may not be read, and without all below that, whatever rules say of it. An entry
// of which a key may not be read goes as a whole; a container without presence goes with its last content, since an
// empty one would tell that there is something. The nodes are those of the tree given, which therefore is a copy if it
// is needed any further. It costs as the tree.
//
// Filters are for the result: a filter over the whole tree would tell by what it selects what stands in hidden nodes.
TreePtr readable_part(UserRights& rights, TreePtr tree);

} // namespace qnips
