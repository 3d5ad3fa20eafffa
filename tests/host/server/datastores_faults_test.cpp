// Confirmed commits when the device or the store fails: nothing is lost, nothing is told that is not so, and what could
// not be taken back is tried again.
#include <chrono>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "datastores_calls.h"
#include "datastores_fixture.h"
#include "store/sqlite.h"

namespace qnips::test
{
namespace
{

using enum DatastoreName;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Effect = EditOutcome::Effect;

// ------------------------------------------------------------------------------------------ a device that fails --

class FailingDevice : public testing::Test
{
protected:
    void SetUp() override
    {
        server_.edit(running, "a");
        server_.edit(candidate, "b");
        ASSERT_EQ(confirmed(1, 60)(server_), "");
        server_.events();
    }

    void fail() { server_.channel().set({.kind = Fault::Kind::line_refused}); }
    void recover()
    {
        server_.channel().clear();
        server_.wait(Datastores::retry_interval);
        EXPECT_EQ(server_.running(), "a");
        EXPECT_TRUE(server_.running_datastore().drift().empty());
        EXPECT_FALSE(server_.time_left().has_value());
        EXPECT_EQ(server_.store().document("confirmed-commit"), std::nullopt);
    }

    TestServer server_;
};

TEST_F(FailingDevice, IsAskedAgainAfterATimeout)
{
    fail();
    server_.wait(seconds(60));
    EXPECT_EQ(server_.running(), "b");
    EXPECT_EQ(server_.time_left(), Datastores::retry_interval);
    EXPECT_EQ(commit(1)(server_), "in-use") << "its time is over";
    EXPECT_EQ(cancel(1)(server_), "in-use");
    EXPECT_EQ(tag_of([&] { server_.all().lock(1, running); }), "in-use");
    recover();
    EXPECT_THAT(server_.events(), ElementsAre("timed out (user1), in vain", "timed out (user1)"));
}

TEST_F(FailingDevice, IsAskedAgainAfterTheEndOfTheSession)
{
    fail();
    server_.all().close_session(1);
    EXPECT_EQ(server_.running(), "b");
    recover();
    EXPECT_THAT(server_.events(), ElementsAre("cancelled (user1), in vain", "cancelled (user1)"));
}

TEST_F(FailingDevice, IsAskedAgainAfterACrash)
{
    server_.restart();
    fail();
    const std::optional<EditOutcome> outcome = server_.all().recover("system");
    ASSERT_TRUE(outcome.has_value());
    EXPECT_FALSE(outcome->errors.empty());
    EXPECT_EQ(server_.running(), "b");
    recover();
    EXPECT_THAT(server_.events(), ElementsAre("cancelled (system), in vain", "cancelled (system)"));
}

TEST_F(FailingDevice, IsAskedAgainWhenItCouldNotBeReachedAtAll)
{
    server_.channel().set({.kind = Fault::Kind::channel_lost});
    server_.wait(seconds(60));
    server_.wait(Datastores::retry_interval);
    EXPECT_EQ(server_.running(), "b");
    recover();
}

TEST_F(FailingDevice, LeavesACommitPendingThatWasToBeCancelled)
{
    fail();
    EXPECT_NE(cancel(1)(server_), "");
    server_.channel().clear();
    EXPECT_EQ(server_.running(), "b");
    EXPECT_EQ(server_.time_left(), seconds(60));
    EXPECT_EQ(commit(1)(server_), "");
    EXPECT_THAT(server_.events(), ElementsAre("cancelled by 1 (user1), in vain", "confirmed by 1 (user1)"));
}

TEST_F(FailingDevice, LeavesACommitPendingThatWasToBeFollowedUpOrConfirmed)
{
    for (const Call& call : {confirmed(1, 600, "token"), commit(1)}) {
        server_.edit(candidate, "c");
        fail();
        EXPECT_NE(call(server_), "");
        EXPECT_EQ(server_.contents(), "b/c/");
        EXPECT_EQ(server_.time_left(), seconds(60));
    }
    server_.channel().clear();
    EXPECT_THAT(server_.events(), IsEmpty());
    EXPECT_EQ(commit(1)(server_), "") << "the token of the follow-up that failed does not count";
}

TEST_F(FailingDevice, CanBeHelpedByAnEditOfRunning)
{
    fail();
    server_.wait(seconds(60));
    server_.channel().clear();
    server_.edit(running, "a", 2);
    server_.channel().set({.kind = Fault::Kind::channel_lost}); // which the next try does not need
    recover();
}

// ------------------------------------------------------------------------------------------- a store that fails --

// The store of a server refuses to change a document.
class StoreWithoutDocuments
{
public:
    StoreWithoutDocuments(const TestServer& server, const std::string& event)
        : database_(server.store_file(), Database::Access::read_write)
    {
        database_.execute("CREATE TRIGGER failure BEFORE " + event +
                              " ON documents BEGIN SELECT RAISE(ABORT, 'no documents today'); END",
                          "testing");
    }
    StoreWithoutDocuments(const StoreWithoutDocuments&) = delete;
    StoreWithoutDocuments& operator=(const StoreWithoutDocuments&) = delete;
    ~StoreWithoutDocuments() { database_.execute("DROP TRIGGER failure", "testing"); }

private:
    Database database_;
};

TEST(FailingStore, CannotStartAConfirmedCommit)
{
    TestServer server(TestServer::Keeping::in_file);
    server.edit(candidate, "b");
    const StoreWithoutDocuments failure(server, "INSERT");
    EXPECT_EQ(confirmed(1, 60)(server), "operation-failed");
    EXPECT_EQ(server.contents(), "/b/");
    EXPECT_FALSE(server.time_left().has_value());
}

TEST(FailingStore, LeavesACommitPendingThatWasToBeConfirmed)
{
    TestServer server(TestServer::Keeping::in_file);
    server.edit(candidate, "b");
    ASSERT_EQ(confirmed(1, 60)(server), "");
    server.edit(candidate, "c");
    {
        const StoreWithoutDocuments failure(server, "DELETE");
        const EditOutcome outcome = server.commit();
        EXPECT_EQ(outcome.errors.size(), 1U);
        EXPECT_EQ(outcome.effect, Effect::whole);
        EXPECT_EQ(server.contents(), "c/c/");
        EXPECT_EQ(server.time_left(), seconds(60));
        EXPECT_EQ(server.commit().effect, Effect::none) << "no changes are left, and it is not confirmed";
    }
    EXPECT_EQ(commit(1)(server), "");
    EXPECT_THAT(server.events(), ElementsAre("started by 1 (user1) for 60", "confirmed by 1 (user1)"));
    server.restart();
    EXPECT_FALSE(server.all().recover("system").has_value());
    EXPECT_EQ(server.running(), "c");
}

TEST(FailingStore, IsAskedAgainToForgetWhatWasTakenBack)
{
    TestServer server(TestServer::Keeping::in_file);
    server.edit(running, "a");
    server.edit(candidate, "b");
    ASSERT_EQ(confirmed(1, 60)(server), "");
    {
        const StoreWithoutDocuments failure(server, "DELETE");
        EXPECT_EQ(cancel(1)(server), "");
        EXPECT_EQ(server.running(), "a");
        EXPECT_TRUE(server.store().document("confirmed-commit").has_value());
    }
    server.edit(running, "c");
    server.restart();
    EXPECT_FALSE(server.all().recover("system").has_value());
    EXPECT_EQ(server.running(), "c") << "an old confirmed commit must not take back what came after it";
}

TEST(FailingStore, DoesNotForgetTheNextConfirmedCommitInstead)
{
    TestServer server(TestServer::Keeping::in_file);
    server.edit(running, "a");
    {
        const StoreWithoutDocuments failure(server, "DELETE");
        for (const Call& call : {change("b"), confirmed(1, 60), cancel(1), confirmed(1, 60)})
            ASSERT_EQ(call(server), "");
    }
    server.edit(running, "c");
    EXPECT_EQ(crash()(server), "");
    EXPECT_EQ(server.running(), "a");
}

TEST(FailingStore, KeepsAFallbackThatDoesNotFitTheSchemaToTellOfIt)
{
    TestServer server;
    server.edit(running, "a");
    server.store().set_document("confirmed-commit", "<other xmlns='urn:other'/>");
    server.restart();
    EXPECT_EQ(tag_of([&] { return server.all().recover("system").value_or(EditOutcome{}); }), "operation-failed");
    EXPECT_EQ(server.running(), "a");
    EXPECT_FALSE(server.time_left().has_value());
}

} // namespace
} // namespace qnips::test
