// Texts and numbers that are packed come back to the byte, and nothing else does.
#include "platform/packed_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace qnips
{

namespace
{

using namespace std::string_literals;

TEST(PackedText, GivesBackWhatWasPacked)
{
    const std::string texts[] = {"", ";", "12;", "a\0b\n"s, std::string(10'000, 'x')};
    const std::size_t largest = std::numeric_limits<std::size_t>::max();
    TextPacker packer;
    for (const std::string& text : texts) {
        packer.add(text);
        packer.add(largest);
        packer.add(std::size_t{0});
    }
    TextUnpacker unpacker(packer.packed());
    for (const std::string& text : texts) {
        EXPECT_FALSE(unpacker.is_at_end());
        EXPECT_EQ(unpacker.text(), text);
        EXPECT_EQ(unpacker.number(), largest);
        EXPECT_EQ(unpacker.number(), 0U);
    }
    EXPECT_TRUE(unpacker.is_at_end());
}

TEST(PackedText, RefusesWhatIsNoNumber)
{
    for (const std::string& packed : {""s, ";"s, "12"s, "x;"s, "-1;"s, "1 ;"s, "99999999999999999999999;"s}) {
        EXPECT_THROW(TextUnpacker(packed).number(), std::invalid_argument) << packed;
        EXPECT_THROW(TextUnpacker(packed).text(), std::invalid_argument) << packed;
    }
}

TEST(PackedText, RefusesATextThatIsTooShort)
{
    EXPECT_EQ(TextUnpacker("3;abc").text(), "abc");
    EXPECT_THROW(TextUnpacker("4;abc").text(), std::invalid_argument);
    EXPECT_THROW(TextUnpacker("18446744073709551615;abc").text(), std::invalid_argument);
}

} // namespace

} // namespace qnips
