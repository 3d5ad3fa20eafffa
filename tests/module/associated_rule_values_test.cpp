// The values that handlers of an associated signature's rules take and refuse, and the texts at the limits of their
// buffers.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* rule_handler = "IPS_UD_SigAssociatedSigRule";
constexpr const char* id_handler = "IPS_UD_SigRuleAssocCondSigID";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
const std::vector<int> set_operations = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_ADD | XMLDIFF_CFGR,
                                         XMLDIFF_REM | XMLDIFF_ROLLBACK};
const std::string bad_information = "Failed to check the information.";

std::string signature_id(std::string_view text)
{
    return leaf("signature-id", text);
}

class AssociatedValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(AssociatedValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// ----------------------------------------------------------------------------------------------- the value leaves --

struct ValueLeaf {
    const char* handler;
    const char* name;
    std::string keyword;
    std::string restored; // by a removal
    std::vector<std::string> accepted;
    std::vector<std::string> refused;
};

const std::vector<std::string> no_numbers = {
    "0", "-1", "+1", "1a", "a", "1 2", "0x10", "1.0", "4294967296", "99999999999999999999", std::string(300, '9')};

ValueLeaf number_leaf(const char* handler, const char* name, const char* restored, const char* last, const char* beyond)
{
    ValueLeaf test{handler, name, name, restored, {"1", "2", last, "001", "4294967297"}, no_numbers};
    test.refused.emplace_back(beyond);
    return test;
}

const std::vector<ValueLeaf> value_leaves = {
    number_leaf("IPS_UD_SigRuleAssocCondThreshold", "threshold", "30", "500", "501"),
    number_leaf("IPS_UD_SigRuleAssocCondInterval", "interval", "60", "7200", "7201"),
    number_leaf("IPS_UD_SigRuleAssocCondBlockTime", "block-time", "5", "1000", "1001"),
    {"IPS_UD_SigRuleAssocCondCorrelation",
     "correlation",
     "correlateby",
     "source-destination",
     {"source", "destination", "source-destination"},
     {"Source", "DESTINATION", "source-Destination", "destination-source", "sourc", "sources", "source destination",
      "both", "%s", std::string(64, 's'), std::string(300, 's')}},
};

std::string line_start(const ValueLeaf& test, const std::string& id)
{
    return "condition associated signature-id " + id + ' ' + test.keyword + ' ';
}

std::vector<ValueCase> value_leaf_cases()
{
    std::vector<ValueCase> cases;
    for (const ValueLeaf& test : value_leaves) {
        const std::string start = line_start(test, "1100");
        for (const int op : set_operations) {
            for (const std::string& value : test.accepted)
                cases.push_back(sent("Accepted", test.handler, leaf(test.name, value), start + value, op));
            for (const std::string& value : test.refused)
                cases.push_back(
                    refused("Refused", test.handler, leaf(test.name, value), NC_ERR_BAD_ELEM, bad_information, op));
        }
        // what goes is looked at only for its form, and the device's default takes its place
        for (const std::string& value : {test.accepted[0], test.refused[0], std::string(300, '9')}) {
            for (const int op : {int{XMLDIFF_REM}, undone_addition})
                cases.push_back(sent("Removed", test.handler, leaf(test.name, value), start + test.restored, op, 1));
        }
    }
    return cases;
}

std::vector<ValueCase> faulty_leaf_cases()
{
    std::vector<ValueCase> cases =
        faulty_texts(id_handler, "signature-id", {XMLDIFF_ADD, XMLDIFF_MOD, undone_addition, XMLDIFF_NONE});
    for (const ValueLeaf& test : value_leaves) {
        const std::vector<ValueCase> more = faulty_texts(test.handler, test.name, any_operation);
        cases.insert(cases.end(), more.begin(), more.end());
    }
    return cases;
}

// A condition's leaf needs the signature id beside it, even to go.
std::vector<ValueCase> sibling_cases()
{
    std::vector<ValueCase> cases;
    for (const ValueLeaf& test : value_leaves) {
        const std::string node = leaf(test.name, test.accepted[0]);
        for (const int op : any_operation) {
            for (const std::string& beside :
                 {std::string(), std::string("<signature-id/>"), std::string("<signature-id text=''/>"),
                  signature_id(std::string(64, '1'))})
                cases.push_back(in_group(refused("NoSignatureId", test.handler, node, NC_ERR_MISSING_ELEM,
                                                 "Get error assoc/signature-id information.", op),
                                         beside));
        }
        // the leaf's own form comes first, its value last
        cases.push_back(
            in_group(refused("Blank", test.handler, leaf(test.name, "1 "), NC_ERR_MISSING_ELEM, invalid_value), ""));
        cases.push_back(in_group(refused("NoSignatureId", test.handler, leaf(test.name, "x"), NC_ERR_MISSING_ELEM,
                                         "Get error assoc/signature-id information."),
                                 ""));
        // the leaf of the id has judged it
        for (const std::string& id : {std::string("0"), std::string("an id?"), std::string(63, '1')}) {
            cases.push_back(
                in_group(sent("Id", test.handler, node, line_start(test, id) + test.accepted[0]), signature_id(id)));
            cases.push_back(
                in_group(sent("IdRemoved", test.handler, node, line_start(test, id) + test.restored, XMLDIFF_REM, 1),
                         signature_id(id)));
        }
    }
    return cases;
}

// The handler's copy of a value holds 63 characters.
std::vector<ValueCase> long_value_cases()
{
    std::vector<ValueCase> cases;
    for (const ValueLeaf& test : value_leaves) {
        if (test.keyword == "correlateby")
            continue;
        const std::string whole = std::string(61, '0') + "10";
        const std::string cut = std::string(62, '0') + "10";
        const std::string cut_to_nothing = std::string(63, '0') + "1";
        const std::string start = line_start(test, "1100");
        cases.push_back(sent("Whole", test.handler, leaf(test.name, whole), start + whole));
        cases.push_back(sent("Cut", test.handler, leaf(test.name, cut), start + std::string(62, '0') + '1'));
        cases.push_back(
            refused("CutToNothing", test.handler, leaf(test.name, cut_to_nothing), NC_ERR_BAD_ELEM, bad_information));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Leaf, AssociatedValue, testing::ValuesIn(value_leaf_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyLeaf, AssociatedValue, testing::ValuesIn(faulty_leaf_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Sibling, AssociatedValue, testing::ValuesIn(sibling_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(LongLeaf, AssociatedValue, testing::ValuesIn(long_value_cases()), value_name);

// ----------------------------------------------------------------------------------------------- the signature id --

ValueCase id_refused(const char* name, const std::string& id, const std::string& beside, NC_ERR code,
                     const std::string& message, const std::string& debug)
{
    ValueCase test = in_group(refused(name, id_handler, signature_id(id), code, message), beside);
    test.output += error_line(debug);
    return test;
}

const std::string condition_start = "condition associated signature-id ";

std::vector<ValueCase> id_cases()
{
    const std::string failed_command = "Failed to cmd the signature rule condition.";
    std::vector<ValueCase> cases;
    for (const int op : set_operations) {
        for (const std::string& id :
             {std::string("1"), std::string("1024"), std::string("16777216"), std::string("007")})
            cases.push_back(in_group(sent("Alone", id_handler, signature_id(id), condition_start + id + ' ', op), ""));
        // one of the line's forms has no blank at its end
        cases.push_back(
            in_group(sent("WithThreshold", id_handler, signature_id("5"), condition_start + "5 threshold 10", op),
                     leaf("threshold", "10")));
        cases.push_back(in_group(
            sent("WithCorrelation", id_handler, signature_id("5"), condition_start + "5 correlateby destination ", op),
            leaf("correlation", "destination")));
    }
    for (const char* id : {"0", "16777217", "-1", "1a", "1 2", "+5", "id"})
        cases.push_back(id_refused("OutOfRange", id, "", NC_ERR_BAD_ELEM,
                                   "Failed to check signature-id node information.", bad_information));
    for (const auto& [name, text] : {std::pair{"threshold", "501"},
                                     {"interval", "7201"},
                                     {"block-time", "1001"},
                                     {"threshold", "0"},
                                     {"correlation", "Source"},
                                     {"interval", "1 "}})
        cases.push_back(id_refused("BadSibling", "5", leaf(name, text), NC_ERR_INVALID_VALUE,
                                   "Failed to check " + std::string(name) + " node information.", bad_information));
    // the check reads 63 characters of the id, the command 31
    const std::string longest = std::string(27, '0') + "1100";
    const std::string longer = std::string(59, '0') + "1100";
    const std::string unread = std::string(60, '0') + "1100";
    cases.push_back(in_group(sent("Longest", id_handler, signature_id(longest), condition_start + longest + ' '), ""));
    cases.push_back(id_refused("TooLongToSend", '0' + longest, "", NC_ERR_MISSING_ELEM,
                               "Get error associated-condition/signature-id node information.", failed_command));
    cases.push_back(id_refused("TooLongToSend", longer, "", NC_ERR_MISSING_ELEM,
                               "Get error associated-condition/signature-id node information.", failed_command));
    cases.push_back(id_refused("TooLongToRead", unread, "", NC_ERR_MISSING_ELEM,
                               "Get error assoc-conditon/signature-id node information.", bad_information));
    // a removal is refused whatever the leaf says
    for (const char* node : {"<signature-id/>", "<signature-id text=''/>", "<signature-id>?</signature-id>",
                             "<signature-id>0</signature-id>", "<signature-id>5</signature-id>"})
        cases.push_back(
            refused("Removed", id_handler, node, NC_ERR_OP_FAILED, "The operation is not supported.", XMLDIFF_REM));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Id, AssociatedValue, testing::ValuesIn(id_cases()), value_name);

// ------------------------------------------------------------------------------------------------- the rule entry --

std::string rule(const std::string& name_element)
{
    return "<signature-rule>" + name_element + "<associated-condition/></signature-rule>";
}

std::vector<ValueCase> rule_cases()
{
    std::vector<ValueCase> cases =
        faulty_texts_within(rule_handler, "name", any_operation, "<signature-rule>", "</signature-rule>");
    for (const int op : any_operation)
        cases.push_back(refused("NoName", rule_handler, rule(""), NC_ERR_MISSING_ELEM, absent_value, op));
    for (const std::string& name : {std::string("R1"), std::string("two words"), std::string("\"r\""),
                                    std::string("%s%n"), std::string(125, 'r')}) {
        const std::string node = rule(leaf("name", name));
        for (const int op : set_operations)
            cases.push_back(sent("Quoted", rule_handler, node, "rule name \"" + name + '"', op));
        for (const int op : {int{XMLDIFF_REM}, undone_addition})
            cases.push_back(sent("Removed", rule_handler, node, "undo rule name \"" + name + '"', op, 1));
    }
    // the quoted name ends with its buffer
    for (const std::size_t length : {126U, 127U, 300U})
        cases.push_back(sent("Cut", rule_handler, rule(leaf("name", std::string(length, 'r'))),
                             "rule name \"" + std::string(126, 'r')));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Rule, AssociatedValue, testing::ValuesIn(rule_cases()), value_name);

} // namespace
