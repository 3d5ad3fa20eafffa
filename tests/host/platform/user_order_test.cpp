// The order of a list's entries against the plain way to keep one.
#include "platform/user_order.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace qnips
{
namespace
{

std::vector<std::string> keys(const UserOrder& order)
{
    return {order.begin(), order.end()};
}

TEST(UserOrder, GivesEveryEntryThePlaceThatItWasToldLast)
{
    std::mt19937 random(7);
    UserOrder order;
    std::vector<std::string> plain;
    for (int round = 0; round < 20000; ++round) {
        const std::string key = std::to_string(random() % 12);
        const std::string next = random() % 4 == 0 ? std::string() : std::to_string(random() % 14);
        if (random() % 5 == 0) {
            order.erase(key);
            std::erase(plain, key);
        } else if (key != next) {
            order.place(key, next);
            std::erase(plain, key);
            plain.insert(std::find(plain.begin(), plain.end(), next), key);
        }
        ASSERT_EQ(keys(order), plain);
        ASSERT_EQ(order.contains(key), std::find(plain.begin(), plain.end(), key) != plain.end());
        for (std::size_t i = 0; i < plain.size(); ++i) {
            const std::string* behind = order.next(plain[i]);
            ASSERT_EQ(behind != nullptr ? *behind : "none", i + 1 < plain.size() ? plain[i + 1] : "none");
        }
    }
}

TEST(UserOrder, StaysAsItIsWhenAnEntryIsPlacedBeforeItself)
{
    UserOrder order({"a", "b", "c"});
    order.place("b", "b");
    EXPECT_EQ(keys(order), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(UserOrder, KnowsNothingOfAnEntryWithoutAPlace)
{
    UserOrder order({"a"});
    order.erase("b");
    EXPECT_EQ(order.next("b"), nullptr);
    EXPECT_FALSE(order.contains("b"));
    EXPECT_EQ(keys(order), (std::vector<std::string>{"a"}));
}

TEST(UserOrder, OutlivesAMove)
{
    UserOrder order({"a", "b"});
    UserOrder moved(std::move(order));
    moved.place("b", "a");
    EXPECT_EQ(keys(moved), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(moved.front(), "b");
}

} // namespace
} // namespace qnips
