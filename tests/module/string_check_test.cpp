// Character-level checks and normalisers, at every rule and limit.
#include "quorin-intrusion-prevention-core/checks/string_check.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/captured_output.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* white_space[] = {" ", "\t", "\n", "\v", "\f", "\r"};

std::string printed(const std::function<void()>& body, bool messages = true)
{
    const DebugSwitches switches({messages, !messages});
    return captured_output(body);
}

// ---------------------------------------------------------------------------------------------------------- numbers --

TEST(NumberCheck, OnlyDigitsAreANumber)
{
    for (const char* text : {"0", "9", "0123456789", "99999999999999999999999999", "007"})
        EXPECT_EQ(ips_compare_string_is_not_number(text), 0U) << text;
    for (const char* text : {"-1", "+1", " 1", "1 ", "1a", "a", "1.0", "0x1", "1\n", "/", ":", "\xc2\xb2"})
        EXPECT_EQ(ips_compare_string_is_not_number(text), 1U) << text;
}

TEST(NumberCheck, EmptyTextCountsAsANumberAndNullDoesNot)
{
    EXPECT_EQ(ips_compare_string_is_not_number(""), 0U);
    EXPECT_EQ(ips_compare_string_is_not_number(nullptr), 1U);
}

// ---------------------------------------------------------------------------------------------------------- validity
// --

TEST(Validity, TextsThatAreAcceptable)
{
    for (const char* text : {"a", "a b", "a\tb", "a\nb", "\"a\"", "!$%&/()=",
                             "\xa0"
                             "a\x85",
                             "\xe4\xb8\xad"})
        EXPECT_EQ(ips_string_is_valid(text), 1U) << text;
}

TEST(Validity, NullAndEmptyAreNot)
{
    EXPECT_EQ(ips_string_is_valid(nullptr), 0U);
    EXPECT_EQ(ips_string_is_valid(""), 0U);
}

TEST(Validity, WhiteSpaceAtAnEndIsNot)
{
    for (const char* space : white_space) {
        const std::string blank = space;
        EXPECT_EQ(ips_string_is_valid((blank + "a").c_str()), 0U);
        EXPECT_EQ(ips_string_is_valid(("a" + blank).c_str()), 0U);
        EXPECT_EQ(ips_string_is_valid(blank.c_str()), 0U);
        EXPECT_EQ(ips_string_is_valid(("a" + blank + "b").c_str()), 1U);
    }
}

TEST(Validity, QuestionMarkAnywhereIsNotAndIsTold)
{
    for (const char* text : {"?", "?a", "a?", "a?b"}) {
        unsigned int result = 7;
        EXPECT_EQ(printed([&] { result = ips_string_is_valid(text); }),
                  "[IPS]ERROR: '?' is in the current value.\r\n\r\n");
        EXPECT_EQ(result, 0U) << text;
        EXPECT_EQ(printed([&] { ips_string_is_valid(text); }, false), "");
    }
}

TEST(Validity, WhiteSpaceIsFoundBeforeAQuestionMark)
{
    EXPECT_EQ(printed([] { ips_string_is_valid(" a?"); }), "");
    EXPECT_EQ(printed([] { ips_string_is_valid("?a "); }), "");
}

// ------------------------------------------------------------------------------------------------------ white space --

TEST(WhiteSpace, IsFoundAnywhere)
{
    for (const char* space : white_space) {
        const std::string blank = space;
        for (const std::string& text : {blank, blank + "a", "a" + blank, "a" + blank + "b"}) {
            std::string copy = text;
            EXPECT_EQ(ips_contained_spaces_marks(text.c_str()), 1U);
            EXPECT_EQ(ips_contained_spaces_marks_temp(copy.data()), 1U);
            EXPECT_EQ(ips_contained_spaces_or_question_marks(text.c_str()), 1U);
            EXPECT_EQ(copy, text);
        }
    }
}

TEST(WhiteSpace, IsNotFoundInOtherTextsEmptyOnesOrNull)
{
    for (const char* text : {"", "a", "a_b", "\x08", "\x0e", "\x1f", "\x7f", "\xa0", "\x85", "\xff", "\x89\x8d"}) {
        std::string copy = text;
        EXPECT_EQ(ips_contained_spaces_marks(text), 0U) << text;
        EXPECT_EQ(ips_contained_spaces_marks_temp(copy.data()), 0U) << text;
        EXPECT_EQ(ips_contained_spaces_or_question_marks(text), 0U) << text;
    }
    EXPECT_EQ(ips_contained_spaces_marks(nullptr), 0U);
    EXPECT_EQ(ips_contained_spaces_marks_temp(nullptr), 0U);
    EXPECT_EQ(ips_contained_spaces_or_question_marks(nullptr), 0U);
}

