// Checks of groups of sibling leaves of signature rules: ports, basic conditions, associated conditions.
#include "quorin-intrusion-prevention-core/checks/rule_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/check_case.h"
#include "support/config_text.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class RuleCheck : public ServerTestBase<testing::TestWithParam<CheckCase>>
{
};

TEST_P(RuleCheck, JudgesTheGroupAndTellsTheClient)
{
    expect_judgement(server, GetParam());
}

const std::string zeros(60, '0');

// Number texts that no range takes, however wide it is; ranges start at 0 or above.
const std::vector<std::string> no_numbers = {"a",   "1a",  "-1", "+1",  " 1", "1 ",         "1 2",
                                             "0x1", "1.0", "?",  "1\n", "--", longest_value};

// ------------------------------------------------------------------------------------------------------------ ports --

std::string ports(std::string_view start, std::string_view end)
{
    return leaf("start-port", start) + leaf("end-port", end);
}

CheckCase start_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check start-port range."};
}

CheckCase end_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check end-port range."};
}

CheckCase start_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error start-port node information."};
}

CheckCase end_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error end-port node information."};
}

INSTANTIATE_TEST_SUITE_P(Ports, RuleCheck,
                         groups(ips_signature_rule_port_check,
                                {{"All", ports("1", "65535")},
                                 {"One", ports("80", "80")},
                                 {"OutOfOrder", ports("80", "20")},
                                 {"Widest", ports("65535", "1")},
                                 {"EndFirst", leaf("end-port", "20") + leaf("start-port", "10")},
                                 {"LeadingZeros", ports("00001", zeros + "080")},
                                 {"Low32BitsCount", ports("4294967297", "4295032831")},
                                 start_refused("StartZero", ports("0", "80")),
                                 start_refused("StartBehindTheLast", ports("65536", "80")),
                                 start_refused("StartLow32BitsOfZero", ports("4294967296", "80")),
                                 start_refused("StartBeyondAllNumbers", ports(std::string(63, '9'), "80")),
                                 start_refused("BothBad", ports("0", "0")),
                                 end_refused("EndZero", ports("80", "0")),
                                 end_refused("EndBehindTheLast", ports("80", "65536")),
                                 end_refused("EndBeyondAllNumbers", ports("80", std::string(63, '9'))),
                                 start_unread("StartAbsent", leaf("end-port", "80")),
                                 start_unread("StartEmpty", empty_leaf("start-port") + leaf("end-port", "80")),
                                 start_unread("StartWithoutText", "<start-port/>" + leaf("end-port", "80")),
                                 start_unread("StartTooLongToRead", ports(zeros + "0080", "80")),
                                 start_unread("NeitherThere", ""),
                                 end_unread("EndAbsent", leaf("start-port", "80")),
                                 end_unread("EndAbsentBesideABadStart", leaf("start-port", "0")),
                                 end_unread("EndEmpty", leaf("start-port", "80") + empty_leaf("end-port")),
                                 end_unread("EndTooLongToRead", ports("80", zeros + "0080"))}),
                         group_name);

// ------------------------------------------------------------------------------------------------- basic conditions --

std::string condition(std::string_view id, std::string_view field, std::string_view op, std::string_view value)
{
    return leaf("id", id) + leaf("field-name", field) + leaf("operator", op) + leaf("value", value);
}

const std::string plain = condition("1", "URI", "equal", "abc");
const std::string prefix = condition("1", "URI", "prefix-match", "abc");

CheckCase condition_unread(const char* name, const std::string& leaf_name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error basic-conditon/" + leaf_name + " node information."};
}

CheckCase condition_refused(const char* name, const std::string& what, const std::string& leaves)
{
    return {name, leaves, NC_ERR_INVALID_VALUE, "Failed to check " + what + " node information."};
}

CheckCase direction_refused(const char* name, const std::string& text)
{
    return {name, plain + leaf("direction", text), NC_ERR_INVALID_VALUE,
            "Failed to check direction value node information.",
            "Failed to check the direction value node information."};
}

const std::string longest_text(255, 'a');
const std::string unreadable_text(256, 'a');

