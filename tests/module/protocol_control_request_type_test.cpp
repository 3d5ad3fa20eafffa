// The values that handlers of DNS request types take and refuse, the end of a range, which says nothing itself, and
// edits of whole entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* entry_handler = "IPS_UD_ProContDnsReqType";
constexpr const char* start_handler = "IPS_UD_ProContDnsReqStartType";
constexpr const char* action_handler = "IPS_UD_ProContDnsReqTypeAction";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;

class RequestTypeValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(RequestTypeValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string start_type(std::string_view text)
{
    return leaf("start-type", text);
}

std::string end_type(std::string_view text)
{
    return leaf("end-type", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

std::string entry(const std::string& leaves)
{
    return "<request-type>" + leaves + "</request-type>";
}

const std::string chain_message = "[IPS]SUCCESS: The op is CHAIN\r\n";
const std::string bad_start = "Failed to check the start type range.";
const std::string bad_end = "Failed to check the end type range.";

const std::vector<std::string> bad_types = {
    "65536", "-1", "1a", "+1", "1 2", "0x1", "4294967295", "99999999999999999999999", "a", std::string(64, 'a')};

// ------------------------------------------------------------------------------------------------- texts in general --

INSTANTIATE_TEST_SUITE_P(FaultyEntryStart, RequestTypeValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "start-type", any_operation,
                                                               "<request-type>",
                                                               end_type("x") + action("alert") + "</request-type>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyEntryEnd, RequestTypeValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "end-type", any_operation,
                                                               "<request-type>" + start_type("5"), "</request-type>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyStart, RequestTypeValue,
                         testing::ValuesIn(faulty_texts(start_handler, "start-type", any_operation)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyAction, RequestTypeValue,
                         testing::ValuesIn(faulty_texts(action_handler, "action",
                                                        {XMLDIFF_ADD, XMLDIFF_MOD, undone_addition, XMLDIFF_NONE,
                                                         XMLDIFF_REM | XMLDIFF_ROLLBACK})),
                         value_name);

// -------------------------------------------------------------------------------------------------------- the entry --

std::vector<ValueCase> entry_cases()
{
    std::vector<ValueCase> cases;
    const auto undone = [&](const char* name, const std::string& leaves, const std::string& line) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent(name, entry_handler, entry(leaves), "undo dns request-type check " + line, op, 1));
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CHAIN}, XMLDIFF_ADD | XMLDIFF_CFGR})
            cases.push_back(passed_over(name, entry_handler, entry(leaves), chain_message, op));
    };
    undone("One", start_type("5") + end_type("5"), "5");
    undone("Range", start_type("1") + end_type("255"), "1 to 255");
    undone("All", start_type("0") + end_type("65535"), "0 to 65535");
    undone("First", start_type("0") + end_type("0"), "0");
    undone("Last", start_type("65535") + end_type("65535"), "65535");
    undone("EndInFront", action("alert") + end_type("255") + " <!-- --> " + start_type("1"), "1 to 255");
    undone("FirstOfEach", start_type("1") + start_type("9") + end_type("2") + end_type("1"), "1 to 2");
    undone("NumbersNotTexts", start_type("9") + end_type("10"), "9 to 10");
    undone("EqualNumbers", start_type("05") + end_type("5"), "05");
    undone("TextsAsWritten", start_type("05") + end_type("006"), "05 to 006");
    undone("Low32BitsCount", start_type("4294967301") + end_type("5"), "4294967301");
    undone("AnyAction", start_type("1") + end_type("2") + action("drop"), "1 to 2");
    // whole texts are judged, copies of 63 characters are sent, and both fit into the line
    const std::string zeros(62, '0');
    undone("Of63Digits", start_type(zeros + "1") + end_type(zeros + "2"), zeros + "1 to " + zeros + "2");
    undone("Of64Digits", start_type(zeros + "17") + end_type(zeros + "28"), zeros + "1 to " + zeros + "2");
    return cases;
}

