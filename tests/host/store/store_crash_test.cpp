// A process that is killed at any moment leaves a sound store with everything that has been acknowledged.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "host/store/child_process.h"
#include "host/store/store_texts.h"
#include "host/store/temporary_folder.h"
#include "store/commit_store.h"

namespace qnips
{

namespace
{

// Commits until it is killed, and says what it has been told is done: "finished 7", "forgotten 8", "snapshot 7",
// "document 12".
void work(const std::string& file, const Reports& reports)
{
    CommitStore store(file);
    if (const auto intent = store.open_intent())
        store.finish(intent->id, CommitOutcome::abandoned, "", "", "");
    while (true) {
        const std::int64_t id = store.prepare("admin", "edit-config", "<announced/>");
        if (id % 5 == 0) {
            store.forget(id);
            reports.say("forgotten " + std::to_string(id));
            continue;
        }
        const CommitRecord record = sample_record(id);
        store.finish(id, record.outcome, record.edit, record.lines, record.message);
        reports.say("finished " + std::to_string(id));
        if (id % 16 == 1) {
            store.add_snapshot("<as-after-" + std::to_string(id) + "/>");
            reports.say("snapshot " + std::to_string(id));
        }
        if (id % 6 == 1) {
            store.set_document("startup", "<startup-" + std::to_string(id) + "/>");
            reports.say("document " + std::to_string(id));
        }
    }
}

// The newest id that each kind of report named; 0 for none.
class Acknowledged
{
public:
    void read(const std::string& lines)
    {
        std::istringstream stream(lines);
        std::string what;
        for (std::int64_t id = 0; stream >> what >> id;) {
            ASSERT_TRUE(what == "finished" || what == "forgotten" || what == "snapshot" || what == "document") << lines;
            newest_[what] = id;
        }
    }
    // What has been seen after a crash has to be there after the next one as well.
    void see(const std::string& what, std::int64_t id) { newest_[what] = std::max(newest_[what], id); }

    [[nodiscard]] std::int64_t operator[](const std::string& what) const
    {
        const auto found = newest_.find(what);
        return found == newest_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, std::int64_t> newest_;
};

// Every record is whole and there is none too few, and at most one more than was acknowledged.
void expect_records(const CommitStore& store, const Acknowledged& acknowledged)
{
    std::int64_t newest = 0;
    std::map<std::int64_t, CommitRecord> records;
    for (const CommitRecord& head : store.history(1'000'000)) {
        newest = std::max(newest, head.id);
        records.emplace(head.id, store.commit(head.id).value());
    }
    for (std::int64_t id = 1; id <= newest; ++id) {
        const auto found = records.find(id);
        if (found == records.end()) {
            EXPECT_EQ(id % 5, 0) << "commit " << id << " is missing";
            continue;
        }
        CommitRecord record = found->second;
        EXPECT_FALSE(record.time.empty());
        record.time.clear();
        if (record.outcome == CommitOutcome::abandoned)
            continue;
        EXPECT_EQ(record, sample_record(id));
    }
    EXPECT_GE(newest, acknowledged["finished"]);
    const std::int64_t newest_id = std::max(acknowledged["finished"], acknowledged["forgotten"]);
    EXPECT_LE(newest, newest_id + 2) << "one that was withdrawn, and one after it, may not have been acknowledged";
    const auto intent = store.open_intent();
    EXPECT_TRUE(!intent || intent->id > std::max(newest, acknowledged["forgotten"])) << intent->id;
}

void expect_reconstruction(const CommitStore& store, const Acknowledged& acknowledged)
{
    const CommitStore::Reconstruction running = store.running();
    std::int64_t base = 0;
    if (!running.snapshot.empty()) {
        ASSERT_EQ(running.snapshot.substr(0, 10), "<as-after-");
        base = std::stoll(running.snapshot.substr(10));
    }
    EXPECT_GE(base, acknowledged["snapshot"]);
    std::vector<std::string> edits;
    const auto newest = store.history(1);
    for (std::int64_t id = base + 1; !newest.empty() && id <= newest.front().id; ++id) {
        const auto record = store.commit(id);
        if (record && !record->edit.empty())
            edits.push_back(sample_edit(id));
    }
    EXPECT_EQ(running.edits, edits);

    const std::string startup = store.document("startup").value_or("<startup-0/>");
    EXPECT_GE(std::stoll(startup.substr(9)), acknowledged["document"]);
}

TEST(CommitStoreCrash, LosesNothingThatWasAcknowledged)
{
    std::mt19937 random(20261121);
    const TemporaryFolder folder;
    Acknowledged acknowledged;
    std::int64_t most = 0;
    std::string file = folder.file("store-0");
    for (int count = 0; count < number_of_kills() && !::testing::Test::HasFailure(); ++count) {
        if (count % 10 == 0) { // making the file is killed as well
            file = folder.file("store-" + std::to_string(count));
            acknowledged = {};
        }
        ChildProcess child([&](const Reports& reports) { work(file, reports); });
        kill_within(child, std::chrono::milliseconds(40), random);
        acknowledged.read(child.rest());
        const CommitStore store(file);
        expect_records(store, acknowledged);
        expect_reconstruction(store, acknowledged);
        if (const auto newest = store.history(1); !newest.empty())
            acknowledged.see("finished", newest.front().id);
        most = std::max(most, acknowledged["finished"]);
    }
    EXPECT_GT(most, 5) << "the children have hardly worked";
}

TEST(CommitStoreCrash, LeavesAWholeFileOrNone)
{
    std::mt19937 random(5);
    for (int count = 0; count < number_of_kills(); ++count) {
        const TemporaryFolder folder;
        const std::string file = folder.file("store");
        ChildProcess child([&](const Reports&) { const CommitStore store(file); });
        kill_within(child, std::chrono::milliseconds(10), random);
        EXPECT_EQ(text_of_failure([&] { CommitStore store(file); }), "");
    }
}

} // namespace

} // namespace qnips
