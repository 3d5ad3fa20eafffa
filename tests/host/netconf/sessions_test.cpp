// Many sessions that edit at the same time: in the end the datastore, the device and what every client sees are equal.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
#include "netconf_requests.h"
#include "serve_process.h"

namespace qnips::test
{
namespace
{

using testing::HasSubstr;

constexpr int session_count = 50;
constexpr int rounds = 6;

std::string described(int session, int round, const std::string& name)
{
    return config_with(profile(name, fmt::format("<description>{} of {}</description>", round, session)));
}

// What one session does: edits of its own profile and of the one that all share, with and without a lock, directly and
// through the candidate. Everything that went wrong, but for what another session may be the reason of.
std::vector<std::string> edits(RawClient& client, int session)
{
    std::vector<std::string> wrong;
    const auto expect = [&](const std::string& answer) {
        const bool is_locked = answer.find("<error-tag>lock-denied<") != std::string::npos ||
                               answer.find("<error-tag>in-use<") != std::string::npos;
        if (answer != ok && !is_locked)
            wrong.push_back(answer);
        return answer == ok;
    };
    const std::string own = fmt::format("own{}", session);
    for (int round = 0; round < rounds; ++round) {
        // The last word on the own profile has to be said.
        while (!expect(client.call(edit("running", described(session, round, own))))) {
        }
        expect(client.call(edit("running", described(session, round, "shared"))));
        if (session % 5 == 0 && expect(client.call(with_target("lock", "running")))) {
            expect(client.call(edit("running", described(session, round, "locked"))));
            expect(client.call(with_target("unlock", "running")));
        }
        // A commit makes running what the candidate is, so nobody else may change running on the way.
        if (session % 5 == 1 && expect(client.call(with_target("lock", "running")))) {
            if (expect(client.call(with_target("lock", "candidate")))) {
                if (expect(client.call(edit("candidate", described(session, round, "candidate")))))
                    expect(client.call("<commit/>"));
                expect(client.call(with_target("unlock", "candidate")));
            }
            expect(client.call(with_target("unlock", "running")));
        }
    }
    return wrong;
}

TEST(ManySessions, AgreeInTheEnd)
{
    const TemporaryFolder folder;
    const std::string socket = folder.file("socket");
    const std::string state = (folder.path() / "state").string();
    std::optional<ServeProcess> server;
    server.emplace(state, std::vector<std::string>{"--unix", socket, "--log-target", folder.file("log")});
    std::vector<std::unique_ptr<RawClient>> clients;
    clients.reserve(session_count);
    for (int i = 0; i < session_count; ++i)
        clients.push_back(std::make_unique<RawClient>(socket));

    std::vector<std::vector<std::string>> wrong(session_count);
    {
        std::vector<std::jthread> threads;
        threads.reserve(session_count);
        for (int i = 0; i < session_count; ++i)
            threads.emplace_back(
                [&, i] { wrong.at(static_cast<std::size_t>(i)) = edits(*clients.at(static_cast<std::size_t>(i)), i); });
    }
    for (const auto& answers : wrong)
        EXPECT_THAT(answers, testing::IsEmpty());

    const std::string seen = clients.front()->call(get_config("running"));
    for (int i = 0; i < session_count; ++i) {
        EXPECT_EQ(clients.at(static_cast<std::size_t>(i))->call(get_config("running")), seen);
        EXPECT_THAT(seen,
                    HasSubstr(fmt::format("<name>own{}</name><description>{} of {}</description>", i, rounds - 1, i)));
    }
    EXPECT_EQ(clients.front()->call("<validate><source><running/></source></validate>"), ok);
    clients.clear();
    server->stop();

    // What running says is what the device says; here it is held against the datastore.
    const std::string command =
        fmt::format("QN_IPS_MODULE='{}' QN_IPS_YANG_PATH='{}' '{}' drift --state '{}' >'{}' 2>&1", QN_IPS_MODULE,
                    QN_IPS_YANG_DIR ":" QN_IPS_IETF_YANG_DIR, QN_IPS_PROGRAM, state, folder.file("drift"));
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0) << content_of(folder.file("drift"));
    server.emplace(state, std::vector<std::string>{"--unix", socket, "--log-target", folder.file("log")});
    RawClient again(socket);
    EXPECT_EQ(again.call(get_config("running")), seen);
}

} // namespace
} // namespace qnips::test
