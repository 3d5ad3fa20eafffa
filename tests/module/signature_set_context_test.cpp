// The name of the owning signature set, as the handlers below one read it: faults, limits, and when it is read.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int levels_to_profile = 2;

class BelowASignatureSet : public ServerTestBase<testing::TestWithParam<HandlerCase>>
{
protected:
    // With another element in place of the set's name.
    CallResult call(int op, const std::string& element)
    {
        const HandlerCase& test = GetParam();
        CallResult r = server.call(test.handler, op, nested(with_content(set_level(), element), test.node), test.xpath);
        r.output = without_line_numbers(r.output);
        return r;
    }

    static int set_level() { return GetParam().profile_level - levels_to_profile; }

    static Steps with_content(int level, const std::string& content)
    {
        Steps above = GetParam().above;
        above.at(above.size() - static_cast<std::size_t>(level)).content = content;
        return above;
    }

    void expect_refused(const std::string& element, NC_ERR code, const std::string& message, const std::string& before)
    {
        const HandlerCase& test = GetParam();
        server.fail_result = 42;
        for (const int op : any_operation) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(element + ' ' + op_text(op));
                const DebugSwitches switches(setting);
                const CallResult r = call(op, element);
                EXPECT_EQ(r.result, 42);
                EXPECT_EQ(r.errors, (ClientErrors{{code, message}}));
                EXPECT_EQ(r.lines, Lines{});
                EXPECT_TRUE(r.commits.empty());
                EXPECT_EQ(r.output,
                          opening_lines(test, op, setting) + (setting.messages ? before + error_line(message) : ""));
            }
        }
    }

    void expect_view(const std::string& name, const std::string& view)
    {
        Lines promised = GetParam().sent_lines();
        for (Line& line : promised)
            line.view = view;
        EXPECT_EQ(call(GetParam().sending_op(), leaf("name", name)).lines, promised);
    }
};

TEST_P(BelowASignatureSet, NameThatCannotBeReadIsRefused)
{
    for (const std::string& element :
         {std::string(), std::string("<name/>"), std::string("<name text=''/>"), leaf("name", std::string(128, 's'))})
        expect_refused(element, NC_ERR_MISSING_ELEM, "Get an error signatureset name.", "");
}

TEST_P(BelowASignatureSet, NameWithABlankAtAnEndOrAQuestionMarkIsRefused)
{
    const std::string message = "Invalid signature-set name, because of spaces.";
    for (const char* name : {" web", "web ", "\tweb", "web\n", " "})
        expect_refused(leaf("name", name), NC_ERR_INVALID_VALUE, message, "");
    expect_refused(leaf("name", "we?b"), NC_ERR_INVALID_VALUE, message, question_mark);
}

TEST_P(BelowASignatureSet, NameStandsInTheViewAsItIs)
{
    for (const std::string name : {"web", "WEB", "web one", "web  two", "100%s%n", "a\"b"})
        expect_view(name, "profile-ips-webguard-sigset-" + name);
}

// 28 characters stand before the name.
TEST_P(BelowASignatureSet, ViewIsCutAt127Characters)
{
    const std::string longest = "profile-ips-webguard-sigset-" + std::string(99, 's');
    ASSERT_EQ(longest.size(), 127U);
    for (const std::size_t length : {99U, 100U, 127U})
        expect_view(std::string(length, 's'), longest);
    expect_view(std::string(98, 's'), longest.substr(0, 126));
}

TEST_P(BelowASignatureSet, NamesAreReadFromTheOutsideInBeforeAnythingElse)
{
    const HandlerCase& test = GetParam();
    const std::vector<KeyLookup> lookups =
        server.call(test.handler, XMLDIFF_ADD, nested(test.above, test.node), test.xpath).key_lookups;
    ASSERT_GE(lookups.size(), 3U);
    EXPECT_EQ(std::vector<KeyLookup>(lookups.begin(), lookups.begin() + 3),
              (std::vector<KeyLookup>{
                  {test.profile_level + 2, "name"}, {test.profile_level, "name"}, {set_level(), "name"}}));
}

TEST_P(BelowASignatureSet, ProfilesFaultComesBeforeTheSetsAndThatBeforeTheValues)
{
    const HandlerCase& test = GetParam();
    Steps above = with_content(set_level(), leaf("name", " web"));
    EXPECT_EQ(
        server.call(test.handler, XMLDIFF_ADD, nested(above, '<' + test.xpath.substr(2) + "/>"), test.xpath).errors,
        (ClientErrors{{NC_ERR_INVALID_VALUE, "Invalid signature-set name, because of spaces."}}));
    above.at(above.size() - static_cast<std::size_t>(test.profile_level)).content = leaf("name", "p ");
    EXPECT_EQ(server.call(test.handler, XMLDIFF_ADD, nested(above, test.node), test.xpath).errors,
              (ClientErrors{{NC_ERR_INVALID_VALUE, "Invalid profile name, because of spaces."}}));
}

std::vector<HandlerCase> cases_below_a_set()
{
    std::vector<HandlerCase> cases = signature_set_handler_cases();
    std::erase_if(cases, [](const HandlerCase& test) { return test.handler == IPS_UD_ProfileSigSet; });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(All, BelowASignatureSet, testing::ValuesIn(cases_below_a_set()),
                         [](const testing::TestParamInfo<HandlerCase>& test) { return std::string(test.param.name); });

TEST(HandlersBelowASignatureSet, AreSixteen)
{
    EXPECT_EQ(cases_below_a_set().size(), 16U);
}

} // namespace
