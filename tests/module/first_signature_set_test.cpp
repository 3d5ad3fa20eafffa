// The query for a profile's first signature set: its payload byte for byte, and the name that comes of the reply.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "module/reads_test.h"

namespace
{

using namespace qnips::test;

class FirstSet : public ReadsTest
{
};

std::string promised_record(const std::string& vsys, const std::string& profile)
{
    std::string record(168, '\0');
    record[0] = 1;
    record.replace(4, vsys.size(), vsys);
    record.replace(36, profile.size(), profile);
    return record;
}

TEST_F(FirstSet, QueryByteForByte)
{
    first_set_for({.payload = terminated("mail")});
    ASSERT_EQ(last.queries.size(), 1U);
    EXPECT_EQ(header_bytes(last.queries[0].header), promised_header(static_cast<char>(168), 3));
    EXPECT_EQ(last.queries[0].operation, 0U);
    EXPECT_FALSE(last.queries[0].has_error_slot);
    EXPECT_EQ(last.queries[0].payload, promised_record("branch", "webguard"));
}

TEST_F(FirstSet, QueryHolds31CharactersOfTheVsysAnd63OfTheProfile)
{
    const std::string vsys = "v23456789012345678901234567890x";
    const std::string profile = "p23456789012345678901234567890123456789012345678901234567890xyz";
    ASSERT_EQ(vsys.size(), 31U);
    ASSERT_EQ(profile.size(), 63U);
    for (const std::string more : {"", "1", "12", "123456789"}) {
        first_set(vsys + more, profile + more);
        ASSERT_EQ(last.queries.size(), 1U);
        EXPECT_EQ(last.queries[0].payload, promised_record(vsys, profile));
    }
    first_set("", "%s%n");
    EXPECT_EQ(last.queries.at(0).payload, promised_record("", "%s%n"));
}

// The gate belongs to the two reads.
TEST_F(FirstSet, IsAskedForOnAnyModel)
{
    const ProductName product("LX-M01");
    EXPECT_EQ(first_set_for({.payload = terminated("mail")}), "mail");
    EXPECT_EQ(last.queries.size(), 1U);
}

TEST_F(FirstSet, IsTheReplysTextInTheModulesBuffer)
{
    EXPECT_EQ(first_set_for({.payload = terminated("mail")}), "mail");
    EXPECT_EQ(first_set_for({.payload = terminated("mail") + "behind it"}), "mail");
    EXPECT_EQ(first_set_for({.payload = terminated("%s%n")}), "%s%n");
    EXPECT_EQ(first_set_for({.payload = terminated("")}), "");
    EXPECT_EQ(server.released_replies(), 4U);
}

TEST_F(FirstSet, WithoutATerminatorEndsWithTheReply)
{
    EXPECT_EQ(first_set_for({.payload = "mail"}), "mail");
    EXPECT_EQ(first_set_for({.payload = "mailbox", .length = 4}), "mail");
    EXPECT_EQ(first_set_for({.payload = std::string(63, 'n')}), std::string(63, 'n'));
    EXPECT_EQ(first_set_for({.payload = std::string(64, 'n')}), std::string(63, 'n'));
}

TEST_F(FirstSet, WithWhiteSpaceIsReturnedInDoubleQuotes)
{
    for (const char* name : {"two words", " front", "behind ", "a\tb", "a\nb", "a\vb", "a\fb", "a\rb", " "})
        EXPECT_EQ(first_set_for({.payload = terminated(name)}), '"' + std::string(name) + '"');
    EXPECT_EQ(first_set_for({.payload = terminated("a\"b")}), "a\"b");
    EXPECT_EQ(first_set_for({.payload = terminated("\xC2\xA0")}), "\xC2\xA0") << "no white space of this locale";
}

TEST_F(FirstSet, IsCutAt63CharactersQuotesIncluded)
{
    const std::string n(70, 'n');
    for (const std::size_t length : {62U, 63U, 64U, 70U})
        EXPECT_EQ(first_set_for({.payload = terminated(n.substr(0, length))}),
                  n.substr(0, std::min<std::size_t>(length, 63)));
    EXPECT_EQ(first_set_for({.payload = terminated(' ' + n.substr(0, 60))}), "\" " + n.substr(0, 60) + '"');
    for (const std::size_t length : {61U, 62U, 70U})
        EXPECT_EQ(first_set_for({.payload = terminated(' ' + n.substr(0, length))}), "\" " + n.substr(0, 61));
    EXPECT_EQ(first_set_for({.payload = terminated(n.substr(0, 63) + " x")}), n.substr(0, 63))
        << "white space behind the copy does not count";
}

TEST_F(FirstSet, IsNullWhenTheReplyIsEmptyMissingOrTheChannelFails)
{
    EXPECT_EQ(first_set_for({.payload = ""}), std::nullopt);
    EXPECT_EQ(first_set_for({.payload = "mail", .length = 0}), std::nullopt);
    EXPECT_EQ(first_set_for({.result = 7, .payload = terminated("mail")}), std::nullopt);
    EXPECT_EQ(server.released_replies(), 3U);
    EXPECT_EQ(first_set_for(no_reply(7)), std::nullopt);
    EXPECT_EQ(first_set_for(no_reply(0)), std::nullopt);
    EXPECT_EQ(server.allocated_replies(), 3U);
}

TEST_F(FirstSet, BufferHoldsNothingOfTheQueryBefore)
{
    const std::array<char, 64> zero{};
    EXPECT_EQ(first_set_for({.payload = terminated(std::string(63, 'n'))}), std::string(63, 'n'));
    EXPECT_EQ(first_set_for({.payload = terminated("m")}), "m");
    EXPECT_EQ(std::memcmp(g_acIPSFirstSigSetName + 1, zero.data(), 63), 0);
    EXPECT_EQ(first_set_for(no_reply(1)), std::nullopt);
    EXPECT_EQ(std::memcmp(g_acIPSFirstSigSetName, zero.data(), 64), 0);
}

} // namespace
