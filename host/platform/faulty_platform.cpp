#include "platform/faulty_platform.h"

#include <thread>
#include <utility>

#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

PlatformError unreachable()
{
    return {NC_ERR_OP_FAILED, "the command platform cannot be reached", std::nullopt};
}

} // namespace

void FaultyPlatform::set(Fault fault)
{
    fault_ = std::move(fault);
    happened_ = false;
    messages_ = scripts_ = lines_ = questions_ = 0;
}

bool FaultyPlatform::happens(Fault::Kind kind, std::size_t count)
{
    const bool now = fault_ && fault_->kind == kind && fault_->number == count;
    happened_ = happened_ || now;
    return now;
}

// Every message comes through here, so that this is also where a slow channel is waited for.
bool FaultyPlatform::channel_is_lost()
{
    if (fault_ && fault_->kind == Fault::Kind::slow) {
        happened_ = true;
        std::this_thread::sleep_for(fault_->delay);
    }
    ++messages_;
    return happens(Fault::Kind::channel_lost, messages_) ||
           (fault_ && fault_->kind == Fault::Kind::channel_lost && happened_);
}

std::optional<PlatformError> FaultyPlatform::refused_line(std::span<const CommandLine> script)
{
    for (const CommandLine& line : script) {
        if (happens(Fault::Kind::line_refused, ++lines_))
            return PlatformError{NC_ERR_COMMAND_EXECUTE, "the device has failed", line};
    }
    return std::nullopt;
}

std::optional<PlatformError> FaultyPlatform::execute(std::span<const CommandLine> script, int operation)
{
    if (channel_is_lost())
        return unreachable();
    if (std::optional<PlatformError> error = refused_line(script))
        return error;
    ++scripts_;
    if (happens(Fault::Kind::script_refused, scripts_))
        return PlatformError{NC_ERR_COMMAND_EXECUTE, "the device has failed", std::nullopt};
    std::optional<PlatformError> result = device_.execute(script, operation);
    if (happens(Fault::Kind::no_answer, scripts_))
        return PlatformError{NC_ERR_OP_FAILED, "the command platform does not answer", std::nullopt};
    return result;
}

std::optional<PlatformError> FaultyPlatform::remove_vsys(std::string_view name)
{
    return channel_is_lost() ? unreachable() : device_.remove_vsys(name);
}

std::optional<PlatformAnswer> FaultyPlatform::false_answer()
{
    if (channel_is_lost())
        return PlatformAnswer::failure(unreachable());
    if (happens(Fault::Kind::wrong_answer, ++questions_))
        return PlatformAnswer::of(fault_->answer);
    return std::nullopt;
}

PlatformAnswer FaultyPlatform::configuration()
{
    const std::optional<PlatformAnswer> answer = false_answer();
    return answer ? *answer : device_.configuration();
}

PlatformAnswer FaultyPlatform::state()
{
    const std::optional<PlatformAnswer> answer = false_answer();
    return answer ? *answer : device_.state();
}

PlatformAnswer FaultyPlatform::first_signature_set(std::string_view vsys, std::string_view profile)
{
    const std::optional<PlatformAnswer> answer = false_answer();
    return answer ? *answer : device_.first_signature_set(vsys, profile);
}

} // namespace qnips
