// Checks of groups of sibling leaves of a profile.
#include "quorin-intrusion-prevention-core/checks/profile_check.h"

#include <gtest/gtest.h>

#include <string>

#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

struct CheckCase {
    const char* name;
    std::string leaves; // beside the changed leaf
    NC_ERR code = NC_ERR_EMPTY;
    std::string message{}; // empty: acceptable
};

class DomainFilterCheck : public ServerTestBase<testing::TestWithParam<CheckCase>>
{
};

TEST_P(DomainFilterCheck, JudgesTheGroupAndTellsTheClient)
{
    const CheckCase& test = GetParam();
    server.fail_result = 42;
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        const CallResult r = server.run("<command-and-control-domain-filter>" + test.leaves +
                                            "<changed/></command-and-control-domain-filter>",
                                        "//changed", ips_profile_cnc_check);
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_TRUE(r.commits.empty());
        if (test.message.empty()) {
            EXPECT_TRUE(r.quiet());
            EXPECT_EQ(r.output, "");
        } else {
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{test.code, test.message}}));
            EXPECT_EQ(r.output, setting.messages ? "[IPS]ERROR: " + test.message + "\r\n\r\n" : "");
        }
    }
}

std::string enable(std::string_view text)
{
    return leaf("domain-filter-enable", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

const std::string unread = "Get error cnc/domain-filter-enable node information.";
const std::string bad_enable = "Failed to check the cnc-enable node.";
const std::string bad_action = "Failed to check the cnc-action node.";

INSTANTIATE_TEST_SUITE_P(
    Groups, DomainFilterCheck,
    testing::Values(
        CheckCase{"OnWithoutAction", enable("true")}, CheckCase{"OnWithAlert", enable("true") + action("alert")},
        CheckCase{"OnWithBlock", enable("true") + action("block")},
        CheckCase{"OnWithAllow", enable("true") + action("allow"), NC_ERR_INVALID_VALUE, bad_action},
        CheckCase{"OnWithCapitalAction", enable("true") + action("Block"), NC_ERR_INVALID_VALUE, bad_action},
        CheckCase{"OnWithActionAndBlank", enable("true") + action("block "), NC_ERR_INVALID_VALUE, bad_action},
        CheckCase{"OnWithEmptyAction", enable("true") + "<action text=''/>"},
        CheckCase{"OnWithActionOf63Characters", enable("true") + action(std::string(63, 'a')), NC_ERR_INVALID_VALUE,
                  bad_action},
        CheckCase{"OnWithActionTooLongToRead", enable("true") + action(std::string(64, 'a'))},
        CheckCase{"OffWithoutAction", enable("false")}, CheckCase{"OffWithAllow", enable("false") + action("allow")},
        CheckCase{"Capitals", enable("TRUE") + action("block"), NC_ERR_INVALID_VALUE, bad_enable},
        CheckCase{"OtherWord", enable("yes"), NC_ERR_INVALID_VALUE, bad_enable},
        CheckCase{"TrailingBlank", enable("true "), NC_ERR_INVALID_VALUE, bad_enable},
        CheckCase{"EnableAbsent", action("block"), NC_ERR_MISSING_ELEM, unread},
        CheckCase{"EnableEmpty", "<domain-filter-enable text=''/>", NC_ERR_MISSING_ELEM, unread},
        CheckCase{"EnableOf63Characters", enable(std::string(63, 't')), NC_ERR_INVALID_VALUE, bad_enable},
        CheckCase{"EnableTooLongToRead", enable(std::string(64, 't')), NC_ERR_MISSING_ELEM, unread}),
    [](const auto& test) { return test.param.name; });

} // namespace
