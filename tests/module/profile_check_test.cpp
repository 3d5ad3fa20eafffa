// Checks of groups of sibling leaves of a profile.
#include "quorin-intrusion-prevention-core/checks/profile_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/check_case.h"
#include "support/config_text.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class ProfileCheck : public ServerTestBase<testing::TestWithParam<CheckCase>>
{
};

TEST_P(ProfileCheck, JudgesTheGroupAndTellsTheClient)
{
    expect_judgement(server, GetParam());
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

std::string interworking(std::string_view text)
{
    return leaf("interworking", text);
}

// ----------------------------------------------------------------------------------- command and control: the filter
// --

std::string enable(std::string_view text)
{
    return leaf("domain-filter-enable", text);
}

const std::string unread = "Get error cnc/domain-filter-enable node information.";
const std::string bad_enable = "Failed to check the cnc-enable node.";
const std::string bad_action = "Failed to check the cnc-action node.";

INSTANTIATE_TEST_SUITE_P(
    DomainFilter, ProfileCheck,
    groups(ips_profile_cnc_check,
           {{"OnWithoutAction", enable("true")},
            {"OnWithAlert", enable("true") + action("alert")},
            {"OnWithBlock", enable("true") + action("block")},
            {"OnWithAllow", enable("true") + action("allow"), NC_ERR_INVALID_VALUE, bad_action},
            {"OnWithCapitalAction", enable("true") + action("Block"), NC_ERR_INVALID_VALUE, bad_action},
            {"OnWithActionAndBlank", enable("true") + action("block "), NC_ERR_INVALID_VALUE, bad_action},
            {"OnWithEmptyAction", enable("true") + empty_leaf("action")},
            {"OnWithActionOf63Characters", enable("true") + action(longest_value), NC_ERR_INVALID_VALUE, bad_action},
            {"OnWithActionTooLongToRead", enable("true") + action(unreadable_value)},
            {"OffWithoutAction", enable("false")},
            {"OffWithAllow", enable("false") + action("allow")},
            {"Capitals", enable("TRUE") + action("block"), NC_ERR_INVALID_VALUE, bad_enable},
            {"OtherWord", enable("yes"), NC_ERR_INVALID_VALUE, bad_enable},
            {"TrailingBlank", enable("true "), NC_ERR_INVALID_VALUE, bad_enable},
            {"EnableAbsent", action("block"), NC_ERR_MISSING_ELEM, unread},
            {"EnableEmpty", empty_leaf("domain-filter-enable"), NC_ERR_MISSING_ELEM, unread},
            {"EnableOf63Characters", enable(longest_value), NC_ERR_INVALID_VALUE, bad_enable},
            {"EnableTooLongToRead", enable(unreadable_value), NC_ERR_MISSING_ELEM, unread}}),
    group_name);

// ---------------------------------------------------------------------------------------- a signature set's action --

CheckCase set_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error signatureset/action node information."};
}

CheckCase set_action_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_INVALID_VALUE, "Failed to check the signature-set action node information."};
}

CheckCase set_interworking_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_INVALID_VALUE, "Failed to check the interworking node information."};
}

INSTANTIATE_TEST_SUITE_P(
    SignatureSet, ProfileCheck,
    groups(ips_profile_signatureset_action_check,
           {{"DefaultTypeAlone", action("default-type")},
            {"AlertAlone", action("alert")},
            {"BlockAlone", action("block")},
            {"DefaultTypeWithBlockBoth", action("default-type") + interworking("block-both")},
            {"AlertWithSource", action("alert") + interworking("block-source-ip")},
            {"BlockWithDestination", interworking("block-destination-ip") + action("block")},
            {"EmptyInterworking", action("alert") + empty_leaf("interworking")},
            {"InterworkingWithoutText", action("alert") + "<interworking/>"},
            {"InterworkingTooLongToRead", action("alert") + interworking(unreadable_value)},
            set_interworking_refused("InterworkingOf63Characters", action("alert") + interworking(longest_value)),
            set_interworking_refused("OtherInterworking", action("alert") + interworking("block")),
            set_interworking_refused("CapitalInterworking", action("alert") + interworking("Block-both")),
            set_interworking_refused("InterworkingAndBlank", action("alert") + interworking("block-both ")),
            set_action_refused("Default", action("default")),
            set_action_refused("Allow", action("allow")),
            set_action_refused("BlockSource", action("block-source-ip") + interworking("block-both")),
            set_action_refused("CapitalAction", action("ALERT")),
            set_action_refused("ActionAndBlank", action("alert ")),
            set_action_refused("BothBad", action("drop") + interworking("drop")),
            set_action_refused("ActionOf63Characters", action(longest_value)),
            set_unread("ActionAbsent", interworking("block-both")),
            set_unread("ActionEmpty", empty_leaf("action") + interworking("block-both")),
            set_unread("ActionTooLongToRead", action(unreadable_value))}),
    group_name);

