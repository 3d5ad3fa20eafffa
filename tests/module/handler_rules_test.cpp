// What the handlers below a user-defined signature have in common: the signature's nature, the rule's name, the view.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "module/handler_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

// `above` with another leaf in the entry at `level`.
Steps with_leaf(Steps above, int level, const std::string& name, const std::string& element)
{
    std::string& content = above.at(above.size() - static_cast<std::size_t>(level)).content;
    const std::string end = "</" + name + '>';
    const std::size_t first = content.find('<' + name + '>');
    content.replace(first, content.find(end) + end.size() - first, element);
    return above;
}

class BelowASignature : public ServerTestBase<testing::TestWithParam<HandlerCase>>
{
protected:
    CallResult call(int op, const Steps& above)
    {
        CallResult r = GetParam().call(server, op, nested(above, GetParam().node));
        r.output = without_line_numbers(r.output);
        return r;
    }

    void expect_refused(const Steps& above, const ClientError& error, const std::string& debug)
    {
        server.fail_result = 42;
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_REM}, XMLDIFF_ADD | XMLDIFF_ROLLBACK,
                             int{XMLDIFF_NONE}, int{XMLDIFF_CHAIN}}) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(nested(above, "") + ' ' + op_text(op));
                const DebugSwitches switches(setting);
                const CallResult r = call(op, above);
                EXPECT_EQ(r.result, 42);
                EXPECT_EQ(r.errors, ClientErrors{error});
                EXPECT_EQ(r.lines, Lines{});
                EXPECT_TRUE(r.commits.empty());
                EXPECT_EQ(r.output, opening_lines(GetParam(), op, setting) + (setting.messages ? debug : ""));
            }
        }
    }
};

// -------------------------------------------------------------------------------------------------------- the nature
// --

class NatureOfSignature : public BelowASignature
{
protected:
    static Steps with_nature(const std::string& element)
    {
        return with_leaf(GetParam().above, GetParam().signature_level, "associated-enable", element);
    }
};

TEST_P(NatureOfSignature, OfTheOtherKindIsRefused)
{
    const bool associated = GetParam().nature == "true";
    const std::string message = associated ? "The nature is not associated, the operation is not supported."
                                           : "The nature is associated, the operation is not supported.";
    expect_refused(with_nature(leaf("associated-enable", associated ? "false" : "true")), {NC_ERR_BAD_ELEM, message},
                   error_line(message));
}

TEST_P(NatureOfSignature, ThatCannotBeReadIsRefused)
{
    const std::string message = "Get error associated-enable node information.";
    for (const std::string& element :
         {std::string(), std::string("<associated-enable/>"), std::string("<associated-enable text=''/>"),
          leaf("associated-enable", std::string(64, 't'))})
        expect_refused(with_nature(element), {NC_ERR_MISSING_ELEM, message}, error_line(message));
}

// One exact word is refused, and nothing else.
TEST_P(NatureOfSignature, InOtherWordsPasses)
{
    for (const char* word : {"TRUE", "FALSE", "True", "False", "true ", " false", "?", "maybe"}) {
        SCOPED_TRACE(word);
        const CallResult r = call(GetParam().sending_op(), with_nature(leaf("associated-enable", word)));
        EXPECT_EQ(r.errors, ClientErrors{});
        EXPECT_EQ(r.lines, GetParam().sent_lines());
    }
}

// ---------------------------------------------------------------------------------------------------------- the rule
// --

class NameOfRule : public BelowASignature
{
protected:
    static Steps with_name(const std::string& element)
    {
        return with_leaf(GetParam().above, GetParam().rule_level, "name", element);
    }

    void expect_view(const Steps& above, const std::string& view)
    {
        Lines promised = GetParam().sent_lines();
        for (Line& line : promised)
            line.view = view;
        EXPECT_EQ(call(GetParam().sending_op(), above).lines, promised);
    }
};

TEST_P(NameOfRule, ThatCannotBeReadIsRefused)
{
    const std::string message = "Get an error rule name.";
    for (const std::string& element :
         {std::string(), std::string("<name/>"), std::string("<name text=''/>"), leaf("name", std::string(128, 'r'))})
        expect_refused(with_name(element), {NC_ERR_MISSING_ELEM, message}, error_line(message));
}

TEST_P(NameOfRule, WithABlankAtAnEndOrAQuestionMarkIsRefused)
{
    const std::string message = "Invalid rule name, because of spaces.";
    for (const char* name : {" r1", "r1 ", "\tr1", "r1\n", " "})
        expect_refused(with_name(leaf("name", name)), {NC_ERR_INVALID_VALUE, message}, error_line(message));
    expect_refused(with_name(leaf("name", "r?1")), {NC_ERR_INVALID_VALUE, message},
                   question_mark + error_line(message));
}

TEST_P(NameOfRule, StandsBareInTheView)
{
    expect_view(with_name(leaf("name", "R one")), "ips-signature-7-rule-R one");
    expect_view(with_name(leaf("name", "\"r\"%s")), "ips-signature-7-rule-\"r\"%s");
}

// A view has room for 107 characters of both, or for as many as there can be.
TEST_P(NameOfRule, IsCutWhereTheViewEnds)
{
    const Steps above = with_leaf(GetParam().above, GetParam().signature_level, "id", leaf("id", "1024"));
    for (const std::size_t length : {103U, 104U, 127U}) {
        Steps renamed = above;
        renamed = with_leaf(renamed, GetParam().rule_level, "name", leaf("name", std::string(length, 'r')));
        const std::string view = "ips-signature-1024-rule-" + std::string(length, 'r');
        expect_view(renamed, view.substr(0, GetParam().view_limit));
    }
}

TEST_P(NameOfRule, IsReadBeforeTheNature)
{
    server.fail_result = 42;
    const Steps other = with_leaf(with_name("<name/>"), GetParam().signature_level, "associated-enable", "");
    EXPECT_EQ(call(XMLDIFF_ADD, other).errors, (ClientErrors{{NC_ERR_MISSING_ELEM, "Get an error rule name."}}));
}

std::string handler_name(const testing::TestParamInfo<HandlerCase>& test)
{
    return test.param.name;
}

std::vector<HandlerCase> cases_with_nature()
{
    std::vector<HandlerCase> cases = handler_cases();
    std::erase_if(cases, [](const HandlerCase& test) { return test.nature.empty(); });
    return cases;
}

std::vector<HandlerCase> cases_below_a_rule()
{
    std::vector<HandlerCase> cases = handler_cases();
    std::erase_if(cases, [](const HandlerCase& test) { return test.rule_level == 0; });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(All, NatureOfSignature, testing::ValuesIn(cases_with_nature()), handler_name);
INSTANTIATE_TEST_SUITE_P(All, NameOfRule, testing::ValuesIn(cases_below_a_rule()), handler_name);

} // namespace
