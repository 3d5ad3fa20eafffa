// The confirmed commit that is pending (RFC 6241, 8.4): who may confirm it, until when, and which configuration comes
// back if nobody does. Changes no datastore.
//
// Running has to come back after a crash as well. So the fallback is a document of the store before the commit changes
// anything, and until the commit is confirmed or taken back.
//
//   nothing   start: pending; take_over: expired
//   pending   start: pending, with another deadline; confirm, end: nothing; give_up: expired
//   expired   give_up: expired, with another deadline; end: nothing
//
// Expired means that it is to be taken back and the device has not let it yet: nobody can confirm it any more.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "server/config_tree.h"
#include "server/datastore_locks.h"
#include "server/stored_configuration.h"

namespace qnips
{

// The parameters of a <commit> (RFC 6241, 8.4.5.1).
struct CommitRequest {
    bool confirmed = false;
    std::chrono::seconds timeout{600};
    std::optional<std::string> persist{};    // from now on only who knows this token can go on with the commit
    std::optional<std::string> persist_id{}; // the token of the commit that this one goes on with
};

class ConfirmedCommit
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    ConfirmedCommit(const YangSchema& schema, CommitStore& store) : document_(schema, store, "confirmed-commit") {}

    [[nodiscard]] bool is_pending() const { return pending_.has_value(); }
    // Who issued it, or went on with it last; nobody when nothing is pending or it has expired.
    [[nodiscard]] std::optional<SessionId> session() const;
    [[nodiscard]] bool is_persistent() const { return pending_ && pending_->token; }
    // When it has to be taken back.
    [[nodiscard]] std::optional<TimePoint> deadline() const;
    // Who issued it, and what it leaves in place when it is taken back. Only while one is pending.
    [[nodiscard]] const std::string& user() const { return pending_->user; }
    [[nodiscard]] const ConfigTree& fallback() const { return pending_->fallback; }

    // Throws RpcError when the session may neither go on with what is pending nor cancel it: "invalid-value" for a
    // persist-id that is missing or another one, "in-use" for the commit of another session, or an expired one. Lets
    // every session pass when nothing is pending and it names no persist-id.
    void require_right(SessionId session, const std::optional<std::string>& persist_id) const;

    // Before the first confirmed commit changes `running`: makes it the fallback, durably. Nothing for a follow-up.
    // Throws RpcError.
    void keep_fallback(const ConfigTree& running);
    // The commit that it was kept for has failed. Nothing for a follow-up.
    void drop_unused_fallback();

    // The commit is carried out: it is pending, until `now` and the timeout. A follow-up keeps the first one's
    // fallback, and its token unless it has one of its own. True for a follow-up.
    bool start(SessionId session, const std::string& user, const CommitRequest& request, TimePoint now);

    // It stays. Throws RpcError when the store does not take that: it is then still pending.
    void confirm();
    // It has been taken back. The store is asked again later when it cannot forget the fallback now.
    void end();
    // It could not be taken back, and is to be tried again at `retry`.
    void give_up(TimePoint retry);

    // What another process has left pending is pending here, expired. False when there is nothing. Throws RpcError.
    bool take_over(const std::string& user, TimePoint now);

    // Removes a document that ought to be gone. To be called before running changes: after a crash that document would
    // take back what came since.
    void tidy();

private:
    struct Pending {
        std::optional<SessionId> session{}; // nobody: expired
        std::string user{};
        std::optional<std::string> token{};
        TimePoint deadline{};
        ConfigTree fallback{};
    };

    StoredConfiguration document_;
    bool document_is_stale_ = false;
    ConfigTree next_fallback_;
    std::optional<Pending> pending_;
};

} // namespace qnips
