// The order of signature sets as command lines make it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/recording_platform.h"
#include "platform/signature_set_order.h"

namespace qnips
{

namespace
{

using Names = std::vector<std::string>;

CommandLine in_profile(std::string text, std::string profile = "webguard", std::string vsys = "branch")
{
    return {std::move(vsys), "profile-ips-" + profile, "profile-ips", std::move(text)};
}

SignatureSetOrder with(const Names& names)
{
    SignatureSetOrder order;
    for (const std::string& name : names)
        order.append("branch", "webguard", name);
    return order;
}

struct LineCase {
    std::string line;
    Names before;
    Names after;
    bool accepted = true;

    friend void PrintTo(const LineCase& test, std::ostream* out) { *out << test.line; }
};

class SignatureSetLine : public ::testing::TestWithParam<LineCase>
{
};

TEST_P(SignatureSetLine, GivesTheOrder)
{
    SignatureSetOrder order = with(GetParam().before);
    EXPECT_EQ(order.execute(in_profile(GetParam().line)), GetParam().accepted);
    EXPECT_EQ(order.sets("branch", "webguard"), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SignatureSetLine,
    ::testing::Values(LineCase{"signature-set name \"a\"", {}, {"a"}},
                      LineCase{"signature-set name \"a b\"", {"c"}, {"c", "a b"}},
                      LineCase{"signature-set name \"a\"", {"a", "b"}, {"a", "b"}},
                      LineCase{"undo signature-set name \"a\"", {"a", "b"}, {"b"}},
                      LineCase{"undo signature-set name \"a\"", {"b"}, {"b"}, false},
                      LineCase{"signature-set move \"a\" after c", {"a", "b", "c"}, {"b", "c", "a"}},
                      LineCase{"signature-set move \"c\" before a", {"a", "b", "c"}, {"c", "a", "b"}},
                      LineCase{"signature-set move \"a b\" after \"c d\"", {"a b", "c d"}, {"c d", "a b"}},
                      LineCase{"signature-set move \"a\" before a", {"a", "b"}, {"a", "b"}},
                      LineCase{"signature-set move \"a\" after x", {"a", "b"}, {"a", "b"}, false},
                      LineCase{"signature-set move \"x\" after a", {"a", "b"}, {"a", "b"}, false},
                      LineCase{"signature-set move \"a\" behind b", {"a", "b"}, {"a", "b"}, false},
                      LineCase{"description signature-set name", {"a"}, {"a"}}));

TEST(SignatureSetOrder, KeepsProfilesAndVirtualSystemsApart)
{
    SignatureSetOrder order;
    order.execute(in_profile("signature-set name \"a\"", "one"));
    order.execute(in_profile("signature-set name \"b\"", "two"));
    order.execute(in_profile("signature-set name \"c\"", "one", "other"));
    EXPECT_EQ(order.sets("branch", "one"), Names{"a"});
    EXPECT_EQ(order.sets("branch", "two"), Names{"b"});
    EXPECT_EQ(order.sets("other", "one"), Names{"c"});
    EXPECT_EQ(order.sets("branch", "three"), Names{});
}

TEST(SignatureSetOrder, TakesNoNoticeOfLinesInOtherViews)
{
    SignatureSetOrder order = with({"a"});
    EXPECT_TRUE(
        order.execute({"branch", "profile-ips-webguard-sigset-a", "ips-sigset", "undo signature-set name \"a\""}));
    EXPECT_TRUE(order.execute({"branch", "system", std::nullopt, "undo signature-set name \"a\""}));
    EXPECT_EQ(order.sets("branch", "webguard"), Names{"a"});
}

TEST(SignatureSetOrder, GoesWithItsProfileAndItsVirtualSystem)
{
    SignatureSetOrder order = with({"a"});
    order.append("other", "webguard", "b");
    order.execute({"branch", "system", std::nullopt, "undo profile type ips name \"webguard\""});
    EXPECT_EQ(order.sets("branch", "webguard"), Names{});
    EXPECT_EQ(order.sets("other", "webguard"), Names{"b"});
    order.remove_vsys("other");
    EXPECT_EQ(order.sets("other", "webguard"), Names{});
}

TEST(RecordingPlatform, AnswersWithTheFirstSignatureSetThatItsLinesMade)
{
    RecordingPlatform platform;
    EXPECT_TRUE(platform.first_signature_set("branch", "webguard").is_none());
    platform.signature_sets().append("branch", "webguard", "known");
    EXPECT_EQ(platform.first_signature_set("branch", "webguard").text(), "known");

    const std::vector<CommandLine> script = {in_profile("signature-set name \"new\""),
                                             in_profile("signature-set move \"new\" before known")};
    EXPECT_EQ(platform.execute(script, 0), std::nullopt);
    EXPECT_EQ(platform.first_signature_set("branch", "webguard").text(), "new");
    platform.remove_vsys("branch");
    EXPECT_TRUE(platform.first_signature_set("branch", "webguard").is_none());
}

TEST(RecordingPlatform, ARefusedScriptChangesNoOrder)
{
    RecordingPlatform platform;
    platform.fail_script(1, {24, "refused", std::nullopt});
    const std::vector<CommandLine> script = {in_profile("signature-set name \"a\"")};
    EXPECT_NE(platform.execute(script, 0), std::nullopt);
    EXPECT_TRUE(platform.first_signature_set("branch", "webguard").is_none());
}

} // namespace

} // namespace qnips
