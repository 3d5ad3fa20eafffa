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
        return PassResult{.completed = true};

    PassResult pass = run_callbacks(edit.changes(), table_, platform);
    if (!pass.completed)
        throw RpcError(pass.errors().front());
    if (after == AfterEdit::keep)
        edit.commit();
    return pass;
}

} // namespace qnips