INSTANTIATE_TEST_SUITE_P(
    ConditionParts, RuleCheck,
    groups(
        ips_signature_rule_basic_condition_check,
        {{"First", condition("0", "URI", "equal", "abc")},
         {"Last", condition("4", "URI", "equal", "abc")},
         {"LeadingZeros", condition("0004", "URI", "equal", "abc")},
         {"Low32BitsCount", condition("4294967300", "URI", "equal", "abc")},
         {"AnyFieldAndOperator", condition("1", "no such field?", "EQUAL", " ")},
         {"LongestTexts", condition(zeros + "001", longest_value, longest_value, longest_text)},
         {"OtherOrder", leaf("value", "abc") + leaf("operator", "equal") + leaf("field-name", "URI") + leaf("id", "1")},
         condition_refused("BehindTheLast", "condition id", condition("5", "URI", "equal", "abc")),
         condition_refused("BeyondAllNumbers", "condition id", condition(std::string(63, '9'), "URI", "equal", "abc")),
         condition_refused("BadIdAheadOfTheRest", "condition id",
                           condition("5", "URI", "equal", "abc") + leaf("offset", "x") + leaf("direction", "x")),
         condition_unread("NothingThere", "id", ""),
         condition_unread("IdEmpty", "id", empty_leaf("id") + plain.substr(plain.find("<field"))),
         condition_unread("IdTooLongToRead", "id", condition(zeros + "0001", "URI", "equal", "abc")),
         condition_unread("FieldAbsent", "field-name", leaf("id", "1")),
         condition_unread("FieldAbsentBesideABadId", "field-name", leaf("id", "5") + leaf("value", "abc")),
         condition_unread("FieldTooLongToRead", "field-name", condition("1", unreadable_value, "equal", "abc")),
         condition_unread("OperatorAbsent", "operator",
                          leaf("id", "1") + leaf("field-name", "URI") + leaf("value", "abc")),
         condition_unread("OperatorTooLongToRead", "operator", condition("1", "URI", unreadable_value, "abc")),
         condition_unread("ValueAbsent", "value",
                          leaf("id", "1") + leaf("field-name", "URI") + leaf("operator", "equal")),
         condition_unread("ValueEmpty", "value",
                          leaf("id", "1") + leaf("field-name", "URI") + leaf("operator", "equal") +
                              empty_leaf("value")),
         condition_unread("ValueTooLongToRead", "value", condition("1", "URI", "equal", unreadable_text)),
         condition_unread("ValueAbsentBesideABadId", "value",
                          leaf("id", "5") + leaf("field-name", "URI") + leaf("operator", "equal"))}),
    group_name);

INSTANTIATE_TEST_SUITE_P(
    ConditionQualifiers, RuleCheck,
    groups(ips_signature_rule_basic_condition_check,
           {{"FirstOffset", plain + leaf("offset", "0")},
            {"LastOffset", plain + leaf("offset", "65535")},
            {"OffsetEmpty", prefix + empty_leaf("offset")},
            {"OffsetWithoutText", prefix + "<offset/>"},
            {"OffsetTooLongToRead", prefix + leaf("offset", unreadable_value)},
            {"OffsetWithAnotherWord", condition("1", "URI", "Prefix-match", "abc") + leaf("offset", "0")},
            {"PrefixMatchAlone", prefix},
            {"PrefixMatchWithTheRest", prefix + leaf("depth", "7") + leaf("direction", "both")},
            {"FirstDepth", plain + leaf("depth", "7")},
            {"LastDepth", plain + leaf("depth", "65535")},
            {"DepthEmpty", plain + empty_leaf("depth")},
            {"DepthTooLongToRead", plain + leaf("depth", unreadable_value)},
            {"Both", plain + leaf("direction", "both")},
            {"FromClient", plain + leaf("direction", "from-client")},
            {"FromServer", plain + leaf("direction", "from-server")},
            {"DirectionEmpty", plain + empty_leaf("direction")},
            {"DirectionTooLongToRead", plain + leaf("direction", unreadable_value)},
            {"MethodIsNotLookedAt", plain + leaf("qualifier-http-method", "?")},
            condition_refused("OffsetBehindTheLast", "offset value", plain + leaf("offset", "65536")),
            condition_refused("OffsetWithPrefixMatch", "offset type", prefix + leaf("offset", "0")),
            condition_refused("BadOffsetWithPrefixMatch", "offset value", prefix + leaf("offset", "65536")),
            condition_refused("OffsetAheadOfTheDepth", "offset type",
                              prefix + leaf("depth", "6") + leaf("offset", "0") + leaf("direction", "x")),
            condition_refused("DepthBeforeTheFirst", "depth value", plain + leaf("depth", "6")),
            condition_refused("DepthZero", "depth value", plain + leaf("depth", "0")),
            condition_refused("DepthBehindTheLast", "depth value", plain + leaf("depth", "65536")),
            condition_refused("DepthAheadOfTheDirection", "depth value",
                              plain + leaf("direction", "x") + leaf("depth", "6")),
            direction_refused("Capitals", "BOTH"),
            direction_refused("OtherWord", "client"),
            direction_refused("BlankBehind", "both "),
            direction_refused("Of63Characters", longest_value)}),
    group_name);

