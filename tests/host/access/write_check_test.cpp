// Which edits the rules permit.
#include "access/write_check.h"

#include <array>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "access_fixture.h"

namespace qnips::test
{
namespace
{

std::string path(std::string_view path)
{
    return fmt::format("<path>{}</path>", path);
}

std::string entries(std::string_view content)
{
    return fmt::format("<interfaces>{}</interfaces>", content);
}

std::string device(std::string_view content)
{
    return fmt::format("<device>{}</device>", content);
}

struct WriteCase {
    const char* title;
    std::string before;
    std::string edit;
    std::string refused; // path and what is denied; empty when the edit is permitted
};

// `rules` are those of ann.
void expect_writes(const AccessRules& rules, const std::vector<WriteCase>& cases)
{
    for (const WriteCase& test : cases) {
        std::string expected;
        if (!test.refused.empty()) {
            const std::size_t blank = test.refused.find(' ');
            expected = fmt::format("access-denied {}: user \"ann\" may not {} this node", test.refused.substr(0, blank),
                                   test.refused.substr(blank + 1));
        }
        EXPECT_EQ(write_result(rules, "ann", test.before, test.edit), expected) << test.title;
    }
}

const std::string one = "<interface><name>a</name><mtu>1</mtu></interface>";
const std::string removed_one = "<interface nc:operation='delete'><name>a</name></interface>";

TEST(WriteCheck, DeniesEveryWriteByDefault)
{
    expect_writes(
        rules_of(""),
        {{"create", "", device("<name>x</name>"), "/at:device/name create"},
         {"update", device("<name>x</name>"), device("<name>y</name>"), "/at:device/name update"},
         {"delete", device("<name>x</name>"), device("<name nc:operation='delete'/>"), "/at:device/name delete"},
         {"no change", device("<name>x</name>"), device("<name>x</name>"), ""}});
    for (const char* open : {"<write-default>permit</write-default>", "<enable-nacm>false</enable-nacm>"})
        expect_writes(rules_of(open),
                      {{"create", "", device("<name>x</name>"), ""},
                       {"update", device("<name>x</name>"), device("<name>y</name>"), ""},
                       {"delete", device("<name>x</name>"), device("<name nc:operation='delete'/>"), ""}});
}

TEST(WriteCheck, HasABitForEachOperation)
{
    const std::vector<std::array<std::string, 3>> writes = {
        {"create", "", device("<name>x</name>")},
        {"update", device("<name>x</name>"), device("<name>y</name>")},
        {"delete", device("<name>x</name>"), device("<name nc:operation='delete'/>")}};
    for (const char* bit : {"create", "update", "delete", "read", "exec"})
        for (const auto& [operation, before, edit] : writes) {
            const std::string refused = operation == bit ? "" : "/at:device/name " + operation;
            expect_writes(staff_only(rule(path("/at:device"), bit, "permit")), {{bit, before, edit, refused}});
        }
}

TEST(WriteCheck, AsksForTheNodesThatChangeOnly)
{
    expect_writes(
        staff_only(rule(path("/at:interfaces/at:interface[at:name='a']/at:mtu"), "*", "permit")),
        {{"a leaf below entries that stay", entries(one), entries("<interface><name>a</name><mtu>2</mtu></interface>"),
          ""},
         {"the same value beside it", entries("<interface><name>a</name><mtu>1</mtu><text>t</text></interface>"),
          entries("<interface><name>a</name><mtu>2</mtu><text>t</text></interface>"), ""},
         {"a replace that comes to one leaf", entries(one),
          entries("<interface nc:operation='replace'><name>a</name><mtu>2</mtu></interface>"), ""},
         {"another leaf", entries(one), entries("<interface><name>a</name><mtu>2</mtu><text>t</text></interface>"),
          "/at:interfaces/interface[name='a']/text create"},
         {"the leaf of another entry", entries(one + "<interface><name>b</name><mtu>1</mtu></interface>"),
          entries("<interface><name>b</name><mtu>2</mtu></interface>"),
          "/at:interfaces/interface[name='b']/mtu update"},
         {"the entry itself", "", entries(one), "/at:interfaces/interface[name='a'] create"}});
}

TEST(WriteCheck, FindsADenialAtAboveAndBelowTheNode)
{
    const std::string all = rule("", "*", "permit");
    const std::string entry = "/at:interfaces/at:interface[at:name='a']";
    const std::string at = "/at:interfaces/interface[name='a']";
    for (const std::string target : {"/at:interfaces", "/at:interfaces/at:interface", entry.c_str()}) {
        const AccessRules rules = staff_only(rule(path(target), "create delete", "deny") + all);
        expect_writes(
            rules, {{"create", "", entries(one), at + " create"},
                    {"delete", entries(one), entries(removed_one), at + " delete"},
                    {"delete by the container", entries(one), "<interfaces nc:operation='delete'/>", at + " delete"},
                    {"create below", entries(one), entries("<interface><name>a</name><text>t</text></interface>"),
                     at + "/text create"},
                    {"update below", entries(one), entries("<interface><name>a</name><mtu>2</mtu></interface>"), ""}});
    }
    const AccessRules below = staff_only(rule(path(entry + "/at:mtu"), "create delete", "deny") + all);
    expect_writes(
        below, {{"create above", "", entries(one), at + "/mtu create"},
                {"delete above", entries(one), entries(removed_one), at + "/mtu delete"},
                {"delete above without it", entries("<interface><name>a</name></interface>"), entries(removed_one), ""},
                {"beside it", entries(one), entries("<interface><name>a</name><text>t</text></interface>"), ""}});
    expect_writes(staff_only(rule(path(entry + "/at:name"), "create", "deny") + all),
                  {{"a key that must not be created", "", entries(one), at + "/name create"}});
}

TEST(WriteCheck, FollowsTheOrderOfTheRules)
{
    const std::string deny = rule(path("/at:device/at:name"), "update", "deny");
    const std::string permit = rule(path("/at:device"), "*", "permit");
    const std::string before = device("<name>x</name>");
    const std::string edit = device("<name>y</name>");
    expect_writes(staff_only(deny + permit), {{"deny first", before, edit, "/at:device/name update"}});
    expect_writes(staff_only(permit + deny), {{"permit first", before, edit, ""}});
    const std::string one_entry = rule(path("/at:interfaces/at:interface[at:name='a']"), "*", "permit");
    const std::string all_entries = rule(path("/at:interfaces/at:interface"), "create", "deny");
    expect_writes(staff_only(one_entry + all_entries + rule("", "*", "permit")),
                  {{"one entry before all", "", entries(one), ""}});
    expect_writes(staff_only(all_entries + one_entry + rule("", "*", "permit")),
                  {{"all entries before one", "", entries(one), "/at:interfaces/interface[name='a'] create"}});
}

TEST(WriteCheck, TakesAMoveForAnUpdateOfTheEntry)
{
    const std::string before = "<routes><route><prefix>p</prefix><metric>1</metric></route>"
                               "<route><prefix>p</prefix><metric>2</metric></route></routes>";
    const std::string move = "<routes><route yang:insert='first'><prefix>p</prefix><metric>2</metric></route></routes>";
    const std::string stay = "<routes><route yang:insert='last'><prefix>p</prefix><metric>2</metric></route></routes>";
    expect_writes(staff_only(rule(path("/at:routes/at:route"), "update", "permit")), {{"update", before, move, ""}});
    expect_writes(staff_only(rule(path("/at:routes/at:route"), "create delete", "permit")),
                  {{"no update", before, move, "/at:routes/route[prefix='p'][metric='2'] update"},
                   {"no move", before, stay, ""}});
}

TEST(WriteCheck, AsksNothingForContainersThatComeAndGoWithTheirContent)
{
    const AccessRules rules = staff_only(rule(path("/at:acme-netconf/at:config-parameters/at:host"), "*", "permit") +
                                         rule(path("/at:device/at:link/at:speed"), "*", "permit"));
    const std::string host = "<acme-netconf><config-parameters><host>h</host></config-parameters></acme-netconf>";
    expect_writes(rules,
                  {{"come", "", host, ""},
                   {"go", host, "<acme-netconf nc:operation='delete'/>", ""},
                   {"presence says something", "", device("<link><speed>1</speed></link>"), "/at:device/link create"},
                   {"and so does its end", device("<link><speed>1</speed></link>"),
                    device("<link nc:operation='delete'/>"), "/at:device/link delete"}});
}

TEST(WriteCheck, AsksNothingForNodesThatGiveWayToAnotherCase)
{
    const AccessRules rules = staff_only(rule(path("/at:device"), "create update", "permit"));
    expect_writes(rules,
                  {{"a leaf to a container", device("<manual>m</manual>"), device("<ntp><server>s</server></ntp>"), ""},
                   {"a container to a leaf", device("<ntp><server>s</server><port>1</port></ntp>"),
                    device("<manual>m</manual>"), ""},
                   {"several nodes of a case", device("<part>1</part><part>2</part><brief>b</brief>"),
                    device("<manual>m</manual>"), ""},
                   {"a case in a case", device("<part>1</part><brief>b</brief>"), device("<full>f</full>"), ""},
                   {"not when nothing comes", device("<manual>m</manual>"), device("<manual nc:operation='delete'/>"),
                    "/at:device/manual delete"},
                   {"not within a case", device("<part>1</part><brief>b</brief>"),
                    device("<part>2</part><brief nc:operation='delete'/>"), "/at:device/brief delete"},
                   {"not for another choice", device("<name>d</name><manual>m</manual>"),
                    device("<name nc:operation='delete'/><brief>b</brief>"), "/at:device/name delete"}});
    expect_writes(staff_only(rule(path("/at:device/at:manual"), "*", "permit")),
                  {{"what comes is checked", device("<manual>m</manual>"), device("<ntp><server>s</server></ntp>"),
                    "/at:device/ntp/server create"}});
}

TEST(WriteCheck, KnowsTheDefaultsOfTheSchema)
{
    const AccessRules open = rules_of("<write-default>permit</write-default>");
    const AccessRules closed = rules_of("<write-default>deny</write-default>");
    const AccessRules ruled = staff_only(rule(path("/at:device"), "*", "permit"));
    const std::vector<std::array<const char*, 3>> edits = {
        // edit, path of the node, path of what the defaults let the user read of it
        {"<keys><public>p</public></keys>", "/at:device/keys/public", "/at:device/keys/public"},
        {"<secret>s</secret>", "/at:device/secret", "/at:device"},
        {"<keys><private>p</private></keys>", "/at:device/keys/private", "/at:device/keys"},
        {"<wax>w</wax>", "/at:device/wax", "/at:device/wax"},
        {"<paper>w</paper>", "/at:device/paper", "/at:device/paper"}};
    for (const auto& [edit, node, shown] : edits)
        for (const AccessRules& rules : {open, closed}) {
            const std::string denied = write_result(rules, "ann", "", device(edit));
            EXPECT_EQ(denied.substr(0, denied.find(':', 15 + 4)), fmt::format("access-denied {}", shown)) << node;
            EXPECT_EQ(write_result(ruled, "ann", "", device(edit)), "") << node;
        }
    EXPECT_EQ(write_result(open, "ann", "", device("<name>d</name>")), "");
}

TEST(WriteCheck, DoesNotTellWhatMayNotBeRead)
{
    const std::string entry = "/at:interfaces/at:interface";
    const std::string change = "user \"ann\" may not change what the edit changes here";
    const auto refusal = [&](const std::string& hidden, const std::string& before, const std::string& edit) {
        return write_result(staff_only(rule(path(hidden), "*", "deny") + rule("", "*", "permit")), "ann", before, edit);
    };
    const std::string to_container = "access-denied /at:interfaces: " + change;
    EXPECT_EQ(refusal(entry, entries(one), entries(removed_one)), to_container);
    EXPECT_EQ(refusal(entry, entries(one), "<interfaces nc:operation='delete'/>"), to_container);
    EXPECT_EQ(refusal(entry, "", entries(one)), to_container);
    EXPECT_EQ(refusal(entry + "/at:name", entries(one), entries(removed_one)), to_container);
    EXPECT_EQ(refusal(entry + "/at:mtu", entries(one), entries(removed_one)),
              "access-denied /at:interfaces/interface[name='a']: " + change);
    EXPECT_EQ(refusal("/at:interfaces", entries(one), entries(removed_one)), "access-denied : " + change);
    // Whether a leaf is there or not, and with which value, the answer is one and the same.
    const std::string edit = device("<secret>x</secret>");
    EXPECT_EQ(write_result(rules_of(""), "ann", device("<name>d</name>"), edit),
              write_result(rules_of(""), "ann", device("<name>d</name><secret>s</secret>"), edit));
}

TEST(WriteCheck, FollowsTheDataRulesOfRfc8341)
{
    // Appendix A.4, where all modules are access-test.
    const AccessRules rules = rules_of(
        "<groups><group><name>admin</name><user-name>andy</user-name></group>"
        "<group><name>limited</name><user-name>wilma</user-name></group>"
        "<group><name>guest</name><user-name>guest</user-name></group></groups>"
        "<rule-list><name>limited-acl</name><group>limited</group><rule><name>permit-acme-config</name>"
        "<path>/at:acme-netconf/at:config-parameters</path>"
        "<access-operations>read create update delete</access-operations><action>permit</action></rule></rule-list>"
        "<rule-list><name>guest-limited-acl</name><group>guest</group><group>limited</group>"
        "<rule><name>permit-dummy-interface</name><path>/at:interfaces/at:interface[at:name='dummy']</path>"
        "<access-operations>read update</access-operations><action>permit</action></rule></rule-list>"
        "<rule-list><name>admin-acl</name><group>admin</group><rule><name>permit-interface</name>"
        "<path>/at:interfaces/at:interface</path><access-operations>*</access-operations><action>permit</action>"
        "</rule></rule-list>");
    const std::string acme = "<acme-netconf><config-parameters><host>h</host></config-parameters></acme-netconf>";
    const std::string dummy = entries("<interface><name>dummy</name><mtu>1</mtu></interface>");
    struct Case {
        const char* edit_of;
        std::string before;
        std::string edit;
        std::vector<const char*> permitted;
    };
    const std::vector<Case> cases = {
        {"creating parameters", "", acme, {"wilma"}},
        {"deleting parameters", acme, "<acme-netconf nc:operation='delete'/>", {"wilma"}},
        {"beside the parameters", acme, "<acme-netconf><other>o</other></acme-netconf>", {}},
        {"updating the dummy",
         dummy,
         entries("<interface><name>dummy</name><mtu>2</mtu></interface>"),
         {"andy", "wilma", "guest"}},
        {"creating in the dummy", dummy, entries("<interface><name>dummy</name><text>t</text></interface>"), {"andy"}},
        {"deleting the dummy",
         dummy,
         entries("<interface nc:operation='delete'><name>dummy</name></interface>"),
         {"andy"}},
        {"updating another", entries(one), entries("<interface><name>a</name><mtu>2</mtu></interface>"), {"andy"}},
        {"creating another", "", entries(one), {"andy"}}};
    for (const Case& test : cases) {
        std::vector<const char*> permitted;
        for (const char* who : {"andy", "wilma", "guest", "stranger"})
            if (write_result(rules, who, test.before, test.edit).empty())
                permitted.push_back(who);
        EXPECT_THAT(permitted, testing::ElementsAreArray(test.permitted)) << test.edit_of;
    }
}

} // namespace
} // namespace qnips::test
