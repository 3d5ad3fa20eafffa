// The commit store's tables, and what a sound store is beyond the soundness of the database.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "store/commit_store.h"
#include "store/sqlite.h"
#include "store/store_file.h"

namespace qnips
{

const StoreFormat& commit_store_format();

// What the store remembers of its rows, so that no call has to count them.
struct StoreCounters {
    std::int64_t newest_id = 0; // ever given to an intent
    std::optional<Intent> open; // without the text of its edit
    std::int64_t newest_snapshot = 0;
    std::uint64_t snapshot_bytes = 0;
    std::uint64_t edit_bytes = 0; // of the edits after the newest snapshot
};

// Reads every row. StoreError of Kind::corrupt when one is not as it was written.
StoreCounters check_rows(const Database& database);

// Of a row as it is written. The large texts come by themselves, so that nothing is copied for it.
std::int64_t record_checksum(const CommitRecord& head, std::string_view edit, std::string_view lines);
std::int64_t intent_checksum(const Intent& intent, bool is_open, std::string_view edit);

} // namespace qnips
