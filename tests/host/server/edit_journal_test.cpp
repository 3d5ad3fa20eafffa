// The undo log by itself: each step and their sequence, taken back or kept.
#include "server/edit_journal.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

constexpr const char* original_content = "<settings><level>4</level></settings><stage><name>a</name></stage>"
                                         "<stage><name>b</name></stage><stage><name>c</name></stage>";

class EditJournalTest : public testing::Test
{
protected:
    lyd_node* at(const char* path)
    {
        lyd_node* node = nullptr;
        const std::string full = std::string("/engine-test:top/") + path;
        return lyd_find_path(tree_.first(), full.c_str(), 0, &node) == LY_SUCCESS ? node : nullptr;
    }

    TreePtr copy_of(const char* path)
    {
        lyd_node* node = nullptr;
        lyd_dup_single(at(path), nullptr, 0, &node);
        return TreePtr(node);
    }

    ConfigTree tree_ = config(original_content);
    const std::string original_ = exact_text_of(tree_);
    EditJournal journal_{tree_};
};

TEST_F(EditJournalTest, TakesBackAValueWithItsFlags)
{
    at("settings/level")->flags |= LYD_WHEN_TRUE; // lost with a new value
    const std::string original = exact_text_of(tree_);
    journal_.set_value(at("settings/level"), "5");
    EXPECT_STREQ(lyd_get_value(at("settings/level")), "5");
    journal_.rollback();
    EXPECT_EQ(exact_text_of(tree_), original);
}

TEST_F(EditJournalTest, TakesBackMovesToEveryPlace)
{
    journal_.move_before(at("stage[name='c']"), at("stage[name='a']"));
    journal_.move_last(at("stage[name='a']"));
    journal_.move_after(at("stage[name='b']"), at("stage[name='c']"));
    journal_.move_last(at("stage[name='c']"));
    EXPECT_EQ(text_of(tree_), text_of(config("<settings><level>4</level></settings><stage><name>b</name></stage>"
                                             "<stage><name>a</name></stage><stage><name>c</name></stage>")));
    journal_.rollback();
    EXPECT_EQ(exact_text_of(tree_), original_);
}

TEST_F(EditJournalTest, TakesBackANodeThatCameAndWent)
{
    lyd_node* top = tree_.first();
    TreePtr copy = copy_of("stage[name='a']");
    lyd_change_term(lyd_child(copy.get()), "d");
    lyd_node* stage = copy.get();
    journal_.insert(top, std::move(copy));
    journal_.move_before(stage, at("stage[name='a']"));
    journal_.move_after(at("stage[name='b']"), stage);
    journal_.unlink(stage);
    EXPECT_EQ(at("stage[name='d']"), nullptr);
    journal_.rollback();
    EXPECT_EQ(exact_text_of(tree_), original_);
}

TEST_F(EditJournalTest, TakesBackTheFirstNodeOfAnEmptyConfiguration)
{
    ConfigTree empty;
    EditJournal journal(empty);
    lyd_node* top = nullptr;
    lyd_new_inner(nullptr, engine_schema().module(), "top", 0, &top);
    journal.insert(nullptr, TreePtr(top));
    EXPECT_EQ(empty.first(), top);
    journal.rollback();
    EXPECT_EQ(empty.first(), nullptr);
}

TEST_F(EditJournalTest, KeepsWhatWasDoneWithoutTraces)
{
    journal_.set_value(at("settings/level"), "5");
    journal_.move_last(at("stage[name='a']"));
    journal_.commit();
    journal_.rollback(); // nothing is left to take back
    EXPECT_EQ(exact_text_of(tree_),
              exact_text_of(config("<settings><level>5</level></settings><stage><name>b</name></stage>"
                                   "<stage><name>c</name></stage><stage><name>a</name></stage>")));
}

} // namespace
} // namespace qnips::test
