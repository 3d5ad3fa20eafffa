// Who may call operations and receive notifications.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "access_fixture.h"

namespace qnips::test
{
namespace
{

// The groups of RFC 8341, appendix A.1.
const char* const rfc_groups =
    "<groups><group><name>admin</name><user-name>admin</user-name><user-name>andy</user-name></group>"
    "<group><name>limited</name><user-name>wilma</user-name><user-name>bam-bam</user-name></group>"
    "<group><name>guest</name><user-name>guest</user-name><user-name>guest@example.com</user-name></group></groups>";

struct ExecCase {
    const char* user;
    const char* rpc;
    bool permitted;
};

void expect_exec(const AccessRules& rules, const std::vector<ExecCase>& cases)
{
    for (const ExecCase& test : cases)
        EXPECT_EQ(AccessControl(rules).may_execute(user(test.user), top_node(test.rpc)), test.permitted)
            << test.user << " " << test.rpc;
}

TEST(Execution, FollowsTheModuleRulesOfRfc8341)
{
    const AccessRules rules = rules_of(
        fmt::format("{}<rule-list><name>guest-acl</name><group>guest</group><rule><name>deny-ncm</name>"
                    "<module-name>ietf-netconf-monitoring</module-name><access-operations>*</access-operations>"
                    "<action>deny</action></rule></rule-list>"
                    "<rule-list><name>limited-acl</name><group>limited</group><rule><name>permit-ncm</name>"
                    "<module-name>ietf-netconf-monitoring</module-name><access-operations>read</access-operations>"
                    "<action>permit</action></rule><rule><name>permit-exec</name><module-name>*</module-name>"
                    "<access-operations>exec</access-operations><action>permit</action></rule></rule-list>"
                    "<rule-list><name>admin-acl</name><group>admin</group><rule><name>permit-all</name>"
                    "<module-name>*</module-name><access-operations>*</access-operations><action>permit</action>"
                    "</rule></rule-list>",
                    rfc_groups));
    expect_exec(rules, {{"guest", "ietf-netconf-monitoring:get-schema", false},
                        {"guest@example.com", "ietf-netconf-monitoring:get-schema", false},
                        {"guest", "ietf-netconf:get", true},
                        {"guest", "ietf-netconf:kill-session", false},
                        {"wilma", "ietf-netconf-monitoring:get-schema", true},
                        {"bam-bam", "ietf-netconf:kill-session", true},
                        {"andy", "ietf-netconf:delete-config", true},
                        {"andy", "access-test:erase", true},
                        {"stranger", "ietf-netconf:delete-config", false},
                        {"stranger", "ietf-netconf:get", true}});
}

TEST(Execution, FollowsTheOperationRulesOfRfc8341)
{
    const AccessRules rules = rules_of(fmt::format(
        "{}<exec-default>deny</exec-default>"
        "<rule-list><name>guest-limited-acl</name><group>limited</group><group>guest</group>"
        "<rule><name>deny-kill-session</name><module-name>ietf-netconf</module-name><rpc-name>kill-session</rpc-name>"
        "<access-operations>exec</access-operations><action>deny</action></rule>"
        "<rule><name>deny-delete-config</name><module-name>ietf-netconf</module-name>"
        "<rpc-name>delete-config</rpc-name><access-operations>exec</access-operations><action>deny</action></rule>"
        "</rule-list><rule-list><name>limited-acl</name><group>limited</group>"
        "<rule><name>permit-edit-config</name><module-name>ietf-netconf</module-name><rpc-name>edit-config</rpc-name>"
        "<access-operations>exec</access-operations><action>permit</action></rule></rule-list>"
        "<rule-list><name>all-acl</name><group>*</group><rule><name>permit-ietf</name>"
        "<module-name>ietf-netconf</module-name><rpc-name>*</rpc-name><access-operations>exec</access-operations>"
        "<action>permit</action></rule></rule-list>",
        rfc_groups));
    expect_exec(rules, {{"wilma", "ietf-netconf:edit-config", true},
                        {"wilma", "ietf-netconf:kill-session", false},
                        {"guest", "ietf-netconf:delete-config", false},
                        {"guest", "ietf-netconf:get", true},
                        {"andy", "ietf-netconf:kill-session", true},
                        {"wilma", "access-test:restart", false},
                        {"stranger", "ietf-netconf:get", false}});
}

TEST(Execution, HasItsDefaults)
{
    const std::vector<std::pair<const char*, bool>> operations = {
        {"ietf-netconf:get", true},           {"ietf-netconf:edit-config", true},    {"access-test:restart", true},
        {"ietf-netconf:kill-session", false}, {"ietf-netconf:delete-config", false}, {"access-test:erase", false},
        {"ietf-netconf:close-session", true}};
    for (const auto& [name, permitted] : operations) {
        const bool is_close = std::string_view(name) == "ietf-netconf:close-session";
        expect_exec(rules_of(""), {{"ann", name, permitted}});
        expect_exec(rules_of("<exec-default>deny</exec-default>"), {{"ann", name, is_close}});
        expect_exec(rules_of("<enable-nacm>false</enable-nacm><exec-default>deny</exec-default>"),
                    {{"ann", name, true}});
        expect_exec(staff_only(rule("", "exec", "permit")), {{"ann", name, true}});
        expect_exec(staff_only(rule("", "exec", "deny")), {{"ann", name, is_close}});
    }
}

TEST(Execution, NeedsARuleOfItsKind)
{
    const std::string module = "<module-name>access-test</module-name>";
    const std::vector<std::pair<std::string, bool>> cases = {
        {rule("<rpc-name>restart</rpc-name>", "exec", "deny"), false},
        {rule("<rpc-name>restart</rpc-name>", "*", "deny"), false},
        {rule("<rpc-name>*</rpc-name>", "exec read", "deny"), false},
        {rule(module + "<rpc-name>restart</rpc-name>", "exec", "deny"), false},
        {rule(module, "exec", "deny"), false},
        {rule("<rpc-name>restart</rpc-name>", "create read update delete", "deny"), true},
        {rule("<rpc-name>rest</rpc-name>", "exec", "deny"), true},
        {rule("<module-name>access-more</module-name><rpc-name>restart</rpc-name>", "exec", "deny"), true},
        {rule("<notification-name>*</notification-name>", "*", "deny"), true},
        {rule("<path>/</path>", "*", "deny"), true}};
    for (const auto& [rules, permitted] : cases)
        EXPECT_EQ(AccessControl(staff_only(rules)).may_execute(user("ann"), top_node("access-test:restart")), permitted)
            << rules;
}

TEST(Execution, IsDecidedByTheFirstRuleThatFits)
{
    const std::string permit = rule("<rpc-name>restart</rpc-name>", "exec", "permit");
    const std::string deny = rule("", "exec", "deny");
    expect_exec(staff_only(permit + deny), {{"ann", "access-test:restart", true}});
    expect_exec(staff_only(deny + permit), {{"ann", "access-test:restart", false}});

    const std::string other = "<rule-list><name>more</name><group>staff</group>";
    expect_exec(rules_of(staff_rules(permit) + other + deny + "</rule-list>"), {{"ann", "access-test:restart", true}});
    expect_exec(rules_of(staff_rules(deny) + other + permit + "</rule-list>"), {{"ann", "access-test:restart", false}});
    expect_exec(rules_of(staff_rules("") + other + deny + "</rule-list>"), {{"ann", "access-test:restart", false}});
}

struct GroupCase {
    const char* title;
    const char* configuration; // of the groups
    const char* list;          // <group>s of the rule-list
    std::vector<std::string> external;
    bool counts;
};

TEST(Execution, CountsRulesOfTheUsersGroupsOnly)
{
    const char* in_two = "<groups><group><name>a</name><user-name>ann</user-name></group>"
                         "<group><name>b</name><user-name>ann</user-name><user-name>bob</user-name></group></groups>";
    const char* external_off = "<enable-external-groups>false</enable-external-groups>";
    const std::vector<GroupCase> cases = {
        {"a member", in_two, "<group>a</group>", {}, true},
        {"a member of the second group", in_two, "<group>b</group>", {}, true},
        {"one of several groups", in_two, "<group>x</group><group>b</group>", {}, true},
        {"not a member", in_two, "<group>x</group>", {}, false},
        {"a list without groups", in_two, "", {}, false},
        {"all groups", in_two, "<group>*</group>", {}, true},
        {"all groups, but in none", "", "<group>*</group>", {}, false},
        {"a group of the system", "", "<group>wheel</group>", {"users", "wheel"}, true},
        {"all groups, with one of the system", "", "<group>*</group>", {"users"}, true},
        {"groups of both kinds", in_two, "<group>a</group>", {"users"}, true},
        {"groups of the system switched off", external_off, "<group>wheel</group>", {"wheel"}, false},
        {"all groups, with those of the system switched off", external_off, "<group>*</group>", {"wheel"}, false}};
    for (const GroupCase& test : cases) {
        const AccessRules rules = rules_of(fmt::format("{}<rule-list><name>l</name>{}{}</rule-list>",
                                                       test.configuration, test.list, rule("", "exec", "deny")));
        const AccessUser ann{.name = "ann", .groups = test.external, .is_recovery = false};
        EXPECT_EQ(AccessControl(rules).may_execute(ann, top_node("access-test:restart")), !test.counts) << test.title;
    }
}

struct EventCase {
    std::string rules; // of ann's group
    const char* event;
    bool permitted;
};

TEST(Notifications, FollowReadRulesAndTheReadDefault)
{
    const std::string changed = "<notification-name>changed</notification-name>";
    const std::vector<EventCase> cases = {
        {"", "access-test:changed", true},
        {"", "access-test:alarm", false},
        {rule("<notification-name>alarm</notification-name>", "read", "permit"), "access-test:alarm", true},
        // RFC 8341, appendix A.5
        {rule("<module-name>access-test</module-name>" + changed, "read", "deny"), "access-test:changed", false},
        {rule("<module-name>access-test</module-name>" + changed, "read", "deny"), "access-more:changed", true},
        {rule(changed, "read", "deny"), "access-more:changed", false},
        {rule(changed, "*", "deny"), "access-test:changed", false},
        {rule("<notification-name>*</notification-name>", "read", "deny"), "access-test:changed", false},
        {rule("", "read", "deny"), "access-test:changed", false},
        {rule(changed, "exec create update delete", "deny"), "access-test:changed", true},
        {rule("<rpc-name>*</rpc-name>", "*", "deny"), "access-test:changed", true},
        {rule("<path>/</path>", "*", "deny"), "access-test:changed", true},
        {rule(changed, "read", "permit") + rule("", "*", "deny"), "access-test:changed", true},
        {rule("", "*", "deny") + rule(changed, "read", "permit"), "access-test:changed", false},
        {rule("", "*", "deny"), "nc-notifications:replayComplete", true},
        {rule("", "*", "deny"), "nc-notifications:notificationComplete", true}};
    for (const EventCase& test : cases)
        EXPECT_EQ(AccessControl(staff_only(test.rules)).may_receive(user("ann"), top_node(test.event)), test.permitted)
            << test.event << " " << test.rules;

    AccessControl closed(rules_of("<read-default>deny</read-default>"));
    EXPECT_FALSE(closed.may_receive(user("ann"), top_node("access-test:changed")));
    EXPECT_TRUE(closed.may_receive(user("ann"), top_node("nc-notifications:replayComplete")));
    AccessControl off(rules_of("<enable-nacm>false</enable-nacm><read-default>deny</read-default>"));
    EXPECT_TRUE(off.may_receive(user("ann"), top_node("access-test:alarm")));
}

} // namespace
} // namespace qnips::test
