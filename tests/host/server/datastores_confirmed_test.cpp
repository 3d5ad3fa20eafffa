// The confirmed commit (RFC 6241, 8.4): what is told to whom, and what running is afterwards.
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "datastores_calls.h"
#include "datastores_fixture.h"

namespace qnips::test
{
namespace
{

using enum DatastoreName;
using std::chrono::seconds;
using testing::ElementsAreArray;

// --------------------------------------------------------------------------------------------------- the table --

struct Step {
    const char* name;
    std::function<std::string(TestServer&)> call;
    const char* answer;            // error-tag, "" for ok
    const char* running;           // afterwards
    std::optional<long> left = {}; // seconds until it is taken back; none when nothing is pending
};

struct Story {
    const char* name;
    std::vector<Step> steps;
    std::vector<std::string> events;
};

// All begin with running "a" and the candidate "b".
std::vector<Story> stories()
{
    return {
        {"confirmed_in_time",
         {{"confirmed", confirmed(1, 600), "", "b", 600},
          {"wait", wait(599), "", "b", 1},
          {"commit", commit(1), "", "b"},
          {"wait", wait(9999), "", "b"},
          {"crash", crash(), "", "b"}},
         {"started by 1 (user1) for 600", "confirmed by 1 (user1)"}},
        {"timed_out",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"wait", wait(59), "", "b", 1},
          {"wait", wait(1), "", "a"},
          {"wait", wait(60), "", "a"}},
         {"started by 1 (user1) for 60", "timed out (user1)"}},
        {"confirmation_brings_more",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"change", change("c"), "", "b", 60},
          {"commit", commit(1), "", "c"},
          {"wait", wait(600), "", "c"}},
         {"started by 1 (user1) for 60", "confirmed by 1 (user1)"}},
        {"a_follow_up_sets_the_time_anew_and_goes_back_to_the_start",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"wait", wait(50), "", "b", 10},
          {"change", change("c"), "", "b", 10},
          {"follow up", confirmed(1, 600), "", "c", 600},
          {"wait", wait(100), "", "c", 500},
          {"follow up, shorter", confirmed(1, 30), "", "c", 30},
          {"wait", wait(30), "", "a"}},
         {"started by 1 (user1) for 60", "extended by 1 (user1) for 600", "extended by 1 (user1) for 30",
          "timed out (user1)"}},
        {"cancelled",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"cancel", cancel(1), "", "a"},
          {"wait", wait(60), "", "a"},
          {"cancel nothing", cancel(1), "operation-failed", "a"}},
         {"started by 1 (user1) for 60", "cancelled by 1 (user1)"}},
        {"others_may_do_nothing_to_it",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"change", change("c", 2), "", "b", 60},
          {"commit", commit(2), "in-use", "b", 60},
          {"follow up", confirmed(2, 600), "in-use", "b", 60},
          {"cancel", cancel(2), "in-use", "b", 60},
          {"commit with a token", commit(2, "token"), "invalid-value", "b", 60},
          {"cancel with a token", cancel(2, "token"), "invalid-value", "b", 60},
          {"its own with a token", commit(1, "token"), "invalid-value", "b", 60},
          {"end of the other", end_of(2), "", "b", 60},
          {"wait", wait(60), "", "a"}},
         {"started by 1 (user1) for 60", "timed out (user1)"}},
        {"ends_with_its_session",
         {{"confirmed", confirmed(1, 60), "", "b", 60}, {"end", end_of(1), "", "a"}, {"wait", wait(60), "", "a"}},
         {"started by 1 (user1) for 60", "cancelled (user1)"}},
        {"persistent_outlives_its_session_and_times_out",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60},
          {"end", end_of(1), "", "b", 60},
          {"wait", wait(60), "", "a"}},
         {"started by 1 (user1) for 60", "timed out (user1)"}},
        {"persistent_is_for_who_knows_the_token",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60},
          {"commit without", commit(2), "invalid-value", "b", 60},
          {"its own without", commit(1), "invalid-value", "b", 60},
          {"wrong", commit(2, "else"), "invalid-value", "b", 60},
          {"empty", commit(2, ""), "invalid-value", "b", 60},
          {"follow up without", confirmed(1, 600), "invalid-value", "b", 60},
          {"cancel without", cancel(1), "invalid-value", "b", 60},
          {"cancel wrong", cancel(2, "else"), "invalid-value", "b", 60},
          {"right", commit(2, "token"), "", "b"},
          {"wait", wait(60), "", "b"}},
         {"started by 1 (user1) for 60", "confirmed by 2 (user2)"}},
        {"persistent_cancelled_by_another",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60}, {"cancel", cancel(2, "token"), "", "a"}},
         {"started by 1 (user1) for 60", "cancelled by 2 (user2)"}},
        {"persistent_followed_up_stays_persistent",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60},
          {"follow up", confirmed(2, 90, {}, "token"), "", "b", 90},
          {"end", end_of(1), "", "b", 90},
          {"end", end_of(2), "", "b", 90},
          {"right", commit(3, "token"), "", "b"}},
         {"started by 1 (user1) for 60", "extended by 2 (user2) for 90", "confirmed by 3 (user3)"}},
        {"a_follow_up_may_set_another_token",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60},
          {"follow up", confirmed(2, 60, "other", "token"), "", "b", 60},
          {"old", commit(1, "token"), "invalid-value", "b", 60},
          {"new", commit(1, "other"), "", "b"}},
         {"started by 1 (user1) for 60", "extended by 2 (user2) for 60", "confirmed by 1 (user1)"}},
        {"a_follow_up_may_make_it_persistent",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"follow up", confirmed(1, 60, "token"), "", "b", 60},
          {"end", end_of(1), "", "b", 60},
          {"right", commit(2, "token"), "", "b"}},
         {"started by 1 (user1) for 60", "extended by 1 (user1) for 60", "confirmed by 2 (user2)"}},
        {"a_token_needs_a_persistent_commit",
         {{"commit", commit(1, "token"), "invalid-value", "a"},
          {"confirmed", confirmed(1, 60, {}, "token"), "invalid-value", "a"},
          {"cancel", cancel(1, "token"), "invalid-value", "a"}},
         {}},
        {"of_no_changes",
         {{"commit", commit(1), "", "b"},
          {"confirmed", confirmed(1, 60), "", "b", 60},
          {"change", change("c"), "", "b", 60},
          {"follow up", confirmed(1, 60), "", "c", 60},
          {"wait", wait(60), "", "b"}},
         {"started by 1 (user1) for 60", "extended by 1 (user1) for 60", "timed out (user1)"}},
        {"takes_along_what_was_edited_in_running_meanwhile",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"edit", edit_running("c"), "", "c", 60},
          {"wait", wait(60), "", "a"}},
         {"started by 1 (user1) for 60", "timed out (user1)"}},
        {"taken_back_after_a_crash",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"change", change("c"), "", "b", 60},
          {"follow up", confirmed(1, 60), "", "c", 60},
          {"crash", crash(), "", "a"},
          {"crash", crash(), "", "a"}},
         {"started by 1 (user1) for 60", "extended by 1 (user1) for 60", "cancelled (system)"}},
        {"persistent_taken_back_after_a_crash",
         {{"confirmed", confirmed(1, 60, "token"), "", "b", 60},
          {"crash", crash(), "", "a"},
          {"late", commit(1, "token"), "invalid-value", "a"}},
         {"started by 1 (user1) for 60", "cancelled (system)"}},
        {"a_crash_after_its_end_takes_nothing_back",
         {{"confirmed", confirmed(1, 60), "", "b", 60},
          {"cancel", cancel(1), "", "a"},
          {"edit", edit_running("c"), "", "c"},
          {"crash", crash(), "", "c"}},
         {"started by 1 (user1) for 60", "cancelled by 1 (user1)"}},
        {"parameters",
         {{"no time", confirmed(1, 0), "invalid-value", "a"},
          {"less", confirmed(1, -1), "invalid-value", "a"},
          {"shortest", confirmed(1, 1), "", "b", 1},
          {"longest", confirmed(1, 4294967295), "", "b", 4294967295},
          {"too long", confirmed(1, 4294967296), "invalid-value", "b", 4294967295}},
         {"started by 1 (user1) for 1", "extended by 1 (user1) for 4294967295"}},
    };
}

