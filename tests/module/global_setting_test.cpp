// The values that handlers of device-wide settings take and refuse, the texts at the limits of their buffers, and edits
// of several nodes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* default_handler = "IPS_GlobalMaxSessionNumDefNum";
constexpr const char* entry_handler = "IPS_GlobalMaxSessionNumSig";
constexpr const char* number_handler = "IPS_GlobalMaxSessionSigNum";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
const std::vector<int> set_operations = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_ADD | XMLDIFF_CFGR,
                                         XMLDIFF_REM | XMLDIFF_ROLLBACK};
const std::string bad_information = "Failed to check the information.";
const std::string line_start = "ips collect-attack-evidence max-session-number ";

class GlobalValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(GlobalValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// ------------------------------------------------------------------------------------- the default session number --

std::string default_number(std::string_view text)
{
    return leaf("default-session-number", text);
}

const std::vector<std::string> no_session_numbers = {
    "51", "-1", "+1", "5a", "a", "1 2", "0x1", "4294967295", "99999999999999999999", std::string(300, '9')};

std::vector<ValueCase> default_cases()
{
    std::vector<ValueCase> cases = faulty_texts(default_handler, "default-session-number", any_operation);
    for (const int op : set_operations) {
        for (const char* number : {"0", "1", "50", "007", "4294967296"})
            cases.push_back(sent("Number", default_handler, default_number(number), line_start + number + ' ', op));
        for (const std::string& number : no_session_numbers)
            cases.push_back(
                refused("NoNumber", default_handler, default_number(number), NC_ERR_BAD_ELEM, bad_information, op));
    }
    // unlike the line that sets, this one has no blank at its end
    for (const std::string& number : {std::string("20"), std::string("51"), std::string("a"), std::string(300, '9')}) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent("Removed", default_handler, default_number(number),
                                 "undo ips collect-attack-evidence max-session-number", op, 1));
    }
    // the handler's copy holds 63 characters
    const std::string whole = std::string(61, '0') + "50";
    cases.push_back(sent("Whole", default_handler, default_number(whole), line_start + whole + ' '));
    cases.push_back(
        sent("Cut", default_handler, default_number('0' + whole), line_start + std::string(62, '0') + "5 "));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Default, GlobalValue, testing::ValuesIn(default_cases()), value_name);

// ------------------------------------------------------------------------------ the session number of a signature --

std::string signature_id(std::string_view text)
{
    return leaf("signature-id", text);
}

std::string session_number(std::string_view text)
{
    return leaf("session-number", text);
}

std::string entry(const std::string& leaves)
{
    return "<session-number-signature>" + leaves + "</session-number-signature>";
}

const std::string no_id = "The signature-id node is NULL.";
const std::string blank_id = "Invalid signature id, because of spaces or '?'.";
const std::vector<std::string> no_predefined_ids = {
    "0", "1", "1024", "16777217", "-1025", "+1025", "1025a", "10 25", "a", "4294967296", "99999999999999999999"};
const std::vector<std::string> predefined_ids = {"1025", "16777216", "001025", "4294968321"};

std::vector<ValueCase> entry_id_cases()
{
    std::vector<ValueCase> cases;
    std::vector<int> ops = any_operation;
    ops.push_back(XMLDIFF_CHAIN);
    for (const int op : ops) {
        const auto refuse = [&](const std::string& element, NC_ERR code, const std::string& message) {
            cases.push_back(refused("Id", entry_handler, entry(element + session_number("10")), code, message, op));
        };
        refuse("", NC_ERR_MISSING_ELEM, no_id);
        refuse("<signature-id/>", NC_ERR_MISSING_ELEM, no_id);
        refuse("<signature-id text=''/>", NC_ERR_MISSING_ELEM, blank_id);
        for (const char* text : {" 1025", "1025 ", "1025\t", " "})
            refuse(signature_id(text), NC_ERR_MISSING_ELEM, blank_id);
        refuse(signature_id("10?25"), NC_ERR_MISSING_ELEM, blank_id);
        cases.back().output = question_mark + cases.back().output;
        for (const std::string& text : no_predefined_ids)
            refuse(signature_id(text), NC_ERR_BAD_ELEM, "Failed to check the signature-id information.");
    }
    for (const std::string& id : predefined_ids) {
        cases.push_back(sent("Id", entry_handler, entry(session_number("10") + signature_id(id)),
                             line_start + "10 signature-id " + id + ' '));
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent("Removed", entry_handler, entry(signature_id(id)),
                                 "undo " + line_start + "signature-id " + id + ' ', op, 1));
    }
    // the handler's copy holds 31 characters
    const std::string whole = std::string(27, '0') + "1025";
    cases.push_back(sent("Whole", entry_handler, entry(signature_id(whole) + session_number("10")),
                         line_start + "10 signature-id " + whole + ' '));
    cases.push_back(sent("Cut", entry_handler, entry(signature_id(whole + "a") + session_number("10")),
                         line_start + "10 signature-id " + whole + ' '));
    cases.push_back(refused("CutToNothing", entry_handler, entry(signature_id('0' + whole) + session_number("10")),
                            NC_ERR_BAD_ELEM, "Failed to check the signature-id information."));
    return cases;
}

