// The command lines that callbacks have cached since the last commit.
#pragma once

#include <optional>
#include <vector>

#include "platform/command_platform.h"

namespace qnips
{

class PendingScript
{
public:
    void cache(CommandLine line) { lines_.push_back(std::move(line)); }

    // Executes the lines on the platform as one unit and forgets them, whatever the outcome. Without lines the platform
    // is not asked and the result is success. What the platform throws is an error like one that it returns.
    struct Commit {
        std::vector<CommandLine> lines;
        int operation = 0; // API_CMD_OPERATION
        std::optional<PlatformError> error;
    };
    Commit commit(CommandPlatform& platform, int operation);

    // Takes the lines that nobody has committed.
    std::vector<CommandLine> take_left_over();

private:
    std::vector<CommandLine> lines_;
};

} // namespace qnips