// -------------------------------------------------------------------------------------------- associated conditions --

CheckCase association_refused(const char* name, const std::string& what, const std::string& leaves)
{
    return {name, leaves, NC_ERR_INVALID_VALUE, "Failed to check " + what + " node information."};
}

// What both kinds of associated condition take and refuse; `before` stands in front of the leaves.
std::vector<CheckCase> associations(const std::string& before)
{
    const auto with = [&](const std::string& name, std::string_view text) { return before + leaf(name, text); };
    return {{"FirstThreshold", with("threshold", "1")},
            {"LastThreshold", with("threshold", "500")},
            {"FirstInterval", with("interval", "1")},
            {"LastInterval", with("interval", "7200")},
            {"FirstBlockTime", with("block-time", "1")},
            {"LastBlockTime", with("block-time", "1000")},
            {"LeadingZeros", with("threshold", zeros + "500")},
            {"Low32BitsCount", with("threshold", "4294967297")},
            {"Source", with("correlation", "source")},
            {"Destination", with("correlation", "destination")},
            {"SourceAndDestination", with("correlation", "source-destination")},
            {"AllAtTheirLimits", with("correlation", "source-destination") + leaf("block-time", "1000") +
                                     leaf("interval", "7200") + leaf("threshold", "500")},
            {"UnreadableOnesAreSkipped", with("threshold", unreadable_value) + empty_leaf("interval") +
                                             "<block-time/>" + leaf("correlation", "source")},
            {"UnreadableCorrelationIsSkipped", with("threshold", "1") + leaf("correlation", unreadable_value)},
            association_refused("ThresholdZero", "threshold", with("threshold", "0")),
            association_refused("ThresholdBehindTheLast", "threshold", with("threshold", "501")),
            association_refused("IntervalZero", "interval", with("interval", "0")),
            association_refused("IntervalBehindTheLast", "interval", with("interval", "7201")),
            association_refused("BlockTimeZero", "block-time", with("block-time", "0")),
            association_refused("BlockTimeBehindTheLast", "block-time", with("block-time", "1001")),
            association_refused("CorrelationInCapitals", "correlation", with("correlation", "Source")),
            association_refused("OtherCorrelation", "correlation", with("correlation", "both")),
            association_refused("CorrelationAndBlank", "correlation", with("correlation", "source ")),
            association_refused("CorrelationOf63Characters", "correlation", with("correlation", longest_value)),
            association_refused("AllBad", "threshold",
                                with("correlation", "x") + leaf("block-time", "0") + leaf("interval", "0") +
                                    leaf("threshold", "0")),
            association_refused("IntervalAheadOfTheBlockTime", "interval",
                                with("block-time", "0") + leaf("interval", "0") + leaf("threshold", "1")),
            association_refused("BlockTimeAheadOfTheCorrelation", "block-time",
                                with("correlation", "x") + leaf("block-time", "0") + leaf("interval", "1"))};
}

CheckCase all_null(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_INVALID_VALUE, "The threshold/interval/block-time/correlation node all are NULL."};
}

