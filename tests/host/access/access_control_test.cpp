// The counters, the recovery session, and rules that are exchanged while the server runs.
#include "access/access_control.h"

#include <atomic>
#include <cstddef>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "access_fixture.h"
#include "server/edit_request.h"

namespace qnips::test
{
namespace
{

const std::string edit_xml = "<device xmlns='urn:quorin:test:access'><name>x</name><manual>m</manual></device>";

// An edit that makes two leaves, whether or not the user may.
void write(AccessControl& control, const AccessUser& who)
{
    ConfigTree tree;
    const AppliedEdit edit(tree, parse_edit_request(access_schema(), edit_xml));
    control.check_writes(who, edit.changes());
}

TEST(AccessControl, CountsWhatItDenies)
{
    AccessControl control(rules_of(staff_rules(rule("", "*", "permit"))));
    const AccessUser ann = user("ann");
    const AccessUser bob = user("bob");
    const lysc_node* erase = top_node("access-test:erase");
    const lysc_node* alarm = top_node("access-test:alarm");

    EXPECT_TRUE(control.may_execute(ann, erase));
    EXPECT_TRUE(control.may_receive(ann, alarm));
    EXPECT_NO_THROW(write(control, ann));
    EXPECT_EQ(control.counters(), AccessCounters());

    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(control.may_execute(bob, erase));
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(control.may_receive(bob, alarm));
    EXPECT_THROW(write(control, bob), RpcError); // two nodes, one request
    const AccessCounters expected{.denied_operations = 3, .denied_data_writes = 1, .denied_notifications = 2};
    EXPECT_EQ(control.counters(), expected);

    EXPECT_EQ(lines_of(control.readable(bob, tree_of("<device><secret>s</secret></device>")).get()), Lines{});
    EXPECT_EQ(control.counters(), expected);
}

TEST(AccessControl, ShowsItsCountersAsStateData)
{
    AccessControl control;
    control.may_execute(user("ann"), top_node("access-test:erase"));
    EXPECT_EQ(lines_of(control.state(access_schema()).get()),
              (Lines{"/nacm:nacm/denied-operations=1", "/nacm:nacm/denied-data-writes=0",
                     "/nacm:nacm/denied-notifications=0"}));
    const YangSchema without({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR});
    EXPECT_THROW(static_cast<void>(control.state(without)), std::runtime_error);
}

TEST(AccessControl, LetsTheRecoverySessionDoEverything)
{
    AccessControl control(
        rules_of(fmt::format("<read-default>deny</read-default><exec-default>deny</exec-default>"
                             "<groups><group><name>staff</name><user-name>root</user-name></group></groups>"
                             "<rule-list><name>none</name><group>staff</group>{}</rule-list>",
                             rule("", "*", "deny"))));
    const auto can_do = [&](const AccessUser& who) {
        Lines done;
        for (const char* name : {"access-test:erase", "ietf-netconf:kill-session"})
            if (control.may_execute(who, top_node(name)))
                done.emplace_back(name);
        if (control.may_receive(who, top_node("access-test:alarm")))
            done.emplace_back("alarm");
        if (control.readable(who, tree_of("<device><secret>s</secret></device>")) != nullptr)
            done.emplace_back("read");
        try {
            write(control, who);
            done.emplace_back("write");
        } catch (const RpcError& error) {
            EXPECT_EQ(error.tag(), "access-denied");
        }
        return done;
    };
    EXPECT_EQ(can_do({.name = "root", .groups = {}, .is_recovery = false}), Lines{});
    const AccessCounters denied = control.counters();
    EXPECT_EQ(can_do({.name = "root", .groups = {}, .is_recovery = true}),
              (Lines{"access-test:erase", "ietf-netconf:kill-session", "alarm", "read", "write"}));
    EXPECT_EQ(control.counters(), denied);
}

TEST(AccessControl, FollowsNewRulesAtOnceAndCountsOn)
{
    AccessControl control;
    const AccessUser ann = user("ann");
    EXPECT_THROW(write(control, ann), RpcError);
    control.use(staff_only(rule("<path>/at:device</path>", "create", "permit")));
    EXPECT_NO_THROW(write(control, ann));
    control.use(AccessRules());
    EXPECT_THROW(write(control, ann), RpcError);
    EXPECT_EQ(control.counters().denied_data_writes, 2U);
}

// Each answer is that of the old rules or of the new ones: with either, one of the two is permitted.
TEST(AccessControl, AnswersWhileRulesAreExchanged)
{
    AccessControl control;
    const AccessUser ann = user("ann");
    const lysc_node* erase = top_node("access-test:erase");
    std::atomic<bool> goes_on = true;
    std::jthread exchange([&] {
        while (goes_on) {
            control.use(staff_only(rule("", "*", "permit")));
            control.use(AccessRules());
        }
    });
    std::size_t permitted = 0;
    for (int i = 0; i < 2000; ++i) {
        permitted += control.may_execute(ann, erase) ? 1U : 0U;
        EXPECT_EQ(lines_of(control.readable(ann, tree_of("<device><name>x</name></device>")).get()).size(), 1U);
    }
    goes_on = false;
    EXPECT_EQ(control.counters().denied_operations, 2000U - permitted);
}

} // namespace
} // namespace qnips::test
