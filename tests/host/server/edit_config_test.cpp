// Operations, marks and moves: tables of a configuration, an edit, the changes and the configuration it leads to.
#include "server/edit_config.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

using Lines = std::vector<std::string>;

struct EditCase {
    const char* title;
    const char* before;
    const char* edit;
    Lines changes;
    const char* after;
};

// Applies the edit twice: taken back the first time, kept the second.
void expect_edit(const EditCase& test)
{
    SCOPED_TRACE(test.title);
    ConfigTree tree = config(test.before);
    const std::string original = exact_text_of(tree);
    const EditRequest request = edit_of(test.edit);
    {
        const AppliedEdit edit(tree, request);
        EXPECT_EQ(lines_of(edit.changes()), test.changes);
    }
    EXPECT_EQ(exact_text_of(tree), original);

    AppliedEdit edit(tree, request);
    edit.commit();
    EXPECT_TRUE(edit.changes().empty());
    EXPECT_EQ(exact_text_of(tree), exact_text_of(config(test.after)));
}

TEST(EditConfig, MarksWhatLeavesAndContainersBecome)
{
    const std::vector<EditCase> cases = {
        {"a first leaf brings its containers",
         "",
         "<settings><level>4</level></settings>",
         {"ADD /et:top", "ADD /et:top/settings", "ADD /et:top/settings/level"},
         "<settings><level>4</level></settings>"},
        {"a new value",
         "<settings><level>4</level></settings>",
         "<settings><level>5</level></settings>",
         {"CHAIN /et:top", "CHAIN /et:top/settings", "MOD /et:top/settings/level was 4"},
         "<settings><level>5</level></settings>"},
        {"the same value",
         "<settings><level>4</level></settings>",
         "<settings><level> 4 </level></settings>",
         {},
         "<settings><level>4</level></settings>"},
        {"the default, said explicitly, is a value",
         "<settings><label>x</label></settings>",
         "<settings><level>3</level></settings>",
         {"ADD /et:top/settings/level", "CHAIN /et:top", "CHAIN /et:top/settings"},
         "<settings><level>3</level><label>x</label></settings>"},
        {"containers in a row go with their last content",
         "<settings><deep><deeper><value>1</value></deeper></deep></settings>",
         "<settings><deep><deeper><value nc:operation='delete'/></deeper></deep></settings>",
         {"REM /et:top", "REM /et:top/settings", "REM /et:top/settings/deep", "REM /et:top/settings/deep/deeper",
          "REM /et:top/settings/deep/deeper/value"},
         ""},
        {"the value of a leaf to be deleted does not matter",
         "<settings><level>4</level><label>x</label></settings>",
         "<settings><level nc:operation='delete'>9</level></settings>",
         {"CHAIN /et:top", "CHAIN /et:top/settings", "REM /et:top/settings/level"},
         "<settings><label>x</label></settings>"},
        {"an empty container is no change", "", "<settings><deep/></settings>", {}, ""},
        {"nor is one that would only lose what is not there",
         "",
         "<settings><level nc:operation='remove'/></settings>",
         {},
         ""},
    };
    for (const EditCase& test : cases)
        expect_edit(test);
}

// As libyang marks a node that the client calls a default.
void mark_default(const EditRequest& request, const char* path)
{
    lyd_node* node = nullptr;
    ASSERT_EQ(lyd_find_path(request.edit, path, 0, &node), LY_SUCCESS);
    node->flags |= static_cast<std::uint32_t>(LYD_DEFAULT);
}

