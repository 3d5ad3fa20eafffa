// The command lines of associated conditions, of predefined signatures and of user-defined rules.
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

constexpr unsigned with_threshold = 1;
constexpr unsigned with_interval = 2;
constexpr unsigned with_block_time = 4;
constexpr unsigned with_correlation = 8;
constexpr unsigned all_parts = 15;

using LinesByParts = std::map<unsigned, std::string>;

std::string parts(unsigned chosen)
{
    return ((chosen & with_threshold) != 0 ? leaf("threshold", "10") : "") +
           ((chosen & with_interval) != 0 ? leaf("interval", "60") : "") +
           ((chosen & with_block_time) != 0 ? leaf("block-time", "5") : "") +
           ((chosen & with_correlation) != 0 ? leaf("correlation", "source") : "");
}

// The same leaves in the opposite order, and what is absent as elements that cannot be read.
std::string scattered_parts(unsigned chosen)
{
    return ((chosen & with_correlation) != 0 ? leaf("correlation", "source")
                                             : leaf("correlation", std::string(64, 'c'))) +
           ((chosen & with_block_time) != 0 ? leaf("block-time", "5") : leaf("block-time", std::string(32, '1'))) +
           ((chosen & with_interval) != 0 ? leaf("interval", "60") : "<interval text=''/>") +
           ((chosen & with_threshold) != 0 ? leaf("threshold", "10") : "<threshold/>");
}

const std::string longest_number(31, '1');
const std::string long_number(32, '1');
const std::string longest_word(63, 'c');

// ------------------------------------------------------------------------------------------- predefined signatures --

class PredefinedConditionLine : public ConditionLine
{
protected:
    // Builds for a leaf without a meaning beside the leaves, below an entry that holds `keys`.
    CallResult build(const std::string& leaves, const std::string& keys = leaf("id", "1100"))
    {
        return server.run("<signature>" + keys + "<associated-condition>" + leaves +
                              "<changed/></associated-condition></signature>",
                          "//changed", ips_cmd_zell_preassoc_signature_condition_operation);
    }
};

Line device_line(const std::string& line)
{
    return {std::nullopt, "system", std::nullopt, line};
}

// clang-format off
const LinesByParts predefined_lines = {
    {1,  "ips associated pre-defined signature-id 1100 threshold 10 "},
    {2,  "ips associated pre-defined signature-id 1100 interval 60 "},
    {3,  "ips associated pre-defined signature-id 1100 threshold 10 interval 60 "},
    {4,  "ips associated pre-defined signature-id 1100 block-time 5 "},
    {5,  "ips associated pre-defined signature-id 1100 threshold 10 block-time 5 "},
    {6,  "ips associated pre-defined signature-id 1100 interval 60 block-time 5 "},
    {7,  "ips associated pre-defined signature-id 1100 threshold 10 interval 60 block-time 5 "},
    {8,  "ips associated pre-defined signature-id 1100 correlateby source "},
    {9,  "ips associated pre-defined signature-id 1100 threshold 10 correlateby source "},
    {10, "ips associated pre-defined signature-id 1100 interval 60 correlateby source "},
    {11, "ips associated pre-defined signature-id 1100 threshold 10 interval 60 correlateby source "},
    {12, "ips associated pre-defined signature-id 1100 block-time 5 correlateby source "},
    {13, "ips associated pre-defined signature-id 1100 threshold 10 block-time 5 correlateby source "},
    {14, "ips associated pre-defined signature-id 1100 interval 60 block-time 5 correlateby source "},
    {15, "ips associated pre-defined signature-id 1100 threshold 10 interval 60 block-time 5 correlateby source "},
};
// clang-format on

TEST_F(PredefinedConditionLine, IsChosenByTheLeavesThatArePresent)
{
    for (unsigned chosen = 1; chosen <= all_parts; ++chosen) {
        SCOPED_TRACE(chosen);
        expect_line([&] { return build(parts(chosen)); }, device_line(predefined_lines.at(chosen)));
        expect_line([&] { return build(scattered_parts(chosen)); }, device_line(predefined_lines.at(chosen)));
    }
}

TEST_F(PredefinedConditionLine, OfACorrelationAloneStandsInTheSystemView)
{
    EXPECT_EQ(build(leaf("correlation", "source")).lines,
              (Lines{{std::nullopt, "system", std::nullopt,
                      "ips associated pre-defined signature-id 1100 correlateby source "}}));
}

TEST_F(PredefinedConditionLine, NeedsAtLeastOnePart)
{
    const std::string message = "The threshold/interval/block-time/correlation node all are NULL.";
    expect_error([&] { return build(""); }, NC_ERR_INVALID_VALUE, message);
    expect_error([&] { return build(scattered_parts(0)); }, NC_ERR_INVALID_VALUE, message);
    expect_error([&] { return build(leaf("signature-id", "1100")); }, NC_ERR_INVALID_VALUE, message);
}