std::vector<ValueCase> refused_entry_cases()
{
    std::vector<ValueCase> cases;
    for (const int op : any_operation) {
        const auto refuse = [&](const char* name, const std::string& leaves, const std::string& message) {
            cases.push_back(refused(name, entry_handler, entry(leaves), NC_ERR_BAD_ELEM, message, op));
        };
        for (const std::string& text : bad_types) {
            refuse("BadStart", start_type(text) + end_type("5"), bad_start);
            refuse("BadEnd", start_type("5") + end_type(text), bad_end);
        }
        refuse("BothBad", start_type("a") + end_type("b"), bad_start);
        refuse("BadStartWithoutEnd", start_type("a"), bad_start);
        refuse("BadEndBelowStart", start_type("6") + end_type("5a"), bad_end);
        refuse("EndBelowStart", start_type("6") + end_type("5"), "End type is gthan start type.");
        refuse("EndFarBelowStart", start_type("65535") + end_type("0"), "End type is gthan start type.");
        for (const std::string& leaves : {end_type("5"), start_type("5"), action("alert")}) {
            cases.push_back(
                refused("WithoutAnEnd", entry_handler, entry(leaves), NC_ERR_MISSING_ELEM, absent_value, op));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Entry, RequestTypeValue, testing::ValuesIn(entry_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(RefusedEntry, RequestTypeValue, testing::ValuesIn(refused_entry_cases()), value_name);

// ---------------------------------------------------------------------------------------------- start type and action
// --

ValueCase group_refused(const char* name, const char* handler, std::string node, std::string group, NC_ERR code,
                        const std::string& message, int op = XMLDIFF_MOD)
{
    ValueCase test = in_group(refused(name, handler, std::move(node), code, message, op), std::move(group));
    test.output += error_line("Failed to check the information.");
    return test;
}

// The group without its start type: what the check says of the others, whichever leaf has changed.
void add_group_cases(std::vector<ValueCase>& cases, const char* handler, const std::string& node,
                     const std::string& beside)
{
    const auto refuse = [&](const char* name, const std::string& group, NC_ERR code, const std::string& message) {
        cases.push_back(group_refused(name, handler, node, group, code, message));
    };
    const std::string no_end = "Get error request-type/end-type node information.";
    refuse("EndAbsent", beside, NC_ERR_MISSING_ELEM, no_end);
    refuse("EndEmpty", beside + "<end-type text=''/>", NC_ERR_MISSING_ELEM, no_end);
    refuse("EndTooLongToRead", beside + end_type(std::string(64, '9')), NC_ERR_MISSING_ELEM, no_end);
    refuse("EndBehindTheLast", beside + end_type("65536"), NC_ERR_BAD_ELEM,
           "Failed to check end type node information.");
    refuse("EndBelowStart", beside + end_type("4"), NC_ERR_BAD_ELEM, "The end type is less-than the start type.");
}

std::vector<ValueCase> start_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string& text : bad_types) {
        for (const int op : any_operation)
            cases.push_back(refused("BadStart", start_handler, start_type(text), NC_ERR_BAD_ELEM, bad_start, op));
    }
    const auto set = [&](const char* name, const std::string& text, const std::string& group, const std::string& line) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, XMLDIFF_REM | XMLDIFF_ROLLBACK})
            cases.push_back(
                in_group(sent(name, start_handler, start_type(text), "dns request-type check " + line, op), group));
    };
    set("Range", "0", end_type("65535") + action("allow"), "0 to 65535 action allow");
    set("One", "65535", end_type("65535") + action("block"), "65535 action block");
    set("EqualNumbers", "5", end_type("05") + action("alert"), "5 action alert");
    set("Low32BitsCount", "4294967296", end_type("5") + action("alert"), "4294967296 to 5 action alert");

    add_group_cases(cases, start_handler, start_type("5"), action("alert"));
    cases.push_back(group_refused("ActionAbsent", start_handler, start_type("5"), end_type("5"), NC_ERR_MISSING_ELEM,
                                  "Get error request-type/action node information.", XMLDIFF_ADD));
    cases.push_back(group_refused("OtherAction", start_handler, start_type("5"), end_type("5") + action("Alert"),
                                  NC_ERR_BAD_ELEM, "Failed to check action node information.", XMLDIFF_ADD));
    // a start that is a number in more characters than the check can read
    ValueCase unread = in_group(refused("TooLongToRead", start_handler, start_type(std::string(63, '0') + '5'),
                                        NC_ERR_MISSING_ELEM, "Get error request-type/start-type node information."),
                                end_type("5") + action("alert"));
    unread.output =
        error_line("Get request-type/end-type node information.") + error_line("Failed to check the information.");
    cases.push_back(unread);
    return cases;
}