class ConfirmedCommitStory : public testing::TestWithParam<Story>
{
};

TEST_P(ConfirmedCommitStory, GoesAsItShould)
{
    TestServer server;
    server.edit(running, "a");
    server.edit(candidate, "b");
    std::size_t number = 0;
    for (const Step& step : GetParam().steps) {
        SCOPED_TRACE(fmt::format("step {}: {}", ++number, step.name));
        EXPECT_EQ(step.call(server), step.answer);
        EXPECT_EQ(server.running(), step.running);
        const std::optional<seconds> left = server.time_left();
        EXPECT_EQ(left ? std::optional(left->count()) : std::nullopt, step.left);
        EXPECT_EQ(server.store().document("confirmed-commit").has_value(), step.left.has_value());
        EXPECT_TRUE(server.running_datastore().drift().empty());
    }
    EXPECT_THAT(server.events(), ElementsAreArray(GetParam().events));
}

INSTANTIATE_TEST_SUITE_P(Stories, ConfirmedCommitStory, testing::ValuesIn(stories()),
                         [](const auto& story) { return std::string(story.param.name); });

TEST(ConfirmedCommits, OnlyTheyHaveAToken)
{
    TestServer server;
    EXPECT_EQ(tag_of([&] {
                  return server.all().commit(1, "admin", {false, seconds(600), "token", {}});
              }),
              "invalid-value");
}

