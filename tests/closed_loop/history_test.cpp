// What the running datastore remembers, and what it makes of a device that does not have it.
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
#include "platform/faulty_platform.h"
#include "random_work.h"
#include "transaction_host.h"
#include "transapi/command_platform.h"

namespace qnips::test
{
namespace
{

std::string text_of(const ConfigTree& configuration)
{
    return edit_xml_of(canonical(config_of(configuration.first())));
}

EditRequest profile_edit(const std::string& content, const std::string& name = "web")
{
    return request_of(in_profile(content, name));
}

CommandLine description(const std::string& text)
{
    return {.vsys = "branch", .view = "profile-ips-web", .view_type = "profile-ips", .text = "description " + text};
}

// A datastore whose store is a file, and which can be opened again.
class History : public testing::Test
{
protected:
    History() { open(); }

    void open()
    {
        datastore_.reset();
        store_.reset();
        store_.emplace(folder_.file("history.db"));
        datastore_.emplace(world().schema, world().table, device_, *store_);
    }

    std::vector<std::string> drift() { return lines_of(datastore_->drift()); }

    TemporaryFolder folder_;
    EmulatedPlatform device_{world().catalogue};
    std::optional<CommitStore> store_;
    std::optional<RunningDatastore> datastore_;
};

TEST_F(History, BringsBackEveryConfigurationThereWas)
{
    RandomWork work(3);
    std::map<std::int64_t, std::string> texts;
    std::size_t rolled_back = 0;
    for (int round = 0; round < 120 && !HasFailure(); ++round) {
        if (work.random()() % 20 == 0)
            open();
        EditOutcome outcome;
        if (texts.size() > 5 && work.random()() % 10 == 0) {
            const auto chosen = std::next(texts.begin(), static_cast<long>(work.random()() % texts.size()));
            const ConfigTree goal = datastore_->at(chosen->first);
            EXPECT_EQ(text_of(goal), chosen->second);
            outcome = datastore_->replace(goal, {"tester", fmt::format("rollback {}", chosen->first)});
            rolled_back += outcome.errors.empty() ? 1U : 0U;
            EXPECT_EQ(outcome.errors.empty(), text_of(datastore_->configuration()) == chosen->second);
        } else if (const std::string edit = work.edit(*datastore_); !edit.empty()) {
            try {
                outcome = datastore_->edit(request_of(edit), tester);
            } catch (const RpcError&) {
                continue;
            }
        }
        EXPECT_THAT(drift(), testing::IsEmpty());
        if (outcome.effect == EditOutcome::Effect::whole)
            texts[outcome.commit] = text_of(datastore_->configuration());
    }
    EXPECT_GT(rolled_back, 5U);
    const std::string running = text_of(datastore_->configuration());
    open();
    EXPECT_EQ(text_of(datastore_->configuration()), running);
    for (const auto& [commit, text] : texts)
        EXPECT_EQ(text_of(datastore_->at(commit)), text) << commit;
    EXPECT_THROW((void)datastore_->at(100000), std::out_of_range);
}

TEST_F(History, KeepsWhoDidWhatWithItsLines)
{
    const EditOutcome outcome =
        datastore_->edit(profile_edit("<description>shop</description>"), {"ann", "edit-config"});
    ASSERT_TRUE(outcome.errors.empty());
    const std::optional<CommitRecord> record = store_->commit(outcome.commit);
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->user, "ann");
    EXPECT_EQ(record->origin, "edit-config");
    EXPECT_EQ(record->outcome, CommitOutcome::applied);
    EXPECT_EQ(record->lines, "profile type ips name \"web\"  (vsys branch, view system)\n"
                             "description shop  (vsys branch, view profile-ips-web, type profile-ips)\n");
    EXPECT_THAT(record->edit, testing::HasSubstr("<description>shop</description>"));
    EXPECT_EQ(record->message, "");
}

TEST_F(History, HasNothingOfAnEditThatChangesNothingOrIsRefusedAtOnce)
{
    EXPECT_EQ(datastore_->edit(profile_edit("", "web"), tester).commit, 1);
    EXPECT_EQ(datastore_->edit(profile_edit("", "web"), tester).commit, 0);
    EXPECT_THROW((void)datastore_->edit(profile_edit(R"(<description nc:operation="delete"/>)"), tester), RpcError);
    EXPECT_EQ(store_->history(10).size(), 1U);
}

// The edit is kept with the place that a new entry has got, which names the entry before it by its key.
TEST_F(History, KeepsThePlaceBehindAnEntryWhateverItsName)
{
    for (const char* name : {"it's", "plain", "'", "=]['x"}) {
        ASSERT_TRUE(datastore_->edit(profile_edit(in_set(name)), tester).errors.empty()) << name;
        const EditOutcome outcome = datastore_->edit(profile_edit(in_set(fmt::format("behind-{}", name))), tester);
        ASSERT_TRUE(outcome.errors.empty()) << shown(outcome.errors);
        const std::string running = text_of(datastore_->configuration());
        EXPECT_EQ(text_of(datastore_->at(outcome.commit)), running) << store_->commit(outcome.commit)->edit;
        open();
        EXPECT_EQ(text_of(datastore_->configuration()), running) << name;
    }
}

TEST_F(History, SaysWhyAnEditWasTakenBack)
{
    FaultyPlatform channel(device_);
    RunningDatastore datastore(world().schema, world().table, channel, *store_);
    channel.set({.kind = Fault::Kind::line_refused, .number = 2});
    const EditOutcome outcome = datastore.edit(profile_edit("<description>shop</description>"), tester);
    ASSERT_EQ(outcome.errors.size(), 1U);
    EXPECT_EQ(outcome.effect, EditOutcome::Effect::none);
    const std::optional<CommitRecord> record = store_->commit(outcome.commit);
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->outcome, CommitOutcome::rolled_back);
    EXPECT_EQ(record->edit, "");
    EXPECT_THAT(record->message, testing::HasSubstr("description: the device has failed (line \"description shop\""));
    EXPECT_EQ(record->lines, "profile type ips name \"web\"  (vsys branch, view system)\n"
                             "undo profile type ips name \"web\"  (vsys branch, view system)\n");
}

