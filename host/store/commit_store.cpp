#include "store/commit_store.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <utility>

#include "store/checksum.h"
#include "store/sqlite.h"
#include "store/store_file.h"
#include "store/store_format.h"

namespace qnips
{

namespace
{

constexpr std::uint64_t least_edit_bytes = 1024UL * 1024UL;

constexpr const char* preparing = "announcing an edit";
constexpr const char* finishing = "recording a commit";
constexpr const char* forgetting = "withdrawing an announced edit";
constexpr const char* reconstructing = "reading what running is made of";
constexpr const char* adding_snapshot = "adding a snapshot";
constexpr const char* pruning = "deleting old commits";
constexpr const char* reading_history = "reading the history";
constexpr const char* reading_commit = "reading a commit";

std::string now()
{
    using std::chrono::floor;
    using std::chrono::system_clock;
    const auto time = floor<std::chrono::milliseconds>(system_clock::now());
    const auto second = floor<std::chrono::seconds>(time);
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(second)),
                       (time - second).count());
}

CommitRecord head_of(const Rows& rows)
{
    return {.id = rows.integer(0),
            .time = rows.text(1),
            .user = rows.text(2),
            .origin = rows.text(3),
            .edit = {},
            .lines = {},
            .outcome = static_cast<CommitOutcome>(rows.integer(4)),
            .message = rows.text(5)};
}

std::int64_t limit_of(std::size_t count)
{
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(count, static_cast<std::size_t>(largest)));
}

constexpr const char* put_intent = "REPLACE INTO newest_intent VALUES (0, ?1, ?2, ?3, ?4, ?5, ?6, ?7)";

// Every statement of the store, prepared once.
struct Statements {
    explicit Statements(const Database& database)
        : announce(database, put_intent, preparing), end_by_record(database, put_intent, finishing),
          withdraw(database, put_intent, forgetting),
          open_intent(database, "SELECT id, time, user, origin, edit FROM newest_intent WHERE is_open",
                      "reading the announced edit"),
          add_commit(database, "INSERT INTO commits VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)", finishing),
          newest_commit(database, "SELECT ifnull(max(id), 0) FROM commits", reconstructing),
          has_commit(database, "SELECT 1 FROM commits WHERE id = ?1", reconstructing),
          snapshot_at(database, "SELECT id, configuration FROM snapshots WHERE id <= ?1 ORDER BY id DESC LIMIT 1",
                      reconstructing),
          edits(database, "SELECT edit FROM commits WHERE id > ?1 AND id <= ?2 AND edit <> '' ORDER BY id",
                reconstructing),
          add_snapshot(database, "REPLACE INTO snapshots VALUES (?1, ?2, ?3)", adding_snapshot),
          document(database, "SELECT text FROM documents WHERE name = ?1", "reading a document"),
          set_document(database, "REPLACE INTO documents VALUES (?1, ?2, ?3)", "writing a document"),
          remove_document(database, "DELETE FROM documents WHERE name = ?1", "removing a document"),
          history(
              database,
              "SELECT id, time, user, origin, outcome, message FROM commits WHERE id < ?1 ORDER BY id DESC LIMIT ?2",
              reading_history),
          commit(database, "SELECT id, time, user, origin, outcome, message, edit, lines FROM commits WHERE id = ?1",
                 reading_commit),
          nth_newest(database, "SELECT id FROM commits ORDER BY id DESC LIMIT 1 OFFSET ?1", pruning),
          delete_commits(database, "DELETE FROM commits WHERE id < ?1 AND id <= ?2", pruning),
          delete_snapshots(database, "DELETE FROM snapshots WHERE id < ?1", pruning)
    {
    }

    Statement announce;
    Statement end_by_record;
    Statement withdraw;
    Statement open_intent;
    Statement add_commit;
    Statement newest_commit;
    Statement has_commit;
    Statement snapshot_at;
    Statement edits;
    Statement add_snapshot;
    Statement document;
    Statement set_document;
    Statement remove_document;
    Statement history;
    Statement commit;
    Statement nth_newest;
    Statement delete_commits;
    Statement delete_snapshots;
};

