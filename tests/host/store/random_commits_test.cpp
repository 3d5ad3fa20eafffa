// A store that is closed and opened again among random calls holds what a plain model of it holds.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "host/store/store_texts.h"
#include "host/store/temporary_folder.h"
#include "store/commit_store.h"

namespace qnips
{

namespace
{

// The store's rules, on lists in memory.
struct Model {
    std::vector<CommitRecord> records; // without times
    std::map<std::int64_t, std::string> snapshots;
    std::map<std::string, std::string> documents;
    std::optional<Intent> open; // without its time
    std::int64_t newest_id = 0;

    [[nodiscard]] CommitStore::Reconstruction running_at(std::int64_t id) const
    {
        CommitStore::Reconstruction made;
        std::int64_t base = 0;
        for (const auto& [place, text] : snapshots) {
            if (place <= id) {
                base = place;
                made.snapshot = text;
            }
        }
        for (const CommitRecord& record : records) {
            if (record.id > base && record.id <= id && !record.edit.empty())
                made.edits.push_back(record.edit);
        }
        return made;
    }

    void prune(std::size_t keep)
    {
        if (records.size() <= keep && keep > 0)
            return;
        const std::int64_t oldest = keep == 0 ? newest_id + 1 : records.at(records.size() - keep).id;
        auto base = snapshots.upper_bound(oldest);
        if (base == snapshots.begin())
            return;
        --base;
        std::erase_if(records,
                      [&](const CommitRecord& record) { return record.id < oldest && record.id <= base->first; });
        snapshots.erase(snapshots.begin(), base);
    }
};

void expect_same(const CommitStore& store, const Model& model)
{
    std::optional<Intent> open = store.open_intent();
    if (open)
        open->time.clear();
    EXPECT_EQ(open, model.open);
    EXPECT_EQ(store.running(), model.running_at(model.newest_id));

    std::vector<CommitRecord> records;
    for (const CommitRecord& head : store.history(1000)) {
        records.push_back(store.commit(head.id).value());
        records.back().time.clear();
        EXPECT_EQ(store.running_at(head.id), model.running_at(head.id));
    }
    std::ranges::reverse(records);
    EXPECT_EQ(records, model.records);
    for (const char* name : {"startup", "candidate"}) {
        const auto wanted = model.documents.find(name);
        EXPECT_EQ(store.document(name), wanted == model.documents.end() ? std::nullopt : std::optional(wanted->second));
    }
}

class RandomCalls
{
public:
    explicit RandomCalls(std::uint32_t seed) : random_(seed) {}

    void run(CommitStore& store, Model& model)
    {
        const int choice = number(0, 99);
        if (model.open)
            end_intent(store, model);
        else if (choice < 70)
            prepare(store, model);
        else if (choice < 80)
            add_snapshot(store, model);
        else if (choice < 95)
            change_document(store, model);
        else
            prune(store, model);
    }

    int number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

private:
    std::string text()
    {
        const int size = number(0, 20) == 0 ? number(0, 20'000) : number(0, 60);
        std::string text(static_cast<std::size_t>(size), ' ');
        std::ranges::fill(text, static_cast<char>(number('a', 'z')));
        return text;
    }

    void prepare(CommitStore& store, Model& model)
    {
        Intent intent{.id = ++model.newest_id, .time = {}, .user = text(), .origin = text(), .edit = text()};
        EXPECT_EQ(store.prepare(intent.user, intent.origin, intent.edit), intent.id);
        model.open = intent;
    }

    void end_intent(CommitStore& store, Model& model)
    {
        const Intent intent = *model.open;
        model.open.reset();
        if (number(0, 9) == 0)
            return store.forget(intent.id);
        const CommitRecord record{.id = intent.id,
                                  .time = {},
                                  .user = intent.user,
                                  .origin = intent.origin,
                                  .edit = number(0, 3) == 0 ? "" : text(),
                                  .lines = text(),
                                  .outcome = static_cast<CommitOutcome>(number(0, 4)),
                                  .message = text()};
        store.finish(record.id, record.outcome, record.edit, record.lines, record.message);
        model.records.push_back(record);
    }

    void add_snapshot(CommitStore& store, Model& model)
    {
        const std::string configuration = text();
        store.add_snapshot(configuration);
        const std::int64_t newest_snapshot = model.snapshots.empty() ? 0 : model.snapshots.rbegin()->first;
        const std::int64_t newest_commit = model.records.empty() ? 0 : model.records.back().id;
        model.snapshots[std::max(newest_snapshot, newest_commit)] = configuration;
    }

    void change_document(CommitStore& store, Model& model)
    {
        const std::string name = number(0, 1) == 0 ? "startup" : "candidate";
        if (number(0, 3) == 0) {
            store.remove_document(name);
            model.documents.erase(name);
        } else {
            model.documents[name] = text();
            store.set_document(name, model.documents[name]);
        }
    }

    void prune(CommitStore& store, Model& model)
    {
        const auto keep = static_cast<std::size_t>(number(0, 30));
        store.prune(keep);
        model.prune(keep);
    }

    std::mt19937 random_;
};

TEST(RandomCommits, LeaveWhatAModelHolds)
{
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const TemporaryFolder folder;
        Model model;
        RandomCalls calls(seed);
        for (int opening = 0; opening < 5 && !::testing::Test::HasFailure(); ++opening) {
            CommitStore store(folder.file("store"));
            expect_same(store, model);
            for (int count = calls.number(0, 60); count > 0; --count)
                calls.run(store, model);
            expect_same(store, model);
        }
        EXPECT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    }
}

} // namespace

} // namespace qnips
