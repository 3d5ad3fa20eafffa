#include "server/datastores.h"

#include <cstdint>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "server/edit_config.h"
#include "server/touched_nodes.h"

namespace qnips
{

namespace
{

using Kind = ConfirmedCommitEvent::Kind;

EditOutcome stored(bool changed)
{
    EditOutcome outcome;
    outcome.effect = changed ? EditOutcome::Effect::whole : EditOutcome::Effect::none;
    return outcome;
}

void check_parameters(const CommitRequest& request)
{
    constexpr std::chrono::seconds longest{std::numeric_limits<std::uint32_t>::max()};
    if (request.timeout.count() < 1 || request.timeout > longest)
        throw RpcError("invalid-value", {}, fmt::format("confirm-timeout must be 1 to {} seconds", longest.count()));
    if (request.persist && !request.confirmed)
        throw RpcError("invalid-value", {}, "persist is for a confirmed commit only");
}

// Lets the check see what changes when one configuration takes the place of another.
void check_replacement(const ChangeCheck& check, const ConfigTree& present, const ConfigTree& goal)
{
    if (!check)
        return;
    ConfigTree copy = copy_of(present);
    const EditRequest request = replacement(goal);
    const AppliedEdit edit(copy, request);
    check(edit.changes());
}

// The fallback goes with the commit that it was kept for, unless that has become pending.
class FallbackGuard
{
public:
    explicit FallbackGuard(ConfirmedCommit& commit) : commit_(commit) {}
    FallbackGuard(const FallbackGuard&) = delete;
    FallbackGuard& operator=(const FallbackGuard&) = delete;
    ~FallbackGuard() { commit_.drop_unused_fallback(); }

private:
    ConfirmedCommit& commit_;
};

} // namespace

Datastores::Datastores(const YangSchema& schema, RunningDatastore& running, CommitStore& store, Now now)
    : rules_(schema), running_(running), candidate_(running.configuration(), rules_),
      startup_(schema, store, "startup"), pending_(schema, store), now_(std::move(now))
{
}

// Before a datastore changes.
void Datastores::require_access(SessionId session, DatastoreName name)
{
    locks_.require_access(session, name);
    pending_.tidy();
}

// ------------------------------------------------------------------------------------------- edit, copy, delete --

EditOutcome Datastores::edit_config(SessionId session, const std::string& user, DatastoreName target,
                                    const EditRequest& request, const EditWatch& watch)
{
    require_access(session, target);
    switch (target) {
    case DatastoreName::running:
        return running_.edit(request, {user, "edit-config", watch});
    case DatastoreName::candidate:
        return stored(candidate_.edit(request, watch.check));
    case DatastoreName::startup:
        break;
    }
    return edit_startup(request, watch.check);
}

EditOutcome Datastores::edit_startup(const EditRequest& request, const ChangeCheck& check)
{
    ConfigTree tree = startup();
    AppliedEdit edit(tree, request);
    if (check)
        check(edit.changes());
    validate_edit(rules_, edit.changes());
    if (edit.changes().empty() || request.test_option == TestOption::test_only)
        return stored(false);
    edit.commit();
    return stored(startup_.write(tree));
}

EditOutcome Datastores::copy_config(SessionId session, const std::string& user, DatastoreName target, Source source,
                                    const EditWatch& watch)
{
    const auto* name = std::get_if<DatastoreName>(&source);
    if (name != nullptr && *name == target)
        throw RpcError("invalid-value", {}, fmt::format("{} is both source and target", datastore_word(target)));
    require_access(session, target);
    switch (target) {
    case DatastoreName::running:
        return running_.replace(tree_of(std::move(source)), {user, "copy-config", watch});
    case DatastoreName::candidate:
        copy_to_candidate(std::move(source), watch.check);
        return stored(true);
    case DatastoreName::startup:
        break;
    }
    return stored(copy_to_startup(source, watch.check));
}

void Datastores::copy_to_candidate(Source source, const ChangeCheck& check)
{
    const auto* name = std::get_if<DatastoreName>(&source);
    if (name != nullptr && *name == DatastoreName::running) {
        check_replacement(check, candidate(), running());
        return candidate_.discard();
    }
    ConfigTree goal = tree_of(std::move(source));
    check_replacement(check, candidate(), goal);
    candidate_.replace(std::move(goal));
}

bool Datastores::copy_to_startup(const Source& source, const ChangeCheck& check)
{
    if (const auto* tree = std::get_if<ConfigTree>(&source)) {
        check_replacement(check, startup(), *tree);
        validate(source);
        return startup_.write(*tree);
    }
    if (std::get<DatastoreName>(source) == DatastoreName::candidate && candidate_.is_modified()) {
        check_replacement(check, startup(), candidate());
        validate(source);
    }
    return startup_.write(std::get<DatastoreName>(source) == DatastoreName::candidate ? candidate() : running());
}

ConfigTree Datastores::tree_of(Source source) const
{
    if (auto* tree = std::get_if<ConfigTree>(&source))
        return std::move(*tree);
    switch (std::get<DatastoreName>(source)) {
    case DatastoreName::running:
        return copy_of(running());
    case DatastoreName::candidate:
        return copy_of(candidate());
    case DatastoreName::startup:
        break;
    }
    return startup();
}

EditOutcome Datastores::delete_config(SessionId session, DatastoreName target)
{
    if (target != DatastoreName::startup)
        throw RpcError("operation-not-supported", {}, fmt::format("{} cannot be deleted", datastore_word(target)));
    require_access(session, target);
    return stored(startup_.remove());
}

// --------------------------------------------------------------------------------------------- locks, validate --

void Datastores::lock(SessionId session, DatastoreName name)
{
    locks_.require_free(name);
    if (name == DatastoreName::candidate && candidate_.is_modified())
        throw RpcError("in-use", {}, "the candidate has changes that are neither committed nor discarded");
    if (name == DatastoreName::running && pending_.is_pending() && pending_.session() != session)
        throw RpcError("in-use", {}, "a confirmed commit of another session is pending");
    locks_.acquire(session, name);
}

void Datastores::unlock(SessionId session, DatastoreName name)
{
    locks_.release(session, name);
    if (name == DatastoreName::candidate)
        candidate_.discard();
}

void Datastores::validate(const Source& source) const
{
    const YangSchema& schema = rules_.schema();
    if (const auto* tree = std::get_if<ConfigTree>(&source))
        return validate_tree(schema, *tree);
    switch (std::get<DatastoreName>(source)) {
    case DatastoreName::running:
        return validate_tree(schema, running());
    case DatastoreName::candidate:
        return validate_tree(schema, candidate());
    case DatastoreName::startup:
        return validate_tree(schema, startup());
    }
}

// ------------------------------------------------------------------------------------------------------ commit --

EditOutcome Datastores::commit(SessionId session, const std::string& user, const CommitRequest& request,
                               const EditWatch& watch)
{
    check_parameters(request);
    pending_.require_right(session, request.persist_id);
    require_access(session, DatastoreName::running);
    require_access(session, DatastoreName::candidate);

    if (!request.confirmed) {
        EditOutcome outcome = commit_candidate(user, watch);
        if (outcome.errors.empty() && pending_.is_pending())
            confirm(session, user, outcome);
        return outcome;
    }
    pending_.keep_fallback(running());
    const FallbackGuard guard(pending_);
    EditOutcome outcome = commit_candidate(user, watch);
    if (outcome.errors.empty()) {
        const bool follows = pending_.start(session, user, request, now_());
        announce({follows ? Kind::extended : Kind::started, session, user, request.timeout, {}});
    }
    return outcome;
}

EditOutcome Datastores::commit_candidate(const std::string& user, const EditWatch& watch)
{
    if (!candidate_.is_modified())
        return {};
    EditOutcome outcome = running_.replace(candidate(), {user, "commit", watch});
    if (outcome.errors.empty())
        candidate_.discard();
    return outcome;
}

void Datastores::confirm(SessionId session, const std::string& user, EditOutcome& outcome)
{
    try {
        pending_.confirm();
        announce({Kind::confirmed, session, user, {}, {}});
    } catch (const RpcError& error) {
        outcome.errors.emplace_back(error.tag(), error.path(),
                                    fmt::format("the confirmed commit is still pending: {}", error.what()));
    }
}

EditOutcome Datastores::cancel_commit(SessionId session, const std::string& user,
                                      const std::optional<std::string>& persist_id)
{
    pending_.require_right(session, persist_id);
    if (!pending_.is_pending())
        throw RpcError("operation-failed", {}, "no confirmed commit is pending");
    require_access(session, DatastoreName::running);
    return take_back({Kind::cancelled, session, user, {}, {}}, "cancel-commit");
}

void Datastores::discard_changes(SessionId session)
{
    require_access(session, DatastoreName::candidate);
    candidate_.discard();
}

// --------------------------------------------------------------------------------- the end of a confirmed commit --

EditOutcome Datastores::take_back(ConfirmedCommitEvent event, const std::string& origin)
{
    EditOutcome outcome;
    try {
        outcome = running_.replace(pending_.fallback(), {event.user, origin});
    } catch (const RpcError& error) {
        outcome.errors.push_back(error);
    } catch (const std::exception& error) { // no client asked for this, so nobody else would hear of it
        outcome.errors.emplace_back("operation-failed", "", error.what());
    }
    if (outcome.errors.empty())
        pending_.end();
    event.errors = outcome.errors;
    announce(event);
    return outcome;
}

// It cannot be confirmed any more, even while the device does not let it go.
EditOutcome Datastores::take_back_expired()
{
    pending_.give_up(now_() + retry_interval);
    return take_back({expiry_.kind, std::nullopt, pending_.user(), {}, {}}, expiry_.origin);
}

void Datastores::close_session(SessionId session)
{
    if (pending_.session() == session && !pending_.is_persistent()) {
        expiry_ = {Kind::cancelled, "end of session"};
        take_back_expired();
    }
    if (locks_.holds(session, DatastoreName::candidate))
        candidate_.discard();
    locks_.release_all(session);
}

std::optional<EditOutcome> Datastores::recover(const std::string& user)
{
    if (!pending_.take_over(user, now_()))
        return std::nullopt;
    expiry_ = {Kind::cancelled, "end of server"};
    return take_back_expired();
}

void Datastores::tick()
{
    pending_.tidy();
    if (!deadline() || *deadline() > now_())
        return;
    if (pending_.session())
        expiry_ = {Kind::timed_out, "confirm-timeout"};
    take_back_expired();
}

void Datastores::announce(const ConfirmedCommitEvent& event) const
{
    if (observer_)
        observer_(event);
}

} // namespace qnips
