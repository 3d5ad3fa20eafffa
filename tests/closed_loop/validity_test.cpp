// Running is valid at any time (RFC 7950, 8.1), whichever way a configuration would come into it: by an edit, by the
// part of one that has failed, from the device.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "transaction_host.h"

namespace qnips::test
{
namespace
{

using Effect = EditOutcome::Effect;

// A rule with a source and a destination, which have to be of one family.
std::string rule_between(const std::string& source, const std::string& destination)
{
    return in_vsys(fmt::format(
        "<user-defined-signatures><signature><id>7</id><associated-enable>false</associated-enable>"
        "<signature-rule-information><protocol-rules><protocol>HTTP</protocol><rules><signature-rule><name>r</name>"
        "<source-ip>{}</source-ip><destination-ip>{}</destination-ip></signature-rule></rules></protocol-rules>"
        "</signature-rule-information></signature></user-defined-signatures>",
        source, destination));
}

const std::string old_rule = rule_between("10.0.0.1/32", "10.0.0.2/32");
const std::string new_rule = rule_between("2001:db8::1/128", "2001:db8::2/128");

CommandLine destination_line(const std::string& text)
{
    return {.vsys = "branch", .view = "ips-signature-7-rule-r", .view_type = "ips-signature-rule", .text = text};
}

TEST(Validity, OfAnEditIsAskedBeforeTheDevice)
{
    TransactionHost host;
    // The filter has to say whether it is on.
    const std::string incomplete = "<command-and-control-domain-filter><action>block</action>"
                                   "</command-and-control-domain-filter>";
    try {
        host.edit(in_profile(incomplete));
        ADD_FAILURE() << "it has been taken";
    } catch (const RpcError& error) {
        EXPECT_THAT(error.path(), testing::HasSubstr("command-and-control-domain-filter"));
        EXPECT_THAT(error.what(), testing::HasSubstr("domain-filter-enable"));
    }
    EXPECT_TRUE(host.platform.sent.empty()) << shown(host.platform.sent);
    EXPECT_EQ(host.datastore.configuration().first(), nullptr);
    EXPECT_TRUE(host.store.history(1).empty());
}

// Source and destination go in two scripts; without the second one they are of two families.
TEST(Validity, OfAPartDecidesWhetherItStays)
{
    for (const ErrorOption option : {ErrorOption::stop_on_error, ErrorOption::continue_on_error}) {
        TransactionHost host;
        host.prepare(old_rule);
        const std::string before = tree_text(host.datastore.configuration().first());
        host.platform.sent.clear();
        host.platform.refuses = [](const CommandLine& line) { return line.text.starts_with("destination-ip ipv6"); };
        const EditOutcome outcome = host.edit(new_rule, option);
        EXPECT_EQ(outcome.errors.size(), 1U) << shown(outcome.errors);
        EXPECT_THAT(shown(host.platform.sent), testing::HasSubstr("source-ip ipv6")) << "there has to be a part";
        EXPECT_EQ(outcome.effect, Effect::none);
        EXPECT_EQ(tree_text(host.datastore.configuration().first()), before);
        EXPECT_EQ(host.newest().outcome, CommitOutcome::rolled_back);
        EXPECT_THAT(host.drift(), testing::IsEmpty());
    }
}

TEST(Validity, OfADeviceIsAskedBeforeItsConfigurationIsTaken)
{
    TransactionHost host;
    host.prepare(old_rule);
    const std::string before = tree_text(host.datastore.configuration().first());
    host.by_hand(destination_line("destination-ip ipv6 2001:db8::2"));
    EXPECT_EQ(host.drift().size(), 2U);
    try {
        host.datastore.repair_datastore({"ann", "take"});
        ADD_FAILURE() << "it has been taken";
    } catch (const RpcError& error) {
        EXPECT_EQ(error.tag(), "operation-failed");
        EXPECT_THAT(error.what(), testing::HasSubstr("not of the same address family"));
    }
    EXPECT_EQ(tree_text(host.datastore.configuration().first()), before);
    EXPECT_EQ(host.store.history(10).size(), 1U);

    // What is taken is as valid as any edit.
    host.by_hand(destination_line("destination-ip ipv4 10.0.0.3"));
    EXPECT_NE(host.datastore.repair_datastore({"ann", "take"}), 0);
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

} // namespace
} // namespace qnips::test
