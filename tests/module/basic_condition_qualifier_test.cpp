// The qualifiers of a rule's conditions: the line that a set or a change sends, the two that an undo sends, the one
// that a change that removes sends, and what of them goes out when the condition cannot be sent whole.
#include <gtest/gtest.h>

#include <ostream>
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

// An operation and the deletion flag that comes with it.
struct Asked {
    int op;
    int is_delete;
};

// What is set without a comparison, changed by sending the condition whole, changed by removing it, undone.
const std::vector<Asked> sets = {{XMLDIFF_ADD, 0},    {XMLDIFF_ADD, 1},    {XMLDIFF_CFGR, 0},
                                 {undone_removal, 0}, {undone_removal, 1}, {XMLDIFF_ADD | XMLDIFF_MOD, 1}};
const std::vector<Asked> changes = {{XMLDIFF_MOD, 0}, {XMLDIFF_MOD, 2}, {XMLDIFF_MOD | XMLDIFF_CHAIN, 0}};
const std::vector<Asked> removing_changes = {
    {XMLDIFF_MOD, 1}, {XMLDIFF_MOD | XMLDIFF_REM, 1}, {XMLDIFF_MOD | undone_addition, 1}};
const std::vector<Asked> undos = {
    {XMLDIFF_REM, 1}, {XMLDIFF_REM, 0}, {undone_addition, 0}, {XMLDIFF_REM | XMLDIFF_CHAIN, 1}};

std::vector<Asked> operator+(std::vector<Asked> some, const std::vector<Asked>& more)
{
    some.insert(some.end(), more.begin(), more.end());
    return some;
}

const std::string field = leaf("field-name", "http.uri");
const std::string oper = leaf("operator", "pattern-match");
const std::string value = leaf("value", "admin");
const std::string mandatory = leaf("id", "1") + field + oper + value;
const std::string bare = "condition 1 field http.uri operate pmatch value admin ";
const std::string undo = "undo condition 1";
const std::string check_failed = error_line("Failed to check the information.");
const std::string build_failed = error_line("Failed to cmd the signature rule condition.");

struct Qualifier {
    const char* handler;
    std::string name;
    std::string text;

    [[nodiscard]] std::string node() const { return leaf(name, text); }
    friend void PrintTo(const Qualifier& qualifier, std::ostream* out) { *out << qualifier.name; }
};

const std::vector<Qualifier> qualifiers = {
    {"IPS_UD_SigRuleBasicCondOffset", "offset", "10"},
    {"IPS_UD_SigRuleBasicCondDepth", "depth", "100"},
    {"IPS_UD_SigRuleBasicCondDirection", "direction", "both"},
    {"IPS_UD_SigRuleBasicCondHTTPMethod", "qualifier-http-method", "get"},
};

// The condition's line with all of the qualifiers but one.
std::string line_without(const std::string& left_out)
{
    std::string line = bare;
    for (const Qualifier& qualifier : qualifiers) {
        if (qualifier.name == left_out)
            continue;
        line += (qualifier.name == "qualifier-http-method" ? "qualifier http-method " : qualifier.name + ' ') +
                qualifier.text + ' ';
    }
    return line;
}

// What a call comes to. Lines are committed when there is no result.
struct Promise {
    std::vector<std::string> lines{};
    ClientErrors errors{};
    int result = 0;
    std::string output{};
};

class ConditionQualifier : public ServerTestBase<testing::TestWithParam<Qualifier>>
{
protected:
    // The changed leaf among others, with the answer of the server to errors.
    void expect(const std::vector<Asked>& asked, const std::string& node, const std::string& beside,
                const Promise& promise, int fail_result = 42)
    {
        server.fail_result = fail_result;
        const HandlerCase& test = handler_case(GetParam().handler);
        Steps above = test.above;
        above.back().content = beside;
        for (const auto& [op, is_delete] : asked) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(op_text(op) + ' ' + std::to_string(is_delete) + ' ' + beside);
                const DebugSwitches switches(setting);
                const CallResult r = test.call(server, op, nested(above, node), is_delete);
                expect_call(r, promise);
                EXPECT_EQ(without_line_numbers(r.output),
                          opening_lines(test, op, setting) + (setting.messages ? promise.output : ""));
            }
        }
    }

    void expect(const std::vector<Asked>& asked, const std::string& beside, const Promise& promise,
                int fail_result = 42)
    {
        expect(asked, GetParam().node(), beside, promise, fail_result);
    }

    static void expect_call(const CallResult& r, const Promise& promise)
    {
        Lines lines;
        for (const std::string& text : promise.lines)
            lines.push_back({"branch", "ips-signature-7-rule-login", "ips-signature-rule", text});
        EXPECT_EQ(r.lines, lines);
        EXPECT_EQ(r.errors, promise.errors);
        EXPECT_EQ(r.result, promise.result);
        EXPECT_EQ(r.cmd_oper, API_CMD_ADD) << "for the server a condition that is sent again is no removal";
        ASSERT_EQ(r.commits.size(), promise.result == 0 ? 1U : 0U);
        if (promise.result == 0) {
            EXPECT_EQ(r.commits[0].operation, 0U);
            EXPECT_EQ(r.commits[0].lines, lines);
        }
    }

    // The leaves beside the changed one, all of them there.
    static std::string others()
    {
        std::string leaves = mandatory;
        for (const Qualifier& qualifier : qualifiers) {
            if (qualifier.name != GetParam().name)
                leaves += qualifier.node();
        }
        return leaves;
    }
};

