// What is left of an edit in the places where taking it back is hard: entries that have to go as a whole, a second
// fault, a device that differed before or refuses whatever it is told.
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "random_work.h"
#include "transaction_host.h"

namespace qnips::test
{
namespace
{

using Effect = EditOutcome::Effect;

// ---------------------------------------------------------------------------------------------------- escalation --

TEST(RestorationEscalation, ASecondFaultInAnEntryThatComesBackIsTakenBackToo)
{
    TransactionHost host;
    host.prepare(in_profile(in_set("s", "<signature-set-action><action>alert</action></signature-set-action>"
                                        "<severity>high</severity><operating-system>windows</operating-system>")));
    int severities = 0;
    host.platform.refuses = [&](const CommandLine& line) {
        if (line.text.starts_with("undo target") || line.text.starts_with("os android"))
            return true;
        return line.text.starts_with("severity") && ++severities == 1;
    };
    const EditOutcome outcome =
        host.edit(in_profile(in_set("s", "<target>client</target><operating-system>android</operating-system>")));
    EXPECT_GT(severities, 1) << "the set has to come back twice\n" << shown(host.platform.sent);
    EXPECT_EQ(outcome.effect, Effect::none) << shown(outcome.errors);
    EXPECT_THAT(host.drift(), testing::IsEmpty()) << shown(host.platform.sent);
}

std::string sets_with(int count, const std::string& action)
{
    std::string sets;
    for (int i = 0; i < count; ++i)
        sets += fmt::format("<signature-set><name>s{}</name><signature-set-action>{}</signature-set-action>"
                            "</signature-set>",
                            i, action);
    return in_profile("<signature-sets>" + sets + "</signature-sets>");
}

// More of them than there are passes.
TEST(RestorationEscalation, ManyEntriesThatHaveToGoAsAWholeAreAllTakenBack)
{
    for (const int count : {5, 23, 24, 30, 60}) {
        SCOPED_TRACE(count);
        TransactionHost host;
        host.prepare(sets_with(count, "<action>alert</action>"));
        int actions = 0;
        host.platform.refuses = [&](const CommandLine& line) {
            return line.text.find("alert") != std::string::npos && ++actions == count;
        };
        const EditOutcome outcome = host.edit(sets_with(count, "<interworking>block-source-ip</interworking>"));
        EXPECT_EQ(outcome.errors.size(), 1U) << shown(outcome.errors);
        EXPECT_EQ(outcome.effect, Effect::none);
        EXPECT_THAT(host.drift(), testing::IsEmpty());
    }
}

// Two lines of each edit are refused, the second one wherever: often in what takes the edit back.
TEST(RestorationEscalation, TwoFaultsInRandomEditsLeaveNoDifference)
{
    TransactionHost host;
    RandomWork work(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)));
    std::size_t taken_back = 0;
    for (unsigned long round = 0; round < number_from("QN_IPS_FAULTED_EDITS", 60) * 20 && !HasFailure(); ++round) {
        const std::string edit = work.edit(host.datastore);
        if (edit.empty())
            continue;
        std::size_t lines = 0;
        const std::size_t first = work.random()() % 12;
        const std::size_t second = first + 1 + work.random()() % 12;
        host.platform.sent.clear();
        host.platform.refuses = [&](const CommandLine&) {
            const std::size_t line = lines++;
            return line == first || line == second;
        };
        EditOutcome outcome;
        try {
            outcome = host.edit(edit);
        } catch (const RpcError&) {
            continue; // refused before anything was sent
        }
        host.platform.relent();
        taken_back += outcome.rollback.passes.empty() ? 0U : 1U;
        EXPECT_NE(outcome.effect, Effect::unknown) << shown(outcome.errors) << shown(host.platform.sent);
        EXPECT_THAT(host.drift(), testing::IsEmpty()) << shown(outcome.errors) << shown(host.platform.sent);
    }
    EXPECT_GT(taken_back, number_from("QN_IPS_FAULTED_EDITS", 60));
}

// ------------------------------------------------------------------------------------------- what stays undone --