// RFC 6243, 4.5.2.
TEST(EditConfig, TakesBackWhatIsMarkedAsADefault)
{
    struct Case {
        const char* before;
        const char* edit;
        const char* marked;
        const char* after; // or the error
    };
    const char* level = "/engine-test:top/settings/level";
    const std::vector<Case> cases = {
        {"<settings><level>4</level><label>x</label></settings>", "<settings><level>3</level></settings>", level,
         "<settings><label>x</label></settings>"},
        {"<settings><level>4</level></settings>", "<settings nc:operation='replace'><level>3</level></settings>", level,
         ""},
        {"", "<settings nc:operation='create'><level>3</level><label>x</label></settings>", level,
         "<settings><label>x</label></settings>"},
        {"<settings><level>4</level></settings>", "<settings><level nc:operation='create'>3</level></settings>", level,
         ""},
        {"", "<settings><level>4</level></settings>", level, "invalid-value /et:top/settings/level"},
        {"", "<settings><level nc:operation='delete'>3</level></settings>", level,
         "bad-attribute /et:top/settings/level"},
        {"", "<settings nc:operation='remove'><level>3</level></settings>", level,
         "bad-attribute /et:top/settings/level"},
        {"", "<settings><label>x</label></settings>", "/engine-test:top/settings/label",
         "invalid-value /et:top/settings/label"},
        {"", "<settings><tag>x</tag></settings>", "/engine-test:top/settings/tag[.='x']",
         "bad-attribute /et:top/settings/tag[.='x']"},
        {"", "<feature/>", "/engine-test:top/feature", "bad-attribute /et:top/feature"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.edit);
        ConfigTree tree = config(test.before);
        const EditRequest request = edit_of(test.edit);
        mark_default(request, test.marked);
        const std::string error = error_of([&] { AppliedEdit(tree, request).commit(); });
        if (error.empty())
            EXPECT_EQ(exact_text_of(tree), exact_text_of(config(test.after)));
        else
            EXPECT_EQ(error, test.after);
    }
}

TEST(EditConfig, CreatesAContainerWithPresenceForItsOwnSake)
{
    ConfigTree tree; // not valid without a mode, so this stays an edit under way
    const AppliedEdit edit(tree, edit_of("<feature/>"));
    EXPECT_EQ(lines_of(edit.changes()), (Lines{"ADD /et:top", "ADD /et:top/feature"}));
}

TEST(EditConfig, MarksWhatListEntriesBecome)
{
    const std::vector<EditCase> cases = {
        {"a new entry with keys and content",
         "<pair><left>a</left><right>1</right><weight>1</weight></pair>",
         "<pair><weight>2</weight><right>2</right><left>a</left></pair>",
         {"ADD /et:top/pair[left='a'][right='2']", "ADD /et:top/pair[left='a'][right='2']/left",
          "ADD /et:top/pair[left='a'][right='2']/right", "ADD /et:top/pair[left='a'][right='2']/weight",
          "CHAIN /et:top"},
         "<pair><left>a</left><right>1</right><weight>1</weight></pair>"
         "<pair><left>a</left><right>2</right><weight>2</weight></pair>"},
        {"an entry goes with everything below it",
         "<item><name>a</name><filters><all>true</all></filters></item><item><name>b</name></item>",
         "<item nc:operation='delete'><name>a</name></item>",
         {"CHAIN /et:top", "REM /et:top/item[name='a']", "REM /et:top/item[name='a']/filters",
          "REM /et:top/item[name='a']/filters/all", "REM /et:top/item[name='a']/name"},
         "<item><name>b</name></item>"},
        {"a leaf-list is changed value by value",
         "<settings><tag>a</tag><tag>b</tag></settings>",
         "<settings><tag nc:operation='delete'>a</tag><tag>b</tag><tag>c</tag></settings>",
         {"ADD /et:top/settings/tag[.='c']", "CHAIN /et:top", "CHAIN /et:top/settings",
          "REM /et:top/settings/tag[.='a']"},
         "<settings><tag>b</tag><tag>c</tag></settings>"},
        {"remove of an entry that is not there", "", "<item nc:operation='remove'><name>a</name></item>", {}, ""},
    };
    for (const EditCase& test : cases)
        expect_edit(test);
}

