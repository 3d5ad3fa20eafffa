// The commit of the candidate (RFC 6241, 8.3.4): all of it or nothing, on the device as well.
#include <string>

#include <gtest/gtest.h>

#include "datastores_fixture.h"

namespace qnips::test
{
namespace
{

using enum DatastoreName;
using Effect = EditOutcome::Effect;

// Running and device "old", the candidate with changes that take several lines.
void prepare_changes(TestServer& server)
{
    server.edit(running, "old");
    server.all().edit_config(1, "admin", candidate,
                             edit_of_profile("<description>new</description>"
                                             "<associated-check-enable>true</associated-check-enable>"
                                             "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>"));
}

TEST(Commit, MakesTheCandidateRunning)
{
    TestServer server;
    prepare_changes(server);
    const std::string goal = tree_text(server.all().candidate().first());
    const EditOutcome outcome = server.commit(2);
    EXPECT_TRUE(outcome.errors.empty());
    EXPECT_EQ(outcome.effect, Effect::whole);
    EXPECT_EQ(tree_text(server.all().running().first()), goal);
    EXPECT_FALSE(server.all().candidate_is_modified());
    EXPECT_TRUE(server.running_datastore().drift().empty());
    EXPECT_EQ(server.startup(), "");

    const CommitRecord record = server.store().history(1).front();
    EXPECT_EQ(record.id, outcome.commit);
    EXPECT_EQ(record.user, "admin");
    EXPECT_EQ(record.origin, "commit");
}

TEST(Commit, OfAnUnchangedCandidateDoesNothing)
{
    TestServer server;
    server.edit(running, "old");
    const EditOutcome outcome = server.commit();
    EXPECT_TRUE(outcome.errors.empty());
    EXPECT_EQ(outcome.effect, Effect::none);
    EXPECT_EQ(server.store().history(9).size(), 1U);
    EXPECT_TRUE(server.events().empty());
}

TEST(Commit, OverwritesWhatWasEditedInRunningMeanwhile)
{
    TestServer server;
    prepare_changes(server);
    server.edit(running, "meanwhile", 2);
    server.commit();
    EXPECT_EQ(server.contents(), "new/new/");
}

TEST(Commit, OfAnEmptyCandidateEmptiesTheDevice)
{
    TestServer server;
    server.edit(running, "old");
    server.all().edit_config(1, "admin", candidate, edit_that_removes_all());
    EXPECT_TRUE(server.commit().errors.empty());
    EXPECT_EQ(server.all().running().first(), nullptr);
    EXPECT_TRUE(server.running_datastore().drift().empty());
}

TEST(Commit, OfAnInvalidCandidateIsRefusedAndTheChangesStay)
{
    for (const bool confirmed : {false, true}) {
        TestServer server;
        prepare_changes(server);
        server.all().edit_config(1, "admin", candidate, invalid_edit());
        const std::string device = server.device_text();
        EXPECT_EQ(tag_of([&] { return server.all().commit(1, "admin", {.confirmed = confirmed}); }), "data-missing");
        EXPECT_EQ(server.contents(), "old/new/");
        EXPECT_EQ(server.device_text(), device);
        EXPECT_FALSE(server.time_left().has_value());
        EXPECT_EQ(server.store().document("confirmed-commit"), std::nullopt);
    }
}

struct Refusal {
    const char* name;
    Fault::Kind kind;
};

class RefusedCommit : public testing::TestWithParam<Refusal>
{
};

// At every place where the device can fail, with and without a confirmed commit.
TEST_P(RefusedCommit, LeavesEverythingAsItWas)
{
    for (const bool confirmed : {false, true}) {
        std::size_t places = 0;
        for (std::size_t number = 1; number < 50; ++number) {
            TestServer server;
            prepare_changes(server);
            const std::string device = server.device_text();
            const std::string goal = tree_text(server.all().candidate().first());
            const CommitRequest request{.confirmed = confirmed};
            server.channel().set({.kind = GetParam().kind, .number = number});
            const EditOutcome outcome = server.all().commit(1, "admin", request);
            if (!server.channel().has_happened())
                break;
            ++places;
            server.channel().clear();
            EXPECT_EQ(outcome.effect, Effect::none);
            EXPECT_FALSE(outcome.errors.empty());
            EXPECT_EQ(server.contents(), "old/new/");
            EXPECT_EQ(tree_text(server.all().candidate().first()), goal);
            EXPECT_EQ(server.device_text(), device);
            EXPECT_FALSE(server.time_left().has_value());
            EXPECT_EQ(server.store().document("confirmed-commit"), std::nullopt);
            EXPECT_TRUE(server.events().empty());

            EXPECT_TRUE(server.commit().errors.empty()) << "the same candidate, when the device is well";
            EXPECT_EQ(server.running(), "new");
        }
        EXPECT_GE(places, 3U);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RefusedCommit,
                         testing::Values(Refusal{"line_refused", Fault::Kind::line_refused},
                                         Refusal{"script_refused", Fault::Kind::script_refused},
                                         Refusal{"no_answer", Fault::Kind::no_answer}),
                         [](const auto& refusal) { return std::string(refusal.param.name); });

TEST(Discard, GivesTheCandidateBackToRunning)
{
    TestServer server;
    prepare_changes(server);
    server.all().discard_changes(2);
    EXPECT_EQ(server.contents(), "old/old/");
    EXPECT_FALSE(server.all().candidate_is_modified());
}

} // namespace
} // namespace qnips::test
