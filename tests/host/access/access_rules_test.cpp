// How the configuration of access control becomes rules.
#include "access/access_rules.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "access_fixture.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST(AccessRules, HoldDefaultsWithoutAConfiguration)
{
    // The defaults of the YANG module, not those that this program remembers.
    for (const auto& [leaf, value] : {std::pair{"enable-nacm", "true"},
                                      {"read-default", "permit"},
                                      {"write-default", "deny"},
                                      {"exec-default", "permit"},
                                      {"enable-external-groups", "true"}}) {
        const auto* schema =
            reinterpret_cast<const lysc_node_leaf*>(top_node(fmt::format("ietf-netconf-acm:nacm/{}", leaf)));
        EXPECT_STREQ(lyd_value_get_canonical(access_schema().context(), schema->dflt), value) << leaf;
    }
    for (const AccessRules& rules : {AccessRules(), read_access_rules(nullptr), rules_of(""),
                                     read_access_rules(tree_of("<device><name>x</name></device>").get())}) {
        EXPECT_TRUE(rules.enabled);
        EXPECT_EQ(rules.read_default, AccessAction::permit);
        EXPECT_EQ(rules.write_default, AccessAction::deny);
        EXPECT_EQ(rules.exec_default, AccessAction::permit);
        EXPECT_TRUE(rules.external_groups);
        EXPECT_TRUE(rules.groups_of_user.empty());
        EXPECT_TRUE(rules.rule_lists.empty());
    }
}

TEST(AccessRules, TakeEveryLeafFromTheConfiguration)
{
    const AccessRules rules =
        rules_of("<enable-nacm>false</enable-nacm><read-default>deny</read-default>"
                 "<write-default>permit</write-default><exec-default>deny</exec-default>"
                 "<enable-external-groups>false</enable-external-groups>"
                 "<groups><group><name>a</name><user-name>x</user-name><user-name>y</user-name></group>"
                 "<group><name>b</name><user-name>y</user-name></group><group><name>c</name></group></groups>"
                 "<rule-list><name>2</name><group>a</group><group>*</group>"
                 "<rule><name>r</name><module-name>m</module-name><rpc-name>go</rpc-name>"
                 "<access-operations>exec read</access-operations><action>permit</action><comment>c</comment></rule>"
                 "<rule><name>q</name><notification-name>*</notification-name><action>deny</action></rule></rule-list>"
                 "<rule-list><name>1</name><rule><name>all</name><action>permit</action></rule></rule-list>");
    EXPECT_FALSE(rules.enabled);
    EXPECT_EQ(rules.read_default, AccessAction::deny);
    EXPECT_EQ(rules.write_default, AccessAction::permit);
    EXPECT_EQ(rules.exec_default, AccessAction::deny);
    EXPECT_FALSE(rules.external_groups);
    EXPECT_THAT(rules.groups_of_user,
                UnorderedElementsAre(Pair("x", ElementsAre("a")), Pair("y", UnorderedElementsAre("a", "b"))));

    ASSERT_EQ(rules.rule_lists.size(), 2U);
    const AccessRuleList& list = rules.rule_lists[0];
    EXPECT_THAT(list.groups, UnorderedElementsAre("a", "*"));
    ASSERT_EQ(list.rules.size(), 2U);
    EXPECT_EQ(list.rules[0].module, "m");
    EXPECT_EQ(std::get<AccessRule::Rpc>(list.rules[0].target).name, "go");
    EXPECT_EQ(list.rules[0].operations, 16U + 2U);
    EXPECT_EQ(list.rules[0].action, AccessAction::permit);
    EXPECT_EQ(list.rules[1].module, "*");
    EXPECT_EQ(std::get<AccessRule::Notification>(list.rules[1].target).name, "*");
    EXPECT_EQ(list.rules[1].operations, all_access_operations);
    EXPECT_EQ(list.rules[1].action, AccessAction::deny);
    EXPECT_TRUE(rules.rule_lists[1].groups.empty());
    EXPECT_TRUE(std::holds_alternative<AccessRule::Anything>(rules.rule_lists[1].rules.at(0).target));
}

TEST(AccessRules, KnowEveryOperation)
{
    const std::vector<std::pair<std::string, AccessOperation>> cases = {{"create", AccessOperation::create},
                                                                        {"read", AccessOperation::read},
                                                                        {"update", AccessOperation::update},
                                                                        {"delete", AccessOperation::delete_node},
                                                                        {"exec", AccessOperation::exec}};
    for (const auto& [word, operation] : cases) {
        const AccessRules rules = staff_only(rule("", word, "permit"));
        EXPECT_EQ(rules.rule_lists.at(0).rules.at(0).operations, static_cast<unsigned>(operation)) << word;
    }
    EXPECT_EQ(staff_only(rule("", "*", "permit")).rule_lists.at(0).rules.at(0).operations, all_access_operations);
    EXPECT_EQ(staff_only(rule("", "delete create", "permit")).rule_lists.at(0).rules.at(0).operations, 9U);
}

std::string refusal(const std::string& path)
{
    try {
        staff_only(rule("<path>" + path + "</path>", "", "deny"));
    } catch (const RpcError& error) {
        EXPECT_EQ(error.tag(), "invalid-value");
        EXPECT_THAT(error.path(), HasSubstr("/path")) << path;
        return error.what();
    }
    return {};
}

