// What the commit store keeps, in memory: the two phases, running, documents, the history, pruning.
#include "store/commit_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/store/store_texts.h"

namespace qnips
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

std::int64_t commit_edit(CommitStore& store, const std::string& edit)
{
    const std::int64_t id = store.prepare("admin", "edit-config", edit);
    store.finish(id, CommitOutcome::applied, edit, "", "");
    return id;
}

std::vector<std::int64_t> ids(const std::vector<CommitRecord>& records)
{
    std::vector<std::int64_t> ids;
    ids.reserve(records.size());
    for (const CommitRecord& record : records)
        ids.push_back(record.id);
    return ids;
}

TEST(CommitStore, IsEmptyAtFirst)
{
    const CommitStore store(":memory:");
    EXPECT_EQ(store.open_intent(), std::nullopt);
    EXPECT_EQ(store.running(), CommitStore::Reconstruction());
    EXPECT_THAT(store.history(10), IsEmpty());
    EXPECT_EQ(store.commit(1), std::nullopt);
    EXPECT_EQ(store.document("startup"), std::nullopt);
    EXPECT_FALSE(store.wants_snapshot());
    EXPECT_THROW(static_cast<void>(store.running_at(0)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(store.running_at(1)), std::out_of_range);
}

TEST(CommitStore, KeepsAnAnnouncedEditUntilItEnds)
{
    CommitStore store(":memory:");
    EXPECT_EQ(store.prepare("admin", "commit", "<e/>"), 1);
    const Intent intent = store.open_intent().value();
    EXPECT_EQ(intent, (Intent{.id = 1, .time = intent.time, .user = "admin", .origin = "commit", .edit = "<e/>"}));
    EXPECT_THAT(intent.time, MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z"));
    EXPECT_THAT(store.history(10), IsEmpty());

    store.finish(1, CommitOutcome::partly_applied, "<part/>", "one\ntwo\n", "the third was refused");
    EXPECT_EQ(store.open_intent(), std::nullopt);
    EXPECT_EQ(store.commit(1), (CommitRecord{.id = 1,
                                             .time = intent.time,
                                             .user = "admin",
                                             .origin = "commit",
                                             .edit = "<part/>",
                                             .lines = "one\ntwo\n",
                                             .outcome = CommitOutcome::partly_applied,
                                             .message = "the third was refused"}));
}

TEST(CommitStore, TakesTheTimeOfNow)
{
    CommitStore store(":memory:");
    const auto seconds = [] {
        const std::time_t now = std::time(nullptr);
        std::string text(20, ' ');
        text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", std::gmtime(&now)));
        return text;
    };
    const std::string before = seconds();
    store.prepare("", "", "");
    const std::string time = store.open_intent()->time.substr(0, before.size());
    EXPECT_LE(before, time);
    EXPECT_LE(time, seconds());
}

TEST(CommitStore, HasOneAnnouncedEditAtATime)
{
    CommitStore store(":memory:");
    EXPECT_THROW(store.finish(0, CommitOutcome::applied, "", "", ""), std::logic_error);
    EXPECT_THROW(store.forget(0), std::logic_error);
    const std::int64_t id = store.prepare("", "", "");
    EXPECT_THROW(store.prepare("", "", ""), std::logic_error);
    EXPECT_THROW(store.finish(id + 1, CommitOutcome::applied, "", "", ""), std::logic_error);
    EXPECT_THROW(store.forget(id + 1), std::logic_error);
    store.finish(id, CommitOutcome::applied, "", "", "");
    EXPECT_THROW(store.finish(id, CommitOutcome::applied, "", "", ""), std::logic_error);
    EXPECT_THAT(ids(store.history(10)), ElementsAre(id));
}

TEST(CommitStore, NeverUsesAnIdAgain)
{
    CommitStore store(":memory:");
    EXPECT_EQ(commit_edit(store, "<a/>"), 1);
    store.forget(store.prepare("", "", "<b/>"));
    EXPECT_EQ(store.open_intent(), std::nullopt);
    EXPECT_EQ(store.commit(2), std::nullopt);
    EXPECT_EQ(commit_edit(store, "<c/>"), 3);
    store.add_snapshot("<c/>");
    store.prune(0);
    EXPECT_THAT(store.history(10), IsEmpty());
    EXPECT_EQ(commit_edit(store, "<d/>"), 4);
}

TEST(CommitStore, MakesRunningOfASnapshotAndTheEditsAfterIt)
{
    CommitStore store(":memory:");
    store.add_snapshot("<empty/>");
    commit_edit(store, "<a/>");
    commit_edit(store, "");
    commit_edit(store, "<b/>");
    store.add_snapshot("<a/><b/>");
    commit_edit(store, "<c/>");
    store.prepare("", "", "<announced/>");

    using Made = CommitStore::Reconstruction;
    EXPECT_EQ(store.running(), (Made{"<a/><b/>", {"<c/>"}}));
    EXPECT_EQ(store.running_at(4), store.running());
    EXPECT_EQ(store.running_at(3), (Made{"<a/><b/>", {}}));
    EXPECT_EQ(store.running_at(2), (Made{"<empty/>", {"<a/>"}}));
    EXPECT_EQ(store.running_at(1), (Made{"<empty/>", {"<a/>"}}));
    EXPECT_THROW(static_cast<void>(store.running_at(5)), std::out_of_range); // announced, not yet a commit
}

TEST(CommitStore, WantsASnapshotWhenTheEditsOutgrowTheLastOne)
{
    constexpr std::size_t mebibyte = 1024UL * 1024UL;
    CommitStore store(":memory:");
    commit_edit(store, std::string(mebibyte, 'e'));
    EXPECT_FALSE(store.wants_snapshot());
    commit_edit(store, "e");
    EXPECT_TRUE(store.wants_snapshot());

    store.add_snapshot(std::string(mebibyte + 10, 's'));
    EXPECT_FALSE(store.wants_snapshot());
    commit_edit(store, std::string(mebibyte + 10, 'e'));
    EXPECT_FALSE(store.wants_snapshot());
    commit_edit(store, "e");
    EXPECT_TRUE(store.wants_snapshot());
}

TEST(CommitStore, KeepsDocumentsByName)
{
    CommitStore store(":memory:");
    store.set_document("startup", "<a/>");
    store.set_document("other", "");
    store.set_document("startup", "<b/>");
    EXPECT_EQ(store.document("startup"), "<b/>");
    EXPECT_EQ(store.document("other"), "");
    store.remove_document("startup");
    store.remove_document("startup");
    EXPECT_EQ(store.document("startup"), std::nullopt);
    EXPECT_EQ(store.document("other"), "");
}

TEST(CommitStore, ShowsTheHistoryNewestFirstWithoutItsLargeTexts)
{
    CommitStore store(":memory:");
    for (int count = 0; count < 5; ++count)
        commit_sample(store);
    EXPECT_THAT(ids(store.history(10)), ElementsAre(5, 4, 3, 2, 1));
    EXPECT_THAT(ids(store.history(2)), ElementsAre(5, 4));
    EXPECT_THAT(ids(store.history(2, 4)), ElementsAre(3, 2));
    EXPECT_THAT(ids(store.history(2, 1)), IsEmpty());
    EXPECT_THAT(store.history(0), IsEmpty());
    CommitRecord head = store.commit(5).value();
    EXPECT_EQ(head.edit, sample_edit(5));
    head.edit.clear();
    head.lines.clear();
    EXPECT_EQ(store.history(1).at(0), head);
}

TEST(CommitStore, KeepsTextsToTheByte)
{
    using namespace std::string_literals;
    CommitStore store(":memory:");
    for (const std::string& text : {""s, "'; DROP TABLE commits; --"s, "a\0b"s, "\xff\xfe\x80"s, "?1 :name @x $y"s,
                                    "\xe4\xb8\xad\r\n\t"s, std::string(3'000'000, 'x')}) {
        const std::int64_t id = store.prepare(text, text, text);
        EXPECT_EQ(store.open_intent()->edit, text);
        store.finish(id, CommitOutcome::rollback_failed, text, text, text);
        const CommitRecord record = store.commit(id).value();
        EXPECT_EQ(record, (CommitRecord{.id = id,
                                        .time = record.time,
                                        .user = text,
                                        .origin = text,
                                        .edit = text,
                                        .lines = text,
                                        .outcome = CommitOutcome::rollback_failed,
                                        .message = text}));
        store.set_document(text, text);
        EXPECT_EQ(store.document(text), text);
    }
}

TEST(CommitStore, PrunesWhatASnapshotReplaces)
{
    const auto filled = [] { // snapshots after 2 and 4 of 6 commits
        CommitStore store(":memory:");
        for (int id = 1; id <= 6; ++id) {
            commit_edit(store, "<e" + std::to_string(id) + "/>");
            if (id % 2 == 0 && id < 6)
                store.add_snapshot("<s" + std::to_string(id) + "/>");
        }
        return store;
    };
    struct Case {
        std::size_t keep;
        std::vector<std::int64_t> left;
    };
    const std::vector<Case> cases = {
        {100, {6, 5, 4, 3, 2, 1}},
        {6, {6, 5, 4, 3, 2, 1}}, // nothing is older
        {5, {6, 5, 4, 3, 2}},    // 2 is the snapshot, so 1 is not needed
        {4, {6, 5, 4, 3}},
        {3, {6, 5, 4}}, // 4 is the snapshot
        {2, {6, 5}},
        {1, {6, 5}}, // 6 is made from the snapshot after 4, by 5
        {0, {6, 5}},
    };
    for (const Case& item : cases) {
        CommitStore store = filled();
        const CommitStore before = filled();
        store.prune(item.keep);
        EXPECT_EQ(ids(store.history(10)), item.left) << "keep " << item.keep;
        EXPECT_EQ(store.running(), before.running());
        for (std::int64_t id = 1; id <= 6; ++id) {
            if (std::ranges::find(item.left, id) == item.left.end()) {
                EXPECT_THROW(static_cast<void>(store.running_at(id)), std::out_of_range) << id;
                continue;
            }
            EXPECT_EQ(store.running_at(id), before.running_at(id)) << "keep " << item.keep << ", commit " << id;
        }
    }
}

TEST(CommitStore, PrunesNothingWithoutASnapshot)
{
    CommitStore store(":memory:");
    commit_edit(store, "<a/>");
    commit_edit(store, "<b/>");
    store.prune(0);
    EXPECT_THAT(ids(store.history(10)), ElementsAre(2, 1));
}

TEST(CommitStore, CanBeMoved)
{
    CommitStore first(":memory:");
    commit_edit(first, "<a/>");
    CommitStore second = std::move(first);
    EXPECT_EQ(commit_edit(second, "<b/>"), 2);
}

} // namespace

} // namespace qnips