Promise sending(const std::vector<std::string>& lines)
{
    Promise promise{.lines = lines};
    for (const std::string& line : lines)
        promise.output += operation_line(line);
    return promise;
}

// ------------------------------------------------------------------------------------------------- whole conditions --

TEST_P(ConditionQualifier, IsSentWithTheWholeCondition)
{
    expect(sets + changes, others(), sending({line_without("none of them")}));
    expect(sets + changes, mandatory,
           sending({bare + (GetParam().name == "qualifier-http-method" ? "qualifier http-method" : GetParam().name) +
                    ' ' + GetParam().text + ' '}));
}

TEST_P(ConditionQualifier, UndoRemovesTheConditionAndSendsItWithoutTheLeaf)
{
    expect(undos, others(), sending({undo, line_without(GetParam().name)}));
    expect(undos, mandatory, sending({undo, bare}));
}

TEST_P(ConditionQualifier, ChangeThatRemovesSendsTheUndoLineOnly)
{
    expect(removing_changes, others(), sending({undo}));
    expect(removing_changes, mandatory, sending({undo}));
}

TEST_P(ConditionQualifier, GoingNeighbourIsLeftOutToo)
{
    for (const Qualifier& neighbour : qualifiers) {
        if (neighbour.name == GetParam().name)
            continue;
        for (const char* op : {"REM", "REM|CHAIN", "ADD|ROLLBACK"}) {
            const std::string going =
                mandatory + '<' + neighbour.name + " op='" + op + "'>" + neighbour.text + "</" + neighbour.name + '>';
            expect(undos, going, sending({undo, bare}));
        }
        // one that comes, changes or comes back stays
        for (const char* op : {"ADD", "MOD", "REM|ROLLBACK"}) {
            std::string leaves = mandatory;
            for (const Qualifier& other : qualifiers) {
                if (other.name == GetParam().name)
                    continue;
                const std::string mark = other.name == neighbour.name ? " op='" + std::string(op) + '\'' : "";
                leaves += '<' + other.name + mark + '>' + other.text + "</" + other.name + '>';
            }
            expect(undos, leaves, sending({undo, line_without(GetParam().name)}));
        }
    }
}

TEST_P(ConditionQualifier, IsSentAsItStandsBesideAQuotedValue)
{
    const std::string beside = leaf("id", "4") + field + oper + leaf("value", "two words");
    const std::string again = "condition 4 field http.uri operate pmatch value \"two words\" ";
    Promise promise = sending({"undo condition 4", again});
    promise.output =
        operation_line("undo condition 4") + "[IPS]INFO: '?' or space is in the value.\r\n\r\n" + operation_line(again);
    expect(undos, beside, promise);
}

// --------------------------------------------------------------------------------------------------------- its text --

class QualifierText : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(QualifierText, IsRefused)
{
    expect_value(server, GetParam());
}

