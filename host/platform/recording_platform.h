// A command platform that accepts scripts and remembers them: what a dry run shows and what tests compare.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/command_platform.h"
#include "platform/signature_set_order.h"

namespace qnips
{

class RecordingPlatform final : public CommandPlatform
{
public:
    struct Script {
        std::vector<CommandLine> lines;
        int operation = 0; // API_CMD_OPERATION
        bool accepted = true;

        bool operator==(const Script&) const = default;
    };

    // Refuses the script number `number` with `error`. Scripts are counted from 1 since the platform was made, refused
    // ones included; only this one is refused. A second call replaces the first.
    void fail_script(std::size_t number, PlatformError error);

    // All scripts in the order in which they came, the refused one included.
    [[nodiscard]] const std::vector<Script>& scripts() const { return scripts_; }

    // The lines of the accepted scripts, in order.
    [[nodiscard]] std::vector<CommandLine> accepted_lines() const;

    [[nodiscard]] const std::vector<std::string>& removed_vsys() const { return removed_vsys_; }

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;

    // It keeps lines, not a device: these are answered with none.
    PlatformAnswer configuration() override;
    PlatformAnswer state() override;

    // Of the device it keeps the order of signature sets, which its answer comes from. What stands there before the
    // first script is told by append.
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;
    [[nodiscard]] SignatureSetOrder& signature_sets() { return signature_sets_; }

private:
    struct Failure {
        std::size_t number;
        PlatformError error;
    };

    std::vector<Script> scripts_;
    std::vector<std::string> removed_vsys_;
    std::optional<Failure> failure_;
    SignatureSetOrder signature_sets_;
};

} // namespace qnips