StoreFile::Mode mode_of(CommitStore::Mode mode)
{
    return mode == CommitStore::Mode::read_write ? StoreFile::Mode::read_write : StoreFile::Mode::read_only;
}

} // namespace

struct CommitStore::Implementation {
    Implementation(const std::string& file, Mode mode)
        : store(file, mode_of(mode), commit_store_format()), database(store.database()), counters(check_rows(database)),
          statements(database)
    {
    }

    void open_intent(const Intent& intent, std::string_view edit)
    {
        statements.announce.run(intent.id, std::int64_t{1}, intent.time, intent.user, intent.origin,
                                intent_checksum(intent, true, edit), edit);
    }

    // `statement` is one of the two that end an intent.
    static void end_intent(Statement& statement, const Intent& intent)
    {
        statement.run(intent.id, std::int64_t{0}, intent.time, intent.user, intent.origin,
                      intent_checksum(intent, false, {}), std::string_view());
    }

    // The open intent, which has to be the one with this id.
    [[nodiscard]] const Intent& expect_open(std::int64_t id) const
    {
        if (!counters.open || counters.open->id != id)
            throw std::logic_error("the announced edit to be ended is not the open one: " + std::to_string(id));
        return *counters.open;
    }

    [[nodiscard]] std::int64_t newest_commit()
    {
        Rows rows = statements.newest_commit.query();
        return rows.next() ? rows.integer(0) : 0;
    }

    [[nodiscard]] bool has_commit(std::int64_t id) { return statements.has_commit.query(id).next(); }

    [[nodiscard]] Reconstruction reconstruct(std::int64_t id)
    {
        Reconstruction made;
        std::int64_t base = 0;
        if (Rows rows = statements.snapshot_at.query(id); rows.next()) {
            base = rows.integer(0);
            made.snapshot = rows.text(1);
        }
        for (Rows rows = statements.edits.query(base, id); rows.next();)
            made.edits.push_back(rows.text(0));
        return made;
    }

    // The newest snapshot that is not newer than commit `id`.
    [[nodiscard]] std::optional<std::int64_t> snapshot_for(std::int64_t id)
    {
        Rows rows = statements.snapshot_at.query(id);
        return rows.next() ? std::optional(rows.integer(0)) : std::nullopt;
    }

    StoreFile store;
    Database& database;
    StoreCounters counters; // changed only after the transaction that they count
    Statements statements;
};

CommitStore::CommitStore(const std::string& file, Mode mode)
    : implementation_(std::make_unique<Implementation>(file, mode))
{
}

CommitStore::CommitStore(CommitStore&&) noexcept = default;
CommitStore& CommitStore::operator=(CommitStore&&) noexcept = default;
CommitStore::~CommitStore() = default;

std::int64_t CommitStore::prepare(std::string_view user, std::string_view origin, std::string_view edit)
{
    Implementation& self = *implementation_;
    if (self.counters.open)
        throw std::logic_error("an edit is announced while another one is open: " +
                               std::to_string(self.counters.open->id));
    Intent intent{.id = self.counters.newest_id + 1,
                  .time = now(),
                  .user = std::string(user),
                  .origin = std::string(origin),
                  .edit = {}};
    self.open_intent(intent, edit);
    self.counters.newest_id = intent.id;
    self.counters.open = std::move(intent);
    return self.counters.newest_id;
}

void CommitStore::finish(std::int64_t id, CommitOutcome outcome, std::string_view edit, std::string_view lines,
                         std::string_view message)
{
    Implementation& self = *implementation_;
    const Intent& intent = self.expect_open(id);
    const CommitRecord head{.id = id,
                            .time = intent.time,
                            .user = intent.user,
                            .origin = intent.origin,
                            .edit = {},
                            .lines = {},
                            .outcome = outcome,
                            .message = std::string(message)};
    Transaction transaction(self.database, finishing);
    self.statements.add_commit.run(head.id, head.time, head.user, head.origin, static_cast<std::int64_t>(outcome),
                                   message, record_checksum(head, edit, lines), edit, lines);
    Implementation::end_intent(self.statements.end_by_record, intent);
    transaction.commit();
    self.counters.edit_bytes += edit.size();
    self.counters.open.reset();
}

