// What each error-option leaves of an edit whose middle fails (RFC 6241, 7.2).
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "random_work.h"
#include "server/operation_names.h"

namespace qnips::test
{
namespace
{

using Effect = EditOutcome::Effect;

// Three profiles, each with a description; the second one can be made to fail.
const char* const three_profiles =
    R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"><user-defined-ips>)"
    "<vsys><name>branch</name><profiles>"
    "<profile><name>a</name><description>first</description></profile>"
    "<profile><name>b</name><description>second</description></profile>"
    "<profile><name>c</name><description>third</description></profile>"
    "</profiles></vsys></user-defined-ips></ips-config>";

struct Row {
    const char* name;
    ErrorOption option;
    std::size_t refused_line; // in the order of a whole edit: three profiles, then three descriptions
    Effect effect;
    std::vector<std::string> profiles; // that are there afterwards
    std::vector<std::string> descriptions;
    std::size_t errors;
};

std::vector<std::string> values(const Config& config, const std::string& name, const std::string& parent = {})
{
    std::vector<std::string> found;
    for (const ConfigNode& node : config) {
        if (schema_name(node.schema) == name && schema_name(lysc_data_parent(node.schema)) == parent)
            found.push_back(node.value);
        for (std::string& below : values(node.children, name, parent))
            found.push_back(std::move(below));
    }
    return found;
}

class ErrorOptions : public testing::TestWithParam<Row>
{
};

TEST_P(ErrorOptions, LeaveWhatTheyPromise)
{
    Loop loop;
    loop.channel().set({.kind = Fault::Kind::line_refused, .number = GetParam().refused_line});
    EditRequest request = parse_edit_request(world().schema, three_profiles);
    request.error_option = GetParam().option;
    const EditOutcome outcome = loop.datastore().edit(request, {"tester", "edit-config"});
    EXPECT_EQ(outcome.errors.size(), GetParam().errors);
    EXPECT_EQ(outcome.effect, GetParam().effect);
    EXPECT_EQ(values(loop.running(), "name", "profile"), GetParam().profiles);
    EXPECT_EQ(values(loop.running(), "description", "profile"), GetParam().descriptions);
    EXPECT_EQ(loop.difference(), "");
}

using Names = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(
    Table, ErrorOptions,
    testing::Values(Row{"rollback_at_an_entry", ErrorOption::rollback_on_error, 2, Effect::none, {}, {}, 1},
                    Row{"rollback_at_a_leaf", ErrorOption::rollback_on_error, 5, Effect::none, {}, {}, 1},
                    Row{"stop_at_the_first_line", ErrorOption::stop_on_error, 1, Effect::none, {}, {}, 1},
                    Row{"stop_at_an_entry", ErrorOption::stop_on_error, 2, Effect::part, Names{"a"}, {}, 1},
                    Row{"stop_at_a_leaf", ErrorOption::stop_on_error, 5, Effect::part, Names{"a", "b", "c"},
                        Names{"first"}, 1},
                    // Nothing is tried below an entry that is not there: its description would be one more error.
                    Row{"continue_at_an_entry", ErrorOption::continue_on_error, 2, Effect::part, Names{"a", "c"},
                        Names{"first", "third"}, 1},
                    Row{"continue_at_a_leaf", ErrorOption::continue_on_error, 5, Effect::part, Names{"a", "b", "c"},
                        Names{"first", "third"}, 1}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ErrorOptionsOfTheModule, TellEveryErrorWhenTheEditGoesOn)
{
    Loop loop;
    ASSERT_TRUE(loop.edit("merge", three_profiles).accepted);
    // Two nodes that the module refuses, and one that it takes.
    EditRequest request = parse_edit_request(
        world().schema,
        R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"><user-defined-ips>)"
        "<vsys><name>public</name><ips-enable>true</ips-enable></vsys>"
        "<vsys><name>branch</name><profiles><profile><name>a</name><description>other</description></profile>"
        "<profile><name>b</name><signature-sets><signature-set><name>s</name><signature-set-action>"
        "<action>alert</action></signature-set-action><category><all-category>false</all-category><specifed-category>"
        "<name>Unheard-of</name><all-sub-category>true</all-sub-category></specifed-category></category>"
        "</signature-set></signature-sets></profile></profiles></vsys></user-defined-ips></ips-config>");
    request.error_option = ErrorOption::continue_on_error;
    const EditOutcome outcome = loop.datastore().edit(request, {"tester", "edit-config"});
    ASSERT_EQ(outcome.errors.size(), 2U);
    EXPECT_THAT(outcome.errors[0].path() + outcome.errors[1].path(), testing::HasSubstr("ips-enable"));
    EXPECT_THAT(outcome.errors[0].path() + outcome.errors[1].path(), testing::HasSubstr("Unheard-of"));
    EXPECT_EQ(outcome.effect, Effect::part);
    EXPECT_THAT(values(loop.running(), "description", "profile"), testing::Contains("other"));
    EXPECT_THAT(values(loop.running(), "ips-enable", "vsys"), testing::IsEmpty()) << "no line carries what was refused";
    EXPECT_EQ(loop.difference(), "");
}

// A stored configuration comes back with the operation for restoring, in the order of any other edit.
TEST(Restoring, TellsTheModuleThatAStoredConfigurationComesBack)
{
    Loop loop;
    RandomWork work(5);
    for (int round = 0; round < 20; ++round)
        loop.edit("merge", work.edit(loop.datastore()));
    for (const bool restores : {true, false}) {
        ConfigTree nothing;
        EmulatedPlatform device(world().catalogue);
        AppliedEdit edit(nothing, replacement(loop.datastore().configuration()));
        const PassResult pass = run_callbacks(edit.changes(), world().table, device, {.restores = restores});
        EXPECT_TRUE(pass.completed);
        ASSERT_GT(pass.trace.size(), 50U);
        for (const CallbackRecord& record : pass.trace)
            EXPECT_EQ(operation_names(record.op), restores ? "ADD|CFGR" : "ADD") << record.path;
    }
}

} // namespace
} // namespace qnips::test
