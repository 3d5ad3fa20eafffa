// The ports that the leaves of a rule's port ranges take and refuse with what stands beside them, and edits of whole
// ranges.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

class Port : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(Port, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// One of the four leaves.
struct PortLeaf {
    const char* handler;
    const char* name;
    std::string other; // the leaf beside it
    std::string command;
    bool is_start;

    [[nodiscard]] std::string node(const std::string& text) const { return leaf(name, text); }
    [[nodiscard]] std::string beside(const std::string& text) const { return leaf(other, text); }

    [[nodiscard]] std::string line(const std::string& own, const std::string& others) const
    {
        return command + ' ' + (is_start ? own + ' ' + others : others + ' ' + own);
    }

    // The name of a leaf without its end, as the check's texts have it: "start", "end".
    [[nodiscard]] std::string own_text() const { return is_start ? "start" : "end"; }
    [[nodiscard]] std::string other_text() const { return is_start ? "end" : "start"; }
};

const std::vector<PortLeaf> port_leaves = {
    {"IPS_UD_SigRuleSourceStartPort", "start-port", "end-port", "source-port", true},
    {"IPS_UD_SigRuleSourceEndPort", "end-port", "start-port", "source-port", false},
    {"IPS_UD_SigRuleDesStartPort", "start-port", "end-port", "destination-port", true},
    {"IPS_UD_SigRuleDesEndPort", "end-port", "start-port", "destination-port", false},
};

const std::vector<int> sets = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CFGR, undone_removal};
const std::string unsupported = "The operation is not supported.";
const std::string unread_beside = "Get error end-port node information."; // whichever leaf it is

std::string unread(const std::string& which)
{
    return "Get error " + which + "-port node information.";
}

std::string out_of_range(const std::string& which)
{
    return "Failed to check " + which + "-port range.";
}

// ------------------------------------------------------------------------------------------------- texts in general --

// A removal is refused before anybody reads the value.
const std::vector<int> reading_operations = {XMLDIFF_ADD, XMLDIFF_MOD, undone_addition, undone_removal, XMLDIFF_NONE};

