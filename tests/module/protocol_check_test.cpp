// Checks of groups of sibling leaves of a profile's protocol checks: DNS request types and HTTP headers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/check_case.h"
#include "quorin-intrusion-prevention-core/checks/profile_check.h"
#include "support/config_text.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class ProtocolCheck : public ServerTestBase<testing::TestWithParam<CheckCase>>
{
};

TEST_P(ProtocolCheck, JudgesTheGroupAndTellsTheClient)
{
    expect_judgement(server, GetParam());
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

// ------------------------------------------------------------------------------------------------- DNS request types
// --

std::string range(std::string_view start, std::string_view end)
{
    return leaf("start-type", start) + leaf("end-type", end);
}

// The debug line of a start that cannot be read names the end.
CheckCase start_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error request-type/start-type node information.",
            "Get request-type/end-type node information."};
}

CheckCase end_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error request-type/end-type node information."};
}

CheckCase dns_action_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error request-type/action node information."};
}

CheckCase start_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check start type range node information."};
}

CheckCase end_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check end type node information."};
}

CheckCase order_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "The end type is less-than the start type."};
}

CheckCase dns_action_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check action node information."};
}

const std::string alert = action("alert");

INSTANTIATE_TEST_SUITE_P(RequestTypeRange, ProtocolCheck,
                         groups(ips_profile_dns_request_type_check,
                                {{"All", range("0", "65535") + alert},
                                 {"One", range("10", "10") + alert},
                                 {"FirstAlone", range("0", "0") + alert},
                                 {"LastAlone", range("65535", "65535") + alert},
                                 {"LeadingZeros", range("0010", "10") + alert},
                                 {"Low32BitsCount", range("4294967301", "5") + alert},
                                 {"NumbersNotTexts", range("9", "10") + alert},
                                 order_refused("EndBelowStart", range("11", "10") + alert),
                                 order_refused("EndFarBelowStart", range("65535", "0") + alert),
                                 order_refused("AheadOfTheAction", range("11", "10") + action("drop")),
                                 start_refused("StartBehindTheLast", range("65536", "65535") + alert),
                                 start_refused("StartNegative", range("-1", "5") + alert),
                                 start_refused("StartSigned", range("+1", "5") + alert),
                                 start_refused("StartWithLetter", range("1a", "5") + alert),
                                 start_refused("StartWithBlank", range("1 ", "5") + alert),
                                 start_refused("StartOf63Characters", range(longest_value, "5") + alert),
                                 start_refused("StartBeyondAllNumbers", range(std::string(63, '9'), "5") + alert),
                                 start_refused("AheadOfTheEnd", range("a", "b") + action("drop")),
                                 end_refused("EndBehindTheLast", range("0", "65536") + alert),
                                 end_refused("EndNegative", range("0", "-1") + alert),
                                 end_refused("EndWithLetter", range("0", "1a") + alert),
                                 end_refused("EndWithBlankInFront", range("0", " 1") + alert),
                                 end_refused("AheadOfOrderAndAction", range("5", "4a") + action("drop"))}),
                         group_name);

INSTANTIATE_TEST_SUITE_P(RequestTypeLeaves, ProtocolCheck,
                         groups(ips_profile_dns_request_type_check,
                                {{"Alert", range("1", "2") + alert},
                                 {"Block", range("1", "2") + action("block")},
                                 {"Allow", range("1", "2") + action("allow")},
                                 dns_action_refused("OtherAction", range("1", "2") + action("drop")),
                                 dns_action_refused("CapitalAction", range("1", "2") + action("Alert")),
                                 dns_action_refused("ActionAndBlank", range("1", "2") + action("alert ")),
                                 dns_action_refused("ActionOf63Characters", range("1", "2") + action(longest_value)),
                                 dns_action_unread("ActionAbsent", range("1", "2")),
                                 dns_action_unread("ActionEmpty", range("1", "2") + empty_leaf("action")),
                                 dns_action_unread("ActionTooLongToRead", range("1", "2") + action(unreadable_value)),
                                 dns_action_unread("ActionAbsentInABadRange", range("a", "b")),
                                 end_unread("EndAbsent", leaf("start-type", "1") + alert),
                                 end_unread("EndEmpty", leaf("start-type", "1") + empty_leaf("end-type") + alert),
                                 end_unread("EndTooLongToRead", range("1", std::string(63, '0') + '2') + alert),
                                 end_unread("EndAndActionAbsent", leaf("start-type", "a")),
                                 start_unread("StartAbsent", leaf("end-type", "1") + alert),
                                 start_unread("StartEmpty", empty_leaf("start-type") + leaf("end-type", "1") + alert),
                                 start_unread("StartTooLongToRead", range(std::string(63, '0') + '1', "2") + alert),
                                 start_unread("AllAbsent", "")}),
                         group_name);

