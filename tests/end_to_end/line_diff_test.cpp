// The judge of the golden files must not call different texts equal.
#include "end_to_end/line_diff.h"

#include <gtest/gtest.h>

#include <vector>

namespace qnips::test
{

namespace
{

struct DiffCase {
    const char* expected;
    const char* actual;
    const char* diff;
};

TEST(LineDiff, ShowsWhatDiffers)
{
    const std::vector<DiffCase> cases = {
        {"", "", ""},
        {"a\nb\n", "a\nb\n", ""},
        {"", "a\n", "+ a\n"},
        {"a\n", "", "- a\n"},
        {"a\n", "b\n", "- a\n+ b\n"},
        {"a\n", "a \n", "- a\n+ a \n"},
        {"a\n", "a", "- a\n+ a\n(no line end)\n"},
        {"a\n", "a\n\n", "  a\n+ \n"},
        {"a\nb\nc\n", "a\nc\n", "  a\n- b\n  c\n"},
        {"1\n2\n3\n4\n5\n6\n7\n", "0\n2\n3\n4\n5\n6\n8\n", "- 1\n+ 0\n  2\n  3\n...\n  5\n  6\n- 7\n+ 8\n"},
    };
    for (const DiffCase& test : cases)
        EXPECT_EQ(line_diff(test.expected, test.actual), test.diff);
}

} // namespace

} // namespace qnips::test