TEST(RecordNumber, IsInTheOutcomeOfEachEdit)
{
    TransactionHost host;
    RandomWork work(7);
    std::size_t parts = 0;
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const std::string edit = work.edit(host.datastore);
        if (edit.empty())
            continue;
        std::size_t lines = 0;
        const std::size_t refused = 1 + work.random()() % 4;
        host.platform.refuses = [&](const CommandLine&) { return lines++ == refused; };
        const std::int64_t before = host.newest().id;
        try {
            const EditOutcome outcome = host.edit(edit, ErrorOption::stop_on_error);
            const std::int64_t after = host.newest().id;
            EXPECT_EQ(outcome.commit, after == before ? 0 : after) << shown(outcome.errors);
            parts += outcome.effect == EditOutcome::Effect::part ? 1U : 0U;
        } catch (const RpcError&) {
            EXPECT_EQ(host.newest().id, before) << "refused before anything was sent";
        }
    }
    EXPECT_GT(parts, 20U);
}

// The device falls back to what it had when it refuses a line. There is a record all the same, since lines were sent.
TEST(RecordNumber, IsThereWhenNoPartIsLeft)
{
    TransactionHost host;
    host.prepare(in_profile("<description>old</description>"));
    host.platform.refuses = [&](const CommandLine& line) {
        if (line.text != "assoc-check enable")
            return false;
        host.by_hand(description("old"));
        return true;
    };
    const EditOutcome outcome =
        host.edit(in_profile("<description>new</description><associated-check-enable>true</associated-check-enable>"),
                  ErrorOption::stop_on_error);
    EXPECT_EQ(outcome.errors.size(), 1U) << shown(outcome.errors);
    EXPECT_EQ(outcome.effect, EditOutcome::Effect::none);
    const CommitRecord record = host.newest();
    EXPECT_EQ(record.id, 2);
    EXPECT_EQ(record.id, outcome.commit);
    EXPECT_EQ(record.outcome, CommitOutcome::rolled_back);
    EXPECT_THAT(record.lines, testing::HasSubstr("description new"));
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

// ------------------------------------------------------------------------------------------------------- drift --

TEST_F(History, ShowsAndEndsADriftInBothDirections)
{
    ASSERT_TRUE(datastore_->edit(profile_edit("<description>shop</description>"), tester).errors.empty());
    const std::string path =
        "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']/description = ";
    ASSERT_FALSE(device_.execute(std::vector{description("by hand")}, API_CMD_MOD));
    EXPECT_THAT(drift(), testing::ElementsAre("-" + path + "shop", "+" + path + "by hand"));

    EXPECT_TRUE(datastore_->repair_device({"ann", "repair"}).done());
    EXPECT_THAT(drift(), testing::IsEmpty());
    EXPECT_EQ(store_->history(1).front().origin, "repair");

    ASSERT_FALSE(device_.execute(std::vector{description("by hand")}, API_CMD_MOD));
    const std::int64_t commit = datastore_->repair_datastore({"ann", "take"});
    EXPECT_THAT(drift(), testing::IsEmpty());
    EXPECT_THAT(text_of(datastore_->configuration()), testing::HasSubstr("by hand"));
    EXPECT_THAT(store_->commit(commit)->edit, testing::HasSubstr("by hand"));
    EXPECT_EQ(datastore_->repair_datastore({"ann", "take"}), 0);
    open();
    EXPECT_THAT(text_of(datastore_->configuration()), testing::HasSubstr("by hand"));
}

TEST_F(History, HasNothingOfARepairThatFindsNoDrift)
{
    ASSERT_TRUE(datastore_->edit(profile_edit("<description>shop</description>"), tester).errors.empty());
    EXPECT_TRUE(datastore_->repair_device({"ann", "repair"}).done());
    EXPECT_EQ(datastore_->repair_datastore({"ann", "take"}), 0);
    EXPECT_EQ(store_->history(10).size(), 1U);
    EXPECT_FALSE(store_->open_intent().has_value());
}

TEST_F(History, LeavesADriftAloneThatAFailedEditHasNotMade)
{
    ASSERT_TRUE(datastore_->edit(profile_edit("<description>shop</description>"), tester).errors.empty());
    ASSERT_FALSE(device_.execute(std::vector{description("by hand")}, API_CMD_MOD));
    const std::vector<std::string> before = drift();
    FaultyPlatform channel(device_);
    RunningDatastore datastore(world().schema, world().table, channel, *store_);
    channel.set({.kind = Fault::Kind::line_refused, .number = 2});
    EXPECT_EQ(datastore.edit(profile_edit("<description>other</description>", "mail"), tester).effect,
              EditOutcome::Effect::none);
    EXPECT_EQ(drift(), before);
}

// ------------------------------------------------------------------------------------------------------- start --

TEST_F(History, GivesTheConfigurationToADeviceThatHasNone)
{
    ASSERT_TRUE(datastore_->edit(profile_edit("<description>shop</description>"), tester).errors.empty());
    EmulatedPlatform fresh(world().catalogue);
    RunningDatastore datastore(world().schema, world().table, fresh, *store_);
    std::vector<std::size_t> steps;
    const StartOutcome start = datastore.start([&](std::size_t done, std::size_t all) {
        steps.push_back(done);
        EXPECT_LE(done, all);
    });
    EXPECT_TRUE(start.errors.empty());
    EXPECT_TRUE(start.drift.empty());
    EXPECT_GT(start.restored, 0U);
    EXPECT_EQ(steps.size(), start.restored);
    EXPECT_EQ(store_->history(10).size(), 1U) << "a restore is no commit";
}

TEST_F(History, LeavesADeviceWithAnotherConfigurationAlone)
{
    ASSERT_TRUE(datastore_->edit(profile_edit("<description>shop</description>"), tester).errors.empty());
    ASSERT_FALSE(device_.execute(std::vector{description("by hand")}, API_CMD_MOD));
    const std::string before = device_.configuration().text();
    const StartOutcome start = datastore_->start();
    EXPECT_EQ(start.drift.size(), 2U);
    EXPECT_EQ(start.restored, 0U);
    EXPECT_EQ(device_.configuration().text(), before);
}

TEST_F(History, EndsAnInterruptedEditByWhatTheDeviceHasOfIt)
{
    const std::string profile = "profile type ips name \"web\"";
    const CommandLine create{.vsys = "branch", .view = "system", .view_type = {}, .text = profile};
    const std::string edit = [&] {
        EmulatedPlatform other(world().catalogue);
        CommitStore store(":memory:");
        RunningDatastore datastore(world().schema, world().table, other, store);
        return store.commit(datastore.edit(profile_edit("<description>shop</description>"), tester).commit)->edit;
    }();
    for (const int lines : {0, 1, 2}) {
        SCOPED_TRACE(lines);
        device_.remove_vsys("branch");
        store_->prepare("ann", "edit-config", edit);
        std::vector<CommandLine> script{create, description("shop")};
        script.resize(static_cast<std::size_t>(lines));
        ASSERT_FALSE(device_.execute(script, API_CMD_ADD));
        open();
        const StartOutcome start = datastore_->start();
        ASSERT_TRUE(start.interrupted.has_value());
        EXPECT_EQ(start.interrupted->user, "ann");
        EXPECT_EQ(start.interrupted_stands, lines == 2);
        EXPECT_TRUE(start.drift.empty());
        EXPECT_TRUE(start.errors.empty());
        EXPECT_EQ(device_.configuration().text().find("<profile>") == std::string::npos, lines < 2);
        EXPECT_EQ(datastore_->configuration().first() == nullptr, lines < 2);
        EXPECT_FALSE(store_->open_intent().has_value());
        EXPECT_FALSE(datastore_->start().interrupted.has_value());
    }
}

// --------------------------------------------------------------------------------------------------- the store --

// A start reads the edits since the last snapshot, so there has to be one from time to time; and with it older records
// can go.
TEST_F(History, IsBoundedByItsSize)
{
    datastore_->keep_commits(2);
    std::vector<std::string> goals;
    for (const char letter : {'a', 'b'}) {
        std::string profiles;
        for (int i = 0; i < 400; ++i)
            profiles += fmt::format("<profile><name>p{}</name><description>{}</description></profile>", i,
                                    std::string(255, letter));
        goals.push_back(in_vsys("<profiles>" + profiles + "</profiles>"));
    }
    constexpr std::size_t edits = 20; // of 120 kilobytes
    for (std::size_t round = 0; round < edits; ++round) {
        const EditOutcome outcome = datastore_->edit(request_of(goals[round % 2]), tester);
        ASSERT_TRUE(outcome.errors.empty()) << shown(outcome.errors);
    }
    const CommitStore::Reconstruction parts = store_->running();
    EXPECT_NE(parts.snapshot, "");
    EXPECT_LT(parts.edits.size(), 15U);
    const std::size_t records = store_->history(100).size();
    EXPECT_GE(records, 2U);
    EXPECT_LT(records, edits);
    const std::string running = text_of(datastore_->configuration());
    open();
    EXPECT_EQ(text_of(datastore_->configuration()), running);
}

TEST(HistoryOfFailedEdits, IsBoundedByTheirNumber)
{
    TransactionHost host;
    host.datastore.keep_commits(10);
    host.prepare(in_profile("<description>shop</description>"));
    host.platform.refuses = [](const CommandLine& line) { return line.text.starts_with("description other"); };
    constexpr std::size_t edits = 800;
    for (std::size_t i = 0; i < edits; ++i)
        EXPECT_EQ(host.edit(in_profile("<description>other</description>", "mail")).effect, EditOutcome::Effect::none);
    const std::size_t records = host.store.history(edits).size();
    EXPECT_GE(records, 10U);
    EXPECT_LT(records, edits / 2);
    EXPECT_THAT(host.newest().message, testing::HasSubstr("the device has failed"));
}

} // namespace
} // namespace qnips::test