TEST_F(PredefinedConditionLine, NeedsTheSignaturesId)
{
    const std::string message = "Get error signature-id node information.";
    for (const std::string& keys : {std::string(), std::string("<id/>"), std::string("<id text=''/>"),
                                    leaf("id", long_number), leaf("name", "1100")}) {
        SCOPED_TRACE(keys);
        expect_error([&] { return build(parts(all_parts), keys); }, NC_ERR_MISSING_ELEM, message);
        expect_error([&] { return build("", keys); }, NC_ERR_MISSING_ELEM, message);
    }
    expect_error([&] { return build(leaf("id", "1100") + parts(all_parts), ""); }, NC_ERR_MISSING_ELEM, message);
}

TEST_F(PredefinedConditionLine, IdIsRefusedForBlanksAroundItAndForAQuestionMark)
{
    const std::string message = "Invalid signature id, because of spaces.";
    for (const char* id : {" 1100", "1100 ", "1100\t", " "})
        expect_error([&] { return build(parts(all_parts), leaf("id", id)); }, NC_ERR_MISSING_ELEM, message);
    expect_error([&] { return build(parts(0), leaf("id", "11?0")); }, NC_ERR_MISSING_ELEM, message, question_mark);
}

TEST_F(PredefinedConditionLine, PartsAreWholeUpToTheirLimitsAndLeftOutBeyond)
{
    const std::string start = "ips associated pre-defined signature-id 1100 ";
    const auto with = [&](const std::string& word) { return device_line(start + word + ' ' + longest_number + ' '); };
    for (const std::string name : {"threshold", "interval", "block-time"}) {
        EXPECT_EQ(build(leaf(name, longest_number)).lines, Lines{with(name)});
        EXPECT_EQ(build(leaf(name, long_number) + leaf("correlation", "source")).lines,
                  Lines{device_line(start + "correlateby source ")});
    }
    EXPECT_EQ(build(leaf("correlation", longest_word)).lines,
              Lines{device_line(start + "correlateby " + longest_word + ' ')});
    EXPECT_EQ(build(leaf("correlation", longest_word + 'c') + leaf("interval", "60")).lines,
              Lines{device_line(start + "interval 60 ")});
    EXPECT_EQ(build(parts(with_interval), leaf("id", longest_number)).lines,
              Lines{device_line("ips associated pre-defined signature-id " + longest_number + " interval 60 ")});
}

// What is in the leaves is the checks' business, and so is what the edit does to them.
TEST_F(PredefinedConditionLine, TakesAllTextsAsTheyAre)
{
    expect_line(
        [&] {
            return build(leaf("threshold", "two words") + "<interval op='REM'>-1</interval>" + leaf("block-time", "?") +
                             "<correlation op='ADD|ROLLBACK'>100%s%n</correlation>",
                         leaf("id", "no number"));
        },
        device_line("ips associated pre-defined signature-id no number threshold two words interval -1 "
                    "block-time ? correlateby 100%s%n "));
}

TEST_F(PredefinedConditionLine, ReadsTheIdAboveAndAllSiblings)
{
    EXPECT_EQ(
        build(parts(with_interval)).key_lookups,
        (std::vector<KeyLookup>{{2, "id"}, {1, "threshold"}, {1, "interval"}, {1, "block-time"}, {1, "correlation"}}));
}

// ----------------------------------------------------------------------------------------------- user-defined rules --

class AssociatedConditionLine : public ConditionLine
{
protected:
    CallResult build(const std::string& leaves, std::string signature = "7", std::string rule = "r1")
    {
        std::string vsys = "branch";
        return server.run("<group>" + leaves + "<changed/></group>", "//changed", [&](API_ENV_S* env) {
            return ips_cmd_zell_udassoc_signature_condition_operation(env, vsys.data(), signature.data(), rule.data());
        });
    }
};

Line rule_line(const std::string& line)
{
    return {"branch", "ips-signature-7-rule-r1", "ips-signature-rule", line};
}

const std::string referred = leaf("signature-id", "1100");

// The threshold alone has no blank behind it.
// clang-format off
const LinesByParts associated_lines = {
    {0,  "condition associated signature-id 1100 "},
    {1,  "condition associated signature-id 1100 threshold 10"},
    {2,  "condition associated signature-id 1100 interval 60 "},
    {3,  "condition associated signature-id 1100 threshold 10 interval 60 "},
    {4,  "condition associated signature-id 1100 block-time 5 "},
    {5,  "condition associated signature-id 1100 threshold 10 block-time 5 "},
    {6,  "condition associated signature-id 1100 interval 60 block-time 5 "},
    {7,  "condition associated signature-id 1100 threshold 10 interval 60 block-time 5 "},
    {8,  "condition associated signature-id 1100 correlateby source "},
    {9,  "condition associated signature-id 1100 threshold 10 correlateby source "},
    {10, "condition associated signature-id 1100 interval 60 correlateby source "},
    {11, "condition associated signature-id 1100 threshold 10 interval 60 correlateby source "},
    {12, "condition associated signature-id 1100 block-time 5 correlateby source "},
    {13, "condition associated signature-id 1100 threshold 10 block-time 5 correlateby source "},
    {14, "condition associated signature-id 1100 interval 60 block-time 5 correlateby source "},
    {15, "condition associated signature-id 1100 threshold 10 interval 60 block-time 5 correlateby source "},
};
// clang-format on

