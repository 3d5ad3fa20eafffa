// The steps and the unbounded parts that are read out of an XPath expression.
#include "server/expression_reach.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace qnips
{
namespace
{

TEST(ExpressionReach, NamesTheStepsToChildren)
{
    const std::vector<std::pair<const char*, std::vector<std::string>>> cases = {
        {"../a", {"a"}},
        {"../../qn-ips:a/b[c = 'd e']/f-1.2", {"a", "b", "c", "f-1.2"}},
        {"not(a) or count(b) * 2 >= 3 and c", {"a", "b", "c"}},
        {"a div b mod c", {"a", "b", "c"}},
        {"ancestor::a/b", {"b"}},
        {"child::a", {"a"}},
        {"self::a or parent::b", {}},
        {". != 'a/b' and string-length(current()/../a) < 4", {"a"}},
        {"and and or", {"and", "or"}},
    };
    for (const auto& [expression, steps] : cases) {
        const ExpressionReach reach = reach_of(expression);
        EXPECT_EQ(reach.child_steps, steps) << expression;
        EXPECT_EQ(reach.unbounded, "") << expression;
    }
}

TEST(ExpressionReach, FindsWhatLeadsAnywhere)
{
    for (const char* expression : {"/a", "a or /b", "a//b", "//a", "*", "../*", "a = *", "a * *", "../node()",
                                   "deref(a)", "following-sibling::a", "descendant::a", "preceding::a"})
        EXPECT_NE(reach_of(expression).unbounded, "") << expression;
}

} // namespace
} // namespace qnips
