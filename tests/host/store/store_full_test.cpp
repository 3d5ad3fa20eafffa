// A call that finds no room changes nothing, and succeeds when there is room again.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
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

const std::string large(100'000, 'x');

struct FullCase {
    std::string name;
    std::function<void(CommitStore&)> before;
    std::function<void(CommitStore&)> call;
};

std::vector<FullCase> cases()
{
    const auto nothing = [](CommitStore&) {};
    return {
        {"prepare", nothing, [](CommitStore& store) { store.prepare("admin", "commit", large); }},
        {"finish", [](CommitStore& store) { store.prepare("admin", "commit", "<e/>"); },
         [](CommitStore& store) { store.finish(store.open_intent()->id, CommitOutcome::applied, large, large, ""); }},
        {"add_snapshot", nothing, [](CommitStore& store) { store.add_snapshot(large); }},
        {"set_document", [](CommitStore& store) { store.set_document("startup", "<old/>"); },
         [](CommitStore& store) { store.set_document("startup", large); }},
        {"forget", [](CommitStore& store) { store.prepare("admin", "commit", large); },
         [](CommitStore& store) { store.forget(store.open_intent()->id); }},
        {"remove_document", [](CommitStore& store) { store.set_document("startup", large); },
         [](CommitStore& store) { store.remove_document("startup"); }},
        {"prune", [](CommitStore& store) { store.add_snapshot("<s/>"); }, [](CommitStore& store) { store.prune(1); }},
    };
}

// In a child: fills the disk, calls, makes room, calls again, opens again. Says what went wrong.
void try_when_full(const std::string& file, const FullCase& item, const Reports& reports)
{
    std::string after;
    {
        CommitStore store(file);
        for (int count = 0; count < 20; ++count)
            commit_sample(store);
        item.before(store);
        const std::string before = text_of(store);
        limit_files(std::filesystem::file_size(file + "-wal"));
        for (int count = 0; count < 2; ++count) {
            std::string text;
            try {
                item.call(store);
            } catch (const StoreError& error) {
                text = error.what();
                if (error.kind() != StoreError::Kind::full || text.find(file + ": ") != 0)
                    reports.say("not full: " + text);
            }
            if (text.empty())
                reports.say("there was room");
            if (text_of(store) != before)
                reports.say("something has changed");
        }
        limit_files(any_size);
        item.call(store);
        if (text_of(store) == before && item.name != "prune")
            reports.say("nothing has changed");
        if (store.open_intent())
            store.forget(store.open_intent()->id);
        commit_sample(store);
        after = text_of(store);
    }
    if (text_of(CommitStore(file)) != after)
        reports.say("it is another one when opened again");
}

TEST(CommitStoreWithoutRoom, StaysAsItWas)
{
    const TemporaryFolder folder;
    for (const FullCase& item : cases()) {
        const std::string said =
            in_child([&](const Reports& reports) { try_when_full(folder.file(item.name), item, reports); });
        EXPECT_EQ(said, "") << item.name;
    }
}

// Small steps up to a limit that lies anywhere: in the log, at its end, in the middle of a checkpoint.
void work_up_to_limit(const std::string& file, std::uintmax_t limit, const Reports& reports)
{
    limit_files(limit);
    std::string before;
    std::string after;
    try {
        CommitStore store(file);
        while (true) {
            before = text_of(store);
            if (const auto intent = store.open_intent())
                store.finish(intent->id, CommitOutcome::applied, sample_edit(intent->id), "", "");
            else
                store.prepare("admin", "commit", "<e/>");
        }
    } catch (const StoreError& error) {
        if (error.kind() != StoreError::Kind::full)
            reports.say(error.what());
    }
    limit_files(any_size);
    CommitStore store(file);
    if (!before.empty() && text_of(store) != before)
        reports.say("something has changed");
    if (!store.open_intent())
        commit_sample(store);
}

TEST(CommitStoreWithoutRoom, CanBeOpenedAgainWhereverItStopped)
{
    const TemporaryFolder folder;
    for (const unsigned limit :
         {0U, 1U, 100U, 4096U, 8192U, 20'000U, 24'576U, 32'767U, 32'768U, 40'000U, 65'536U, 100'000U, 150'001U}) {
        const std::string file = folder.file("store-" + std::to_string(limit));
        EXPECT_EQ(in_child([&](const Reports& reports) { work_up_to_limit(file, limit, reports); }), "") << limit;
    }
}

TEST(CommitStoreWithoutRoom, IsNotMadeByHalves)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    const std::string said = in_child([&](const Reports& reports) {
        limit_files(4096);
        reports.say(text_of_failure([&] { CommitStore store(file); }));
    });
    EXPECT_EQ(said.find(file), 0U) << said;
    EXPECT_NE(said.find("File too large"), std::string::npos) << said;
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(std::filesystem::exists(file + ".new"));
}

} // namespace

} // namespace qnips
