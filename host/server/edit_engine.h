// The edit engine: one edit of the running configuration, from its request to the lines that the module sends for it.
//
// apply the edit in place -> validate its closure -> plan the callbacks -> call them on a platform -> keep or take
// back.
#pragma once

#include "platform/command_platform.h"
#include "server/callback_pass.h"
#include "server/config_tree.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"
#include "server/node_table.h"
#include "server/rpc_error.h"
#include "server/yang_schema.h"

namespace qnips
{

// What becomes of an edit that the module and the platform have accepted.
enum class AfterEdit {
    keep,     // it is the running configuration from now on
    take_back // a dry run: the running configuration stays as it was; the platform must be one that only records
};

class EditEngine
{
public:
    // The schema and the table must outlive the engine. Throws std::runtime_error for a schema whose rules the
    // validation of an edit's closure cannot hold.
    EditEngine(const YangSchema& schema, const NodeTable& table, ConfigTree running = {});

    // Throws RpcError when the edit does not fit the configuration or the schema, or when a callback fails; the
    // configuration is then what it was before. What a platform was sent before the failure is not taken back.
    PassResult edit(const EditRequest& request, CommandPlatform& platform, AfterEdit after);

    [[nodiscard]] const ConfigTree& running() const { return running_; }

private:
    const NodeTable& table_;
    ValidationRules rules_;
    ConfigTree running_;
};

} // namespace qnips
