// The values that handlers of exception signatures take and refuse, what stands beside them, and edits of several
// nodes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* entry_handler = "IPS_UD_ExcSignature";
constexpr const char* id_handler = "IPS_UD_ExcSigID";
constexpr const char* action_handler = "IPS_UD_ExcSigAction";
constexpr const char* timeout_handler = "IPS_UD_ExcSigTimeout";
constexpr const char* interworking_handler = "IPS_UD_ExcSigInterworking";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;

class ExceptionValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(ExceptionValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string id(std::string_view text)
{
    return leaf("id", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

std::string timeout(std::string_view text)
{
    return leaf("timeout", text);
}

std::string interworking(std::string_view text)
{
    return leaf("interworking", text);
}

std::string entry(const std::string& leaves)
{
    return "<exception-signature>" + leaves + "</exception-signature>";
}

const std::string line_start = "exception ips-signature-id ";
const std::string hundred = line_start + "100 ";
const std::string chain_message = "[IPS]SUCCESS: The op is CHAIN\r\n";
const std::string unread_id = "Get error exception-signature/id information.";
const std::string bad_id = "Failed to check the signature-id information.";
const std::string unreadable(64, '1');

// A group that the check refuses. A set says so in a debug line of its own, an undo does not.
ValueCase group_refused(const char* name, const char* handler, std::string node, std::string group,
                        const std::string& message, int op = XMLDIFF_ADD)
{
    ValueCase test =
        in_group(refused(name, handler, std::move(node), NC_ERR_MISSING_ELEM, message, op), std::move(group));
    const bool is_undo = op == XMLDIFF_REM || op == undone_addition;
    if (!is_undo)
        test.output += error_line("Failed to check the information.");
    return test;
}

ValueCase leaf_refused(const char* name, const char* handler, std::string node, std::string group,
                       const std::string& leaf_name, int op = XMLDIFF_ADD)
{
    return group_refused(name, handler, std::move(node), std::move(group),
                         "Failed to check the exception-signature/" + leaf_name + " node.", op);
}

// ------------------------------------------------------------------------------------------------- texts in general --

INSTANTIATE_TEST_SUITE_P(FaultyEntry, ExceptionValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "id", any_operation,
                                                               "<exception-signature>" + action("alert"),
                                                               "</exception-signature>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyId, ExceptionValue, testing::ValuesIn(faulty_texts(id_handler, "id", any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyAction, ExceptionValue,
                         testing::ValuesIn(faulty_texts(action_handler, "action", any_operation)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyTimeout, ExceptionValue,
                         testing::ValuesIn(faulty_texts(timeout_handler, "timeout", any_operation)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyInterworking, ExceptionValue,
                         testing::ValuesIn(faulty_texts(interworking_handler, "interworking", any_operation)),
                         value_name);

// --------------------------------------------------------------------------------------------------- the entry's id --

const std::vector<std::string> bad_ids = {"0",
                                          "16777217",
                                          "12a",
                                          "-5",
                                          "+5",
                                          "1 2",
                                          "0x10",
                                          "4294967296",
                                          "99999999999999999999999",
                                          "a",
                                          std::string(64, 'a'),
                                          std::string(300, '9'),
                                          "100.0"};

std::vector<ValueCase> entry_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string& text : bad_ids) {
        for (const int op : any_operation) {
            cases.push_back(refused("BadId", entry_handler, entry(id(text)), NC_ERR_BAD_ELEM, bad_id, op));
        }
    }
    for (const std::string text : {"1", "16777216", "0000000000016777216", "4294967297"}) {
        const std::string node = entry(id(text));
        const std::string line = "undo exception ips-signature-id " + text;
        cases.push_back(sent("Removed", entry_handler, node, line, XMLDIFF_REM, 1));
        cases.push_back(sent("AdditionUndone", entry_handler, node, line, undone_addition, 1));
        cases.push_back(passed_over("Added", entry_handler, node, chain_message));
        cases.push_back(passed_over("Changed", entry_handler, node, chain_message, XMLDIFF_MOD));
        cases.push_back(passed_over("ChangedBelow", entry_handler, node, chain_message, XMLDIFF_CHAIN));
    }
    for (const int op : any_operation) {
        cases.push_back(
            refused("WithoutId", entry_handler, entry(action("alert")), NC_ERR_MISSING_ELEM, absent_value, op));
    }
    cases.push_back(sent("FirstId", entry_handler, entry(" <!-- --> " + action("alert") + id("5") + id("6")),
                         "undo exception ips-signature-id 5", XMLDIFF_REM, 1));
    cases.push_back(
        refused("FirstIdBad", entry_handler, entry(id("0") + id("6")), NC_ERR_BAD_ELEM, bad_id, XMLDIFF_REM));
    // the whole text is judged, a copy of 63 characters is sent
    const std::string zeros(62, '0');
    cases.push_back(sent("Of63Digits", entry_handler, entry(id(zeros + "7")),
                         "undo exception ips-signature-id " + zeros + "7", XMLDIFF_REM, 1));
    cases.push_back(sent("Of64Digits", entry_handler, entry(id(zeros + "17")),
                         "undo exception ips-signature-id " + zeros + "1", XMLDIFF_REM, 1));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(EntryId, ExceptionValue, testing::ValuesIn(entry_cases()), value_name);

// ------------------------------------------------------------------------------------------------------ the id leaf --

std::vector<ValueCase> id_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string& text : bad_ids) {
        for (const int op : any_operation)
            cases.push_back(refused("BadId", id_handler, id(text), NC_ERR_BAD_ELEM, bad_id, op));
    }
    for (const std::string text : {"1", "16777216", "0016", "4294967297"}) {
        cases.push_back(in_group(sent("Alone", id_handler, id(text), line_start + text + ' '), ""));
        cases.push_back(in_group(
            sent("WithAction", id_handler, id(text), line_start + text + " action alert", XMLDIFF_ADD | XMLDIFF_CFGR),
            action("alert")));
    }
    const std::string longest(std::string(62, '0') + '7');
    cases.push_back(in_group(sent("Of63Digits", id_handler, id(longest), line_start + longest + ' '), ""));
    cases.push_back(group_refused("Of64Digits", id_handler, id('0' + longest), "", unread_id));
    cases.push_back(in_group(sent("TimeoutWithoutABlock", id_handler, id("100"), hundred + "action allow"),
                             action("allow") + timeout("99")));
    cases.push_back(in_group(sent("TimeoutWithoutAction", id_handler, id("100"), hundred), timeout("99")));
    cases.push_back(in_group(sent("UnreadableNeighbours", id_handler, id("100"), hundred),
                             action(unreadable) + timeout(unreadable) + interworking(unreadable)));
    cases.push_back(in_group(sent("EmptyNeighbours", id_handler, id("100"), hundred),
                             "<action text=''/><timeout/><interworking text=''/>"));
    cases.push_back(leaf_refused("BadAction", id_handler, id("100"), action("block-both"), "action"));
    cases.push_back(
        leaf_refused("BadTimeout", id_handler, id("100"), action("block-source-ip") + timeout("31"), "timeout"));
    cases.push_back(leaf_refused("BadInterworking", id_handler, id("100"), interworking("all"), "interworking"));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Id, ExceptionValue, testing::ValuesIn(id_cases()), value_name);

// ------------------------------------------------------------------------------------------------------- the action --

std::vector<ValueCase> action_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string word : {"alert", "block", "allow", "block-source-ip", "block-destination-ip"}) {
        cases.push_back(in_group(sent("Alone", action_handler, action(word), hundred + "action " + word), id("100")));
        cases.push_back(in_group(sent("WithInterworking", action_handler, action(word),
                                      hundred + "action " + word + " interwork block-both", XMLDIFF_MOD),
                                 id("100") + interworking("block-both")));
    }
    for (const std::string word : {"alert", "block", "allow"}) {
        cases.push_back(in_group(sent("DropsATimeout", action_handler, action(word), hundred + "action " + word),
                                 id("100") + timeout("99")));
    }
    for (const std::string& word : {std::string("Alert"), std::string("block-both"), std::string("default-type"),
                                    std::string("drop"), std::string(63, 'a')}) {
        cases.push_back(leaf_refused("OtherWord", action_handler, action(word), id("100"), "action"));
    }
    cases.push_back(in_group(sent("TooLongToRead", action_handler, action(unreadable), hundred), id("100")));
    cases.push_back(group_refused("WithoutId", action_handler, action("alert"), "", unread_id));
    cases.push_back(group_refused("EmptyId", action_handler, action("alert"), "<id text=''/>", unread_id));
    cases.push_back(leaf_refused("BadId", action_handler, action("alert"), id("0"), "id"));
    return cases;
}