std::vector<ValueCase> action_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string word : {"alert", "block", "allow"}) {
        for (const int op : {int{XMLDIFF_MOD}, XMLDIFF_MOD | XMLDIFF_CHAIN, XMLDIFF_MOD | XMLDIFF_CFGR}) {
            cases.push_back(
                in_group(sent("Changed", action_handler, action(word), "dns request-type check 5 action " + word, op),
                         start_type("5") + end_type("5")));
        }
    }
    // unless it changes, nobody looks at what it says
    for (const char* word : {"alert", "ALERT", "drop"}) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_CFGR}, int{XMLDIFF_NONE}, int{XMLDIFF_CHAIN}}) {
            cases.push_back(in_group(
                passed_over("Saved", action_handler, action(word),
                            "[IPS]SUCCESS: The action have been saved, op(" + std::to_string(op) + ").\r\n\r\n", op),
                ""));
        }
    }
    for (const std::string& word : {std::string("Alert"), std::string("drop"), std::string(63, 'a')}) {
        cases.push_back(group_refused("OtherWord", action_handler, action(word), start_type("5") + end_type("5"),
                                      NC_ERR_BAD_ELEM, "Failed to check action node information."));
    }
    cases.push_back(group_refused("TooLongToRead", action_handler, action(std::string(64, 'a')),
                                  start_type("5") + end_type("5"), NC_ERR_MISSING_ELEM,
                                  "Get error request-type/action node information."));
    add_group_cases(cases, action_handler, action("alert"), start_type("5"));
    cases.push_back(group_refused("BadStart", action_handler, action("alert"), start_type("a") + end_type("5"),
                                  NC_ERR_BAD_ELEM, "Failed to check start type range node information."));
    // a removal is refused whatever the action says
    for (const char* node : {"<action/>", "<action text=''/>", "<action>?</action>", "<action>drop</action>"}) {
        cases.push_back(
            refused("Removed", action_handler, node, NC_ERR_OP_FAILED, "The operation is not supported.", XMLDIFF_REM));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Start, RequestTypeValue, testing::ValuesIn(start_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Action, RequestTypeValue, testing::ValuesIn(action_cases()), value_name);

// ------------------------------------------------------------------------------------------------------ the end type
// --

class EndType : public ServerTest
{
protected:
    static Steps above()
    {
        return in_profile("branch", "webguard") / Step{"protocol-controlling"} / Step{"dns-check"} /
               Step{"request-type", start_type("1") + action("alert")};
    }

    CallResult call(int op) { return call(op, above(), end_type("255")); }

    CallResult call(int op, const Steps& ancestors, const std::string& node)
    {
        CallResult r = server.call(IPS_UD_ProContDnsReqEndType, op, nested(ancestors, node), "//end-type");
        r.output = without_line_numbers(r.output);
        return r;
    }

    static std::string trace(int op, DebugSetting setting)
    {
        return setting.traces ? "[IPS]Current Function is IPS_UD_ProContDnsReqEndType , current line is #, "
                                "current op is " +
                                    std::to_string(op) + "\r\n"
                              : "";
    }
};

// A plain removal and every modification, whatever else they are.
const std::set<int> refused_ops = {
    XMLDIFF_REM,
    XMLDIFF_REM | XMLDIFF_CHAIN,
    XMLDIFF_REM | XMLDIFF_SIBLING,
    XMLDIFF_REM | XMLDIFF_CFGR,
    XMLDIFF_REM | XMLDIFF_ADD,
    XMLDIFF_REM | XMLDIFF_MOD,
    XMLDIFF_MOD,
    XMLDIFF_MOD | XMLDIFF_CHAIN,
    XMLDIFF_MOD | XMLDIFF_ROLLBACK,
    XMLDIFF_MOD | XMLDIFF_ADD | XMLDIFF_ROLLBACK,
    XMLDIFF_ERR,
};

TEST_F(EndType, RefusesToGoOrChangeAloneAndIsQuietOtherwise)
{
    const std::string message = "The operation is not supported.";
    for (const OpCase& op_case : op_cases()) {
        const bool is_refused = refused_ops.contains(op_case.op);
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(op_text(op_case.op));
            const DebugSwitches switches(setting);
            server.fail_result = 42;
            const CallResult r = call(op_case.op);
            EXPECT_EQ(r.result, is_refused ? 42 : 0);
            EXPECT_EQ(r.errors, is_refused ? (ClientErrors{{NC_ERR_OP_FAILED, message}}) : ClientErrors{});
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.cmd_oper, 0);
            EXPECT_EQ(r.output, trace(op_case.op, setting) +
                                    (setting.messages && is_refused ? error_line(message) : std::string()));
        }
    }
}

