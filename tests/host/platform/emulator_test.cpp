// The emulated device: what lines do to its configuration, and what it refuses.
#include "platform/emulator.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/command_grammar.h"
#include "platform/device_xml.h"
#include "transapi/netconf_error.h"

namespace
{

using namespace qnips;

using Lines = std::vector<CommandLine>;

CommandLine on_device(std::string text)
{
    return {.vsys = {}, .view = "system", .view_type = {}, .text = std::move(text)};
}
CommandLine in_vsys(std::string text)
{
    return {.vsys = "branch", .view = "system", .view_type = {}, .text = std::move(text)};
}
CommandLine in_management(std::string text)
{
    return {.vsys = "public", .view = "vsys-branch", .view_type = "mgmt-vsys", .text = std::move(text)};
}
CommandLine in_profile(std::string text)
{
    return {.vsys = "branch", .view = "profile-ips-web", .view_type = "profile-ips", .text = std::move(text)};
}
CommandLine in_set(std::string text)
{
    return {.vsys = "branch", .view = "profile-ips-web-sigset-all", .view_type = "ips-sigset", .text = std::move(text)};
}
CommandLine in_signature(std::string text)
{
    return {.vsys = "branch", .view = "ips-signature-7", .view_type = "ips-signature", .text = std::move(text)};
}
CommandLine in_rule(std::string text)
{
    return {
        .vsys = "branch", .view = "ips-signature-7-rule-r", .view_type = "ips-signature-rule", .text = std::move(text)};
}

// A catalogue of two categories, one of them divided.
SignatureCatalogue small_catalogue()
{
    std::istringstream text("category | Overflow | Stack-Overflow, Heap-Overflow\n"
                            "category | Worm | -\n");
    return SignatureCatalogue(text);
}

class Emulator : public testing::Test
{
protected:
    Emulator() : catalogue_(small_catalogue()), device_(catalogue_) {}

    void run(const Lines& lines)
    {
        for (const CommandLine& line : lines) {
            const std::optional<PlatformError> error = device_.execute(std::vector{line}, 0);
            ASSERT_EQ(error, std::nullopt) << error->message;
        }
    }

    // The configuration without the elements around it and without white space between elements.
    std::string configuration()
    {
        std::istringstream text(device_.configuration().text());
        std::string joined;
        for (std::string line; std::getline(text, line);)
            joined += line.substr(std::min(line.find_first_not_of(' '), line.size()));
        return joined;
    }

    SignatureCatalogue catalogue_;
    EmulatedPlatform device_;
};

// ---------------------------------------------------------------------------------------------- configuration --

// What is in the innermost of the elements that every line of a group is about.
struct ConfigurationCase {
    const char* name;
    Lines lines;
    std::string inner;

