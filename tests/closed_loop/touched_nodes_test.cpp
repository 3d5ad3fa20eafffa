// What of a device counts as an edit's doing, and what was so before.
#include <memory>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "server/callback_plan.h"
#include "server/touched_nodes.h"
#include "transaction_host.h"

namespace qnips::test
{
namespace
{

struct Case {
    const char* name;
    std::string before;
    std::string edit;
    std::string device;
    std::string counts; // as which the device counts
};

// A user-defined signature of a protocol, with rules.
std::string signature(const std::string& protocol, const std::string& rules)
{
    return in_vsys(fmt::format("<user-defined-signatures><signature><id>7</id><associated-enable>false"
                               "</associated-enable><signature-rule-information><protocol-rules><protocol>{}</protocol>"
                               "<rules>{}</rules></protocol-rules></signature-rule-information></signature>"
                               "</user-defined-signatures>",
                               protocol, rules));
}

std::string rule(const std::string& name, const std::string& scope)
{
    return fmt::format("<signature-rule><name>{}</name><scope>{}</scope></signature-rule>", name, scope);
}

std::string sets(const std::string& names)
{
    std::string text;
    for (const char name : names)
        text += fmt::format("<signature-set><name>{}</name></signature-set>", name);
    return in_profile("<signature-sets>" + text + "</signature-sets>");
}

const std::string evidence = "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>";

class TouchedByAnEdit : public testing::TestWithParam<Case>
{
};

std::string text_of(const std::string& xml)
{
    return tree_text(ConfigTree(world().schema.parse_configuration(xml)).first());
}

TEST_P(TouchedByAnEdit, CountsAsTheDeviceHasIt)
{
    ConfigTree before(world().schema.parse_configuration(GetParam().before));
    const EditRequest request = request_of(GetParam().edit);
    AppliedEdit edit(before, request);
    mark_replaced(edit.changes(), world().table);
    const TouchedNodes touched(edit.changes());
    edit.rollback();
    const ConfigTree device(world().schema.parse_configuration(GetParam().device));
    const ConfigTree counts = touched.overlaid(before, device);
    EXPECT_EQ(tree_text(counts.first()), text_of(GetParam().counts));
    EXPECT_EQ(counts.first() == nullptr, GetParam().counts.empty()) << "containers that hold nothing";
}

INSTANTIATE_TEST_SUITE_P(
    Table, TouchedByAnEdit,
    testing::Values(
        Case{"a_changed_leaf", in_profile("<description>old</description>"),
             in_profile("<description>new</description>"), in_profile("<description>any</description>"),
             in_profile("<description>any</description>")},
        Case{"a_leaf_that_has_gone", in_profile("<description>old</description>" + evidence),
             in_profile("<description>new</description>"), in_profile(evidence), in_profile(evidence)},
        Case{"not_what_stands_beside_a_changed_leaf", in_profile("<description>old</description>"),
             in_profile("<description>new</description>"), in_profile("<description>new</description>" + evidence),
             in_profile("<description>new</description>")},
        Case{"an_entry_that_the_device_has_lost", in_profile("<description>old</description>" + evidence),
             in_profile("<description>new</description>"), in_vsys({}), in_vsys({})},
        Case{"nothing_on_a_device_without_anything",
             in_profile("<description>old</description>"),
             in_profile("<description>new</description>"),
             {},
             {}},
        Case{"all_of_a_new_entry",
             {},
             in_profile("<description>new</description>"),
             in_profile(evidence),
             in_profile(evidence)},
        // With the protocol all rules go and come back: what the device has there now is the edit's doing.
        Case{"all_of_what_is_replaced", signature("HTTP", rule("r", "flow") + rule("s", "flow")), signature("FTP", {}),
             signature("FTP", rule("r", "packet") + rule("t", "flow")),
             signature("FTP", rule("r", "packet") + rule("t", "flow"))},
        Case{"the_order_that_an_entry_has_changed", sets("abc"),
             in_profile(R"(<signature-sets><signature-set xmlns:yang="urn:ietf:params:xml:ns:yang:1")"
                        R"( yang:insert="first"><name>c</name></signature-set></signature-sets>)"),
             sets("cba"), sets("cba")},
        Case{"the_order_around_a_new_entry", sets("abc"), in_profile(in_set("d")), sets("dba"), sets("dbca")},
        Case{"not_an_order_that_only_the_device_has_changed", sets("abc"), in_profile("<description>x</description>"),
             sets("cba"), sets("abc")}),
    [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace qnips::test