TEST(ConfirmedCommits, BringBackAWholeConfigurationToTheLetter)
{
    TestServer server(TestServer::Keeping::in_file);
    server.all().edit_config(1, "admin", running,
                             edit_of_profile("<description>a &lt;b&gt; &amp; 'c'</description>"
                                             "<collect-attack-evidence-enable>false</collect-attack-evidence-enable>"
                                             "<signature-sets><signature-set><name>second</name></signature-set>"
                                             "<signature-set><name>first</name></signature-set></signature-sets>"));
    const std::string before = tree_text(server.all().running().first());
    server.all().edit_config(1, "admin", candidate, edit_that_removes_all());
    ASSERT_EQ(confirmed(1, 60)(server), "");
    ASSERT_EQ(tree_text(server.all().running().first()), "");
    server.restart();
    ASSERT_TRUE(server.all().recover("system").has_value());
    EXPECT_EQ(tree_text(server.all().running().first()), before);
    EXPECT_TRUE(server.running_datastore().drift().empty());
}

TEST(ConfirmedCommits, LeaveTheChangesOfTheCandidate)
{
    TestServer server;
    server.edit(candidate, "b");
    ASSERT_EQ(confirmed(1, 60)(server), "");
    EXPECT_EQ(server.candidate(), "b");
    server.edit(candidate, "c");
    server.wait(seconds(60));
    EXPECT_EQ(server.contents(), "/c/");
}

TEST(ConfirmedCommits, AreNamedInTheHistoryWhenTheyAreTakenBack)
{
    TestServer server;
    const std::pair<Call, const char*> ends[] = {{wait(60), "confirm-timeout user1"},
                                                 {cancel(1), "cancel-commit user1"},
                                                 {end_of(1), "end of session user1"},
                                                 {crash(), "end of server system"}};
    for (const auto& [end, expected] : ends) {
        server.edit(candidate, "b");
        ASSERT_EQ(confirmed(1, 60)(server), "");
        end(server);
        const CommitRecord record = server.store().history(1).front();
        EXPECT_EQ(record.origin + ' ' + record.user, expected);
    }
}

} // namespace
} // namespace qnips::test