TEST_F(AssociatedConditionLine, IsChosenByTheLeavesThatArePresent)
{
    for (unsigned chosen = 0; chosen <= all_parts; ++chosen) {
        SCOPED_TRACE(chosen);
        expect_line([&] { return build(referred + parts(chosen)); }, rule_line(associated_lines.at(chosen)));
        expect_line([&] { return build(scattered_parts(chosen) + referred); }, rule_line(associated_lines.at(chosen)));
    }
}

TEST_F(AssociatedConditionLine, OfAThresholdAloneHasNoBlankBehindIt)
{
    EXPECT_EQ(build(referred + leaf("threshold", "10")).lines,
              Lines{rule_line("condition associated signature-id 1100 threshold 10")});
}

TEST_F(AssociatedConditionLine, NeedsTheSignaturesId)
{
    for (const std::string& element :
         {std::string(), std::string("<signature-id/>"), std::string("<signature-id text=''/>"),
          leaf("signature-id", long_number), leaf("id", "1100")}) {
        SCOPED_TRACE(element);
        expect_error([&] { return build(element + parts(all_parts)); }, NC_ERR_MISSING_ELEM,
                     "Get error associated-condition/signature-id node information.");
    }
}

TEST_F(AssociatedConditionLine, IdIsRefusedForBlanksAroundItAndForAQuestionMark)
{
    const std::string message = "Invalid signature associated-condition/id, because of spaces.";
    for (const char* id : {" 1100", "1100 ", "1100\t", " "})
        expect_error([&] { return build(leaf("signature-id", id) + parts(all_parts)); }, NC_ERR_MISSING_ELEM, message);
    expect_error([&] { return build(leaf("signature-id", "11?0")); }, NC_ERR_MISSING_ELEM, message, question_mark);
}

TEST_F(AssociatedConditionLine, PartsAreWholeUpToTheirLimitsAndLeftOutBeyond)
{
    const std::string start = "condition associated signature-id 1100 ";
    const auto with = [&](const std::string& word) { return rule_line(start + word + ' ' + longest_number + ' '); };
    EXPECT_EQ(build(referred + leaf("threshold", longest_number)).lines,
              Lines{rule_line(start + "threshold " + longest_number)});
    EXPECT_EQ(build(referred + leaf("threshold", long_number)).lines, Lines{rule_line(start)});
    for (const std::string name : {"interval", "block-time"}) {
        EXPECT_EQ(build(referred + leaf(name, longest_number)).lines, Lines{with(name)});
        EXPECT_EQ(build(referred + leaf(name, long_number)).lines, Lines{rule_line(start)});
    }
    EXPECT_EQ(build(referred + leaf("correlation", longest_word)).lines,
              Lines{rule_line(start + "correlateby " + longest_word + ' ')});
    EXPECT_EQ(build(referred + leaf("correlation", longest_word + 'c')).lines, Lines{rule_line(start)});
    EXPECT_EQ(build(leaf("signature-id", longest_number)).lines,
              Lines{rule_line("condition associated signature-id " + longest_number + ' ')});
}

TEST_F(AssociatedConditionLine, TakesAllTextsAsTheyAre)
{
    expect_line(
        [&] {
            return build(leaf("signature-id", "no number") + leaf("threshold", "two words") +
                         "<interval op='REM'>-1</interval>" + leaf("block-time", "?") +
                         "<correlation op='ADD|ROLLBACK'>100%s%n</correlation>");
        },
        rule_line("condition associated signature-id no number threshold two words interval -1 "
                  "block-time ? correlateby 100%s%n "));
}

TEST_F(AssociatedConditionLine, StandsInAViewThatIsCutAt255Bytes)
{
    const std::string id(100, '1');
    for (const std::size_t length : {135U, 136U, 200U}) {
        const CallResult r = build(referred, id, std::string(length, 'r'));
        ASSERT_EQ(r.lines.size(), 1U);
        EXPECT_EQ(r.lines[0].view, "ips-signature-" + id + "-rule-" + std::string(135, 'r'));
    }
}

TEST_F(AssociatedConditionLine, ReadsAllSiblings)
{
    EXPECT_EQ(build(referred).key_lookups,
              (std::vector<KeyLookup>{
                  {1, "signature-id"}, {1, "threshold"}, {1, "interval"}, {1, "block-time"}, {1, "correlation"}}));
}

} // namespace
