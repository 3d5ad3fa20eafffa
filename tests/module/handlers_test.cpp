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
        CallResult r = test.call(server, op, nested(above, test.node));
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
        expect_committed(r, test.lines(outcome, op), test.undo_operation);
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
    std::string text = test.checks_output == nullptr ? "" : test.checks_output(outcome, op);
    if (outcome == Outcome::unknown)
        text += test.unknown_start + std::to_string(op) + ").\r\n\r\n";
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
    std::set<int> promised(GetParam().guards.begin(), GetParam().guards.end());
    promised.insert(GetParam().watched.begin(), GetParam().watched.end());
    EXPECT_EQ(std::set<int>(asked.begin(), asked.end()), promised);
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
                                                  GetParam().commit_failure + GetParam().failure_end
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

// The guard comes before everything that can fail.
TEST_P(HandlerNames, AreNotReadBelowARemovedAncestor)
{
    const Steps nameless = with_name(GetParam().above, GetParam().vsys_level, "");
    for (const int level : GetParam().guards)
        EXPECT_TRUE(call(XMLDIFF_REM, with_op(nameless, level, "REM")).quiet());
}

TEST_P(HandlerNames, VsysNameThatCannotBeReadIsRefused)
{
    for (const std::string& element :
         {std::string(), std::string("<name/>"), std::string("<name text=''/>"), leaf("name", std::string(128, 'v'))}) {
        const NameFault fault{element, NC_ERR_MISSING_ELEM, "Get an error vsys name."};
        if (GetParam().profile_level != 0 || GetParam().signature_level != 0)
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message) + resolver_trace());
        else if (GetParam().vsys_level == 1)
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message));
        else
            expect_refused(GetParam().vsys_level, fault, error_line(fault.message + '.') + resolver_trace());
    }
}

class VsysNames : public HandlerNames
{
};

TEST_P(VsysNames, AreTakenAsTheyAreWhereNothingElseIsResolved)
{
    const Steps blank = with_name(GetParam().above, GetParam().vsys_level, leaf("name", "a ?"));
    EXPECT_EQ(call(XMLDIFF_ADD, blank).errors, ClientErrors{});
}

class ProfileNames : public HandlerNames
{
};

TEST_P(ProfileNames, AreJudged)
{
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

class SignatureNames : public HandlerNames
{
};

// All with one code, also where a profile's names have another.
TEST_P(SignatureNames, AreJudged)
{
    const NC_ERR code = NC_ERR_MISSING_ELEM;
    const std::string unread = "Get an error signature-id.";
    const std::string blank = "Invalid signature-id, because of spaces.";
    const std::string out_of_range = "Invalid signature-id, because of range(<1-1024>).";
    const std::string blank_vsys = "Invalid vsys-system name, because of spaces.";
    for (const std::string& element : {std::string(), std::string("<id text=''/>"), leaf("id", std::string(64, '1'))})
        expect_refused(GetParam().signature_level, {element, code, unread}, error_line(unread) + resolver_trace());
    for (const NameFault& fault : {NameFault{leaf("id", "7 "), code, blank},
                                   {leaf("id", "\t7"), code, blank},
                                   {leaf("id", "7?"), code, blank, question_mark}})
        expect_refused(GetParam().signature_level, fault, error_line(blank) + resolver_trace());
    for (const char* id : {"0", "1025", "-1", "id"})
        expect_refused(GetParam().signature_level,
                       {leaf("id", id), code, out_of_range, "[IPS]ERROR: The signature id is wrong.\r\n\r\n"},
                       error_line(out_of_range) + resolver_trace());
    for (const NameFault& fault :
         {NameFault{leaf("name", " v"), code, blank_vsys}, {leaf("name", "v?"), code, blank_vsys, question_mark}})
        expect_refused(GetParam().vsys_level, fault, error_line(blank_vsys) + resolver_trace());
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

// The cases in which a level is set.
std::vector<HandlerCase> cases_with(int HandlerCase::*level)
{
    std::vector<HandlerCase> cases = handler_cases();
    std::erase_if(cases, [=](const HandlerCase& test) { return test.*level == 0; });
    return cases;
}

std::vector<HandlerCase> cases_with_vsys_only()
{
    std::vector<HandlerCase> cases = cases_with(&HandlerCase::vsys_level);
    std::erase_if(cases, [](const HandlerCase& test) { return test.profile_level != 0 || test.signature_level != 0; });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(BelowAVsys, HandlerNames, testing::ValuesIn(cases_with(&HandlerCase::vsys_level)),
                         handler_name);
INSTANTIATE_TEST_SUITE_P(BelowAVsys, VsysNames, testing::ValuesIn(cases_with_vsys_only()), handler_name);
INSTANTIATE_TEST_SUITE_P(BelowAProfile, ProfileNames, testing::ValuesIn(cases_with(&HandlerCase::profile_level)),
                         handler_name);
INSTANTIATE_TEST_SUITE_P(BelowAProfile, ProfileView, testing::ValuesIn(cases_with(&HandlerCase::profile_level)),
                         handler_name);
INSTANTIATE_TEST_SUITE_P(BelowASignature, SignatureNames, testing::ValuesIn(cases_with(&HandlerCase::signature_level)),
                         handler_name);

} // namespace
