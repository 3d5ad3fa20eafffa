// A state folder that cannot be used: another process has it, it is damaged, it may not be written, there is no room.
// The program says which file and why, ends with 1, and what was there is still there.
#include <linux/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "end_to_end/state_fixture.h"
#include "host/store/child_process.h"
#include "store/commit_store.h"

namespace qnips::test
{

namespace
{

using ::testing::HasSubstr;

std::string profile_edit(const std::string& profiles)
{
    return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"><user-defined-ips><vsys>)"
           "<name>branch</name><profiles>" +
           profiles + "</profiles></vsys></user-defined-ips></ips-config>";
}

// ----------------------------------------------------------------------------------------------- other processes --

class StateInUse : public State
{
};

TEST_F(StateInUse, IsForOneProcessAtATime)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    const CommitStore mine(file("history.db"));
    const Outcome outcome = apply("remove-webguard.xml");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("history.db"));
    EXPECT_THAT(outcome.errors, HasSubstr("in use by process " + std::to_string(getpid())));
    EXPECT_EQ(lines_of(run({"history"}).output).size(), 1U) << "reading is for anybody";
}

// Each of them makes a profile of its own, or is told that another one has the folder.
TEST_F(StateInUse, TakesTheEditsOfThoseThatGetItAndRefusesTheOthers)
{
    constexpr int processes = 8;
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < processes; ++i) {
        const std::string edit = folder_.file("edit-" + std::to_string(i));
        write_file(edit, profile_edit("<profile><name>p" + std::to_string(i) + "</name></profile>"));
        children.push_back(std::make_unique<ChildProcess>([this, edit](const Reports& reports) {
            const Outcome outcome = run({"apply", edit});
            reports.say(outcome.status == 0 ? "taken" : outcome.errors);
        }));
    }
    std::vector<bool> taken;
    for (const auto& child : children) {
        const std::string said = child->rest();
        taken.push_back(said == "taken\n");
        EXPECT_THAT(said, testing::AnyOf("taken\n", HasSubstr("history.db: opening it for writing: in use by ")));
    }
    const std::string configuration = run({"get-config"}).output;
    std::size_t records = 1;
    for (int i = 0; i < processes; ++i) {
        const bool is_there = configuration.find("<name>p" + std::to_string(i) + "</name>") != std::string::npos;
        EXPECT_EQ(is_there, taken.at(static_cast<std::size_t>(i))) << i;
        records += is_there ? 1U : 0U;
    }
    EXPECT_GT(records, 1U) << "one of them has to get it";
    EXPECT_EQ(lines_of(run({"history"}).output).size(), records);
    EXPECT_EQ(run({"drift"}).status, 0);
}

// -------------------------------------------------------------------------------------------------------- damage --

struct Damage {
    const char* name;
    const char* file;
    std::function<void(std::string& content)> harm;
    const char* said;

    friend void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }
};

class DamagedState : public State, public testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedState, IsRefusedAndLeftAsItIs)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    std::string damaged = content_of(file(GetParam().file));
    GetParam().harm(damaged);
    write_file(file(GetParam().file), damaged);
    const std::string history = content_of(file("history.db"));
    const std::string device = content_of(file("device.db"));
    const auto expect_refusal = [&](const Outcome& outcome) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, HasSubstr(file(GetParam().file)));
        EXPECT_THAT(outcome.errors, HasSubstr(GetParam().said));
    };
    expect_refusal(apply("remove-webguard.xml"));
    expect_refusal(run({"rollback", "1"}));
    expect_refusal(run({"get-config"}));
    expect_refusal(run({"drift", "--repair", "device"}));
    if (history == damaged) {
        expect_refusal(run({"history"}));
    } else {
        EXPECT_EQ(lines_of(run({"history"}).output).size(), 1U) << "the history does not ask the device";
    }
    EXPECT_EQ(content_of(file("history.db")), history);
    EXPECT_EQ(content_of(file("device.db")), device);
}

void make_no_database(std::string& content)
{
    content.replace(0, 9, "<config/>");
}

// The version is the big-endian number at byte 60 of an SQLite file.
void make_newer(std::string& content)
{
    content.replace(60, 4, std::string("\0\0\0\x63", 4));
}

void cut_a_page(std::string& content)
{
    content.resize(content.size() - 4096);
}

void make_empty(std::string& content)
{
    content.clear();
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DamagedState,
    testing::Values(Damage{"history_no_database", "history.db", make_no_database, "no commit store: no database"},
                    Damage{"history_newer_version", "history.db", make_newer, "of version 99, and 1 is the newest"},
                    Damage{"history_cut", "history.db", cut_a_page, "malformed"},
                    Damage{"history_empty", "history.db", make_empty, "no commit store: too short"},
                    Damage{"device_no_database", "device.db", make_no_database, "no device store: no database"},
                    Damage{"device_newer_version", "device.db", make_newer, "of version 99, and 1 is the newest"},
                    Damage{"device_cut", "device.db", cut_a_page, "malformed"},
                    Damage{"device_empty", "device.db", make_empty, "no device store: too short"}),
    [](const auto& damage) { return std::string(damage.param.name); });

// ------------------------------------------------------------------------------------------------------ read-only --

