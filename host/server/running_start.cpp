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

StartOutcome RunningDatastore::start(const Progress& progress)
{
    StartOutcome outcome;
    end_interrupted(outcome);
    if (!normal_form(running_).empty() && normal_form(read_device(schema_, device_)).empty())
        restore_all(outcome, progress);
    outcome.drift = drift();
    return outcome;
}

// An open intent was announced, and nobody knows how far it came. If the device has all of it, it counts: nobody was
// told that it did not. Otherwise it is taken back.
void RunningDatastore::end_interrupted(StartOutcome& outcome)
{
    outcome.interrupted = store_.open_intent();
    if (!outcome.interrupted)
        return;
    const std::int64_t id = outcome.interrupted->id;
    unfinished_ = id;
    if (outcome.interrupted->edit.empty())
        return forget();

    ConfigTree attempted = running_after(outcome.interrupted->edit);
    const TouchedNodes touched = touched_by(outcome.interrupted->edit);
    const ConfigTree device = complete(complete(read_device(schema_, device_), running_), attempted);
    if (differences(attempted, touched.overlaid(running_, device)).empty()) {
        finish(id, CommitOutcome::applied, outcome.interrupted->edit, {}, "ended at the start after an interruption");
        running_ = std::move(attempted);
        outcome.interrupted_stands = true;
        return;
    }
    const Restoration rollback = restore_device(schema_, table_, device_, {running_, &attempted, &touched});
    if (!rollback.done())
        outcome.errors.push_back(*rollback.fault);
    finish(id, rollback.done() ? CommitOutcome::rolled_back : CommitOutcome::rollback_failed, {},
           lines_of({}, rollback.passes), "interrupted; taken back at the next start");
}

TouchedNodes RunningDatastore::touched_by(const std::string& edit)
{
    const EditRequest request = parse_edit_request(schema_, edit);
    AppliedEdit applied(running_, request); // and taken back at once
    mark_replaced(applied.changes(), table_);
    return TouchedNodes(applied.changes());
}

// A stored configuration comes back to a device that has none. What one callback refuses must not keep the rest away.
void RunningDatastore::restore_all(StartOutcome& outcome, const Progress& progress)
{
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
