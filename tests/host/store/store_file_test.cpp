// Opening a kept file: what is made, what is refused and left alone, and how an older version becomes a newer one.
#include "store/store_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "host/store/damaged_file.h"
#include "host/store/store_texts.h"
#include "host/store/temporary_folder.h"

namespace qnips
{

namespace
{

using ::testing::HasSubstr;
using Kind = StoreError::Kind;
using Mode = StoreFile::Mode;

constexpr const char* table_of_one = "CREATE TABLE names (name TEXT NOT NULL) STRICT";
constexpr const char* table_of_two = "CREATE TABLE people (name TEXT NOT NULL, age INTEGER) STRICT";
constexpr const char* to_two = "CREATE TABLE people (name TEXT NOT NULL, age INTEGER) STRICT;"
                               "INSERT INTO people SELECT name, 7 FROM names; DROP TABLE names";
constexpr std::array<const char*, 1> steps_to_two = {to_two};
constexpr std::array<const char*, 1> failing_steps = {"DROP TABLE names; DROP TABLE nothing"};
constexpr std::array<const char*, 1> steps_to_elsewhere = {"DROP TABLE names"};

StoreFormat version_one()
{
    return {.name = "list of names", .application_id = 77, .schema = table_of_one, .migrations = {}};
}

StoreFormat version_two(const std::array<const char*, 1>& steps = steps_to_two)
{
    return {.name = "list of names", .application_id = 77, .schema = table_of_two, .migrations = steps};
}

std::string names(StoreFile& store, const std::string& sql)
{
    Statement statement(store.database(), sql, "reading");
    std::string text;
    for (Rows rows = statement.query(); rows.next();)
        text += rows.text(0) + ' ';
    return text;
}

std::string made_file(const TemporaryFolder& folder)
{
    std::string file = folder.file("list");
    StoreFile store(file, Mode::read_write, version_one());
    store.database().execute("INSERT INTO names VALUES ('ann'), ('bob')", "filling it");
    return file;
}

TEST(StoreFileOpening, MakesAFileThatKeepsWhatIsWritten)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    StoreFile store(file, Mode::read_write, version_one());
    EXPECT_EQ(names(store, "SELECT name FROM names"), "ann bob ");
    EXPECT_EQ(names(store, "PRAGMA journal_mode"), "wal ");
    EXPECT_EQ(names(store, "PRAGMA synchronous"), "2 "); // FULL
    EXPECT_FALSE(std::filesystem::exists(file + ".new"));
}

TEST(StoreFileOpening, StartsAnewWhatWasNeverFinished)
{
    const TemporaryFolder folder;
    write_file(folder.file("list.new"), "half a file");
    StoreFile store(folder.file("list"), Mode::read_write, version_one());
    EXPECT_EQ(names(store, "SELECT name FROM names"), "");
}

TEST(StoreFileOpening, BringsAnOlderVersionUpToDate)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    EXPECT_EQ(text_of_failure([&] { StoreFile(file, Mode::read_only, version_two()); }),
              file + ": opening it for reading: of version 1; opening it for writing once brings it to version 2");
    {
        StoreFile store(file, Mode::read_write, version_two());
        EXPECT_EQ(names(store, "SELECT name || age FROM people"), "ann7 bob7 ");
    }
    StoreFile store(file, Mode::read_only, version_two());
    EXPECT_EQ(names(store, "SELECT name || age FROM people"), "ann7 bob7 ");
}

TEST(StoreFileOpening, LeavesAnOlderVersionAsItIsWhenAStepFails)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    const std::string before = content_of(file);
    EXPECT_THAT(text_of_failure([&] { StoreFile(file, Mode::read_write, version_two(failing_steps)); }),
                HasSubstr(file + ": bringing it from version 1 to 2: "));
    EXPECT_EQ(kind_of_failure([&] { StoreFile(file, Mode::read_write, version_two(steps_to_elsewhere)); }),
              Kind::corrupt);
    EXPECT_EQ(content_of(file), before);
    StoreFile store(file, Mode::read_write, version_one());
    EXPECT_EQ(names(store, "SELECT name FROM names"), "ann bob ");
}

TEST(StoreFileOpening, RefusesANewerVersion)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("list");
    {
        const StoreFile store(file, Mode::read_write, version_two());
    }
    const std::string before = content_of(file);
    for (const Mode mode : {Mode::read_write, Mode::read_only}) {
        EXPECT_EQ(kind_of_failure([&] { StoreFile(file, mode, version_one()); }), Kind::newer_version);
        EXPECT_EQ(text_of_failure([&] { StoreFile(file, mode, version_one()); }),
                  file + ": opening it: a list of names of version 2, and 1 is the newest this program knows");
    }
    EXPECT_EQ(content_of(file), before);
}

TEST(StoreFileOpening, RefusesANewerVersionThatOnlyTheLogKnows)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    {
        // Ends without emptying its log, as a process does that is killed.
        const Database database(file, Database::Access::read_write);
        database.execute("PRAGMA user_version = 2", "changing its version");
    }
    const std::string before = content_of(file);
    const std::string log = content_of(file + "-wal");
    ASSERT_FALSE(log.empty());
    for (const Mode mode : {Mode::read_write, Mode::read_only})
        EXPECT_EQ(kind_of_failure([&] { StoreFile(file, mode, version_one()); }), Kind::newer_version);
    EXPECT_EQ(content_of(file), before);
    EXPECT_EQ(content_of(file + "-wal"), log);
}

