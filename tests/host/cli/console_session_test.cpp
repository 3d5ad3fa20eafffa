// A console without its terminal: its own words, the views that lines enter and leave, and what is refused.
#include "cli/console_session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "platform/command_grammar.h"
#include "platform/device_view.h"
#include "transapi/command_platform.h"

namespace
{

using qnips::below;
using qnips::Command;
using qnips::CommandLine;
using qnips::commands;
using qnips::CommandView;
using qnips::DevicePath;
using qnips::EmulatedPlatform;
using qnips::find_place;
using qnips::line_at;
using qnips::Place;
using qnips::rule_path;
using qnips::SignatureCatalogue;
using qnips::vsys_node_path;
using qnips::cli::ConsoleAnswer;
using qnips::cli::ConsoleSession;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Kind = ConsoleAnswer::Kind;
using Lines = std::vector<std::string>;

SignatureCatalogue small_catalogue()
{
    std::istringstream text("category | Overflow | Stack-Overflow\n");
    return SignatureCatalogue(text);
}

class Console : public testing::Test
{
protected:
    void type(const Lines& lines)
    {
        for (const std::string& line : lines)
            EXPECT_EQ(session_.enter(line), ConsoleAnswer{}) << line;
    }

    std::string configuration() { return device_.configuration().text(); }

    SignatureCatalogue catalogue_ = small_catalogue();
    EmulatedPlatform device_{catalogue_};
    ConsoleSession session_{device_};
};

const Lines vsys = {":vsys branch"};
const Lines profile = {":vsys branch", "profile type ips name web"};
const Lines set = {":vsys branch", "profile type ips name web", "signature-set name \"all others\""};
const Lines signature = {":vsys branch", "ips signature-id 7"};
const Lines basic_rule = {":vsys branch", "ips signature-id 7", "protocol HTTP", "rule name login"};
const Lines associated_rule = {":vsys branch", "ips signature-id 7", "rule name login"};

Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

// ------------------------------------------------------------------------------------------------------- views --

struct ViewCase {
    const char* name;
    Lines lines;
    std::string prompt;