    friend void PrintTo(const ConfigurationCase& test, std::ostream* out) { *out << test.name; }
};

const Lines profile{in_vsys("profile type ips name \"web\"")};
const Lines set{in_vsys("profile type ips name \"web\""), in_profile("signature-set name \"all\"")};
const Lines basic{in_vsys("ips signature-id 7"), in_signature("protocol HTTP"), in_signature("rule name \"r\"")};
const Lines associated{in_vsys("ips signature-id 7"), in_signature("rule name \"r\"")};

Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

class EmulatorConfiguration : public Emulator, public testing::WithParamInterface<ConfigurationCase>
{
};

TEST_P(EmulatorConfiguration, IsWhatTheLinesMakeIt)
{
    ASSERT_NO_FATAL_FAILURE(run(GetParam().lines));
    EXPECT_NE(configuration().find(GetParam().inner), std::string::npos)
        << "expected: " << GetParam().inner << "\nseen:     " << configuration();
}

const ConfigurationCase configuration_cases[] = {
    {"VsysWithoutTheFunction",
     {in_management("undo assign function ips")},
     "<vsys><name>branch</name><ips-enable>false</ips-enable></vsys>"},
    {"VsysWithTheFunction",
     {in_management("undo assign function ips"), in_management("assign function ips")},
     "<ips-enable>true</ips-enable>"},
    {"DomainNames",
     {in_vsys("cnc domain-filter exception domain-name a.example"),
      in_vsys("cnc domain-filter exception domain-name b.example"),
      in_vsys("undo cnc domain-filter exception domain-name a.example")},
     "<exception-domain-name-information><exception-domain-name>b.example</exception-domain-name>"
     "</exception-domain-name-information>"},
    {"ProfileLeaves",
     profile + Lines{in_profile("description a \"b\" c"), in_profile("assoc-check enable"),
                     in_profile("collect-attack-evidence enable"), in_profile("undo collect-attack-evidence enable")},
     "<profile><name>web</name><associated-check-enable>true</associated-check-enable>"
     "<description>a &quot;b&quot; c</description></profile>"},
    {"FilterWithAction", profile + Lines{in_profile("cnc domain-filter enable action block")},
     "<action>block</action><domain-filter-enable>true</domain-filter-enable>"},
    {"FilterLosesItsAction",
     profile + Lines{in_profile("cnc domain-filter enable action block"), in_profile("cnc domain-filter enable")},
     "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"},
    {"SetsInTheirOrder",
     profile + Lines{in_profile("signature-set name \"a\""), in_profile("signature-set name \"b b\""),
                     in_profile("signature-set name \"c\""), in_profile("signature-set move \"c\" before a"),
                     in_profile("signature-set move \"a\" after \"b b\"")},
     "<signature-set><name>c</name></signature-set><signature-set><name>b b</name></signature-set>"
     "<signature-set><name>a</name></signature-set>"},
    {"SetBeforeItself",
     profile + Lines{in_profile("signature-set name \"a\""), in_profile("signature-set name \"b\""),
                     in_profile("signature-set move \"a\" before a")},
     "<name>a</name></signature-set><signature-set><name>b</name>"},
    {"SetMadeTwice", profile + Lines{in_profile("signature-set name \"a\""), in_profile("signature-set name \"a\"")},
     "<signature-sets><signature-set><name>a</name></signature-set></signature-sets>"},
    {"SetThatSelects",
     set + Lines{in_set("action default interwork block-both"), in_set("target client"), in_set("severity high"),
                 in_set("severity low"), in_set("undo severity high"), in_set("os ios"), in_set("application HTTP"),
                 in_set("protocol all")},
     "<application><all-application>false</all-application><specifed-application>HTTP</specifed-application>"
     "</application><operating-system>ios</operating-system><protocol><all-protocol>true</all-protocol></protocol>"
     "<severity>low</severity><signature-set-action><action>default-type</action><interworking>block-both"
     "</interworking></signature-set-action><target>client</target>"},
    {"EverythingInPlaceOfSingleEntries", set + Lines{in_set("application HTTP"), in_set("application all")},
     "<application><all-application>true</all-application></application>"},
    {"Categories", set + Lines{in_set("category Worm"), in_set("category Heap-Overflow")},
     "<category><all-category>false</all-category><specifed-category><name>Overflow</name>"
     "<all-sub-category>false</all-sub-category><sub-category><name>Heap-Overflow</name></sub-category>"
     "</specifed-category><specifed-category><name>Worm</name><all-sub-category>true</all-sub-category>"
     "</specifed-category></category>"},
    {"CategoryTakesItsSubCategoriesAlong",
     set + Lines{in_set("category Heap-Overflow"), in_set("category Stack-Overflow"), in_set("undo category Overflow")},
     "<category><all-category>false</all-category></category>"},
    {"LastSubCategoryTakesTheCategoryAlong",
     set + Lines{in_set("category Heap-Overflow"), in_set("undo category Heap-Overflow")},
     "<category><all-category>false</all-category></category>"},
    {"ExceptionLosesItsTimeout",
     profile +
         Lines{in_profile("exception ips-signature-id 1025 action block-source-ip timeout 5 interwork block-both"),
               in_profile("exception ips-signature-id 1025 action block-source-ip interwork block-both")},
     "<exception-signature><id>1025</id><action>block-source-ip</action><interworking>block-both</interworking>"
     "</exception-signature>"},
    {"ExceptionWithoutAction", profile + Lines{in_profile("exception ips-signature-id 1025 ")},
     "<exception-signature><id>1025</id></exception-signature>"},
    {"RequestTypes",
     profile + Lines{in_profile("dns request-type check 5 to 9 action block"),
                     in_profile("dns request-type check 20 action alert"),
                     in_profile("undo dns request-type check 5 to 9"),
                     in_profile("dns request-type check default-action block")},
     "<dns-check><request-type><start-type>20</start-type><action>alert</action><end-type>20</end-type>"
     "</request-type><request-type-default-action>block</request-type-default-action></dns-check>"},
    {"HttpChecks",
     profile + Lines{in_profile("http multi-host check action alert"),
                     in_profile("http ssh-over-http check action block"), in_profile("undo http multi-host check"),
                     in_profile("http x-online-host check any action alert"),
                     in_profile("http x-online-host blacklist a.example"),
                     in_profile("http x-forwarded-for check whitelist action block"),
                     in_profile("http x-forwarded-for whitelist ipv4 192.0.2.1")},
     "<http-check><ssh-over-http-action>block</ssh-over-http-action><x-forwarded-for><check-type-action>"
     "<action>block</action><type>whitelist</type></check-type-action><whitelist>192.0.2.1</whitelist>"
     "</x-forwarded-for><x-online-host><blacklist>a.example</blacklist><check-type-action><action>alert</action>"
     "<type>any</type></check-type-action></x-online-host></http-check>"},
    {"SignatureLeaves",
     Lines{in_vsys("ips signature-id 7"), in_signature("name \"two words\""), in_signature("description d e"),
           in_signature("target both"), in_signature("severity high"), in_signature("action allow"),
           in_signature("undo target")},
     "<signature><id>7</id><action>allow</action><associated-enable>false</associated-enable><description>d e"
     "</description><name>two words</name><severity>high</severity></signature>"},
    {"RuleOfABasicSignature",
     basic + Lines{in_rule("scope flow"), in_rule("check sequential"), in_rule("source-port 1 2"),
                   in_rule("destination-port 80 80")},
     "<protocol-rules><protocol>HTTP</protocol><rules><signature-rule><name>r</name><destination-port>"
     "<end-port>80</end-port><start-port>80</start-port></destination-port><scope>flow</scope>"
     "<sequence>sequential</sequence><source-port><end-port>2</end-port><start-port>1</start-port></source-port>"
     "</signature-rule></rules></protocol-rules>"},
    {"NetworkInPlaceOfARange",
     basic + Lines{in_rule("source-ip ipv4 10.0.0.1 10.0.0.9"), in_rule("source-ip ipv4 192.0.2.0 24")},
     "<signature-rule><name>r</name><source-ip>192.0.2.0/24</source-ip></signature-rule>"},
    {"RangeInPlaceOfAnAddress",
     basic + Lines{in_rule("destination-ip ipv6 2001:db8::1"), in_rule("destination-ip ipv6 2001:db8::1 2001:db8::2")},
     "<signature-rule><name>r</name><destination-ip-range><end-ip>2001:db8::2</end-ip><start-ip>2001:db8::1"
     "</start-ip></destination-ip-range></signature-rule>"},
    {"Condition",
     basic + Lines{in_rule("condition 1 field uri operate gthan value \"a b\" offset 3 direction both "),
                   in_rule("condition 1 field uri operate gthan value \"a b\" direction both ")},
     "<rule-condition><id>1</id><direction>both</direction><field-name>uri</field-name>"
     "<operator>greater-than</operator><value>a b</value></rule-condition>"},
    {"PrefixMatch", basic + Lines{in_rule("condition 1 field uri operate pmatch value /x offset begin depth 100 ")},
     "<depth>100</depth><field-name>uri</field-name><operator>prefix-match</operator><value>/x</value>"},
    {"PatternMatch", basic + Lines{in_rule("condition 1 field uri operate pmatch value /x ")},
     "<operator>pattern-match</operator><value>/x</value>"},
    {"RuleOfAnAssociatedSignature",
     associated + Lines{in_rule("condition associated signature-id 9 threshold 10 interval 20 "),
                        in_rule("condition associated signature-id 9 threshold 30")},
     "<associated-enable>true</associated-enable><signature-rule-information><associated-rule><signature-rule>"
     "<name>r</name><associated-condition><interval>20</interval><signature-id>9</signature-id>"
     "<threshold>30</threshold></associated-condition></signature-rule></associated-rule>"},
    {"ProtocolTakesTheRulesAlong", basic + Lines{in_rule("scope flow"), in_signature("undo protocol")},
     "<signature><id>7</id><associated-enable>false</associated-enable></signature>"},
    {"PredefinedSignature",
     Lines{on_device("ips signature-state signature-id 1025 disabled "),
           on_device("ips associated pre-defined signature-id 1025 threshold 5 interval 6 "),
           on_device("ips associated pre-defined signature-id 1025 interval 6 ")},
     "<predefined-signatures><signature><id>1025</id><associated-condition><interval>6</interval>"
     "</associated-condition><config-state>disable</config-state></signature></predefined-signatures>"},
    {"GlobalSettings",
     Lines{on_device("ips collect-attack-evidence max-session-number 5 "),
           on_device("ips collect-attack-evidence max-session-number 99 signature-id 1025 "),
           on_device("ips signature regular-expression unlimit "), on_device("engine log ips enable "),
           on_device("ips log merge enable "), on_device("undo ips log merge enable "),
           on_device("ips signature-state disabled ")},
     "<global-config><engine-log-switch>true</engine-log-switch><global-max-session-number>"
     "<default-session-number>5</default-session-number><session-number-signature><signature-id>1025</signature-id>"
     "<session-number>99</session-number></session-number-signature></global-max-session-number>"
     "<global-signature-state>disable</global-signature-state>"
     "<regular-expression-unlimit>true</regular-expression-unlimit></global-config>"},
    {"ProfileThatHasLostEverything",
     set + Lines{in_profile("description d"), in_profile("undo description"), in_profile("assoc-check enable"),
                 in_profile("undo assoc-check enable"), in_profile("cnc domain-filter enable"),
                 in_profile("undo cnc domain-filter enable"), in_profile("exception ips-signature-id 5 action alert"),
                 in_profile("undo exception ips-signature-id 5"), in_profile("undo signature-set name \"all\"")},
     "<profile><name>web</name></profile>"},
    {"ChecksThatHaveGone",
     profile +
         Lines{in_profile("dns malformed-packet check action alert"), in_profile("undo dns malformed-packet check"),
               in_profile("http ssh-over-http check action alert"), in_profile("undo http ssh-over-http check"),
               in_profile("http x-online-host check any action alert"), in_profile("undo http x-online-host check"),
               in_profile("http x-online-host blacklist a"), in_profile("undo http x-online-host blacklist a"),
               in_profile("http x-forwarded-for check any action alert"), in_profile("undo http x-forwarded-for check"),
               in_profile("http x-forwarded-for whitelist ipv4 a"),
               in_profile("undo http x-forwarded-for whitelist ipv4 a"),
               in_profile("http multi-host check action alert"), in_profile("undo http multi-host check")},
     "<profile><name>web</name></profile>"},
    {"SetThatHasLostEverything",
     set + Lines{in_set("action alert"), in_set("undo action"), in_set("target both"), in_set("undo target"),
                 in_set("os ios"), in_set("undo os ios"), in_set("application x"), in_set("undo application x"),
                 in_set("undo application all"), in_set("protocol x"), in_set("undo protocol x"),
                 in_set("undo protocol all"), in_set("category all"), in_set("undo category all")},
     "<signature-set><name>all</name></signature-set>"},
    {"SignatureThatHasLostEverything",
     basic + Lines{in_signature("name n"), in_signature("undo name"), in_signature("description d"),
                   in_signature("undo description"), in_signature("severity low"), in_signature("undo severity"),
                   in_signature("action alert"), in_signature("undo action"), in_signature("target both"),
                   in_signature("undo target"), in_signature("undo rule name \"r\"")},
     "<signature><id>7</id><associated-enable>false</associated-enable><signature-rule-information><protocol-rules>"
     "<protocol>HTTP</protocol></protocol-rules></signature-rule-information></signature>"},
    {"SignatureThatHasGone", basic + Lines{in_vsys("undo ips signature-id 7")}, "<vsys><name>branch</name></vsys>"},
    {"RuleThatHasLostEverything",
     basic + Lines{in_rule("scope flow"), in_rule("undo scope"), in_rule("check sequential"), in_rule("undo check"),
                   in_rule("source-ip ipv4 10.0.0.1 10.0.0.2"), in_rule("undo source-ip"),
                   in_rule("destination-ip ipv4 10.0.0.1"), in_rule("undo destination-ip"), in_rule("source-port 1 2"),
                   in_rule("undo source-port"), in_rule("destination-port 1 2"), in_rule("undo destination-port"),
                   in_rule("condition 0 field f operate equal value 1 "), in_rule("undo condition 0")},
     "<signature-rule><name>r</name></signature-rule>"},
    {"AssociatedConditionThatHasGone",
     associated + Lines{in_rule("condition associated signature-id 9 "), in_rule("undo condition associated")},
     "<signature-rule><name>r</name></signature-rule>"},
    {"DeviceThatHasLostEverything",
     Lines{on_device("ips associated pre-defined signature-id 1025 threshold 5 "),
           on_device("undo ips associated pre-defined signature-id 1025 "),
           on_device("ips collect-attack-evidence max-session-number 5 "),
           on_device("undo ips collect-attack-evidence max-session-number"),
           on_device("ips collect-attack-evidence max-session-number 9 signature-id 1025 "),
           on_device("undo ips collect-attack-evidence max-session-number signature-id 1025 "),
           on_device("ips signature regular-expression unlimit "),
           on_device("undo ips signature regular-expression unlimit "), on_device("engine log ips enable "),
           on_device("undo engine log ips enable "), on_device("ips signature-state enabled "),
           on_device("undo ips signature-state ")},
     "<predefined-signatures><signature><id>1025</id></signature></predefined-signatures>"},
};

std::string configuration_case_name(const testing::TestParamInfo<ConfigurationCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, EmulatorConfiguration, testing::ValuesIn(configuration_cases), configuration_case_name);

// --------------------------------------------------------------------------------------------------- refusals --

struct RefusalCase {
    const char* name;
    Lines before;
    CommandLine line;
    int code;
    std::string reason;

