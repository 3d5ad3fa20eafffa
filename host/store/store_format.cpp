#include "store/store_format.h"

#include <string>

#include "store/checksum.h"

namespace qnips
{

namespace
{

// Checksums are of all other columns, in this order. WITHOUT ROWID: an index beside the table would be one more thing
// that can be damaged, and SQLite's quick check leaves indices out.
constexpr const char* schema = R"(
CREATE TABLE commits (
    id INTEGER PRIMARY KEY,
    time TEXT NOT NULL,
    user TEXT NOT NULL,
    origin TEXT NOT NULL,
    outcome INTEGER NOT NULL,
    message TEXT NOT NULL,
    checksum INTEGER NOT NULL,
    edit TEXT NOT NULL,
    lines TEXT NOT NULL
) STRICT;
-- Running as it was after commit `id`; 0: before any.
CREATE TABLE snapshots (
    id INTEGER PRIMARY KEY,
    checksum INTEGER NOT NULL,
    configuration TEXT NOT NULL
) STRICT;
CREATE TABLE documents (
    name TEXT PRIMARY KEY,
    checksum INTEGER NOT NULL,
    text TEXT NOT NULL
) STRICT, WITHOUT ROWID;
-- One row at most: the newest intent, which is open or not. Its id is the newest there has been.
CREATE TABLE newest_intent (
    place INTEGER PRIMARY KEY CHECK (place = 0),
    id INTEGER NOT NULL,
    is_open INTEGER NOT NULL CHECK (is_open IN (0, 1)),
    time TEXT NOT NULL,
    user TEXT NOT NULL,
    origin TEXT NOT NULL,
    checksum INTEGER NOT NULL,
    edit TEXT NOT NULL
) STRICT;
)";

constexpr const char* checking = "checking its rows";

[[noreturn]] void fail(const Database& database, const std::string& reason)
{
    throw StoreError(StoreError::Kind::corrupt, database.file() + ": " + checking + ": " + reason);
}

void expect(const Database& database, bool is_sound, const std::string& what)
{
    if (!is_sound)
        fail(database, what + " is damaged");
}

void check_documents(const Database& database)
{
    Statement statement(database, "SELECT name, text, checksum FROM documents", checking);
    for (Rows rows = statement.query(); rows.next();)
        expect(database, rows.integer(2) == checksum(rows.view(0), rows.view(1)), "document " + rows.text(0));
}

void check_snapshots(const Database& database, StoreCounters& counters)
{
    Statement statement(database, "SELECT id, configuration, checksum FROM snapshots ORDER BY id", checking);
    for (Rows rows = statement.query(); rows.next();) {
        const std::int64_t id = rows.integer(0);
        expect(database, id >= 0 && rows.integer(2) == checksum(id, rows.view(1)), "snapshot " + std::to_string(id));
        counters.newest_snapshot = id;
        counters.snapshot_bytes = rows.view(1).size();
    }
}

// Returns the newest record's id, 0 when there is none. The snapshots have been counted.
std::int64_t check_commits(const Database& database, StoreCounters& counters)
{
    Statement statement(
        database, "SELECT id, time, user, origin, outcome, message, checksum, edit, lines FROM commits ORDER BY id",
        checking);
    std::int64_t newest = 0;
    for (Rows rows = statement.query(); rows.next();) {
        newest = rows.integer(0);
        const std::string what = "commit " + std::to_string(newest);
        const std::int64_t outcome = rows.integer(4);
        expect(database, newest > 0 && outcome >= 0 && outcome <= static_cast<std::int64_t>(CommitOutcome::abandoned),
               what);
        const CommitRecord head{.id = newest,
                                .time = rows.text(1),
                                .user = rows.text(2),
                                .origin = rows.text(3),
                                .edit = {},
                                .lines = {},
                                .outcome = static_cast<CommitOutcome>(outcome),
                                .message = rows.text(5)};
        expect(database, rows.integer(6) == record_checksum(head, rows.view(7), rows.view(8)), what);
        if (newest > counters.newest_snapshot)
            counters.edit_bytes += rows.view(7).size();
    }
    return newest;
}

void check_intent(const Database& database, StoreCounters& counters)
{
    Statement statement(database, "SELECT id, is_open, time, user, origin, checksum, edit FROM newest_intent",
                        checking);
    Rows rows = statement.query();
    if (!rows.next())
        return;
    const Intent intent{
        .id = rows.integer(0), .time = rows.text(2), .user = rows.text(3), .origin = rows.text(4), .edit = {}};
    const bool is_open = rows.integer(1) != 0;
    expect(database, intent.id > 0 && rows.integer(5) == intent_checksum(intent, is_open, rows.view(6)),
           "the newest intent");
    counters.newest_id = intent.id;
    if (is_open)
        counters.open = intent;
}

} // namespace

const StoreFormat& commit_store_format()
{
    static const StoreFormat format{.name = "commit store",
                                    .application_id = 0x71697043, // "qipC"
                                    .schema = schema,
                                    .migrations = {}};
    return format;
}

StoreCounters check_rows(const Database& database)
{
    StoreCounters counters;
    Transaction transaction(database, checking, Transaction::Purpose::read);
    check_documents(database);
    check_snapshots(database, counters);
    const std::int64_t newest_commit = check_commits(database, counters);
    check_intent(database, counters);
    if (newest_commit > counters.newest_id || counters.newest_snapshot > counters.newest_id ||
        (counters.open && newest_commit == counters.newest_id))
        fail(database, "it has commits that nobody has announced");
    transaction.commit();
    return counters;
}

std::int64_t record_checksum(const CommitRecord& head, std::string_view edit, std::string_view lines)
{
    return checksum(head.id, head.time, head.user, head.origin, static_cast<std::int64_t>(head.outcome), head.message,
                    edit, lines);
}

std::int64_t intent_checksum(const Intent& intent, bool is_open, std::string_view edit)
{
    return checksum(intent.id, std::int64_t{is_open ? 1 : 0}, intent.time, intent.user, intent.origin, edit);
}

} // namespace qnips