TEST(EditConfig, ReplacesByMatching)
{
    const std::vector<EditCase> cases = {
        {"equal content is no change",
         "<item><name>a</name><size>1</size><colour>red</colour></item>",
         "<item nc:operation='replace'><name>a</name><size>1</size><colour>red</colour></item>",
         {},
         "<item><name>a</name><size>1</size><colour>red</colour></item>"},
        {"what the edit does not have goes, what differs changes",
         "<item><name>a</name><size>1</size><strict>false</strict><colour>red</colour></item>",
         "<item nc:operation='replace'><name>a</name><size>2</size><colour>blue</colour></item>",
         {"ADD /et:top/item[name='a']/colour[.='blue']", "CHAIN /et:top", "CHAIN /et:top/item[name='a']",
          "MOD /et:top/item[name='a']/size was 1", "REM /et:top/item[name='a']/colour[.='red']",
          "REM /et:top/item[name='a']/strict"},
         "<item><name>a</name><size>2</size><colour>blue</colour></item>"},
        {"a container without content is emptied by it",
         "<settings><level>4</level></settings><single>x</single>",
         "<settings nc:operation='replace'/>",
         {"CHAIN /et:top", "REM /et:top/settings", "REM /et:top/settings/level"},
         "<single>x</single>"},
        {"below it, an operation of its own still counts",
         "<settings><level>4</level><tag>a</tag></settings>",
         "<settings nc:operation='replace'><level nc:operation='delete'/><tag>a</tag></settings>",
         {"CHAIN /et:top", "CHAIN /et:top/settings", "REM /et:top/settings/level"},
         "<settings><tag>a</tag></settings>"},
        {"entries of a user-ordered list get the edit's order",
         "<item><name>a</name><step><name>1</name></step><step><name>2</name></step><step><name>3</name></step></item>",
         "<item nc:operation='replace'><name>a</name><step><name>3</name></step><step><name>4</name></step>"
         "<step><name>1</name></step></item>",
         {"ADD /et:top/item[name='a']/step[name='4']", "ADD /et:top/item[name='a']/step[name='4']/name",
          "CHAIN /et:top", "CHAIN /et:top/item[name='a']", "REM /et:top/item[name='a']/step[name='2']",
          "REM /et:top/item[name='a']/step[name='2']/name", "SIBLING /et:top/item[name='a']/step[name='1']"},
         "<item><name>a</name><step><name>3</name></step><step><name>4</name></step><step><name>1</name></step></"
         "item>"},
    };
    for (const EditCase& test : cases)
        expect_edit(test);
}

constexpr const char* three_stages =
    "<stage><name>a</name></stage><stage><name>b</name></stage><stage><name>c</name></stage>";

