#include "server/device_restore.h"

#include <algorithm>
#include <iterator>

#include <libyang/libyang.h>

#include "server/edit_config.h"
#include "server/libyang_error.h"
#include "server/unsent_nodes.h"

namespace qnips
{

namespace
{

// Each pass that fails takes every refused node back by something wider, so the depth of the configuration bounds their
// number; this bound is for a device that refuses at random.
constexpr int most_passes = 24;
// A refusal that no wider removal can avoid may have been a passing one.
constexpr int most_retries = 2;

bool is_prefix(const std::string& path, const std::string& below)
{
    return below.starts_with(path) && (below.size() == path.size() || below[path.size()] == '/');
}

void find_vsys(const lyd_node* siblings, std::vector<std::string>& paths)
{
    for (const lyd_node* node = siblings; node != nullptr; node = node->next) {
        if (node->schema->nodetype == LYS_CONTAINER)
            find_vsys(lyd_child(node), paths);
        else if (node->schema->nodetype == LYS_LIST && schema_path(node->schema) == vsys_path)
            paths.push_back(data_path(node));
    }
}

std::vector<std::string> vsys_paths(const ConfigTree& tree)
{
    std::vector<std::string> paths;
    find_vsys(tree.first(), paths);
    return paths;
}

class Restorer
{
public:
    Restorer(const YangSchema& schema, const NodeTable& table, CommandPlatform& platform, const RestoreGoal& goal)
        : schema_(schema), table_(table), platform_(platform), wanted_(goal), goal_(copy_of(goal.goal))
    {
    }

    Restoration run()
    {
        try {
            int completed = 0;
            while (!reached()) {
                if (completed > 1 || result_.passes.size() >= most_passes || !pass()) {
                    give_up();
                    break;
                }
                completed += result_.passes.back().completed ? 1 : 0;
            }
        } catch (const RpcError& error) {
            result_.fault = error;
        }
        return std::move(result_);
    }

private:
    // Reads the device and compares.
    bool reached()
    {
        ConfigTree device = read_device(schema_, platform_);
        if (wanted_.attempted != nullptr)
            device = complete(std::move(device), *wanted_.attempted);
        device = complete(std::move(device), wanted_.goal);
        present_ = wanted_.touched != nullptr ? wanted_.touched->overlaid(wanted_.goal, device) : copy_of(device);
        // What a pass has taken whole may have come back in part.
        for (const TouchedNodes& tried : tried_)
            present_ = tried.overlaid(present_, device);
        result_.remaining = differences(wanted_.goal, present_);
        return result_.remaining.empty();
    }

    // False when there is nothing left to try.
    bool pass()
    {
        keep_vsys_entries();
        AppliedEdit edit(present_, replacement(goal_));
        if (edit.changes().empty())
            return false;
        PassResult pass =
            run_callbacks(edit.changes(), table_, platform_,
                          {.goes_on = true, .traces_all = false, .replaced = replaced_, .progress = wanted_.progress});
        bool widened = false;
        for (const Change* refused : pass.failed)
            widened = widen(*refused) || widened;
        const bool go_on = pass.completed || widened || ++retries_ <= most_retries;
        pass.failed.clear();
        tried_.emplace_back(edit.changes());
        result_.passes.push_back(std::move(pass));
        return go_on;
    }

    // A virtual system belongs to the platform, and handlers have nothing to say below one that goes: it is emptied.
    void keep_vsys_entries()
    {
        for (const std::string& path : vsys_paths(present_))
            make_in_goal(path, nullptr);
    }

    // Finds what has to go as a whole for the change that was refused.
    bool widen(const Change& refused)
    {
        for (const Change* around = refused.parent; around != nullptr; around = around->parent) {
            if (!can_be_replaced(*around))
                continue;
            std::string path = data_path(around->node);
            if (std::find(replaced_.begin(), replaced_.end(), path) != replaced_.end())
                continue;
            replaced_.push_back(std::move(path));
            return true;
        }
        return set_default(refused);
    }