    friend void PrintTo(const ViewCase& test, std::ostream* out) { *out << test.name; }
};

class ConsoleView : public Console, public testing::WithParamInterface<ViewCase>
{
};

TEST_P(ConsoleView, IsShownByThePrompt)
{
    type(GetParam().lines);
    EXPECT_EQ(session_.prompt(), GetParam().prompt);
}

const ViewCase view_cases[] = {
    {"DeviceAtTheStart", {}, "[device]"},
    {"Vsys", vsys, "[vsys branch]"},
    {"VsysWithABlank", {":vsys \"branch office\""}, "[vsys branch office]"},
    {"VsysFromWithinAnother", set + Lines{":vsys dmz"}, "[vsys dmz]"},
    {"Management", {":manage branch"}, "[management of vsys branch]"},
    {"Profile", profile, "[vsys branch, profile web]"},
    {"ProfileThatIsThere", profile + Lines{":up", "profile type ips name web"}, "[vsys branch, profile web]"},
    {"SignatureSet", set, "[vsys branch, profile web, signature-set all others]"},
    {"Signature", signature, "[vsys branch, signature 7]"},
    {"RuleBelowAProtocol", basic_rule, "[vsys branch, signature 7, rule login]"},
    {"RuleOfAnAssociatedSignature", associated_rule, "[vsys branch, signature 7, rule login]"},
    {"ObjectWithoutAView", vsys + Lines{"cnc domain-filter exception domain-name a.example"}, "[vsys branch]"},
    {"RemovalOfAnObject", profile + Lines{":up", "undo profile type ips name web"}, "[vsys branch]"},
    {"ListEntryWithoutAView", profile + Lines{"exception ips-signature-id 1025"}, "[vsys branch, profile web]"},
    {"OrdinaryLine", profile + Lines{"assoc-check enable"}, "[vsys branch, profile web]"},
    {"UpFromASet", set + Lines{":up"}, "[vsys branch, profile web]"},
    {"UpFromAProfile", profile + Lines{":up"}, "[vsys branch]"},
    {"UpFromABasicRule", basic_rule + Lines{":up"}, "[vsys branch, signature 7]"},
    {"UpFromAnAssociatedRule", associated_rule + Lines{":up"}, "[vsys branch, signature 7]"},
    {"UpFromASignature", signature + Lines{":up"}, "[vsys branch]"},
    {"UpFromAVsys", vsys + Lines{":up"}, "[device]"},
    {"UpFromTheManagement", {":manage branch", ":up"}, "[device]"},
    {"UpFromTheDevice", {":up"}, "[device]"},
    {"Top", set + Lines{":top"}, "[device]"},
    {"ViewOfTheSystem", profile + Lines{":view system"}, "[vsys branch]"},
    {"ViewOfASet", set + Lines{":top", ":vsys branch", ":view \"profile-ips-web-sigset-all others\" ips-sigset"},
     "[vsys branch, profile web, signature-set all others]"},
    {"ViewOfARule", basic_rule + Lines{":vsys branch", ":view ips-signature-7-rule-login ips-signature-rule"},
     "[vsys branch, signature 7, rule login]"},
    {"ViewOfTheManagement", {":vsys public", ":view vsys-branch mgmt-vsys"}, "[management of vsys branch]"},
    {"BlanksAroundALine", {"  :vsys branch \t\r"}, "[vsys branch]"},
    {"NothingAndComments", vsys + Lines{"", "   ", "# profile type ips name web"}, "[vsys branch]"},
};

std::string view_case_name(const testing::TestParamInfo<ViewCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, ConsoleView, testing::ValuesIn(view_cases), view_case_name);

// Lines for a place are executed in that place.
TEST_F(Console, AddressesEveryPlaceAsTheDeviceUnderstandsIt)
{
    type(basic_rule);
    type(set);
    const DevicePath vsys_node = vsys_node_path("branch");
    const DevicePath profile_node = below(below(vsys_node, "profiles"), "profile", "web");
    const DevicePath signature_node = below(below(vsys_node, "user-defined-signatures"), "signature", "7");
    const Place places[] = {
        {CommandView::device, {}},
        {CommandView::vsys, vsys_node},
        {CommandView::management, vsys_node},
        {CommandView::profile, profile_node},
        {CommandView::signature_set, below(below(profile_node, "signature-sets"), "signature-set", "all others")},
        {CommandView::signature, signature_node},
        {CommandView::rule, rule_path(device_.device(), signature_node, "login")},
    };
    for (const Place& place : places) {
        const auto found = find_place(device_.device(), line_at(place));
        ASSERT_TRUE(std::holds_alternative<Place>(found)) << to_string(place.node);
        EXPECT_EQ(std::get<Place>(found).view, place.view);
        EXPECT_EQ(std::get<Place>(found).node, place.node);
    }
}

TEST_F(Console, LeavesTheViewsOfObjectsThatGo)
{
    const struct {
        Lines lines;
        CommandLine removal; // from elsewhere
        std::string prompt;
    } cases[] = {
        {set,
         {.vsys = "branch",
          .view = "profile-ips-web",
          .view_type = "profile-ips",
          .text = "undo signature-set name \"all others\""},
         "[vsys branch, profile web]"},
        {set,
         {.vsys = "branch", .view = "system", .view_type = {}, .text = "undo profile type ips name web"},
         "[vsys branch]"},
        {profile,
         {.vsys = "branch", .view = "system", .view_type = {}, .text = "undo profile type ips name web"},
         "[vsys branch]"},
        {basic_rule,
         {.vsys = "branch", .view = "ips-signature-7", .view_type = "ips-signature", .text = "undo protocol"},
         "[vsys branch, signature 7]"},
        {basic_rule,
         {.vsys = "branch", .view = "system", .view_type = {}, .text = "undo ips signature-id 7"},
         "[vsys branch]"},
    };
    for (const auto& [lines, removal, prompt] : cases) {
        type(lines);
        ASSERT_EQ(device_.execute(std::vector{removal}, API_CMD_DEL), std::nullopt);
        EXPECT_EQ(session_.prompt(), prompt) << removal.text;
    }
}

TEST_F(Console, LeavesTheViewsOfAVirtualSystemThatGoes)
{
    type(set);
    type({":remove-vsys branch"});
    EXPECT_EQ(session_.prompt(), "[vsys branch]") << "it is not the console that says which virtual systems there are";
    EXPECT_EQ(configuration(), "");
}

TEST_F(Console, ExecutesNoLineInAViewThatHasGone)
{
    type(profile);
    device_.remove_vsys("branch");
    EXPECT_EQ(session_.enter("description x").kind, Kind::refused);
    EXPECT_EQ(configuration(), "");
}

// -------------------------------------------------------------------------------------------------------- lines --

TEST_F(Console, GivesLinesToTheDeviceInTheirView)
{
    type({":manage branch", "assign function ips"});
    type(profile);
    type({"description  two \"words\" ", "signature-set name a", "severity high", ":top", "engine log ips enable"});
    EXPECT_THAT(configuration(), AllOf(HasSubstr("<ips-enable>true</ips-enable>"),
                                       HasSubstr("<description>two &quot;words&quot;</description>"),
                                       HasSubstr("<severity>high</severity>"),
                                       HasSubstr("<engine-log-switch>true</engine-log-switch>")));
}

struct RefusalCase {
    const char* name;
    Lines before;
    std::string line;
    std::string reason;

