#include "server/running_datastore.h"

#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/commit_text.h"
#include "server/edit_text.h"
#include "server/store_errors.h"
#include "server/touched_nodes.h"
#include "server/unsent_nodes.h"

namespace qnips
{

namespace
{

// Time from one call to the next.
class Lap
{
public:
    std::chrono::nanoseconds time()
    {
        const auto now = std::chrono::steady_clock::now();
        return now - std::exchange(start_, now);
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

RpcError rollback_error(const Restoration& rollback)
{
    std::string message = fmt::format("The device could not be brought back: {}", rollback.fault->what());
    for (const Difference& difference : rollback.remaining)
        message += fmt::format("\n  only {}: {}", difference.on_device ? "on the device" : "in the datastore",
                               difference.line);
    return {"rollback-failed", rollback.fault->path(), message};
}

// Data paths of what callbacks have refused; a key stands for its entry.
std::vector<std::string> refused_nodes(const PassResult& pass)
{
    std::vector<std::string> paths;
    for (const Change* change : pass.failed)
        paths.push_back(data_path(lysc_is_key(change->schema) ? change->parent->node : change->node));
    return paths;
}

lyd_node* node_at(const ConfigTree& tree, const std::string& path)
{
    lyd_node* node = nullptr; // for a path that leads nowhere the last node on the way
    const bool found = tree.first() != nullptr && lyd_find_path(tree.first(), path.c_str(), 0, &node) == LY_SUCCESS;
    return found ? node : nullptr;
}

// Makes the attempted configuration one that does not have what was refused. A device is asked only for what lines
// carry; the rest of a part comes from what was attempted.
void take_out(ConfigTree& attempted, const std::vector<std::string>& refused, const ConfigTree& running)
{
    for (const std::string& path : refused) {
        lyd_node* node = node_at(attempted, path);
        const lyd_node* before = node_at(running, path);
        if (node != nullptr && before == nullptr)
            attempted.extract(node);
        else if (node != nullptr && (node->schema->nodetype & LYD_NODE_TERM) != 0)
            lyd_change_term(node, lyd_get_value(before));
    }
}

} // namespace

RunningDatastore::RunningDatastore(const YangSchema& schema, const NodeTable& table, CommandPlatform& device,
                                   CommitStore& store)
    : schema_(schema), table_(table), rules_(schema), device_(device), store_(store),
      interrupted_(store.open_intent().has_value())
{
    try {
        running_ = rebuilt(store_.running());
    } catch (const RpcError& error) {
        throw std::runtime_error(
            fmt::format("the stored configuration does not fit the schema: {}: {}", error.path(), error.what()));
    }
}

ConfigTree RunningDatastore::rebuilt(const CommitStore::Reconstruction& parts) const
{
    ConfigTree tree(parts.snapshot.empty() ? nullptr : schema_.parse_configuration(parts.snapshot));
    for (const std::string& text : parts.edits) {
        const EditRequest request = parse_edit_request(schema_, text);
        AppliedEdit(tree, request).commit();
    }
    return tree;
}

ConfigTree RunningDatastore::at(std::int64_t commit) const
{
    return rebuilt(store_.running_at(commit));
}

// ---------------------------------------------------------------------------------------------------- an edit --

EditOutcome RunningDatastore::edit(const EditRequest& request, const Author& author)
{
    end_interrupted();
    EditOutcome outcome;
    Lap lap;
    AppliedEdit edit(running_, request); // taken back when it goes out of scope without a commit
    outcome.times.apply = lap.time();
    if (author.watch.check)
        author.watch.check(edit.changes());
    validate_edit(rules_, edit.changes());
    outcome.times.validate = lap.time();
    if (!edit.changes().empty() && request.test_option != TestOption::test_only)
        carry_out(edit, request.error_option, author, outcome);
    return outcome;
}

EditOutcome RunningDatastore::replace(const ConfigTree& goal, const Author& author)
{
    return edit(replacement(goal), author);
}

void RunningDatastore::carry_out(AppliedEdit& edit, ErrorOption option, const Author& author, EditOutcome& outcome)
{
    Lap lap;
    const std::string text = edit_text(edit.changes());
    outcome.times.describe = lap.time();
    const std::int64_t id = prepare(author, text);
    outcome.times.store = lap.time();
    try {
        send(edit, option, author.watch, id, text, outcome);
    } catch (...) {
        interrupted_ = true; // as after a crash: the next edit ends it first
        throw;
    }
}

void RunningDatastore::send(AppliedEdit& edit, ErrorOption option, const EditWatch& watch, std::int64_t id,
                            const std::string& text, EditOutcome& outcome)
{
    Lap lap;
    outcome.pass = run_callbacks(
        edit.changes(), table_, device_,
        {.goes_on = option == ErrorOption::continue_on_error, .traces_all = traces_all_, .aborts = watch.aborts});
    if (outcome.pass.aborted)
        option = ErrorOption::rollback_on_error;
    outcome.times.callbacks = lap.time();
    outcome.errors = outcome.pass.errors();
    if (outcome.errors.empty() && !stands(edit, id, text, outcome))
        option = ErrorOption::rollback_on_error;
    outcome.times.store += lap.time();
    if (outcome.effect != EditOutcome::Effect::whole)
        settle(edit, option, id, text, outcome);
    outcome.pass.failed.clear();
}

// False when the store cannot take what the device has taken.
bool RunningDatastore::stands(AppliedEdit& edit, std::int64_t id, const std::string& text, EditOutcome& outcome)
{
    try {
        finish(id, CommitOutcome::applied, text, lines_of(outcome.pass), {});
    } catch (const RpcError& error) {
        outcome.errors.push_back(error);
        return false;
    }
    edit.commit();
    outcome.effect = EditOutcome::Effect::whole;
    outcome.commit = id;
    tidy_store();
    return true;
}

// An edit that has failed: what of it has reached the device stays or goes.
void RunningDatastore::settle(AppliedEdit& edit, ErrorOption option, std::int64_t id, const std::string& text,
                              EditOutcome& outcome)
{
    if (!outcome.pass.reached_device()) {
        edit.rollback();
        return forget();
    }
    const TouchedNodes touched(edit.changes());
    const std::vector<std::string> refused = refused_nodes(outcome.pass);
    edit.rollback();
    ConfigTree attempted;
    try {
        attempted = running_after(text);
    } catch (const RpcError&) {
        attempted = copy_of(running_); // the device has to be brought back, whatever the text is like
    }
    if (option == ErrorOption::rollback_on_error || !keep_part(attempted, refused, touched, id, outcome))
        take_back(attempted, touched, id, outcome);
}

ConfigTree RunningDatastore::running_after(const std::string& edit) const
{
    ConfigTree tree = copy_of(running_);
    const EditRequest request = parse_edit_request(schema_, edit);
    AppliedEdit(tree, request).commit();
    return tree;
}

// False when the part cannot stand by itself.
bool RunningDatastore::keep_part(const ConfigTree& attempted, const std::vector<std::string>& refused,
                                 const TouchedNodes& touched, std::int64_t id, EditOutcome& outcome)
{
    try {
        ConfigTree possible = copy_of(attempted);
        take_out(possible, refused, running_);
        const ConfigTree device = complete(complete(read_device(schema_, device_), running_), possible);
        const ConfigTree part = touched.overlaid(running_, device);
        const EditRequest request = replacement(part);
        AppliedEdit edit(running_, request);
        validate_edit(rules_, edit.changes());
        if (edit.changes().empty()) {
            outcome.effect = EditOutcome::Effect::none;
            finish(id, CommitOutcome::rolled_back, {}, lines_of(outcome.pass), describe(outcome.errors));
            outcome.commit = id;
            return true;
        }
        finish(id, CommitOutcome::partly_applied, edit_text(edit.changes()), lines_of(outcome.pass),
               describe(outcome.errors));
        edit.commit();
        outcome.effect = EditOutcome::Effect::part;
        outcome.commit = id;
        return true;
    } catch (const RpcError&) {
        return false; // then the device is brought back, and that says what is wrong with it
    }
}

void RunningDatastore::take_back(const ConfigTree& attempted, const TouchedNodes& touched, std::int64_t id,
                                 EditOutcome& outcome)
{
    outcome.rollback = restore_device(schema_, table_, device_, {running_, &attempted, &touched});
    outcome.effect = outcome.rollback.done() ? EditOutcome::Effect::none : EditOutcome::Effect::unknown;
    if (!outcome.rollback.done())
        outcome.errors.push_back(rollback_error(outcome.rollback));
    try {
        finish(id, outcome.rollback.done() ? CommitOutcome::rolled_back : CommitOutcome::rollback_failed, {},
               lines_of(outcome.pass, outcome.rollback.passes), describe(outcome.errors));
        outcome.commit = id;
        tidy_store();
    } catch (const RpcError& error) {
        outcome.errors.push_back(error);
    }
}

// -------------------------------------------------------------------------------------------------- the store --

std::int64_t RunningDatastore::prepare(const Author& author, const std::string& edit)
{
    try {
        if (unfinished_)
            store_.forget(*unfinished_);
        unfinished_.reset();
        unfinished_ = store_.prepare(author.user, author.origin, edit);
        return *unfinished_;
    } catch (const StoreError& error) {
        throw rpc_error(error);
    }
}

// Nothing has happened. A store that cannot say so now is asked again before the next intent.
void RunningDatastore::forget()
{
    try {
        store_.forget(*unfinished_);
        unfinished_.reset();
    } catch (const StoreError&) {
        return;
    }
}

void RunningDatastore::finish(std::int64_t id, CommitOutcome outcome, const std::string& edit, const std::string& lines,
                              const std::string& message)
{
    try {
        store_.finish(id, outcome, edit, lines, message);
        unfinished_.reset();
        interrupted_ = false;
        ++finished_;
    } catch (const StoreError& error) {
        throw rpc_error(error);
    }
}

// Bounds what has to be read at the next start, and the history. A store that fails here has lost nothing.
void RunningDatastore::tidy_store()
{
    try {
        // Edits that were taken back change nothing and are kept all the same.
        constexpr std::size_t most_records = 16; // for each one that is kept
        if (!store_.wants_snapshot() && finished_ < most_records * kept_)
            return;
        finished_ = 0;
        store_.add_snapshot(tree_text(running_.first()));
        store_.prune(kept_);
    } catch (const StoreError&) {
        return;
    }
}

} // namespace qnips