    // What comes or goes whole anyway would be refused again.
    [[nodiscard]] bool can_be_replaced(const Change& change) const
    {
        const bool whole = change.schema->nodetype == LYS_LIST ||
                           (change.schema->nodetype == LYS_CONTAINER && !lysc_is_np_cont(change.schema));
        return whole && !change.is(XMLDIFF_ADD | XMLDIFF_REM) && !change.replaced && table_.has_pair(change.schema) &&
               schema_path(change.schema) != vsys_path;
    }

    bool set_default(const Change& refused)
    {
        if (refused.schema->nodetype != LYS_LEAF || !refused.is(XMLDIFF_REM))
            return false;
        const auto* leaf = reinterpret_cast<const lysc_node_leaf*>(refused.schema);
        if (leaf->dflt == nullptr)
            return false;
        const std::string path = data_path(refused.node);
        std::erase_if(replaced_, [&](const std::string& around) { return is_prefix(around, path); });
        return make_in_goal(path, lyd_value_get_canonical(schema_.context(), leaf->dflt));
    }

    // Makes the node at a data path, and what is missing above it.
    bool make_in_goal(const std::string& path, const char* value)
    {
        lyd_node* first = goal_.release().release();
        lyd_node* made = nullptr;
        const LY_ERR error = lyd_new_path(first, schema_.context(), path.c_str(), value, LYD_NEW_PATH_UPDATE, &made);
        if (first == nullptr)
            first = made;
        goal_ = ConfigTree(TreePtr(first != nullptr ? lyd_first_sibling(first) : nullptr));
        return error == LY_SUCCESS;
    }

    void give_up()
    {
        const PassResult* last = result_.passes.empty() ? nullptr : &result_.passes.back();
        if (last != nullptr && !last->completed) {
            result_.fault = last->errors().front();
            if (reached())
                result_.fault.reset();
            return;
        }
        result_.fault.emplace("operation-failed", std::string(),
                              "the device takes every line and does not become what it should be");
    }

    const YangSchema& schema_;
    const NodeTable& table_;
    CommandPlatform& platform_;
    const RestoreGoal& wanted_;
    ConfigTree goal_; // the goal, but for leaves that cannot go
    ConfigTree present_;
    std::vector<std::string> replaced_;
    std::vector<TouchedNodes> tried_; // what the passes have touched
    int retries_ = 0;
    Restoration result_;
};

} // namespace

std::vector<Difference> differences(const ConfigTree& datastore, const ConfigTree& device)
{
    const std::vector<std::string> ours = normal_form(datastore);
    const std::vector<std::string> its = normal_form(device);
    std::vector<std::string> only_ours;
    std::vector<std::string> only_its;
    std::set_difference(ours.begin(), ours.end(), its.begin(), its.end(), std::back_inserter(only_ours));
    std::set_difference(its.begin(), its.end(), ours.begin(), ours.end(), std::back_inserter(only_its));

    std::vector<Difference> all;
    all.reserve(only_ours.size() + only_its.size());
    for (std::string& line : only_ours)
        all.push_back({false, std::move(line)});
    for (std::string& line : only_its)
        all.push_back({true, std::move(line)});
    return all;
}

ConfigTree read_device(const YangSchema& schema, CommandPlatform& platform)
{
    const PlatformAnswer answer = platform.configuration();
    if (answer.is_failure())
        throw RpcError(error_tag(static_cast<NC_ERR>(answer.error().code)), {}, answer.error().message);
    return ConfigTree(answer.is_text() ? parse_device_configuration(schema, answer.text()) : nullptr);
}

Restoration restore_device(const YangSchema& schema, const NodeTable& table, CommandPlatform& platform,
                           const RestoreGoal& goal)
{
    return Restorer(schema, table, platform, goal).run();
}

} // namespace qnips
