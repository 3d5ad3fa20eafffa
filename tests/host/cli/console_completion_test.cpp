// What Tab makes of the start of a line: from the commands of the view, and from what the device has.
#include "cli/console_completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/console_session.h"
#include "platform/command_grammar.h"
#include "platform/emulator.h"

namespace
{

using qnips::Command;
using qnips::CommandPattern;
using qnips::commands;
using qnips::CommandView;
using qnips::EmulatedPlatform;
using qnips::NextWord;
using qnips::SignatureCatalogue;
using qnips::cli::Completion;
using qnips::cli::ConsoleAnswer;
using qnips::cli::ConsoleSession;
using testing::Contains;
using Candidates = std::vector<std::string>;

SignatureCatalogue small_catalogue()
{
    std::istringstream text("category | Overflow | Stack-Overflow\n");
    return SignatureCatalogue(text);
}

// A device with two profiles, the first with two sets, and a signature with a rule.
class ConsoleCompletion : public testing::Test
{
protected:
    ConsoleCompletion()
    {
        type({":vsys branch", "profile type ips name web", "signature-set name all", ":up",
              "signature-set name \"all others\"", ":vsys branch", "profile type ips name \"dmz servers\"",
              ":vsys branch", "ips signature-id 7", "protocol HTTP", "rule name login", ":vsys dmz",
              "cnc domain-filter exception domain-name a.example", ":top"});
    }

    void type(const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines)
            EXPECT_EQ(session_.enter(line), ConsoleAnswer{}) << line;
    }

    SignatureCatalogue catalogue_ = small_catalogue();
    EmulatedPlatform device_{catalogue_};
    ConsoleSession session_{device_};
};

struct CompletionCase {
    const char* name;
    std::vector<std::string> before; // the lines that enter the view
    std::string line;
    Completion expected;

    friend void PrintTo(const CompletionCase& test, std::ostream* out) { *out << test.name << ": " << test.line; }
};

class ConsoleCompletionOf : public ConsoleCompletion, public testing::WithParamInterface<CompletionCase>
{
};

TEST_P(ConsoleCompletionOf, GoesOnWithWhatTheLineMayHave)
{
    type(GetParam().before);
    const Completion completion = session_.complete(GetParam().line);
    EXPECT_EQ(completion.insertion, GetParam().expected.insertion);
    EXPECT_EQ(completion.candidates, GetParam().expected.candidates);
}

const std::vector<std::string> vsys = {":vsys branch"};
const std::vector<std::string> profile = {":vsys branch", "profile type ips name web"};
const std::vector<std::string> set = {":vsys branch", "profile type ips name web", "signature-set name all"};
const std::vector<std::string> signature = {":vsys branch", "ips signature-id 7"};
const std::vector<std::string> rule = {":vsys branch", "ips signature-id 7", "rule name login"};

