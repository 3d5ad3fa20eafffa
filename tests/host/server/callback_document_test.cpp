// What callbacks can see of the configuration before and after an edit.
#include "server/callback_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "callback_fixture.h"
#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

// The elements of a document from its root, without the namespace declaration: <vsys><name>branch</name></vsys>.
void append_element(const xmlNode* node, std::string& text)
{
    if (node->type != XML_ELEMENT_NODE) {
        text += reinterpret_cast<const char*>(node->content);
        return;
    }
    const std::string name = reinterpret_cast<const char*>(node->name);
    text += "<" + name + ">";
    for (const xmlNode* child = node->children; child != nullptr; child = child->next)
        append_element(child, text);
    text += "</" + name + ">";
}

std::string text_of_element(const xmlNode* element)
{
    std::string text;
    if (element != nullptr)
        append_element(element, text);
    return text;
}

// What a view shows below the virtual system's name; "" when the view has nothing at all.
std::string shown(const StandingEdit& edit, const CallbackDocument& document)
{
    const std::string whole = text_of_element(document.element(edit.at("/qn-ips:ips-config")));
    const std::string before = "<ips-config><user-defined-ips><vsys><name>branch</name>";
    const std::string after = "</vsys></user-defined-ips></ips-config>";
    if (!whole.starts_with(before) || !whole.ends_with(after))
        return whole;
    return whole.substr(before.size(), whole.size() - before.size() - after.size());
}

struct ViewCase {
    const char* title;
    const char* running;
    const char* edit;
    const char* before;
    const char* after;
};

constexpr const char* two_sets = "<profiles><profile><name>web</name><signature-sets>"
                                 "<signature-set><name>a</name><target>client</target></signature-set>"
                                 "<signature-set><name>b</name><target>client</target></signature-set>"
                                 "</signature-sets></profile></profiles>";

const ViewCase view_cases[] = {
    {"a changed leaf has its old and its new value, unchanged leaves and containers beside it are there",
     "<profiles><profile><name>web</name><description>old</description>"
     "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
     "</command-and-control-domain-filter></profile></profiles>",
     "<profiles><profile><name>web</name><description>new</description></profile></profiles>",
     "<profiles><profile><name>web</name><description>old</description>"
     "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
     "</command-and-control-domain-filter></profile></profiles>",
     "<profiles><profile><name>web</name><description>new</description>"
     "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
     "</command-and-control-domain-filter></profile></profiles>"},
    {"a created entry is only in the new view", "<ips-enable>true</ips-enable>",
     "<profiles><profile><name>web</name><description>new</description></profile></profiles>",
     "<ips-enable>true</ips-enable>",
     "<ips-enable>true</ips-enable>"
     "<profiles><profile><name>web</name><description>new</description></profile></profiles>"},
    {"a removed entry is only in the old view, and its container goes with it",
     "<profiles><profile><name>web</name><description>old</description></profile></profiles>",
     "<profiles><profile nc:operation='delete'><name>web</name></profile></profiles>",
     "<profiles><profile><name>web</name><description>old</description></profile></profiles>", ""},
    {"entries that do not change are in neither view",
     "<profiles><profile><name>web</name></profile><profile><name>mail</name></profile></profiles>",
     "<profiles><profile><name>mail</name><description>new</description></profile></profiles>",
     "<profiles><profile><name>mail</name></profile></profiles>",
     "<profiles><profile><name>mail</name><description>new</description></profile></profiles>"},
    {"of a leaf-list only the values that come or go",
     "<exception-domain-name-information><exception-domain-name>a.com</exception-domain-name>"
     "<exception-domain-name>b.com</exception-domain-name></exception-domain-name-information>",
     "<exception-domain-name-information><exception-domain-name nc:operation='delete'>b.com</exception-domain-name>"
     "<exception-domain-name>c.com</exception-domain-name></exception-domain-name-information>",
     "<exception-domain-name-information><exception-domain-name>b.com</exception-domain-name>"
     "</exception-domain-name-information>",
     "<exception-domain-name-information><exception-domain-name>c.com</exception-domain-name>"
     "</exception-domain-name-information>"},
    {"a changed entry of a user-ordered list has its preceding entry, with the key only", two_sets,
     "<profiles><profile><name>web</name><signature-sets>"
     "<signature-set><name>b</name><target>server</target></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name></signature-set>"
     "<signature-set><name>b</name><target>client</target></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name></signature-set>"
     "<signature-set><name>b</name><target>server</target></signature-set></signature-sets></profile></profiles>"},
    {"a moved entry stands behind its old predecessor before and its new one after",
     "<profiles><profile><name>web</name><signature-sets>"
     "<signature-set><name>a</name></signature-set><signature-set><name>b</name></signature-set>"
     "<signature-set><name>c</name></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets>"
     "<signature-set yang:insert='after' yang:key=\"[name='a']\"><name>c</name></signature-set>"
     "</signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>b</name></signature-set>"
     "<signature-set><name>c</name></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name></signature-set>"
     "<signature-set><name>c</name></signature-set></signature-sets></profile></profiles>"},
    {"the entry before a new one is not one that goes with the same edit", two_sets,
     "<profiles><profile><name>web</name><signature-sets>"
     "<signature-set nc:operation='delete'><name>b</name></signature-set>"
     "<signature-set><name>c</name></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name></signature-set>"
     "<signature-set><name>b</name><target>client</target></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name></signature-set>"
     "<signature-set><name>c</name></signature-set></signature-sets></profile></profiles>"},
    {"two new entries in a row: the second one's predecessor is the first",
     "<profiles><profile><name>web</name></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>b</name></signature-set>"
     "<signature-set><name>a</name></signature-set></signature-sets></profile></profiles>",
     "<profiles><profile><name>web</name></profile></profiles>",
     "<profiles><profile><name>web</name><signature-sets><signature-set><name>b</name></signature-set>"
     "<signature-set><name>a</name></signature-set></signature-sets></profile></profiles>"},
};