TEST_F(EndType, IsQuietWhileTheEntryTheProfileOrTheVsysGoes)
{
    for (int level = 1; level <= static_cast<int>(above().size()); ++level) {
        const bool is_guarded = level == 1 || level == 4 || level == 6;
        for (const int op : {int{XMLDIFF_REM}, int{XMLDIFF_MOD}}) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(level);
                const DebugSwitches switches(setting);
                const CallResult r = call(op, with_op(above(), level, "REM"), end_type("255"));
                EXPECT_EQ(r.quiet(), is_guarded);
                const std::string& message =
                    is_guarded ? parent_message : error_line("The operation is not supported.");
                EXPECT_EQ(r.output, trace(op, setting) + (setting.messages ? message : ""));
            }
        }
    }
}

TEST_F(EndType, ReadsNeitherNamesNorItsValue)
{
    Steps nameless = above();
    for (Step& step : nameless)
        step.content = "";
    for (const char* node : {"<end-type/>", "<end-type text=''/>", "<end-type>?</end-type>", "<end-type> a</end-type>",
                             "<end-type>65536</end-type>"}) {
        const CallResult added = call(XMLDIFF_ADD, nameless, node);
        EXPECT_TRUE(added.quiet());
        EXPECT_EQ(added.key_lookups, std::vector<KeyLookup>{});
        EXPECT_EQ(call(XMLDIFF_MOD, nameless, node).errors,
                  (ClientErrors{{NC_ERR_OP_FAILED, "The operation is not supported."}}));
    }
}

// --------------------------------------------------------------------------------------- edits of more than one node
// --

class RequestTypeEdit : public ServerTest
{
protected:
    // What the four handlers do for an entry, all of it with the operation: entry, start, end, action.
    std::vector<CallResult> edit(int op)
    {
        const std::string mark = " op='" + std::string(op == XMLDIFF_REM ? "REM" : "ADD") + "'>";
        const std::string xml = nested(in_profile("branch", "webguard") / Step{"protocol-controlling", "", "CHAIN"} /
                                           Step{"dns-check", "", "CHAIN"},
                                       "<request-type" + mark + "<start-type" + mark + "1</start-type><end-type" +
                                           mark + "255</end-type><action" + mark + "alert</action></request-type>");
        return {server.call(IPS_UD_ProContDnsReqType, op, xml, "//request-type"),
                server.call(IPS_UD_ProContDnsReqStartType, op, xml, "//start-type"),
                server.call(IPS_UD_ProContDnsReqEndType, op, xml, "//end-type"),
                server.call(IPS_UD_ProContDnsReqTypeAction, op, xml, "//action")};
    }
};

TEST_F(RequestTypeEdit, NewEntryIsSentByItsStartTypeOnly)
{
    const std::vector<CallResult> calls = edit(XMLDIFF_ADD);
    EXPECT_TRUE(calls[0].quiet());
    EXPECT_EQ(calls[1].lines, (Lines{{"branch", "profile-ips-webguard", "profile-ips",
                                      "dns request-type check 1 to 255 action alert"}}));
    EXPECT_EQ(calls[1].commits.size(), 1U);
    EXPECT_TRUE(calls[2].quiet());
    EXPECT_TRUE(calls[3].quiet());
}

TEST_F(RequestTypeEdit, RemovedEntrySendsItsOwnLineOnly)
{
    const std::vector<CallResult> calls = edit(XMLDIFF_REM);
    EXPECT_EQ(calls[0].lines,
              (Lines{{"branch", "profile-ips-webguard", "profile-ips", "undo dns request-type check 1 to 255"}}));
    EXPECT_TRUE(std::all_of(calls.begin() + 1, calls.end(), [](const CallResult& r) { return r.quiet(); }));
}

} // namespace