TEST(StoreFileOpening, RefusesWhatIsNotOurs)
{
    const TemporaryFolder folder;
    const std::string sound = content_of(made_file(folder));
    const std::string other = folder.file("other");
    {
        const StoreFile store(
            other, Mode::read_write,
            {.name = "other", .application_id = 78, .schema = "CREATE TABLE names (name TEXT)", .migrations = {}});
    }
    const auto with_version = [&](char version) {
        std::string content = sound;
        content.at(version_place + 3) = version;
        return content;
    };
    // Nothing that is read at opening hangs on the number of free pages.
    std::string with_free_page = sound;
    with_free_page.at(39) = 1;
    struct Case {
        std::string content;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {"", "opening it: no list of names: too short"},
        {std::string(4096, '\0'), "opening it: no list of names: no database"},
        {std::string(200, 'x'), "opening it: no list of names: no database"},
        {content_of(other), "opening it: no list of names: a database of another program"},
        {with_version(0), "opening it: a list of names of version 0, which there has never been"},
        {sound.substr(0, 99), "opening it: no list of names: too short"},
        {with_free_page, "checking it: *** in database main *** Main freelist: size is 0 but should be 1"},
        {sound.substr(0, 4096), "checking it: database disk image is malformed"},
    };
    const std::string file = folder.file("refused");
    for (const Case& item : cases) {
        write_file(file, item.content);
        for (const Mode mode : {Mode::read_write, Mode::read_only}) {
            EXPECT_EQ(kind_of_failure([&] { StoreFile(file, mode, version_one()); }), Kind::corrupt) << item.reason;
            EXPECT_EQ(text_of_failure([&] { StoreFile(file, mode, version_one()); }), file + ": " + item.reason);
            EXPECT_EQ(content_of(file), item.content) << item.reason;
        }
    }
}

TEST(StoreFileOpening, RefusesTablesThatAreNotOurs)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    StoreFile(file, Mode::read_write, version_one()).database().execute("CREATE TABLE more (a)", "adding a table");
    EXPECT_EQ(text_of_failure([&] { StoreFile(file, Mode::read_write, version_one()); }),
              file + ": opening it: its tables are not those of a list of names of version 1");
}

TEST(StoreFileOpening, SaysWhyAFileCannotBeReached)
{
    const TemporaryFolder folder;
    const std::string missing = folder.file("missing");
    EXPECT_EQ(kind_of_failure([&] { StoreFile(missing, Mode::read_only, version_one()); }), Kind::io);
    EXPECT_EQ(text_of_failure([&] { StoreFile(missing, Mode::read_only, version_one()); }),
              missing + ": opening it: unable to open database file (No such file or directory)");
    EXPECT_FALSE(std::filesystem::exists(missing));

    const std::string nowhere = folder.file("no/folder");
    EXPECT_EQ(text_of_failure([&] { StoreFile(nowhere, Mode::read_write, version_one()); }),
              nowhere + ": locking it by " + nowhere + ".lock: No such file or directory");
    EXPECT_EQ(kind_of_failure([&] { StoreFile(folder.path().string(), Mode::read_only, version_one()); }), Kind::io);
}

TEST(StoreFileOpening, FindsTheSameFileByAnotherName)
{
    const TemporaryFolder folder;
    const std::string file = made_file(folder);
    std::filesystem::create_symlink(file, folder.file("link"));
    const StoreFile store(file, Mode::read_write, version_one());
    for (const std::string& name : {folder.file("link"), folder.file("./list")})
        EXPECT_EQ(kind_of_failure([&] { StoreFile(name, Mode::read_write, version_one()); }), Kind::in_use) << name;
}

TEST(StoreTransaction, IsTakenBackUnlessItIsCommitted)
{
    const Database database(":memory:", Database::Access::create);
    database.execute("CREATE TABLE numbers (number INTEGER)", "making it");
    Statement add(database, "INSERT INTO numbers VALUES (?1)", "adding a number");
    {
        const Transaction transaction(database, "adding");
        add.run(std::int64_t{1});
    }
    {
        Transaction transaction(database, "adding");
        add.run(std::int64_t{2});
        transaction.commit();
    }
    Statement all(database, "SELECT number FROM numbers", "reading");
    Rows rows = all.query();
    ASSERT_TRUE(rows.next());
    EXPECT_EQ(rows.integer(0), 2);
    EXPECT_FALSE(rows.next());
    EXPECT_FALSE(database.in_transaction());
}

TEST(StoreStatement, SaysWhatWasBeingDone)
{
    const Database database(":memory:", Database::Access::create);
    EXPECT_EQ(text_of_failure([&] { Statement(database, "SELECT * FROM missing", "reading the list"); }),
              ":memory:: reading the list: SQL logic error (no such table: missing)");
}

} // namespace

} // namespace qnips
