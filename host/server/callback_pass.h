// One pass of callbacks: everything that an edit makes the module do, in order, on a command platform.
//
// A dry run and a real edit are this same pass with another platform behind it, so their lines cannot differ.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/callback_record.h"
#include "server/change_set.h"
#include "server/node_table.h"
#include "server/rpc_error.h"

namespace qnips
{

struct PassOptions {
    // Go on after a callback that fails, but for what lies below its node: that cannot succeed without it.
    bool goes_on = false;
    // Keep a record of every callback, also of those that had nothing to send: most of them, in a large edit.
    bool traces_all = true;
    // A stored configuration comes back to a device that has none: callbacks see ADD|CFGR.
    bool restores = false;
    // Data paths (see data_path) of list entries and presence containers that callbacks see go and come again with all
    // below them, if the edit changes anything in them.
    std::vector<std::string> replaced{};
    // Asked before each callback: whether the pass ends there.
    std::function<bool()> aborts{};
    // Called after each callback with how many are done and how many there are.
    std::function<void(std::size_t, std::size_t)> progress{};
};

struct PassResult {
    std::vector<CallbackRecord> trace{};     // one record a callback, in the order of the calls (see traces_all)
    std::vector<std::string> removed_vsys{}; // virtual systems that the platform was told to be gone
    std::size_t callbacks = 0;               // that were called
    std::size_t covered = 0;                 // of those, the ones that an ancestor's removal covers
    bool completed = false;                  // every callback was called and has succeeded
    bool aborted = false;                    // somebody wanted the pass to end before its last callback
    std::vector<const Change*> failed{};     // what the callbacks that failed were called for, while the changes live
    std::optional<RpcError> vsys_error{};    // why the platform was not told of one that has gone

    // Whether the device may have changed: it has taken lines, or nobody knows whether it has.
    [[nodiscard]] bool reached_device() const;
    // One error for each callback that has failed, the one about a virtual system, and one of a pass that was aborted.
    [[nodiscard]] std::vector<RpcError> errors() const;
};

// What was sent before a callback fails stays sent.
PassResult run_callbacks(ChangeSet& changes, const NodeTable& table, CommandPlatform& platform,
                         const PassOptions& options = {});

// The schema path of the entries that stand for the platform's virtual systems.
inline constexpr std::string_view vsys_path = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys";

// The error that a client gets for a callback that has failed.
RpcError callback_error(const CallbackRecord& failed);

} // namespace qnips
