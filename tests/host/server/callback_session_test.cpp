// What becomes of a callback's lines and errors, and who is served.
#include "server/callback_session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "services_fixture.h"
#include "transapi/transapi.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Script = RecordingPlatform::Script;

char* owned_text(const char* text)
{
    return strdup(text);
}

unsigned cache_line(const char* text)
{
    return api_script_cache_lines(mutable_text("branch"), mutable_text("system"), nullptr, mutable_text(text));
}

int commit(unsigned operation, nc_err** error)
{
    msg_dp_zell_head_t header{};
    header.msg_type = API_DP2ZELL_CMD_CONFIG;
    msg_to_dp_t* reply = nullptr;
    return transapi_comm_with_zell(header, operation, &reply, error, nullptr);
}

CommandLine line(const char* text)
{
    return {.vsys = "branch", .view = "system", .view_type = {}, .text = text};
}

TEST_F(Services, CallbackGetsTheOperationAndTheNodeAndTheRecordSaysSo)
{
    xmlNode* seen = nullptr;
    int op = 0;
    const CallbackRecord record =
        call(description_a, Phase::removal, [&](void**, XMLDIFF_OP o, xmlNodePtr n, nc_err**) {
            seen = n;
            op = o;
            return 5;
        });
    EXPECT_EQ(seen, node(description_a, View::before));
    EXPECT_EQ(op, XMLDIFF_MOD);
    EXPECT_EQ(below_branch(record.path), description_a);
    EXPECT_EQ(record.op, static_cast<unsigned>(XMLDIFF_MOD));
    EXPECT_EQ(record.callback, "fake_removal");
    EXPECT_EQ(record.priority, 54);
    EXPECT_EQ(record.result, 5);
    EXPECT_GE(record.duration.count(), 0);
    EXPECT_THAT(record.scripts, IsEmpty());
    EXPECT_THAT(record.dropped, IsEmpty());
    EXPECT_THAT(record.errors, IsEmpty());
    EXPECT_EQ(record.platform_error, nullptr);
    EXPECT_FALSE(record.covered);
}

// ----------------------------------------------------------------------------------------------------- errors --

TEST_F(Services, FirstErrorStandsInTheSlotAndAllAreRecordedInOrder)
{
    const CallbackRecord record = call(description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        EXPECT_EQ(fail_nc_err(error, owned_text("first"), nullptr, 1, NC_ERR_BAD_ELEM), 1);
        EXPECT_NE(*error, nullptr);
        const nc_err* slot = *error;
        EXPECT_EQ(fail_nc_err(error, owned_text("second"), nullptr, 1, NC_ERR_IN_USE), 1);
        EXPECT_EQ(fail_nc_err(error, nullptr, nullptr, 1, NC_ERR_TOO_BIG), 1);
        EXPECT_EQ(*error, slot);
        EXPECT_EQ((*error)->error, (ReportedError{NC_ERR_BAD_ELEM, "first"}));
        return 1;
    });
    EXPECT_THAT(record.errors, ElementsAre(ReportedError{NC_ERR_BAD_ELEM, "first"},
                                           ReportedError{NC_ERR_IN_USE, "second"}, ReportedError{NC_ERR_TOO_BIG, ""}));
    EXPECT_EQ(record.result, 1);
    EXPECT_FALSE(record.has_warning());
}

TEST_F(Services, ErrorWithoutASlotIsRecordedAllTheSame)
{
    const CallbackRecord record = call(description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err**) {
        EXPECT_EQ(fail_nc_err(nullptr, owned_text("no slot"), nullptr, 1, NC_ERR_OP_FAILED), 1);
        return 0;
    });
    EXPECT_THAT(record.errors, ElementsAre(ReportedError{NC_ERR_OP_FAILED, "no slot"}));
    EXPECT_TRUE(record.has_warning());
}

TEST_F(Services, ErrorsOfOneCallbackAreNotThoseOfTheNext)
{
    CallbackSession session(platform_);
    call(session, description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        return fail_nc_err(error, owned_text("first"), nullptr, 1, NC_ERR_OP_FAILED);
    });
    const CallbackRecord next = call(session, action_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        EXPECT_EQ(*error, nullptr);
        return 0;
    });
    EXPECT_THAT(next.errors, IsEmpty());
}

// ------------------------------------------------------------------------------------------------------ lines --

