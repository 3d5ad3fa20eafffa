// A platform with faults does what it is told to do wrong, once and at its place, and everything else right.
#include "platform/faulty_platform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/recording_platform.h"
#include "transapi/netconf_error.h"

namespace
{

using namespace qnips;

const std::vector<CommandLine> script{{.vsys = "branch", .view = "system", .view_type = {}, .text = "one"},
                                      {.vsys = "branch", .view = "system", .view_type = {}, .text = "two"}};

class Faulty : public testing::Test
{
protected:
    // The codes of three scripts of two lines each; 0 for success.
    std::vector<int> codes()
    {
        std::vector<int> seen;
        for (int i = 0; i < 3; ++i) {
            const std::optional<PlatformError> error = platform_.execute(script, 0);
            seen.push_back(error ? error->code : 0);
        }
        return seen;
    }

    RecordingPlatform device_;
    FaultyPlatform platform_{device_};
};

TEST_F(Faulty, WithoutAFaultPassesEverythingOn)
{
    EXPECT_EQ(codes(), (std::vector{0, 0, 0}));
    EXPECT_EQ(device_.scripts().size(), 3U);
    platform_.remove_vsys("branch");
    EXPECT_EQ(device_.removed_vsys(), std::vector<std::string>{"branch"});
    EXPECT_TRUE(platform_.configuration().is_none());
    EXPECT_TRUE(platform_.state().is_none());
    EXPECT_TRUE(platform_.first_signature_set("branch", "web").is_none());
    EXPECT_FALSE(platform_.has_happened());
}

TEST_F(Faulty, RefusesTheScriptOfALine)
{
    platform_.set({.kind = Fault::Kind::line_refused, .number = 4});
    EXPECT_EQ(platform_.execute(script, 0), std::nullopt);
    EXPECT_FALSE(platform_.has_happened());
    EXPECT_EQ(platform_.execute(script, 0),
              (PlatformError{NC_ERR_COMMAND_EXECUTE, "the device has failed", script[1]}));
    EXPECT_TRUE(platform_.has_happened());
    EXPECT_EQ(platform_.execute(script, 0), std::nullopt);
    EXPECT_EQ(device_.scripts().size(), 2U);
}

TEST_F(Faulty, RefusesAScript)
{
    platform_.set({.kind = Fault::Kind::script_refused, .number = 2});
    EXPECT_EQ(codes(), (std::vector<int>{0, NC_ERR_COMMAND_EXECUTE, 0}));
    EXPECT_EQ(device_.scripts().size(), 2U);
}

TEST_F(Faulty, LosesTheChannelForGood)
{
    platform_.set({.kind = Fault::Kind::channel_lost, .number = 2});
    EXPECT_EQ(codes(), (std::vector<int>{0, NC_ERR_OP_FAILED, NC_ERR_OP_FAILED}));
    EXPECT_EQ(device_.scripts().size(), 1U);
    platform_.remove_vsys("branch");
    EXPECT_TRUE(device_.removed_vsys().empty());
    EXPECT_EQ(platform_.configuration().error().message, "the command platform cannot be reached");
    EXPECT_TRUE(platform_.state().is_failure());
    EXPECT_TRUE(platform_.first_signature_set("branch", "web").is_failure());
    platform_.clear();
    EXPECT_TRUE(platform_.configuration().is_none());
}

TEST_F(Faulty, CarriesOutAScriptAndDoesNotSaySo)
{
    platform_.set({.kind = Fault::Kind::no_answer, .number = 2});
    EXPECT_EQ(codes(), (std::vector<int>{0, NC_ERR_OP_FAILED, 0}));
    EXPECT_EQ(device_.scripts().size(), 3U);
}

TEST_F(Faulty, AnswersWrongOnce)
{
    platform_.set({.kind = Fault::Kind::wrong_answer, .number = 2, .answer = "<x"});
    EXPECT_TRUE(platform_.configuration().is_none());
    EXPECT_EQ(platform_.state().text(), "<x");
    EXPECT_TRUE(platform_.first_signature_set("branch", "web").is_none());
}

TEST_F(Faulty, TakesItsTime)
{
    platform_.set({.kind = Fault::Kind::slow, .delay = std::chrono::milliseconds(20)});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(platform_.execute(script, 0), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

} // namespace