TEST(CallbackDocument, EachViewShowsItsOwnConfiguration)
{
    for (const ViewCase& test : view_cases) {
        SCOPED_TRACE(test.title);
        StandingEdit edit(branch(test.running), branch(test.edit));
        EXPECT_EQ(shown(edit, CallbackDocument(edit.changes(), View::before)), test.before);
        EXPECT_EQ(shown(edit, CallbackDocument(edit.changes(), View::after)), test.after);
    }
}

TEST(CallbackDocument, IsEmptyWhereTheWholeConfigurationComesOrGoes)
{
    StandingEdit comes("", branch("<ips-enable>true</ips-enable>"));
    EXPECT_EQ(shown(comes, CallbackDocument(comes.changes(), View::before)), "");
    EXPECT_EQ(shown(comes, CallbackDocument(comes.changes(), View::after)), "<ips-enable>true</ips-enable>");
}

TEST(CallbackDocument, ElementsCarryTheModulesNamespaceDeclaredOnTheRoot)
{
    StandingEdit edit("", branch("<ips-enable>true</ips-enable>"));
    const CallbackDocument document(edit.changes(), View::after);
    const xmlNode* root = document.element(edit.at("/qn-ips:ips-config"));
    ASSERT_NE(root, nullptr);
    ASSERT_NE(root->nsDef, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(root->nsDef->href),
                 "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention");
    EXPECT_STREQ(reinterpret_cast<const char*>(root->nsDef->prefix), "qn-ips");
    const xmlNode* leaf = document.element(edit.at("ips-enable"));
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->ns, root->nsDef);
    EXPECT_EQ(leaf->nsDef, nullptr);
}

TEST(CallbackDocument, FindsTheElementOfEachChangeThatTheViewContains)
{
    for (const ViewCase& test : view_cases) {
        SCOPED_TRACE(test.title);
        StandingEdit edit(branch(test.running), branch(test.edit));
        for (const View view : {View::before, View::after}) {
            const CallbackDocument document(edit.changes(), view);
            for (const Change* change : document.in_order()) {
                const xmlNode* element = document.element(*change);
                ASSERT_NE(element, nullptr);
                EXPECT_EQ(element->_private, change);
                EXPECT_EQ(reinterpret_cast<const char*>(element->name), schema_name(change->schema));
                EXPECT_FALSE(change->is(view == View::before ? XMLDIFF_ADD : XMLDIFF_REM));
            }
        }
    }
}