// The profile is made, and then nothing works any more.
TEST(RestorationInVain, IsToldAndRecordedWithEveryDifference)
{
    TransactionHost host;
    bool made = false;
    host.platform.refuses = [&](const CommandLine&) { return std::exchange(made, true); };
    const EditOutcome outcome = host.edit(in_profile("<description>shop</description>"));
    EXPECT_EQ(outcome.effect, Effect::unknown);
    EXPECT_EQ(host.datastore.configuration().first(), nullptr);

    const std::string profile = "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']";
    ASSERT_EQ(outcome.errors.size(), 2U) << shown(outcome.errors);
    EXPECT_EQ(outcome.errors.back().tag(), "rollback-failed");
    EXPECT_THAT(outcome.errors.back().what(),
                testing::AllOf(testing::StartsWith("The device could not be brought back: the device has failed"),
                               testing::EndsWith("\n  only on the device: " + profile)));

    const CommitRecord record = host.newest();
    EXPECT_EQ(record.id, outcome.commit);
    EXPECT_EQ(record.outcome, CommitOutcome::rollback_failed);
    EXPECT_EQ(record.edit, "") << "running is as it was";
    EXPECT_THAT(record.message, testing::HasSubstr("only on the device: " + profile));

    host.platform.relent();
    EXPECT_THAT(host.drift(), testing::ElementsAre("+" + profile));
    EXPECT_TRUE(host.datastore.repair_device({"ann", "repair"}).done());
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

// --------------------------------------------------------------------------------------------------------- drift --

std::string three_sets()
{
    std::string sets;
    for (const char name : {'a', 'b', 'c'})
        sets += fmt::format("<signature-set><name>{}</name></signature-set>", name);
    return in_profile("<signature-sets>" + sets + "</signature-sets>");
}

// Somebody has removed the second set of three, and an edit that adds a fourth one fails.
class DriftInAList : public testing::Test
{
protected:
    DriftInAList()
    {
        host_.prepare(three_sets());
        host_.by_hand({.vsys = "branch",
                       .view = "profile-ips-web",
                       .view_type = "profile-ips",
                       .text = "undo signature-set name b"});
        before_ = host_.drift();
        host_.platform.refuses = [](const CommandLine& line) { return line.text.starts_with("target"); };
    }

    EditOutcome add_a_set(ErrorOption option)
    {
        return host_.edit(in_profile(in_set("d", "<target>client</target>")), option);
    }

    TransactionHost host_;
    std::vector<std::string> before_;
};

TEST_F(DriftInAList, IsLeftAloneWhenAFailedEditIsTakenBack)
{
    EXPECT_EQ(add_a_set(ErrorOption::rollback_on_error).effect, Effect::none);
    EXPECT_EQ(host_.drift(), before_) << shown(host_.platform.sent);
}

TEST_F(DriftInAList, MovesNothingInTheDatastoreWhenAPartOfAnEditStays)
{
    const EditOutcome outcome = add_a_set(ErrorOption::stop_on_error);
    EXPECT_EQ(outcome.effect, Effect::part) << shown(outcome.errors);
    const std::string text = tree_text(host_.datastore.configuration().first());
    std::string order;
    for (std::size_t at = text.find("<signature-set>"); at != std::string::npos;
         at = text.find("<signature-set>", at + 1))
        order += text.at(text.find("<name>", at) + 6);
    EXPECT_EQ(order, "abcd") << text;
}

TEST(RestorationDrift, IsEndedOnADeviceThatTakesAllAndReportsFailures)
{
    TransactionHost host;
    host.prepare(in_profile(""));
    for (const char* name : {"x", "y", "z"})
        host.by_hand({.vsys = "branch",
                      .view = "system",
                      .view_type = {},
                      .text = fmt::format("profile type ips name \"{}\"", name)});
    host.platform.answers = false;
    EXPECT_TRUE(host.datastore.repair_device(tester).done());
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

// --------------------------------------------------------------------------------------------- virtual systems --

std::string removal_of(const std::string& name)
{
    return fmt::format(R"(<vsys nc:operation="remove"><name>{}</name></vsys>)", name);
}

std::string vsys_edit(const std::string& entries)
{
    return fmt::format(R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                       R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips>{}</user-defined-ips>)"
                       "</ips-config>",
                       entries);
}

const std::string one_profile = "<profiles><profile><name>p</name></profile></profiles>";

TEST(RemovalOfVirtualSystems, GoesOnToTheNextOneOnContinueOnError)
{
    TransactionHost host;
    for (const char* name : {"one", "two"})
        host.prepare(in_vsys(one_profile, name));
    int asked = 0;
    host.platform.refuses_removal = [&] { return ++asked == 1; };
    const EditOutcome outcome =
        host.edit(vsys_edit(removal_of("one") + removal_of("two")), ErrorOption::continue_on_error);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(outcome.pass.removed_vsys.size(), 1U) << "the list is of those that the platform was told of";
    EXPECT_EQ(outcome.effect, Effect::part);
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

TEST(RemovalOfVirtualSystems, ByAPlatformThatThrowsIsTakenBack)
{
    TransactionHost host;
    host.prepare(in_vsys(one_profile, "one"));
    host.platform.throws_at_removal = true;
    const EditOutcome outcome =
        host.edit(vsys_edit(removal_of("one") + "<vsys><name>two</name>" + one_profile + "</vsys>"));
    ASSERT_EQ(outcome.errors.size(), 1U) << shown(outcome.errors);
    EXPECT_THAT(outcome.errors.front().what(), testing::HasSubstr("the platform's own trouble"));
    EXPECT_EQ(outcome.effect, Effect::none);
    EXPECT_FALSE(host.store.open_intent().has_value());
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

} // namespace
} // namespace qnips::test
