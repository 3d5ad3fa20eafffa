// The values that handlers of profiles take and refuse, and the texts at the limits of their buffers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class ProfileValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(ProfileValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// ------------------------------------------------------------------------------------------------- texts in general --

INSTANTIATE_TEST_SUITE_P(FaultyAssign, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_Assign_IPS_Function", "ips-enable", any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyDescription, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_ProfileDescription", "description", any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyEvidence, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_ProfileCAE_Enable", "collect-attack-evidence-enable",
                                                        any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyAssociated, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_ProfileASSOC_Enable", "associated-check-enable",
                                                        any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyDomain, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_ExceptionDomainName", "exception-domain-name",
                                                        any_operation)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyFilter, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_ProfileCNC_Enable", "domain-filter-enable",
                                                        {XMLDIFF_ADD, XMLDIFF_MOD})),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyFilterAction, ProfileValue,
                         testing::ValuesIn(faulty_texts("IPS_UD_ProfileCNC_Action", "action",
                                                        {XMLDIFF_ADD, XMLDIFF_MOD})),
                         value_name);

// ---------------------------------------------------------------------------------------------------- true or false --

std::vector<ValueCase> switch_cases(const char* handler, const char* leaf_name, const char* on, const char* off,
                                    const std::string& message)
{
    std::vector<ValueCase> cases = {sent("True", handler, leaf(leaf_name, "true"), on),
                                    sent("False", handler, leaf(leaf_name, "false"), off),
                                    sent("ChangedToFalse", handler, leaf(leaf_name, "false"), off, XMLDIFF_MOD)};
    for (const std::string& text : {std::string("True"), std::string("TRUE"), std::string("FALSE"), std::string("1"),
                                    std::string("truefalse"), std::string("tru"), std::string("tr ue"),
                                    std::string(63, 't'), std::string(64, 't'), std::string(300, 't')}) {
        cases.push_back(refused("OtherWord", handler, leaf(leaf_name, text), NC_ERR_BAD_ELEM, message));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Assign, ProfileValue,
                         testing::ValuesIn(switch_cases("IPS_UD_Assign_IPS_Function", "ips-enable",
                                                        "assign function ips", "undo assign function ips",
                                                        "Failed to check the assign-ips-enable node.")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(Evidence, ProfileValue,
                         testing::ValuesIn(switch_cases("IPS_UD_ProfileCAE_Enable", "collect-attack-evidence-enable",
                                                        "collect-attack-evidence enable",
                                                        "undo collect-attack-evidence enable",
                                                        "Failed to check the collect-attack-evidence node.")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(Associated, ProfileValue,
                         testing::ValuesIn(switch_cases("IPS_UD_ProfileASSOC_Enable", "associated-check-enable",
                                                        "assoc-check enable", "undo assoc-check enable",
                                                        "Failed to check the associated-check-enable node.")),
                         value_name);

// A removed leaf's value is only looked at for its form.
INSTANTIATE_TEST_SUITE_P(
    RemovedSwitch, ProfileValue,
    testing::Values(
        sent("AnyWord", "IPS_UD_Assign_IPS_Function", leaf("ips-enable", "TRUE"), "assign function ips", XMLDIFF_REM,
             1),
        sent("True", "IPS_UD_Assign_IPS_Function", leaf("ips-enable", "true"), "assign function ips", XMLDIFF_REM, 1),
        sent("False", "IPS_UD_Assign_IPS_Function", leaf("ips-enable", "false"), "assign function ips", XMLDIFF_REM, 1),
        sent("AnyWord", "IPS_UD_ProfileCAE_Enable", leaf("collect-attack-evidence-enable", "yes"),
             "undo collect-attack-evidence enable", XMLDIFF_REM, 1),
        sent("AnyWord", "IPS_UD_ProfileASSOC_Enable", leaf("associated-check-enable", "yes"), "undo assoc-check enable",
             XMLDIFF_REM, 1)),
    value_name);

// ---------------------------------------------------------------------------------------------------- domain filter --

ValueCase filter_refused(const char* name, const char* handler, std::string node, std::string group, NC_ERR code,
                         const std::string& message)
{
    ValueCase test = in_group(refused(name, handler, std::move(node), code, message), std::move(group));
    test.output = error_line(message) + error_line("Failed to check the dcommand-and-control-domain-filter node.");
    return test;
}

constexpr const char* enable_handler = "IPS_UD_ProfileCNC_Enable";
constexpr const char* action_handler = "IPS_UD_ProfileCNC_Action";

std::string enable(std::string_view text)
{
    return leaf("domain-filter-enable", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

INSTANTIATE_TEST_SUITE_P(
    FilterEnable, ProfileValue,
    testing::Values(
        in_group(sent("OnWithoutAction", enable_handler, enable("true"), "cnc domain-filter enable"), ""),
        in_group(sent("OnWithAlert", enable_handler, enable("true"), "cnc domain-filter enable action alert"),
                 action("alert")),
        sent("Off", enable_handler, enable("false"), "undo cnc domain-filter enable"),
        in_group(sent("OffWithAnyAction", enable_handler, enable("false"), "undo cnc domain-filter enable",
                      XMLDIFF_MOD),
                 action("allow")),
        in_group(sent("OnWithAnActionTooLongToRead", enable_handler, enable("true"), "cnc domain-filter enable"),
                 action(std::string(64, 'a'))),
        filter_refused("Capitals", enable_handler, enable("TRUE"), "", NC_ERR_INVALID_VALUE,
                       "Failed to check the cnc-enable node."),
        filter_refused("OnWithAllow", enable_handler, enable("true"), action("allow"), NC_ERR_INVALID_VALUE,
                       "Failed to check the cnc-action node."),
        filter_refused("TooLongToRead", enable_handler, enable(std::string(64, 't')), "", NC_ERR_MISSING_ELEM,
                       "Get error cnc/domain-filter-enable node information.")),
    value_name);

INSTANTIATE_TEST_SUITE_P(
    FilterAction, ProfileValue,
    testing::Values(
        sent("Alert", action_handler, action("alert"), "cnc domain-filter enable action alert"),
        sent("ChangedToBlock", action_handler, action("block"), "cnc domain-filter enable action block", XMLDIFF_MOD),
        in_group(sent("OfAFilterThatIsOff", action_handler, action("allow"), "undo cnc domain-filter enable"),
                 enable("false")),
        filter_refused("Allow", action_handler, action("allow"), enable("true"), NC_ERR_INVALID_VALUE,
                       "Failed to check the cnc-action node."),
        filter_refused("Capitals", action_handler, action("BLOCK"), enable("true"), NC_ERR_INVALID_VALUE,
                       "Failed to check the cnc-action node."),
        filter_refused("WithoutEnable", action_handler, action("block"), "", NC_ERR_MISSING_ELEM,
                       "Get error cnc/domain-filter-enable node information."),
        filter_refused("OfACapitalEnable", action_handler, action("block"), enable("True"), NC_ERR_INVALID_VALUE,
                       "Failed to check the cnc-enable node.")),
    value_name);

// Undoing the filter does not look at its values, not even for their form.
INSTANTIATE_TEST_SUITE_P(FilterUndo, ProfileValue,
                         testing::Values(sent("Absent", enable_handler, "<domain-filter-enable/>",
                                              "undo cnc domain-filter enable", XMLDIFF_REM, 1),
                                         sent("Marked", enable_handler, enable("?"), "undo cnc domain-filter enable",
                                              XMLDIFF_ADD | XMLDIFF_ROLLBACK, 1)),
                         value_name);

// --------------------------------------------------------------------------------------------------- profile's name --

std::string profile(const std::string& name_element)
{
    return "<profile><description>d</description>" + name_element + "</profile>";
}

std::vector<ValueCase> profile_name_cases()
{
    constexpr const char* handler = "IPS_UD_Profile";
    const auto named = [](std::string_view text) { return profile(leaf("name", text)); };
    std::vector<ValueCase> cases = {
        sent("Plain", handler, named("webguard"), "profile type ips name \"webguard\""),
        sent("BlankInside", handler, named("web guard"), "profile type ips name \"web guard\""),
        sent("Capitals", handler, named("WEB"), "profile type ips name \"WEB\""),
        sent("Of125Characters", handler, named(std::string(125, 'n')),
             "profile type ips name \"" + std::string(125, 'n') + '"'),
        sent("Of126Characters", handler, named(std::string(126, 'n')),
             "profile type ips name \"" + std::string(126, 'n')),
        sent("Of127Characters", handler, named(std::string(127, 'n')),
             "profile type ips name \"" + std::string(126, 'n')),
        sent("LongAndUndone", handler, named(std::string(300, 'n')),
             "undo profile type ips name \"" + std::string(126, 'n'), XMLDIFF_REM, 1),
    };
    for (const int op : any_operation) {
        cases.push_back(refused("Absent", handler, profile(""), NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(refused("Null", handler, profile("<name/>"), NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(refused("Empty", handler, profile("<name text=''/>"), NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.push_back(refused("Blank", handler, named(" webguard"), NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.push_back(refused("Marked", handler, named("web?"), NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.back().output = question_mark + error_line(invalid_value);
    }
    for (const char* delivered : {"default", "ids", "outside_firewall", "dmz", "inside_firewall", "mail_server",
                                  "dns_server", "file_server", "web_server", "strict"}) {
        cases.push_back(sent("DeliveredName", handler, named(delivered),
                             "profile type ips name \"" + std::string(delivered) + '"'));
        cases.push_back(sent("RemovedDeliveredName", handler, named(delivered),
                             "undo profile type ips name \"" + std::string(delivered) + '"', XMLDIFF_REM, 1));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ProfileName, ProfileValue, testing::ValuesIn(profile_name_cases()), value_name);

// -------------------------------------------------------------------------------------------------- texts at limits --

std::vector<ValueCase> long_text_cases()
{
    std::vector<ValueCase> cases;
    for (const std::size_t length : {1U, 254U, 255U, 256U, 300U}) {
        cases.push_back(sent("Long", "IPS_UD_ProfileDescription", leaf("description", std::string(length, 'd')),
                             "description " + std::string(std::min<std::size_t>(length, 255), 'd'), XMLDIFF_MOD));
    }
    for (const std::size_t length : {1U, 510U, 511U, 512U, 600U}) {
        const std::string domain(std::min<std::size_t>(length, 511), 'x');
        const std::string node = leaf("exception-domain-name", std::string(length, 'x'));
        cases.push_back(
            sent("Long", "IPS_ExceptionDomainName", node, "cnc domain-filter exception domain-name " + domain));
        cases.push_back(sent("LongAndRemoved", "IPS_ExceptionDomainName", node,
                             "undo cnc domain-filter exception domain-name " + domain, XMLDIFF_REM, 1));
    }
    cases.push_back(
        sent("Format", "IPS_UD_ProfileDescription", leaf("description", "100%s %n"), "description 100%s %n"));
    cases.push_back(sent("Format", "IPS_ExceptionDomainName", leaf("exception-domain-name", "%n.example"),
                         "cnc domain-filter exception domain-name %n.example"));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(LongTexts, ProfileValue, testing::ValuesIn(long_text_cases()), value_name);

// -------------------------------------------------------------------------------------------------- virtual systems --

class AssignIps : public ServerTest
{
protected:
    CallResult call(std::string_view vsys, int op, std::string_view value = "true")
    {
        return server.call(handler_case("IPS_UD_Assign_IPS_Function").handler, op,
                           nested(in_vsys(vsys), leaf("ips-enable", value)), "//ips-enable");
    }
};

TEST_F(AssignIps, RootSystemCannotBeSwitched)
{
    const std::string message = "Current vsys name is public, the node is only operated under vsys system.";
    server.fail_result = 42;
    for (const int op : any_operation) {
        const DebugSwitches switches({true, false});
        const CallResult r = call("public", op);
        EXPECT_EQ(r.result, 42);
        EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, message}}));
        EXPECT_EQ(r.lines, Lines{});
        EXPECT_TRUE(r.commits.empty());
        EXPECT_EQ(r.output,
                  opening_lines(handler_case("IPS_UD_Assign_IPS_Function"), op, {true, false}) + error_line(message));
    }
}

TEST_F(AssignIps, RootSystemIsRefusedBeforeTheValueIsLookedAt)
{
    EXPECT_EQ(call("public", XMLDIFF_ADD, "?").errors.at(0).message,
              "Current vsys name is public, the node is only operated under vsys system.");
}

TEST_F(AssignIps, OnlyThatExactNameIsTheRootSystem)
{
    for (const std::string name : {"Public", "public1", "publi", " public"}) {
        const CallResult r = call(name, XMLDIFF_ADD);
        EXPECT_EQ(r.lines, (Lines{{"public", "vsys-" + name, "mgmt-vsys", "assign function ips"}}));
    }
}

// -------------------------------------------------------------------------------------- edits of more than one node --

TEST(ProfileEdit, RemovedProfileSendsItsOwnLineOnly)
{
    RecordingServer server;
    const std::string xml = nested(
        in_vsys("branch") / Step{"profiles", "", "CHAIN"},
        R"(<profile op="REM"><name op="REM">webguard</name><description op="REM">text</description>)"
        R"(<collect-attack-evidence-enable op="REM">true</collect-attack-evidence-enable>)"
        R"(<associated-check-enable op="REM">true</associated-check-enable>)"
        R"(<command-and-control-domain-filter op="REM"><domain-filter-enable op="REM">true)"
        R"(</domain-filter-enable><action op="REM">block</action></command-and-control-domain-filter></profile>)");
    for (const HandlerCase& test : profile_handler_cases()) {
        const bool is_entry = test.handler == IPS_UD_Profile;
        if (test.profile_level == 0 && !is_entry)
            continue;
        SCOPED_TRACE(test.name);
        const CallResult r = server.call(test.handler, XMLDIFF_REM, xml, test.xpath);
        if (is_entry)
            EXPECT_EQ(r.lines, Lines{test.undo_line});
        else
            EXPECT_TRUE(r.quiet());
    }
}

TEST(ProfileEdit, TrimmedVsysNameStandsInTheLine)
{
    RecordingServer server;
    const HandlerCase& test = handler_case("IPS_UD_Profile");
    const CallResult r =
        server.call(test.handler, XMLDIFF_ADD, nested(in_vsys(" branch ") / Step{"profiles"}, test.node), test.xpath);
    EXPECT_EQ(r.lines, Lines{test.set_line});
}

} // namespace
