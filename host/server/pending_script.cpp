#include "server/pending_script.h"

#include <exception>
#include <utility>

#include "transapi/netconf_error.h"

namespace qnips
{

PendingScript::Commit PendingScript::commit(CommandPlatform& platform, int operation)
{
    Commit commit{std::exchange(lines_, {}), operation, std::nullopt};
    if (commit.lines.empty())
        return commit;
    try {
        commit.error = platform.execute(commit.lines, operation);
    } catch (const std::exception& error) {
        commit.error = PlatformError{NC_ERR_OP_FAILED, error.what(), std::nullopt};
    }
    return commit;
}

std::vector<CommandLine> PendingScript::take_left_over()
{
    return std::exchange(lines_, {});
}

} // namespace qnips
