// A damaged store is refused and left as it is, or holds exactly what it held.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <set>
#include <string>

#include "host/store/damaged_file.h"
#include "host/store/store_texts.h"
#include "host/store/temporary_folder.h"
#include "store/commit_store.h"

namespace qnips
{

namespace
{

using ::testing::StartsWith;
using Kind = StoreError::Kind;
using Mode = CommitStore::Mode;

// All tables filled over several pages, free pages among them.
void fill(CommitStore& store)
{
    store.add_snapshot("<first/>");
    for (int count = 0; count < 12; ++count)
        commit_sample(store);
    store.add_snapshot(std::string(9000, 's'));
    for (int count = 0; count < 25; ++count)
        commit_sample(store);
    store.prune(22);
    store.add_snapshot("<last/>");
    commit_sample(store);
    store.set_document("startup", std::string(5000, 'd'));
    store.set_document("candidate", "<small/>");
    store.set_document("other", std::string(20'000, 'o'));
    store.remove_document("other");
    store.prepare("admin", "commit", "<open/>");
}

struct Opened {
    std::optional<Kind> failure;
    std::string text; // what it holds, or why it is refused
};

Opened opened(const std::string& file, Mode mode)
{
    try {
        return {std::nullopt, text_of(CommitStore(file, mode))};
    } catch (const StoreError& error) {
        return {error.kind(), error.what()};
    }
}

TEST(DamagedCommitStore, IsRefusedOrHoldsWhatItHeld)
{
    const TemporaryFolder folder;
    const std::string sound_file = folder.file("sound");
    {
        CommitStore store(sound_file);
        fill(store);
    }
    const std::string sound = content_of(sound_file);
    const std::string text = text_of(CommitStore(sound_file));
    std::mt19937 random(7);
    int number = 0;
    for (const Damage& damage : damages_of(sound.size(), 300, random)) {
        const TemporaryFolder own_folder; // without what the last one has left beside the file
        const std::string file = own_folder.file("damaged");
        const std::string damaged = damage.of(sound);
        write_file(file, damaged);
        const Mode mode = ++number % 3 == 0 ? Mode::read_only : Mode::read_write;
        const Opened result = opened(file, mode);
        if (!result.failure) {
            EXPECT_EQ(result.text, text) << damage.text();
            continue;
        }
        EXPECT_EQ(result.failure, changes_version(damage) && result.failure == Kind::newer_version ? Kind::newer_version
                                                                                                   : Kind::corrupt)
            << damage.text() << ": " << result.text;
        EXPECT_THAT(result.text, StartsWith(file + ": ")) << damage.text();
        EXPECT_EQ(content_of(file), damaged) << damage.text();
    }
}

// A log is there only after a crash. What a damaged frame of it held, and what follows, is as if it had not been
// written: SQLite cannot tell it from a power failure.
TEST(DamagedCommitStore, LosesOnlyTheEndOfADamagedLog)
{
    const TemporaryFolder folder;
    const std::string live = folder.file("live");
    CommitStore store(live);
    std::set<std::string> states = {text_of(store)};
    for (int count = 0; count < 12; ++count) {
        const std::int64_t id = store.prepare("admin", "commit", "<e/>");
        states.insert(text_of(store));
        store.finish(id, CommitOutcome::applied, sample_edit(id), "", "");
        states.insert(text_of(store));
    }
    const std::string log = content_of(live + "-wal");
    std::mt19937 random(8);
    for (const Damage& damage : damages_of(log.size(), 100, random)) {
        const TemporaryFolder own_folder;
        const std::string file = own_folder.file("damaged");
        write_file(file, content_of(live));
        write_file(file + "-wal", damage.of(log));
        const Opened result = opened(file, Mode::read_write);
        EXPECT_EQ(result.failure, std::nullopt) << damage.text() << ": " << result.text;
        EXPECT_TRUE(states.contains(result.text)) << damage.text() << ":\n" << result.text;
    }
}

} // namespace

} // namespace qnips
