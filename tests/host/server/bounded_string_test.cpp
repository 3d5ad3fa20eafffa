// The bounded string functions at their limits: what fits, what is cut, what empties the destination, and that nothing
// is written beyond what may be.
#include "transapi/bounded_string.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

namespace
{

constexpr char untouched = '#';

// Eight bytes to write to, with bytes behind them that show a write too far.
class Destination
{
public:
    Destination() { bytes_.fill(untouched); }

    char* data() { return bytes_.data(); }

    // The text up to the terminator.
    [[nodiscard]] std::string text() const { return {bytes_.data(), strnlen(bytes_.data(), bytes_.size())}; }

    // True when no byte from `first` on has been written.
    [[nodiscard]] bool untouched_from(std::size_t first) const
    {
        return std::string(bytes_.begin() + static_cast<std::ptrdiff_t>(first), bytes_.end()) ==
               std::string(bytes_.size() - first, untouched);
    }

private:
    std::array<char, 16> bytes_{};
};

struct PrintCase {
    const char* name;
    std::size_t dest_max;
    std::size_t count;
    const char* text;
    int result;
    const char* written;

    friend void PrintTo(const PrintCase& test, std::ostream* out) { *out << test.name; }
};

class Snprintf : public testing::TestWithParam<PrintCase>
{
};

TEST_P(Snprintf, KeepsToItsLimits)
{
    const PrintCase& test = GetParam();
    Destination dest;
    EXPECT_EQ(snprintf_s(dest.data(), test.dest_max, test.count, "%s", test.text), test.result);
    EXPECT_EQ(dest.text(), test.written);
    EXPECT_TRUE(dest.untouched_from(test.dest_max));
}

INSTANTIATE_TEST_SUITE_P(BoundedString, Snprintf,
                         testing::Values(PrintCase{"ShorterThanCount", 8, 7, "abc", 3, "abc"},
                                         PrintCase{"AsLongAsCount", 8, 7, "abcdefg", 7, "abcdefg"},
                                         PrintCase{"LongerThanCountIsCut", 8, 7, "abcdefgh", -1, "abcdefg"},
                                         PrintCase{"MuchLongerIsCut", 8, 3, "abcdefghijklmnopqrstuvwxyz", -1, "abc"},
                                         PrintCase{"CountBelowBufferCutsThoughTextWouldFit", 8, 2, "abc", -1, "ab"},
                                         PrintCase{"CountEqualToBufferFits", 8, 8, "abcdefg", 7, "abcdefg"},
                                         PrintCase{"CountEqualToBufferDoesNotCut", 8, 8, "abcdefgh", -1, ""},
                                         PrintCase{"CountAboveBufferFits", 8, 9, "abcdefg", 7, "abcdefg"},
                                         PrintCase{"CountAboveBufferDoesNotCut", 8, 9, "abcdefgh", -1, ""},
                                         PrintCase{"UnlimitedCountDoesNotCut", 8, SIZE_MAX, "abcdefghi", -1, ""},
                                         PrintCase{"EmptyText", 8, 7, "", 0, ""},
                                         PrintCase{"CountZeroOfEmptyText", 8, 0, "", 0, ""},
                                         PrintCase{"CountZeroCutsEverything", 8, 0, "a", -1, ""},
                                         PrintCase{"OneByteHoldsEmptyText", 1, 1, "", 0, ""},
                                         PrintCase{"OneByteHoldsNothingElse", 1, 1, "a", -1, ""}),
                         [](const auto& test) { return test.param.name; });

TEST(SnprintfArguments, FormatsAllOfThem)
{
    Destination dest;
    EXPECT_EQ(snprintf_s(dest.data(), 8, 7, "%d-%s", 42, "ab"), 5);
    EXPECT_EQ(dest.text(), "42-ab");
}

TEST(SnprintfArguments, NothingIsWrittenWithoutRoom)
{
    Destination dest;
    EXPECT_EQ(snprintf_s(dest.data(), 0, 0, "%s", "a"), -1);
    EXPECT_TRUE(dest.untouched_from(0));
    EXPECT_EQ(snprintf_s(nullptr, 8, 7, "%s", "a"), -1);
}

TEST(SnprintfArguments, NullFormatEmptiesTheDestination)
{
    Destination dest;
    const char* volatile no_format = nullptr; // not a constant, or the compiler would object
    EXPECT_EQ(snprintf_s(dest.data(), 8, 7, no_format, "a"), -1);
    EXPECT_EQ(dest.text(), "");
    EXPECT_TRUE(dest.untouched_from(1));
}

struct CopyCase {
    const char* name;
    std::size_t dest_max;
    const char* source;
    std::size_t count;
    bool succeeds;
    const char* written;

