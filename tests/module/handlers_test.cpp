// What all handlers have in common: decoding of operations, ancestors that go, names, the commit.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "module/handler_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class AnyHandler : public ServerTestBase<testing::TestWithParam<HandlerCase>>
{
protected:
    CallResult call(int op) { return call(op, GetParam().above); }

    CallResult call(int op, const Steps& above)
    {
        const HandlerCase& test = GetParam();
        CallResult r = server.call(test.handler, op, nested(above, test.node), test.xpath);
        r.output = without_line_numbers(r.output);
        return r;
    }

    // `above` with other keys in the entry at `level`; what stands beside them there stays.
    static Steps with_name(Steps above, int level, const std::string& element)
    {
        above.at(above.size() - static_cast<std::size_t>(level)).content = element;
        return above;
    }
};

void expect_committed(const CallResult& r, const Lines& lines, unsigned operation)
{
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.lines, lines);
    EXPECT_EQ(r.errors, ClientErrors{});
    ASSERT_EQ(r.commits.size(), 1U);
    EXPECT_EQ(r.commits[0].lines, lines);
    EXPECT_EQ(r.commits[0].operation, operation);
    EXPECT_EQ(r.commits[0].header.msg_type, 1U);
    EXPECT_EQ(r.commits[0].header.model_type, 2U);
    EXPECT_EQ(r.cmd_oper, static_cast<int>(operation));
}

void expect_outcome(const CallResult& r, Outcome outcome, int op, const HandlerCase& test)
{
    switch (outcome) {
    case Outcome::set:
    case Outcome::unknown:
        expect_committed(r, test.lines(outcome, op), 0);
        break;
    case Outcome::undo:
        expect_committed(r, test.lines(outcome, op), 1);
        break;
    case Outcome::quiet:
        EXPECT_TRUE(r.quiet());
        EXPECT_EQ(r.cmd_oper, 0);
        break;
    case Outcome::refused:
        EXPECT_EQ(r.result, 1);
        EXPECT_EQ(r.errors, ClientErrors{test.refusal.value()});
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_TRUE(r.commits.empty());
        break;
    }
}

std::string outcome_text(Outcome outcome, int op, const HandlerCase& test)
{
    if (outcome == Outcome::quiet)
        return test.quiet_message + (test.quiet_names_op ? std::to_string(op) + ").\r\n\r\n" : "");
    if (outcome == Outcome::refused)
        return error_line(test.refusal.value().message.value());
    std::string text = outcome == Outcome::unknown ? test.unknown_start + std::to_string(op) + ").\r\n\r\n" : "";
    for (const Line& line : test.lines(outcome, op))
        text += (line == test.undo_line ? test.undo_start : "[IPS]Operation: ") + line.line + " \r\n";
    return text;
}

TEST_P(AnyHandler, ActsOnEachOperationAsPromised)
{
    for (const OpCase& op_case : op_cases()) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(op_text(op_case.op));
            const DebugSwitches switches(setting);
            const Outcome outcome = GetParam().outcome(op_case);
            const CallResult r = call(op_case.op);
            expect_outcome(r, outcome, op_case.op, GetParam());
            EXPECT_EQ(r.output, opening_lines(GetParam(), op_case.op, setting) +
                                    (setting.messages ? outcome_text(outcome, op_case.op, GetParam()) : ""));
        }
    }
}

TEST_P(AnyHandler, IsQuietWhileAGuardedAncestorGoes)
{
    for (const int level : GetParam().guards) {
        for (const char* ancestor_op : {"REM", "REM|CHAIN", "REM|ROLLBACK"}) {
            for (const int op : {int{XMLDIFF_REM}, int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_NONE}}) {
                for (const DebugSetting setting : all_debug_settings) {
                    SCOPED_TRACE(std::to_string(level) + ' ' + ancestor_op + ' ' + op_text(op));
                    const DebugSwitches switches(setting);
                    const CallResult r = call(op, with_op(GetParam().above, level, ancestor_op));
                    EXPECT_TRUE(r.quiet());
                    EXPECT_EQ(r.output, opening_lines(GetParam(), op, setting) +
                                            (setting.messages ? GetParam().guard_message : ""));
                }
            }
        }
    }
}

