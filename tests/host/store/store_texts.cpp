#include "host/store/store_texts.h"

#include <limits>
#include <sstream>
#include <vector>

namespace qnips
{

namespace
{

void write(std::ostream& out, const CommitRecord& record)
{
    out << record.id << '|' << record.time << '|' << record.user << '|' << record.origin << '|' << record.edit << '|'
        << record.lines << '|' << static_cast<int>(record.outcome) << '|' << record.message << '\n';
}

void write(std::ostream& out, const CommitStore::Reconstruction& made)
{
    out << "snapshot " << made.snapshot << '\n';
    for (const std::string& edit : made.edits)
        out << "edit " << edit << '\n';
}

} // namespace

std::string text_of(const CommitStore& store)
{
    std::ostringstream out;
    if (const auto intent = store.open_intent())
        out << "open " << intent->id << '|' << intent->time << '|' << intent->user << '|' << intent->origin << '|'
            << intent->edit << '\n';
    write(out, store.running());
    for (const CommitRecord& head : store.history(std::numeric_limits<std::size_t>::max())) {
        write(out, head);
        write(out, store.commit(head.id).value());
        write(out, store.running_at(head.id));
    }
    for (const char* name : {"startup", "candidate", "other"})
        out << name << ' ' << store.document(name).value_or("(none)") << '\n';
    out << "wants a snapshot: " << store.wants_snapshot() << '\n';
    return out.str();
}

std::string sample_edit(std::int64_t id)
{
    // Now and then none, now and then one of several pages.
    if (id % 7 == 0)
        return {};
    const auto size = static_cast<std::size_t>(id % 11 == 0 ? 9000 : id % 13);
    return "<edit id='" + std::to_string(id) + "'>" + std::string(size, 'e') + "</edit>";
}

CommitRecord sample_record(std::int64_t id)
{
    return {.id = id,
            .time = {},
            .user = "admin",
            .origin = "edit-config",
            .edit = sample_edit(id),
            .lines = "line of " + std::to_string(id),
            .outcome = static_cast<CommitOutcome>(id % 4),
            .message = id % 4 == 0 ? "" : "why " + std::to_string(id)};
}

std::int64_t commit_sample(CommitStore& store)
{
    const std::int64_t id = store.prepare("admin", "edit-config", "<announced/>");
    const CommitRecord record = sample_record(id);
    store.finish(id, record.outcome, record.edit, record.lines, record.message);
    return id;
}

} // namespace qnips
