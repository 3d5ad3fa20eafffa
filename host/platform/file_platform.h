// A command platform whose answers come from files: for reading through the module what a device once said.
#pragma once

#include <filesystem>
#include <optional>

#include "platform/command_platform.h"

namespace qnips
{

class FilePlatform final : public CommandPlatform
{
public:
    struct Answers {
        std::optional<std::filesystem::path> configuration; // none: the platform cannot be asked for it
        std::optional<std::filesystem::path> state;
    };

    explicit FilePlatform(Answers answers) : answers_(std::move(answers)) {}

    // The file's content as it stands, nothing for an empty file, a failure when it cannot be read.
    PlatformAnswer configuration() override;
    PlatformAnswer state() override;

    // It keeps no device: scripts are refused, and no profile has a first signature set.
    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;

private:
    Answers answers_;
};

} // namespace qnips
