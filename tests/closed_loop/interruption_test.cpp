// The first start after a process that has ended in the middle: of an edit, of its taking back, of giving a device its
// configuration.
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/device_dump.h"
#include "random_work.h"
#include "transaction_host.h"
#include "transapi/command_platform.h"

namespace qnips::test
{
namespace
{

const CommandLine make_web{
    .vsys = "branch", .view = "system", .view_type = {}, .text = "profile type ips name \"web\""};

// ------------------------------------------------------------------------------------------------- crash points --

// A device, and a store with an intent, as a process that has ended after the first scripts of an edit leaves them.
struct Remains {
    Remains(const std::string& device_before, const ConfigTree& before, const std::string& edit)
    {
        device.restore(device_before);
        store.add_snapshot(tree_text(before.first()));
        store.prepare("ann", "edit-config", edit);
    }

    void take(const Sent& sent)
    {
        if (sent.vsys.empty())
            EXPECT_FALSE(device.execute(sent.script, API_CMD_ADD));
        else
            device.remove_vsys(sent.vsys);
    }

    EmulatedPlatform device{world().catalogue};
    CommitStore store{":memory:"};
};

// Carries out an edit, and looks at the start after each number of its scripts. Returns how many these were.
std::size_t crash_everywhere(TransactionHost& host, const std::string& xml)
{
    const EditRequest request = request_of(xml);
    const ConfigTree before = copy_of(host.datastore.configuration());
    const std::string dumped = dump(host.device.device());
    const std::string text = text_of_edit(before, request);
    host.platform.sent.clear();
    try {
        host.datastore.edit(request, tester);
    } catch (const RpcError&) {
        return 0; // refused before anything was sent
    }
    const std::vector<Sent>& all = host.platform.sent;
    for (std::size_t count = 0; count <= all.size(); ++count) {
        Remains remains(dumped, before, text);
        for (std::size_t i = 0; i < count; ++i)
            remains.take(all[i]);
        RunningDatastore datastore(world().schema, world().table, remains.device, remains.store);
        const StartOutcome start = datastore.start();
        const auto story = [&] { return fmt::format("after {} of the scripts\n{}", count, shown(all)); };
        EXPECT_TRUE(start.errors.empty()) << story() << shown(start.errors);
        EXPECT_THAT(lines_of(start.drift), testing::IsEmpty()) << story();
        EXPECT_FALSE(remains.store.open_intent().has_value()) << story();
    }
    return all.size() + 1;
}

std::string signature(const std::string& protocol, const std::string& rules)
{
    return in_vsys(fmt::format("<user-defined-signatures><signature><id>7</id><associated-enable>false"
                               "</associated-enable><name>robot</name><signature-rule-information><protocol-rules>"
                               "<protocol>{}</protocol><rules>{}</rules></protocol-rules>"
                               "</signature-rule-information></signature></user-defined-signatures>",
                               protocol, rules));
}

TEST(Interruption, InTheMiddleOfAnEntryThatIsReplacedLeavesNothingHalf)
{
    TransactionHost host;
    host.prepare(signature("HTTP", "<signature-rule><name>r</name><scope>flow</scope><basic-conditions>"
                                   "<rule-condition><id>0</id><field-name>uri</field-name><operator>pattern-match"
                                   "</operator><value>abc</value></rule-condition></basic-conditions>"
                                   "</signature-rule>"));
    EXPECT_GT(crash_everywhere(host, signature("FTP", "")), 4U);
}

TEST(Interruption, AfterEachScriptOfRandomEditsLeavesNothingHalf)
{
    TransactionHost host;
    RandomWork work(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)));
    const unsigned long edits = number_from("QN_IPS_FAULTED_EDITS", 60);
    std::size_t points = 0;
    for (unsigned long round = 0; round < edits && !HasFailure(); ++round) {
        const std::string edit = work.edit(host.datastore);
        if (!edit.empty())
            points += crash_everywhere(host, edit);
    }
    EXPECT_GT(points, 5 * edits);
}

// ------------------------------------------------------------------------------------------- an edit that is open --

TEST(Interruption, IsNotForgottenWhenTheStartHasFailed)
{
    EmulatedPlatform device(world().catalogue);
    FaultyPlatform channel(device);
    CommitStore store(":memory:");
    const EditRequest request = request_of(in_profile("<description>shop</description>"));
    store.prepare("ann", "edit-config", text_of_edit(ConfigTree(), request));
    ASSERT_FALSE(device.execute(std::vector{make_web}, API_CMD_ADD));
    RunningDatastore datastore(world().schema, world().table, channel, store);
    channel.set({.kind = Fault::Kind::channel_lost, .number = 1});
    EXPECT_THROW(datastore.start(), RpcError);
    channel.clear();
    EXPECT_TRUE(datastore.edit(request_of(in_profile("", "mail")), tester).errors.empty());
    const std::vector<CommitRecord> history = store.history(10);
    ASSERT_EQ(history.size(), 2U) << "the edit of ann has been forgotten";
    EXPECT_EQ(history.back().user, "ann");
    EXPECT_EQ(history.back().outcome, CommitOutcome::rolled_back);
    EXPECT_THAT(lines_of(datastore.start().drift), testing::IsEmpty());
}

