// Lines wait for a commit, go to the platform together and never twice.
#include "server/pending_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/recording_platform.h"
#include "transapi/command_platform.h"
#include "transapi/netconf_error.h"

namespace qnips
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Script = RecordingPlatform::Script;

const CommandLine first{.vsys = "branch", .view = "system", .view_type = {}, .text = "first"};
const CommandLine second{.vsys = {}, .view = "profile-ips-web", .view_type = "profile-ips", .text = "second"};

class PendingScriptTest : public testing::Test
{
protected:
    RecordingPlatform platform_;
    PendingScript script_;
};

TEST_F(PendingScriptTest, NothingReachesThePlatformBeforeTheCommit)
{
    script_.cache(first);
    EXPECT_THAT(platform_.scripts(), IsEmpty());
}

TEST_F(PendingScriptTest, CommitExecutesAllLinesAsOneUnitInOrder)
{
    script_.cache(first);
    script_.cache(second);
    script_.cache(first);
    const PendingScript::Commit commit = script_.commit(platform_, API_CMD_DEL);
    EXPECT_THAT(platform_.scripts(), ElementsAre(Script{{first, second, first}, API_CMD_DEL, true}));
    EXPECT_THAT(commit.lines, ElementsAre(first, second, first));
    EXPECT_EQ(commit.operation, API_CMD_DEL);
    EXPECT_EQ(commit.error, std::nullopt);
}

TEST_F(PendingScriptTest, EmptyScriptSucceedsWithoutThePlatform)
{
    platform_.fail_script(1, {.code = NC_ERR_OP_FAILED, .message = "asked", .line = {}});
    const PendingScript::Commit commit = script_.commit(platform_, API_CMD_ADD);
    EXPECT_EQ(commit.error, std::nullopt);
    EXPECT_THAT(commit.lines, IsEmpty());
    EXPECT_THAT(platform_.scripts(), IsEmpty());
}

TEST_F(PendingScriptTest, LinesAreForgottenOnceTheyWereCommitted)
{
    script_.cache(first);
    script_.commit(platform_, API_CMD_ADD);
    script_.cache(second);
    script_.commit(platform_, API_CMD_MOD);
    script_.commit(platform_, API_CMD_ADD);
    EXPECT_THAT(platform_.scripts(),
                ElementsAre(Script{{first}, API_CMD_ADD, true}, Script{{second}, API_CMD_MOD, true}));
    EXPECT_THAT(script_.take_left_over(), IsEmpty());
}

TEST_F(PendingScriptTest, RefusedLinesAreReportedAndForgottenToo)
{
    const PlatformError error{.code = NC_ERR_SET_VIEW, .message = "no such view", .line = second};
    platform_.fail_script(1, error);
    script_.cache(first);
    script_.cache(second);
    const PendingScript::Commit refused = script_.commit(platform_, API_CMD_ADD);
    EXPECT_EQ(refused.error, error);
    EXPECT_THAT(refused.lines, ElementsAre(first, second));
    EXPECT_THAT(script_.take_left_over(), IsEmpty());
    EXPECT_EQ(script_.commit(platform_, API_CMD_ADD).error, std::nullopt);
    EXPECT_THAT(platform_.scripts(), ElementsAre(Script{{first, second}, API_CMD_ADD, false}));
}

TEST_F(PendingScriptTest, LeftOverLinesAreTakenOnceAndNeverCommitted)
{
    script_.cache(first);
    script_.cache(second);
    EXPECT_THAT(script_.take_left_over(), ElementsAre(first, second));
    EXPECT_THAT(script_.take_left_over(), IsEmpty());
    script_.commit(platform_, API_CMD_ADD);
    EXPECT_THAT(platform_.scripts(), IsEmpty());
}

} // namespace
} // namespace qnips