    friend void PrintTo(const RefusalCase& test, std::ostream* out) { *out << test.name; }
};

class EmulatorRefusal : public Emulator, public testing::WithParamInterface<RefusalCase>
{
};

TEST_P(EmulatorRefusal, NamesTheLineAndChangesNothing)
{
    const RefusalCase& test = GetParam();
    ASSERT_NO_FATAL_FAILURE(run(test.before));
    const std::string before = configuration();
    // The line before the refused one does not stay either.
    EXPECT_EQ(device_.execute(std::vector{in_vsys("profile type ips name \"new\""), test.line}, 0),
              (PlatformError{test.code, test.reason, test.line}));
    EXPECT_EQ(configuration(), before);
}

CommandLine in_view(std::optional<std::string> vsys, std::string view, std::optional<std::string> type)
{
    return {.vsys = std::move(vsys), .view = std::move(view), .view_type = std::move(type), .text = "undo description"};
}

const RefusalCase refusal_cases[] = {
    {"ViewOfAMissingProfile",
     {},
     in_profile("undo description"),
     NC_ERR_SET_VIEW,
     "virtual system branch has no view profile-ips-web"},
    {"ViewOfAProfileOfAnotherVsys", profile, in_view("other", "profile-ips-web", "profile-ips"), NC_ERR_SET_VIEW,
     "virtual system other has no view profile-ips-web"},
    {"ViewOfARemovedProfile", profile + Lines{in_vsys("undo profile type ips name \"web\"")},
     in_profile("undo description"), NC_ERR_SET_VIEW, "virtual system branch has no view profile-ips-web"},
    {"ViewOfAMissingSet", profile, in_set("undo target"), NC_ERR_SET_VIEW,
     "virtual system branch has no view profile-ips-web-sigset-all"},
    {"ViewOfAMissingSignature",
     {},
     in_signature("undo name"),
     NC_ERR_SET_VIEW,
     "virtual system branch has no view ips-signature-7"},
    {"ViewOfAMissingRule",
     {in_vsys("ips signature-id 7")},
     in_rule("undo scope"),
     NC_ERR_SET_VIEW,
     "virtual system branch has no view ips-signature-7-rule-r"},
    {"ViewOfAnotherType", profile, in_view("branch", "profile-ips-web", "ips-sigset"), NC_ERR_SET_VIEW,
     "virtual system branch has no view profile-ips-web"},
    {"ViewWithoutItsType", profile, in_view("branch", "profile-ips-web", std::nullopt), NC_ERR_SET_VIEW,
     "virtual system branch has no view profile-ips-web"},
    {"ViewOfNoVsys", profile, in_view(std::nullopt, "profile-ips-web", "profile-ips"), NC_ERR_SET_VIEW,
     "the device has no view profile-ips-web"},
    {"ManagementFromAnotherVsys",
     {},
     in_view("branch", "vsys-branch", "mgmt-vsys"),
     NC_ERR_SET_VIEW,
     "virtual system branch has no view vsys-branch"},
    {"UnknownCommand", {}, in_vsys("shutdown"), NC_ERR_PARSE_COMMAND, "unknown command"},
    {"CommandOfAnotherView", profile, in_profile("scope flow"), NC_ERR_PARSE_COMMAND, "unknown command"},
    {"EmptyLine", {}, in_vsys(""), NC_ERR_PARSE_COMMAND, "unknown command"},
    {"CommandWithABadWord", basic, in_rule("scope host"), NC_ERR_PARSE_COMMAND, "unknown command"},
    {"CommandWithABadNumber", {}, in_vsys("ips signature-id 1025"), NC_ERR_PARSE_COMMAND, "unknown command"},
    {"ProfileThatIsNotThere",
     {},
     in_vsys("undo profile type ips name \"x y\""),
     NC_ERR_COMMAND_EXECUTE,
     "there is no profile x y"},
    {"SetBehindOneThatIsNotThere", set, in_profile("signature-set move \"all\" after \"other one\""),
     NC_ERR_COMMAND_EXECUTE, "there is no signature-set other one"},
    {"SetThatIsNotThereMoved", set, in_profile("signature-set move \"other\" before all"), NC_ERR_COMMAND_EXECUTE,
     "there is no signature-set other"},
    {"SeverityThatIsNotSelected", set, in_set("undo severity high"), NC_ERR_COMMAND_EXECUTE,
     "there is no severity high"},
    {"CategoryUnknown", set, in_set("category Phishing"), NC_ERR_COMMAND_EXECUTE, "there is no category Phishing"},
    {"CategoryThatIsNotSelected", set, in_set("undo category Worm"), NC_ERR_COMMAND_EXECUTE,
     "category Worm is not selected"},
    {"SubCategoryThatIsNotSelected", set, in_set("undo category Heap-Overflow"), NC_ERR_COMMAND_EXECUTE,
     "category Heap-Overflow is not selected"},
    {"RequestTypeWithAnotherEnd", profile + Lines{in_profile("dns request-type check 5 to 9 action block")},
     in_profile("undo dns request-type check 5"), NC_ERR_COMMAND_EXECUTE, "there is no request type 5 to 5"},
    {"RuleThatIsNotThere",
     {in_vsys("ips signature-id 7")},
     in_signature("undo rule name \"r\""),
     NC_ERR_COMMAND_EXECUTE,
     "there is no rule r"},
    {"ConditionThatIsNotThere", basic, in_rule("undo condition 0"), NC_ERR_COMMAND_EXECUTE,
     "there is no rule-condition 0"},
    {"AddressThatIsNotThere", basic, in_rule("undo source-ip"), NC_ERR_COMMAND_EXECUTE, "there is no source-ip"},
    {"AddressOfTheOtherFamily", basic, in_rule("source-ip ipv4 ::1"), NC_ERR_COMMAND_EXECUTE, "::1 is no ipv4 address"},
};

std::string refusal_case_name(const testing::TestParamInfo<RefusalCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, EmulatorRefusal, testing::ValuesIn(refusal_cases), refusal_case_name);

// ------------------------------------------------------------------------------------------------------ device --

TEST_F(Emulator, StartsWithoutAConfiguration)
{
    EXPECT_EQ(device_.configuration().text(), "");
    EXPECT_EQ(device_.execute({}, 0), std::nullopt);
    EXPECT_TRUE(device_.first_signature_set("branch", "web").is_none());
}

TEST_F(Emulator, NamesTheFirstSetOfAProfile)
{
    run(set);
    EXPECT_EQ(device_.first_signature_set("branch", "web").text(), "all");
    run({in_profile("signature-set name \"first\""), in_profile("signature-set move \"first\" before all")});
    EXPECT_EQ(device_.first_signature_set("branch", "web").text(), "first");
    run({in_profile("undo signature-set name \"first\"")});
    EXPECT_EQ(device_.first_signature_set("branch", "web").text(), "all");
    EXPECT_TRUE(device_.first_signature_set("other", "web").is_none());
}

TEST_F(Emulator, DropsTheConfigurationOfAVsysThatHasGone)
{
    run(set);
    run({on_device("engine log ips enable ")});
    device_.remove_vsys("branch");
    device_.remove_vsys("never-there");
    EXPECT_EQ(configuration().find("branch"), std::string::npos);
    EXPECT_NE(configuration().find("<engine-log-switch>true"), std::string::npos);
}

TEST_F(Emulator, TellsProfileAndSetApartByWhatThereIs)
{
    run({in_vsys("profile type ips name \"a-sigset-b\"")});
    const CommandLine make{.vsys = "branch",
                           .view = "profile-ips-a-sigset-b",
                           .view_type = "profile-ips",
                           .text = "signature-set name \"c-sigset-d\""};
    const CommandLine use{.vsys = "branch",
                          .view = "profile-ips-a-sigset-b-sigset-c-sigset-d",
                          .view_type = "ips-sigset",
                          .text = "target both"};
    run({make, use});
    EXPECT_NE(configuration().find("<name>c-sigset-d</name><target>both</target>"), std::string::npos);
}

// Nothing in the table stands there for nothing: each command is tried by one of the lines above.
TEST(CommandGrammar, HasNoCommandWithoutATest)
{
    std::vector<CommandLine> lines;
    for (const ConfigurationCase& test : configuration_cases)
        lines.insert(lines.end(), test.lines.begin(), test.lines.end());
    for (const RefusalCase& test : refusal_cases)
        lines.push_back(test.line);
    std::set<std::string> untried;
    for (const Command& command : commands()) {
        bool tried = false;
        for (const CommandLine& line : lines)
            tried = tried || command.pattern.match(line.text).has_value();
        if (!tried)
            untried.insert(std::string(name_of(command.view)) + ": " + std::string(command.pattern.text()));
    }
    EXPECT_EQ(untried, std::set<std::string>{});
}

} // namespace
