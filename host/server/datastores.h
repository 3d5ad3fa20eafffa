// The datastores of a NETCONF server with all sessions on them (RFC 6241, 7.2 to 7.6, 8.3, 8.4, 8.6, 8.7): running,
// candidate and startup, their locks, commit and confirmed commit. It knows nothing of messages or of users' rights.
//
// What an edit costs is what it changes, in running and in the candidate; but for the first edit of a candidate, which
// copies running. Commit, copy, validate, and everything of startup cost as the configuration.
//
// Where RFC 6241 names no error-tag:
//   a lock that is not granted for another reason than a lock (changes in the candidate, a confirmed commit): "in-use",
//     because "lock-denied" tells a holder, and there is none
//   unlock without the lock, cancel-commit of nothing: "operation-failed"
//   a commit or cancel-commit on the confirmed commit of another session: "in-use"
//   deleting running or the candidate: "operation-not-supported"
//
// Edits, copies and commits take a check, which sees what would change in the target before it does: for a commit that
// is the difference of candidate and running. Startup takes running without it (RFC 8341, 3.2.4).
//
// All functions throw RpcError for what is refused; nothing has changed then. One thread.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "server/candidate_datastore.h"
#include "server/config_tree.h"
#include "server/confirmed_commit.h"
#include "server/datastore_locks.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"
#include "server/rpc_error.h"
#include "server/running_datastore.h"
#include "server/stored_configuration.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips
{

// What has become of a confirmed commit, as a notification tells it (RFC 6470, netconf-confirmed-commit).
struct ConfirmedCommitEvent {
    enum class Kind {
        started,
        extended,
        confirmed,
        cancelled, // by cancel-commit, by the end of its session or of the server
        timed_out
    };

    Kind kind = Kind::started;
    std::optional<SessionId> session; // whose request it was; none when there was no request
    std::string user;
    std::chrono::seconds timeout{0}; // of started and extended
    std::vector<RpcError> errors;    // why it could not be taken back, which is tried again; empty when it was
};

class Datastores
{
public:
    using Clock = std::chrono::steady_clock;
    // The time, by which confirmed commits end.
    using Now = std::function<Clock::time_point()>;
    using Observer = std::function<void(const ConfirmedCommitEvent&)>;
    // A whole configuration: one of the datastores, or one that came with the request.
    using Source = std::variant<DatastoreName, ConfigTree>;

    // After a confirmed commit could not be taken back it is tried again at this interval.
    static constexpr std::chrono::seconds retry_interval{30};

    // Everything has to outlive the datastores.
    Datastores(const YangSchema& schema, RunningDatastore& running, CommitStore& store, Now now = Clock::now);
    Datastores(const Datastores&) = delete;
    Datastores& operator=(const Datastores&) = delete;
    ~Datastores() = default;

    // Is told after the fact; it must neither throw nor call the datastores.
    void observe(Observer observer) { observer_ = std::move(observer); }

    // What outcomes of edits of running tell of callbacks; see RunningDatastore.
    void trace_all(bool all) { running_.trace_all(all); }

    [[nodiscard]] const ConfigTree& running() const { return running_.configuration(); }
    [[nodiscard]] const ConfigTree& candidate() const { return candidate_.configuration(); }
    // Empty when there is none. Throws RpcError when the store does not tell it.
    [[nodiscard]] ConfigTree startup() const { return startup_.read().value_or(ConfigTree()); }
    [[nodiscard]] bool candidate_is_modified() const { return candidate_.is_modified(); }
    [[nodiscard]] std::optional<SessionId> lock_holder(DatastoreName name) const { return locks_.holder(name); }

    // An <edit-config> (7.2). Of the candidate and of startup it is carried out wholly or not at all, whatever its
    // error-option, and reaches no device. A candidate may become invalid by it, the others not.
    EditOutcome edit_config(SessionId session, const std::string& user, DatastoreName target,
                            const EditRequest& request, const EditWatch& watch = {});

    // A <copy-config> (7.3). "invalid-value" when source and target are the same.
    EditOutcome copy_config(SessionId session, const std::string& user, DatastoreName target, Source source,
                            const EditWatch& watch = {});

    // A <delete-config> (7.4). Only startup can be deleted; one that is not there is no error.
    EditOutcome delete_config(SessionId session, DatastoreName target);

    // A <lock> (7.5). "lock-denied" with the holder when it is locked, by the session itself as well; "in-use" for a
    // candidate with changes, and for running while a confirmed commit of another session is pending.
    void lock(SessionId session, DatastoreName name);
    // An <unlock> (7.6). Discards the candidate's changes (8.3.5.2).
    void unlock(SessionId session, DatastoreName name);

    // A <validate> (8.6). Throws the first violation, as validate_tree.
    void validate(const Source& source) const;

    // A <commit> (8.3.4.1, 8.4.5.1). With errors in the outcome running is what it was, the candidate keeps its
    // changes, and a confirmed commit that was pending still is. Only an effect of `whole` with an error says that the
    // changes stand, and that the store could not end the confirmed commit, which can be confirmed again. "in-use" when
    // another session has locked running or the candidate.
    EditOutcome commit(SessionId session, const std::string& user, const CommitRequest& request,
                       const EditWatch& watch = {});
    // A <cancel-commit> (8.4.4.1). With errors in the outcome the commit is pending as before.
    EditOutcome cancel_commit(SessionId session, const std::string& user, const std::optional<std::string>& persist_id);
    // A <discard-changes> (8.3.4.2).
    void discard_changes(SessionId session);

    // A session has ended, in whatever way: its confirmed commit is taken back unless it is persistent (8.4.1), its
    // locks are released, and with the candidate's lock go the candidate's changes. Throws nothing.
    void close_session(SessionId session);

    // To be called once after RunningDatastore::start: takes back the confirmed commit that was pending when the server
    // ended (8.4.1). nullopt when there was none. `user` is who the history names.
    std::optional<EditOutcome> recover(const std::string& user);

    // When tick has something to do; nullopt for never, as things stand.
    [[nodiscard]] std::optional<Clock::time_point> deadline() const { return pending_.deadline(); }
    // Takes back a confirmed commit whose time is over. Throws nothing.
    void tick();

private:
    // What makes a confirmed commit expire. It is remembered for the case that the device does not let it go at once.
    struct Expiry {
        ConfirmedCommitEvent::Kind kind = ConfirmedCommitEvent::Kind::timed_out;
        std::string origin; // for the history
    };

    void require_access(SessionId session, DatastoreName name);
    EditOutcome edit_startup(const EditRequest& request, const ChangeCheck& check);
    bool copy_to_startup(const Source& source, const ChangeCheck& check);
    void copy_to_candidate(Source source, const ChangeCheck& check);
    [[nodiscard]] ConfigTree tree_of(Source source) const;
    EditOutcome commit_candidate(const std::string& user, const EditWatch& watch);
    void confirm(SessionId session, const std::string& user, EditOutcome& outcome);
    EditOutcome take_back(ConfirmedCommitEvent event, const std::string& origin);
    EditOutcome take_back_expired();
    void announce(const ConfirmedCommitEvent& event) const;

    ValidationRules rules_;
    RunningDatastore& running_;
    CandidateDatastore candidate_;
    StoredConfiguration startup_;
    DatastoreLocks locks_;
    ConfirmedCommit pending_;
    Expiry expiry_;
    Now now_;
    Observer observer_;
};

} // namespace qnips
