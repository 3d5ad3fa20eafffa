// Command lines that combine several leaves of a profile.
#include "quorin-intrusion-prevention-core/commands/profile_command.h"

#include <gtest/gtest.h>

#include <string>

#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

// Calls of the builders for a changed leaf without a meaning, with the names that a handler has resolved.
class BuiltLine : public ServerTest
{
protected:
    using Builder = int (*)(API_ENV_S* env, char* vsys, char* profile);

    CallResult build(Builder builder, const std::string& leaves, std::string profile = "webguard")
    {
        std::string vsys = "branch";
        return server.run("<group>" + leaves + "<changed/></group>", "//changed",
                          [&](API_ENV_S* env) { return builder(env, vsys.data(), profile.data()); });
    }

    CallResult build_set(const std::string& leaves, std::string profile = "webguard", std::string set = "web")
    {
        std::string vsys = "branch";
        return server.run("<group>" + leaves + "<changed/></group>", "//changed", [&](API_ENV_S* env) {
            return ips_cmd_zell_profile_signatureset_action(env, vsys.data(), profile.data(), set.data());
        });
    }

    // `call` is repeated with all settings of the switches.
    template <class Call>
    static void expect_line(const Call& call, const Line& line)
    {
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = call();
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, Lines{line});
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.cmd_oper, API_CMD_MOD) << "the builder leaves the command operation to the handler";
            EXPECT_EQ(r.output, setting.messages ? "[IPS]Operation: " + line.line + " \r\n" : "");
        }
    }

    template <class Call>
    void expect_error(const Call& call, NC_ERR code, const std::string& message, const std::string& debug_line)
    {
        server.fail_result = 42;
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = call();
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{code, message}}));
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.output, setting.messages ? debug_line : "");
        }
    }
};

Line profile_line(const std::string& line)
{
    return {"branch", "profile-ips-webguard", "profile-ips", line};
}

struct LineCase {
    std::string leaves;
    std::string line;
};

std::string action(std::string_view text)
{
    return leaf("action", text);
}

std::string interworking(std::string_view text)
{
    return leaf("interworking", text);
}

std::string empty_leaf(const std::string& name)
{
    return '<' + name + " text=''/>";
}

const std::string longest(63, 'a');
const std::string too_long(64, 'a');

// The builders that put a profile's name alone into the view.
TEST_F(BuiltLine, StandsInAViewThatIsCutAt127Bytes)
{
    const std::string leaves = leaf("domain-filter-enable", "true") + leaf("id", "5") + leaf("start-type", "5") +
                               leaf("end-type", "5") + action("alert");
    for (const Builder builder : {ips_cmd_zell_profile_cnc, ips_cmd_zell_profile_exception_signatureID,
                                  ips_cmd_zell_profile_dns_request_type}) {
        for (const std::size_t length : {115U, 116U, 127U}) {
            const CallResult r = build(builder, leaves, std::string(length, 'p'));
            ASSERT_EQ(r.lines.size(), 1U);
            EXPECT_EQ(r.lines[0].view, "profile-ips-" + std::string(115, 'p'));
        }
    }
}

// ----------------------------------------------------------------------------------- command and control: the filter
// --

class DomainFilterLine : public BuiltLine
{
protected:
    CallResult build(const std::string& leaves) { return BuiltLine::build(ips_cmd_zell_profile_cnc, leaves); }
};

std::string enable(std::string_view text)
{
    return leaf("domain-filter-enable", text);
}

TEST_F(DomainFilterLine, IsChosenByTheLeavesThatArePresent)
{
    const std::vector<LineCase> cases = {
        {enable("true"), "cnc domain-filter enable"},
        {enable("true") + action("block"), "cnc domain-filter enable action block"},
        {enable("true") + action("alert"), "cnc domain-filter enable action alert"},
        {action("alert") + enable("true"), "cnc domain-filter enable action alert"},
        {enable("true") + empty_leaf("action"), "cnc domain-filter enable"},
        {enable("true") + action(longest), "cnc domain-filter enable action " + longest},
        {enable("true") + action(too_long), "cnc domain-filter enable"},
        {enable("false"), "undo cnc domain-filter enable"},
        {enable("false") + action("block"), "undo cnc domain-filter enable"},
    };
    for (const LineCase& test : cases) {
        SCOPED_TRACE(test.leaves);
        expect_line([&] { return build(test.leaves); }, profile_line(test.line));
    }
}

