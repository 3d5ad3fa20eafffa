// What the walk over an edit's scope visits, in which order, in both views.
#include "server/edit_scope.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

using Lines = std::vector<std::string>;

// The visited nodes below <top>, each as its path from there; "*" marks the changed ones.
Lines visited(const AppliedEdit& edit, View view, const ScopeRules& rules = {})
{
    Lines lines;
    std::vector<const lyd_node*> open;
    walk_scope(
        edit.changes(), view, rules,
        [&](const lyd_node* node, const Change* change) {
            EXPECT_EQ(lyd_parent(node), open.empty() ? nullptr : open.back());
            open.push_back(node);
            const std::string path = instance_path(node);
            if (open.size() > 1)
                lines.push_back(path.substr(std::string("/et:top/").size()) + (change != nullptr ? "*" : ""));
        },
        [&](const lyd_node* node) {
            ASSERT_FALSE(open.empty());
            EXPECT_EQ(open.back(), node);
            open.pop_back();
        });
    EXPECT_TRUE(open.empty());
    return lines;
}

struct ScopeCase {
    const char* title;
    const char* before;
    const char* edit;
    Lines old_scope;
    Lines new_scope;
};

TEST(EditScope, HoldsLeavesAndContainersBesideAChangeButNoOtherEntries)
{
    const std::vector<ScopeCase> cases = {
        {"a leaf of an entry",
         "<settings><level>4</level><tag>a</tag></settings>"
         "<item><name>a</name><size>1</size><colour>red</colour><filters><all>true</all></filters></item>"
         "<item><name>b</name></item>",
         "<item><name>a</name><size>2</size></item>",
         {"settings", "settings/level", "item[name='a']*", "item[name='a']/name", "item[name='a']/size*",
          "item[name='a']/filters", "item[name='a']/filters/all"},
         {"settings", "settings/level", "item[name='a']*", "item[name='a']/name", "item[name='a']/size*",
          "item[name='a']/filters", "item[name='a']/filters/all"}},
        {"removed and created nodes, each in its view, in schema order",
         "<single>x</single><item><name>a</name></item>",
         "<item nc:operation='remove'><name>a</name></item><item><name>b</name></item><part>1</part>"
         "<settings><label>l</label></settings>",
         {"single*", "item[name='a']*", "item[name='a']/name*"},
         {"settings*", "settings/label*", "part[.='1']*", "item[name='b']*", "item[name='b']/name*"}},
        {"entries of a system-ordered list in the order of the edit",
         "<item><name>a</name></item><item><name>b</name></item><item><name>c</name></item>",
         "<item><name>c</name><size>1</size></item><item><name>a</name><size>1</size></item>",
         {"item[name='c']*", "item[name='c']/name", "item[name='a']*", "item[name='a']/name"},
         {"item[name='c']*", "item[name='c']/name", "item[name='c']/size*", "item[name='a']*", "item[name='a']/name",
          "item[name='a']/size*"}},
        {"entries of a user-ordered list in the order of each view",
         "<stage><name>a</name></stage><stage><name>b</name></stage><stage><name>c</name></stage>",
         "<stage yang:insert='first'><name>c</name></stage><stage yang:insert='last'><name>a</name></stage>",
         {"stage[name='a']*", "stage[name='a']/name", "stage[name='c']*", "stage[name='c']/name"},
         {"stage[name='c']*", "stage[name='c']/name", "stage[name='a']*", "stage[name='a']/name"}},
        {"nothing at all", "<single>x</single>", "<single>x</single>", {}, {}},
    };
    for (const ScopeCase& test : cases) {
        ConfigTree tree = config(test.before);
        const AppliedEdit edit(tree, edit_of(test.edit));
        EXPECT_EQ(visited(edit, View::before), test.old_scope) << test.title;
        EXPECT_EQ(visited(edit, View::after), test.new_scope) << test.title;
    }
}

TEST(EditScope, ShowsTheEntryBeforeEachTouchedOneOnRequest)
{
    const ScopeRules rules{.preceding_entries = true};
    ConfigTree tree = config("<stage><name>a</name><text>1</text></stage><stage><name>b</name></stage>"
                             "<stage><name>c</name></stage><stage><name>d</name></stage>");
    {
        const AppliedEdit edit(tree,
                               edit_of(R"(<stage yang:insert="after" yang:key="[name='a']"><name>d</name></stage>)"));
        EXPECT_EQ(visited(edit, View::before, rules),
                  (Lines{"stage[name='c']", "stage[name='c']/name", "stage[name='d']*", "stage[name='d']/name"}));
        EXPECT_EQ(visited(edit, View::after, rules),
                  (Lines{"stage[name='a']", "stage[name='a']/name", "stage[name='d']*", "stage[name='d']/name"}));
    }
    {
        const AppliedEdit edit(tree, edit_of("<stage nc:operation='remove'><name>c</name></stage>"
                                             "<stage><name>d</name><text>2</text></stage>"
                                             "<stage><name>b</name><text>2</text></stage>"));
        EXPECT_EQ(visited(edit, View::before, rules),
                  (Lines{"stage[name='a']", "stage[name='a']/name", "stage[name='b']*", "stage[name='b']/name",
                         "stage[name='c']*", "stage[name='c']/name*", "stage[name='d']*", "stage[name='d']/name"}));
        EXPECT_EQ(
            visited(edit, View::after, rules),
            (Lines{"stage[name='a']", "stage[name='a']/name", "stage[name='b']*", "stage[name='b']/name",
                   "stage[name='b']/text*", "stage[name='d']*", "stage[name='d']/name", "stage[name='d']/text*"}));
    }
}

TEST(EditScope, ShowsEveryEntryOfWatchedLists)
{
    const SchemaNodeSet watched{engine_schema().find("/et:top/et:item/et:filters/et:filter")};
    const ScopeRules rules{.watched = &watched};
    ConfigTree tree = config("<item><name>a</name><filters><filter><name>f</name><weight>1</weight></filter>"
                             "<filter><name>g</name></filter></filters></item>");
    const AppliedEdit edit(tree, edit_of("<item><name>a</name><size>1</size></item>"));
    EXPECT_EQ(visited(edit, View::after, rules),
              (Lines{"item[name='a']*", "item[name='a']/name", "item[name='a']/size*", "item[name='a']/filters",
                     "item[name='a']/filters/filter[name='f']", "item[name='a']/filters/filter[name='f']/name",
                     "item[name='a']/filters/filter[name='f']/weight", "item[name='a']/filters/filter[name='g']",
                     "item[name='a']/filters/filter[name='g']/name"}));
}

TEST(EditScope, DoesNotGrowWithTheConfiguration)
{
    const auto visits = [](int entries) {
        std::string before;
        for (int i = 0; i < entries; ++i)
            before += "<item><name>i" + std::to_string(i) + "</name></item><stage><name>s" + std::to_string(i) +
                      "</name></stage>";
        ConfigTree tree = config(before);
        const AppliedEdit edit(
            tree,
            edit_of("<item><name>i3</name><size>1</size></item><stage yang:insert='first'><name>s5</name></stage>"));
        return visited(edit, View::after, {.preceding_entries = true}).size();
    };
    EXPECT_EQ(visits(10), visits(1000));
}

} // namespace
} // namespace qnips::test