std::vector<ValueCase> faulty()
{
    std::vector<ValueCase> cases;
    for (const Qualifier& qualifier : qualifiers) {
        for (ValueCase test : faulty_texts(qualifier.handler, qualifier.name.c_str(), any_operation)) {
            cases.push_back(test);
            test.is_delete = 1;
            cases.push_back(in_group(test, "")); // before anything beside it is looked at
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Faulty, QualifierText, testing::ValuesIn(faulty()), value_name);

// --------------------------------------------------------------------------------------- groups that the check refuses

// The server's answer to the check's error says whether the handler ends.
TEST_P(ConditionQualifier, RefusedGroupEndsTheHandlerWhenTheAnswerIsOne)
{
    const auto refused_group = [&](const std::string& beside, NC_ERR code, const std::string& message) {
        expect(sets + changes + removing_changes + undos, beside,
               {.lines = {}, .errors = {{code, message}}, .result = 1, .output = error_line(message) + check_failed},
               1);
    };
    const std::string no_id = "Get error basic-conditon/id node information.";
    const std::string no_value = "Get error basic-conditon/value node information.";
    refused_group(field + oper + value, NC_ERR_MISSING_ELEM, no_id);
    refused_group("<id text=''/>" + field + oper + value, NC_ERR_MISSING_ELEM, no_id);
    refused_group(leaf("id", std::string(64, '0')) + field + oper + value, NC_ERR_MISSING_ELEM, no_id);
    refused_group(leaf("id", "1") + field + oper, NC_ERR_MISSING_ELEM, no_value);
    refused_group(leaf("id", "5") + field + oper + value, NC_ERR_INVALID_VALUE,
                  "Failed to check condition id node information.");
}

TEST_P(ConditionQualifier, RefusedGroupIsSentWithEveryOtherAnswer)
{
    const ClientErrors far_id{{NC_ERR_INVALID_VALUE, "Failed to check condition id node information."}};
    const std::string told = error_line("Failed to check condition id node information.");
    const std::string beside = leaf("id", "5") + field + oper + value;
    const std::string line = "condition 5 field http.uri operate pmatch value admin ";
    const auto again = [&](Promise promise) {
        promise.errors = far_id;
        promise.output = told + promise.output;
        return promise;
    };
    for (const int answer : {0, 2, 42, -1}) {
        expect(removing_changes, beside, again(sending({"undo condition 5"})), answer);
        expect(undos, beside, again(sending({"undo condition 5", line})), answer);
    }
}

// --------------------------------------------------------------------------------------- what cannot be sent whole --

TEST_P(ConditionQualifier, UndoWithoutAnIdSendsNothing)
{
    const std::string unread = "Get error basic-conditon/id node information.";
    const std::string empty = "Failed to check the condition-id information.";
    const Promise promise{.lines = {},
                          .errors = {{NC_ERR_MISSING_ELEM, unread}, {NC_ERR_BAD_ELEM, empty}},
                          .result = 42,
                          .output = error_line(unread) + error_line(empty)};
    for (const std::string& id :
         {std::string(), std::string("<id/>"), std::string("<id text=''/>"), leaf("id", std::string(128, '1'))})
        expect(undos + removing_changes, id + field + oper + value, promise);
}

// The undo line takes an id of up to 127 characters, the condition's line one of up to 63: the first stands
// uncommitted.
TEST_P(ConditionQualifier, LongIdIsUndoneButNotSentAgain)
{
    const ClientError unread{NC_ERR_MISSING_ELEM, "Get error basic-conditon/id node information."};
    const ClientError null{NC_ERR_BAD_ELEM, "The node is NULL."};
    for (const std::size_t length : {64U, 127U}) {
        const std::string id(length, '1');
        const std::string undo_line = "undo condition " + id;
        const std::string beside = leaf("id", id) + field + oper + value;
        const std::string output = error_line(unread.message.value()) + operation_line(undo_line);
        expect(removing_changes, beside, {.lines = {undo_line}, .errors = {unread}, .result = 0, .output = output});
        expect(undos, beside,
               {.lines = {undo_line},
                .errors = {unread, null},
                .result = 42,
                .output = output + error_line(null.message.value()) + build_failed});
    }
}

TEST_P(ConditionQualifier, ConditionWithoutAValueIsUndoneButNotSentAgain)
{
    const ClientError unread{NC_ERR_MISSING_ELEM, "Get error basic-conditon/value node information."};
    const ClientError null{NC_ERR_BAD_ELEM, "The node is NULL."};
    const std::string beside = leaf("id", "1") + field + oper;
    const std::string told = error_line(unread.message.value());
    const std::string not_built = error_line(null.message.value()) + build_failed;
    expect(sets + changes, beside, {.lines = {}, .errors = {unread, null}, .result = 42, .output = told + not_built});
    expect(removing_changes, beside,
           {.lines = {undo}, .errors = {unread}, .result = 0, .output = told + operation_line(undo)});
    expect(
        undos, beside,
        {.lines = {undo}, .errors = {unread, null}, .result = 42, .output = told + operation_line(undo) + not_built});
}

// The check does not know the operators.
TEST_P(ConditionQualifier, ConditionWithAnUnknownOperatorIsUndoneButNotSentAgain)
{
    const ClientError unknown{NC_ERR_BAD_ELEM, "Failde to check operation node information."};
    const std::string beside = leaf("id", "1") + field + leaf("operator", "Equal") + value;
    const std::string not_built = error_line(unknown.message.value()) + build_failed;
    expect(sets + changes, beside, {.lines = {}, .errors = {unknown}, .result = 42, .output = not_built});
    expect(removing_changes, beside, sending({undo}));
    expect(undos, beside,
           {.lines = {undo}, .errors = {unknown}, .result = 42, .output = operation_line(undo) + not_built});
}

// -------------------------------------------------------------------------------------------------------- the views --

// The undo line's own view ends at 127 characters, that of the condition's line does not.
TEST_P(ConditionQualifier, TwoLinesOfARuleWithALongNameStandInTwoViews)
{
    const HandlerCase& test = handler_case(GetParam().handler);
    Steps above = test.above;
    above.at(above.size() - 3).content = leaf("name", std::string(107, 'r'));
    const CallResult r = test.call(server, XMLDIFF_REM, nested(above, test.node));
    EXPECT_EQ(r.lines,
              (Lines{{"branch", "ips-signature-7-rule-" + std::string(106, 'r'), "ips-signature-rule", undo},
                     {"branch", "ips-signature-7-rule-" + std::string(107, 'r'), "ips-signature-rule", bare}}));
}

INSTANTIATE_TEST_SUITE_P(All, ConditionQualifier, testing::ValuesIn(qualifiers),
                         [](const auto& test) { return std::string(test.param.handler); });

// -------------------------------------------------------------------------------------- values of single qualifiers --

class ConditionNumbers : public ServerTest
{
protected:
    CallResult set(const char* handler, const std::string& node, const std::string& operation = "pattern-match")
    {
        const HandlerCase& test = handler_case(handler);
        Steps above = test.above;
        above.back().content = leaf("id", "1") + field + leaf("operator", operation) + value;
        server.fail_result = 1;
        return test.call(server, XMLDIFF_ADD, nested(above, node));
    }

    void expect_refused(const char* handler, const std::string& node, const std::string& message,
                        const std::string& operation = "pattern-match")
    {
        const CallResult r = set(handler, node, operation);
        EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_INVALID_VALUE, message}})) << node;
        EXPECT_EQ(r.result, 1);
        EXPECT_EQ(r.lines, Lines{});
    }
};