// --------------------------------------------------------------------------------------------- exception signatures --

std::string id(std::string_view text)
{
    return leaf("id", text);
}

std::string timeout(std::string_view text)
{
    return leaf("timeout", text);
}

CheckCase exception_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error exception-signature/id information."};
}

CheckCase exception_refused(const char* name, const std::string& leaf_name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Failed to check the exception-signature/" + leaf_name + " node."};
}

INSTANTIATE_TEST_SUITE_P(ExceptionSignatureId, ProfileCheck,
                         groups(ips_profile_exception_signature_check,
                                {{"First", id("1")},
                                 {"Last", id("16777216")},
                                 {"LeadingZeros", id("0000000016777216")},
                                 {"Of63Digits", id(std::string(62, '0') + '1')},
                                 {"Low32BitsCount", id("4294967297")},
                                 exception_refused("Zero", "id", id("0")),
                                 exception_refused("BehindTheLast", "id", id("16777217")),
                                 exception_refused("Low32BitsOfZero", "id", id("4294967296")),
                                 exception_refused("BeyondAllNumbers", "id", id(std::string(63, '9'))),
                                 exception_refused("Negative", "id", id("-5")),
                                 exception_refused("Signed", "id", id("+5")),
                                 exception_refused("LetterBehind", "id", id("12a")),
                                 exception_refused("BlankInFront", "id", id(" 5")),
                                 exception_refused("BlankBehind", "id", id("5 ")),
                                 exception_refused("AheadOfTheAction", "id",
                                                   id("0") + action("drop") + interworking("drop")),
                                 exception_unread("Absent", action("alert")),
                                 exception_unread("Empty", empty_leaf("id") + action("alert")),
                                 exception_unread("WithoutText", "<id/>" + action("alert")),
                                 exception_unread("TooLongToRead", id(std::string(63, '0') + '1'))}),
                         group_name);

INSTANTIATE_TEST_SUITE_P(ExceptionSignatureAction, ProfileCheck,
                         groups(ips_profile_exception_signature_check,
                                {{"Alert", id("1") + action("alert")},
                                 {"Block", id("1") + action("block")},
                                 {"Allow", id("1") + action("allow")},
                                 {"BlockSource", id("1") + action("block-source-ip")},
                                 {"BlockDestination", id("1") + action("block-destination-ip")},
                                 {"Empty", id("1") + empty_leaf("action") + timeout("99")},
                                 {"TooLongToRead", id("1") + action(unreadable_value) + timeout("99")},
                                 {"AbsentWithAnyTimeout", id("1") + timeout("99")},
                                 exception_refused("BlockBoth", "action", id("1") + action("block-both")),
                                 exception_refused("DefaultType", "action", id("1") + action("default-type")),
                                 exception_refused("Capitals", "action", id("1") + action("ALERT")),
                                 exception_refused("BlankBehind", "action", id("1") + action("alert ")),
                                 exception_refused("Of63Characters", "action", id("1") + action(longest_value)),
                                 exception_refused("AheadOfTheRest", "action",
                                                   id("1") + action("drop") + timeout("99") + interworking("drop"))}),
                         group_name);

INSTANTIATE_TEST_SUITE_P(
    ExceptionSignatureTimeout, ProfileCheck,
    groups(ips_profile_exception_signature_check,
           {{"FirstWithSource", id("1") + action("block-source-ip") + timeout("1")},
            {"LastWithSource", id("1") + action("block-source-ip") + timeout("30")},
            {"LastWithDestination", id("1") + action("block-destination-ip") + timeout("30")},
            {"LeadingZeros", id("1") + action("block-source-ip") + timeout("0030")},
            {"Low32BitsCount", id("1") + action("block-source-ip") + timeout("4294967326")},
            {"NotLookedAtWithAlert", id("1") + action("alert") + timeout("99")},
            {"NotLookedAtWithBlock", id("1") + action("block") + timeout("?")},
            {"NotLookedAtWithAllow", id("1") + action("allow") + timeout("0")},
            {"Empty", id("1") + action("block-source-ip") + empty_leaf("timeout")},
            {"TooLongToRead", id("1") + action("block-source-ip") + timeout(unreadable_value)},
            exception_refused("Zero", "timeout", id("1") + action("block-source-ip") + timeout("0")),
            exception_refused("BehindTheLast", "timeout", id("1") + action("block-source-ip") + timeout("31")),
            exception_refused("BehindTheLastWithDestination", "timeout",
                              id("1") + action("block-destination-ip") + timeout("31")),
            exception_refused("Negative", "timeout", id("1") + action("block-source-ip") + timeout("-1")),
            exception_refused("LetterBehind", "timeout", id("1") + action("block-source-ip") + timeout("3a")),
            exception_refused("BlankBehind", "timeout", id("1") + action("block-source-ip") + timeout("3 ")),
            exception_refused("Of63Characters", "timeout",
                              id("1") + action("block-source-ip") + timeout(longest_value)),
            exception_refused("AheadOfTheInterworking", "timeout",
                              id("1") + action("block-source-ip") + timeout("31") + interworking("drop"))}),
    group_name);

