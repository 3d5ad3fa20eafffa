#include "netconf/outcome_reply.h"

#include <algorithm>

#include "server/callback_record.h"

namespace qnips
{

namespace
{

std::optional<PlatformError> platform_error_of(const CallbackRecord& record)
{
    return record.platform_error ? std::optional(*record.platform_error) : std::nullopt;
}

std::optional<PlatformError> platform_error_of(const EditOutcome& outcome, const RpcError& error)
{
    const auto& trace = outcome.pass.trace;
    const auto record = std::find_if(trace.begin(), trace.end(), [&](const CallbackRecord& callback) {
        return callback.result != 0 && callback.platform_error && callback.path == error.path();
    });
    return record != trace.end() && record->platform_error != nullptr ? std::optional(*record->platform_error)
                                                                      : std::nullopt;
}

} // namespace

Reply reply_of(const EditOutcome& outcome)
{
    Reply reply;
    reply.transaction = outcome.commit;
    for (const RpcError& error : outcome.errors)
        reply.errors.push_back({error, ReplyError::Severity::error, platform_error_of(outcome, error)});
    if (!reply.errors.empty())
        return reply;
    for (const CallbackRecord& record : outcome.pass.trace) {
        if (!record.has_warning())
            continue;
        for (const ReportedError& error : record.errors)
            reply.errors.push_back(ReplyError{RpcError(error_tag(error.code), record.path, error.message),
                                              ReplyError::Severity::warning, platform_error_of(record)});
    }
    return reply;
}

} // namespace qnips