TEST(CallbackDocument, HasNoElementForAChangeOfTheOtherView)
{
    StandingEdit edit(branch("<profiles><profile><name>web</name><description>old</description></profile></profiles>"),
                      branch("<profiles><profile><name>web</name><description nc:operation='delete'/>"
                             "<associated-check-enable>true</associated-check-enable></profile></profiles>"));
    const CallbackDocument before(edit.changes(), View::before);
    const CallbackDocument after(edit.changes(), View::after);
    const Change& removed = edit.at("profiles/profile[name='web']/description");
    const Change& added = edit.at("profiles/profile[name='web']/associated-check-enable");
    EXPECT_NE(before.element(removed), nullptr);
    EXPECT_EQ(after.element(removed), nullptr);
    EXPECT_EQ(before.element(added), nullptr);
    EXPECT_NE(after.element(added), nullptr);
}

std::vector<std::string> paths(const std::vector<const Change*>& changes)
{
    std::vector<std::string> result;
    for (const Change* change : changes)
        result.push_back(below_branch(instance_path(change->node)));
    return result;
}

TEST(CallbackDocument, GoesThroughSiblingsForwardsOrBackwardsAndParentsFirstBothTimes)
{
    StandingEdit edit(branch(""), branch("<ips-enable>true</ips-enable><profiles><profile><name>web</name>"
                                         "<description>x</description></profile><profile><name>mail</name>"
                                         "</profile></profiles>"));
    const CallbackDocument document(edit.changes(), View::after);
    const std::vector<std::string> above = {"/qn-ips:ips-config", "/qn-ips:ips-config/user-defined-ips",
                                            "/qn-ips:ips-config/user-defined-ips/vsys[name='branch']"};
    EXPECT_THAT(paths(document.in_order()),
                ElementsAre(above[0], above[1], above[2], "ips-enable", "profiles", "profiles/profile[name='web']",
                            "profiles/profile[name='web']/name", "profiles/profile[name='web']/description",
                            "profiles/profile[name='mail']", "profiles/profile[name='mail']/name"));
    EXPECT_THAT(paths(document.in_reverse()),
                ElementsAre(above[0], above[1], above[2], "profiles", "profiles/profile[name='mail']",
                            "profiles/profile[name='mail']/name", "profiles/profile[name='web']",
                            "profiles/profile[name='web']/description", "profiles/profile[name='web']/name",
                            "ips-enable"));
}

TEST(CallbackDocument, BothDirectionsHaveTheSameChangesWithParentsFirst)
{
    for (const ViewCase& test : view_cases) {
        SCOPED_TRACE(test.title);
        StandingEdit edit(branch(test.running), branch(test.edit));
        for (const View view : {View::before, View::after}) {
            const CallbackDocument document(edit.changes(), view);
            const std::vector<const Change*> forward = document.in_order();
            EXPECT_FALSE(forward.empty());
            EXPECT_THAT(document.in_reverse(), UnorderedElementsAreArray(forward));
            for (const auto& order : {forward, document.in_reverse()}) {
                for (auto it = order.begin(); it != order.end(); ++it) {
                    const Change* parent = (*it)->parent;
                    EXPECT_TRUE(parent == nullptr || std::find(order.begin(), it, parent) != it);
                }
            }
        }
    }
}

TEST(CallbackDocument, LeafWithoutTextHasNoTextNode)
{
    ConfigTree tree = config("<settings><tag>x</tag></settings><feature><mode>fast</mode><note>old</note></feature>");
    const EditRequest request = edit_of("<feature><note></note></feature>");
    AppliedEdit edit(tree, request);
    const Change* leaf = edit.changes().roots().front()->children.front()->children.front();
    ASSERT_EQ(schema_name(leaf->schema), "note");

    const CallbackDocument before(edit.changes(), View::before);
    const CallbackDocument after(edit.changes(), View::after);
    ASSERT_NE(before.element(*leaf), nullptr);
    ASSERT_NE(before.element(*leaf)->children, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(before.element(*leaf)->children->content), "old");
    ASSERT_NE(after.element(*leaf), nullptr);
    EXPECT_EQ(after.element(*leaf)->children, nullptr);
}

