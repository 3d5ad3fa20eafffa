// The names that rules take and refuse, the words of their scope and sequence, and edits of whole rules.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* entry_handler = "IPS_UD_SigRule";
constexpr const char* scope_handler = "IPS_UD_SigRuleScope";
constexpr const char* sequence_handler = "IPS_UD_SigRuleSequence";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

class RuleValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(RuleValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string entry(const std::string& leaves)
{
    return "<signature-rule>" + leaves + "</signature-rule>";
}

// ------------------------------------------------------------------------------------------------- texts in general --

INSTANTIATE_TEST_SUITE_P(FaultyName, RuleValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "name", any_operation,
                                                               "<signature-rule>" + leaf("scope", "flow"),
                                                               "</signature-rule>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyScope, RuleValue, testing::ValuesIn(faulty_texts(scope_handler, "scope", any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultySequence, RuleValue,
                         testing::ValuesIn(faulty_texts(sequence_handler, "sequence", any_operation)), value_name);

// -------------------------------------------------------------------------------------------------- the rule's name --

std::vector<ValueCase> name_cases()
{
    std::vector<ValueCase> cases;
    const auto taken = [&](const char* name, const std::string& leaves, const std::string& quoted) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CFGR}, undone_removal})
            cases.push_back(sent(name, entry_handler, entry(leaves), "rule name " + quoted, op));
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent(name, entry_handler, entry(leaves), "undo rule name " + quoted, op, 1));
    };
    for (const std::string name : {"login", "LOGIN", "log in", "log  in", "100%s%n", "a\"b", "\"login\"", "-"})
        taken("Quoted", leaf("name", name), '"' + name + '"');
    taken("First", "\n <!-- name -->" + leaf("scope", "message") + leaf("name", "a") + leaf("name", "b"), "\"a\"");
    taken("OwnChild", "<other>" + leaf("name", "inner") + "</other>" + leaf("name", "outer"), "\"outer\"");
    // 127 bytes hold the name and the quotes
    const std::string longest(125, 'r');
    taken("Of125Characters", leaf("name", longest), '"' + longest + '"');
    taken("Of126Characters", leaf("name", longest + 'x'), '"' + longest + 'x');
    taken("Of127Characters", leaf("name", longest + "xy"), '"' + longest + 'x');
    taken("Of300Characters", leaf("name", std::string(300, 'r')), '"' + longest + 'r');
    return cases;
}