TEST_F(Services, CommitExecutesTheCachedLinesAsOneUnitWithItsOperation)
{
    const CallbackRecord record = call(description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        char text[] = "one";
        char view[] = "profile-ips-a";
        EXPECT_EQ(api_script_cache_lines(nullptr, view, mutable_text("profile-ips"), text), 0U);
        std::strcpy(text, "xxx"); // the server keeps its own copy
        std::strcpy(view, "x");
        EXPECT_EQ(cache_line("two"), 0U);
        EXPECT_EQ(commit(API_CMD_DEL, error), 0);
        EXPECT_EQ(cache_line("three"), 0U);
        return commit(API_CMD_MOD, error);
    });
    const CommandLine one{.vsys = {}, .view = "profile-ips-a", .view_type = "profile-ips", .text = "one"};
    EXPECT_THAT(platform_.scripts(),
                ElementsAre(Script{{one, line("two")}, API_CMD_DEL, true}, Script{{line("three")}, API_CMD_MOD, true}));
    EXPECT_THAT(record.scripts, ElementsAre(CommittedScript{{one, line("two")}, API_CMD_DEL},
                                            CommittedScript{{line("three")}, API_CMD_MOD}));
    EXPECT_THAT(record.dropped, IsEmpty());
    EXPECT_EQ(record.result, 0);
}

TEST_F(Services, CommitWithoutLinesSucceedsAndDoesNotReachThePlatform)
{
    platform_.fail_script(1, {.code = NC_ERR_OP_FAILED, .message = "asked", .line = {}});
    const CallbackRecord record = call(description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        EXPECT_EQ(commit(API_CMD_ADD, error), 0);
        EXPECT_EQ(*error, nullptr);
        return 0;
    });
    EXPECT_THAT(platform_.scripts(), IsEmpty());
    EXPECT_THAT(record.scripts, IsEmpty());
    EXPECT_THAT(record.errors, IsEmpty());
}

TEST_F(Services, RefusalOfThePlatformIsReturnedReportedAndRecorded)
{
    for (const NC_ERR code : {NC_ERR_PARSE_COMMAND, NC_ERR_SET_VIEW, NC_ERR_COMMAND_EXECUTE, NC_ERR_OP_FAILED}) {
        SCOPED_TRACE(code);
        RecordingPlatform platform;
        const PlatformError refusal{.code = code, .message = "refused", .line = line("one")};
        platform.fail_script(1, refusal);
        CallbackSession session(platform);
        const CallbackRecord record =
            call(session, description_a, Phase::set, [&](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
                cache_line("one");
                const int result = commit(API_CMD_ADD, error);
                EXPECT_EQ(result, code);
                EXPECT_NE(*error, nullptr);
                EXPECT_EQ((*error)->error, (ReportedError{code, "refused"}));
                EXPECT_EQ(commit(API_CMD_ADD, error), 0) << "the lines are not sent again";
                return result;
            });
        EXPECT_EQ(record.result, code);
        EXPECT_THAT(record.errors, ElementsAre(ReportedError{code, "refused"}));
        ASSERT_NE(record.platform_error, nullptr);
        EXPECT_EQ(*record.platform_error, refusal);
        EXPECT_THAT(record.scripts, IsEmpty());
        EXPECT_THAT(record.dropped, IsEmpty());
        EXPECT_THAT(platform.scripts(), ElementsAre(Script{{line("one")}, API_CMD_ADD, false}));
    }
}

TEST_F(Services, LinesThatNobodyCommitsAreDroppedAndReported)
{
    CallbackSession session(platform_);
    const CallbackRecord failed =
        call(session, description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err**) {
            cache_line("one");
            cache_line("two");
            return 1;
        });
    const CallbackRecord next = call(session, action_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        cache_line("three");
        return commit(API_CMD_ADD, error);
    });
    EXPECT_THAT(failed.dropped, ElementsAre(line("one"), line("two")));
    EXPECT_THAT(next.dropped, IsEmpty());
    EXPECT_THAT(platform_.scripts(), ElementsAre(Script{{line("three")}, API_CMD_ADD, true}));
}

TEST_F(Services, MessagesThatThePlatformDoesNotAnswerAreRefused)
{
    const CallbackRecord record = call(description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        msg_dp_zell_head_t header{};
        header.msg_type = API_DP2ZELL_GET_PUBKEY;
        msg_to_dp_t left_over{};
        msg_to_dp_t* reply = &left_over;
        cache_line("one");
        EXPECT_EQ(transapi_comm_with_zell(header, 0, &reply, error, nullptr), NC_ERR_OP_NOT_SUPPORTED);
        EXPECT_EQ(reply, nullptr);
        return commit(API_CMD_ADD, error);
    });
    ASSERT_THAT(record.errors, SizeIs(1));
    EXPECT_EQ(record.errors.front().code, NC_ERR_OP_NOT_SUPPORTED);
    EXPECT_THAT(platform_.scripts(), SizeIs(1)) << "the cached lines still wait for their commit";
}

