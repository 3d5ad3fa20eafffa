// What a signature set selects by application, protocol and category: the containers, the leaves that select everything
// and the single entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* application_handler = "IPS_UD_SigSetSpecifiedApplication";
constexpr const char* protocol_handler = "IPS_UD_SigSetSpecifiedProtocol";
constexpr const char* category_handler = "IPS_UD_SigSetSpecifiedCategory";
constexpr const char* sub_category_handler = "IPS_UD_SigSetSSCategory";

constexpr int rollback_of_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int rollback_of_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;
const std::vector<int> set_ops = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CFGR, rollback_of_removal};
const std::vector<int> undo_ops = {XMLDIFF_REM, rollback_of_addition};
const std::string information = "Failed to check the information.";

class Selection : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(Selection, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

using Cases = std::vector<ValueCase>;

void add(Cases& cases, const Cases& more)
{
    cases.insert(cases.end(), more.begin(), more.end());
}

std::string within(const std::string& name, const std::string& content)
{
    return '<' + name + '>' + content + "</" + name + '>';
}

// ------------------------------------------------------------------------------------------------------- containers --

Cases container_cases(const char* handler, const std::string& name, const std::string& message)
{
    const std::string all = "all-" + name;
    std::vector<int> ops = any_operation;
    ops.push_back(XMLDIFF_CHAIN);
    Cases cases = faulty_texts_within(handler, all.c_str(), ops, '<' + name + '>', "</" + name + '>');
    for (const int op : ops) {
        cases.push_back(refused("NoLeaf", handler, '<' + name + "/>", NC_ERR_MISSING_ELEM, absent_value, op));
        for (const char* word : {"True", "FALSE", "tru", "falsefalse", "all", "1"})
            cases.push_back(
                refused("OtherWord", handler, within(name, leaf(all, word)), NC_ERR_INVALID_VALUE, message, op));
    }
    for (const char* word : {"true", "false"}) {
        const std::string node = within(name, leaf(all, word));
        for (const int op : undo_ops)
            cases.push_back(sent("Removed", handler, node, "undo " + name + " all", op, 1));
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CHAIN}})
            cases.push_back(passed_over("Changed", handler, node, "[IPS]SUCCESS: The op os OK.\r\n", op));
    }
    return cases;
}

Cases containers()
{
    Cases cases;
    add(cases,
        container_cases("IPS_UD_SigSetApplication", "application", "Failed to check the value of application all."));
    add(cases, container_cases("IPS_UD_SigSetProtocol", "protocol", "Failed to check the value of protocol-all node."));
    add(cases, container_cases("IPS_UD_SigSetCategory", "category", "Failed to check the value of category-all node."));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Container, Selection, testing::ValuesIn(containers()), value_name);

// The action's container has no leaf that it looks at.
INSTANTIATE_TEST_SUITE_P(ActionContainer, Selection,
                         testing::Values(sent("Empty", "IPS_UD_SigSetSSAction", "<signature-set-action/>",
                                              "undo action", XMLDIFF_REM, 1),
                                         sent("OfABadAction", "IPS_UD_SigSetSSAction",
                                              "<signature-set-action><action>?</action></signature-set-action>",
                                              "undo action", rollback_of_addition, 1),
                                         passed_over("New", "IPS_UD_SigSetSSAction", "<signature-set-action/>",
                                                     "[IPS]SUCCESS: The op is ok.\r\n"),
                                         passed_over("ChangedBelow", "IPS_UD_SigSetSSAction", "<signature-set-action/>",
                                                     "[IPS]SUCCESS: The op is ok.\r\n", XMLDIFF_CHAIN)),
                         value_name);

// ------------------------------------------------------------------------------------------------------- everything --