std::vector<ValueCase> nameless_cases()
{
    std::vector<ValueCase> cases;
    for (const int op : any_operation) {
        for (const std::string& leaves : {std::string(), leaf("scope", "flow"), "<x>" + leaf("name", "inner") + "</x>"})
            cases.push_back(refused("Nameless", entry_handler, entry(leaves), NC_ERR_MISSING_ELEM, absent_value, op));
    }
    // a name that nobody will use is judged nonetheless
    for (const int op : {int{XMLDIFF_CHAIN}, int{XMLDIFF_REORDER}})
        cases.push_back(
            refused("Unused", entry_handler, entry(leaf("name", " login")), NC_ERR_MISSING_ELEM, invalid_value, op));
    for (const int op : {int{XMLDIFF_CHAIN}, int{XMLDIFF_REORDER}, XMLDIFF_SIBLING | XMLDIFF_REORDER,
                         XMLDIFF_CHAIN | XMLDIFF_ROLLBACK})
        cases.push_back(passed_over("ChangedBelowOrMoved", entry_handler, entry(leaf("name", "login")),
                                    "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n", op));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Name, RuleValue, testing::ValuesIn(name_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Nameless, RuleValue, testing::ValuesIn(nameless_cases()), value_name);

// ---------------------------------------------------------------------------------------------- scope and sequence --

const std::vector<std::string> other_words = {"Flow",
                                              "FLOW",
                                              "flows",
                                              "flo",
                                              "Packet",
                                              "all",
                                              "Sequential",
                                              "sequentials",
                                              "sequential random-order",
                                              "order",
                                              "random",
                                              std::string(63, 'f'),
                                              std::string(64, 'f'),
                                              std::string(300, 'f')};

std::vector<ValueCase> word_cases(const char* handler, const char* leaf_name, const std::vector<std::string>& words,
                                  const std::string& command)
{
    std::vector<ValueCase> cases;
    const std::string undo = "undo " + command;
    for (const std::string& word : words) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CFGR}, undone_removal})
            cases.push_back(sent("Word", handler, leaf(leaf_name, word), command + ' ' + word, op));
    }
    for (const std::string& word : other_words) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CFGR}, undone_removal})
            cases.push_back(refused("OtherWord", handler, leaf(leaf_name, word), NC_ERR_INVALID_VALUE,
                                    "Failed to check the information.", op));
        // an undo takes any
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent("Removed", handler, leaf(leaf_name, word), undo, op, 1));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Scope, RuleValue,
                         testing::ValuesIn(word_cases(scope_handler, "scope", {"flow", "message", "packet"}, "scope")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(Sequence, RuleValue,
                         testing::ValuesIn(word_cases(sequence_handler, "sequence", {"sequential", "random-order"},
                                                      "check")),
                         value_name);

TEST(RuleWords, BelongToTheirLeaf)
{
    RecordingServer server;
    const ClientErrors refused_word{{NC_ERR_INVALID_VALUE, "Failed to check the information."}};
    const HandlerCase& scope = handler_case(scope_handler);
    const HandlerCase& sequence = handler_case(sequence_handler);
    EXPECT_EQ(scope.call(server, XMLDIFF_ADD, nested(scope.above, leaf("scope", "sequential"))).errors, refused_word);
    EXPECT_EQ(sequence.call(server, XMLDIFF_ADD, nested(sequence.above, leaf("sequence", "flow"))).errors,
              refused_word);
}

// -------------------------------------------------------------------------------------- edits of more than one node --

class RuleEdit : public ServerTest
{
protected:
    // What each handler that can act alone does for a rule, all of it with the operation. Conditions stand elsewhere.
    std::vector<std::string> edit(const std::string& op)
    {
        const std::string mark = " op='" + op + "'>";
        const auto marked = [&](const std::string& name, const std::string& inner) {
            return '<' + name + mark + inner + "</" + name + '>';
        };
        const auto ports = [&](const std::string& name) {
            return marked(name, marked("start-port", "80") + marked("end-port", "90"));
        };
        const std::string xml =
            nested(handler_case(entry_handler).above,
                   marked("signature-rule", marked("name", "login") + marked("scope", "flow") +
                                                marked("sequence", "sequential") + marked("source-ip", "192.0.2.0/24") +
                                                ports("source-port") + marked("destination-ip", "192.0.2.7") +
                                                ports("destination-port")));
        std::vector<std::string> lines;
        for (HandlerCase test : signature_rule_handler_cases()) {
            const std::string name = test.name;
            if (name.ends_with("_Range"))
                continue;
            if (name.ends_with("StartPort") || name.ends_with("EndPort"))
                test.xpath =
                    (name.starts_with("IPS_UD_SigRuleSource") ? "//source-port" : "//destination-port") + test.xpath;
            const CallResult r = test.call(server, op_from_text(op), xml);
            EXPECT_EQ(r.result, 0) << name;
            EXPECT_EQ(r.commits.size(), r.lines.size()) << name;
            for (const Line& line : r.lines)
                lines.push_back(line.line);
        }
        return lines;
    }
};

TEST_F(RuleEdit, NewRuleIsSentByEachOfItsNodes)
{
    EXPECT_EQ(edit("ADD"), (std::vector<std::string>{"rule name \"login\"", "scope flow", "check sequential",
                                                     "source-ip ipv4 192.0.2.0 24", "source-port 80 90",
                                                     "source-port 80 90", "destination-ip ipv4 192.0.2.7",
                                                     "destination-port 80 90", "destination-port 80 90"}));
}

TEST_F(RuleEdit, RemovedRuleSendsItsOwnLineOnly)
{
    EXPECT_EQ(edit("REM"), std::vector<std::string>{"undo rule name \"login\""});
}

TEST_F(RuleEdit, NameWithABlankAtAnEndIsRefusedWithOneCodeAtTheRuleAndWithAnotherBelow)
{
    const HandlerCase& rule = handler_case(entry_handler);
    EXPECT_EQ(rule.call(server, XMLDIFF_ADD, nested(rule.above, entry(leaf("name", "login ")))).errors,
              (ClientErrors{{NC_ERR_MISSING_ELEM, "Invalid value, because of spaces or '?'."}}));
    Steps above = handler_case(scope_handler).above;
    above.back().content = leaf("name", "login ");
    EXPECT_EQ(handler_case(scope_handler).call(server, XMLDIFF_ADD, nested(above, leaf("scope", "flow"))).errors,
              (ClientErrors{{NC_ERR_INVALID_VALUE, "Invalid rule name, because of spaces."}}));
}

TEST_F(RuleEdit, NameWithAnInnerBlankIsQuotedInTheLineAndBareInTheView)
{
    const HandlerCase& rule = handler_case(entry_handler);
    EXPECT_EQ(rule.call(server, XMLDIFF_ADD, nested(rule.above, entry(leaf("name", "log in")))).lines,
              (Lines{{"branch", "ips-signature-7", "ips-signature", "rule name \"log in\""}}));
    Steps above = handler_case(scope_handler).above;
    above.back().content = leaf("name", "log in");
    EXPECT_EQ(handler_case(scope_handler).call(server, XMLDIFF_ADD, nested(above, leaf("scope", "flow"))).lines,
              (Lines{{"branch", "ips-signature-7-rule-log in", "ips-signature-rule", "scope flow"}}));
}

} // namespace