TEST(WhiteSpace, QuestionMarksCountForOneCheckOnly)
{
    std::string text = "a?b";
    EXPECT_EQ(ips_contained_spaces_or_question_marks(text.c_str()), 1U);
    EXPECT_EQ(ips_contained_spaces_marks(text.c_str()), 0U);
    EXPECT_EQ(ips_contained_spaces_marks_temp(text.data()), 0U);
}

// -------------------------------------------------------------------------------------------------------- trimming --

struct TrimCase {
    const char* source;
    int buffer_size;
    const char* trimmed; // null: refused
};

TEST(Trimming, CutsBothEndsAndKeepsTheMiddle)
{
    const std::vector<TrimCase> cases = {{"ab", 8, "ab"},
                                         {"  ab  ", 8, "ab"},
                                         {"\t\r\nab\v\f", 8, "ab"},
                                         {" a b ", 8, "a b"},
                                         {"a", 2, "a"},
                                         {" a", 2, "a"},
                                         {"", 8, nullptr},
                                         {"   ", 8, nullptr},
                                         {"\n", 8, nullptr},
                                         {"abcdefg", 8, "abcdefg"},
                                         {" abcdefg ", 8, "abcdefg"},
                                         {"abcdefgh", 8, nullptr},
                                         {" abcdefgh ", 8, nullptr},
                                         {"a", 1, nullptr},
                                         {"a", 0, nullptr},
                                         {"\xa0"
                                          "a\x85",
                                          8,
                                          "\xa0"
                                          "a\x85"}};
    for (const TrimCase& test : cases) {
        SCOPED_TRACE(test.source);
        std::array<char, 16> buffer{"###############"};
        char* result = ips_remove_head_and_tail_all_spaces(test.source, buffer.data(), test.buffer_size);
        if (test.trimmed == nullptr) {
            EXPECT_EQ(result, nullptr);
            EXPECT_STREQ(buffer.data(), "###############");
        } else {
            EXPECT_EQ(result, buffer.data());
            EXPECT_STREQ(buffer.data(), test.trimmed);
        }
    }
}

TEST(Trimming, NullIsRefused)
{
    std::array<char, 8> buffer{"#"};
    EXPECT_EQ(ips_remove_head_and_tail_all_spaces(nullptr, buffer.data(), 8), nullptr);
    EXPECT_EQ(ips_remove_head_and_tail_all_spaces("a", nullptr, 8), nullptr);
    EXPECT_STREQ(buffer.data(), "#");
}

using Normaliser = void (*)(const char*, char*, int);

// What a normaliser makes of a text in a destination of 300 bytes that holds '#'.
std::string normalised(Normaliser normalise, const std::string& text)
{
    std::array<char, 300> buffer{"#"};
    normalise(text.c_str(), buffer.data(), static_cast<int>(buffer.size()));
    return buffer.data();
}

TEST(Normaliser, TrimsWhereNeeded)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "ab"), "ab");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "  ab  "), "ab");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "\ta b\n"), "a b");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "a b"), "a b");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "%s%n"), "%s%n");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, " %s%n"), "%s%n");
}

TEST(Normaliser, EmptyTextIsWrittenAndBlanksAloneAreNot)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, ""), "");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "   "), "#");
}

TEST(Normaliser, TextWithoutWhiteSpaceIsCutAt127Bytes)
{
    for (const std::size_t length : {126U, 127U})
        EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, std::string(length, 'a')), std::string(length, 'a'));
    for (const std::size_t length : {128U, 200U})
        EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, std::string(length, 'a')), std::string(127, 'a'));
}

TEST(Normaliser, TextWithWhiteSpaceOf128BytesAfterTrimmingIsNotWritten)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "a " + std::string(125, 'b')), "a " + std::string(125, 'b'));
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "a " + std::string(126, 'b')), "#");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "   " + std::string(127, 'b')), std::string(127, 'b'));
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces, "   " + std::string(128, 'b')), "#");
}

TEST(Normaliser, QuotingOneAlwaysQuotes)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, " ab "), "\"ab\"");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, "ab"), "\"ab\"");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, "a b"), "\"a b\"");
}

TEST(Normaliser, QuotingOneFailsSilently)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, ""), "#");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, "  "), "#");
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, std::string(128, 'a')), "#");
}

TEST(Normaliser, QuotingOneWritesAtMost127Bytes)
{
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, std::string(125, 'a')),
              '"' + std::string(125, 'a') + '"');
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, std::string(126, 'a')), '"' + std::string(126, 'a'));
    EXPECT_EQ(normalised(ips_remove_head_and_tail_spaces_check, std::string(127, 'a')), '"' + std::string(126, 'a'));
}

// -------------------------------------------------------------------------------------------------------- addresses --