const std::string unreadable_group = leaf("threshold", unreadable_value) + leaf("interval", unreadable_value) +
                                     leaf("block-time", unreadable_value) + leaf("correlation", unreadable_value);
const std::string empty_group =
    empty_leaf("threshold") + "<interval/>" + empty_leaf("block-time") + empty_leaf("correlation");

INSTANTIATE_TEST_SUITE_P(Predefined, RuleCheck, groups(ips_presig_assoc_condition_check, associations("")), group_name);
INSTANTIATE_TEST_SUITE_P(PredefinedWithoutAnyPart, RuleCheck,
                         groups(ips_presig_assoc_condition_check,
                                {all_null("Absent", ""), all_null("Empty", empty_group),
                                 all_null("TooLongToRead", unreadable_group),
                                 all_null("IdAlone", leaf("id", "1100") + leaf("signature-id", "1100"))}),
                         group_name);

const std::string referred = leaf("signature-id", "1100");

INSTANTIATE_TEST_SUITE_P(UserDefined, RuleCheck, groups(ips_udsig_assoc_condition_check, associations(referred)),
                         group_name);

std::string refers_to(std::string_view id)
{
    return leaf("signature-id", id);
}

CheckCase reference_refused(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_BAD_ELEM, "Failed to check signature-id node information."};
}

CheckCase reference_unread(const char* name, const std::string& leaves)
{
    return {name, leaves, NC_ERR_MISSING_ELEM, "Get error assoc-conditon/signature-id node information."};
}

INSTANTIATE_TEST_SUITE_P(UserDefinedReference, RuleCheck,
                         groups(ips_udsig_assoc_condition_check,
                                {{"First", refers_to("1")},
                                 {"Last", refers_to("16777216")},
                                 {"LeadingZeros", refers_to("0000016777216")},
                                 {"Low32BitsCount", refers_to("4294967297")},
                                 {"WithEmptyParts", referred + empty_group},
                                 {"WithUnreadableParts", referred + unreadable_group},
                                 reference_refused("Zero", refers_to("0")),
                                 reference_refused("BehindTheLast", refers_to("16777217")),
                                 reference_refused("Low32BitsOfZero", refers_to("4294967296")),
                                 reference_refused("AheadOfTheThreshold", refers_to("0") + leaf("threshold", "0")),
                                 reference_unread("Absent", leaf("threshold", "1")),
                                 reference_unread("Empty", empty_leaf("signature-id") + leaf("threshold", "0")),
                                 reference_unread("WithoutText", "<signature-id/>"),
                                 reference_unread("TooLongToRead", refers_to(zeros + "0001"))}),
                         group_name);

// --------------------------------------------------------------------------------------------------------- general --

struct NumberLeaf {
    Check check;
    std::string before;
    std::string name;
    std::string after;
    NC_ERR code;
    std::string message;
};

using RuleChecks = ServerTest;

TEST_F(RuleChecks, TakeNumbersOfDigitsOnly)
{
    const std::string rest = plain.substr(plain.find("<field"));
    std::vector<NumberLeaf> leaves = {{ips_signature_rule_port_check, "", "start-port", leaf("end-port", "1"),
                                       NC_ERR_BAD_ELEM, "Failed to check start-port range."},
                                      {ips_signature_rule_port_check, leaf("start-port", "1"), "end-port", "",
                                       NC_ERR_BAD_ELEM, "Failed to check end-port range."},
                                      {ips_signature_rule_basic_condition_check, "", "id", rest, NC_ERR_INVALID_VALUE,
                                       "Failed to check condition id node information."},
                                      {ips_signature_rule_basic_condition_check, plain, "offset", "",
                                       NC_ERR_INVALID_VALUE, "Failed to check offset value node information."},
                                      {ips_signature_rule_basic_condition_check, plain, "depth", "",
                                       NC_ERR_INVALID_VALUE, "Failed to check depth value node information."},
                                      {ips_udsig_assoc_condition_check, "", "signature-id", "", NC_ERR_BAD_ELEM,
                                       "Failed to check signature-id node information."}};
    for (const std::string name : {"threshold", "interval", "block-time"}) {
        const std::string message = "Failed to check " + name + " node information.";
        leaves.push_back({ips_presig_assoc_condition_check, "", name, "", NC_ERR_INVALID_VALUE, message});
        leaves.push_back({ips_udsig_assoc_condition_check, referred, name, "", NC_ERR_INVALID_VALUE, message});
    }
    for (const NumberLeaf& number : leaves) {
        for (const std::string& text : no_numbers) {
            const std::string group = number.before + leaf(number.name, text) + number.after;
            SCOPED_TRACE(group);
            expect_judgement(
                server,
                {.name = "", .leaves = group, .code = number.code, .message = number.message, .check = number.check});
        }
    }
}

