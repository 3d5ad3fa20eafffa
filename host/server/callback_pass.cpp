#include "server/callback_pass.h"

#include <libyang/libyang.h>

#include "server/callback_document.h"
#include "server/callback_plan.h"
#include "server/callback_session.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr std::string_view vsys_path = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys";

void find_removed_vsys(const Change* change, std::vector<std::string>& names)
{
    if (change->schema->nodetype != LYS_LIST) {
        for (const Change* child : change->children)
            find_removed_vsys(child, names);
        return;
    }
    if (change->is(XMLDIFF_REM) && schema_path(change->schema) == vsys_path)
        names.emplace_back(lyd_get_value(lyd_child(change->node))); // the key stands first
}

} // namespace

PassResult run_callbacks(ChangeSet& changes, const NodeTable& table, CommandPlatform& platform)
{
    mark_replaced(changes, table);
    CallbackDocument before(changes, View::before);
    CallbackDocument after(changes, View::after);
    const std::vector<CallbackStep> plan = plan_callbacks(changes, table, before, after);

    PassResult result;
    result.trace.reserve(plan.size());
    CallbackSession session(platform);
    for (const CallbackStep& step : plan) {
        const CallbackDocument& own = step.phase == Phase::removal ? before : after;
        const CallbackDocument& other = step.phase == Phase::removal ? after : before;
        xmlNode* element = own.element(*step.change);
        xmlNode* node = element != nullptr ? element : other.element(*step.change);

        result.trace.push_back(session.call(*step.row, *step.change, step.phase, node));
        if (result.trace.back().result != 0)
            return result;
        if (step.phase == Phase::removal && element != nullptr && (step.change->op(step.phase) & XMLDIFF_REM) != 0)
            before.take_out(*step.change);
    }

    // No command line removes a virtual system: it belongs to the platform and takes its configuration along.
    for (const Change* root : changes.roots())
        find_removed_vsys(root, result.removed_vsys);
    for (const std::string& name : result.removed_vsys)
        platform.remove_vsys(name);
    result.completed = true;
    return result;
}

} // namespace qnips