const CompletionCase completion_cases[] = {
    {"AllFirstWordsOfTheView", vsys, "", {"", {"cnc", "ips", "profile", "undo"}}},
    {"OneWord", vsys, "p", {"rofile ", {"profile"}}},
    {"WholeWord", vsys, "profile", {" ", {"profile"}}},
    {"NextWord", vsys, "profile ", {"type ", {"type"}}},
    {"WordAfterSeveralBlanks", vsys, "  profile   ty", {"pe ", {"type"}}},
    {"NoSuchWord", vsys, "profiles ", {"", {}}},
    {"NoSuchStart", vsys, "x", {"", {}}},
    {"WordOfAnotherView", vsys, "scope", {"", {}}},
    {"CommonStartOfSeveralWords", profile, "sig", {"nature-set ", {"signature-set"}}},
    {"CommonStartThatEndsWithinAWord", profile, "http x", {"-", {"x-forwarded-for", "x-online-host"}}},
    {"NothingToAddToTheCommonStart", profile, "http x-", {"", {"x-forwarded-for", "x-online-host"}}},
    {"Choices", profile, "dns request-type check default-action ", {"", {"alert", "allow", "block"}}},
    {"OneOfTheChoices", profile, "dns request-type check default-action b", {"lock ", {"block"}}},
    {"ChoiceAsItIsTyped", rule, "condition 0 field f operate g", {"than ", {"gthan"}}},
    {"NumberAsAHint", rule, "condition ", {"", {"<id:0..4>", "associated"}}},
    {"WordInPlaceOfAHint", rule, "condition a", {"ssociated ", {"associated"}}},
    {"NumberHasNoCompletion", rule, "condition 3", {"", {}}},
    {"OptionalPartOrWhatFollowsIt", profile, "dns request-type check 5 ", {"", {"action", "to"}}},
    {"InsideAnOptionalPart", profile, "dns request-type check 5 to ", {"", {"<end-type:0..65535>"}}},
    {"BehindAnOptionalPart", profile, "dns request-type check 5 to 9 ", {"action ", {"action"}}},
    {"OptionalPartsThatAreLeft",
     rule,
     "condition 0 field f operate equal value v depth 9 ",
     {"", {"direction", "qualifier"}}},
    {"WordsOfTwoCommandsThatStartAlike",
     rule,
     "condition 0 field f operate pmatch value v offset ",
     {"", {"<offset:0..65535>", "begin"}}},
    {"RestOfTheLineAsAHint", profile, "description ", {"", {"<description...>"}}},
    {"RestOfTheLineIsTheUsersOwn", profile, "description two ", {"", {}}},
    {"BehindAWholeCommand", profile, "assoc-check enable ", {"", {}}},
    {"EntriesBesideTheHint", vsys, "profile type ips name ", {"", {"<name>", "\"dmz servers\"", "web"}}},
    {"EntryOfAList", vsys, "undo profile type ips name w", {"eb ", {"web"}}},
    {"EntryInQuotes", vsys, "undo profile type ips name \"d", {"mz servers\" ", {"\"dmz servers\""}}},
    {"EntryInQuotesWithItsBlank", vsys, "undo profile type ips name \"dmz s", {"ervers\" ", {"\"dmz servers\""}}},
    {"EntryWithoutABlankInQuotes", vsys, "undo profile type ips name \"w", {"eb\" ", {"\"web\""}}},
    {"EntriesOfAMove", profile, "signature-set move ", {"", {"<name>", "\"all others\"", "all"}}},
    {"DirectionsOfAMove", profile, "signature-set move \"all others\" ", {"", {"after", "before"}}},
    {"OtherEndOfAMove", profile, "signature-set move \"all others\" before a", {"ll ", {"all"}}},
    {"RuleOfASignature", signature, "undo rule name l", {"ogin ", {"login"}}},
    {"UserDefinedSignatures", vsys, "undo ips signature-id ", {"", {"<id:1..1024>", "7"}}},
    {"SetHasNoSuchList", set, "application ", {"", {"<application>", "all"}}},
    {"ConsoleWords",
     {},
     ":",
     {"", {":help", ":manage", ":quit", ":remove-vsys", ":show", ":state", ":top", ":up", ":view", ":vsys"}}},
    {"ConsoleWord", {}, ":h", {"elp ", {":help"}}},
    {"ConsoleWordsThatStartAlike", {}, ":s", {"", {":show", ":state"}}},
    {"VirtualSystems", {}, ":vsys ", {"", {"<vsys>", "branch", "dmz"}}},
    {"VirtualSystem", {}, ":manage b", {"ranch ", {"branch"}}},
    {"BehindAConsoleWord", {}, ":up ", {"", {}}},
};

std::string case_name(const testing::TestParamInfo<CompletionCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, ConsoleCompletionOf, testing::ValuesIn(completion_cases), case_name);

// ------------------------------------------------------------------------------------------------ whole grammar --

// Of `condition <id:0..4> ... [x [y]]` the words that every line has, as a user has to type them, then the optional
// ones.
std::vector<std::string> sample_words(const CommandPattern& pattern)
{
    std::vector<std::string> words;
    std::string line;
    for (std::vector<NextWord> next = pattern.next_words(line); !next.empty(); next = pattern.next_words(line)) {
        std::string word = next.front().is_literal ? next.front().text : "x";
        if (const std::size_t colon = next.front().text.find(':');
            !next.front().is_literal && colon != std::string::npos)
            word = next.front().text.substr(colon + 1, next.front().text.find("..") - colon - 1);
        words.push_back(word);
        line += word + ' ';
    }
    return words;
}

// Following the completions from the first word on gives every command of the grammar, with all its optional parts.
TEST(CommandGrammarWords, LeadToEveryWholeCommand)
{
    for (const Command& command : commands()) {
        std::string line;
        for (const std::string& word : sample_words(command.pattern))
            line += word + ' ';
        const auto parts = command.pattern.match(line);
        ASSERT_TRUE(parts.has_value()) << command.pattern.text() << "\n" << line;
        EXPECT_EQ(parts->all().size(), command.pattern.capture_names().size()) << command.pattern.text();
    }
}

TEST_F(ConsoleCompletion, OffersEveryWordOfEveryCommandOfTheView)
{
    const struct {
        CommandView view;
        std::vector<std::string> lines;
    } views[] = {
        {CommandView::device, {":top"}},
        {CommandView::vsys, vsys},
        {CommandView::profile, profile},
        {CommandView::signature_set, set},
        {CommandView::signature, signature},
        {CommandView::rule, rule},
        {CommandView::management, {":manage branch"}},
    };
    for (const auto& [view, lines] : views) {
        type({":top"});
        type(lines);
        for (const Command& command : commands()) {
            if (command.view != view)
                continue;
            std::string line;
            for (const std::string& word : sample_words(command.pattern)) {
                for (const NextWord& next : command.pattern.next_words(line))
                    EXPECT_THAT(session_.complete(line).candidates, Contains(next.text)) << line;
                line += word + ' ';
            }
            EXPECT_FALSE(line.empty()) << command.pattern.text();
        }
    }
}

} // namespace
