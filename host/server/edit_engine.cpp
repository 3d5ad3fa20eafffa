#include "server/edit_engine.h"

#include "server/edit_config.h"

namespace qnips
{

EditEngine::EditEngine(const YangSchema& schema, const NodeTable& table, ConfigTree running)
    : table_(table), rules_(schema), running_(std::move(running))
{
}

PassResult EditEngine::edit(const EditRequest& request, CommandPlatform& platform, AfterEdit after)
{
    AppliedEdit edit(running_, request); // taken back when it goes out of scope without a commit
    validate_edit(rules_, edit.changes());
    if (edit.changes().empty() || request.test_option == TestOption::test_only)
        return PassResult{.trace = {}, .removed_vsys = {}, .completed = true};

    PassResult pass = run_callbacks(edit.changes(), table_, platform);
    if (!pass.completed)
        throw callback_error(pass.trace.back());
    if (after == AfterEdit::keep)
        edit.commit();
    return pass;
}

RpcError callback_error(const CallbackRecord& failed)
{
    if (failed.errors.empty())
        return {"operation-failed", failed.path,
                failed.callback + " has failed with " + std::to_string(failed.result) + " and gives no reason."};

    const ReportedError& first = failed.errors.front();
    std::string message = first.message;
    if (failed.platform_error && failed.platform_error->line)
        message +=
            " (line \"" + failed.platform_error->line->text + "\" in view " + failed.platform_error->line->view + ")";
    return {error_tag(first.code), failed.path, message};
}

} // namespace qnips