void CommitStore::forget(std::int64_t id)
{
    Implementation& self = *implementation_;
    Implementation::end_intent(self.statements.withdraw, self.expect_open(id));
    self.counters.open.reset();
}

std::optional<Intent> CommitStore::open_intent() const
{
    Rows rows = implementation_->statements.open_intent.query();
    if (!rows.next())
        return std::nullopt;
    return Intent{.id = rows.integer(0),
                  .time = rows.text(1),
                  .user = rows.text(2),
                  .origin = rows.text(3),
                  .edit = rows.text(4)};
}

CommitStore::Reconstruction CommitStore::running() const
{
    Implementation& self = *implementation_;
    Transaction transaction(self.database, reconstructing, Transaction::Purpose::read);
    // A snapshot may be newer than the newest commit that is left.
    return self.reconstruct(std::numeric_limits<std::int64_t>::max());
}

CommitStore::Reconstruction CommitStore::running_at(std::int64_t id) const
{
    Implementation& self = *implementation_;
    Transaction transaction(self.database, reconstructing, Transaction::Purpose::read);
    if (!self.has_commit(id))
        throw std::out_of_range("there is no commit " + std::to_string(id));
    return self.reconstruct(id);
}

bool CommitStore::wants_snapshot() const
{
    const StoreCounters& counters = implementation_->counters;
    return counters.edit_bytes > std::max(counters.snapshot_bytes, least_edit_bytes);
}

void CommitStore::add_snapshot(std::string_view configuration)
{
    Implementation& self = *implementation_;
    Transaction transaction(self.database, adding_snapshot);
    // With the newest commits pruned, the newest snapshot stands for them.
    const std::int64_t id = std::max(self.newest_commit(), self.counters.newest_snapshot);
    self.statements.add_snapshot.run(id, checksum(id, configuration), configuration);
    transaction.commit();
    self.counters.newest_snapshot = id;
    self.counters.snapshot_bytes = configuration.size();
    self.counters.edit_bytes = 0;
}

std::optional<std::string> CommitStore::document(std::string_view name) const
{
    Rows rows = implementation_->statements.document.query(name);
    return rows.next() ? std::optional(rows.text(0)) : std::nullopt;
}

void CommitStore::set_document(std::string_view name, std::string_view text)
{
    implementation_->statements.set_document.run(name, checksum(name, text), text);
}

void CommitStore::remove_document(std::string_view name)
{
    implementation_->statements.remove_document.run(name);
}

std::vector<CommitRecord> CommitStore::history(std::size_t most, std::optional<std::int64_t> before) const
{
    std::vector<CommitRecord> records;
    const std::int64_t end = before.value_or(std::numeric_limits<std::int64_t>::max());
    for (Rows rows = implementation_->statements.history.query(end, limit_of(most)); rows.next();)
        records.push_back(head_of(rows));
    return records;
}

std::optional<CommitRecord> CommitStore::commit(std::int64_t id) const
{
    Rows rows = implementation_->statements.commit.query(id);
    if (!rows.next())
        return std::nullopt;
    CommitRecord record = head_of(rows);
    record.edit = rows.text(6);
    record.lines = rows.text(7);
    return record;
}

void CommitStore::prune(std::size_t keep)
{
    Implementation& self = *implementation_;
    Transaction transaction(self.database, pruning);
    std::int64_t oldest_kept = std::numeric_limits<std::int64_t>::max();
    if (keep > 0) {
        Rows rows = self.statements.nth_newest.query(limit_of(keep - 1));
        if (!rows.next())
            return; // there are no more than that
        oldest_kept = rows.integer(0);
    }
    const std::optional<std::int64_t> base = self.snapshot_for(oldest_kept);
    if (!base)
        return;
    self.statements.delete_commits.run(oldest_kept, *base);
    self.statements.delete_snapshots.run(*base);
    transaction.commit();
}

} // namespace qnips