// ------------------------------------------------------------------------------------------------------ HTTP headers
// --

std::string check_of(std::string_view type, std::string_view action_text)
{
    return leaf("type", type) + action(action_text);
}

CheckCase type_unread(const char* name, const std::string& header, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error " + header + "/type node information."};
}

CheckCase action_unread(const char* name, const std::string& header, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error " + header + "/action node information."};
}

// The headers have debug lines of their own.
CheckCase header_type_refused(const char* name, const std::string& leaves, const std::string& debug_text)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check the type node information.", debug_text};
}

CheckCase header_action_refused(const char* name, const std::string& leaves, const std::string& debug_text)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check action node information.", debug_text};
}

// The cases that both headers have in common. `list` is the type that only this header has.
std::vector<CheckCase> header_cases(const std::string& header, const std::string& list, const std::string& type_debug,
                                    const std::string& action_debug)
{
    return {
        {"AnyAlert", check_of("any", "alert")},
        {"AnyBlock", check_of("any", "block")},
        {"ListAlert", check_of(list, "alert")},
        {"ListBlock", action("block") + leaf("type", list)},
        header_action_refused("AnyAllow", check_of("any", "allow"), action_debug),
        header_action_refused("ListAllow", check_of(list, "allow"), action_debug),
        header_action_refused("CapitalAction", check_of("any", "Alert"), action_debug),
        header_action_refused("ActionAndBlank", check_of("any", "alert "), action_debug),
        header_action_refused("ActionOf63Characters", check_of("any", longest_value), action_debug),
        header_type_refused("OtherType", check_of("all", "alert"), type_debug),
        header_type_refused("CapitalType", check_of("Any", "alert"), type_debug),
        header_type_refused("TypeAndBlank", check_of("any ", "alert"), type_debug),
        header_type_refused("TypeOf63Characters", check_of(longest_value, "alert"), type_debug),
        header_type_refused("BothBad", check_of("all", "allow"), type_debug),
        action_unread("ActionAbsent", header, leaf("type", "any")),
        action_unread("ActionEmpty", header, leaf("type", "any") + empty_leaf("action")),
        action_unread("ActionTooLongToRead", header, check_of("any", unreadable_value)),
        action_unread("BothAbsent", header, ""),
        type_unread("TypeAbsent", header, action("alert")),
        type_unread("TypeWithoutText", header, "<type/>" + action("alert")),
        type_unread("TypeEmpty", header, empty_leaf("type") + action("allow")),
        type_unread("TypeTooLongToRead", header, check_of(unreadable_value, "alert")),
    };
}

const std::string online_type_debug = "Failed to check type node information.";
const std::string forwarded_type_debug = "Failed to check type node inforamtion.";

INSTANTIATE_TEST_SUITE_P(OnlineHost, ProtocolCheck,
                         groups(ips_profile_http_x_online_host_check,
                                header_cases("x-online-host", "blacklist", online_type_debug,
                                             "Failde to check action node information.")),
                         group_name);
INSTANTIATE_TEST_SUITE_P(OnlineHostOnly, ProtocolCheck,
                         groups(ips_profile_http_x_online_host_check,
                                {{"Multiple", check_of("multiple", "alert")},
                                 header_type_refused("Whitelist", check_of("whitelist", "alert"), online_type_debug)}),
                         group_name);
INSTANTIATE_TEST_SUITE_P(ForwardedFor, ProtocolCheck,
                         groups(ips_profile_http_x_forwarded_for_check,
                                header_cases("x-forwarded-for", "whitelist", forwarded_type_debug,
                                             "Failed to check action node information.")),
                         group_name);
INSTANTIATE_TEST_SUITE_P(ForwardedForOnly, ProtocolCheck,
                         groups(ips_profile_http_x_forwarded_for_check,
                                {header_type_refused("Blacklist", check_of("blacklist", "alert"), forwarded_type_debug),
                                 header_type_refused("Multiple", check_of("multiple", "alert"), forwarded_type_debug)}),
                         group_name);

} // namespace
