#include "server/pending_script.h"

#include <utility>

namespace qnips
{

PendingScript::Commit PendingScript::commit(CommandPlatform& platform, int operation)
{
    Commit commit{std::exchange(lines_, {}), operation, std::nullopt};
    if (!commit.lines.empty())
        commit.error = platform.execute(commit.lines, operation);
    return commit;
}

std::vector<CommandLine> PendingScript::take_left_over()
{
    return std::exchange(lines_, {});
}

} // namespace qnips