TEST_P(AnyHandler, ActsWhileAnUnguardedAncestorGoes)
{
    const auto& guards = GetParam().guards;
    for (int level = 1; level <= static_cast<int>(GetParam().above.size()); ++level) {
        if (std::ranges::find(guards, level) != guards.end())
            continue;
        SCOPED_TRACE(level);
        EXPECT_EQ(call(GetParam().sending_op(), with_op(GetParam().above, level, "REM")).lines,
                  GetParam().sent_lines());
    }
}

TEST_P(AnyHandler, ActsWhileAnAncestorIsOnlyCreatedOrChanged)
{
    for (const int level : GetParam().guards) {
        for (const char* ancestor_op : {"ADD", "CHAIN", "ADD|CHAIN", "MOD", "ADD|ROLLBACK", "SIBLING|REORDER"}) {
            SCOPED_TRACE(std::to_string(level) + ' ' + ancestor_op);
            EXPECT_EQ(call(GetParam().sending_op(), with_op(GetParam().above, level, ancestor_op)).lines,
                      GetParam().sent_lines());
        }
    }
}

TEST_P(AnyHandler, AsksForItsGuardedAncestorsAndNoOthers)
{
    const std::vector<int> asked = call(GetParam().sending_op()).ancestor_lookups;
    EXPECT_EQ(std::set<int>(asked.begin(), asked.end()),
              std::set<int>(GetParam().guards.begin(), GetParam().guards.end()));
}

// The guard comes before everything that can fail.
TEST_P(AnyHandler, IsQuietBelowARemovedAncestorWithoutANameToo)
{
    const Steps nameless = with_name(GetParam().above, GetParam().vsys_level, "");
    EXPECT_TRUE(call(XMLDIFF_REM, with_op(nameless, GetParam().guards.back(), "REM")).quiet());
}

TEST_P(AnyHandler, ReturnsTheResultOfAFailedCommit)
{
    server.commit_result = 77;
    for (const OpCase& op_case : op_cases()) {
        const Outcome outcome = GetParam().outcome(op_case);
        if (outcome == Outcome::quiet || outcome == Outcome::refused)
            continue;
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(op_text(op_case.op));
            const DebugSwitches switches(setting);
            const CallResult r = call(op_case.op);
            EXPECT_EQ(r.result, 77);
            EXPECT_EQ(r.commits.size(), 1U);
            EXPECT_EQ(r.errors, ClientErrors{}) << "the server reports a failed commit itself";
            EXPECT_EQ(r.output,
                      opening_lines(GetParam(), op_case.op, setting) +
                          (setting.messages ? outcome_text(outcome, op_case.op, GetParam()) + GetParam().failure_start +
                                                  GetParam().commit_failure + "\r\n\r\n"
                                            : ""));
        }
    }
}

TEST_P(AnyHandler, GoesOnWhenALineCouldNotBeCached)
{
    server.cache_result = 1;
    const CallResult r = call(GetParam().sending_op());
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.commits.size(), 1U);
}

TEST_P(AnyHandler, AnswersTheSameWhenCalledAgain)
{
    for (const OpCase& op_case : op_cases())
        call(op_case.op);
    EXPECT_EQ(call(GetParam().sending_op()).lines, GetParam().sent_lines());
}

// -------------------------------------------------------------------------------------------------------- the names --

struct NameFault {
    std::string element; // in place of the key
    NC_ERR code;
    std::string message;
    std::string before{}; // debug lines of the checks that ran before
};

class HandlerNames : public AnyHandler
{
protected:
    void expect_refused(int level, const NameFault& fault, const std::string& debug)
    {
        const HandlerCase& test = GetParam();
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_REM}, int{XMLDIFF_NONE}}) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(fault.element + ' ' + op_text(op));
                const DebugSwitches switches(setting);
                const CallResult r = call(op, with_name(test.above, level, fault.element));
                EXPECT_EQ(r.result, 42);
                EXPECT_EQ(r.errors, (ClientErrors{{fault.code, fault.message}}));
                EXPECT_EQ(r.lines, Lines{});
                EXPECT_TRUE(r.commits.empty());
                EXPECT_EQ(r.output, opening_lines(test, op, setting) + (setting.messages ? fault.before + debug : ""));
            }
        }
    }

    // What a handler prints behind the resolver's own debug line.
    static std::string resolver_trace()
    {
        return "[IPS]Current Function is " + std::string(GetParam().name) + " , current line is #.\r\n\r\n";
    }

    void SetUp() override { server.fail_result = 42; }
};

