// Who may do what while somebody holds a lock (RFC 6241, 7.5, 7.6 and 8.3.5.2), and who gets one.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "datastores_fixture.h"

namespace qnips::test
{
namespace
{

using enum DatastoreName;

constexpr DatastoreName every_datastore[] = {running, candidate, startup};

// ----------------------------------------------------------------------------------- operations of the others --

struct Operation {
    const char* name;
    std::function<void(Datastores&, SessionId)> call;
    std::vector<DatastoreName> refused_by; // a lock of another session on one of them
};

Operation edit_of(const char* name, DatastoreName target)
{
    return {name,
            [target](Datastores& all, SessionId session) { all.edit_config(session, "admin", target, edit_to("new")); },
            {target}};
}

Operation copy_of(const char* name, DatastoreName source, DatastoreName target)
{
    return {name,
            [source, target](Datastores& all, SessionId session) { all.copy_config(session, "admin", target, source); },
            {target}};
}

Operation commit_of(const char* name, const CommitRequest& request)
{
    return {name,
            [request](Datastores& all, SessionId session) { all.commit(session, "admin", request); },
            {running, candidate}};
}

Operation validation_of(const char* name, DatastoreName source)
{
    return {name, [source](Datastores& all, SessionId) { all.validate(source); }, {}};
}

std::vector<Operation> operations()
{
    return {
        edit_of("edit_running", running),
        edit_of("edit_candidate", candidate),
        edit_of("edit_startup", startup),
        copy_of("copy_startup_to_running", startup, running),
        copy_of("copy_candidate_to_running", candidate, running),
        copy_of("copy_running_to_candidate", running, candidate),
        copy_of("copy_startup_to_candidate", startup, candidate),
        copy_of("copy_running_to_startup", running, startup),
        copy_of("copy_candidate_to_startup", candidate, startup),
        {"delete_startup", [](Datastores& all, SessionId session) { all.delete_config(session, startup); }, {startup}},
        validation_of("validate_running", running),
        validation_of("validate_candidate", candidate),
        validation_of("validate_startup", startup),
        commit_of("commit", {}),
        commit_of("confirmed_commit", {.confirmed = true}),
        {"discard_changes", [](Datastores& all, SessionId session) { all.discard_changes(session); }, {candidate}}};
}

class LockedOut : public testing::TestWithParam<Operation>
{
};

TEST_P(LockedOut, ByTheLockOfAnotherSessionAndByNoOther)
{
    for (const DatastoreName locked : every_datastore) {
        for (const SessionId session : {1U, 2U}) {
            SCOPED_TRACE(fmt::format("{} is locked by 1, {} calls", datastore_word(locked), session));
            TestServer server;
            server.edit(running, "old");
            server.edit(startup, "old");
            server.all().lock(1, locked);
            const std::vector<DatastoreName>& by = GetParam().refused_by;
            const bool refused = session != 1 && std::find(by.begin(), by.end(), locked) != by.end();
            const std::string before = server.contents();

            EXPECT_EQ(tag_of([&] { GetParam().call(server.all(), session); }), refused ? "in-use" : "");
            if (refused) {
                EXPECT_EQ(server.contents(), before);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, LockedOut, testing::ValuesIn(operations()),
                         [](const auto& operation) { return std::string(operation.param.name); });

TEST(Locks, CancelCommitNeedsRunningUnlocked)
{
    TestServer server;
    server.edit(candidate, "new");
    server.all().commit(1, "admin", {.confirmed = true, .persist = "token"});
    server.all().lock(1, running);
    EXPECT_EQ(tag_of([&] { return server.all().cancel_commit(2, "admin", "token"); }), "in-use");
    EXPECT_EQ(server.running(), "new");
    EXPECT_EQ(tag_of([&] { return server.all().cancel_commit(1, "admin", "token"); }), "");
    EXPECT_EQ(server.running(), "");
}

// ------------------------------------------------------------------------------------------- lock and unlock --

struct LockCase {
    const char* name;
    std::function<void(TestServer&)> before;
    DatastoreName datastore;
    const char* answer; // to session 1
};

void commit_confirmed(TestServer& server, SessionId session, std::optional<std::string> persist = {})
{
    server.edit(candidate, "new", session);
    server.all().commit(session, "admin", {.confirmed = true, .persist = std::move(persist)});
}

std::vector<LockCase> lock_cases()
{
    return {
        {"running_is_free", [](TestServer&) {}, running, ""},
        {"candidate_is_free", [](TestServer&) {}, candidate, ""},
        {"startup_is_free", [](TestServer&) {}, startup, ""},
        {"another_datastore_is_locked", [](TestServer& server) { server.all().lock(2, running); }, candidate, ""},
        {"locked_by_another", [](TestServer& server) { server.all().lock(2, running); }, running, "lock-denied 2"},
        {"locked_by_itself", [](TestServer& server) { server.all().lock(1, startup); }, startup, "lock-denied 1"},
        {"locked_outside_of_netconf", [](TestServer& server) { server.all().lock(0, running); }, running,
         "lock-denied 0"},
        {"unlocked_again",
         [](TestServer& server) {
             server.all().lock(2, running);
             server.all().unlock(2, running);
         },
         running, ""},
        {"holder_has_gone",
         [](TestServer& server) {
             server.all().lock(2, running);
             server.all().close_session(2);
         },
         running, ""},
        {"candidate_changed_by_another", [](TestServer& server) { server.edit(candidate, "new", 2); }, candidate,
         "in-use"},
        {"candidate_changed_by_itself", [](TestServer& server) { server.edit(candidate, "new"); }, candidate, "in-use"},
        {"candidate_changed_does_not_matter_to_running", [](TestServer& server) { server.edit(candidate, "new", 2); },
         running, ""},
        {"candidate_edited_to_what_it_was",
         [](TestServer& server) {
             server.edit(running, "old");
             server.edit(candidate, "old");
         },
         candidate, ""},
        {"candidate_committed",
         [](TestServer& server) {
             server.edit(candidate, "new");
             server.commit();
         },
         candidate, ""},
        {"candidate_discarded",
         [](TestServer& server) {
             server.edit(candidate, "new");
             server.all().discard_changes(2);
         },
         candidate, ""},
        {"candidate_reset_by_a_copy",
         [](TestServer& server) {
             server.edit(candidate, "new");
             server.all().copy_config(2, "admin", candidate, running);
         },
         candidate, ""},
        {"candidate_changed_and_locked",
         [](TestServer& server) {
             server.all().lock(2, candidate);
             server.edit(candidate, "new", 2);
         },
         candidate, "lock-denied 2"},
        {"confirmed_commit_of_another", [](TestServer& server) { commit_confirmed(server, 2); }, running, "in-use"},
        {"confirmed_commit_of_its_own", [](TestServer& server) { commit_confirmed(server, 1); }, running, ""},
        {"confirmed_commit_of_another_does_not_matter_to_candidate",
         [](TestServer& server) { commit_confirmed(server, 2); }, candidate, ""},
        {"persistent_commit_of_a_session_that_has_gone",
         [](TestServer& server) {
             commit_confirmed(server, 2, "token");
             server.all().close_session(2);
         },
         running, "in-use"},
        {"confirmed_commit_confirmed",
         [](TestServer& server) {
             commit_confirmed(server, 2);
             server.commit(2);
         },
         running, ""},
        {"confirmed_commit_timed_out",
         [](TestServer& server) {
             commit_confirmed(server, 2);
             server.wait(std::chrono::seconds(600));
         },
         running, ""},
    };
}

class Lock : public testing::TestWithParam<LockCase>
{
};

TEST_P(Lock, IsGrantedOrNot)
{
    TestServer server;
    GetParam().before(server);
    EXPECT_EQ(tag_of([&] { server.all().lock(1, GetParam().datastore); }), GetParam().answer);
    const bool holds = *GetParam().answer == '\0' || std::string(GetParam().answer) == "lock-denied 1";
    EXPECT_EQ(tag_of([&] { server.all().unlock(1, GetParam().datastore); }), holds ? "" : "operation-failed");
}

INSTANTIATE_TEST_SUITE_P(Cases, Lock, testing::ValuesIn(lock_cases()),
                         [](const auto& item) { return std::string(item.param.name); });

TEST(Unlock, OfAnotherSessionsLockLeavesIt)
{
    TestServer server;
    server.all().lock(2, running);
    EXPECT_EQ(tag_of([&] { server.all().unlock(1, running); }), "operation-failed");
    EXPECT_EQ(tag_of([&] { server.all().lock(3, running); }), "lock-denied 2");
}

TEST(Unlock, DiscardsWhatTheHolderChangedInTheCandidate)
{
    TestServer server;
    server.edit(running, "old");
    server.all().lock(1, candidate);
    server.edit(candidate, "new");
    server.all().unlock(1, candidate);
    EXPECT_EQ(server.candidate(), "old");
    EXPECT_FALSE(server.all().candidate_is_modified());
}

TEST(EndOfSession, DiscardsTheCandidateOnlyWithItsLock)
{
    TestServer server;
    server.edit(candidate, "new");
    server.all().close_session(1);
    EXPECT_EQ(server.candidate(), "new");
    server.all().discard_changes(2);

    server.all().lock(1, candidate);
    server.edit(candidate, "new");
    server.all().close_session(2);
    EXPECT_EQ(server.candidate(), "new");
    server.all().close_session(1);
    EXPECT_EQ(server.candidate(), "");
}

TEST(EndOfSession, ReleasesAllItsLocksAndNoOther)
{
    TestServer server;
    server.all().lock(1, running);
    server.all().lock(1, startup);
    server.all().lock(2, candidate);
    server.all().close_session(1);
    EXPECT_EQ(tag_of([&] { server.all().lock(3, running); }), "");
    EXPECT_EQ(tag_of([&] { server.all().lock(3, startup); }), "");
    EXPECT_EQ(tag_of([&] { server.all().lock(3, candidate); }), "lock-denied 2");
}

} // namespace
} // namespace qnips::test
