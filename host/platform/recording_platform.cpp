// See recording_platform.h.
#include "platform/recording_platform.h"

#include <utility>

namespace qnips
{

void RecordingPlatform::fail_script(std::size_t number, PlatformError error)
{
    failure_ = Failure{.number = number, .error = std::move(error)};
}

std::vector<CommandLine> RecordingPlatform::accepted_lines() const
{
    std::vector<CommandLine> lines;
    for (const Script& script : scripts_) {
        if (script.accepted)
            lines.insert(lines.end(), script.lines.begin(), script.lines.end());
    }
    return lines;
}

std::optional<PlatformError> RecordingPlatform::execute(std::span<const CommandLine> script, int operation)
{
    const bool refused = failure_ && failure_->number == scripts_.size() + 1;
    scripts_.push_back({.lines = {script.begin(), script.end()}, .operation = operation, .accepted = !refused});
    if (refused)
        return failure_->error;
    for (const CommandLine& line : script)
        signature_sets_.execute(line); // a line that a device would refuse is remembered like any other
    return std::nullopt;
}

std::optional<PlatformError> RecordingPlatform::remove_vsys(std::string_view name)
{
    removed_vsys_.emplace_back(name);
    signature_sets_.remove_vsys(name);
    return std::nullopt;
}

PlatformAnswer RecordingPlatform::configuration()
{
    return PlatformAnswer::none();
}

PlatformAnswer RecordingPlatform::state()
{
    return PlatformAnswer::none();
}

PlatformAnswer RecordingPlatform::first_signature_set(std::string_view vsys, std::string_view profile)
{
    const std::vector<std::string>& sets = signature_sets_.sets(std::string(vsys), std::string(profile));
    return sets.empty() ? PlatformAnswer::none() : PlatformAnswer::of(sets.front());
}

} // namespace qnips