std::vector<ValueCase> entry_number_cases()
{
    const std::string bad_number = "Failed to check the session number information.";
    std::vector<ValueCase> cases =
        faulty_texts_within(entry_handler, "session-number", set_operations,
                            "<session-number-signature>" + signature_id("1025"), "</session-number-signature>");
    for (const int op : set_operations) {
        cases.push_back(
            refused("NoElement", entry_handler, entry(signature_id("1025")), NC_ERR_MISSING_ELEM, absent_value, op));
        for (const char* number : {"0", "1", "50", "007"})
            cases.push_back(sent("Number", entry_handler, entry(signature_id("1025") + session_number(number)),
                                 line_start + number + " signature-id 1025 ", op));
        for (const std::string& number : no_session_numbers)
            cases.push_back(refused("NoNumber", entry_handler, entry(signature_id("1025") + session_number(number)),
                                    NC_ERR_BAD_ELEM, bad_number, op));
    }
    // the number of an entry that goes is not looked at
    for (const char* number :
         {"<session-number/>", "<session-number> ?</session-number>", "<session-number>51</session-number>"}) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent("Removed", entry_handler, entry(signature_id("1025") + number),
                                 "undo " + line_start + "signature-id 1025 ", op, 1));
    }
    const std::string longest = std::string(29, '0') + "50";
    const std::string longest_id = std::string(27, '0') + "1025";
    cases.push_back(sent("Longest", entry_handler, entry(signature_id(longest_id) + session_number(longest)),
                         line_start + longest + " signature-id " + longest_id + ' '));
    cases.push_back(sent("Cut", entry_handler, entry(signature_id("1025") + session_number('0' + longest)),
                         line_start + std::string(30, '0') + "5 signature-id 1025 "));
    cases.push_back(refused("IdFirst", entry_handler, entry(signature_id("1024") + session_number("51")),
                            NC_ERR_BAD_ELEM, "Failed to check the signature-id information."));
    return cases;
}

// The number's own leaf: an addition is its entry's business, and a modification's range nobody's.
std::vector<ValueCase> number_cases()
{
    const std::string added = "[IPS]SUCCESS: The children op is add\r\n";
    std::vector<ValueCase> cases =
        faulty_texts(number_handler, "session-number", {XMLDIFF_ADD, XMLDIFF_MOD, undone_addition, XMLDIFF_NONE});
    for (const char* node : {"<session-number/>", "<session-number text=''/>", "<session-number> ?</session-number>",
                             "<session-number>10</session-number>"})
        cases.push_back(
            refused("Removed", number_handler, node, NC_ERR_OP_FAILED, "The operation is not supported.", XMLDIFF_REM));
    for (const std::string& number : {std::string("0"), std::string("50"), std::string("99"), std::string("a b"),
                                      std::string("-1"), std::string("%s"), std::string(63, '9')}) {
        for (const int op : {int{XMLDIFF_MOD}, XMLDIFF_MOD | XMLDIFF_CHAIN, XMLDIFF_MOD | XMLDIFF_ROLLBACK})
            cases.push_back(sent("Changed", number_handler, session_number(number),
                                 line_start + number + " signature-id 1025 ", op));
        for (const int op : {int{XMLDIFF_ADD}, undone_addition, XMLDIFF_ADD | XMLDIFF_MOD}) {
            for (const std::string& beside : {signature_id("1025"), std::string(), signature_id("?")})
                cases.push_back(
                    in_group(passed_over("Added", number_handler, session_number(number), added, op), beside));
        }
    }
    cases.push_back(sent("Cut", number_handler, session_number(std::string(64, '9')),
                         line_start + std::string(63, '9') + " signature-id 1025 ", XMLDIFF_MOD));
    return cases;
}

