// Edits, copies and deletions of the datastores (RFC 6241, 7.2 to 7.4), validation (8.6), and startup (8.7).
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "datastores_fixture.h"

namespace qnips::test
{
namespace
{

using enum DatastoreName;
using Effect = EditOutcome::Effect;

constexpr DatastoreName every_datastore[] = {running, candidate, startup};

const ConfigTree& tree_of(TestServer& server, DatastoreName name, ConfigTree& kept)
{
    if (name == startup)
        kept = server.all().startup();
    return name == startup ? kept : name == running ? server.all().running() : server.all().candidate();
}

std::string text_of(TestServer& server, DatastoreName name)
{
    ConfigTree kept;
    return tree_text(tree_of(server, name, kept).first());
}

// Running "a", candidate "b", startup "c".
void fill(TestServer& server)
{
    server.edit(running, "a");
    server.edit(candidate, "b");
    server.edit(startup, "c");
    ASSERT_EQ(server.contents(), "a/b/c");
}

void set(TestServer& server, DatastoreName name, const EditRequest& request)
{
    server.all().edit_config(1, "admin", name, request);
}

// -------------------------------------------------------------------------------------------------------- edit --

TEST(Edit, ChangesItsTargetAndNoOther)
{
    TestServer server;
    fill(server);
    EXPECT_TRUE(server.running_datastore().drift().empty());
    EXPECT_EQ(server.edit(candidate, "b").effect, Effect::none);
    EXPECT_EQ(server.edit(candidate, "d").effect, Effect::whole);
    EXPECT_EQ(server.edit(startup, "c").effect, Effect::none);
    EXPECT_EQ(server.edit(startup, "e").effect, Effect::whole);
    EXPECT_EQ(server.contents(), "a/d/e");
    EXPECT_EQ(server.edit(running, "f").effect, Effect::whole);
    EXPECT_EQ(server.contents(), "f/d/e");
}

TEST(Edit, OfAnUnchangedCandidateStartsFromRunningAsItIs)
{
    TestServer server;
    server.edit(running, "a");
    EXPECT_EQ(server.candidate(), "a");
    EXPECT_EQ(&server.all().candidate(), &server.all().running()) << "nobody has paid for a copy yet";
    server.edit(running, "b");
    EXPECT_EQ(server.candidate(), "b");
    server.edit(candidate, "c");
    server.edit(running, "d");
    EXPECT_EQ(server.contents(), "d/c/");
}

TEST(Edit, ThatCannotBeAppliedChangesNothing)
{
    for (const DatastoreName target : every_datastore) {
        SCOPED_TRACE(datastore_word(target));
        TestServer server;
        fill(server);
        EXPECT_EQ(tag_of([&] { set(server, target, impossible_edit()); }), "data-missing");
        EXPECT_EQ(server.contents(), "a/b/c");
    }
}

TEST(Edit, ThatBreaksAConstraintIsForTheCandidateOnly)
{
    for (const DatastoreName target : every_datastore) {
        SCOPED_TRACE(datastore_word(target));
        TestServer server;
        fill(server);
        const std::string before = text_of(server, target);
        EXPECT_EQ(tag_of([&] { set(server, target, invalid_edit()); }), target == candidate ? "" : "data-missing");
        EXPECT_EQ(text_of(server, target) == before, target != candidate);
        EXPECT_EQ(tag_of([&] { server.all().validate(target); }), target == candidate ? "data-missing" : "");
    }
}

TEST(Edit, ThatOnlyTestsChangesNothing)
{
    for (const DatastoreName target : every_datastore) {
        SCOPED_TRACE(datastore_word(target));
        TestServer server;
        EditRequest valid = edit_to("new");
        valid.test_option = TestOption::test_only;
        EditRequest invalid = invalid_edit();
        invalid.test_option = TestOption::test_only;
        EXPECT_EQ(tag_of([&] { set(server, target, valid); }), "");
        EXPECT_EQ(tag_of([&] { set(server, target, invalid); }), "data-missing");
        EXPECT_EQ(server.contents(), "//");
        EXPECT_FALSE(server.all().candidate_is_modified());
    }
}

TEST(Edit, OfTheCandidateIsTestedFirstForWhoAsksForThat)
{
    for (const TestOption option : {TestOption::unstated, TestOption::set, TestOption::test_then_set}) {
        TestServer server;
        EditRequest invalid = invalid_edit();
        invalid.test_option = option;
        const bool is_tested = option == TestOption::test_then_set;
        EXPECT_EQ(tag_of([&] { set(server, candidate, invalid); }), is_tested ? "data-missing" : "");
        EXPECT_EQ(server.all().candidate_is_modified(), !is_tested);
    }
}

// -------------------------------------------------------------------------------------------------------- copy --

TEST(Copy, MakesTheTargetWhatTheSourceIs)
{
    for (const DatastoreName source : every_datastore) {
        for (const DatastoreName target : every_datastore) {
            SCOPED_TRACE(fmt::format("{} to {}", datastore_word(source), datastore_word(target)));
            TestServer server;
            fill(server);
            // More than a description, so that what the target has besides has to go.
            set(server, target, edit_of_profile("<associated-check-enable>true</associated-check-enable>"));
            std::string expected[] = {text_of(server, running), text_of(server, candidate), text_of(server, startup)};
            expected[static_cast<std::size_t>(target)] = expected[static_cast<std::size_t>(source)];

            EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", target, source); }),
                      source == target ? "invalid-value" : "");
            EXPECT_EQ(text_of(server, running), expected[0]);
            EXPECT_EQ(text_of(server, candidate), expected[1]);
            EXPECT_EQ(text_of(server, startup), expected[2]);
            EXPECT_TRUE(server.running_datastore().drift().empty());
        }
    }
}

TEST(Copy, OfAConfigurationThatCameWithTheRequest)
{
    constexpr const char* contents[] = {"new/b/c", "a/new/c", "a/b/new"};
    for (const DatastoreName target : every_datastore) {
        SCOPED_TRACE(datastore_word(target));
        TestServer server;
        fill(server);
        EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", target, tree_with("new")); }), "");
        EXPECT_EQ(server.contents(), contents[static_cast<std::size_t>(target)]);
        EXPECT_TRUE(server.running_datastore().drift().empty());
    }
}

TEST(Copy, OfAnInvalidConfigurationIsForTheCandidateOnly)
{
    for (const DatastoreName target : every_datastore) {
        SCOPED_TRACE(datastore_word(target));
        TestServer server;
        fill(server);
        const std::string device = server.device_text();
        EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", target, invalid_tree()); }),
                  target == candidate ? "" : "data-missing");
        EXPECT_EQ(server.contents(), target == candidate ? "a/x/c" : "a/b/c");
        EXPECT_EQ(server.device_text(), device);
    }
}

