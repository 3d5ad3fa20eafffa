// What is left of a tree for a user who may not read all of it.
#include "access/readable_tree.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "access_fixture.h"

namespace qnips::test
{
namespace
{

const char* const everything =
    "<acme-netconf><config-parameters><host>h</host><timeout>1</timeout></config-parameters></acme-netconf>"
    "<interfaces><interface><name>a</name><mtu>1</mtu><unit><number>1</number><text>t</text></unit>"
    "<am:note>n</am:note></interface><interface><name>b</name><mtu>2</mtu></interface></interfaces>"
    "<device><name>d</name><secret>s</secret><keys><public>p</public><private>q</private></keys><link/>"
    "<status><uptime>3</uptime></status></device>";

std::string path(std::string_view path)
{
    return fmt::format("<path>{}</path>", path);
}

struct ReadCase {
    const char* title;
    std::string rules; // of the group of ann
    std::string tree;
    Lines left;
};

void expect_reads(const std::vector<ReadCase>& cases)
{
    for (const ReadCase& test : cases)
        EXPECT_EQ(read_lines(staff_only(test.rules), "ann", test.tree), test.left) << test.title;
}

TEST(ReadableTree, LeavesOutWhatIsDeniedWithAllBelowIt)
{
    const Lines acme = {"acme-netconf/config-parameters/host=h", "acme-netconf/config-parameters/timeout=1"};
    expect_reads({
        {"a module's default denial",
         "",
         everything,
         {"acme-netconf/config-parameters/host=h", "acme-netconf/config-parameters/timeout=1",
          "interfaces/interface[name='a']/name=a", "interfaces/interface[name='a']/mtu=1",
          "interfaces/interface[name='a']/unit[number='1']/number=1",
          "interfaces/interface[name='a']/unit[number='1']/text=t", "interfaces/interface[name='a']/am:note=n",
          "interfaces/interface[name='b']/name=b", "interfaces/interface[name='b']/mtu=2", "device/name=d",
          "device/keys/public=p", "device/link", "device/status/uptime=3"}},
        {"roots", rule(path("/at:device"), "read", "deny") + rule(path("/at:interfaces"), "read", "deny"), everything,
         acme},
        {"the first root",
         rule(path("/at:acme-netconf"), "read", "deny"),
         "<acme-netconf><other>o</other></acme-netconf><device><name>d</name></device>",
         {"device/name=d"}},
        {"all that there is", rule(path("/"), "read", "deny"), everything, {}},
        {"all but one root", rule(path("/at:acme-netconf"), "read", "permit") + rule("", "*", "deny"), everything,
         acme},
        {"a leaf in a permitted list",
         rule(path("/at:interfaces/at:interface/at:mtu"), "read", "deny") +
             rule(path("/at:interfaces"), "read", "permit"),
         "<interfaces><interface><name>a</name><mtu>1</mtu><text>t</text></interface></interfaces>",
         {"interfaces/interface[name='a']/name=a", "interfaces/interface[name='a']/text=t"}},
        {"a node below a denied one stays hidden, whatever is said of it",
         rule(path("/at:device/at:link/at:speed"), "read", "permit") + rule(path("/at:device/at:link"), "read", "deny"),
         "<device><name>d</name><link><speed>1</speed></link></device>",
         {"device/name=d"}},
        {"state like configuration",
         rule(path("/at:device/at:status"), "read", "deny"),
         "<device><name>d</name><status><uptime>3</uptime></status></device>",
         {"device/name=d"}},
        {"nodes of one module",
         rule("<module-name>access-more</module-name>", "read", "deny"),
         "<interfaces><interface><name>a</name><am:note>n</am:note></interface></interfaces>",
         {"interfaces/interface[name='a']/name=a"}},
        {"a path is for the nodes of the rule's module",
         rule("<module-name>access-more</module-name>" + path("/at:interfaces"), "read", "deny"),
         "<interfaces><interface><name>a</name><am:note>n</am:note></interface></interfaces>",
         {"interfaces/interface[name='a']/name=a"}},
        {"what an explicit rule gives back",
         rule(path("/at:device/at:secret"), "read", "permit"),
         "<device><secret>s</secret><keys><private>q</private></keys></device>",
         {"device/secret=s"}},
        {"a default denial holds for what another module adds below, with a denial of its own",
         rule("<module-name>access-test</module-name>", "read", "permit"),
         "<device><vault><label>l</label><am:code>c</am:code></vault></device>",
         {"device/vault/label=l"}},
        {"nothing of nothing", "", "", {}},
    });
}

TEST(ReadableTree, ChoosesEntriesByTheirKeys)
{
    const std::string list = "/at:interfaces/at:interface";
    const char* tree = "<interfaces><interface><name>a</name><mtu>1</mtu></interface>"
                       "<interface><name>b</name><address>x</address><address>y</address></interface></interfaces>";
    const Lines a = {"interfaces/interface[name='a']/name=a", "interfaces/interface[name='a']/mtu=1"};
    expect_reads({
        {"one entry", rule(path(list + "[at:name='b']"), "read", "deny"), tree, a},
        {"all entries but one", rule(path(list + "[at:name='a']"), "read", "permit") + rule(path(list), "read", "deny"),
         tree, a},
        {"all entries, and their container with the last", rule(path(list), "read", "deny"), tree, {}},
        {"an entry of a leaf-list",
         rule(path(list + "[at:name='b']/at:address[.='x']"), "read", "deny"),
         tree,
         {"interfaces/interface[name='a']/name=a", "interfaces/interface[name='a']/mtu=1",
          "interfaces/interface[name='b']/name=b", "interfaces/interface[name='b']/address[.='y']=y"}},
        {"a leaf of one entry",
         rule(path(list + "[at:name='a']/at:mtu"), "read", "deny"),
         "<interfaces><interface><name>a</name><mtu>1</mtu></interface>"
         "<interface><name>b</name><mtu>2</mtu></interface></interfaces>",
         {"interfaces/interface[name='a']/name=a", "interfaces/interface[name='b']/name=b",
          "interfaces/interface[name='b']/mtu=2"}},
        {"without a key there is no entry",
         rule(path("/at:routes/at:route/at:metric"), "read", "deny"),
         "<routes><route><prefix>p</prefix><metric>1</metric></route><paint xmlns:q='urn:quorin:test:access'>"
         "<colour>q:red</colour></paint></routes>",
         {"routes/paint[colour='access-test:red']/colour=access-test:red"}},
    });
}

TEST(ReadableTree, DropsContainersThatItHasEmptiedAndNoOthers)
{
    const std::string hidden = rule(path("/at:device/at:keys/at:public"), "read", "deny") +
                               rule(path("/at:device/at:link/at:speed"), "read", "deny");
    expect_reads({
        {"without presence",
         hidden,
         "<device><name>d</name><keys><public>p</public></keys></device>",
         {"device/name=d"}},
        {"up to the root", hidden, "<device><keys><public>p</public></keys></device>", {}},
        {"with presence", hidden, "<device><link><speed>1</speed></link></device>", {"device/link"}},
        {"empty from the start", hidden, "<device><keys/></device>", {"device/keys"}},
    });
}

TEST(ReadableTree, FollowsTheDataRulesOfRfc8341)
{
    // Appendix A.4, where the module of the interfaces is access-test.
    const std::string rules =
        "<groups><group><name>limited</name><user-name>wilma</user-name></group>"
        "<group><name>guest</name><user-name>guest</user-name></group></groups>"
        "<rule-list><name>guest-acl</name><group>guest</group><rule><name>deny-nacm</name><path>/n:nacm</path>"
        "<access-operations>*</access-operations><action>deny</action></rule></rule-list>"
        "<rule-list><name>guest-limited-acl</name><group>guest</group><group>limited</group>"
        "<rule><name>permit-dummy-interface</name><path>/at:interfaces/at:interface[at:name='dummy']</path>"
        "<access-operations>read update</access-operations><action>permit</action></rule></rule-list>";
    const char* tree = "<interfaces><interface><name>dummy</name></interface>"
                       "<interface><name>real</name></interface></interfaces>";
    const Lines dummy = {"interfaces/interface[name='dummy']/name=dummy"};
    const Lines both = {dummy[0], "interfaces/interface[name='real']/name=real"};
    EXPECT_EQ(read_lines(rules_of(rules), "guest", tree), both);
    // Nothing is visible below a container that is not.
    EXPECT_EQ(read_lines(rules_of("<read-default>deny</read-default>" + rules), "wilma", tree), Lines{});

    const auto nacm_lines = [&](const AccessUser& who) {
        AccessControl control(rules_of(rules));
        return lines_of(control.readable(who, control.state(access_schema())).get()).size();
    };
    EXPECT_EQ(nacm_lines(user("guest")), 0U);
    EXPECT_EQ(nacm_lines(user("wilma")), 0U);
    EXPECT_EQ(nacm_lines({.name = "root", .groups = {}, .is_recovery = true}), 3U);
}

TEST(ReadableTree, HidesNothingWhereNoAccessControlHolds)
{
    const std::size_t all = lines_of(tree_of(everything).get()).size();
    const std::string closed = staff_rules(rule("", "*", "deny"));
    EXPECT_EQ(read_lines(rules_of("<enable-nacm>false</enable-nacm>" + closed), "ann", everything).size(), all);
    const AccessUser recovery{.name = "ann", .groups = {}, .is_recovery = true};
    EXPECT_EQ(lines_of(AccessControl(rules_of(closed)).readable(recovery, tree_of(everything)).get()).size(), all);
    EXPECT_EQ(read_lines(rules_of("<read-default>deny</read-default>"), "ann", everything), Lines{});
}

TEST(ReadableTree, NeedsTheReadBit)
{
    const Lines name = {"device/name=d"};
    const char* tree = "<device><name>d</name></device>";
    for (const auto& [operations, hidden] :
         {std::pair{"read", true}, {"*", true}, {"create read", true}, {"create update delete exec", false}})
        EXPECT_EQ(read_lines(staff_only(rule(path("/at:device"), operations, "deny")), "ann", tree),
                  hidden ? Lines{} : name)
            << operations;
    for (const char* target : {"<rpc-name>*</rpc-name>", "<notification-name>*</notification-name>"})
        EXPECT_EQ(read_lines(staff_only(rule(target, "*", "deny")), "ann", tree), name) << target;
}

TEST(ReadableTree, HidesWhatTheSchemaDoesNotKnow)
{
    lyd_node* unknown = nullptr;
    ASSERT_EQ(lyd_new_opaq2(nullptr, access_schema().context(), "stray", "value", nullptr, "urn:quorin:test:nowhere",
                            &unknown),
              LY_SUCCESS);
    TreePtr tree = tree_of("<device><name>d</name></device>");
    lyd_node* first = tree.release();
    lyd_insert_sibling(first, unknown, &first);
    const AccessRules rules;
    UserRights rights(rules, user("ann"));
    tree = readable_part(rights, TreePtr(first));
    EXPECT_EQ(lines_of(tree.get()), Lines{"/at:device/name=d"});
}

} // namespace
} // namespace qnips::test
