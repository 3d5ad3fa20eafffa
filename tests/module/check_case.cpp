// Runs of checks and the comparison with what was promised.
#include "module/check_case.h"

#include "support/debug_switches.h"

namespace qnips::test
{

CallResult run_check(RecordingServer& server, Check check, const std::string& leaves)
{
    return server.run("<group>" + leaves + "<changed/></group>", "//changed", check);
}

void expect_judgement(RecordingServer& server, const CheckCase& test)
{
    server.fail_result = 42;
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        const CallResult r = run_check(server, test.check, test.leaves);
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_TRUE(r.commits.empty());
        EXPECT_EQ(r.cmd_oper, API_CMD_MOD) << "the check leaves the command operation to the handler";
        if (test.message.empty()) {
            EXPECT_TRUE(r.quiet());
            EXPECT_EQ(r.output, "");
        } else {
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{test.code, test.message}}));
            const std::string& text = test.debug_text.empty() ? test.message : test.debug_text;
            EXPECT_EQ(r.output, setting.messages ? "[IPS]ERROR: " + text + "\r\n\r\n" : "");
        }
    }
}

} // namespace qnips::test