// The removal looks at nothing but the id, and at that only for being there.
std::vector<ValueCase> removed_action_cases()
{
    std::vector<ValueCase> cases;
    const std::string neighbours = timeout("99") + interworking("nothing");
    const std::string longest(63, '1');
    for (const int op : {int{XMLDIFF_REM}, undone_addition}) {
        for (const std::string word : {"alert", "block-source-ip", "drop"}) {
            cases.push_back(in_group(sent("Removed", action_handler, action(word), hundred + "action allow", op, 1),
                                     id("100") + neighbours));
        }
        for (const std::string& text : {std::string("0"), std::string("x"), longest}) {
            cases.push_back(in_group(
                sent("RemovedOfAnyId", action_handler, action("alert"), line_start + text + " action allow", op, 1),
                id(text)));
        }
        for (const std::string& group :
             {std::string(), std::string("<id/>"), std::string("<id text=''/>"), id(longest + '1'), neighbours}) {
            cases.push_back(in_group(
                refused("RemovedWithoutId", action_handler, action("alert"), NC_ERR_MISSING_ELEM, unread_id, op),
                group));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Action, ExceptionValue, testing::ValuesIn(action_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(RemovedAction, ExceptionValue, testing::ValuesIn(removed_action_cases()), value_name);

// ------------------------------------------------------------------------------------------------------ the timeout --

const std::string source = "action block-source-ip";
const std::string source_entry = id("100") + action("block-source-ip");

std::vector<ValueCase> timeout_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string text : {"1", "30", "007"}) {
        cases.push_back(
            in_group(sent("Set", timeout_handler, timeout(text), hundred + source + " timeout " + text), source_entry));
        cases.push_back(in_group(sent("Changed", timeout_handler, timeout(text),
                                      hundred + "action block-destination-ip timeout " + text + " interwork block-both",
                                      XMLDIFF_MOD),
                                 id("100") + action("block-destination-ip") + interworking("block-both")));
    }
    for (const char* text : {"0", "31", "-1", "1a", "1 2", "thirty"}) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_REM}})
            cases.push_back(leaf_refused("OutOfRange", timeout_handler, timeout(text), source_entry, "timeout", op));
        cases.push_back(in_group(sent("NotLookedAt", timeout_handler, timeout(text), hundred + "action alert"),
                                 id("100") + action("alert")));
    }
    cases.push_back(
        in_group(sent("TooLongToRead", timeout_handler, timeout(unreadable), hundred + source), source_entry));
    cases.push_back(in_group(sent("WithoutAction", timeout_handler, timeout("99"), hundred), id("100")));
    for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_REM}, undone_addition}) {
        cases.push_back(group_refused("WithoutId", timeout_handler, timeout("9"), action("alert"), unread_id, op));
        cases.push_back(leaf_refused("BadId", timeout_handler, timeout("9"), id("0"), "id", op));
        cases.push_back(
            leaf_refused("BadAction", timeout_handler, timeout("9"), id("1") + action("drop"), "action", op));
        cases.push_back(leaf_refused("BadInterworking", timeout_handler, timeout("9"),
                                     source_entry + interworking("all"), "interworking", op));
    }
    return cases;
}