// Loses its connection in the middle of a script.
class BrokenPlatform final : public CommandPlatform
{
public:
    std::optional<PlatformError> execute(std::span<const CommandLine>, int) override
    {
        throw std::runtime_error("connection lost");
    }
    std::optional<PlatformError> remove_vsys(std::string_view) override { return std::nullopt; }
    PlatformAnswer configuration() override { return PlatformAnswer::none(); }
    PlatformAnswer state() override { return PlatformAnswer::none(); }
    PlatformAnswer first_signature_set(std::string_view, std::string_view) override { return PlatformAnswer::none(); }
};

TEST_F(Services, ExceptionOfThePlatformBecomesAnErrorForTheClient)
{
    BrokenPlatform broken;
    CallbackSession session(broken);
    const CallbackRecord record =
        call(session, description_a, Phase::set, [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
            cache_line("one");
            return commit(API_CMD_ADD, error);
        });
    EXPECT_EQ(record.result, NC_ERR_OP_FAILED);
    EXPECT_THAT(record.scripts, IsEmpty());
    EXPECT_THAT(record.errors, ElementsAre(ReportedError{NC_ERR_OP_FAILED, "connection lost"}));
}

// ---------------------------------------------------------------------------------------------------- covered --

int succeed(void**, XMLDIFF_OP, xmlNodePtr, nc_err**)
{
    return 0;
}

int send_line(void**, XMLDIFF_OP, xmlNodePtr, nc_err** error)
{
    cache_line("undo description");
    return commit(API_CMD_DEL, error);
}

TEST_F(Services, QuietRemovalBelowARemovedAncestorIsCovered)
{
    EXPECT_TRUE(call(description_b, Phase::removal, succeed).covered);
    EXPECT_FALSE(call(description_b, Phase::removal, send_line).covered) << "it has spoken for itself";
    EXPECT_FALSE(call(description_b, Phase::removal, [](auto...) { return 1; }).covered) << "it has failed";
    EXPECT_FALSE(call(description_b, Phase::set, succeed).covered) << "removals are told in the other phase";
    EXPECT_FALSE(call(profile_b, Phase::removal, succeed).covered) << "nothing above it goes";
    EXPECT_FALSE(call(description_a, Phase::removal, succeed).covered) << "it does not go";
}

// --------------------------------------------------------------------------------------------------- sessions --

TEST_F(Services, OnlyOneSessionAtATime)
{
    EXPECT_EQ(CallbackSession::current(), nullptr);
    {
        CallbackSession session(platform_);
        EXPECT_EQ(CallbackSession::current(), &session);
        EXPECT_THROW(CallbackSession{platform_}, std::logic_error);
        EXPECT_EQ(CallbackSession::current(), &session) << "the first one goes on";
        EXPECT_EQ(call(session, description_a, Phase::set, send_line).result, 0);
    }
    EXPECT_EQ(CallbackSession::current(), nullptr);
    CallbackSession next(platform_);
    EXPECT_EQ(CallbackSession::current(), &next);
}

TEST(ServicesWithoutASession, FailAndTouchNothing)
{
    nc_err* error = nullptr;
    EXPECT_NE(cache_line("one"), 0U);
    EXPECT_NE(commit(API_CMD_ADD, &error), 0);
    EXPECT_EQ(fail_nc_err(&error, nullptr, nullptr, 1, NC_ERR_OP_FAILED), 1);
    EXPECT_EQ(error, nullptr);

    RecordingPlatform platform;
    const CallbackSession session(platform);
    EXPECT_EQ(commit(API_CMD_ADD, &error), 0);
    EXPECT_THAT(platform.scripts(), IsEmpty()) << "a line from before the session is not its own";
}

// The text passes to the server whatever it can do with it; a leak shows under the address sanitizer.
TEST(ServicesWithoutASession, TakeTheTextOfAnError)
{
    nc_err* error = nullptr;
    EXPECT_EQ(fail_nc_err(&error, owned_text("nobody listens"), nullptr, 1, NC_ERR_OP_FAILED), 1);
    EXPECT_EQ(error, nullptr);
}

} // namespace
} // namespace qnips::test