TEST(CallbackDocument, TextIsNotMarkup)
{
    StandingEdit edit(branch(""), branch("<profiles><profile><name>web</name>"
                                         "<description>a &lt;b&gt; &amp;amp; c</description></profile></profiles>"));
    const CallbackDocument after(edit.changes(), View::after);
    const xmlNode* leaf = after.element(edit.at("profiles/profile[name='web']/description"));
    ASSERT_NE(leaf, nullptr);
    ASSERT_NE(leaf->children, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(leaf->children->content), "a <b> &amp; c");
    EXPECT_EQ(leaf->children, leaf->last);
}

class TakenOut : public testing::Test
{
protected:
    StandingEdit edit_{branch("<profiles><profile><name>a</name><description>x</description></profile>"
                              "<profile><name>b</name></profile><profile><name>c</name></profile></profiles>"),
                       branch("<profiles><profile nc:operation='delete'><name>a</name></profile>"
                              "<profile nc:operation='delete'><name>b</name></profile>"
                              "<profile><name>c</name><description>y</description></profile></profiles>")};
    CallbackDocument before_{edit_.changes(), View::before};

    [[nodiscard]] xmlNode* profile(const std::string& name) const
    {
        return before_.element(edit_.at("profiles/profile[name='" + name + "']"));
    }
};

TEST_F(TakenOut, IsHiddenFromItsSiblingsAndItsParent)
{
    ASSERT_EQ(profile("b")->prev, profile("a"));
    before_.take_out(edit_.at("profiles/profile[name='a']"));
    EXPECT_EQ(profile("b")->prev, nullptr);
    EXPECT_EQ(text_of_element(profile("b")->parent), "<profiles><profile><name>b</name></profile>"
                                                     "<profile><name>c</name></profile></profiles>");
    before_.take_out(edit_.at("profiles/profile[name='b']"));
    EXPECT_EQ(text_of_element(profile("c")->parent), "<profiles><profile><name>c</name></profile></profiles>");
}

TEST_F(TakenOut, KeepsItsParentAndItsChildren)
{
    const xmlNode* parent = profile("a")->parent;
    before_.take_out(edit_.at("profiles/profile[name='a']"));
    EXPECT_EQ(profile("a")->parent, parent);
    EXPECT_EQ(profile("a")->next, nullptr);
    EXPECT_EQ(profile("a")->prev, nullptr);
    EXPECT_EQ(text_of_element(profile("a")), "<profile><name>a</name><description>x</description></profile>");
}

TEST_F(TakenOut, ParentsAndWhatIsInThemCanBothBeTakenOut)
{
    const xmlNode* entry = profile("a");
    const xmlNode* leaf = before_.element(edit_.at("profiles/profile[name='a']/description"));
    before_.take_out(edit_.at("profiles/profile[name='a']"));
    before_.take_out(edit_.at("profiles/profile[name='a']/description"));
    EXPECT_EQ(leaf->parent, entry);
    EXPECT_EQ(text_of_element(entry), "<profile><name>a</name></profile>");
    EXPECT_EQ(text_of_element(leaf), "<description>x</description>");
}

TEST_F(TakenOut, WhatIsInAnEntryCanBeTakenOutBeforeTheEntry)
{
    const xmlNode* entry = profile("a");
    const xmlNode* leaf = before_.element(edit_.at("profiles/profile[name='a']/description"));
    before_.take_out(edit_.at("profiles/profile[name='a']/description"));
    before_.take_out(edit_.at("profiles/profile[name='a']"));
    EXPECT_EQ(leaf->parent, entry);
    EXPECT_EQ(entry->parent, profile("b")->parent);
}

} // namespace
} // namespace qnips::test
