// Brings a device to a configuration by an edit of its own: after an edit that failed, after a crash, and to repair a
// difference between datastore and device.
//
// What the device has is read from it, never inferred from what it was sent: after a lost answer nobody else knows. The
// edit that leads from there to the goal goes through the module like any other, with plain operations. Where the
// module refuses to take a leaf back alone, the nearest entry around it goes whole and comes back with its content; a
// leaf that goes by no means gets its default.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/command_platform.h"
#include "server/callback_pass.h"
#include "server/config_tree.h"
#include "server/node_table.h"
#include "server/rpc_error.h"
#include "server/touched_nodes.h"
#include "server/yang_schema.h"

namespace qnips
{

// One line that only one side has.
struct Difference {
    bool on_device = false; // else in the datastore
    std::string line;       // as in the normal form (see unsent_nodes.h)

    bool operator==(const Difference&) const = default;
};

// In what two configurations differ to a device.
std::vector<Difference> differences(const ConfigTree& datastore, const ConfigTree& device);

// What the device has. Throws RpcError "operation-failed" when it does not tell or tells no data of the module.
ConfigTree read_device(const YangSchema& schema, CommandPlatform& platform);

struct Restoration {
    std::vector<PassResult> passes;    // what was tried, in order
    std::optional<RpcError> fault;     // why it was given up; none when the device has the goal
    std::vector<Difference> remaining; // what the device does not have as the goal has it, as far as it tells

    [[nodiscard]] bool done() const { return !fault; }
};

struct RestoreGoal {
    const ConfigTree& goal;
    // What a failed edit was about to make of it: what no line carries is taken from there for entries that the goal
    // does not have. Null when there was no edit.
    const ConfigTree* attempted = nullptr;
    // Where the device may differ; null: anywhere.
    const TouchedNodes* touched = nullptr;
    std::function<void(std::size_t, std::size_t)> progress{};
};

Restoration restore_device(const YangSchema& schema, const NodeTable& table, CommandPlatform& platform,
                           const RestoreGoal& goal);

} // namespace qnips
