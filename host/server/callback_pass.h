// One pass of callbacks: everything that an edit makes the module do, in order, on a command platform.
//
// A dry run and a real edit are this same pass with another platform behind it, so their lines cannot differ.
#pragma once

#include <string>
#include <vector>

#include "server/callback_record.h"
#include "server/change_set.h"
#include "server/node_table.h"

namespace qnips
{

struct PassResult {
    std::vector<CallbackRecord> trace;     // one record a callback, in the order of the calls
    std::vector<std::string> removed_vsys; // virtual systems that the platform was told to be gone
    bool completed = false;                // false: the last callback of the trace has failed and ended the pass
};

// Stops at the first callback that fails; what was sent before it stays sent.
PassResult run_callbacks(ChangeSet& changes, const NodeTable& table, CommandPlatform& platform);

} // namespace qnips
