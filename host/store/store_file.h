// Opening a file that the host keeps: the lock, making it, telling ours from others' and sound ones from damaged ones,
// and bringing an older version up to date.
//
//   FILE        the database. It is made as FILE.new and renamed, so that it is whole whenever it is there.
//   FILE-wal    the write-ahead log, FILE-shm its index. Both stay when the file is closed, the log emptied.
//   FILE.lock   locked by the writer as long as it runs
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "store/file_lock.h"
#include "store/sqlite.h"

namespace qnips
{

// What a file is made of. The newest version is one more than there are migrations.
struct StoreFormat {
    std::string name; // "commit store", for messages
    std::int32_t application_id = 0;
    std::string schema; // makes the tables of the newest version

    // migrations[0] leads from version 1 to 2, and so on. The tables have to end as `schema` makes them, to the letter
    // of their definitions: a migration makes a new table and copies, rather than alter one.
    std::span<const char* const> migrations;

    [[nodiscard]] std::int32_t version() const { return static_cast<std::int32_t>(migrations.size()) + 1; }
};

class StoreFile
{
public:
    enum class Mode { read_write, read_only };

    // Opens `file`, or makes it if it is missing and may be written; ":memory:" is a new one in memory. Throws
    // StoreError. A file that is refused is left as it is. Transactions are durable when they are committed.
    StoreFile(const std::string& file, Mode mode, const StoreFormat& format);

    [[nodiscard]] Database& database() { return *database_; }

private:
    void make(const std::string& file, const StoreFormat& format);
    void open_for_writing(const std::string& file, const StoreFormat& format);
    void open_for_reading(const std::string& file, const StoreFormat& format);

    std::optional<FileLock> lock_; // goes last: the database is closed under it
    std::optional<Database> database_;
};

} // namespace qnips
