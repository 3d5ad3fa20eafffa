// The server's side of the callbacks of one pass: calls them one by one and serves what they ask for. Reads through the
// module need one as well, without callbacks.
//
// The contract's services have no argument that says whom they serve, so one session at a time is the current one, from
// its construction to its destruction. A module relies on being called by one thread, one callback after another.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <libxml/tree.h>

#include "platform/command_platform.h"
#include "server/callback_record.h"
#include "server/change_set.h"
#include "server/module_loader.h"
#include "server/pending_script.h"
#include "transapi/command_platform.h"

// What an error slot points to: the first error that was raised through it.
struct nc_err {
    qnips::ReportedError error;
};

namespace qnips
{

class CallbackSession
{
public:
    // Throws std::logic_error when another session is current. Without `names_quiet` the records of callbacks that had
    // nothing to send have no path.
    explicit CallbackSession(CommandPlatform& platform, bool names_quiet = true);
    ~CallbackSession();
    CallbackSession(const CallbackSession&) = delete;
    CallbackSession& operator=(const CallbackSession&) = delete;

    // Calls one row for one change. `node` is the changed node in the document of the phase.
    CallbackRecord call(const Row& row, const Change& change, Phase phase, xmlNode* node);

    // The services, each for the callback that is running.
    static CallbackSession* current();
    void cache(CommandLine line);
    int commit(unsigned operation, nc_err** slot);
    int query(const msg_dp_zell_head_t& header, const void* extra, msg_to_dp_t*& reply, nc_err** slot);
    int fail(nc_err** slot, NC_ERR code, std::string message);
    [[nodiscard]] unsigned ancestor_op(int level) const;
    [[nodiscard]] unsigned child_op(int level, std::string_view name) const;

private:
    void report(nc_err** slot, ReportedError error);

    CommandPlatform& platform_;
    bool names_quiet_;
    PendingScript script_;

    // Of the callback that is running.
    const Change* change_ = nullptr;
    Phase phase_ = Phase::removal;
    xmlNode* node_ = nullptr;
    CallbackRecord record_;
    nc_err first_error_;
};

} // namespace qnips