TEST_F(DomainFilterLine, NeedsTheEnableLeaf)
{
    const std::string message = "Get error cnc/domain-filter-enable node information.";
    for (const std::string& leaves : {action("block"), std::string("<domain-filter-enable/>"),
                                      empty_leaf("domain-filter-enable"), enable(too_long)}) {
        SCOPED_TRACE(leaves);
        expect_error([&] { return build(leaves); }, NC_ERR_MISSING_ELEM, message,
                     "[IPS]ERROR: " + message + "\r\n\r\n");
    }
}

// Neither text ends as the others do.
TEST_F(DomainFilterLine, RefusesAnyOtherValue)
{
    for (const char* value : {"TRUE", "yes", "true ", "?"}) {
        SCOPED_TRACE(value);
        expect_error([&] { return build(enable(value) + action("block")); }, NC_ERR_INVALID_VALUE,
                     "Failed to check cnc domain-filter enable node information",
                     "[IPS]Failed to check cnc domain-filter enable node information.\r\n\r\n");
    }
}

// ---------------------------------------------------------------------------------------- a signature set's action --

class SignatureSetActionLine : public BuiltLine
{
};

TEST_F(SignatureSetActionLine, IsChosenByTheLeavesThatArePresent)
{
    const std::vector<LineCase> cases = {
        {action("default-type"), "action default"},
        {action("default-type") + interworking("block-both"), "action default interwork block-both"},
        {action("default-type") + empty_leaf("interworking"), "action default"},
        {action("default-type") + interworking(too_long), "action default"},
        {action("alert"), "action alert"},
        {action("block") + interworking("block-source-ip"), "action block interwork block-source-ip"},
        {interworking("block-source-ip") + action("block"), "action block interwork block-source-ip"},
        {action("block") + "<interworking/>", "action block"},
        // only that exact word has another name on the command line, and values are trusted
        {action("Default-type"), "action Default-type"},
        {action("default-type "), "action default-type "},
        {action("drop") + interworking("nothing"), "action drop interwork nothing"},
        {action(longest) + interworking(longest), "action " + longest + " interwork " + longest},
    };
    for (const LineCase& test : cases) {
        SCOPED_TRACE(test.leaves);
        expect_line([&] { return build_set(test.leaves); },
                    {"branch", "profile-ips-webguard-sigset-web", "ips-sigset", test.line});
    }
}

TEST_F(SignatureSetActionLine, StandsInAViewThatIsCutAt127Bytes)
{
    const std::string profile(60, 'p');
    for (const std::size_t length : {47U, 48U, 64U}) {
        const CallResult r = build_set(action("alert"), profile, std::string(length, 's'));
        ASSERT_EQ(r.lines.size(), 1U);
        EXPECT_EQ(r.lines[0].view, "profile-ips-" + profile + "-sigset-" + std::string(47, 's'));
    }
}

TEST_F(SignatureSetActionLine, NeedsTheAction)
{
    const std::string message = "Get error signatureset/action node information.";
    for (const std::string& leaves :
         {interworking("block-both"), std::string("<action/>"), empty_leaf("action"), action(too_long)}) {
        SCOPED_TRACE(leaves);
        expect_error([&] { return build_set(leaves); }, NC_ERR_MISSING_ELEM, message,
                     "[IPS]ERROR: " + message + "\r\n\r\n");
    }
}

// --------------------------------------------------------------------------------------------- exception signatures --

class ExceptionSignatureLine : public BuiltLine
{
protected:
    CallResult build(const std::string& leaves)
    {
        return BuiltLine::build(ips_cmd_zell_profile_exception_signatureID, leaves);
    }
};

std::string id(std::string_view text)
{
    return leaf("id", text);
}

std::string timeout(std::string_view text)
{
    return leaf("timeout", text);
}

