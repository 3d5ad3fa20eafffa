// What an edit has changed, as the text of an edit that changes the same: what history shows, and what a stored
// configuration is brought forward with.
#pragma once

#include <string>

#include "server/change_set.h"

namespace qnips
{

// A <config> as an <edit-config> carries it (RFC 6241, 7.2), default operation merge. Applied to the configuration as
// it was before the edit it leads to the one after it. Costs as much as the edit has changed. Empty for no change.
std::string edit_text(const ChangeSet& changes);

} // namespace qnips