    friend void PrintTo(const RefusalCase& test, std::ostream* out) { *out << test.name; }
};

class ConsoleRefusal : public Console, public testing::WithParamInterface<RefusalCase>
{
};

TEST_P(ConsoleRefusal, SaysWhyAndChangesNothing)
{
    type(GetParam().before);
    const std::string before = configuration();
    const std::string prompt = session_.prompt();
    EXPECT_EQ(session_.enter(GetParam().line).kind, Kind::refused);
    EXPECT_EQ(session_.enter(GetParam().line).text, GetParam().reason);
    EXPECT_EQ(configuration(), before);
    EXPECT_EQ(session_.prompt(), prompt);
}

const RefusalCase refusal_cases[] = {
    {"UnknownCommand", vsys, "reboot", "unknown command (NC_ERR_PARSE_COMMAND, 22)"},
    {"CommandOfAnotherView", profile, "severity high", "unknown command (NC_ERR_PARSE_COMMAND, 22)"},
    {"CommandThatCannotBeCarriedOut", vsys, "undo profile type ips name web",
     "there is no profile web (NC_ERR_COMMAND_EXECUTE, 24)"},
    {"MissingView", vsys, ":view profile-ips-web profile-ips",
     "virtual system branch has no view profile-ips-web (NC_ERR_SET_VIEW, 23)"},
    {"ViewWithoutItsType", profile, ":view profile-ips-web",
     "virtual system branch has no view profile-ips-web (NC_ERR_SET_VIEW, 23)"},
    {"ViewOfNoVsys",
     {},
     ":view profile-ips-web profile-ips",
     "the device has no view profile-ips-web (NC_ERR_SET_VIEW, 23)"},
    {"UnknownWord", {}, ":frobnicate now", "the console has no word :frobnicate; :help shows what there is"},
    {"StartOfAWord", {}, ":vs branch", "the console has no word :vs; :help shows what there is"},
    {"ColonAlone", {}, ":", "the console has no word :; :help shows what there is"},
    {"WordWithoutItsName", {}, ":vsys", "usage: :vsys <vsys>"},
    {"WordWithTooMany", {}, ":vsys a b", "usage: :vsys <vsys>"},
    {"WordWithAnOpenQuote", {}, ":manage \"a", "usage: :manage <vsys>"},
    {"WordThatTakesNothing", profile, ":up 2", "usage: :up"},
    {"ControlCharacter", profile, "description a\x01 b", "the line holds a control character"},
    {"TabWithinALine", profile, "description a\tb", "the line holds a control character"},
    {"LoneByteOfACharacter", profile, "description \xc3", "the line is not in UTF-8"},
    {"ByteThatIsNone", profile, "description \xff", "the line is not in UTF-8"},
    {"OverlongCharacter", profile, "description \xe0\x80\x80", "the line is not in UTF-8"},
    {"SurrogateCharacter", profile, "description \xed\xa0\x80", "the line is not in UTF-8"},
    {"CharacterBeyondUnicode", profile, "description \xf4\x90\x80\x80", "the line is not in UTF-8"},
};

std::string refusal_case_name(const testing::TestParamInfo<RefusalCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, ConsoleRefusal, testing::ValuesIn(refusal_cases), refusal_case_name);

TEST_F(Console, TakesTextsOfAllLanguages)
{
    type(profile);
    type({"description \xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x92"});
    EXPECT_THAT(configuration(), HasSubstr("<description>\xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x92</description>"));
}

// -------------------------------------------------------------------------------------------------------- words --

TEST_F(Console, ShowsConfigurationAndState)
{
    EXPECT_EQ(session_.enter(":show"), (ConsoleAnswer{.text = "The device's configuration is empty."}));
    type(profile);
    EXPECT_EQ(session_.enter(":show").text + '\n', configuration());

    const ConsoleAnswer state = session_.enter(":state");
    EXPECT_EQ(state.kind, Kind::done);
    EXPECT_EQ(state.text + '\n', device_.state().text());
    EXPECT_THAT(state.text, StartsWith("<ips-state"));
}

TEST_F(Console, HelpsWithItsWordsAndTheCommandsOfTheView)
{
    type(profile);
    const std::string help = session_.enter(":help").text + "\n";
    EXPECT_THAT(help, AllOf(HasSubstr("\n  :view <view> [<type>]  "), HasSubstr("[vsys branch, profile web]")));
    std::set<std::string> of_this_view;
    std::set<std::string> of_others;
    for (const Command& command : commands())
        (command.view == CommandView::profile ? of_this_view : of_others)
            .insert("\n  " + std::string(command.pattern.text()) + "\n");
    for (const std::string& line : of_this_view) {
        EXPECT_THAT(help, HasSubstr(line));
        of_others.erase(line); // two views may have the same command
    }
    for (const std::string& line : of_others)
        EXPECT_THAT(help, Not(HasSubstr(line)));
}

TEST_F(Console, EndsWhenItIsTold)
{
    EXPECT_EQ(session_.enter(":quit"), (ConsoleAnswer{.kind = Kind::end}));
}

// A colon keeps the console's words apart from the device's.
TEST(CommandGrammarWords, StartWithNoColonAndNoCommentMark)
{
    for (const Command& command : commands())
        EXPECT_THAT(std::string(command.pattern.text()), AllOf(Not(StartsWith(":")), Not(StartsWith("#"))));
}

} // namespace
