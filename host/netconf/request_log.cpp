#include "netconf/request_log.h"

#include <string>
#include <string_view>
#include <vector>

#include <libyang/libyang.h>

#include "server/callback_record.h"
#include "server/datastores.h"
#include "server/edit_request.h"
#include "server/operation_names.h"
#include "server/running_datastore.h"

namespace qnips
{

namespace
{

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

LogFields fields_of(const Requester& requester)
{
    LogFields fields = {{"session", requester.session}, {"user", requester.user.name}};
    if (!requester.source.empty())
        fields.emplace_back("source", requester.source);
    return fields;
}

void add(LogFields& fields, const LogFields& more)
{
    fields.insert(fields.end(), more.begin(), more.end());
}

// The datastore that a parameter names, "config" for one in the request; "" when it names none.
std::string datastore_in(const lyd_node* rpc, std::string_view parameter)
{
    const lyd_node* place = find_child(rpc, parameter);
    const lyd_node* store = place != nullptr ? lyd_child(place) : nullptr;
    return store != nullptr ? node_name(store) : "";
}

void add_datastores(LogFields& fields, const lyd_node* rpc)
{
    const std::string target = datastore_in(rpc, "target");
    const std::string source = datastore_in(rpc, "source");
    if (!target.empty())
        fields.emplace_back("datastore", target);
    if (!source.empty())
        fields.emplace_back(target.empty() ? "datastore" : "from", source);
}

std::string_view effect_word(EditOutcome::Effect effect)
{
    switch (effect) {
    case EditOutcome::Effect::none:
        return "none";
    case EditOutcome::Effect::whole:
        return "whole";
    case EditOutcome::Effect::part:
        return "part";
    case EditOutcome::Effect::unknown:
        break;
    }
    return "unknown";
}

std::string_view kind_word(ConfirmedCommitEvent::Kind kind)
{
    using Kind = ConfirmedCommitEvent::Kind;
    switch (kind) {
    case Kind::started:
        return "started";
    case Kind::extended:
        return "extended";
    case Kind::confirmed:
        return "confirmed";
    case Kind::cancelled:
        return "cancelled";
    case Kind::timed_out:
        break;
    }
    return "timed-out";
}

std::size_t lines_in(const CallbackRecord& record)
{
    std::size_t count = 0;
    for (const CommittedScript& script : record.scripts)
        count += script.lines.size();
    return count;
}

void log_callback(ServerLog& log, const CallbackRecord& record, std::int64_t transaction, std::string_view pass)
{
    log.write(LogLevel::trace, "callback",
              {{"transaction", transaction},
               {"pass", pass},
               {"path", record.path.str()},
               {"op", operation_names(record.op)},
               {"callback", record.callback.str()},
               {"priority", record.priority},
               {"result", record.result},
               {"lines", lines_in(record)},
               {"duration_ms", milliseconds(record.duration)}});
    for (const CommittedScript& script : record.scripts)
        for (const CommandLine& line : script.lines)
            log.write(LogLevel::trace, "line",
                      {{"transaction", transaction}, {"place", place_of(line)}, {"command", line.text}});
}

} // namespace

void log_request(ServerLog& log, const Requester& requester, const lyd_node* rpc, const Reply& reply,
                 std::chrono::nanoseconds duration)
{
    const bool is_read = reply.errors.empty() && reply.data.has_value();
    const bool has_failed = !reply.errors.empty() && reply.errors.front().severity == ReplyError::Severity::error;
    const LogLevel level = is_read ? LogLevel::debug : has_failed ? LogLevel::warning : LogLevel::info;
    if (!log.keeps(level))
        return;
    LogFields fields = fields_of(requester);
    if (rpc != nullptr) {
        fields.emplace_back("operation", node_name(rpc));
        add_datastores(fields, rpc);
    }
    if (reply.transaction != 0)
        fields.emplace_back("transaction", reply.transaction);
    fields.emplace_back("outcome", reply.errors.empty() ? "ok" : has_failed ? "error" : "warning");
    if (!reply.errors.empty()) {
        const RpcError& error = reply.errors.front().error;
        add(fields,
            {{"errors", reply.errors.size()}, {"tag", error.tag()}, {"path", error.path()}, {"message", error.what()}});
    }
    fields.emplace_back("duration_ms", milliseconds(duration));
    log.write(level, "request", fields);
}

void log_transaction(ServerLog& log, const Requester& requester, const EditOutcome& outcome)
{
    if (!log.keeps(LogLevel::debug) || outcome.pass.callbacks == 0)
        return;
    for (const CallbackRecord& record : outcome.pass.trace)
        log_callback(log, record, outcome.commit, "edit");
    for (const PassResult& pass : outcome.rollback.passes)
        for (const CallbackRecord& record : pass.trace)
            log_callback(log, record, outcome.commit, "rollback");
    LogFields fields = fields_of(requester);
    add(fields, {{"transaction", outcome.commit},
                 {"effect", effect_word(outcome.effect)},
                 {"callbacks", outcome.pass.callbacks},
                 {"apply_ms", milliseconds(outcome.times.apply)},
                 {"validate_ms", milliseconds(outcome.times.validate)},
                 {"describe_ms", milliseconds(outcome.times.describe)},
                 {"callbacks_ms", milliseconds(outcome.times.callbacks)},
                 {"store_ms", milliseconds(outcome.times.store)}});
    log.write(LogLevel::debug, "transaction", fields);
}

void log_confirmed_commit(ServerLog& log, const ConfirmedCommitEvent& event)
{
    LogFields fields;
    if (event.session)
        fields.emplace_back("session", *event.session);
    add(fields, {{"user", event.user}, {"kind", kind_word(event.kind)}});
    if (event.timeout.count() != 0)
        fields.emplace_back("timeout_s", static_cast<std::int64_t>(event.timeout.count()));
    fields.emplace_back("outcome", event.errors.empty() ? "ok" : "error");
    if (!event.errors.empty())
        add(fields, {{"path", event.errors.front().path()}, {"message", event.errors.front().what()}});
    log.write(event.errors.empty() ? LogLevel::info : LogLevel::error, "confirmed-commit", fields);
}

} // namespace qnips
