#include "server/confirmed_commit.h"

#include <utility>

#include "server/rpc_error.h"
#include "server/touched_nodes.h"

namespace qnips
{

std::optional<SessionId> ConfirmedCommit::session() const
{
    return pending_ ? pending_->session : std::nullopt;
}

std::optional<ConfirmedCommit::TimePoint> ConfirmedCommit::deadline() const
{
    return pending_ ? std::optional(pending_->deadline) : std::nullopt;
}

void ConfirmedCommit::require_right(SessionId session, const std::optional<std::string>& persist_id) const
{
    if (pending_ && !pending_->session)
        throw RpcError("in-use", {}, "a confirmed commit that nobody has confirmed is being taken back");
    if (persist_id != (pending_ ? pending_->token : std::nullopt)) {
        const char* reason = "no persistent confirmed commit is pending";
        if (is_persistent())
            reason = persist_id ? "the pending confirmed commit has another persist-id"
                                : "the pending confirmed commit is persistent: its persist-id is needed";
        throw RpcError("invalid-value", {}, reason);
    }
    if (pending_ && !pending_->token && pending_->session != session)
        throw RpcError("in-use", {}, "a confirmed commit of another session is pending");
}

void ConfirmedCommit::keep_fallback(const ConfigTree& running)
{
    if (pending_)
        return;
    next_fallback_ = copy_of(running);
    document_.write(next_fallback_);
    document_is_stale_ = false;
}

void ConfirmedCommit::drop_unused_fallback()
{
    if (pending_)
        return;
    next_fallback_ = {};
    document_is_stale_ = true;
    tidy();
}

bool ConfirmedCommit::start(SessionId session, const std::string& user, const CommitRequest& request, TimePoint now)
{
    const bool follows = pending_.has_value();
    if (!follows)
        pending_ = Pending{.fallback = std::move(next_fallback_)};
    pending_->session = session;
    pending_->user = user;
    pending_->deadline = now + request.timeout;
    if (request.persist)
        pending_->token = request.persist;
    return follows;
}

void ConfirmedCommit::confirm()
{
    document_.remove();
    pending_.reset();
}

void ConfirmedCommit::end()
{
    pending_.reset();
    document_is_stale_ = true;
    tidy();
}

void ConfirmedCommit::give_up(TimePoint retry)
{
    pending_->session.reset();
    pending_->deadline = retry;
}

bool ConfirmedCommit::take_over(const std::string& user, TimePoint now)
{
    std::optional<ConfigTree> fallback = document_.read();
    if (!fallback)
        return false;
    pending_ = Pending{.user = user, .deadline = now, .fallback = std::move(*fallback)};
    return true;
}

void ConfirmedCommit::tidy()
{
    if (!document_is_stale_)
        return;
    try {
        document_.remove();
        document_is_stale_ = false;
    } catch (const RpcError&) {
        return; // tried again before the next change
    }
}

} // namespace qnips
