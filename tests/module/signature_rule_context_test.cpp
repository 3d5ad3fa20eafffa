// The order in which the handlers below a basic signature read what stands above their node, and the longest views that
// they make of it.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "module/handler_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class BasicSignature : public ServerTestBase<testing::TestWithParam<HandlerCase>>
{
protected:
    void SetUp() override { server.fail_result = 42; }

    // The errors of an addition of `node`.
    ClientErrors errors_of(const Steps& above, const std::string& node)
    {
        const CallResult r = GetParam().call(server, XMLDIFF_ADD, nested(above, node));
        EXPECT_EQ(r.result, 42);
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_TRUE(r.commits.empty());
        return r.errors;
    }

    static std::string bare_node() { return '<' + GetParam().node.substr(1, GetParam().node.find('>') - 1) + "/>"; }

    // `above` with another content at a level.
    static Steps with_content(Steps above, int level, const std::string& content)
    {
        above.at(above.size() - static_cast<std::size_t>(level)).content = content;
        return above;
    }
};

// Each fault hides those behind it: names of vsys and signature, name of the rule, nature, value.
TEST_P(BasicSignature, IsResolvedAndItsNatureJudgedBeforeTheValueIsRead)
{
    const HandlerCase& test = GetParam();
    const std::string associated = leaf("associated-enable", "true");
    Steps above = with_content(test.above, test.signature_level, leaf("id", "7") + associated);
    EXPECT_EQ(errors_of(above, bare_node()),
              (ClientErrors{{NC_ERR_BAD_ELEM, "The nature is associated, the operation is not supported."}}));

    if (test.rule_level != 0) {
        above = with_content(above, test.rule_level, leaf("name", "login "));
        EXPECT_EQ(errors_of(above, bare_node()),
                  (ClientErrors{{NC_ERR_INVALID_VALUE, "Invalid rule name, because of spaces."}}));
        above = with_content(above, test.rule_level, "");
        EXPECT_EQ(errors_of(above, bare_node()), (ClientErrors{{NC_ERR_MISSING_ELEM, "Get an error rule name."}}));
    }

    above = with_content(above, test.signature_level, associated);
    EXPECT_EQ(errors_of(above, bare_node()), (ClientErrors{{NC_ERR_MISSING_ELEM, "Get an error signature-id."}}));
    above = with_content(above, test.vsys_level, "");
    EXPECT_EQ(errors_of(above, bare_node()), (ClientErrors{{NC_ERR_MISSING_ELEM, "Get an error vsys name."}}));
}

// Only the exact word is an associated nature, however long another is.
TEST_P(BasicSignature, HasANatureOfUpTo63Characters)
{
    const HandlerCase& test = GetParam();
    for (const std::string& nature : {std::string("false"), std::string("truetrue"), std::string(63, 't')}) {
        const Steps above =
            with_content(test.above, test.signature_level, leaf("id", "7") + leaf("associated-enable", nature));
        EXPECT_EQ(test.call(server, test.sending_op(), nested(above, test.node)).lines, test.sent_lines());
    }
}

class BelowARule : public BasicSignature
{
protected:
    void expect_view(const std::string& id, const std::string& name, const std::string& view)
    {
        const HandlerCase& test = GetParam();
        Steps above =
            with_content(test.above, test.signature_level, leaf("id", id) + leaf("associated-enable", "false"));
        above = with_content(above, test.rule_level, leaf("name", name));
        Lines promised = test.sent_lines();
        for (Line& line : promised)
            line.view = view;
        EXPECT_EQ(test.call(server, test.sending_op(), nested(above, test.node)).lines, promised);
    }
};

// A name with an inner blank is accepted, and quoted nowhere.
TEST_P(BelowARule, NameStandsInTheViewAsItIs)
{
    for (const std::string name : {"login", "LOGIN", "log in", "log  in", "100%s%n", "a\"b"})
        expect_view("7", name, "ips-signature-7-rule-" + name);
}

// A handler's own view ends at 127 characters. A condition's whole line has a view of its own that holds all there can
// be.
TEST_P(BelowARule, LongestViewsOfAShortAndALongSignatureId)
{
    const bool is_whole = GetParam().view_limit > 127;
    const std::string long_id = std::string(62, '0') + '7';
    for (const auto& [id, room] : {std::pair{std::string("7"), 106U}, {long_id, 44U}}) {
        for (const std::size_t length : {room - 1U, room, room + 1U, 127U}) {
            const std::size_t held = is_whole || length < room ? length : room;
            expect_view(id, std::string(length, 'r'), "ips-signature-" + id + "-rule-" + std::string(held, 'r'));
        }
    }
}

std::vector<HandlerCase> cases_of_basic_signatures()
{
    std::vector<HandlerCase> cases = signature_rule_handler_cases();
    for (const HandlerCase& test : basic_condition_handler_cases())
        cases.push_back(test);
    return cases;
}

std::vector<HandlerCase> cases_below_a_rule()
{
    std::vector<HandlerCase> cases = cases_of_basic_signatures();
    std::erase_if(cases, [](const HandlerCase& test) { return test.rule_level == 0; });
    return cases;
}

std::string handler_name(const testing::TestParamInfo<HandlerCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(Rules, BasicSignature, testing::ValuesIn(cases_of_basic_signatures()), handler_name);
INSTANTIATE_TEST_SUITE_P(Rules, BelowARule, testing::ValuesIn(cases_below_a_rule()), handler_name);

} // namespace