std::vector<ValueCase> faulty()
{
    std::vector<ValueCase> cases;
    for (const PortLeaf& port : port_leaves) {
        for (const ValueCase& test : faulty_texts(port.handler, port.name, reading_operations))
            cases.push_back(test);
        const std::string name = port.name;
        for (const std::string& node : {'<' + name + "/>", '<' + name + " text=''/>", port.node(" "), port.node("?"),
                                        port.node("0"), port.node("80")}) {
            for (const int op : {int{XMLDIFF_REM}, XMLDIFF_REM | XMLDIFF_CHAIN, XMLDIFF_REM | XMLDIFF_MOD})
                cases.push_back(
                    in_group(refused("Removed", port.handler, node, NC_ERR_OP_FAILED, unsupported, op), ""));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Faulty, Port, testing::ValuesIn(faulty()), value_name);

// ------------------------------------------------------------------------------------------------------ the numbers --

const std::vector<std::pair<std::string, std::string>> good_pairs = {
    {"80", "90"},
    {"1", "65535"},
    {"65535", "1"}, // the order is nobody's business
    {"80", "80"},
    {"0080", "90"},
    {"4294967376", "90"}, // the low 32 bits count
    {std::string(62, '0') + "8", std::string(62, '0') + "9"},
};

const std::vector<std::string> bad_ports = {"0",
                                            "65536",
                                            "-1",
                                            "+80",
                                            "80a",
                                            "8 0",
                                            "0x50",
                                            "http",
                                            "99999999999999999999",
                                            "4294967296",
                                            "80.0",
                                            "Http",
                                            std::string(63, '9')};

// An error that the check has raised ends the handler only when the server's answer to it is 1. Otherwise the line is
// sent nonetheless.
void add_refusal(std::vector<ValueCase>& cases, ValueCase test, NC_ERR code, const std::string& message)
{
    test.more_errors = {{code, message}};
    test.output = error_line(message);
    cases.push_back(test);

    test.more_errors = {};
    test.code = code;
    test.message = message;
    test.line = "";
    test.fail_result = 1;
    test.output = error_line(message) + error_line("Failed to check the information.");
    cases.push_back(test);
}

std::vector<ValueCase> number_cases()
{
    std::vector<ValueCase> cases;
    for (const PortLeaf& port : port_leaves) {
        for (const int op : sets) {
            for (const auto& [own, others] : good_pairs)
                cases.push_back(in_group(sent("Good", port.handler, port.node(own), port.line(own, others), op),
                                         port.beside(others)));
            for (const std::string& text : bad_ports) {
                add_refusal(cases,
                            in_group(sent("BadOwn", port.handler, port.node(text), port.line(text, "90"), op),
                                     port.beside("90")),
                            NC_ERR_BAD_ELEM, out_of_range(port.own_text()));
                add_refusal(cases,
                            in_group(sent("BadOther", port.handler, port.node("80"), port.line("80", text), op),
                                     port.beside(text)),
                            NC_ERR_BAD_ELEM, out_of_range(port.other_text()));
            }
            // the start is judged first, whichever leaf has changed
            add_refusal(
                cases,
                in_group(sent("BothBad", port.handler, port.node("x"), port.line("x", "y"), op), port.beside("y")),
                NC_ERR_BAD_ELEM, out_of_range("start"));
            // more characters than the check can read, of which a copy holds 63
            add_refusal(cases,
                        in_group(sent("OwnOf64Digits", port.handler, port.node(std::string(64, '1')),
                                      port.line(std::string(63, '1'), "90"), op),
                                 port.beside("90")),
                        NC_ERR_MISSING_ELEM, unread(port.own_text()));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Numbers, Port, testing::ValuesIn(number_cases()), value_name);

// ----------------------------------------------------------------------------------------------- the leaf beside it --

// The check cannot read it, and, where the handler goes on, neither can the handler.
std::vector<ValueCase> unread_cases()
{
    std::vector<ValueCase> cases;
    for (const PortLeaf& port : port_leaves) {
        for (const std::string& group : {std::string(), '<' + port.other + "/>", '<' + port.other + " text=''/>",
                                         port.beside(std::string(64, '9'))}) {
            for (const int op : sets) {
                const std::string message = unread(port.other_text());
                ValueCase goes_on =
                    in_group(refused("Unread", port.handler, port.node("80"), NC_ERR_MISSING_ELEM, message, op), group);
                goes_on.more_errors = {{NC_ERR_MISSING_ELEM, unread_beside}};
                goes_on.output += error_line(unread_beside);
                cases.push_back(goes_on);

                ValueCase stops = goes_on;
                stops.more_errors = {};
                stops.fail_result = 1;
                stops.output = error_line(message) + error_line("Failed to check the information.");
                cases.push_back(stops);
            }
        }
        // nobody looks beside it unless it is set
        for (const int op : {undone_addition, int{XMLDIFF_NONE}}) {
            ValueCase unknown = in_group(passed_over("Unknown", port.handler, port.node("80"), "", op), "");
            unknown.output = "[IPS]ERROR: Unknown op(" + std::to_string(op) + ").\r\n\r\n";
            cases.push_back(unknown);
        }
    }
    return cases;
}

class UnreadPort : public Port
{
};

// As the others, except that an unknown operation is committed without a line.
TEST_P(UnreadPort, IsRefusedOrOfNoInterest)
{
    const ValueCase& test = GetParam();
    if (!test.message.empty()) {
        expect_value(server, test);
        return;
    }
    const HandlerCase& handler = handler_case(test.handler);
    Steps above = handler.above;
    above.back().content = test.group;
    const DebugSwitches switches({true, false});
    const CallResult r = handler.call(server, test.op, nested(above, test.node));
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.errors, ClientErrors{});
    EXPECT_EQ(r.lines, Lines{});
    EXPECT_EQ(r.commits.size(), 1U);
    EXPECT_EQ(r.output, test.output);
}

INSTANTIATE_TEST_SUITE_P(Beside, UnreadPort, testing::ValuesIn(unread_cases()), value_name);

// ------------------------------------------------------------------------------------------------- whole containers --

class Ports : public ServerTest
{
protected:
    // What a handler does in an edit of the source ports, whose nodes have these operations.
    CallResult edit(const char* handler, int op, const std::string& container, const std::string& first,
                    const std::string& second)
    {
        const auto marked = [](const std::string& name, const std::string& mark, const std::string& inner) {
            return '<' + name + (mark.empty() ? "" : " op='" + mark + '\'') + '>' + inner + "</" + name + '>';
        };
        return handler_case(handler).call(
            server, op,
            nested(handler_case("IPS_UD_SigRuleSourcePort").above,
                   marked("source-port", container,
                          marked("start-port", first, "80") + marked("end-port", second, "90"))));
    }

    static Lines line(const std::string& text)
    {
        return {{"branch", "ips-signature-7-rule-login", "ips-signature-rule", text}};
    }
};

TEST_F(Ports, OfWhichOneChangesAreSentAsAPair)
{
    EXPECT_EQ(edit("IPS_UD_SigRuleSourceEndPort", XMLDIFF_MOD, "CHAIN", "", "MOD").lines, line("source-port 80 90"));
    EXPECT_TRUE(edit("IPS_UD_SigRuleSourcePort", XMLDIFF_CHAIN, "CHAIN", "", "MOD").quiet());
}

TEST_F(Ports, ThatGoTogetherAreUndoneByTheirContainerOnly)
{
    const CallResult r = edit("IPS_UD_SigRuleSourcePort", XMLDIFF_REM, "REM", "REM", "REM");
    EXPECT_EQ(r.lines, line("undo source-port"));
    EXPECT_EQ(r.cmd_oper, API_CMD_DEL);
    EXPECT_TRUE(edit("IPS_UD_SigRuleSourceStartPort", XMLDIFF_REM, "REM", "REM", "REM").quiet());
    EXPECT_TRUE(edit("IPS_UD_SigRuleSourceEndPort", XMLDIFF_REM, "REM", "REM", "REM").quiet());
}

TEST_F(Ports, OfWhichOneGoesAloneAreRefused)
{
    const CallResult r = edit("IPS_UD_SigRuleSourceStartPort", XMLDIFF_REM, "CHAIN", "REM", "");
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_OP_FAILED, unsupported}}));
    EXPECT_EQ(r.lines, Lines{});
    EXPECT_TRUE(r.commits.empty());
}

TEST_F(Ports, ContainersReadNoPort)
{
    for (const auto& [handler, undo] : {std::pair{"IPS_UD_SigRuleSourcePort", "undo source-port"},
                                        {"IPS_UD_SigRuleDesPort", "undo destination-port"}}) {
        const HandlerCase& test = handler_case(handler);
        const std::string name = std::string(undo).substr(5);
        for (const std::string& inner : {std::string(), leaf("start-port", "?") + leaf("end-port", " ")}) {
            const std::string node = '<' + name + '>' + inner + "</" + name + '>';
            EXPECT_EQ(test.call(server, XMLDIFF_REM, nested(test.above, node)).lines, line(undo));
            EXPECT_TRUE(test.call(server, XMLDIFF_ADD, nested(test.above, node)).quiet());
        }
    }
}

} // namespace