TEST_P(HandlerNames, VsysNameThatCannotBeReadIsRefused)
{
    for (const std::string& element :
         {std::string(), std::string("<name/>"), std::string("<name text=''/>"), leaf("name", std::string(128, 'v'))}) {
        const NameFault fault{element, NC_ERR_MISSING_ELEM, "Get an error vsys name."};
        if (GetParam().profile_level != 0)
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message) + resolver_trace());
        else if (GetParam().vsys_level == 1)
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message));
        else
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message + '.') + resolver_trace());
    }
}

TEST_P(HandlerNames, NamesAreJudgedWhereAProfileIsResolved)
{
    if (GetParam().profile_level == 0) {
        const Steps blank = with_name(GetParam().above, GetParam().vsys_level, leaf("name", "a ?"));
        EXPECT_EQ(call(XMLDIFF_ADD, blank).errors, ClientErrors{});
        return;
    }
    const NameFault no_profile{"", NC_ERR_MISSING_ELEM, "Get an error profile name."};
    const NameFault long_profile{leaf("name", std::string(128, 'p')), NC_ERR_MISSING_ELEM,
                                 "Get an error profile name."};
    const NameFault blank_vsys{leaf("name", " v"), NC_ERR_INVALID_VALUE,
                               "Invalid vsys-system name, because of spaces."};
    const NameFault marked_vsys{leaf("name", "v?"), NC_ERR_INVALID_VALUE,
                                "Invalid vsys-system name, because of spaces.", question_mark};
    const NameFault blank_profile{leaf("name", "p "), NC_ERR_INVALID_VALUE, "Invalid profile name, because of spaces."};
    for (const NameFault& fault : {no_profile, long_profile, blank_profile})
        expect_refused(GetParam().profile_level, fault, error_line(fault.message) + resolver_trace());
    for (const NameFault& fault : {blank_vsys, marked_vsys})
        expect_refused(GetParam().vsys_level, fault, error_line(fault.message) + resolver_trace());
}

TEST_P(HandlerNames, VsysNameOf127CharactersIsWhole)
{
    const std::string longest(127, 'v');
    const HandlerCase& test = GetParam();
    Lines promised = test.sent_lines();
    for (Line& line : promised) {
        if (test.vsys_level == 1)
            line.view = "vsys-" + longest;
        else
            line.vsys = longest;
    }
    EXPECT_EQ(call(test.sending_op(), with_name(test.above, test.vsys_level, leaf("name", longest))).lines, promised);
}

class ProfileView : public AnyHandler
{
};

// What stands behind the name in a longer view is cut with it.
TEST_P(ProfileView, HoldsTheProfileNameWholeUpTo115Characters)
{
    const HandlerCase& test = GetParam();
    Lines promised = test.sent_lines();
    for (Line& line : promised)
        line.view = "profile-ips-" + std::string(115, 'p');
    for (const std::size_t length : {115U, 116U, 127U}) {
        const std::string name = leaf("name", std::string(length, 'p'));
        EXPECT_EQ(call(test.sending_op(), with_name(test.above, test.profile_level, name)).lines, promised);
    }
}

std::string handler_name(const testing::TestParamInfo<HandlerCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, AnyHandler, testing::ValuesIn(handler_cases()), handler_name);
INSTANTIATE_TEST_SUITE_P(All, HandlerNames, testing::ValuesIn(handler_cases()), handler_name);

std::vector<HandlerCase> cases_below_a_profile()
{
    std::vector<HandlerCase> cases = handler_cases();
    std::erase_if(cases, [](const HandlerCase& test) { return test.profile_level == 0; });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(BelowAProfile, ProfileView, testing::ValuesIn(cases_below_a_profile()), handler_name);

} // namespace