INSTANTIATE_TEST_SUITE_P(
    ExceptionSignatureInterworking, ProfileCheck,
    groups(ips_profile_exception_signature_check,
           {{"Source", id("1") + interworking("block-source-ip")},
            {"Destination", id("1") + action("alert") + interworking("block-destination-ip")},
            {"Both", id("1") + action("block-source-ip") + timeout("30") + interworking("block-both")},
            {"Empty", id("1") + empty_leaf("interworking")},
            {"TooLongToRead", id("1") + interworking(unreadable_value)},
            exception_refused("Block", "interworking", id("1") + interworking("block")),
            exception_refused("Capitals", "interworking", id("1") + action("alert") + interworking("BLOCK-BOTH")),
            exception_refused("BlankBehind", "interworking", id("1") + interworking("block-both ")),
            exception_refused("Of63Characters", "interworking", id("1") + interworking(longest_value)),
            exception_refused("LookedAtWithoutATimeout", "interworking",
                              id("1") + action("block-source-ip") + interworking("drop"))}),
    group_name);

// --------------------------------------------------------------------------------------------------------- general --

struct LookupCase {
    Check check;
    std::string leaves;
    std::vector<KeyLookup> lookups;
};

using ProfileChecks = ServerTest;

TEST_F(ProfileChecks, ReadWhatTheyNeedAndInTheirOrder)
{
    const std::string whole = id("1") + action("alert") + timeout("99") + interworking("block-both");
    const std::string blocking = id("1") + action("block-source-ip") + timeout("9") + interworking("block-both");
    const std::vector<LookupCase> cases = {
        {ips_profile_cnc_check, enable("true") + action("alert"), {{1, "domain-filter-enable"}, {1, "action"}}},
        {ips_profile_cnc_check, enable("false") + action("alert"), {{1, "domain-filter-enable"}}},
        {ips_profile_signatureset_action_check, whole, {{1, "action"}, {1, "interworking"}}},
        {ips_profile_exception_signature_check, whole, {{1, "id"}, {1, "action"}, {1, "interworking"}}},
        {ips_profile_exception_signature_check,
         blocking,
         {{1, "id"}, {1, "action"}, {1, "timeout"}, {1, "interworking"}}},
        {ips_profile_dns_request_type_check,
         leaf("start-type", "1") + leaf("end-type", "2") + action("alert"),
         {{1, "start-type"}, {1, "end-type"}, {1, "action"}}},
        {ips_profile_http_x_online_host_check, leaf("type", "any") + action("alert"), {{1, "action"}, {1, "type"}}},
        {ips_profile_http_x_forwarded_for_check, leaf("type", "any") + action("alert"), {{1, "action"}, {1, "type"}}},
    };
    for (const LookupCase& test : cases) {
        const CallResult r = run_check(server, test.check, test.leaves);
        EXPECT_TRUE(r.quiet());
        EXPECT_EQ(r.key_lookups, test.lookups) << test.leaves;
    }
}

// Leaves of the same names above and below the group say nothing about it.
TEST_F(ProfileChecks, LookAtSiblingsOnly)
{
    const std::string leaves = enable("true") + id("1") + leaf("start-type", "1") + leaf("end-type", "2") +
                               action("alert") + leaf("type", "any");
    for (const Check check : {ips_profile_cnc_check, ips_profile_signatureset_action_check,
                              ips_profile_exception_signature_check, ips_profile_dns_request_type_check,
                              ips_profile_http_x_online_host_check, ips_profile_http_x_forwarded_for_check}) {
        const std::string below = "<below>" + leaves + "</below>";
        const CallResult r =
            server.run("<above>" + leaves + "<group>" + below + "<changed>" + leaves + "</changed></group></above>",
                       "//changed", check);
        EXPECT_NE(r.result, 0);
        ASSERT_EQ(r.errors.size(), 1U);
        EXPECT_EQ(r.errors[0].code, NC_ERR_MISSING_ELEM);
        EXPECT_TRUE(r.errors[0].message.value_or("").starts_with("Get error "));
    }
}

} // namespace
