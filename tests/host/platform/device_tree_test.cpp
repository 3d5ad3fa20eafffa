// The device's configuration as a tree: what a script does to it stays as a whole or goes as a whole.
#include "platform/device_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace
{

using qnips::DeviceNode;
using qnips::DevicePath;
using qnips::DeviceTree;
using testing::ElementsAre;

const DevicePath profiles{{"profiles", ""}};
const DevicePath web{{"profiles", ""}, {"profile", "web"}};
const DevicePath description{{"profiles", ""}, {"profile", "web"}, {"description", ""}};

void describe(const DeviceNode& node, std::string& text)
{
    text += '=' + node.value;
    for (const std::string& key : node.order)
        text += '>' + key;
    for (const auto& [step, child] : node.children) {
        text += '(' + step.name + '[' + step.key + ']';
        describe(*child, text);
        text += ')';
    }
}

std::string described(const DeviceTree& tree)
{
    std::string text;
    describe(tree.root(), text);
    return text;
}

TEST(DeviceTree, MakesWhatIsMissingAboveANode)
{
    DeviceTree tree;
    tree.set(description, "shop");
    EXPECT_EQ(tree.value(description), "shop");
    EXPECT_NE(tree.find(web), nullptr);
    EXPECT_EQ(tree.value(web), "");
    EXPECT_EQ(tree.find({{"profiles", ""}, {"profile", "dmz"}}), nullptr);
}

TEST(DeviceTree, TakesANodeAwayWithAllBelowIt)
{
    DeviceTree tree;
    tree.set(description, "shop");
    EXPECT_TRUE(tree.erase(web));
    EXPECT_EQ(tree.find(description), nullptr);
    EXPECT_EQ(tree.find(profiles), nullptr) << "nothing is left in it";
    EXPECT_FALSE(tree.erase(web));
    EXPECT_FALSE(tree.erase(description));
    EXPECT_FALSE(tree.erase({}));
}

TEST(DeviceTree, KeepsEntriesThatAreLeftEmpty)
{
    DeviceTree tree;
    tree.set(description, "shop");
    EXPECT_TRUE(tree.erase(description));
    EXPECT_NE(tree.find(web), nullptr);
}

TEST(DeviceTree, TakesBackWhatHasNotBeenCommitted)
{
    DeviceTree tree;
    tree.set(description, "shop");
    tree.set_order(profiles, {"web"});
    tree.commit();
    const std::string before = described(tree);

    tree.set(description, "stall");
    tree.erase(web);
    tree.set(description, "market");
    tree.set_order(profiles, {"dmz", "web"});
    EXPECT_NE(described(tree), before);
    tree.roll_back();
    EXPECT_EQ(described(tree), before);
    tree.roll_back();
    EXPECT_EQ(described(tree), before);
}

TEST(DeviceTree, TakesBackAnyScript)
{
    std::mt19937 random(1);
    const auto below = [&](unsigned bound) { return std::uniform_int_distribution<unsigned>(0, bound - 1)(random); };
    DeviceTree tree;
    for (int script = 0; script < 2000; ++script) {
        const std::string before = described(tree);
        for (unsigned line = below(6); line > 0; --line) {
            DevicePath path;
            for (unsigned depth = 1 + below(3); depth > 0; --depth)
                path.push_back({std::string(1, static_cast<char>('a' + below(3))), below(2) == 0 ? "" : "k"});
            switch (below(3)) {
            case 0:
                tree.erase(path);
                break;
            case 1:
                if (below(2) == 0)
                    tree.place(path, std::to_string(below(9)), std::to_string(below(9)));
                else if (below(2) == 0)
                    tree.take_place(path, std::to_string(below(9)));
                else
                    tree.set_order(path, {std::to_string(below(9)), "z"});
                break;
            default:
                tree.set(path, std::to_string(below(3)));
            }
        }
        if (below(2) == 0) {
            tree.commit();
        } else {
            tree.roll_back();
            ASSERT_EQ(described(tree), before) << "script " << script;
        }
    }
}

TEST(DevicePathText, ShowsKeysInBrackets)
{
    EXPECT_EQ(to_string(description), "/profiles/profile[web]/description");
    EXPECT_EQ(qnips::to_string(DevicePath{}), "");
}

} // namespace