TEST_F(ConditionNumbers, LimitsOfEachQualifier)
{
    for (const auto& [number, text] : {std::pair{0, "offset"}, {1, "depth"}, {2, "direction"}}) {
        const Qualifier& qualifier = qualifiers.at(static_cast<std::size_t>(number));
        const std::vector<std::vector<std::string>> good = {
            {"0", "65535"}, {"7", "65535"}, {"both", "from-client", "from-server"}};
        const std::vector<std::vector<std::string>> bad = {
            {"65536", "-1", "1a"}, {"6", "0", "65536", "x"}, {"Both", "client", "1"}};
        for (const std::string& word : good.at(static_cast<std::size_t>(number)))
            EXPECT_EQ(set(qualifier.handler, leaf(qualifier.name, word)).lines.at(0).line,
                      bare + text + ' ' + word + ' ');
        for (const std::string& word : bad.at(static_cast<std::size_t>(number)))
            expect_refused(qualifier.handler, leaf(qualifier.name, word),
                           "Failed to check " + std::string(text) + " value node information.");
    }
}

TEST_F(ConditionNumbers, AnyHttpMethodIsTaken)
{
    for (const std::string word : {"get", "GET", "no method", "100%s%n"})
        EXPECT_EQ(set(qualifiers[3].handler, leaf("qualifier-http-method", word)).lines.at(0).line,
                  bare + "qualifier http-method " + word + ' ');
}

TEST_F(ConditionNumbers, PrefixMatchTakesNoOffset)
{
    expect_refused(qualifiers[0].handler, leaf("offset", "0"), "Failed to check offset type node information.",
                   "prefix-match");
    EXPECT_EQ(set(qualifiers[1].handler, leaf("depth", "100"), "prefix-match").lines.at(0).line,
              "condition 1 field http.uri operate pmatch value admin offset begin depth 100 ");
}

} // namespace