Cases everything_cases(const char* handler, const std::string& name)
{
    const std::string all = "all-" + name;
    const std::string refusal = "The operation is not supported.";
    Cases cases = faulty_texts(handler, all.c_str(), any_operation);
    for (const int op : set_ops) {
        cases.push_back(sent("True", handler, leaf(all, "true"), name + " all", op));
        cases.push_back(sent("False", handler, leaf(all, "false"), "undo " + name + " all", op));
        for (const std::string& word : {std::string("True"), std::string("FALSE"), std::string("all"),
                                        std::string("truetrue"), std::string(64, 't')})
            cases.push_back(refused("OtherWord", handler, leaf(all, word), NC_ERR_INVALID_VALUE, information, op));
    }
    for (const int op : undo_ops) {
        for (const char* word : {"true", "false", "True"})
            cases.push_back(refused("Removed", handler, leaf(all, word), NC_ERR_OP_FAILED, refusal, op));
    }
    return cases;
}

Cases everything()
{
    Cases cases;
    add(cases, everything_cases("IPS_UD_SigSetAllApplication", "application"));
    add(cases, everything_cases("IPS_UD_SigSetAllProtocol", "protocol"));
    add(cases, everything_cases("IPS_UD_SigSetAllCategory", "category"));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Everything, Selection, testing::ValuesIn(everything()), value_name);

// -------------------------------------------------------------------- single entries beside the leaf for everything --

struct Entry {
    const char* handler;
    std::string all;
    std::string node;    // a valid entry
    std::string nothing; // one without a value
    std::string line;
    std::string unread;
    std::string quiet;
};

const std::vector<Entry> single_entries = {
    {application_handler, "all-application", leaf("specifed-application", "HTTP"), "<specifed-application/>",
     "application HTTP", "Get error all-application information.", "[IPS]SUCCESS: The application all is true.\r\n"},
    {protocol_handler, "all-protocol", leaf("specifed-protocol", "DNS"), "<specifed-protocol/>", "protocol DNS",
     "Get error all-protocol information.", "[IPS]SUCCESS: The protocol all is true.\r\n"},
    {category_handler, "all-category",
     "<specifed-category><name>Worm</name><all-sub-category>true</all-sub-category></specifed-category>",
     "<specifed-category/>", "category Worm", "Get all-category information.",
     "[IPS]SUCCESS: The application all is true.\r\n"},
};