struct LookupCase {
    Check check;
    std::string leaves;
    std::vector<KeyLookup> lookups;
};

TEST_F(RuleChecks, ReadWhatTheyNeedAndInTheirOrder)
{
    const std::vector<LookupCase> cases = {
        {ips_signature_rule_port_check, ports("1", "2"), {{1, "start-port"}, {1, "end-port"}}},
        {ips_signature_rule_basic_condition_check,
         plain + leaf("offset", "1") + leaf("depth", "9") + leaf("direction", "both"),
         {{1, "id"}, {1, "field-name"}, {1, "operator"}, {1, "value"}, {1, "offset"}, {1, "depth"}, {1, "direction"}}},
        {ips_presig_assoc_condition_check,
         leaf("threshold", "1"),
         {{1, "threshold"}, {1, "interval"}, {1, "block-time"}, {1, "correlation"}}},
        {ips_udsig_assoc_condition_check,
         referred,
         {{1, "signature-id"}, {1, "threshold"}, {1, "interval"}, {1, "block-time"}, {1, "correlation"}}},
    };
    for (const LookupCase& test : cases) {
        const CallResult r = run_check(server, test.check, test.leaves);
        EXPECT_TRUE(r.quiet());
        EXPECT_EQ(r.key_lookups, test.lookups) << test.leaves;
    }
}

// What the server answers to the error is the result, be it 0, and the rest of the group is not looked at.
TEST_F(RuleChecks, StopAtTheFirstErrorWhateverTheServerAnswers)
{
    const std::string two_faults = leaf("threshold", "0") + leaf("correlation", "x");
    const std::vector<std::pair<Check, std::string>> cases = {
        {ips_signature_rule_port_check, ports("0", "0")},
        {ips_signature_rule_port_check, ""},
        {ips_signature_rule_basic_condition_check, condition("5", "URI", "equal", "abc") + leaf("depth", "6")},
        {ips_signature_rule_basic_condition_check, plain + leaf("depth", "6") + leaf("direction", "x")},
        {ips_presig_assoc_condition_check, two_faults},
        {ips_presig_assoc_condition_check, ""},
        {ips_udsig_assoc_condition_check, referred + two_faults},
        {ips_udsig_assoc_condition_check, leaf("signature-id", "0") + two_faults},
        {ips_udsig_assoc_condition_check, two_faults}};
    for (const int answer : {0, 1, -7}) {
        server.fail_result = answer;
        for (const auto& [check, leaves] : cases) {
            SCOPED_TRACE(leaves);
            const CallResult r = run_check(server, check, leaves);
            EXPECT_EQ(r.result, answer);
            EXPECT_EQ(r.errors.size(), 1U);
        }
    }
}

// Leaves of the same names above and below the group say nothing about it.
TEST_F(RuleChecks, LookAtSiblingsOnly)
{
    const std::string leaves = ports("1", "2") + plain + referred + leaf("threshold", "1");
    const std::string xml =
        "<above>" + leaves + "<group><below>" + leaves + "</below><changed>" + leaves + "</changed></group></above>";
    for (const Check check : {ips_signature_rule_port_check, ips_signature_rule_basic_condition_check,
                              ips_presig_assoc_condition_check, ips_udsig_assoc_condition_check}) {
        const CallResult r = server.run(xml, "//changed", check);
        EXPECT_NE(r.result, 0);
        EXPECT_EQ(r.errors.size(), 1U);
    }
}

} // namespace