std::vector<ValueCase> number_sibling_cases()
{
    std::vector<ValueCase> cases;
    const auto refuse = [&](const std::string& beside, NC_ERR code, const std::string& message) {
        cases.push_back(
            in_group(refused("Id", number_handler, session_number("10"), code, message, XMLDIFF_MOD), beside));
    };
    for (const std::string& beside : {std::string(), std::string("<signature-id/>"),
                                      std::string("<signature-id text=''/>"), signature_id(std::string(64, '1'))})
        refuse(beside, NC_ERR_MISSING_ELEM, "Get error signature id information.");
    // the entry's handler says the same with another code
    for (const char* text : {" 1025", "1025 ", "1025\n"})
        refuse(signature_id(text), NC_ERR_INVALID_VALUE, blank_id);
    refuse(signature_id("1025?"), NC_ERR_INVALID_VALUE, blank_id);
    cases.back().output = question_mark + cases.back().output;
    for (const std::string& text : no_predefined_ids)
        refuse(signature_id(text), NC_ERR_BAD_ELEM, "Failed to check id information.");
    std::vector<std::string> ids = predefined_ids;
    ids.push_back(std::string(59, '0') + "1025");
    for (const std::string& id : ids)
        cases.push_back(in_group(sent("Id", number_handler, session_number(std::string(63, '9')),
                                      line_start + std::string(63, '9') + " signature-id " + id + ' ', XMLDIFF_MOD),
                                 signature_id(id)));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(EntryId, GlobalValue, testing::ValuesIn(entry_id_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(EntryNumber, GlobalValue, testing::ValuesIn(entry_number_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Number, GlobalValue, testing::ValuesIn(number_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(NumberSibling, GlobalValue, testing::ValuesIn(number_sibling_cases()), value_name);

// ------------------------------------------------------------------------------------------------------- switches --

struct Switch {
    const char* handler;
    const char* name;
    std::string on;
    std::string off;
    std::string on_line;
    std::string off_line;
    std::string undo_line;
};

const std::vector<Switch> switches = {
    {"IPS_GlobalRegularExpressionUnlimit", "regular-expression-unlimit", "true", "false",
     "ips signature regular-expression unlimit ", "undo ips signature regular-expression unlimit ",
     "undo ips signature regular-expression unlimit "},
    {"IPS_GlobalEngineLog", "engine-log-switch", "true", "false", "engine log ips enable ",
     "undo engine log ips enable ", "undo engine log ips enable "},
    {"IPS_GlobalLogMerge", "log-merge-switch", "true", "false", "ips log merge enable ", "undo ips log merge enable ",
     "undo ips log merge enable "},
    // its end is not its off
    {"IPS_GlobalSigState", "global-signature-state", "enable", "disable", "ips signature-state enabled ",
     "ips signature-state disabled ", "undo ips signature-state "},
};

std::vector<ValueCase> switch_cases()
{
    std::vector<ValueCase> cases;
    for (const Switch& test : switches) {
        const std::vector<ValueCase> faulty = faulty_texts(test.handler, test.name, any_operation);
        cases.insert(cases.end(), faulty.begin(), faulty.end());
        for (const int op : set_operations) {
            cases.push_back(sent("On", test.handler, leaf(test.name, test.on), test.on_line, op));
            cases.push_back(sent("Off", test.handler, leaf(test.name, test.off), test.off_line, op));
            for (const std::string& word : {test.on + 'x', test.off + 'x', std::string("True"), std::string("ENABLE"),
                                            std::string("Disable"), std::string("1"), std::string("0"),
                                            std::string("on"), std::string(test.on == "true" ? "enable" : "true"),
                                            test.on + ' ' + test.on, std::string("%s"), std::string(300, 't')})
                cases.push_back(
                    refused("OtherWord", test.handler, leaf(test.name, word), NC_ERR_BAD_ELEM, bad_information, op));
        }
        for (const std::string& word : {test.on, test.off, std::string("other"), std::string(300, 't')}) {
            for (const int op : {int{XMLDIFF_REM}, undone_addition})
                cases.push_back(sent("Removed", test.handler, leaf(test.name, word), test.undo_line, op, 1));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Switch, GlobalValue, testing::ValuesIn(switch_cases()), value_name);

// ------------------------------------------------------------------------------------ edits of more than one node --

class SessionNumberEdit : public ServerTest
{
protected:
    // The lines of the entry and of its number, both with the operation.
    std::vector<std::string> edit(int entry_op, int number_op, const char* number)
    {
        const std::string xml =
            nested({{"ips-config"}, {"global-config"}, {"global-max-session-number"}},
                   "<session-number-signature op='" + op_text(entry_op) + "'>" + signature_id("1025") +
                       session_number(number) + "</session-number-signature>");
        std::vector<std::string> lines;
        for (const CallResult& r :
             {server.call(IPS_GlobalMaxSessionNumSig, entry_op, xml, "//session-number-signature"),
              server.call(IPS_GlobalMaxSessionSigNum, number_op, xml, "//session-number")}) {
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.errors, ClientErrors{});
            for (const Line& line : r.lines)
                lines.push_back(line.line);
        }
        return lines;
    }
};

TEST_F(SessionNumberEdit, NewEntryIsSentOnce)
{
    EXPECT_EQ(edit(XMLDIFF_ADD, XMLDIFF_ADD, "10"),
              std::vector<std::string>{"ips collect-attack-evidence max-session-number 10 signature-id 1025 "});
}

TEST_F(SessionNumberEdit, ChangedNumberIsSentByItsLeafWithoutALookAtItsRange)
{
    EXPECT_EQ(edit(XMLDIFF_CHAIN, XMLDIFF_MOD, "99"),
              std::vector<std::string>{"ips collect-attack-evidence max-session-number 99 signature-id 1025 "});
}

TEST_F(SessionNumberEdit, RemovedEntrySendsItsOwnLineOnly)
{
    EXPECT_EQ(edit(XMLDIFF_REM, XMLDIFF_REM, "10"),
              std::vector<std::string>{"undo ips collect-attack-evidence max-session-number signature-id 1025 "});
}

} // namespace