TEST(Copy, OfAnInvalidCandidateIsRefused)
{
    for (const DatastoreName target : {running, startup}) {
        TestServer server;
        fill(server);
        set(server, candidate, invalid_edit());
        EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", target, candidate); }), "data-missing");
        EXPECT_EQ(server.contents(), "a/b/c");
    }
}

TEST(Copy, OfNothingLeavesNothing)
{
    for (const DatastoreName target : every_datastore) {
        TestServer server;
        fill(server);
        EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", target, ConfigTree()); }), "");
        EXPECT_EQ(text_of(server, target), "");
    }
}

TEST(Copy, ThatTheDeviceRefusesChangesNothing)
{
    TestServer server;
    fill(server);
    const std::string device = server.device_text();
    server.channel().set({.kind = Fault::Kind::line_refused});
    const EditOutcome outcome = server.all().copy_config(1, "admin", running, startup);
    EXPECT_FALSE(outcome.errors.empty());
    EXPECT_EQ(outcome.effect, Effect::none);
    EXPECT_EQ(server.contents(), "a/b/c");
    EXPECT_EQ(server.device_text(), device);
}

// --------------------------------------------------------------------------------- delete, validate, startup --

TEST(Delete, TakesStartupAndNothingElse)
{
    TestServer server;
    fill(server);
    EXPECT_EQ(tag_of([&] { server.all().delete_config(1, running); }), "operation-not-supported");
    EXPECT_EQ(tag_of([&] { server.all().delete_config(1, candidate); }), "operation-not-supported");
    EXPECT_EQ(server.contents(), "a/b/c");
    for (int count = 0; count < 2; ++count) {
        EXPECT_EQ(tag_of([&] { server.all().delete_config(1, startup); }), "");
        EXPECT_EQ(server.contents(), "a/b/");
    }
}

TEST(Validate, TellsWhetherAConfigurationIsValid)
{
    TestServer server;
    fill(server);
    for (const DatastoreName source : every_datastore)
        EXPECT_EQ(tag_of([&] { server.all().validate(source); }), "");
    EXPECT_EQ(tag_of([&] { server.all().validate(tree_with("a")); }), "");
    EXPECT_EQ(tag_of([&] { server.all().validate(ConfigTree()); }), "");
    EXPECT_EQ(tag_of([&] { server.all().validate(invalid_tree()); }), "data-missing");
}

TEST(Startup, IsThereAfterARestartAndTheCandidateIsNot)
{
    TestServer server(TestServer::Keeping::in_file);
    fill(server);
    server.restart();
    EXPECT_EQ(server.contents(), "a/a/c");
    server.all().delete_config(1, startup);
    server.restart();
    EXPECT_EQ(server.contents(), "a/a/");
}

TEST(Startup, ThatDoesNotFitTheSchemaCanBeReplacedAndDeleted)
{
    for (const bool replaced : {true, false}) {
        TestServer server;
        server.edit(running, "a");
        server.store().set_document("startup", "<other xmlns='urn:other'/>");
        EXPECT_EQ(tag_of([&] { (void)server.all().startup(); }), "operation-failed");
        EXPECT_EQ(tag_of([&] { server.all().validate(startup); }), "operation-failed");
        EXPECT_EQ(tag_of([&] { set(server, startup, edit_to("b")); }), "operation-failed");
        EXPECT_EQ(tag_of([&] { server.all().copy_config(1, "admin", running, startup); }), "operation-failed");
        EXPECT_EQ(server.running(), "a");
        if (replaced)
            server.all().copy_config(1, "admin", startup, running);
        else
            server.all().delete_config(1, startup);
        EXPECT_EQ(server.startup(), replaced ? "a" : "");
    }
}

} // namespace
} // namespace qnips::test
