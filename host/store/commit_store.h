// The record of what has reached the device: every commit with its edit and its command lines, snapshots of running,
// and named documents, in one SQLite file. Texts in, texts out: it knows neither YANG nor the platform.
//
// Running is a snapshot and the edits of the commits after it. A commit has two phases, so that a crash between them is
// seen at the next opening: the intent that is still open then is the one edit whose outcome is unknown.
//
// One CommitStore writes a file, any number read it beside. An object belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/store_error.h"

namespace qnips
{

enum class CommitOutcome {
    applied,         // whole
    partly_applied,  // the device kept a part
    rolled_back,     // refused and taken back: nothing has changed
    rollback_failed, // refused, and taking it back failed as well
    abandoned,       // the process ended between the two phases
};

// One edit that has reached the device.
struct CommitRecord {
    std::int64_t id = 0; // 1, 2, 3...: never used again
    std::string time;    // of prepare, UTC: "2026-11-21T17:50:41.123Z"
    std::string user;
    std::string origin; // "edit-config", "commit", "copy-config", "rollback 7"
    std::string edit;   // what changed in running, as XML of an edit; empty when nothing did
    std::string lines;  // the command lines, one a line
    CommitOutcome outcome = CommitOutcome::applied;
    std::string message; // why it was not applied whole; empty if it was

    bool operator==(const CommitRecord&) const = default;
};

// An edit that was about to be sent.
struct Intent {
    std::int64_t id = 0;
    std::string time; // UTC, as a record's
    std::string user;
    std::string origin;
    std::string edit;

    bool operator==(const Intent&) const = default;
};

// Every member throws StoreError when the file fails it, and has then changed nothing. Those that write throw
// Kind::read_only on a store opened read_only.
class CommitStore
{
public:
    enum class Mode { read_write, read_only };

    // ":memory:" keeps everything in memory, without a lock. Otherwise `file` is made when it is missing (read_write
    // only), and FILE.lock, FILE-wal and FILE-shm stand beside it. Opening reads the whole file and checks it.
    explicit CommitStore(const std::string& file, Mode mode = Mode::read_write);
    CommitStore(CommitStore&&) noexcept;
    CommitStore& operator=(CommitStore&&) noexcept;
    CommitStore(const CommitStore&) = delete;
    CommitStore& operator=(const CommitStore&) = delete;
    ~CommitStore();

    // The first phase: the intent is durable when this returns its id, which the record will have. At most one intent
    // is open at a time (std::logic_error).
    std::int64_t prepare(std::string_view user, std::string_view origin, std::string_view edit);

    // Ends the open intent by its record, both at once. `edit` is what really changed, which may differ from the
    // intent's. std::logic_error when `id` is not the open intent's.
    void finish(std::int64_t id, CommitOutcome outcome, std::string_view edit, std::string_view lines,
                std::string_view message);

    // Ends the open intent without a record: nothing has happened. Its id is not used again. std::logic_error as above.
    void forget(std::int64_t id);

    [[nodiscard]] std::optional<Intent> open_intent() const;

    // What running is made of: a snapshot (empty when there is none), and the edits after it, oldest first. Records
    // without an edit are left out.
    struct Reconstruction {
        std::string snapshot;
        std::vector<std::string> edits;

        bool operator==(const Reconstruction&) const = default;
    };
    [[nodiscard]] Reconstruction running() const;

    // The same as it was after commit `id`. std::out_of_range for one that is not or no longer there.
    [[nodiscard]] Reconstruction running_at(std::int64_t id) const;

    // True when the edits since the last snapshot have more bytes than it has, and more than 1 MiB: it is time to add
    // one. Costs nothing.
    [[nodiscard]] bool wants_snapshot() const;

    // `configuration` is running as it is after the newest commit.
    void add_snapshot(std::string_view configuration);

    // Documents by name: "startup" and the like. nullopt when there is none; removing one that is not there is no
    // error.
    [[nodiscard]] std::optional<std::string> document(std::string_view name) const;
    void set_document(std::string_view name, std::string_view text);
    void remove_document(std::string_view name);

    // At most `most` records, newest first, all older than commit `before` if given; without the texts of `edit` and
    // `lines`.
    [[nodiscard]] std::vector<CommitRecord> history(std::size_t most,
                                                    std::optional<std::int64_t> before = std::nullopt) const;

    // One record, whole. nullopt when it is not or no longer there.
    [[nodiscard]] std::optional<CommitRecord> commit(std::int64_t id) const;

    // Deletes records that are not among the newest `keep`, as far as a snapshot replaces them: those after the newest
    // snapshot that the kept ones can start from stay, because running_at is still made of them. So call add_snapshot
    // from time to time, and prune later.
    void prune(std::size_t keep);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace qnips