TEST(EditConfig, MovesTheFewestEntries)
{
    const std::vector<EditCase> cases = {
        {"to the front",
         three_stages,
         "<stage yang:insert='first'><name>c</name></stage>",
         {"CHAIN /et:top", "SIBLING /et:top/stage[name='c']"},
         "<stage><name>c</name></stage><stage><name>a</name></stage><stage><name>b</name></stage>"},
        {"to the end",
         three_stages,
         "<stage yang:insert='last'><name>a</name></stage>",
         {"CHAIN /et:top", "SIBLING /et:top/stage[name='a']"},
         "<stage><name>b</name></stage><stage><name>c</name></stage><stage><name>a</name></stage>"},
        {"before another",
         three_stages,
         R"(<stage yang:insert='before' yang:key="[name='b']"><name>c</name></stage>)",
         {"CHAIN /et:top", "SIBLING /et:top/stage[name='c']"},
         "<stage><name>a</name></stage><stage><name>c</name></stage><stage><name>b</name></stage>"},
        {"after another, with a prefix in the key",
         three_stages,
         R"(<stage xmlns:p="urn:quorin:test:engine" yang:insert='after' yang:key="[p:name='b']"><name>a</name></stage>)",
         {"CHAIN /et:top", "SIBLING /et:top/stage[name='a']"},
         "<stage><name>b</name></stage><stage><name>a</name></stage><stage><name>c</name></stage>"},
        {"to where it is", three_stages, "<stage yang:insert='first'><name>a</name></stage>", {}, three_stages},
        {"after the one it follows",
         three_stages,
         R"(<stage yang:insert='after' yang:key="[name='a']"><name>b</name></stage>)",
         {},
         three_stages},
        {"there and back",
         three_stages,
         "<stage yang:insert='first'><name>c</name></stage><stage yang:insert='first'><name>b</name></stage>"
         "<stage yang:insert='first'><name>a</name></stage>",
         {},
         "<stage><name>a</name></stage><stage><name>b</name></stage><stage><name>c</name></stage>"},
        {"a new entry between two is no move of theirs",
         three_stages,
         R"(<stage yang:insert='after' yang:key="[name='a']"><name>d</name></stage>)",
         {"ADD /et:top/stage[name='d']", "ADD /et:top/stage[name='d']/name", "CHAIN /et:top"},
         "<stage><name>a</name></stage><stage><name>d</name></stage><stage><name>b</name></stage>"
         "<stage><name>c</name></stage>"},
        {"nor is the removal of the one between",
         three_stages,
         "<stage nc:operation='remove'><name>b</name></stage>"
         R"(<stage yang:insert='before' yang:key="[name='c']"><name>a</name></stage>)",
         {"CHAIN /et:top", "REM /et:top/stage[name='b']", "REM /et:top/stage[name='b']/name"},
         "<stage><name>a</name></stage><stage><name>c</name></stage>"},
        {"moved and changed",
         three_stages,
         "<stage yang:insert='first'><name>b</name><text>x</text></stage>",
         {"ADD /et:top/stage[name='b']/text", "CHAIN /et:top", "SIBLING|CHAIN /et:top/stage[name='b']"},
         "<stage><name>b</name><text>x</text></stage><stage><name>a</name></stage><stage><name>c</name></stage>"},
        {"a merge without insert moves nothing",
         three_stages,
         "<stage><name>c</name></stage><stage><name>a</name></stage>",
         {},
         three_stages},
    };
    for (const EditCase& test : cases)
        expect_edit(test);
}

TEST(EditConfig, SwitchesTheCaseOfAChoice)
{
    const std::vector<EditCase> cases = {
        {"leaf to container",
         "<single>x</single>",
         "<range><start>1</start><end>2</end></range>",
         {"ADD /et:top/range", "ADD /et:top/range/end", "ADD /et:top/range/start", "CHAIN /et:top",
          "REM /et:top/single"},
         "<range><start>1</start><end>2</end></range>"},
        {"several values to a leaf",
         "<part>1</part><part>2</part><brief>b</brief>",
         "<single>x</single>",
         {"ADD /et:top/single", "CHAIN /et:top", "REM /et:top/brief", "REM /et:top/part[.='1']",
          "REM /et:top/part[.='2']"},
         "<single>x</single>"},
        {"a choice inside a case",
         "<part>1</part><brief>b</brief>",
         "<full>f</full>",
         {"ADD /et:top/full", "CHAIN /et:top", "REM /et:top/brief"},
         "<part>1</part><full>f</full>"},
        {"a container that stays empty does not",
         "<single>x</single>",
         "<range><start nc:operation='remove'/></range>",
         {},
         "<single>x</single>"},
        {"removing the other case as well is no contradiction",
         "<range><start>1</start><end>2</end></range>",
         "<range><start nc:operation='remove'/><end nc:operation='remove'/></range><single>x</single>",
         {"ADD /et:top/single", "CHAIN /et:top", "REM /et:top/range", "REM /et:top/range/end",
          "REM /et:top/range/start"},
         "<single>x</single>"},
    };
    for (const EditCase& test : cases)
        expect_edit(test);
}

