// Who may open a store: one writer at a time, readers beside it, and those who may not write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "host/store/child_process.h"
#include "host/store/store_texts.h"
#include "host/store/temporary_folder.h"
#include "store/commit_store.h"

namespace qnips
{

namespace
{

using ::testing::HasSubstr;
using Kind = StoreError::Kind;
using Mode = CommitStore::Mode;

TEST(CommitStoreAccess, HasOneWriterInAProcess)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    {
        const CommitStore store(file);
        EXPECT_EQ(kind_of_failure([&] { CommitStore second(file); }), Kind::in_use);
        EXPECT_EQ(text_of_failure([&] { CommitStore second(file); }),
                  file + ": opening it for writing: in use by process " + std::to_string(getpid()));
    }
    EXPECT_EQ(kind_of_failure([&] { CommitStore second(file); }), std::nullopt);
}

TEST(CommitStoreAccess, HasOneWriterAmongProcessesUntilItDies)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    ChildProcess child([&](const Reports& reports) {
        CommitStore store(file);
        commit_sample(store);
        reports.say("ready");
        pause();
    });
    ASSERT_EQ(child.line(), "ready");
    EXPECT_EQ(text_of_failure([&] { CommitStore second(file); }),
              file + ": opening it for writing: in use by process " + std::to_string(child.id()));
    child.kill();
    const CommitStore store(file);
    EXPECT_EQ(store.history(10).size(), 1U);
}

TEST(CommitStoreAccess, LetsReadersSeeWhatTheWriterDoes)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    CommitStore writer(file);
    const CommitStore reader(file, Mode::read_only);
    const CommitStore other_reader(file, Mode::read_only);
    for (int count = 0; count < 30; ++count) {
        commit_sample(writer);
        if (count % 10 == 5)
            writer.add_snapshot("<snapshot/>");
        if (count == 20)
            writer.prune(3);
        EXPECT_EQ(text_of(reader), text_of(writer));
    }
    writer.prepare("admin", "commit", "<open/>");
    EXPECT_EQ(text_of(reader), text_of(writer));
    EXPECT_EQ(text_of(other_reader), text_of(writer));
    EXPECT_EQ(in_child([&](const Reports& reports) {
                  reports.say(std::to_string(CommitStore(file, Mode::read_only).history(100).size()));
              }),
              std::to_string(writer.history(100).size()) + "\n");
}

TEST(CommitStoreAccess, RefusesToWriteWhatIsOpenedForReading)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    {
        CommitStore writer(file);
        commit_sample(writer);
    }
    {
        CommitStore reader(file, Mode::read_only);
        EXPECT_EQ(kind_of_failure([&] { reader.prepare("", "", ""); }), Kind::read_only);
        CommitStore(file).prepare("admin", "commit", "<open/>");
    }
    CommitStore reader(file, Mode::read_only);
    const std::string before = text_of(reader);
    const auto id = reader.open_intent()->id;
    EXPECT_EQ(kind_of_failure([&] { reader.finish(id, CommitOutcome::applied, "", "", ""); }), Kind::read_only);
    EXPECT_EQ(kind_of_failure([&] { reader.forget(id); }), Kind::read_only);
    EXPECT_EQ(kind_of_failure([&] { reader.add_snapshot(""); }), Kind::read_only);
    EXPECT_EQ(kind_of_failure([&] { reader.set_document("a", "b"); }), Kind::read_only);
    EXPECT_EQ(kind_of_failure([&] { reader.remove_document("a"); }), Kind::read_only);
    EXPECT_EQ(kind_of_failure([&] { reader.prune(0); }), Kind::read_only);
    EXPECT_EQ(text_of_failure([&] { reader.set_document("a", "b"); }),
              file + ": writing a document: attempt to write a readonly database");
    EXPECT_EQ(text_of(reader), before);
}

// What somebody sees who may read the folder and its files, and write none of them.
std::string seen_by_nobody(const std::string& file)
{
    return as_nobody([&](const Reports& reports) { reports.say(text_of(CommitStore(file, Mode::read_only))); });
}

TEST(CommitStoreAccess, LetsOthersReadWhatTheyMayNotWrite)
{
    if (!may_change_user())
        GTEST_SKIP() << "only root can become another user";
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    std::string text;
    {
        CommitStore writer(file);
        for (int count = 0; count < 20; ++count)
            commit_sample(writer);
        text = text_of(writer) + "\n";
        EXPECT_EQ(seen_by_nobody(file), text) << "beside the writer";
    }
    EXPECT_EQ(seen_by_nobody(file), text) << "after the writer";

    const TemporaryFolder elsewhere;
    const std::string copy = elsewhere.file("a ?#%41 copy");
    std::filesystem::copy_file(file, copy);
    EXPECT_EQ(seen_by_nobody(copy), text) << "a copy of the file alone";
    EXPECT_FALSE(std::filesystem::exists(copy + "-wal"));
}

TEST(CommitStoreAccess, LetsOthersSeeAWriterThatComesLater)
{
    if (!may_change_user())
        GTEST_SKIP() << "only root can become another user";
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    static_cast<void>(CommitStore(file));
    ChildProcess child([&](const Reports& reports) {
        become_nobody();
        const CommitStore reader(file, Mode::read_only);
        reports.say("ready");
        for (int tries = 0; tries < 5000 && reader.history(1).empty(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        reports.say(text_of(reader));
    });
    ASSERT_EQ(child.line(), "ready");
    CommitStore writer(file);
    commit_sample(writer);
    EXPECT_EQ(child.rest(), text_of(writer) + "\n");
}

TEST(CommitStoreAccess, LetsOthersReadWhatAKilledWriterHasLeft)
{
    if (!may_change_user())
        GTEST_SKIP() << "only root can become another user";
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    ChildProcess child([&](const Reports& reports) {
        CommitStore writer(file);
        for (int count = 0; count < 20; ++count)
            commit_sample(writer);
        reports.say("ready");
        pause();
    });
    ASSERT_EQ(child.line(), "ready");
    child.kill();
    const std::string seen = seen_by_nobody(file);
    EXPECT_EQ(seen, text_of(CommitStore(file)) + "\n");
    EXPECT_THAT(seen, HasSubstr("line of 20"));
}

TEST(CommitStoreAccess, RefusesToWriteWhereOneMayNot)
{
    if (!may_change_user())
        GTEST_SKIP() << "only root can become another user";
    const TemporaryFolder folder;
    const std::string file = folder.file("store");
    const auto attempt = [&](const std::string& name) {
        return as_nobody([&](const Reports& reports) {
            try {
                const CommitStore store(name);
                reports.say("opened");
            } catch (const StoreError& error) {
                reports.say(std::to_string(error.kind() == Kind::read_only) + " " + error.what());
            }
        });
    };
    const std::string denied = "1 " + file + ": locking it by " + file + ".lock: Permission denied\n";
    EXPECT_EQ(attempt(file), denied) << "a new store in a folder that cannot be written";
    EXPECT_FALSE(std::filesystem::exists(file));
    static_cast<void>(CommitStore(file));
    EXPECT_EQ(attempt(file), denied) << "another's store";

    // The folder may be written, the file not.
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    std::filesystem::remove(file + ".lock");
    EXPECT_EQ(attempt(file), "1 " + file + ": opening it for writing: not permitted\n");
}

} // namespace

} // namespace qnips
