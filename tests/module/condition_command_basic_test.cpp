// The command line of a basic condition: the format that its parts choose, its value, and its limits.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "module/condition_command_test.h"
#include "quorin-intrusion-prevention-core/commands/condition_command.h"
#include "support/config_text.h"

namespace
{

using namespace qnips::test;

class BasicConditionLine : public ConditionLine
{
protected:
    // Builds for a leaf without a meaning beside the leaves.
    CallResult build(const std::string& leaves, std::string signature = "7", std::string rule = "r1")
    {
        std::string vsys = "branch";
        return server.run("<group>" + leaves + "<changed/></group>", "//changed", [&](API_ENV_S* env) {
            return ips_cmd_zell_signature_rule_basic_condition_operation(env, vsys.data(), signature.data(),
                                                                         rule.data());
        });
    }

    // Builds for one of the leaves, which the edit changes in this way.
    CallResult build_for(const std::string& changed, int op, const std::string& leaves)
    {
        const Handler handler = [](int /*op*/, xmlNodePtr /*node*/, API_ENV_S* env) {
            std::string vsys = "branch";
            std::string signature = "7";
            std::string rule = "r1";
            return ips_cmd_zell_signature_rule_basic_condition_operation(env, vsys.data(), signature.data(),
                                                                         rule.data());
        };
        return server.call(handler, op, "<group>" + leaves + "</group>", "//" + changed);
    }
};

Line rule_line(const std::string& line)
{
    return {"branch", "ips-signature-7-rule-r1", "ips-signature-rule", line};
}

std::string condition(std::string_view id, std::string_view field, std::string_view op, std::string_view value)
{
    return leaf("id", id) + leaf("field-name", field) + leaf("operator", op) + leaf("value", value);
}

const std::string plain = condition("1", "F", "equal", "abc");
const std::string prefix = condition("1", "F", "prefix-match", "abc");
const std::string offset = leaf("offset", "10");
const std::string depth = leaf("depth", "100");
const std::string direction = leaf("direction", "both");
const std::string method = leaf("qualifier-http-method", "GET");

const std::string longest(63, 'a');
const std::string too_long(64, 'a');

// ---------------------------------------------------------------------------------------------------------- formats --

constexpr unsigned with_offset = 1;
constexpr unsigned with_depth = 2;
constexpr unsigned with_direction = 4;
constexpr unsigned with_method = 8;
constexpr unsigned all_parts = 15;

using LinesByParts = std::map<unsigned, std::string>;

// clang-format off
const LinesByParts general_lines = {
    {0,  "condition 1 field F operate equal value abc "},
    {1,  "condition 1 field F operate equal value abc offset 10 "},
    {2,  "condition 1 field F operate equal value abc depth 100 "},
    {3,  "condition 1 field F operate equal value abc offset 10 depth 100 "},
    {4,  "condition 1 field F operate equal value abc direction both "},
    {5,  "condition 1 field F operate equal value abc offset 10 direction both "},
    {6,  "condition 1 field F operate equal value abc depth 100 direction both "},
    {7,  "condition 1 field F operate equal value abc offset 10 depth 100 direction both "},
    {8,  "condition 1 field F operate equal value abc qualifier http-method GET "},
    {9,  "condition 1 field F operate equal value abc offset 10 qualifier http-method GET "},
    {10, "condition 1 field F operate equal value abc depth 100 qualifier http-method GET "},
    {11, "condition 1 field F operate equal value abc offset 10 depth 100 qualifier http-method GET "},
    {12, "condition 1 field F operate equal value abc direction both qualifier http-method GET "},
    {13, "condition 1 field F operate equal value abc offset 10 direction both qualifier http-method GET "},
    {14, "condition 1 field F operate equal value abc depth 100 direction both qualifier http-method GET "},
    {15, "condition 1 field F operate equal value abc offset 10 depth 100 direction both qualifier http-method GET "},
};

// With an offset, which no check lets through but a handler may, the general form carries the operator's own word.
const LinesByParts prefix_lines = {
    {0,  "condition 1 field F operate pmatch value abc offset begin "},
    {1,  "condition 1 field F operate prefix-match value abc offset 10 "},
    {2,  "condition 1 field F operate pmatch value abc offset begin depth 100 "},
    {3,  "condition 1 field F operate prefix-match value abc offset 10 depth 100 "},
    {4,  "condition 1 field F operate pmatch value abc offset begin direction both "},
    {5,  "condition 1 field F operate prefix-match value abc offset 10 direction both "},
    {6,  "condition 1 field F operate pmatch value abc offset begin depth 100 direction both "},
    {7,  "condition 1 field F operate prefix-match value abc offset 10 depth 100 direction both "},
    {8,  "condition 1 field F operate pmatch value abc offset begin qualifier http-method GET "},
    {9,  "condition 1 field F operate prefix-match value abc offset 10 qualifier http-method GET "},
    {10, "condition 1 field F operate pmatch value abc offset begin depth 100 qualifier http-method GET "},
    {11, "condition 1 field F operate prefix-match value abc offset 10 depth 100 qualifier http-method GET "},
    {12, "condition 1 field F operate pmatch value abc offset begin direction both qualifier http-method GET "},
    {13, "condition 1 field F operate prefix-match value abc offset 10 direction both qualifier http-method GET "},
    {14, "condition 1 field F operate pmatch value abc offset begin depth 100 direction both qualifier http-method GET "},
    {15, "condition 1 field F operate prefix-match value abc offset 10 depth 100 direction both qualifier http-method GET "},
};
// clang-format on

std::string parts(unsigned chosen)
{
    return ((chosen & with_offset) != 0 ? offset : "") + ((chosen & with_depth) != 0 ? depth : "") +
           ((chosen & with_direction) != 0 ? direction : "") + ((chosen & with_method) != 0 ? method : "");
}

TEST_F(BasicConditionLine, IsChosenByTheLeavesThatArePresent)
{
    for (unsigned chosen = 0; chosen <= all_parts; ++chosen) {
        SCOPED_TRACE(chosen);
        expect_line([&] { return build(plain + parts(chosen)); }, rule_line(general_lines.at(chosen)));
        expect_line([&] { return build(parts(chosen) + plain); }, rule_line(general_lines.at(chosen)));
        expect_line([&] { return build(prefix + parts(chosen)); }, rule_line(prefix_lines.at(chosen)));
    }
}

TEST_F(BasicConditionLine, PrefixMatchWithADepthAloneBeginsAtTheBeginning)
{
    EXPECT_EQ(build(prefix + depth).lines,
              Lines{rule_line("condition 1 field F operate pmatch value abc offset begin depth 100 ")});
}

// A part's element in each of the states that an edit can leave it in, and whether the line has it.
struct State {
    std::string attributes; // none: no element
    bool has_text;
    bool present;
};

const std::vector<State> states = {
    {"-", false, false},
    {"", true, true},
    {" op='REM'", true, false},
    {" op='ADD|ROLLBACK'", true, false},
    {" op='REM|ROLLBACK'", true, true},
    {" op='MOD'", true, true},
    {" text=''", false, false},
};

std::string in_state(const std::string& name, const std::string& text, const State& state)
{
    if (state.attributes == "-")
        return "";
    return '<' + name + state.attributes + '>' + (state.has_text ? text : "") + "</" + name + '>';
}

TEST_F(BasicConditionLine, LeavesOutWhatIsAbsentRemovedOrNeverAdded)
{
    const std::size_t count = states.size();
    for (std::size_t all = 0; all < count * count * count * count; ++all) {
        const State& of_offset = states.at(all % count);
        const State& of_depth = states.at(all / count % count);
        const State& of_direction = states.at(all / (count * count) % count);
        const State& of_method = states.at(all / (count * count * count));
        const std::string leaves = in_state("offset", "10", of_offset) + in_state("depth", "100", of_depth) +
                                   in_state("direction", "both", of_direction) +
                                   in_state("qualifier-http-method", "GET", of_method);
        const unsigned chosen = (of_offset.present ? with_offset : 0) | (of_depth.present ? with_depth : 0) |
                                (of_direction.present ? with_direction : 0) | (of_method.present ? with_method : 0);
        EXPECT_EQ(build(plain + leaves).lines, Lines{rule_line(general_lines.at(chosen))}) << leaves;
        EXPECT_EQ(build(prefix + leaves).lines, Lines{rule_line(prefix_lines.at(chosen))}) << leaves;
    }
}

struct PartOp {
    int op;
    bool present;
};

// The leaf that an edit removes can still be read while the handler runs; the operation says that it goes.
const std::vector<PartOp> part_ops = {
    {XMLDIFF_NONE, true},
    {XMLDIFF_ADD, true},
    {XMLDIFF_MOD, true},
    {XMLDIFF_CHAIN, true},
    {XMLDIFF_SIBLING | XMLDIFF_REORDER, true},
    {XMLDIFF_CFGR, true},
    {XMLDIFF_ADD | XMLDIFF_CFGR, true},
    {XMLDIFF_ROLLBACK, true},
    {XMLDIFF_MOD | XMLDIFF_ROLLBACK, true},
    {XMLDIFF_REM | XMLDIFF_ROLLBACK, true},
    {XMLDIFF_REM | XMLDIFF_ROLLBACK | XMLDIFF_CHAIN, true},
    {64, true},
    {XMLDIFF_REM, false},
    {XMLDIFF_REM | XMLDIFF_CHAIN, false},
    {XMLDIFF_REM | XMLDIFF_CFGR, false},
    {XMLDIFF_REM | XMLDIFF_MOD, false},
    {XMLDIFF_ADD | XMLDIFF_REM, false},
    {XMLDIFF_ADD | XMLDIFF_ROLLBACK, false},
    {XMLDIFF_ADD | XMLDIFF_ROLLBACK | XMLDIFF_MOD, false},
    {XMLDIFF_ADD | XMLDIFF_ROLLBACK | XMLDIFF_CFGR, false},
    {XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_ROLLBACK, false},
    {XMLDIFF_ERR, false},
};

TEST_F(BasicConditionLine, HasTheChangedLeafAsItsOperationDemands)
{
    const std::vector<std::pair<std::string, unsigned>> leaves = {{"offset", with_offset},
                                                                  {"depth", with_depth},
                                                                  {"direction", with_direction},
                                                                  {"qualifier-http-method", with_method}};
    for (const auto& [name, part] : leaves) {
        for (const PartOp& test : part_ops) {
            SCOPED_TRACE(name + ' ' + op_text(test.op));
            const unsigned others = all_parts & ~part;
            EXPECT_EQ(build_for(name, test.op, plain + parts(all_parts)).lines,
                      Lines{rule_line(general_lines.at(test.present ? all_parts : others))});
            EXPECT_EQ(build_for(name, test.op, prefix + parts(part)).lines,
                      Lines{rule_line(prefix_lines.at(test.present ? part : 0))});
        }
    }
}

// Of the four leaves that every line has, the operation is not asked.
TEST_F(BasicConditionLine, HasTheOtherLeavesWhateverHappensToThem)
{
    for (const char* name : {"id", "field-name", "operator", "value"}) {
        for (const PartOp& test : part_ops) {
            SCOPED_TRACE(std::string(name) + ' ' + op_text(test.op));
            EXPECT_EQ(build_for(name, test.op, plain).lines, Lines{rule_line(general_lines.at(0))});
        }
    }
}

// -------------------------------------------------------------------------------------------------------- operators --

TEST_F(BasicConditionLine, HasTheOperatorUnderItsNameOnTheCommandLine)
{
    const std::vector<std::pair<std::string, std::string>> words = {{"pattern-match", "pmatch"},
                                                                    {"equal", "equal"},
                                                                    {"greater-than", "gthan"},
                                                                    {"less-than", "lthan"},
                                                                    {"not-equal", "noequal"}};
    for (const auto& [word, keyword] : words) {
        SCOPED_TRACE(word);
        expect_line([&, word = word] { return build(condition("1", "F", word, "abc")); },
                    rule_line("condition 1 field F operate " + keyword + " value abc "));
        expect_line([&, word = word] { return build(condition("1", "F", word, "abc") + parts(all_parts)); },
                    rule_line("condition 1 field F operate " + keyword +
                              " value abc offset 10 depth 100 direction both qualifier http-method GET "));
    }
}

TEST_F(BasicConditionLine, RefusesAnyOtherOperator)
{
    const std::string rest = leaf("id", "1") + leaf("field-name", "F") + leaf("value", "abc");
    for (const std::string& element :
         {leaf("operator", "EQUAL"), leaf("operator", "Prefix-match"), leaf("operator", "pmatch"),
          leaf("operator", "gthan"), leaf("operator", "equal "), leaf("operator", " equal"), leaf("operator", "equa"),
          leaf("operator", longest), leaf("operator", too_long), std::string("<operator/>"),
          std::string("<operator text=''/>"), std::string()}) {
        SCOPED_TRACE(element);
        expect_error([&] { return build(rest + element + parts(all_parts)); }, NC_ERR_BAD_ELEM,
                     "Failde to check operation node information.");
    }
}

TEST_F(BasicConditionLine, NeedsIdFieldAndValue)
{
    for (const std::string name : {"id", "field-name", "value"}) {
        const std::string unreadable = leaf(name, std::string(name == "value" ? 256 : 64, '1'));
        for (const std::string& element : {std::string(), '<' + name + "/>", '<' + name + " text=''/>", unreadable}) {
            std::string leaves = leaf("operator", "no such") + element;
            for (const std::string other : {"id", "field-name", "value"})
                leaves += other == name ? "" : leaf(other, "1");
            SCOPED_TRACE(leaves);
            expect_error([&] { return build(leaves); }, NC_ERR_BAD_ELEM, "The node is NULL.");
        }
    }
    expect_error([&] { return build(""); }, NC_ERR_BAD_ELEM, "The node is NULL.");
}

// ------------------------------------------------------------------------------------------------------- the values --

const std::string quoted_value = "[IPS]INFO: '?' or space is in the value.\r\n\r\n";

TEST_F(BasicConditionLine, ValueIsQuotedWhenItHoldsWhiteSpaceOrAQuestionMark)
{
    for (const std::string value : {"two words", "what?", "?", "tab\there", " abc", "abc ", "a\nb", " "}) {
        SCOPED_TRACE(value);
        expect_line([&] { return build(condition("1", "F", "equal", value)); },
                    rule_line("condition 1 field F operate equal value \"" + value + "\" "), quoted_value);
        expect_line([&] { return build(condition("1", "F", "prefix-match", value)); },
                    rule_line("condition 1 field F operate pmatch value \"" + value + "\" offset begin "),
                    quoted_value);
    }
}

TEST_F(BasicConditionLine, ValueIsBareOtherwise)
{
    for (const std::string value : {"abc", "\"abc\"", "100%s%n%d", "/index.html&a=1", "0"}) {
        SCOPED_TRACE(value);
        expect_line([&] { return build(condition("1", "F", "equal", value)); },
                    rule_line("condition 1 field F operate equal value " + value + ' '));
    }
}

TEST_F(BasicConditionLine, ValueIsWholeUpTo255CharactersAndWithQuotesUpTo253)
{
    const std::string start = "condition 1 field F operate equal value ";
    const std::string bare(255, 'v');
    EXPECT_EQ(build(condition("1", "F", "equal", bare)).lines, Lines{rule_line(start + bare + ' ')});

    const std::string quotable = "two " + std::string(249, 'v');
    EXPECT_EQ(build(condition("1", "F", "equal", quotable)).lines, Lines{rule_line(start + '"' + quotable + "\" ")});
    EXPECT_EQ(build(condition("1", "F", "equal", quotable + 'v')).lines,
              Lines{rule_line(start + '"' + quotable + "v ")});
    EXPECT_EQ(build(condition("1", "F", "equal", quotable + "vw")).lines,
              Lines{rule_line(start + '"' + quotable + "v ")});
}

TEST_F(BasicConditionLine, PartsAreWholeUpTo63CharactersAndLeftOutBeyond)
{
    const Line without = rule_line("condition 1 field F operate equal value abc ");
    const auto with = [](const std::string& word) {
        return rule_line("condition 1 field F operate equal value abc " + word + ' ' + longest + ' ');
    };
    const std::vector<std::pair<std::string, std::string>> words = {{"offset", "offset"},
                                                                    {"depth", "depth"},
                                                                    {"direction", "direction"},
                                                                    {"qualifier-http-method", "qualifier http-method"}};
    for (const auto& [name, word] : words) {
        SCOPED_TRACE(name);
        EXPECT_EQ(build(plain + leaf(name, longest)).lines, Lines{with(word)});
        EXPECT_EQ(build(plain + leaf(name, too_long)).lines, Lines{without});
        EXPECT_EQ(build(plain + leaf(name, "")).lines, Lines{without});
    }
}

// What is in the leaves is the checks' business.
TEST_F(BasicConditionLine, TakesAllTextsAsTheyAre)
{
    expect_line(
        [&] {
            return build(condition("05", "no field?", "equal", "abc") + leaf("offset", "-1") +
                         leaf("depth", "two words") + leaf("direction", "BOTH") + leaf("qualifier-http-method", "%s"));
        },
        rule_line("condition 05 field no field? operate equal value abc offset -1 depth two words "
                  "direction BOTH qualifier http-method %s "));
}

// ------------------------------------------------------------------------------------------------------- the limits --

TEST_F(BasicConditionLine, IsCutAt511Characters)
{
    const std::string value(255, 'v');
    const std::string start =
        "condition 1 field F operate equal value " + value + " offset " + longest + " depth " + longest + " direction ";
    const std::string leaves = leaf("offset", longest) + leaf("depth", longest) + leaf("direction", longest);
    ASSERT_EQ((start + longest + ' ').size(), 511U);
    const std::string fits = condition("1", "F", "equal", value) + leaves;
    EXPECT_EQ(build(fits).lines, Lines{rule_line(start + longest + ' ')});
    EXPECT_EQ(build(fits + method).lines, Lines{rule_line(start + longest + ' ')});
    EXPECT_EQ(build(condition("11", "F", "equal", value) + leaves).lines,
              Lines{rule_line("condition 11" + start.substr(11) + longest)});

    const std::string all_long = condition(longest, longest, "equal", value) + leaf("offset", longest) +
                                 leaf("depth", longest) + leaf("direction", longest) +
                                 leaf("qualifier-http-method", longest);
    const std::string whole = "condition " + longest + " field " + longest + " operate equal value " + value +
                              " offset " + longest + " depth " + longest + " direction " + longest;
    EXPECT_EQ(build(all_long).lines, Lines{rule_line(whole.substr(0, 511))});
}

TEST_F(BasicConditionLine, StandsInAViewThatIsCutAt255Bytes)
{
    const std::string id(100, '1');
    for (const std::size_t length : {135U, 136U, 200U}) {
        const CallResult r = build(plain, id, std::string(length, 'r'));
        ASSERT_EQ(r.lines.size(), 1U);
        EXPECT_EQ(r.lines[0].view, "ips-signature-" + id + "-rule-" + std::string(135, 'r'));
        EXPECT_EQ(r.lines[0].line, general_lines.at(0));
    }
}

const std::vector<KeyLookup> all_siblings = {
    {1, "id"},     {1, "field-name"}, {1, "operator"},  {1, "value"},
    {1, "offset"}, {1, "depth"},      {1, "direction"}, {1, "qualifier-http-method"}};

TEST_F(BasicConditionLine, ReadsAllSiblingsInTheirOrder)
{
    const CallResult r = build(parts(all_parts) + plain);
    EXPECT_EQ(r.key_lookups, all_siblings);
    EXPECT_TRUE(r.ancestor_lookups.empty());
}

// Whether a part counts is decided when all of them have been read.
TEST_F(BasicConditionLine, ReadsTheSiblingsThatTheEditDoesNotHaveToo)
{
    EXPECT_EQ(build(plain).key_lookups, all_siblings);
}

} // namespace