TEST(AddressText, EverySlashBecomesABlank)
{
    for (const auto& [source, copied] : {std::pair{"10.0.0.0/8", "10.0.0.0 8"},
                                         {"2001:db8::/32", "2001:db8:: 32"},
                                         {"//", "  "},
                                         {"a", "a"},
                                         {"", ""}}) {
        std::array<char, 32> buffer{};
        ips_parse_ip(source, buffer.data());
        EXPECT_STREQ(buffer.data(), copied);
    }
}

TEST(AddressText, IsNotTerminated)
{
    std::array<char, 16> buffer{"###############"};
    ips_parse_ip("::1/128", buffer.data());
    EXPECT_STREQ(buffer.data(), "::1 128########");
}

// --------------------------------------------------------------------------------------------------- signature numbers
// --

TEST(SignatureId, From1To1024)
{
    for (const char* text : {"1", "1024", "0001", " 5", "+5", "12abc", "1024x", "4294967297", "4294968320"})
        EXPECT_EQ(ips_signature_id_check(text), 1) << text;
    for (const char* text : {"0", "1025", "-1", "", "abc", "x1", "4294967296", "4294968321", "9223372036854775807"})
        EXPECT_EQ(ips_signature_id_check(text), 0) << text;
}

TEST(SignatureId, WrongOneIsTold)
{
    EXPECT_EQ(printed([] { ips_signature_id_check("0"); }), "[IPS]ERROR: The signature id is wrong.\r\n\r\n");
    EXPECT_EQ(printed([] { ips_signature_id_check("0"); }, false), "");
    EXPECT_EQ(printed([] { ips_signature_id_check("1"); }), "");
}

// ------------------------------------------------------------------------------------------------------ first byte of
// --

TEST(FirstByteOf, IsFound)
{
    std::string text = "a/b/\xe9";
    EXPECT_EQ(ips_strchr(text.data(), 'a'), text.data());
    EXPECT_EQ(ips_strchr(text.data(), '/'), text.data() + 1);
    EXPECT_EQ(ips_strchr(text.data(), 'c'), nullptr);
    EXPECT_EQ(ips_strchr(text.data(), 0), text.data() + 5);
    EXPECT_EQ(ips_strchr(text.data() + 5, 'a'), nullptr);
    EXPECT_EQ(ips_strchr(text.data() + 5, 0), text.data() + 5);
}

TEST(FirstByteOf, IsComparedAsAnUnsignedByte)
{
    std::string text = "a/b/\xe9";
    EXPECT_EQ(ips_strchr(text.data(), 0xe9), text.data() + 4);
    EXPECT_EQ(ips_strchr(text.data(), -23), text.data() + 4);
    EXPECT_EQ(ips_strchr(text.data(), 'b' + 256), text.data() + 2);
    EXPECT_EQ(ips_strchr(text.data(), 256), text.data() + 5);
}

// ------------------------------------------------------------------------------------------------- the handlers' check
// --

struct ValueCase {
    const char* name;
    const char* value;   // null: absent
    const char* message; // null: passes
    const char* output;
};

constexpr const char* absent_message = "The current value is NULL.";
constexpr const char* absent_output = "[IPS]ERROR: The current value is NULL.\r\n\r\n";
constexpr const char* invalid_message = "Invalid value, because of spaces or '?'.";
constexpr const char* invalid_output = "[IPS]ERROR: Invalid value, because of spaces or '?'.\r\n\r\n";
constexpr const char* marked_output = "[IPS]ERROR: '?' is in the current value.\r\n\r\n"
                                      "[IPS]ERROR: Invalid value, because of spaces or '?'.\r\n\r\n";

class CurrentValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(CurrentValue, IsCheckedAndTheClientTold)
{
    const ValueCase& test = GetParam();
    server.fail_result = 42;
    const auto check = [&](API_ENV_S* env) { return Check_CurValue_String_Is_Valid(env, test.value); };
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        const CallResult r = server.run("<leaf/>", "/leaf", check);
        if (test.message == nullptr) {
            EXPECT_TRUE(r.quiet());
        } else {
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, test.message}}));
        }
        EXPECT_EQ(r.output, setting.messages ? test.output : "");
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, CurrentValue,
                         testing::Values(ValueCase{"Plain", "text", nullptr, ""},
                                         ValueCase{"BlankInside", "a b", nullptr, ""},
                                         ValueCase{"Absent", nullptr, absent_message, absent_output},
                                         ValueCase{"Empty", "", invalid_message, invalid_output},
                                         ValueCase{"LeadingBlank", " a", invalid_message, invalid_output},
                                         ValueCase{"TrailingTab", "a\t", invalid_message, invalid_output},
                                         ValueCase{"QuestionMark", "a?b", invalid_message, marked_output}),
                         [](const auto& test) { return test.param.name; });

} // namespace