std::vector<ValueCase> removed_timeout_cases()
{
    std::vector<ValueCase> cases;
    const auto removed = [&](const char* name, const std::string& line, const std::string& group) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(in_group(sent(name, timeout_handler, timeout("10"), hundred + line, op, 1), group));
    };
    removed("Removed", source, source_entry);
    removed("RemovedFromAlert", "action alert", id("100") + action("alert"));
    removed("KeepsTheInterworking", source + " interwork block-both", source_entry + interworking("block-both"));
    for (const std::string word : {"alert", "block", "allow"}) {
        removed("KeepsTheInterworkingOfAnyAction", "action " + word + " interwork block-source-ip",
                id("100") + action(word) + interworking("block-source-ip"));
    }
    removed("WithoutAction", "action ", id("100"));
    removed("EmptyAction", "action ", id("100") + "<action text=''/>");
    removed("WithInterworkingOnly", "action  interwork block-both", id("100") + interworking("block-both"));
    removed("UnreadableInterworking", source, source_entry + interworking(unreadable));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Timeout, ExceptionValue, testing::ValuesIn(timeout_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(RemovedTimeout, ExceptionValue, testing::ValuesIn(removed_timeout_cases()), value_name);

// -------------------------------------------------------------------------------------------------- the interworking
// --

std::vector<ValueCase> interworking_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string word : {"block-source-ip", "block-destination-ip", "block-both"}) {
        const std::string node = interworking(word);
        cases.push_back(in_group(
            sent("WithAction", interworking_handler, node, hundred + "action alert interwork " + word, XMLDIFF_MOD),
            id("100") + action("alert") + timeout("99")));
        cases.push_back(in_group(
            sent("WithTimeout", interworking_handler, node, hundred + source + " timeout 10 interwork " + word),
            source_entry + timeout("10")));
        cases.push_back(in_group(sent("WithoutAction", interworking_handler, node, hundred), id("100")));
    }
    for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_REM}, undone_addition}) {
        for (const char* word : {"alert", "BLOCK-BOTH", "block", "both"}) {
            cases.push_back(
                leaf_refused("OtherWord", interworking_handler, interworking(word), id("100"), "interworking", op));
        }
        const std::string node = interworking("block-both");
        cases.push_back(group_refused("WithoutId", interworking_handler, node, action("alert"), unread_id, op));
        cases.push_back(leaf_refused("BadId", interworking_handler, node, id("16777217"), "id", op));
        cases.push_back(leaf_refused("BadAction", interworking_handler, node, id("1") + action("Block"), "action", op));
        cases.push_back(
            leaf_refused("BadTimeout", interworking_handler, node, source_entry + timeout("31"), "timeout", op));
    }
    return cases;
}