// Root writes where nobody may, unless it gives that right up. The program has it no more then.
void obey_permissions()
{
    if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) != 0)
        throw std::runtime_error("the rights of root cannot be narrowed");
}

class ReadOnlyState : public State
{
protected:
    void SetUp() override
    {
        const std::string said = in_child([](const Reports&) { obey_permissions(); });
        if (!said.empty())
            GTEST_SKIP() << said;
    }
    void TearDown() override { permit(std::filesystem::perms::owner_write, std::filesystem::perm_options::add); }

    void permit(std::filesystem::perms rights, std::filesystem::perm_options how) const
    {
        if (!std::filesystem::exists(lab_))
            return;
        for (const auto& entry : std::filesystem::directory_iterator(lab_))
            std::filesystem::permissions(entry.path(), rights, how);
        std::filesystem::permissions(lab_, rights, how);
    }
};

TEST_F(ReadOnlyState, ShowsItsHistoryAndRefusesTheRest)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    const std::string history = content_of(file("history.db"));
    const std::string device = content_of(file("device.db"));
    const std::string record = run({"show", "1"}).output;
    using std::filesystem::perms;
    permit(perms::owner_write | perms::group_write | perms::others_write, std::filesystem::perm_options::remove);
    const Outcome attempts[] = {apply("remove-webguard.xml", obey_permissions),
                                run({"rollback", "1"}, obey_permissions), run({"get-config"}, obey_permissions),
                                run({"drift", "--repair", "datastore"}, obey_permissions)};
    for (const Outcome& outcome : attempts) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, HasSubstr(file("history.db")));
        EXPECT_THAT(outcome.errors, HasSubstr("Permission denied"));
    }
    const Outcome shown = run({"show", "1"}, obey_permissions);
    EXPECT_EQ(shown.status, 0) << shown;
    EXPECT_EQ(shown.output, record);
    EXPECT_EQ(content_of(file("history.db")), history);
    EXPECT_EQ(content_of(file("device.db")), device);
}

TEST_F(ReadOnlyState, IsNotMadeWhereOneMayNot)
{
    std::filesystem::create_directory(lab_);
    std::filesystem::permissions(lab_, std::filesystem::perms::owner_write, std::filesystem::perm_options::remove);
    const Outcome outcome = apply("create-webguard.xml", obey_permissions);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr(file("history.db")));
    EXPECT_THAT(outcome.errors, HasSubstr("Permission denied"));
    EXPECT_TRUE(std::filesystem::is_empty(lab_));
}

// -------------------------------------------------------------------------------------------------------- no room --

Preparation with_room(std::uintmax_t bytes)
{
    return [bytes] { limit_files(bytes); };
}

struct Room {
    const char* name;
    std::uintmax_t bytes;
    const char* file; // the one that is full first
    const char* said;
    bool loses_record = false; // of the attempt; the next start ends it

    friend void PrintTo(const Room& room, std::ostream* out) { *out << room.bytes << " bytes"; }
};

class StateWithoutRoom : public State, public testing::WithParamInterface<Room>
{
};

TEST_P(StateWithoutRoom, SaysSoAndLosesNothing)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    const std::string before = run({"get-config"}).output;
    const std::string record = run({"show", "1"}).output;
    std::string profiles;
    for (int i = 0; i < 200; ++i)
        profiles += "<profile><name>p" + std::to_string(i) + "</name><description>" + std::string(200, 'x') +
                    "</description></profile>";
    write_file(folder_.file("edit"), profile_edit(profiles));
    const std::vector<std::string> large_edit = {"apply", folder_.file("edit")};

    const Outcome outcome = run(large_edit, with_room(GetParam().bytes));
    EXPECT_EQ(outcome.status, 1) << outcome;
    EXPECT_THAT(outcome.errors, HasSubstr(file(GetParam().file) + ": " + GetParam().said));
    EXPECT_THAT(outcome.errors, HasSubstr("File too large"));

    EXPECT_EQ(outcome.errors.find("recording a commit") != std::string::npos, GetParam().loses_record);

    // A device without room may be left with a part, which is told. The datastore has none of it.
    if (run({"drift"}).status != 0) {
        EXPECT_THAT(outcome.errors, HasSubstr("could not be brought back; see qn-ips drift"));
        EXPECT_EQ(run({"drift", "--repair", "device"}).status, 0);
    }
    EXPECT_EQ(run({"get-config"}).output, before);
    EXPECT_EQ(run({"show", "1"}).output, record);
    EXPECT_EQ(run(large_edit).status, 0) << "there is room again";
    EXPECT_THAT(run({"get-config"}).output, HasSubstr("<name>p199</name>"));
}

INSTANTIATE_TEST_SUITE_P(Places, StateWithoutRoom,
                         testing::Values(Room{"opening", 4096, "history.db", "checking it"},
                                         Room{"announcing", 40'000, "history.db", "announcing an edit"},
                                         Room{"sending_with_a_full_history", 70'000, "device.db", "keeping a script",
                                              true},
                                         Room{"sending", 300'000, "device.db", "keeping a script"}),
                         [](const auto& room) { return std::string(room.param.name); });

} // namespace

} // namespace qnips::test
