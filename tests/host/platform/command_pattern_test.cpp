// What a command line may look like: which lines a pattern takes, and what it captures of them.
#include "platform/command_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using qnips::Captures;
using qnips::CommandPattern;
using testing::ElementsAre;

using Parts = std::vector<std::pair<std::string, std::string>>;

struct PatternCase {
    const char* name;
    const char* pattern;
    const char* line;
    std::optional<Parts> parts; // none: the line is another command

    friend void PrintTo(const PatternCase& test, std::ostream* out) { *out << test.pattern << " / " << test.line; }
};

std::optional<Parts> match(const char* pattern, const char* line)
{
    const std::optional<Captures> captures = CommandPattern(pattern).match(line);
    if (!captures)
        return std::nullopt;
    return Parts(captures->all().begin(), captures->all().end());
}

class CommandPatternMatch : public testing::TestWithParam<PatternCase>
{
};

TEST_P(CommandPatternMatch, TakesTheLineOrNot)
{
    EXPECT_EQ(match(GetParam().pattern, GetParam().line), GetParam().parts);
}

const PatternCase pattern_cases[] = {
    {"Words", "undo rule", "undo rule", Parts{}},
    {"BlanksAtTheEnd", "undo rule", "undo rule   ", Parts{}},
    {"SeveralBlanksBetweenWords", "undo rule", "undo   rule", Parts{}},
    {"AnotherWord", "undo rule", "undo role", std::nullopt},
    {"WordThatStartsAlike", "undo rule", "undo rules", std::nullopt},
    {"WordInCapitals", "undo rule", "undo Rule", std::nullopt},
    {"WordTooFew", "undo rule", "undo", std::nullopt},
    {"WordTooMany", "undo rule", "undo rule x", std::nullopt},
    {"EmptyLine", "undo", "", std::nullopt},
    {"Word", "name <name>", "name web", Parts{{"name", "web"}}},
    {"TextInQuotes", "name <name>", "name \"two words\"", Parts{{"name", "two words"}}},
    {"TextInQuotesInTheMiddle", "move <name> after <target>", "move \"a b\" after \"c  d\"",
     Parts{{"name", "a b"}, {"target", "c  d"}}},
    {"QuoteThatDoesNotEnd", "name <name>", "name \"two words", std::nullopt},
    {"TextMissing", "name <name>", "name ", std::nullopt},
    {"WordsWithoutQuotes", "name <name>", "name two words", std::nullopt},
    {"EmptyTextInQuotes", "name <name>", "name \"\"", Parts{{"name", ""}}},
    {"RestOfTheLine", "description <text...>", "description a \"b\"  c", Parts{{"text", "a \"b\"  c"}}},
    {"RestMissing", "description <text...>", "description ", std::nullopt},
    {"Choice", "action <action:alert|block>", "action block", Parts{{"action", "block"}}},
    {"ChoiceKeptAsAnotherWord", "operate <o:gthan=greater-than|equal>", "operate gthan", Parts{{"o", "greater-than"}}},
    {"ChoiceByTheKeptWord", "operate <o:gthan=greater-than|equal>", "operate greater-than", std::nullopt},
    {"ChoiceUnknown", "action <action:alert|block>", "action allow", std::nullopt},
    {"NumberAtTheLowerBound", "id <id:1..1024>", "id 1", Parts{{"id", "1"}}},
    {"NumberAtTheUpperBound", "id <id:1..1024>", "id 1024", Parts{{"id", "1024"}}},
    {"NumberBelow", "id <id:1..1024>", "id 0", std::nullopt},
    {"NumberAbove", "id <id:1..1024>", "id 1025", std::nullopt},
    {"NumberOfMoreThan32Bits", "id <id:1..1024>", "id 4294967297", std::nullopt},
    {"NumberWithASign", "id <id:1..1024>", "id +1", std::nullopt},
    {"NumberWithLeadingZeros", "id <id:1..1024>", "id 007", Parts{{"id", "7"}}},
    {"NumberWithALetter", "id <id:1..1024>", "id 1a", std::nullopt},
    {"OptionalPartThere", "ip <a> [to <b>]", "ip x to y", Parts{{"a", "x"}, {"b", "y"}}},
    {"OptionalPartMissing", "ip <a> [to <b>]", "ip x", Parts{{"a", "x"}}},
    {"OptionalPartHalf", "ip <a> [to <b>]", "ip x to", std::nullopt},
    {"OptionalPartsInTheirOrder", "c <i> [offset <o>] [depth <d>]", "c 1 offset 2 depth 3",
     Parts{{"i", "1"}, {"o", "2"}, {"d", "3"}}},
    {"OptionalPartsInAnotherOrder", "c <i> [offset <o>] [depth <d>]", "c 1 depth 3 offset 2", std::nullopt},
    {"OptionalPartInTheMiddle", "check <s> [to <e>] action <a>", "check 5 action alert",
     Parts{{"s", "5"}, {"a", "alert"}}},
};

std::string case_name(const testing::TestParamInfo<PatternCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, CommandPatternMatch, testing::ValuesIn(pattern_cases), case_name);

TEST(CommandPatternText, NamesAllPartsThatALineMayCarry)
{
    EXPECT_THAT(CommandPattern("c <id:0..4> value <value> [offset <offset>] [x [y <inner>]]").capture_names(),
                ElementsAre("id", "value", "offset", "inner"));
}

TEST(CommandPatternText, IsRefusedWhenItIsMalformed)
{
    for (const char* text : {"a [b", "a b]", "a <b", "a <b:1..x>"})
        EXPECT_THROW(CommandPattern{text}, std::invalid_argument) << text;
}

TEST(CapturedParts, AreFoundByName)
{
    const Captures parts = *CommandPattern("name <name>").match("name web");
    EXPECT_EQ(parts.at("name"), "web");
    EXPECT_EQ(parts.find("target"), nullptr);
    EXPECT_THROW(static_cast<void>(parts.at("target")), std::out_of_range);
}

} // namespace
