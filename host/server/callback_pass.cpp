#include "server/callback_pass.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/callback_document.h"
#include "server/callback_plan.h"
#include "server/callback_session.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

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

// A stored configuration that comes back is new in every node.
void mark_restored(const std::vector<Change*>& changes)
{
    for (Change* change : changes) {
        if (change->is(XMLDIFF_ADD))
            change->bits |= XMLDIFF_CFGR;
        mark_restored(change->children);
    }
}

// Whether the callbacks of a change cannot succeed any more, because one for it or for an ancestor has failed.
bool is_lost(const std::unordered_set<const Change*>& failed, const Change* change)
{
    if (failed.empty())
        return false;
    for (; change != nullptr; change = change->parent) {
        if (failed.contains(change))
            return true;
    }
    return false;
}

class Pass
{
public:
    Pass(ChangeSet& changes, CommandPlatform& platform, const PassOptions& options)
        : before_(changes, View::before), after_(changes, View::after), session_(platform, options.traces_all),
          options_(options)
    {
    }

    PassResult run(const ChangeSet& changes, const NodeTable& table)
    {
        const std::vector<CallbackStep> plan = plan_callbacks(changes, table, before_, after_);
        if (options_.traces_all)
            result_.trace.reserve(plan.size());
        for (const CallbackStep& step : plan) {
            result_.aborted = options_.aborts && options_.aborts();
            if (result_.aborted)
                return std::move(result_);
            if (!is_lost(failed_, step.change) && !take(step) && !options_.goes_on)
                return std::move(result_);
            ++done_;
            if (options_.progress)
                options_.progress(done_, plan.size());
        }
        result_.completed = failed_.empty();
        return std::move(result_);
    }

private:
    bool take(const CallbackStep& step)
    {
        const bool removes = step.phase == Phase::removal;
        const CallbackDocument& own = removes ? before_ : after_;
        const CallbackDocument& other = removes ? after_ : before_;
        xmlNode* element = own.element(*step.change);
        xmlNode* node = element != nullptr ? element : other.element(*step.change);

        CallbackRecord record = session_.call(*step.row, *step.change, step.phase, node);
        const bool succeeded = record.result == 0;
        ++result_.callbacks;
        result_.covered += record.covered ? 1U : 0U;
        if (options_.traces_all || !record.is_quiet())
            result_.trace.push_back(std::move(record));
        if (!succeeded) {
            failed_.insert(step.change);
            result_.failed.push_back(step.change);
            return false;
        }
        if (removes && element != nullptr && (step.change->op(step.phase) & XMLDIFF_REM) != 0)
            before_.take_out(*step.change);
        return true;
    }

    CallbackDocument before_;
    CallbackDocument after_;
    CallbackSession session_;
    const PassOptions& options_;
    PassResult result_;
    std::unordered_set<const Change*> failed_;
    std::size_t done_ = 0;
};

// What the platform throws is an error like one that it returns.
std::optional<PlatformError> tell_gone(CommandPlatform& platform, const std::string& vsys)
{
    try {
        return platform.remove_vsys(vsys);
    } catch (const std::exception& error) {
        return PlatformError{NC_ERR_OP_FAILED, error.what(), std::nullopt};
    }
}

// A refusal says that nothing was done; any other failure leaves open what the device has heard.
bool leaves_open(const PlatformError& error)
{
    return error.code != NC_ERR_PARSE_COMMAND && error.code != NC_ERR_SET_VIEW && error.code != NC_ERR_COMMAND_EXECUTE;
}

} // namespace

bool PassResult::reached_device() const
{
    if (!removed_vsys.empty() || vsys_error)
        return true;
    return std::any_of(trace.begin(), trace.end(), [](const CallbackRecord& record) {
        return !record.scripts.empty() || (record.platform_error && leaves_open(*record.platform_error));
    });
}

std::vector<RpcError> PassResult::errors() const
{
    std::vector<RpcError> all;
    for (const CallbackRecord& record : trace) {
        if (record.result != 0)
            all.push_back(callback_error(record));
    }
    if (vsys_error)
        all.push_back(*vsys_error);
    if (aborted)
        all.emplace_back("operation-failed", std::string(), "the edit was aborted");
    return all;
}

PassResult run_callbacks(ChangeSet& changes, const NodeTable& table, CommandPlatform& platform,
                         const PassOptions& options)
{
    mark_replaced(changes, table);
    mark_replaced(changes, options.replaced);
    if (options.restores)
        mark_restored(changes.roots());
    PassResult result = Pass(changes, platform, options).run(changes, table);

    // No command line removes a virtual system: it belongs to the platform and takes its configuration along.
    if (result.aborted || (!result.completed && !options.goes_on))
        return result;
    std::vector<std::string> gone;
    for (const Change* root : changes.roots())
        find_removed_vsys(root, gone);
    for (std::string& name : gone) {
        if (const std::optional<PlatformError> error = tell_gone(platform, name)) {
            if (!result.vsys_error)
                result.vsys_error.emplace(error_tag(static_cast<NC_ERR>(error->code)),
                                          fmt::format("{}[name='{}']", vsys_path, name), error->message);
            result.completed = false;
            if (!options.goes_on)
                break;
            continue;
        }
        result.removed_vsys.push_back(std::move(name));
    }
    return result;
}

RpcError callback_error(const CallbackRecord& failed)
{
    if (failed.errors.empty())
        return {"operation-failed", failed.path,
                failed.callback.str() + " has failed with " + std::to_string(failed.result) + " and gives no reason."};

    const ReportedError& first = failed.errors.front();
    std::string message = first.message;
    if (failed.platform_error && failed.platform_error->line)
        message +=
            " (line \"" + failed.platform_error->line->text + "\" in view " + failed.platform_error->line->view + ")";
    return {error_tag(first.code), failed.path, message};
}

} // namespace qnips