TEST(EditConfig, RootsAfterOneAnotherAreEditsAfterOneAnother)
{
    struct Case {
        const char* title;
        const char* before;
        std::vector<const char*> edits;
        Lines changes;
    };
    const std::vector<Case> cases = {
        {"a leaf gone and back",
         "<settings><level>4</level></settings>",
         {"<settings nc:operation='delete'/>", "<settings><level>4</level></settings>"},
         {}},
        {"a leaf gone and back with another value",
         "<settings><level>4</level><label>x</label></settings>",
         {"<settings nc:operation='delete'/>", "<settings><level>5</level></settings>"},
         {"CHAIN /et:top", "CHAIN /et:top/settings", "MOD /et:top/settings/level was 4", "REM /et:top/settings/label"}},
        {"created and removed",
         "<single>x</single>",
         {"<item><name>a</name><size>1</size></item>", "<item nc:operation='delete'><name>a</name></item>"},
         {}},
        {"changed twice, back to the old value",
         "<settings><level>4</level></settings>",
         {"<settings><level>5</level></settings>", "<settings><level>4</level></settings>"},
         {}},
        {"changed, then removed",
         "<settings><level>4</level></settings>",
         {"<settings><level>5</level></settings>", "<settings nc:operation='delete'/>"},
         {"REM /et:top", "REM /et:top/settings", "REM /et:top/settings/level"}},
        {"an entry removed and created again comes last",
         three_stages,
         {"<stage nc:operation='delete'><name>a</name></stage>", "<stage nc:operation='create'><name>a</name></stage>"},
         {"CHAIN /et:top", "SIBLING /et:top/stage[name='a']"}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.title);
        ConfigTree tree = config(test.before);
        const std::string original = exact_text_of(tree);
        std::string roots;
        for (const char* edit : test.edits)
            roots += top(edit);
        AppliedEdit edit(tree, request_of("merge", roots));
        EXPECT_EQ(lines_of(edit.changes()), test.changes);
        edit.rollback();
        EXPECT_EQ(exact_text_of(tree), original);
    }
}

TEST(EditConfig, DefaultOperationHoldsWhereNoneIsStated)
{
    const char* before = "<settings><level>4</level><label>x</label></settings><single>x</single>";
    struct Case {
        const char* operation;
        const char* edit;
        Lines changes;
    };
    const std::vector<Case> cases = {
        {"none", "<settings><level>5</level></settings>", {}},
        {"none",
         "<settings><level nc:operation='merge'>5</level></settings>",
         {"CHAIN /et:top", "CHAIN /et:top/settings", "MOD /et:top/settings/level was 4"}},
        {"none",
         "<item nc:operation='create'><name>a</name></item>",
         {"ADD /et:top/item[name='a']", "ADD /et:top/item[name='a']/name", "CHAIN /et:top"}},
        {"none",
         "<settings><deep><deeper><value nc:operation='create'>1</value></deeper></deep></settings>",
         {"ADD /et:top/settings/deep", "ADD /et:top/settings/deep/deeper", "ADD /et:top/settings/deep/deeper/value",
          "CHAIN /et:top", "CHAIN /et:top/settings"}},
        {"replace",
         "<settings><level>5</level></settings>",
         {"CHAIN /et:top", "CHAIN /et:top/settings", "MOD /et:top/settings/level was 4", "REM /et:top/settings/label",
          "REM /et:top/single"}},
    };
    for (const Case& test : cases) {
        ConfigTree tree = config(before);
        const AppliedEdit edit(tree, request_of(test.operation, top(test.edit)));
        EXPECT_EQ(lines_of(edit.changes()), test.changes) << test.operation << " " << test.edit;
    }
}

TEST(EditConfig, DefaultReplaceTakesOtherRootsAlong)
{
    ConfigTree tree(engine_schema().parse_configuration(
        top("<single>x</single>") + R"(<other xmlns="urn:quorin:test:engine"><value>v</value></other>)"));
    const AppliedEdit edit(tree, request_of("replace", top("<single>x</single>")));
    EXPECT_EQ(lines_of(edit.changes()), (Lines{"REM /et:other", "REM /et:other/value"}));
}

} // namespace
} // namespace qnips::test
