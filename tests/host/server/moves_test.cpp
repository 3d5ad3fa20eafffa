// The choice of moved entries as a pure function.
#include "server/list_order.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace qnips
{
namespace
{

struct MoveCase {
    const char* title;
    std::vector<std::size_t> old_positions;
    std::vector<bool> placed;
    std::vector<bool> moves;
};

TEST(SmallestMove, IsChosenByLengthAndThenByWhatTheEditDidNotPlace)
{
    const std::vector<MoveCase> cases = {
        {"nothing", {}, {}, {}},
        {"same order", {0, 1, 2}, {true, false, true}, {false, false, false}},
        {"last to the front", {2, 0, 1}, {true, false, false}, {true, false, false}},
        {"first to the end", {1, 2, 0}, {false, false, true}, {false, false, true}},
        {"a swap of two, the first placed", {1, 0}, {true, false}, {true, false}},
        {"a swap of two, the second placed", {1, 0}, {false, true}, {false, true}},
        {"length goes before placement", {2, 0, 1}, {false, true, true}, {true, false, false}},
        {"reversed, the middle one not placed", {2, 1, 0}, {true, false, true}, {true, false, true}},
    };
    for (const MoveCase& test : cases)
        EXPECT_EQ(smallest_move(test.old_positions, test.placed), test.moves) << test.title;
}

// Every subset of entries, tried in turn.
std::size_t best_weight(const std::vector<std::size_t>& positions, const std::vector<bool>& placed)
{
    std::size_t best = 0;
    for (std::size_t subset = 0; subset < (1U << positions.size()); ++subset) {
        std::size_t weight = 0;
        std::size_t last = 0;
        bool rising = true;
        for (std::size_t i = 0; i < positions.size() && rising; ++i) {
            if ((subset >> i & 1U) == 0)
                continue;
            rising = weight == 0 || positions[i] > last;
            last = positions[i];
            weight += placed[i] ? 100U : 101U;
        }
        if (rising)
            best = std::max(best, weight);
    }
    return best;
}

TEST(SmallestMove, LeavesTheBestRisingSubsequenceInPlace)
{
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same cases in each run
    for (int round = 0; round < 400; ++round) {
        std::vector<std::size_t> positions(random() % 9);
        for (std::size_t i = 0; i < positions.size(); ++i)
            positions[i] = 2 * i;
        std::shuffle(positions.begin(), positions.end(), random);
        std::vector<bool> placed(positions.size());
        for (std::size_t i = 0; i < placed.size(); ++i)
            placed[i] = random() % 2 == 0;

        const std::vector<bool> moves = smallest_move(positions, placed);
        std::size_t weight = 0;
        std::size_t last = 0;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            if (moves[i])
                continue;
            EXPECT_TRUE(weight == 0 || positions[i] > last);
            last = positions[i];
            weight += placed[i] ? 100U : 101U;
        }
        EXPECT_EQ(weight, best_weight(positions, placed));
    }
}

} // namespace
} // namespace qnips
