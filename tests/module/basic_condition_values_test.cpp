// The numbers of a rule's conditions and the values of the leaves that a condition cannot do without, with what stands
// beside them, and edits of whole conditions.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* entry_handler = "IPS_UD_SigRuleBasicCond";
constexpr const char* id_handler = "IPS_UD_SigRuleBasicCondID";
constexpr const char* field_handler = "IPS_UD_SigRuleBasicCondFieldName";
constexpr const char* operator_handler = "IPS_UD_SigRuleBasicCondOperator";
constexpr const char* value_handler = "IPS_UD_SigRuleBasicCondValue";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

class ConditionValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(ConditionValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string id(const std::string& text)
{
    return leaf("id", text);
}

std::string entry(const std::string& leaves)
{
    return "<rule-condition>" + leaves + "</rule-condition>";
}

const std::string field = leaf("field-name", "http.uri");
const std::string oper = leaf("operator", "pattern-match");
const std::string value = leaf("value", "admin");

const std::vector<int> sets = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CFGR, undone_removal};
const std::string bad_id = "Failed to check the information.";
const std::string check_failed = error_line("Failed to check the information.");
const std::string build_failed = error_line("Failed to cmd the signature rule condition.");
const std::string in_quotes = "[IPS]INFO: '?' or space is in the value.\r\n\r\n";
const std::string zeros(62, '0');

const std::vector<std::string> bad_ids = {
    "5", "10", "-1", "+1", "-0", "1a", "a1", "0x1", "1 2", "a", "1.0", "99999999999999999999", std::string(64, 'a')};

// ------------------------------------------------------------------------------------------------------- the entry --

std::vector<ValueCase> entry_cases()
{
    std::vector<ValueCase> cases =
        faulty_texts_within(entry_handler, "id", any_operation, "<rule-condition>" + field, "</rule-condition>");
    for (const std::string& text : bad_ids) {
        for (const int op : any_operation)
            cases.push_back(refused("BadId", entry_handler, entry(id(text)), NC_ERR_BAD_ELEM, bad_id, op));
    }
    const auto taken = [&](const char* name, const std::string& leaves, const std::string& sent_id) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent(name, entry_handler, entry(leaves), "undo condition " + sent_id, op, 1));
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CHAIN}, XMLDIFF_ADD | XMLDIFF_CFGR})
            cases.push_back(passed_over(name, entry_handler, entry(leaves), "[IPS]SUCCESS: The op is CHAIN\r\n", op));
    };
    for (const std::string text : {"0", "1", "2", "3", "4", "04", "4294967296", "4294967300"})
        taken("Number", id(text), text);
    taken("First", "\n <!-- id -->" + field + id("4") + id("9"), "4");
    taken("Of63Digits", id(zeros + "4"), zeros + "4");
    taken("Of64Digits", id(zeros + "19"), zeros + "1"); // a copy of 63 characters is judged and sent
    for (const int op : any_operation)
        cases.push_back(refused("WithoutId", entry_handler, entry(field), NC_ERR_MISSING_ELEM, absent_value, op));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Entry, ConditionValue, testing::ValuesIn(entry_cases()), value_name);

// ------------------------------------------------------------------------------------- removal of a mandatory leaf --

struct MandatoryLeaf {
    const char* handler;
    std::string name;
};

const std::vector<MandatoryLeaf> other_mandatory_leaves = {
    {field_handler, "field-name"}, {operator_handler, "operator"}, {value_handler, "value"}};