TEST_F(ExceptionSignatureLine, IsChosenByTheLeavesThatArePresent)
{
    const std::string start = "exception ips-signature-id 100 ";
    const std::vector<LineCase> cases = {
        {id("100"), start},
        {id("100") + timeout("10"), start},
        {id("100") + timeout("10") + interworking("block-both"), start},
        {id("100") + empty_leaf("action") + interworking("block-both"), start},
        {id("100") + action(too_long), start},
        {id("100") + action("alert"), start + "action alert"},
        {id("100") + action("alert") + timeout("10"), start + "action alert"},
        {id("100") + action("alert") + interworking("block-both"), start + "action alert interwork block-both"},
        {id("100") + action("block") + timeout("10") + interworking("block-both"),
         start + "action block interwork block-both"},
        {id("100") + action("block-both") + timeout("10"), start + "action block-both"},
        {id("100") + action("block-source-ip "), start + "action block-source-ip "},
        {id("100") + action("block-source-ip"), start + "action block-source-ip"},
        {id("100") + action("block-source-ip") + timeout("10"), start + "action block-source-ip timeout 10"},
        {id("100") + action("block-destination-ip") + timeout("30"), start + "action block-destination-ip timeout 30"},
        {id("100") + action("block-source-ip") + empty_leaf("timeout"), start + "action block-source-ip"},
        {id("100") + action("block-source-ip") + timeout(too_long), start + "action block-source-ip"},
        {id("100") + action("block-source-ip") + interworking("block-both"),
         start + "action block-source-ip interwork block-both"},
        {id("100") + action("block-source-ip") + timeout("10") + interworking("block-both"),
         start + "action block-source-ip timeout 10 interwork block-both"},
        {id("100") + action("block-source-ip") + timeout("10") + interworking(too_long),
         start + "action block-source-ip timeout 10"},
        // values are trusted and go as they are
        {id("0100") + action("drop"), "exception ips-signature-id 0100 action drop"},
        {id(longest) + action("block-source-ip") + timeout(longest) + interworking(longest),
         "exception ips-signature-id " + longest + " action block-source-ip timeout " + longest + " interwork " +
             longest},
        {id(longest) + action(longest) + interworking(longest),
         "exception ips-signature-id " + longest + " action " + longest + " interwork " + longest},
    };
    for (const LineCase& test : cases) {
        SCOPED_TRACE(test.leaves);
        expect_line([&] { return build(test.leaves); }, profile_line(test.line));
    }
}

TEST_F(ExceptionSignatureLine, NeedsTheId)
{
    const std::string message = "Get error exception-signature/id information.";
    for (const std::string& leaves : {action("alert"), "<id/>" + action("alert"), empty_leaf("id"), id(too_long)}) {
        SCOPED_TRACE(leaves);
        expect_error([&] { return build(leaves); }, NC_ERR_MISSING_ELEM, message,
                     "[IPS]ERROR: " + message + "\r\n\r\n");
    }
}

// ------------------------------------------------------------------------------------------------- DNS request types
// --

class RequestTypeLine : public BuiltLine
{
protected:
    CallResult build(const std::string& leaves)
    {
        return BuiltLine::build(ips_cmd_zell_profile_dns_request_type, leaves);
    }
};

std::string range(std::string_view start, std::string_view end)
{
    return leaf("start-type", start) + leaf("end-type", end);
}

TEST_F(RequestTypeLine, IsChosenByTheNumbersAndCarriesTheTexts)
{
    const std::string start = "dns request-type check ";
    const std::vector<LineCase> cases = {
        {range("1", "255") + action("block"), start + "1 to 255 action block"},
        {range("5", "5") + action("alert"), start + "5 action alert"},
        {range("5", "05") + action("alert"), start + "5 action alert"},
        {range("05", "5") + action("alert"), start + "05 action alert"},
        {range("05", "06") + action("alert"), start + "05 to 06 action alert"},
        {action("allow") + leaf("end-type", "2") + leaf("start-type", "1"), start + "1 to 2 action allow"},
        // whole numbers are compared, not their low 32 bits
        {range("4294967301", "5") + action("alert"), start + "4294967301 to 5 action alert"},
        // the action is not looked at
        {range("5", "5"), start + "5 action "},
        {range("5", "5") + empty_leaf("action"), start + "5 action "},
        {range("1", "2") + action(too_long), start + "1 to 2 action "},
        // nor is what stands behind a number
        {range("5", "5a") + action("drop"), start + "5 action drop"},
        {range("a", "b") + action("drop"), start + "a action drop"},
        {range("1" + std::string(62, '0'), longest) + action(longest),
         start + "1" + std::string(62, '0') + " to " + longest + " action " + longest},
    };
    for (const LineCase& test : cases) {
        SCOPED_TRACE(test.leaves);
        expect_line([&] { return build(test.leaves); }, profile_line(test.line));
    }
}

TEST_F(RequestTypeLine, NeedsBothEnds)
{
    const std::string message = "The start type or action or end type is NULL.";
    for (const std::string& leaves :
         {leaf("start-type", "1") + action("alert"), leaf("end-type", "1") + action("alert"), action("alert"),
          "<start-type/>" + leaf("end-type", "1"), leaf("start-type", "1") + empty_leaf("end-type"),
          range("1", too_long), range(too_long, "1")}) {
        SCOPED_TRACE(leaves);
        expect_error([&] { return build(leaves); }, NC_ERR_MISSING_ELEM, message,
                     "[IPS]ERROR: " + message + "\r\n\r\n");
    }
}

} // namespace