std::vector<ValueCase> removed_interworking_cases()
{
    std::vector<ValueCase> cases;
    const auto removed = [&](const char* name, const std::string& line, const std::string& group) {
        const std::string node = interworking("block-both");
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(in_group(sent(name, interworking_handler, node, hundred + line, op, 1), group));
    };
    removed("KeepsTheTimeout", source + " timeout 10", source_entry + timeout("10"));
    removed("KeepsTheTimeout", "action block-destination-ip timeout 30",
            id("100") + action("block-destination-ip") + timeout("30"));
    for (const std::string word : {"alert", "block", "allow"})
        removed("DropsTheTimeout", "action " + word, id("100") + action(word) + timeout("10"));
    removed("WithoutTimeout", source, source_entry);
    removed("EmptyTimeout", source, source_entry + "<timeout text=''/>");
    removed("WithoutAction", "action ", id("100") + timeout("10"));
    removed("UnreadableAction", "action ", id("100") + action(unreadable) + timeout("10"));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Interworking, ExceptionValue, testing::ValuesIn(interworking_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(RemovedInterworking, ExceptionValue, testing::ValuesIn(removed_interworking_cases()),
                         value_name);

// --------------------------------------------------------------------------------------- edits of more than one node
// --

class ExceptionEdit : public ServerTest
{
protected:
    // The lines of each of the five handlers for an entry, all of it with the operation, and the number of commits.
    std::vector<Lines> edit(int op)
    {
        const std::string mark = " op='" + std::string(op == XMLDIFF_REM ? "REM" : "ADD") + "'>";
        const std::string xml = nested(in_profile("branch", "webguard") / Step{"exception-signatures", "", "CHAIN"},
                                       "<exception-signature" + mark + "<id" + mark + "100</id><action" + mark +
                                           "block-source-ip</action><timeout" + mark + "10</timeout><interworking" +
                                           mark + "block-both</interworking></exception-signature>");
        std::vector<Lines> lines;
        for (const HandlerCase& test : exception_signature_handler_cases()) {
            const CallResult r = server.call(test.handler, op, xml, test.xpath);
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.commits.size(), r.lines.size()) << test.name;
            lines.push_back(r.lines);
        }
        return lines;
    }
};

TEST_F(ExceptionEdit, NewEntryIsSentByItsLeavesOnly)
{
    const Lines whole{{"branch", "profile-ips-webguard", "profile-ips",
                       "exception ips-signature-id 100 action block-source-ip timeout 10 interwork block-both"}};
    EXPECT_EQ(edit(XMLDIFF_ADD), (std::vector<Lines>{{}, whole, whole, whole, whole}));
}

TEST_F(ExceptionEdit, RemovedEntrySendsItsOwnLineOnly)
{
    const Lines undo{{"branch", "profile-ips-webguard", "profile-ips", "undo exception ips-signature-id 100"}};
    EXPECT_EQ(edit(XMLDIFF_REM), (std::vector<Lines>{undo, {}, {}, {}, {}}));
}

TEST_F(ExceptionEdit, RemovedIdAloneIsRefused)
{
    const HandlerCase& test = handler_case(id_handler);
    const CallResult r = server.call(test.handler, XMLDIFF_REM, nested(test.above, test.node), test.xpath);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_OP_FAILED, "The node could support the operation(rem)."}}));
    EXPECT_TRUE(r.commits.empty());
}

// The refusal comes behind the checks of the value.
TEST_F(ExceptionEdit, RemovedIdIsJudgedBeforeItIsRefused)
{
    const HandlerCase& test = handler_case(id_handler);
    const CallResult r = server.call(test.handler, XMLDIFF_REM, nested(test.above, id("0")), test.xpath);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_BAD_ELEM, bad_id}}));
}

} // namespace
