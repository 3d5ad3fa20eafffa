// Command lines that combine several leaves of a profile.
#include "quorin-intrusion-prevention-core/commands/profile_command.h"

#include <gtest/gtest.h>

#include <string>

#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class DomainFilterLine : public ServerTest
{
protected:
    CallResult build(const std::string& leaves, std::string profile = "webguard")
    {
        std::string vsys = "branch";
        return server.run(
            "<command-and-control-domain-filter>" + leaves + "<changed/></command-and-control-domain-filter>",
            "//changed", [&](API_ENV_S* env) { return ips_cmd_zell_profile_cnc(env, vsys.data(), profile.data()); });
    }
};

struct LineCase {
    std::string leaves;
    std::string line;
};

std::string enable(std::string_view text)
{
    return leaf("domain-filter-enable", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

TEST_F(DomainFilterLine, IsChosenByTheLeavesThatArePresent)
{
    const std::string longest(63, 'a');
    const std::vector<LineCase> cases = {
        {enable("true"), "cnc domain-filter enable"},
        {enable("true") + action("block"), "cnc domain-filter enable action block"},
        {enable("true") + action("alert"), "cnc domain-filter enable action alert"},
        {action("alert") + enable("true"), "cnc domain-filter enable action alert"},
        {enable("true") + "<action text=''/>", "cnc domain-filter enable"},
        {enable("true") + action(longest), "cnc domain-filter enable action " + longest},
        {enable("true") + action(longest + 'a'), "cnc domain-filter enable"},
        {enable("false"), "undo cnc domain-filter enable"},
        {enable("false") + action("block"), "undo cnc domain-filter enable"},
    };
    for (const LineCase& test : cases) {
        SCOPED_TRACE(test.leaves);
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = build(test.leaves);
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, (Lines{{"branch", "profile-ips-webguard", "profile-ips", test.line}}));
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.cmd_oper, API_CMD_MOD) << "the builder leaves the command operation to the handler";
            EXPECT_EQ(r.output, setting.messages ? "[IPS]Operation: " + test.line + " \r\n" : "");
        }
    }
}

TEST_F(DomainFilterLine, ViewIsCutAt127Bytes)
{
    EXPECT_EQ(build(enable("true"), std::string(115, 'p')).lines.at(0).view, "profile-ips-" + std::string(115, 'p'));
    EXPECT_EQ(build(enable("true"), std::string(116, 'p')).lines.at(0).view, "profile-ips-" + std::string(115, 'p'));
    EXPECT_EQ(build(enable("true"), std::string(127, 'p')).lines.at(0).view, "profile-ips-" + std::string(115, 'p'));
}

TEST_F(DomainFilterLine, NeedsTheEnableLeaf)
{
    server.fail_result = 42;
    const std::string message = "Get error cnc/domain-filter-enable node information.";
    for (const std::string& leaves : {action("block"), std::string("<domain-filter-enable/>"),
                                      std::string("<domain-filter-enable text=''/>"), enable(std::string(64, 't'))}) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(leaves);
            const DebugSwitches switches(setting);
            const CallResult r = build(leaves);
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, message}}));
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_EQ(r.output, setting.messages ? "[IPS]ERROR: " + message + "\r\n\r\n" : "");
        }
    }
}

// Neither text ends as the others do.
TEST_F(DomainFilterLine, RefusesAnyOtherValue)
{
    server.fail_result = 42;
    for (const char* value : {"TRUE", "yes", "true ", "?"}) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(value);
            const DebugSwitches switches(setting);
            const CallResult r = build(enable(value) + action("block"));
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_INVALID_VALUE,
                                               "Failed to check cnc domain-filter enable node information"}}));
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_EQ(r.output, setting.messages
                                    ? "[IPS]Failed to check cnc domain-filter enable node information.\r\n\r\n"
                                    : "");
        }
    }
}

} // namespace
