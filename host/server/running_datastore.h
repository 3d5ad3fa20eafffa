// The running datastore (RFC 8342, 5.1.3): the configuration, the device that has it and the store that keeps it.
//
// An edit is one transaction: applied in place, validated, announced to the store, sent to the device by the module's
// callbacks, made durable. When any of that fails the device is brought back and the configuration is what it was.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/command_platform.h"
#include "server/callback_pass.h"
#include "server/config_tree.h"
#include "server/device_restore.h"
#include "server/edit_config.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"
#include "server/node_table.h"
#include "server/rpc_error.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips
{

// Who changes the configuration, by which request ("edit-config", "commit", "rollback 7"), and under whose eyes.
struct Author {
    std::string user;
    std::string origin;
    EditWatch watch{};
};

// Where the time of an edit goes. Parsing its text comes before, and is not in it.
struct EditTimes {
    std::chrono::nanoseconds apply{};     // to the configuration, in place
    std::chrono::nanoseconds validate{};  // what it can have made invalid
    std::chrono::nanoseconds describe{};  // what it changes, as text for the store
    std::chrono::nanoseconds callbacks{}; // with what the platform takes for their lines
    std::chrono::nanoseconds store{};     // both phases
};

// What has become of an edit whose callbacks were called.
struct EditOutcome {
    enum class Effect {
        none,   // device and datastore are as before
        whole,  // both have all of it
        part,   // both have a part of it
        unknown // the datastore is as before, the device is not, or cannot be asked
    };

    Effect effect = Effect::none;
    std::vector<RpcError> errors; // why it is not whole; empty when it is
    PassResult pass;              // what was called for the edit
    Restoration rollback;         // and to take it back
    std::int64_t commit = 0;      // its number in the history; 0 when it has none, because nothing has happened
    EditTimes times;
};

// What was found and done when a device was started.
struct StartOutcome {
    std::optional<Intent> interrupted; // an edit that the process did not live to finish
    bool interrupted_stands = false;   // the device had all of it, so it is part of running now
    std::size_t restored = 0;          // callbacks that gave the configuration to a device without one
    std::vector<RpcError> errors;      // why the device does not have running, as far as it was tried
    std::vector<Difference> drift;     // what the device has otherwise now
};

class RunningDatastore
{
public:
    using Progress = std::function<void(std::size_t done, std::size_t all)>;

    // Reads running from the store; the device is not asked. Everything has to outlive the datastore. Throws
    // std::runtime_error for a store whose content does not fit the schema.
    RunningDatastore(const YangSchema& schema, const NodeTable& table, CommandPlatform& device, CommitStore& store);

    [[nodiscard]] const ConfigTree& configuration() const { return running_; }

    // Brings datastore and device together: ends an edit that a crash has interrupted, gives the configuration to a
    // device that has none, and compares. A device that has another one is left alone. Throws RpcError when the device
    // cannot be read.
    StartOutcome start(const Progress& progress = {});

    // An <edit-config> of running (RFC 6241, 7.2), with its error-option. A part that is not valid by itself is not
    // kept: then the edit is taken back as with rollback-on-error. Throws RpcError for an edit that is refused before
    // the device was asked, and when the store cannot take it; nothing has changed then. Any other exception leaves
    // open how far the edit came, as a crash does; the next edit, or the next start, ends it first.
    EditOutcome edit(const EditRequest& request, const Author& author);

    // Makes `goal` the configuration, by the smallest edit, wholly or not at all. Throws like edit.
    EditOutcome replace(const ConfigTree& goal, const Author& author);

    // Running as it was after an earlier commit. Throws std::out_of_range for one that the store does not have.
    [[nodiscard]] ConfigTree at(std::int64_t commit) const;

    // In what device and datastore differ. Throws RpcError when the device cannot be read.
    [[nodiscard]] std::vector<Difference> drift();
    // The device's configuration, completed with what it does not tell. Throws like drift.
    [[nodiscard]] ConfigTree device_configuration();

    // Ends a drift: the device gets what the datastore has.
    Restoration repair_device(const Author& author, const Progress& progress = {});
    // The datastore gets what the device has. The number of the commit, 0 if there was no drift. Throws RpcError for a
    // device with a configuration that is not valid.
    std::int64_t repair_datastore(const Author& author);

    // Whether outcomes have a record of every callback, or only of those that had something to send or to tell.
    void trace_all(bool all) { traces_all_ = all; }

    // Records that the history keeps at least. Older ones go from time to time.
    void keep_commits(std::size_t number) { kept_ = number; }

private:
    std::int64_t prepare(const Author& author, const std::string& edit);
    void forget();
    void finish(std::int64_t id, CommitOutcome outcome, const std::string& edit, const std::string& lines,
                const std::string& message);
    void carry_out(AppliedEdit& edit, ErrorOption option, const Author& author, EditOutcome& outcome);
    void send(AppliedEdit& edit, ErrorOption option, const EditWatch& watch, std::int64_t id, const std::string& text,
              EditOutcome& outcome);
    bool stands(AppliedEdit& edit, std::int64_t id, const std::string& text, EditOutcome& outcome);
    void settle(AppliedEdit& edit, ErrorOption option, std::int64_t id, const std::string& text, EditOutcome& outcome);
    bool keep_part(const ConfigTree& attempted, const std::vector<std::string>& refused, const TouchedNodes& touched,
                   std::int64_t id, EditOutcome& outcome);
    void take_back(const ConfigTree& attempted, const TouchedNodes& touched, std::int64_t id, EditOutcome& outcome);
    [[nodiscard]] ConfigTree running_after(const std::string& edit) const;
    [[nodiscard]] TouchedNodes touched_by(const std::string& edit);
    void end_interrupted();
    void end_interrupted(StartOutcome& outcome);
    void restore_all(StartOutcome& outcome, const Progress& progress);
    void go_on_restoring(StartOutcome& outcome);
    void forget_restoration();
    void tidy_store();
    [[nodiscard]] ConfigTree rebuilt(const CommitStore::Reconstruction& parts) const;

    const YangSchema& schema_;
    const NodeTable& table_;
    ValidationRules rules_;
    CommandPlatform& device_;
    CommitStore& store_;
    ConfigTree running_;
    std::optional<std::int64_t> unfinished_; // the intent that is open in the store
    std::size_t finished_ = 0;               // records since the last snapshot
    bool interrupted_;                       // there is one of an earlier process, and nobody knows what became of it
    std::size_t kept_ = 1000;
    bool traces_all_ = false;
};

} // namespace qnips
