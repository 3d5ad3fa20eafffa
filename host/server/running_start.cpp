// How the running datastore and its device come together: at the start, and when they differ.
#include <utility>

#include <libyang/libyang.h>

#include "server/callback_plan.h"
#include "server/commit_text.h"
#include "server/edit_text.h"
#include "server/running_datastore.h"
#include "server/touched_nodes.h"
#include "server/unsent_nodes.h"

namespace qnips
{

namespace
{

// The origin of the intent to give a device everything.
constexpr const char* restoration = "start";

} // namespace

StartOutcome RunningDatastore::start(const Progress& progress)
{
    StartOutcome outcome;
    interrupted_ = interrupted_ || (!unfinished_ && store_.open_intent());
    end_interrupted(outcome);
    const bool restores = !normal_form(running_).empty() && normal_form(read_device(schema_, device_)).empty();
    if (restores)
        restore_all(outcome, progress);
    outcome.drift = drift();
    if (restores) // a device that cannot be read any more gets the rest at the next start
        forget_restoration();
    return outcome;
}

void RunningDatastore::forget_restoration()
{
    forget();
    interrupted_ = unfinished_.has_value();
}

// An edit must not follow one whose outcome is open. Throws RpcError while the device does not tell.
void RunningDatastore::end_interrupted()
{
    StartOutcome outcome;
    end_interrupted(outcome);
}

// An open intent was announced, and nobody knows how far it came. If the device has all of it, it counts: nobody was
// told that it did not. Otherwise it is taken back.
void RunningDatastore::end_interrupted(StartOutcome& outcome)
{
    if (!interrupted_)
        return;
    outcome.interrupted = store_.open_intent();
    if (!outcome.interrupted) {
        interrupted_ = false;
        return;
    }
    const std::int64_t id = outcome.interrupted->id;
    unfinished_ = id;
    if (outcome.interrupted->edit.empty()) {
        if (outcome.interrupted->origin == restoration)
            go_on_restoring(outcome);
        return forget_restoration();
    }
    ConfigTree attempted;
    std::optional<TouchedNodes> touched;
    try {
        attempted = running_after(outcome.interrupted->edit);
        touched.emplace(touched_by(outcome.interrupted->edit));
    } catch (const RpcError& error) { // of another release, perhaps; the drift shows what is left of it
        outcome.errors.push_back(error);
        return finish(id, CommitOutcome::abandoned, {}, {}, error.what());
    }
    const ConfigTree device = complete(complete(read_device(schema_, device_), running_), attempted);
    if (differences(attempted, touched->overlaid(running_, device)).empty()) {
        finish(id, CommitOutcome::applied, outcome.interrupted->edit, {}, "ended at the start after an interruption");
        running_ = std::move(attempted);
        outcome.interrupted_stands = true;
        return;
    }
    // To a device that has nothing at all everything comes back in a moment.
    if (normal_form(device).empty())
        return finish(id, CommitOutcome::rolled_back, {}, {}, "interrupted; the device has no configuration");
    const Restoration rollback = restore_device(schema_, table_, device_, {running_, &attempted, &*touched});
    if (!rollback.done())
        outcome.errors.push_back(*rollback.fault);
    finish(id, rollback.done() ? CommitOutcome::rolled_back : CommitOutcome::rollback_failed, {},
           lines_of({}, rollback.passes),
           rollback.done() ? "interrupted; taken back at the next start"
                           : std::string("interrupted, and still in part on the device: ") + rollback.fault->what());
}

TouchedNodes RunningDatastore::touched_by(const std::string& edit)
{
    const EditRequest request = parse_edit_request(schema_, edit);
    AppliedEdit applied(running_, request); // and taken back at once
    mark_replaced(applied.changes(), table_);
    return TouchedNodes(applied.changes());
}

// A device that was to get everything has a part of it.
void RunningDatastore::go_on_restoring(StartOutcome& outcome)
{
    const Restoration rest = restore_device(schema_, table_, device_, {running_});
    for (const PassResult& pass : rest.passes)
        outcome.restored += pass.callbacks;
    if (!rest.done())
        outcome.errors.push_back(*rest.fault);
}

// A stored configuration comes back to a device that has none. What one callback refuses must not keep the rest away.
void RunningDatastore::restore_all(StartOutcome& outcome, const Progress& progress)
{
    prepare({"host", restoration}, {});
    interrupted_ = true;
    ConfigTree nothing;
    AppliedEdit edit(nothing, replacement(running_));
    const PassResult pass =
        run_callbacks(edit.changes(), table_, device_,
                      {.goes_on = true, .traces_all = false, .restores = true, .progress = progress});
    outcome.restored = pass.callbacks;
    outcome.errors = pass.errors();
}

std::vector<Difference> RunningDatastore::drift()
{
    return differences(running_, device_configuration());
}

ConfigTree RunningDatastore::device_configuration()
{
    return complete(read_device(schema_, device_), running_);
}

Restoration RunningDatastore::repair_device(const Author& author, const Progress& progress)
{
    const std::int64_t id = prepare(author, {});
    Restoration repair = restore_device(schema_, table_, device_, {running_, nullptr, nullptr, progress});
    if (repair.passes.empty() && repair.done())
        forget();
    else
        finish(id, repair.done() ? CommitOutcome::applied : CommitOutcome::rollback_failed, {},
               lines_of({}, repair.passes), repair.done() ? std::string() : repair.fault->what());
    return repair;
}

std::int64_t RunningDatastore::repair_datastore(const Author& author)
{
    const ConfigTree device = device_configuration();
    const EditRequest request = replacement(device);
    AppliedEdit edit(running_, request);
    if (edit.changes().empty())
        return 0;
    validate_edit(rules_, edit.changes());
    const std::string text = edit_text(edit.changes());
    const std::int64_t id = prepare(author, text);
    finish(id, CommitOutcome::applied, text, {}, {});
    edit.commit();
    return id;
}

} // namespace qnips