TEST(AccessRules, RefusePathsThatNameNoData)
{
    // A rule that can never fit may be one that was to deny something.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"device", "device"},
        {"", "\"\""},
        {"//at:name", "//at:name"},
        {"/at:device/*", "/at:device/*"},
        {"/at:device |/at:routes", "/at:device |/at:routes"},
        {"/at:device/at:nothing", "/at:device/at:nothing"},
        {"/at:device/name", "/at:device/name"},
        {"/unknown:device", "/unknown:device"},
        {"/at:interfaces/at:interface[at:mtu='1']", "[at:mtu='1']"},
        {"/at:interfaces/at:interface[at:name='a'", "[at:name='a'"},
        {"/at:interfaces/at:interface/at:unit[at:number='256']", "[at:number='256']"},
        {"/at:interfaces/at:interface[at:name=$USER]", "[at:name=$USER]"},
        {"/at:routes/at:route[at:metric='1']", "[at:metric='1']"},
        {"/at:restart", "\"restart\" is no node of the data"},
        {"/at:alarm", "\"alarm\" is no node of the data"},
        {"/at:device/at:status/at:event[2]", "an entry cannot be named by its position [2]"}};
    for (const auto& [path, part] : cases)
        EXPECT_THAT(refusal(path), HasSubstr(part)) << path;
}

TEST(AccessRules, RefuseAPathWithTheLeafThatHasIt)
{
    try {
        staff_only(rule("<path>/at:restart</path>", "", "deny"));
        FAIL() << "accepted";
    } catch (const RpcError& error) {
        EXPECT_EQ(error.path(),
                  "/nacm:nacm/rule-list[name='of staff']/rule[name=' path /at:restart /path   deny']/path");
        EXPECT_STREQ(error.what(),
                     "the path /access-test:restart cannot be used in a rule: \"restart\" is no node of the data");
    }
}

void append_covered(const DataPath& path, const lyd_node* first, std::vector<const lyd_node*>& line, Lines& covered)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        line.push_back(node);
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0 && path.reaches(node->schema) && path.covers(line))
            covered.push_back(instance_path(node).substr(4));
        append_covered(path, lyd_child(node), line, covered);
        line.pop_back();
    }
}

struct PathCase {
    const char* path;
    Lines covered; // leaves of the configuration below
};

TEST(AccessRules, CoverTheNodeOfTheirPathAndAllBelowIt)
{
    const TreePtr tree =
        tree_of("<interfaces><interface><name>a</name><mtu>1</mtu><address>x</address><address>y</address>"
                "<unit><number>7</number><text>t</text></unit><am:note>n</am:note></interface>"
                "<interface><name>it's</name><unit><number>7</number></unit></interface></interfaces>"
                "<routes><route><prefix>p</prefix><metric>1</metric></route>"
                "<route><prefix>p</prefix><metric>2</metric></route>"
                "<paint xmlns:q='urn:quorin:test:access'><colour>q:red</colour><coats>1</coats></paint>"
                "<paint xmlns:q='urn:quorin:test:access'><colour>q:blue</colour></paint></routes>"
                "<device><name>d</name><manual>m</manual>"
                "<status><uptime>3</uptime><event><text>e</text></event></status></device>");
    const std::vector<PathCase> cases = {
        {"/at:device", {"device/name", "device/manual", "device/status/uptime", "device/status/event[1]/text"}},
        {"/at:device/at:name", {"device/name"}},
        {"/at:device/at:manual", {"device/manual"}},
        {"/at:device/at:link", {}},
        {"/at:device/at:status/at:event", {"device/status/event[1]/text"}},
        {"/at:interfaces/at:interface/at:mtu", {"interfaces/interface[name='a']/mtu"}},
        {"/at:interfaces/at:interface[at:name='a']/at:unit/at:text",
         {"interfaces/interface[name='a']/unit[number='7']/text"}},
        {"/at:interfaces/at:interface[at:name=\"it's\"]",
         {"interfaces/interface[name=\"it's\"]/name", "interfaces/interface[name=\"it's\"]/unit[number='7']/number"}},
        {"/at:interfaces/at:interface/at:unit[at:number='07']",
         {"interfaces/interface[name='a']/unit[number='7']/number",
          "interfaces/interface[name='a']/unit[number='7']/text",
          "interfaces/interface[name=\"it's\"]/unit[number='7']/number"}},
        {"/at:interfaces/at:interface/at:address[.='y']", {"interfaces/interface[name='a']/address[.='y']"}},
        {"/at:interfaces/at:interface/am:note", {"interfaces/interface[name='a']/am:note"}},
        {"/at:interfaces/at:interface[at:name='b']", {}},
        {"/at:routes/at:route[at:metric='2'][at:prefix='p']",
         {"routes/route[prefix='p'][metric='2']/prefix", "routes/route[prefix='p'][metric='2']/metric"}},
        {"/at:routes/at:paint[at:colour='at:red']",
         {"routes/paint[colour='access-test:red']/colour", "routes/paint[colour='access-test:red']/coats"}},
    };
    for (const PathCase& test : cases) {
        const AccessRules rules = staff_only(rule(std::string("<path>") + test.path + "</path>", "", "deny"));
        Lines covered;
        std::vector<const lyd_node*> line;
        append_covered(std::get<DataPath>(rules.rule_lists.at(0).rules.at(0).target), tree.get(), line, covered);
        EXPECT_EQ(covered, test.covered) << test.path;
    }
    Lines everything;
    std::vector<const lyd_node*> line;
    append_covered(std::get<DataPath>(staff_only(rule("<path>/</path>", "", "deny")).rule_lists[0].rules[0].target),
                   tree.get(), line, everything);
    EXPECT_EQ(everything.size(), lines_of(tree.get()).size());
}

} // namespace
} // namespace qnips::test
