// The operations of the server under access control: who may call, read and write what.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "host/store/temporary_folder.h"
#include "netconf/access_file.h"
#include "netconf_fixture.h"

namespace qnips::test
{
namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const AccessUser root{.name = "root", .groups = {}, .is_recovery = true};
const AccessUser admin{.name = "admin"};
const AccessUser op{.name = "operator"};
const AccessUser guest{.name = "guest"};
const AccessUser stranger{.name = "stranger"};

const std::string web = profile("web", "<description>a</description>");
const std::string mail = profile("mail", "<description>m</description>");
const std::string web_path = "/qn-ips:ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']";
const std::string ips_prefix = fmt::format(" xmlns:ips='{}'", ips_namespace);

std::string config_of(const std::string& profiles)
{
    return compact(netconf_world().schema.parse_configuration(config_with(profiles)).get());
}

std::string copy(const std::string& target, const std::string& source)
{
    return fmt::format("<copy-config><target><{}/></target><source>{}</source></copy-config>", target, source);
}

std::string inline_config(const std::string& profiles)
{
    return fmt::format("<config>{}</config>", config_with(profiles));
}

// Without the rules, which are there as well.
std::string configuration(const std::string& source)
{
    return get_config(source, xpath("/ips:ips-config"));
}

// The rules in the content of a <nacm>; the prefix ips is bound.
void use_rules(NetconfServer& server, const std::string& content)
{
    TreePtr tree = netconf_world().schema.parse_configuration(
        fmt::format("<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm'{}>{}</nacm>", ips_prefix, content));
    AccessRules rules = read_access_rules(tree.get());
    server.access().use(std::move(rules), std::move(tree));
}

std::string rule(const std::string& name, const std::string& path, const std::string& operations, const char* action)
{
    return fmt::format("<rule><name>{}</name><path>{}</path><access-operations>{}</access-operations>"
                       "<action>{}</action></rule>",
                       name, path, operations, action);
}

// Rules for the group "staff", in which guest is, and nobody else.
std::string staff(const std::string& rules)
{
    return "<groups><group><name>staff</name><user-name>guest</user-name></group></groups><rule-list><name>staff</name>"
           "<group>staff</group>" +
           rules + "</rule-list>";
}

const std::string branch = "/ips:ips-config/ips:user-defined-ips/ips:vsys[ips:name='branch']/ips:profiles";
const std::string description = branch + "/ips:profile/ips:description";

// ------------------------------------------------------------------------------------------------- who may what --

struct OperationCase {
    const char* name;
    std::string operation;
    std::string permitted; // to whom, by initial: root, admin, operator, guest, stranger
};

// Each operation is tried by everybody on a server of its own, which has a profile, a candidate that differs from
// running, and a startup. What is permitted gives an answer other than access-denied.
void expect_permissions(const std::vector<OperationCase>& cases, const std::string& rules_file)
{
    for (const OperationCase& one : cases) {
        std::string permitted;
        for (const AccessUser* user : {&root, &admin, &op, &guest, &stranger}) {
            NetconfServer server;
            server.call(edit("running", config_with(web)));
            server.call(copy("startup", "<running/>"));
            server.call(edit("candidate", config_with(mail)));
            server.access().use({});
            if (!rules_file.empty())
                load_access_rules(server.access(), netconf_world().schema, rules_file);
            const std::string answer = server.call_as(*user, one.operation);
            if (!answer.starts_with("access-denied"))
                permitted += user->name.front();
        }
        EXPECT_EQ(permitted, one.permitted) << one.name;
    }
}

std::vector<OperationCase> operation_cases(const std::string& reads, const std::string& schemas,
                                           const std::string& validates, const std::string& writes,
                                           const std::string& calls, const std::string& dangerous)
{
    return {
        {"get", "<get/>", reads},
        {"get-config", get_config("running"), reads},
        {"get-schema",
         "<get-schema xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring'>"
         "<identifier>quorin-intrusion-prevention</identifier></get-schema>",
         schemas},
        {"validate", "<validate><source><candidate/></source></validate>", validates},
        {"edit running", edit("running", config_with(mail)), writes},
        {"edit running, test only", edit("running", config_with(mail), "<test-option>test-only</test-option>"), writes},
        {"edit candidate", edit("candidate", config_with(profile("x"))), writes},
        {"copy to running", copy("running", "<candidate/>"), writes},
        {"copy to candidate", copy("candidate", inline_config(web)), writes},
        {"copy running to candidate", copy("candidate", "<running/>"), writes},
        {"copy candidate to startup", copy("startup", "<candidate/>"), writes},
        {"copy to startup", copy("startup", inline_config(mail)), writes},
        {"save running", copy("startup", "<running/>"), calls},
        {"commit", "<commit/>", writes},
        {"confirmed commit", "<commit><confirmed/></commit>", writes},
        {"cancel-commit", "<cancel-commit/>", calls},
        {"discard-changes", "<discard-changes/>", calls},
        {"lock", with_target("lock", "running"), calls},
        {"unlock", with_target("unlock", "running"), calls},
        {"edit of nothing new", edit("running", config_with(web)), calls},
        {"delete-config", with_target("delete-config", "startup"), dangerous},
        {"kill-session", "<kill-session><session-id>2</session-id></kill-session>", dangerous},
    };
}

TEST(OperationsAccess, WithoutRulesEverybodyReadsAndNobodyWrites)
{
    expect_permissions(operation_cases("raogs", "raogs", "raogs", "r", "raogs", "r"), {});
}

TEST(OperationsAccess, TheExampleIsAsItSays)
{
    expect_permissions(operation_cases("raog", "raog", "rao", "ra", "ra", "ra"),
                       QN_IPS_TEST_DATA "/../../../examples/nacm.xml");
}

TEST(OperationsAccess, TheExampleHidesItselfAndTheServerFromGuests)
{
    NetconfServer server;
    server.call(edit("running", config_with(web)));
    load_access_rules(server.access(), netconf_world().schema, QN_IPS_TEST_DATA "/../../../examples/nacm.xml");
    struct Case {
        const AccessUser& user;
        std::vector<const char*> seen;
        std::vector<const char*> hidden;
    };
    const std::vector<Case> cases = {
        {admin, {"<nacm>", "<denied-operations>", "<netconf-state>", "<yang-library>", "<ips-state>", "web"}, {}},
        {op, {"<netconf-state>", "<yang-library>", "<ips-state>", "web"}, {"nacm>"}},
        {guest, {"<yang-library>", "<ips-state>", "web"}, {"nacm>", "netconf-state>"}},
    };
    for (const Case& one : cases) {
        const std::string answer = server.call_as(one.user, "<get/>");
        for (const char* text : one.seen)
            EXPECT_THAT(answer, HasSubstr(text)) << one.user.name;
        for (const char* text : one.hidden)
            EXPECT_THAT(answer, Not(HasSubstr(text))) << one.user.name;
    }
}

// ------------------------------------------------------------------------------------------------------- writes --

TEST(OperationsAccess, ADeniedOperationIsNamed)
{
    NetconfServer server;
    server.access().use({});
    EXPECT_EQ(server.call_as(guest, with_target("delete-config", "startup")),
              "access-denied /nc:delete-config: user \"guest\" may not carry out <delete-config>\n");
}

TEST(OperationsAccess, ADeniedEditLeavesEverythingAsItWas)
{
    const std::string denied =
        fmt::format("access-denied {}/description: user \"guest\" may not update this node\n", web_path);
    const std::string change = config_with(mail + profile("web", "<description>b</description>"));
    for (const char* target : {"running", "candidate"}) {
        NetconfServer server;
        server.call(edit("running", config_with(web)));
        server.call(copy("startup", "<running/>"));
        use_rules(server, staff(rule("create", branch + "/ips:profile", "create", "permit")));
        EXPECT_EQ(server.call_as(guest, edit(target, change)), denied) << target;
        for (const char* each : {"running", "candidate", "startup"})
            EXPECT_EQ(server.call_as(root, configuration(each)), config_of(web)) << target;
        EXPECT_EQ(server.call_as(guest, with_target("lock", "candidate")), "ok") << "the candidate has no changes";
        EXPECT_EQ(server.call_as(guest, edit(target, config_with(mail))), "ok") << target;
        EXPECT_EQ(server.access().counters().denied_data_writes, 1U);
    }
}

TEST(OperationsAccess, ACommitIsHeldAgainstWhatItChangesInRunning)
{
    NetconfServer server;
    server.call(edit("running", config_with(web)));
    use_rules(server, staff(rule("create", branch + "/ips:profile[ips:name='mail']", "create", "permit")));

    server.call_as(root, edit("candidate", config_with(mail + profile("web", "<description>b</description>"))));
    EXPECT_EQ(server.call_as(guest, "<commit/>"),
              fmt::format("access-denied {}/description: user \"guest\" may not update this node\n", web_path));
    EXPECT_EQ(server.call_as(guest, get_config("running")), config_of(web));
    EXPECT_EQ(server.call_as(guest, get_config("candidate")),
              config_of(profile("web", "<description>b</description>") + mail));

    server.call_as(root, edit("candidate", config_with(web)));
    EXPECT_EQ(server.call_as(guest, "<commit/>"), "ok");
    EXPECT_EQ(server.call_as(guest, get_config("running")), config_of(mail + web));
    // Nothing is different any more, so nothing has to be permitted.
    EXPECT_EQ(server.call_as(stranger, "<commit/>"), "ok");
}

TEST(OperationsAccess, RulesAreNotChangedByNetconf)
{
    NetconfServer server;
    use_rules(server, staff(""));
    const std::string nacm = "<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm'>"
                             "<enable-nacm>false</enable-nacm></nacm>";
    const std::string refused = "operation-not-supported /nacm:nacm: the access rules are read from a file of the "
                                "server and cannot be changed by NETCONF\n";
    for (const std::string& request :
         {edit("running", nacm), edit("candidate", nacm), edit("candidate", config_with(web) + nacm),
          copy("running", "<config>" + nacm + "</config>"),
          copy("candidate", "<config>" + config_with(web) + nacm + "</config>"),
          "<validate><source><config>" + nacm + "</config></source></validate>"})
        EXPECT_EQ(server.call_as(root, request), refused);
    EXPECT_EQ(server.call_as(root, edit("running", config_with(web))), "ok");
    EXPECT_THAT(server.call_as(guest, edit("running", config_with(mail))), StartsWith("access-denied"));
}

// -------------------------------------------------------------------------------------------------------- reads --

TEST(OperationsAccess, WhatMayNotBeReadIsNotThere)
{
    NetconfServer server;
    server.call(edit("running", config_with(web)));
    use_rules(server, staff(rule("hidden", description, "read", "deny")));
    const std::string rest = config_of(profile("web"));
    EXPECT_EQ(server.call_as(guest, get_config("running")), rest);
    EXPECT_EQ(server.call_as(guest, get_config("candidate")), rest);
    EXPECT_EQ(server.call_as(guest, "<get>" + xpath("/ips:ips-config") + "</get>"), rest);
    // Nor does a filter tell of it.
    const std::string by_description = "//ips:profile[ips:description='a']";
    EXPECT_EQ(server.call_as(guest, get_config("running", xpath(by_description))), "");
    EXPECT_EQ(server.call_as(root, get_config("running", xpath(by_description))), config_of(web));
    const std::string content_match = subtree(config_with("<profile><description>a</description></profile>"));
    EXPECT_THAT(server.call_as(guest, get_config("running", content_match)), Not(HasSubstr("web")));
    EXPECT_EQ(server.call_as(root, get_config("running", content_match)), config_of(web));
}

TEST(OperationsAccess, ACopyTakesWhatCanBeRead)
{
    NetconfServer server;
    server.call(edit("running", config_with(web)));
    use_rules(server,
              staff(rule("hidden", description, "read", "deny") + "<rule><name>all</name><action>permit</action>"
                                                                  "</rule>"));
    EXPECT_EQ(server.call_as(guest, copy("candidate", "<running/>")), "ok");
    EXPECT_EQ(server.call_as(root, configuration("candidate")), config_of(profile("web")));
    // Startup is a copy of running for everybody.
    EXPECT_EQ(server.call_as(guest, copy("startup", "<running/>")), "ok");
    EXPECT_EQ(server.call_as(root, configuration("startup")), config_of(web));
}

TEST(OperationsAccess, ACopyOfRunningThatCanBeReadWhollyDiscardsTheCandidate)
{
    NetconfServer server;
    server.call(edit("running", config_with(web)));
    server.call(edit("candidate", config_with(mail)));
    use_rules(server, staff("<rule><name>all</name><action>permit</action></rule>"));
    EXPECT_EQ(server.call_as(guest, copy("candidate", "<running/>")), "ok");
    EXPECT_EQ(server.call_as(guest, with_target("lock", "candidate")), "ok");
}

TEST(OperationsAccess, AFaultInAHiddenPartIsToldWithoutItsPlace)
{
    const std::string bad = profile("web", "<command-and-control-domain-filter><action>block</action>"
                                           "</command-and-control-domain-filter>");
    NetconfServer server;
    const std::string validate = "<validate><source><candidate/></source></validate>";
    server.call(edit("candidate", config_with(bad)));
    const std::string whole = server.call(validate);
    ASSERT_NE(whole, "ok");
    use_rules(server, staff(rule("hidden", branch + "/ips:profile", "read", "deny")));
    EXPECT_EQ(server.call_as(root, validate), whole);
    EXPECT_EQ(server.call_as(stranger, validate), whole);
    EXPECT_EQ(server.call_as(guest, validate),
              fmt::format("{} : candidate is not valid, in a part that the user may not read\n",
                          whole.substr(0, whole.find(' '))));
}

TEST(OperationsAccess, TheRulesAreReadInEveryDatastoreByWhoMay)
{
    NetconfServer server;
    const std::string rules = staff("");
    use_rules(server, rules);
    const std::string filter = subtree("<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm'/>");
    for (const char* source : {"running", "candidate", "startup"}) {
        EXPECT_EQ(server.call_as(root, get_config(source, filter)), "<nacm>" + rules + "</nacm>") << source;
        EXPECT_EQ(server.call_as(guest, get_config(source, filter)), "") << source;
    }
    server.call_as(guest, with_target("delete-config", "startup"));
    server.call_as(guest, edit("running", config_with(web)));
    EXPECT_EQ(server.call_as(root, "<get>" + filter + "</get>"),
              "<nacm><denied-operations>1</denied-operations><denied-data-writes>1</denied-data-writes>"
              "<denied-notifications>0</denied-notifications>" +
                  rules + "</nacm>");
    EXPECT_EQ(server.call_as(root, get_config("running")), "<nacm>" + rules + "</nacm>");
}

// ------------------------------------------------------------------------------------------------ notifications --

TEST(OperationsAccess, WhoMayNotReadANotificationIsNotTold)
{
    const auto notification = [](const char* path) {
        lyd_node* tree = nullptr;
        lyd_new_path(nullptr, netconf_world().schema.context(), path, nullptr, 0, &tree);
        return TreePtr(tree);
    };
    const TreePtr change = notification("/ietf-netconf-notifications:netconf-config-change");
    const TreePtr start = notification("/ietf-netconf-notifications:netconf-session-start");
    NetconfServer server;
    use_rules(server,
              staff("<rule><name>no-sessions</name><module-name>ietf-netconf-notifications</module-name>"
                    "<notification-name>netconf-session-start</notification-name><action>deny</action></rule>"));
    struct Case {
        const AccessUser& user;
        const TreePtr& event;
        bool told;
    };
    for (const Case& one :
         {Case{guest, change, true}, Case{guest, start, false}, Case{stranger, start, true}, Case{root, start, true}})
        EXPECT_EQ(server.operations().may_receive({1, one.user}, one.event.get()), one.told) << one.user.name;
    EXPECT_EQ(server.access().counters().denied_notifications, 1U);
}

// --------------------------------------------------------------------------------------------------- rule files --

TEST(AccessFile, IsRefusedWithItsName)
{
    struct Case {
        std::string text;
        std::string message; // behind the name of the file
    };
    const std::string open = "<nacm xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-acm\">";
    const std::vector<Case> cases = {
        {"", ": expected: one <nacm> of ietf-netconf-acm"},
        {config_with(web), ": expected: one <nacm> of ietf-netconf-acm"},
        {open + "</nacm>" + config_with(web), ": expected: one <nacm> of ietf-netconf-acm"},
        {open, ": not well-formed XML at line 1, column "},
        {open + "<write-default>perhaps</write-default></nacm>", ": /nacm:nacm/write-default: "},
        {open + "<rules/></nacm>", ": /nacm:nacm: "},
        {open + "<rule-list><name>a</name><rule><name>r</name></rule></rule-list></nacm>",
         ": Mandatory node \"action\""},
        {open + "<denied-operations>3</denied-operations></nacm>", ": /nacm:nacm"},
    };
    const TemporaryFolder folder;
    const std::string file = folder.file("nacm.xml");
    for (const Case& one : cases) {
        AccessControl access(AccessRules{.enabled = false});
        write_file(file, one.text);
        try {
            load_access_rules(access, netconf_world().schema, file);
            ADD_FAILURE() << one.text;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), StartsWith(file + one.message)) << one.text;
        }
        EXPECT_TRUE(access.is_unlimited(guest)) << "what held before goes on";
    }
}

TEST(AccessFile, IsNotReadWhenOthersCanWriteIt)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const std::string file = folder.file("nacm.xml");
    write_file(file,
               "<nacm xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-acm\"><enable-nacm>false</enable-nacm></nacm>");
    AccessControl access;
    for (const perms open : {perms::group_write, perms::others_write}) {
        std::filesystem::permissions(file, perms::owner_read | perms::owner_write | open);
        EXPECT_THROW(load_access_rules(access, netconf_world().schema, file), std::runtime_error);
    }
    std::filesystem::permissions(file, perms::owner_read | perms::owner_write);
    EXPECT_FALSE(access.is_unlimited(guest));
    load_access_rules(access, netconf_world().schema, file);
    EXPECT_TRUE(access.is_unlimited(guest));
}

} // namespace
} // namespace qnips::test
