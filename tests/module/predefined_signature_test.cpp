// The values that handlers of predefined signatures take and refuse, what stands beside them, the texts at the limits
// of their buffers, and edits of several nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "module/node_table.h"
#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* state_handler = "IPS_PreSigConfigState";
constexpr const char* condition_handler = "IPS_PreSigAssocCond";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
const std::vector<int> set_operations = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_ADD | XMLDIFF_CFGR,
                                         XMLDIFF_REM | XMLDIFF_ROLLBACK};

// The line's view is the same for the whole device.
class PredefinedValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(PredefinedValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string id(std::string_view text)
{
    return leaf("id", text);
}

std::string state(std::string_view text)
{
    return leaf("config-state", text);
}

// ------------------------------------------------------------------------------------------------------ the state --

std::vector<ValueCase> state_cases()
{
    std::vector<ValueCase> cases = faulty_texts(state_handler, "config-state", any_operation);
    for (ValueCase& test : cases)
        test.output += "[IPS]Current Function is IPS_PreSigConfigState , current line is #.\r\n\r\n";
    for (const int op : set_operations) {
        cases.push_back(
            sent("Enabled", state_handler, state("enable"), "ips signature-state signature-id 1025 enabled ", op));
        cases.push_back(
            sent("Disabled", state_handler, state("disable"), "ips signature-state signature-id 1025 disabled ", op));
        for (const std::string& word :
             {std::string("Enable"), std::string("DISABLE"), std::string("enabled"), std::string("disabled"),
              std::string("true"), std::string("en able"), std::string("enabl"), std::string("%s"),
              std::string(63, 'e'), "enable" + std::string(64, 'e'), std::string(300, 'e')})
            cases.push_back(refused("OtherWord", state_handler, state(word), NC_ERR_BAD_ELEM,
                                    "Failed to check the information.", op));
    }
    // a removal is refused whatever the state is, as long as it is one that can be read
    for (const char* word : {"enable", "disable", "Enable"})
        cases.push_back(refused("Removed", state_handler, state(word), NC_ERR_OP_FAILED,
                                "The operation is not supported.", XMLDIFF_REM));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(State, PredefinedValue, testing::ValuesIn(state_cases()), value_name);

// --------------------------------------------------------------------------------------------------------- the id --

// A node of the entry with another id beside it.
struct IdUser {
    const char* handler;
    std::string node;
    int sending_op;
    std::string before; // the id in the line
    std::string behind;
    unsigned operation; // of the commit
};

const std::vector<IdUser> id_users = {
    {state_handler, state("disable"), XMLDIFF_ADD, "ips signature-state signature-id ", " disabled ", 0},
    {condition_handler, "<associated-condition/>", XMLDIFF_REM, "undo ips associated pre-defined signature-id ", " ",
     1},
};

std::vector<ValueCase> id_cases()
{
    std::vector<ValueCase> cases;
    const auto refuse = [&](const IdUser& user, const std::string& element, const std::string& message) {
        std::vector<int> ops = any_operation;
        ops.push_back(XMLDIFF_CHAIN);
        for (const int op : ops) {
            cases.push_back(
                in_group(refused("Id", user.handler, user.node, NC_ERR_MISSING_ELEM, message, op), element));
            if (element.find('?') != std::string::npos)
                cases.back().output = question_mark + cases.back().output;
        }
    };
    for (const IdUser& user : id_users) {
        for (const std::string& element :
             {std::string(), std::string("<id/>"), std::string("<id text=''/>"), id(std::string(64, '1'))})
            refuse(user, element, "Get error associated signature id node information.");
        for (const char* text : {" 1025", "1025 ", "1025\n", "10?25"})
            refuse(user, id(text), "Invalid signature id, because of spaces.");
        for (const char* text : {"0", "1", "1024", "16777217", "-1025", "+1025", "1025a", "a", "10 25", "4294967296",
                                 "99999999999999999999"})
            refuse(user, id(text), "Failed to check the signature id range information.");
        for (const std::string& text : {std::string("1025"), std::string("16777216"), std::string("001025"),
                                        std::string("4294968321"), std::string(59, '0') + "1025"})
            cases.push_back(in_group(
                sent("Id", user.handler, user.node, user.before + text + user.behind, user.sending_op, user.operation),
                id(text)));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Id, PredefinedValue, testing::ValuesIn(id_cases()), value_name);

TEST(PredefinedId, IsJudgedBeforeTheState)
{
    RecordingServer server;
    const HandlerCase& test = handler_case(state_handler);
    Steps above = test.above;
    above.back().content = id("1024");
    EXPECT_EQ(test.call(server, XMLDIFF_REM, nested(above, "<config-state/>")).errors,
              (ClientErrors{{NC_ERR_MISSING_ELEM, "Failed to check the signature id range information."}}));
}

// -------------------------------------------------------------------------------------------------- the condition --

struct ConditionLeaf {
    const char* handler;
    const char* name;
    std::string value;
    std::string part; // of the line
    std::vector<std::string> accepted;
    std::vector<std::string> refused;
};

const std::vector<std::string> no_numbers = {"0", "-1", "+1", "1a", "a", "1 2", "1.0", "4294967296"};

ConditionLeaf number_leaf(const char* handler, const char* name, const char* last, const char* beyond)
{
    ConditionLeaf test{handler, name, "9", std::string(name) + " 9 ", {"1", last, "001"}, no_numbers};
    test.refused.emplace_back(beyond);
    return test;
}

// In the line's order.
const std::vector<ConditionLeaf> condition_leaves = {
    number_leaf("IPS_PreSigAssocCondThreshold", "threshold", "500", "501"),
    number_leaf("IPS_PreSigAssocCondInterval", "interval", "7200", "7201"),
    number_leaf("IPS_PreSigAssocCondBlockTime", "block-time", "1000", "1001"),
    {"IPS_PreSigAssocCondCorrelation",
     "correlation",
     "source",
     "correlateby source ",
     {"source", "destination", "source-destination"},
     {"Source", "both", "source destination", "%s", std::string(63, 's')}},
};

const std::string line_start = "ips associated pre-defined signature-id 1025 ";

std::string keyword(const ConditionLeaf& test)
{
    return test.part.substr(0, test.part.find(' ') + 1);
}

ValueCase check_refused(const char* name, const ConditionLeaf& test, const std::string& node, const std::string& beside,
                        const std::string& message, int op = XMLDIFF_ADD)
{
    ValueCase made = in_group(refused(name, test.handler, node, NC_ERR_INVALID_VALUE, message, op), beside);
    made.output += error_line("Failed to check the dcommand-and-control-domain-filter node.");
    return made;
}

// Every leaf with every choice of the others beside it.
std::vector<ValueCase> combination_cases()
{
    std::vector<ValueCase> cases;
    for (std::size_t changed = 0; changed < condition_leaves.size(); ++changed) {
        for (unsigned present = 0; present < 16; ++present) {
            if ((present >> changed & 1) == 0)
                continue;
            std::string beside;
            std::string line = line_start;
            for (std::size_t i = 0; i < condition_leaves.size(); ++i) {
                if ((present >> i & 1) == 0)
                    continue;
                line += condition_leaves[i].part;
                if (i != changed)
                    beside += leaf(condition_leaves[i].name, condition_leaves[i].value);
            }
            const ConditionLeaf& test = condition_leaves[changed];
            for (const int op : set_operations)
                cases.push_back(
                    in_group(sent("Combination", test.handler, leaf(test.name, test.value), line, op), beside));
        }
    }
    return cases;
}

std::vector<ValueCase> condition_cases()
{
    std::vector<ValueCase> cases;
    for (const ConditionLeaf& test : condition_leaves) {
        const std::vector<ValueCase> faulty = faulty_texts(test.handler, test.name, any_operation);
        cases.insert(cases.end(), faulty.begin(), faulty.end());
        const std::string bad = "Failed to check " + std::string(test.name) + " node information.";
        for (const int op : set_operations) {
            for (const std::string& value : test.accepted)
                cases.push_back(in_group(sent("Accepted", test.handler, leaf(test.name, value),
                                              line_start + keyword(test) + value + ' ', op),
                                         ""));
            for (const std::string& value : test.refused)
                cases.push_back(check_refused("Refused", test, leaf(test.name, value), "", bad, op));
        }
        // a single leaf cannot be taken back
        for (const std::string& value : {test.accepted[0], test.refused[0], std::string(300, '9')})
            cases.push_back(refused("Removed", test.handler, leaf(test.name, value), NC_ERR_OP_FAILED,
                                    "The operation is not supported.", XMLDIFF_REM));
    }
    return cases;
}

// The check passes over a text of 64 characters and more, the command over one of 32 and more (a correlation: 64).
std::vector<ValueCase> long_leaf_cases()
{
    const std::string nothing = "The threshold/interval/block-time/correlation node all are NULL.";
    std::vector<ValueCase> cases;
    for (const ConditionLeaf& test : condition_leaves) {
        cases.push_back(check_refused("TooLongToRead", test, leaf(test.name, std::string(64, '1')), "", nothing));
        if (test.value == "source")
            continue;
        const std::string longest = std::string(30, '0') + '9';
        cases.push_back(in_group(
            sent("Longest", test.handler, leaf(test.name, longest), line_start + keyword(test) + longest + ' '), ""));
        for (const std::size_t zeros : {31U, 62U}) {
            const std::string node = leaf(test.name, std::string(zeros, '0') + '9');
            cases.push_back(in_group(sent("LeftOut", test.handler, node, line_start + "correlateby source "),
                                     leaf("correlation", "source")));
            cases.push_back(
                in_group(refused("AloneAndLeftOut", test.handler, node, NC_ERR_INVALID_VALUE, nothing), ""));
            cases.back().output += error_line("Failed to cmd the dcommand-and-control-domain-filter.");
        }
    }
    return cases;
}

// A sibling that is bad stands in the way of a good leaf; the checks' order is that of the line.
std::vector<ValueCase> sibling_cases()
{
    std::vector<ValueCase> cases;
    for (const ConditionLeaf& test : condition_leaves) {
        for (const ConditionLeaf& sibling : condition_leaves) {
            if (&sibling == &test)
                continue;
            const std::string beside = leaf(sibling.name, sibling.refused[0]);
            cases.push_back(check_refused("BadSibling", test, leaf(test.name, test.value), beside,
                                          "Failed to check " + std::string(sibling.name) + " node information."));
            const std::string first = std::min(&test, &sibling)->name;
            cases.push_back(check_refused("BothBad", test, leaf(test.name, test.refused[0]), beside,
                                          "Failed to check " + first + " node information."));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Combination, PredefinedValue, testing::ValuesIn(combination_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Condition, PredefinedValue, testing::ValuesIn(condition_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(LongLeaf, PredefinedValue, testing::ValuesIn(long_leaf_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Sibling, PredefinedValue, testing::ValuesIn(sibling_cases()), value_name);

// The id above a condition's leaf is read for the command only, and its range is nobody's business there.
class PredefinedConditionId : public ServerTestBase<testing::TestWithParam<ConditionLeaf>>
{
protected:
    CallResult call(const std::string& id_element, int op = XMLDIFF_ADD)
    {
        const HandlerCase& test = handler_case(GetParam().handler);
        Steps above = test.above;
        above[above.size() - 2].content = id_element;
        above.back().content = "";
        CallResult r = test.call(server, op, nested(above, leaf(GetParam().name, GetParam().value)));
        r.output = without_line_numbers(r.output);
        return r;
    }

    void expect_refused(const std::string& id_element, const std::string& message, const std::string& before = "")
    {
        server.fail_result = 42;
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(id_element);
            const DebugSwitches switches(setting);
            const CallResult r = call(id_element);
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, message}}));
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            const std::string debug =
                before + error_line(message) + error_line("Failed to cmd the dcommand-and-control-domain-filter.");
            EXPECT_EQ(r.output, opening_lines(handler_case(GetParam().handler), XMLDIFF_ADD, setting) +
                                    (setting.messages ? debug : ""));
        }
    }
};

TEST_P(PredefinedConditionId, ThatCannotBeReadIsRefused)
{
    for (const std::string& element :
         {std::string(), std::string("<id/>"), std::string("<id text=''/>"), id(std::string(32, '1'))})
        expect_refused(element, "Get error signature-id node information.");
    for (const char* text : {" 1025", "1025 "})
        expect_refused(id(text), "Invalid signature id, because of spaces.");
    expect_refused(id("1025?"), "Invalid signature id, because of spaces.", question_mark);
}

TEST_P(PredefinedConditionId, OfAnyOtherFormIsSent)
{
    for (const std::string& text :
         {std::string("1"), std::string("16777217"), std::string("an id"), std::string(31, '1')}) {
        const Line line{std::nullopt, "system", std::nullopt,
                        "ips associated pre-defined signature-id " + text + ' ' + GetParam().part};
        EXPECT_EQ(call(id(text)).lines, Lines{line});
    }
}

TEST_P(PredefinedConditionId, IsOfNoMatterWhereNothingIsSent)
{
    EXPECT_EQ(call("", XMLDIFF_REM).errors, (ClientErrors{{NC_ERR_OP_FAILED, "The operation is not supported."}}));
    for (const int op : {undone_addition, int{XMLDIFF_NONE}, int{XMLDIFF_CHAIN}}) {
        const CallResult r = call("", op);
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.errors, ClientErrors{});
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_EQ(r.commits.size(), 1U);
    }
}

std::string leaf_name(const testing::TestParamInfo<ConditionLeaf>& test)
{
    return test.param.handler;
}

INSTANTIATE_TEST_SUITE_P(All, PredefinedConditionId, testing::ValuesIn(condition_leaves), leaf_name);

// ------------------------------------------------------------------------------------ edits of more than one node --

class PredefinedEdit : public ServerTest
{
protected:
    // Calls both entry points of every handled node of the condition, each with the operation.
    std::vector<std::string> edit(int op, const std::string& leaves)
    {
        const std::string xml =
            nested({{"ips-config"}, {"predefined-signatures"}, {"signature", id("1025"), "CHAIN"}},
                   "<associated-condition op='" + op_text(op) + "'>" + leaves + "</associated-condition>");
        std::vector<std::string> lines;
        for (const TableNode& node : handled_nodes()) {
            if (node.path.find("predefined-signatures/qn-ips:signature/qn-ips:associated") == std::string::npos ||
                xml.find('<' + path_names(node.path).back() + ' ') == std::string::npos)
                continue;
            for (const transapi_callback entry : {node.set.function, node.remove.function}) {
                const CallResult r = server.enter(entry, op, xml, bare_xpath(node.path));
                EXPECT_EQ(r.errors, ClientErrors{});
                for (const Line& line : r.lines)
                    lines.push_back(line.line);
            }
        }
        return lines;
    }
};

TEST_F(PredefinedEdit, NewConditionIsSentByItsLeavesWhole)
{
    const std::string whole = "ips associated pre-defined signature-id 1025 threshold 9 interval 20 ";
    EXPECT_EQ(edit(XMLDIFF_ADD, "<threshold op='ADD'>9</threshold><interval op='ADD'>20</interval>"),
              (std::vector<std::string>{whole, whole}));
}

TEST_F(PredefinedEdit, RemovedConditionSendsItsOwnLineOnly)
{
    EXPECT_EQ(edit(XMLDIFF_REM, "<threshold op='REM'>9</threshold><interval op='REM'>20</interval>"),
              std::vector<std::string>{"undo ips associated pre-defined signature-id 1025 "});
}

TEST_F(PredefinedEdit, ChangedLeafTakesTheUnchangedOnesAlong)
{
    const HandlerCase& test = handler_case("IPS_PreSigAssocCondInterval");
    Steps above = test.above;
    above.back().content = leaf("threshold", "9");
    const CallResult r = test.call(server, XMLDIFF_MOD, nested(above, leaf("interval", "30")));
    EXPECT_EQ(r.lines, (Lines{{std::nullopt, "system", std::nullopt,
                               "ips associated pre-defined signature-id 1025 threshold 9 interval 30 "}}));
}

} // namespace