// As one of another release may be. The first start ends it, and the next one knows nothing of it.
TEST(Interruption, OfAnEditThatDoesNotFitTheSchemaIsTold)
{
    EmulatedPlatform device(world().catalogue);
    CommitStore store(":memory:");
    store.prepare("ann", "edit-config",
                  R"(<config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><other xmlns="urn:other"/></config>)");
    const StartOutcome first = RunningDatastore(world().schema, world().table, device, store).start();
    ASSERT_EQ(first.errors.size(), 1U);
    EXPECT_THAT(first.errors.front().what(), testing::HasSubstr("<other>"));
    EXPECT_EQ(store.history(1).front().outcome, CommitOutcome::abandoned);
    const StartOutcome second = RunningDatastore(world().schema, world().table, device, store).start();
    EXPECT_TRUE(second.errors.empty());
    EXPECT_FALSE(second.interrupted.has_value());
}

TEST(Interruption, OfAnEditThatCannotBeTakenBackIsToldWithTheReason)
{
    TransactionHost host;
    const EditRequest request = request_of(in_profile("<description>shop</description>"));
    host.store.prepare("ann", "edit-config", text_of_edit(ConfigTree(), request));
    host.by_hand(make_web);
    host.platform.refuses = [](const CommandLine&) { return true; };
    const StartOutcome start = host.datastore.start();
    ASSERT_EQ(start.errors.size(), 1U);
    const CommitRecord record = host.newest();
    EXPECT_EQ(record.outcome, CommitOutcome::rollback_failed);
    EXPECT_THAT(record.message, testing::HasSubstr("the device has failed"));
    EXPECT_THAT(record.message, testing::Not(testing::HasSubstr("taken back")));
}

// --------------------------------------------------------------------------------------- a device without anything --

TEST(FreshDevice, GetsAllEvenIfAnEditWasInterrupted)
{
    TransactionHost host;
    host.prepare(in_profile("<description>shop</description>"));
    host.prepare(in_profile("<description>shop</description>", "mail"));
    const EditRequest request = request_of(in_profile("<description>other</description>"));
    host.store.prepare("ann", "edit-config", text_of_edit(host.datastore.configuration(), request));
    EmulatedPlatform fresh(world().catalogue);
    RunningDatastore datastore(world().schema, world().table, fresh, host.store);
    EXPECT_THAT(lines_of(datastore.start().drift), testing::IsEmpty());
}

TEST(FreshDevice, GetsTheRestAtTheNextStart)
{
    TransactionHost host;
    host.prepare(in_profile("<description>shop</description>"));
    EmulatedPlatform fresh(world().catalogue);
    FaultyPlatform channel(fresh);
    channel.set({.kind = Fault::Kind::channel_lost, .number = 3});
    EXPECT_THROW(RunningDatastore(world().schema, world().table, channel, host.store).start(), RpcError);
    EXPECT_TRUE(channel.has_happened());
    channel.clear();
    EXPECT_THAT(lines_of(RunningDatastore(world().schema, world().table, channel, host.store).start().drift),
                testing::IsEmpty());
}

TEST(FreshDevice, GetsWhatItTakesWhenItRefusesALine)
{
    TransactionHost host;
    for (const char* name : {"first", "middle", "last"})
        host.prepare(in_profile("<description>shop</description>", name));
    TransactionHost other;
    other.platform.refuses = [](const CommandLine& line) {
        return line.text.starts_with("description") && line.view == "profile-ips-middle";
    };
    RunningDatastore datastore(world().schema, world().table, other.platform, host.store);
    const StartOutcome start = datastore.start();
    ASSERT_EQ(start.errors.size(), 1U) << shown(start.errors);
    EXPECT_THAT(start.errors.front().path(), testing::EndsWith("profile[name='middle']/description"));
    EXPECT_THAT(lines_of(start.drift),
                testing::ElementsAre("-/ips-config/user-defined-ips/vsys[name='branch']/profiles/"
                                     "profile[name='middle']/description = shop"))
        << shown(other.platform.sent);
}

} // namespace
} // namespace qnips::test