Cases beside_everything()
{
    Cases cases;
    for (const Entry& entry : single_entries) {
        for (const int op : any_operation) {
            for (const std::string& group : {std::string(), '<' + entry.all + "/>", '<' + entry.all + " text=''/>",
                                             leaf(entry.all, std::string(64, 't'))}) {
                for (const std::string& node : {entry.node, entry.nothing})
                    cases.push_back(in_group(
                        refused("UnreadAll", entry.handler, node, NC_ERR_MISSING_ELEM, entry.unread, op), group));
            }
            for (const std::string& node : {entry.node, entry.nothing})
                cases.push_back(in_group(passed_over("AllIsSelected", entry.handler, node, entry.quiet, op),
                                         leaf(entry.all, "true")));
        }
        for (const std::string& word : {std::string("false"), std::string("True"), std::string("true "),
                                        std::string("x"), std::string(63, 't')}) {
            cases.push_back(
                in_group(sent("AllIsNotTrue", entry.handler, entry.node, entry.line), leaf(entry.all, word)));
            cases.push_back(
                in_group(sent("AllIsNotTrue", entry.handler, entry.node, "undo " + entry.line, XMLDIFF_REM, 1),
                         leaf(entry.all, word)));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(BesideEverything, Selection, testing::ValuesIn(beside_everything()), value_name);

// --------------------------------------------------------------------------------------- application and protocol --

Cases value_cases(const char* handler, const std::string& name, const std::string& keyword, std::size_t longest)
{
    const auto node = [&](const std::string& text) { return leaf(name, text); };
    const std::string on = keyword + ' ';
    const std::string off = "undo " + on;
    Cases cases = faulty_texts(handler, name.c_str(), any_operation);
    for (const std::string text : {"HTTP", "http", "ALL", "All", "all ports", "alls", "100%s%n", "a\"b"}) {
        for (const int op : set_ops)
            cases.push_back(sent("Plain", handler, node(text), on + text, op));
        for (const int op : undo_ops)
            cases.push_back(sent("Removed", handler, node(text), off + text, op, 1));
    }
    for (const std::size_t length : {longest - 1, longest, longest + 1, std::size_t{300}}) {
        const std::string copied(std::min(length, longest), 'x');
        cases.push_back(sent("Long", handler, node(std::string(length, 'x')), on + copied));
        cases.push_back(sent("LongAndRemoved", handler, node(std::string(length, 'x')), off + copied, XMLDIFF_REM, 1));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Application, Selection,
                         testing::ValuesIn(value_cases(application_handler, "specifed-application", "application",
                                                       127)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(Protocol, Selection,
                         testing::ValuesIn(value_cases(protocol_handler, "specifed-protocol", "protocol", 63)),
                         value_name);

// An application "all" is reported and sent all the same; a protocol "all" is refused.
Cases all_as_entry()
{
    Cases cases;
    for (const int op : set_ops) {
        ValueCase application =
            refused("All", application_handler, leaf("specifed-application", "all"), NC_ERR_BAD_ELEM, information, op);
        application.line = "application all";
        cases.push_back(application);
        cases.push_back(
            refused("All", protocol_handler, leaf("specifed-protocol", "all"), NC_ERR_BAD_ELEM, information, op));
    }
    for (const int op : undo_ops) {
        ValueCase application = refused("AllRemoved", application_handler, leaf("specifed-application", "all"),
                                        NC_ERR_BAD_ELEM, information, op);
        application.line = "undo application all";
        application.operation = 1;
        cases.push_back(application);
        cases.push_back(refused("AllRemoved", protocol_handler, leaf("specifed-protocol", "all"), NC_ERR_BAD_ELEM,
                                information, op));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AllAsEntry, Selection, testing::ValuesIn(all_as_entry()), value_name);

// --------------------------------------------------------------------------------------------------------- category --

std::string category(const std::string& name, const std::string& all_sub)
{
    return within("specifed-category", leaf("name", name) + all_sub);
}

std::string all_sub(const std::string& text)
{
    return leaf("all-sub-category", text);
}

Cases category_name_cases()
{
    std::vector<int> ops = any_operation;
    ops.push_back(XMLDIFF_CHAIN);
    Cases cases;
    for (const std::string& sub : {all_sub("true"), all_sub("false"), std::string()})
        add(cases,
            faulty_texts_within(category_handler, "name", ops, "<specifed-category>" + sub, "</specifed-category>"));
    for (const int op : ops)
        cases.push_back(refused("NoName", category_handler, within("specifed-category", all_sub("true")),
                                NC_ERR_MISSING_ELEM, absent_value, op));
    for (const std::size_t length : {62U, 63U, 64U, 300U}) {
        const std::string copied(std::min<std::size_t>(length, 63), 'c');
        const std::string node = category(std::string(length, 'c'), all_sub("true"));
        cases.push_back(sent("Long", category_handler, node, "category " + copied));
        cases.push_back(sent("LongAndRemoved", category_handler, node, "undo category " + copied, XMLDIFF_REM, 1));
    }
    for (const std::string name : {"WORM", "All", "two words", "%s%n"})
        cases.push_back(sent("Plain", category_handler, category(name, all_sub("true")), "category " + name));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(CategoryName, Selection, testing::ValuesIn(category_name_cases()), value_name);

Cases all_sub_category_cases()
{
    const std::string not_sent = "[IPS]SUCCESS: The parent of category do not cmd.\r\n";
    const std::string wrong_type = "[IPS]ERROR: The type of all-sub-category is wrong.\r\n\r\n";
    Cases cases;
    for (const int op : set_ops) {
        for (const char* word : {"true", " true", "true\t"})
            cases.push_back(sent("True", category_handler, category("Worm", all_sub(word)), "category Worm", op));
        for (const char* word : {"false", " false "}) {
            cases.push_back(passed_over("False", category_handler, category("Worm", all_sub(word)), not_sent, op));
            cases.push_back(passed_over("FalseOfAll", category_handler, category("all", all_sub(word)), not_sent, op));
        }
        for (const std::string& sub : {all_sub("True"), all_sub("FALSE"), all_sub("x"), all_sub(" "), std::string(),
                                       std::string("<all-sub-category/>"), all_sub(std::string(128, 't'))}) {
            for (const std::string name : {"Worm", "all"}) {
                ValueCase test =
                    refused("OtherWord", category_handler, category(name, sub), NC_ERR_INVALID_VALUE, information, op);
                test.output = wrong_type;
                cases.push_back(test);
            }
        }
        cases.push_back(
            refused("All", category_handler, category("all", all_sub("true")), NC_ERR_INVALID_VALUE, information, op));
    }
    // its removal does not look at the leaf
    for (const int op : undo_ops) {
        for (const std::string& sub : {all_sub("true"), all_sub("false"), all_sub("x"), std::string()}) {
            cases.push_back(sent("Removed", category_handler, category("Worm", sub), "undo category Worm", op, 1));
            cases.push_back(
                refused("AllRemoved", category_handler, category("all", sub), NC_ERR_INVALID_VALUE, information, op));
        }
    }
    for (const std::string& sub : {all_sub("false"), all_sub("x"), std::string()}) {
        cases.push_back(passed_over("ChangedBelow", category_handler, category("all", sub),
                                    "[IPS]SUCCESS: The operation is CHAIN\r\n", XMLDIFF_CHAIN));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AllSubCategory, Selection, testing::ValuesIn(all_sub_category_cases()), value_name);

// ----------------------------------------------------------------------------------------------------- sub-category --

std::string sub_category(const std::string& name)
{
    return within("sub-category", leaf("name", name));
}

Cases sub_category_cases()
{
    Cases cases = faulty_texts_within(sub_category_handler, "name", any_operation, "<sub-category>", "</sub-category>");
    for (const int op : any_operation)
        cases.push_back(
            refused("NoName", sub_category_handler, "<sub-category/>", NC_ERR_MISSING_ELEM, absent_value, op));
    for (const int op : set_ops) {
        cases.push_back(
            refused("All", sub_category_handler, sub_category("all"), NC_ERR_INVALID_VALUE, information, op));
        for (const std::string name : {"Mail-Worm", "ALL", "two words", "%s%n"})
            cases.push_back(sent("Plain", sub_category_handler, sub_category(name), "category " + name, op));
    }
    for (const int op : undo_ops) {
        cases.push_back(
            refused("AllRemoved", sub_category_handler, sub_category("all"), NC_ERR_INVALID_VALUE, information, op));
        cases.push_back(
            sent("Removed", sub_category_handler, sub_category("Mail-Worm"), "undo category Mail-Worm", op, 1));
    }
    for (const std::size_t length : {126U, 127U, 128U, 300U}) {
        const std::string copied(std::min<std::size_t>(length, 127), 'c');
        const std::string node = sub_category(std::string(length, 'c'));
        cases.push_back(sent("Long", sub_category_handler, node, "category " + copied));
        cases.push_back(sent("LongAndRemoved", sub_category_handler, node, "undo category " + copied, XMLDIFF_REM, 1));
    }
    // nothing beside it is looked at
    for (const std::string& group : {std::string(), leaf("name", "all"), all_sub("true"), all_sub("x")})
        cases.push_back(in_group(
            sent("InAnyCategory", sub_category_handler, sub_category("Mail-Worm"), "category Mail-Worm"), group));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(SubCategory, Selection, testing::ValuesIn(sub_category_cases()), value_name);

class SubCategory : public ServerTest
{
};

TEST_F(SubCategory, DoesNotLookAtTheLeafThatSelectsEveryCategory)
{
    const HandlerCase& test = handler_case(sub_category_handler);
    for (const std::string& everything : {leaf("all-category", "true"), leaf("all-category", "x"), std::string()}) {
        Steps above = test.above;
        above.at(above.size() - 2).content = everything;
        EXPECT_EQ(server.call(test.handler, XMLDIFF_ADD, nested(above, test.node), test.xpath).lines,
                  Lines{test.set_line});
    }
}

} // namespace