    friend void PrintTo(const CopyCase& test, std::ostream* out) { *out << test.name; }
};

class Strncpy : public testing::TestWithParam<CopyCase>
{
};

TEST_P(Strncpy, KeepsToItsLimits)
{
    const CopyCase& test = GetParam();
    Destination dest;
    EXPECT_EQ(strncpy_s(dest.data(), test.dest_max, test.source, test.count) == 0, test.succeeds);
    EXPECT_EQ(dest.text(), test.written);
    EXPECT_TRUE(dest.untouched_from(test.dest_max));
}

INSTANTIATE_TEST_SUITE_P(BoundedString, Strncpy,
                         testing::Values(CopyCase{"WholeText", 8, "abc", 3, true, "abc"},
                                         CopyCase{"CountBeyondText", 8, "abc", 100, true, "abc"},
                                         CopyCase{"CountCutsTheText", 8, "abcdef", 2, true, "ab"},
                                         CopyCase{"CountCutsALongText", 8, "abcdefghijkl", 7, true, "abcdefg"},
                                         CopyCase{"FillsTheBuffer", 8, "abcdefg", 8, true, "abcdefg"},
                                         CopyCase{"NoRoomForTheTerminator", 8, "abcdefgh", 8, false, ""},
                                         CopyCase{"DoesNotFit", 8, "abcdefghijkl", 12, false, ""},
                                         CopyCase{"EmptyText", 8, "", 5, true, ""},
                                         CopyCase{"CountZero", 8, "abc", 0, true, ""},
                                         CopyCase{"OneByteHoldsEmptyText", 1, "", 1, true, ""},
                                         CopyCase{"OneByteHoldsNothingElse", 1, "a", 1, false, ""},
                                         CopyCase{"NullSource", 8, nullptr, 3, false, ""}),
                         [](const auto& test) { return test.param.name; });

TEST(StrncpyArguments, SourceNeedsNoTerminatorWithinCount)
{
    const std::array<char, 3> source = {'a', 'b', 'c'};
    Destination dest;
    EXPECT_EQ(strncpy_s(dest.data(), 8, source.data(), source.size()), 0);
    EXPECT_EQ(dest.text(), "abc");
}

TEST(StrncpyArguments, NothingIsWrittenWithoutRoom)
{
    Destination dest;
    EXPECT_NE(strncpy_s(dest.data(), 0, "a", 0), 0);
    EXPECT_TRUE(dest.untouched_from(0));
    EXPECT_NE(strncpy_s(nullptr, 8, "a", 1), 0);
}

TEST(Memcpy, CopiesExactlyCountBytes)
{
    Destination dest;
    EXPECT_EQ(memcpy_s(dest.data(), 8, "a\0bcdefgh", 8), 0);
    EXPECT_EQ(std::memcmp(dest.data(), "a\0bcdefg", 8), 0);
    EXPECT_TRUE(dest.untouched_from(8));

    Destination part;
    EXPECT_EQ(memcpy_s(part.data(), 8, "ab", 2), 0);
    EXPECT_TRUE(part.untouched_from(2));
}

TEST(Memcpy, FailureEmptiesTheDestination)
{
    Destination too_small;
    EXPECT_NE(memcpy_s(too_small.data(), 8, "abcdefghi", 9), 0);
    EXPECT_EQ(too_small.text(), "");
    EXPECT_TRUE(too_small.untouched_from(1));

    Destination no_source;
    EXPECT_NE(memcpy_s(no_source.data(), 8, nullptr, 1), 0);
    EXPECT_EQ(no_source.text(), "");
}

TEST(Memcpy, NothingIsWrittenWithoutRoom)
{
    Destination dest;
    EXPECT_NE(memcpy_s(dest.data(), 0, "a", 0), 0);
    EXPECT_TRUE(dest.untouched_from(0));
    EXPECT_NE(memcpy_s(nullptr, 8, "a", 1), 0);
}

TEST(Memset, FillsExactlyCountBytes)
{
    Destination dest;
    EXPECT_EQ(memset_s(dest.data(), 8, 'x', 8), 0);
    EXPECT_EQ(std::memcmp(dest.data(), "xxxxxxxx", 8), 0);
    EXPECT_TRUE(dest.untouched_from(8));

    Destination none;
    EXPECT_EQ(memset_s(none.data(), 8, 'x', 0), 0);
    EXPECT_TRUE(none.untouched_from(0));
}

TEST(Memset, FailureEmptiesTheDestination)
{
    Destination dest;
    EXPECT_NE(memset_s(dest.data(), 8, 'x', 9), 0);
    EXPECT_EQ(dest.text(), "");
    EXPECT_TRUE(dest.untouched_from(1));
}

TEST(Memset, NothingIsWrittenWithoutRoom)
{
    Destination dest;
    EXPECT_NE(memset_s(dest.data(), 0, 'x', 0), 0);
    EXPECT_TRUE(dest.untouched_from(0));
    EXPECT_NE(memset_s(nullptr, 8, 'x', 1), 0);
}

} // namespace
