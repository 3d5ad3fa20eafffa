// What a builder of a condition's line has done, compared with what was promised.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "module/handler_case.h"
#include "support/server_test.h"

namespace qnips::test
{

class ConditionLine : public ServerTest
{
protected:
    using Build = std::function<CallResult()>;

    // Repeats the call with all settings of the switches. `before` are the debug lines in front of the line's own.
    static void expect_line(const Build& build, const Line& line, const std::string& before = "")
    {
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = build();
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, Lines{line});
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.cmd_oper, API_CMD_MOD) << "the builder leaves the command operation to the handler";
            EXPECT_EQ(r.output, setting.messages ? before + operation_line(line.line) : "");
        }
    }

    void expect_error(const Build& build, NC_ERR code, const std::string& message, const std::string& before = "")
    {
        for (const int answer : {0, 42})
            expect_error(build, {code, message}, before, answer);
    }

private:
    // `answer` is the server's to the error, and the builder's result.
    void expect_error(const Build& build, const ClientError& error, const std::string& before, int answer)
    {
        server.fail_result = answer;
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = build();
            EXPECT_EQ(r.result, answer);
            EXPECT_EQ(r.errors, ClientErrors{error});
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.output, setting.messages ? before + error_line(error.message.value()) : "");
        }
    }
};

} // namespace qnips::test