std::vector<ValueCase> removal_cases()
{
    const std::string message = "The operation is not supported.";
    std::vector<ValueCase> cases = faulty_texts(id_handler, "id", any_operation);
    // the id is judged first
    for (const std::string& text : bad_ids) {
        for (const int op : any_operation)
            cases.push_back(refused("BadId", id_handler, id(text), NC_ERR_BAD_ELEM, bad_id, op));
    }
    for (const std::string text : {"0", "4", "4294967300"})
        cases.push_back(in_group(refused("Removed", id_handler, id(text), NC_ERR_OP_FAILED, message, XMLDIFF_REM), ""));
    // the others are not even read
    for (const MandatoryLeaf& mandatory : other_mandatory_leaves) {
        for (const ValueCase& test :
             faulty_texts(mandatory.handler, mandatory.name.c_str(),
                          {XMLDIFF_ADD, XMLDIFF_MOD, undone_addition, undone_removal, XMLDIFF_NONE}))
            cases.push_back(test);
        for (const std::string& node : {'<' + mandatory.name + "/>", '<' + mandatory.name + " text=''/>",
                                        leaf(mandatory.name, "?"), leaf(mandatory.name, "x")}) {
            for (const int op : {int{XMLDIFF_REM}, XMLDIFF_REM | XMLDIFF_CHAIN, XMLDIFF_REM | XMLDIFF_MOD})
                cases.push_back(
                    in_group(refused("Removed", mandatory.handler, node, NC_ERR_OP_FAILED, message, op), ""));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Removal, ConditionValue, testing::ValuesIn(removal_cases()), value_name);

// ------------------------------------------------------------------------------------------------------- the values --

std::string line(const std::string& number, const std::string& name, const std::string& word, const std::string& text)
{
    return "condition " + number + " field " + name + " operate " + word + " value " + text + ' ';
}

std::vector<ValueCase> set_cases()
{
    std::vector<ValueCase> cases;
    const auto add = [&](const char* name, const char* handler, const std::string& node, const std::string& group,
                         const std::string& text, const std::string& output = "") {
        for (const int op : sets) {
            ValueCase test = in_group(sent(name, handler, node, text, op), group);
            test.output = output;
            cases.push_back(test);
        }
    };
    for (const std::string& text : {std::string("0"), std::string("4"), std::string("4294967300"), zeros + "4"})
        add("Id", id_handler, id(text), field + oper + value, line(text, "http.uri", "pmatch", "admin"));
    for (const std::string& text : {std::string("F"), std::string("HTTP.URI"), std::string("two words"),
                                    std::string("100%s%n"), std::string(63, 'f')})
        add("Field", field_handler, leaf("field-name", text), id("1") + oper + value,
            line("1", text, "pmatch", "admin"));
    for (const auto& [text, word] : {std::pair{"pattern-match", "pmatch"},
                                     {"equal", "equal"},
                                     {"greater-than", "gthan"},
                                     {"less-than", "lthan"},
                                     {"not-equal", "noequal"}})
        add("Operator", operator_handler, leaf("operator", text), id("1") + field + value,
            line("1", "http.uri", word, "admin"));
    add("PrefixMatch", operator_handler, leaf("operator", "prefix-match"), id("1") + field + value + leaf("depth", "9"),
        "condition 1 field http.uri operate pmatch value admin offset begin depth 9 ");
    for (const std::string& text : {std::string("a"), std::string("100%s%n"), std::string(253, 'v')})
        add("Value", value_handler, leaf("value", text), id("1") + field + oper, line("1", "http.uri", "pmatch", text));
    add("ValueWithABlank", value_handler, leaf("value", "two words"), id("1") + field + oper,
        line("1", "http.uri", "pmatch", "\"two words\""), in_quotes);
    // a text with a question mark is quoted, too: its own handler refuses it, those of its neighbours do not look at it
    add("MarkedValue", field_handler, field, id("1") + oper + leaf("value", "a?"),
        line("1", "http.uri", "pmatch", "\"a?\""), in_quotes);
    add("WholeLine", id_handler, id("1"),
        field + oper + value + leaf("offset", "0") + leaf("depth", "7") + leaf("direction", "both") +
            leaf("qualifier-http-method", "get"),
        line("1", "http.uri", "pmatch", "admin") + "offset 0 depth 7 direction both qualifier http-method get ");
    add("GoingQualifiers", id_handler, id("1"),
        field + oper + value + "<offset op='REM'>0</offset><depth op='ADD|ROLLBACK'>7</depth>" +
            leaf("direction", "both"),
        line("1", "http.uri", "pmatch", "admin") + "direction both ");
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Set, ConditionValue, testing::ValuesIn(set_cases()), value_name);

// ------------------------------------------------------------------------------------------ groups that are refused --

struct Group {
    std::string leaves;
    NC_ERR code;
    std::string message;    // of the check
    std::string line = "";  // that goes out where the check does not end the handler; empty: the builder refuses, too
    std::string debug = ""; // text in the check's debug line, when it is another
};

// An error that the check has raised ends the handler only when the server's answer to it is 1.
void add_refusals(std::vector<ValueCase>& cases, const char* handler, const std::string& node, const Group& group)
{
    const std::string debug = error_line(group.debug.empty() ? group.message : group.debug);
    for (const int op : sets) {
        ValueCase stops = in_group(refused("Refused", handler, node, group.code, group.message, op), group.leaves);
        stops.fail_result = 1;
        stops.output = debug + check_failed;
        cases.push_back(stops);

        ValueCase goes_on = stops;
        goes_on.fail_result = 42;
        goes_on.line = group.line;
        goes_on.output = debug;
        if (group.line.empty()) {
            goes_on.more_errors = {{NC_ERR_BAD_ELEM, "The node is NULL."}};
            goes_on.output += error_line("The node is NULL.") + build_failed;
        }
        cases.push_back(goes_on);
    }
}

std::vector<ValueCase> refused_groups()
{
    const NC_ERR missing = NC_ERR_MISSING_ELEM;
    const NC_ERR invalid = NC_ERR_INVALID_VALUE;
    const std::string all = field + oper + value;
    const std::string bare = line("1", "http.uri", "pmatch", "admin");
    const std::string no_field = "Get error basic-conditon/field-name node information.";
    const std::string no_value = "Get error basic-conditon/value node information.";
    std::vector<ValueCase> cases;
    for (const std::string& none : {std::string(), std::string("<field-name/>"), std::string("<field-name text=''/>"),
                                    leaf("field-name", std::string(64, 'f'))})
        add_refusals(cases, id_handler, id("1"), {none + oper + value, missing, no_field});
    for (const std::string& none : {std::string(), leaf("value", std::string(256, 'v'))})
        add_refusals(cases, id_handler, id("1"), {field + oper + none, missing, no_value});
    add_refusals(cases, id_handler, id(zeros + "19"), {all, missing, "Get error basic-conditon/id node information."});
    add_refusals(cases, field_handler, field,
                 {id("5") + oper + value, invalid, "Failed to check condition id node information.",
                  line("5", "http.uri", "pmatch", "admin")});
    add_refusals(cases, value_handler, leaf("value", std::string(256, 'v')),
                 {id("1") + field + oper, missing, no_value});
    add_refusals(cases, field_handler, leaf("field-name", std::string(64, 'f')),
                 {id("1") + oper + value, missing, no_field});
    add_refusals(cases, id_handler, id("1"),
                 {all + leaf("offset", "65536"), invalid, "Failed to check offset value node information.",
                  bare + "offset 65536 "});
    add_refusals(
        cases, id_handler, id("1"),
        {all + leaf("depth", "6"), invalid, "Failed to check depth value node information.", bare + "depth 6 "});
    add_refusals(cases, id_handler, id("1"),
                 {all + leaf("direction", "Both"), invalid, "Failed to check direction value node information.",
                  bare + "direction Both ", "Failed to check the direction value node information."});
    add_refusals(cases, operator_handler, leaf("operator", "prefix-match"),
                 {id("1") + field + value + leaf("offset", "0"), invalid,
                  "Failed to check offset type node information.",
                  line("1", "http.uri", "prefix-match", "admin") + "offset 0 "});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(RefusedGroup, ConditionValue, testing::ValuesIn(refused_groups()), value_name);

// The check does not know the operators.
std::vector<ValueCase> unknown_operators()
{
    const std::string message = "Failde to check operation node information.";
    std::vector<ValueCase> cases;
    for (const std::string word : {"Equal", "EQUAL", "equals", "pmatch", "match"}) {
        for (const int op : sets) {
            for (const auto& [handler, node, group] :
                 {std::tuple{operator_handler, leaf("operator", word), id("1") + field + value},
                  {value_handler, value, id("1") + field + leaf("operator", word)}}) {
                ValueCase test = in_group(refused("Operator", handler, node, NC_ERR_BAD_ELEM, message, op), group);
                test.output += build_failed;
                cases.push_back(test);
            }
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(UnknownOperator, ConditionValue, testing::ValuesIn(unknown_operators()), value_name);

// -------------------------------------------------------------------------------------- edits of more than one node --

class ConditionEdit : public ServerTest
{
protected:
    // The lines of each of the nine handlers for a condition, all of it with the operation.
    std::vector<std::vector<std::string>> edit(const std::string& op)
    {
        const std::string mark = " op='" + op + "'>";
        std::string leaves;
        for (const auto& [name, text] : {std::pair{"id", "1"},
                                         {"field-name", "http.uri"},
                                         {"operator", "pattern-match"},
                                         {"value", "admin"},
                                         {"offset", "10"},
                                         {"depth", "100"},
                                         {"direction", "both"},
                                         {"qualifier-http-method", "get"}})
            leaves += '<' + std::string(name) + mark + text + "</" + name + '>';
        const std::string xml =
            nested(handler_case(entry_handler).above, "<rule-condition" + mark + leaves + "</rule-condition>");
        std::vector<std::vector<std::string>> lines;
        for (const HandlerCase& test : basic_condition_handler_cases()) {
            const CallResult r = test.call(server, op_from_text(op), xml, op == "REM" ? 1 : 0);
            EXPECT_EQ(r.result, 0) << test.name;
            EXPECT_EQ(r.commits.size(), r.lines.size()) << test.name;
            lines.emplace_back();
            for (const Line& sent_line : r.lines)
                lines.back().push_back(sent_line.line);
        }
        return lines;
    }
};

TEST_F(ConditionEdit, NewConditionIsSentWholeByEachOfItsLeaves)
{
    const std::vector<std::string> whole{"condition 1 field http.uri operate pmatch value admin offset 10 depth 100 "
                                         "direction both qualifier http-method get "};
    const std::vector<std::vector<std::string>> lines = edit("ADD");
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[0], std::vector<std::string>{}) << "the entry leaves it to its leaves";
    EXPECT_TRUE(
        std::all_of(lines.begin() + 1, lines.end(), [&](const auto& sent_lines) { return sent_lines == whole; }));
}

TEST_F(ConditionEdit, RemovedConditionSendsItsOwnLineOnly)
{
    std::vector<std::vector<std::string>> promised(9);
    promised[0] = {"undo condition 1"};
    EXPECT_EQ(edit("REM"), promised);
}

} // namespace
