// Edits that cannot be applied: the tag, the path of the node at fault, and the configuration untouched.
#include "server/edit_config.h"

#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

constexpr const char* before = "<settings><level>4</level></settings><item><name>a</name><size>1</size></item>"
                               "<stage><name>a</name></stage><stage><name>b</name></stage>";

struct RefusalCase {
    const char* edit;
    const char* error;
};

void expect_refused(const char* default_operation, const std::vector<RefusalCase>& cases)
{
    ConfigTree tree = config(before);
    const std::string original = exact_text_of(tree);
    for (const RefusalCase& test : cases) {
        EXPECT_EQ(error_of([&] {
                      // A leaf is changed first, so that there is something to take back.
                      const std::string content = std::string("<single nc:operation='merge'>x</single>") + test.edit;
                      const AppliedEdit edit(tree, request_of(default_operation, top(content)));
                  }),
                  test.error)
            << test.edit;
        EXPECT_EQ(exact_text_of(tree), original) << test.edit;
    }
}

TEST(EditRefusal, ExistenceContradictsTheOperation)
{
    expect_refused(
        "merge",
        {
            {"<item nc:operation='create'><name>a</name></item>", "data-exists /et:top/item[name='a']"},
            {"<settings nc:operation='create'><level>5</level></settings>", "data-exists /et:top/settings"},
            {"<settings><level nc:operation='create'>4</level></settings>", "data-exists /et:top/settings/level"},
            {"<item nc:operation='delete'><name>b</name></item>", "data-missing /et:top/item[name='b']"},
            {"<settings><label nc:operation='delete'/></settings>", "data-missing /et:top/settings/label"},
            {"<settings><tag nc:operation='delete'>x</tag></settings>", "data-missing /et:top/settings/tag[.='x']"},
            {"<feature nc:operation='delete'/>", "data-missing /et:top/feature"},
        });
}

TEST(EditRefusal, NothingToDescendInto)
{
    expect_refused(
        "none",
        {
            {"<item><name>b</name><size nc:operation='merge'>1</size></item>", "data-missing /et:top/item[name='b']"},
            {"<feature><note nc:operation='merge'>x</note></feature>", "data-missing /et:top/feature"},
        });
}

TEST(EditRefusal, AttributesInTheWrongPlace)
{
    expect_refused(
        "merge", {
                     {"<item><name nc:operation='delete'>a</name></item>", "bad-attribute /et:top/item[name='a']/name"},
                     {"<item nc:operation='delete'><name>a</name><size nc:operation='create'>1</size></item>",
                      "bad-attribute /et:top/item[name='a']/size"},
                     {"<item yang:insert='first'><name>b</name></item>", "bad-attribute /et:top/item[name='b']"},
                     {"<settings yang:insert='first'><level>4</level></settings>", "bad-attribute /et:top/settings"},
                     {"<stage nc:operation='delete' yang:insert='first'><name>a</name></stage>",
                      "bad-attribute /et:top/stage[name='a']"},
                     {"<stage yang:insert='before'><name>b</name></stage>",
                      "bad-attribute /et:top/stage[name='b'] missing-instance"},
                     {R"(<stage yang:insert='first' yang:key="[name='a']"><name>b</name></stage>)",
                      "bad-attribute /et:top/stage[name='b'] missing-instance"},
                     {R"(<stage yang:insert='after' yang:value="a"><name>b</name></stage>)",
                      "bad-attribute /et:top/stage[name='b'] missing-instance"},
                     {R"(<stage yang:insert='after' yang:key="[name='z']"><name>b</name></stage>)",
                      "bad-attribute /et:top/stage[name='b'] missing-instance"},
                     {R"(<stage yang:insert='after' yang:key="[name='b']"><name>b</name></stage>)",
                      "bad-attribute /et:top/stage[name='b'] missing-instance"},
                 });
}

TEST(EditRefusal, NamesTheAttributeOrNamespaceAtFault)
{
    struct Case {
        const char* edit;
        const char* culprit;
    };
    const std::vector<Case> cases = {
        {"<settings nc:operation='destroy'/>", "operation"},
        {"<settings><level operation='delete'/></settings>", "operation"},
        {"<item nc:operation='delete'><name>a</name><size nc:operation='create'>1</size></item>", "operation"},
        {"<item><name nc:operation='delete'>a</name></item>", "operation"},
        {"<item yang:insert='first'><name>b</name></item>", "insert"},
        {R"(<item yang:key="[name='a']"><name>b</name></item>)", "key"},
        {"<stage nc:operation='delete' yang:insert='first'><name>a</name></stage>", "insert"},
        {"<stage yang:insert='before'><name>b</name></stage>", "key"},
        {R"(<stage yang:insert='first' yang:key="[name='a']"><name>b</name></stage>)", "key"},
        {R"(<stage yang:insert='after' yang:value="a"><name>b</name></stage>)", "value"},
        {R"(<stage yang:insert='after' yang:key="[name='z']"><name>b</name></stage>)", "key"},
        {"<x xmlns='urn:x'/>", "urn:x"},
        {"<settings><level>99</level></settings>", ""},
    };
    for (const Case& test : cases) {
        try {
            ConfigTree tree = config("<item><name>a</name></item>");
            const AppliedEdit edit(tree, edit_of(test.edit));
            ADD_FAILURE() << test.edit << " is accepted";
        } catch (const RpcError& error) {
            EXPECT_EQ(error.culprit(), test.culprit) << test.edit;
        }
    }
}

TEST(EditRefusal, AttributesThatNoEditHas)
{
    expect_refused(
        "merge",
        {
            {"<settings nc:operation='destroy'/>", "bad-attribute /et:top/settings"},
            {"<settings nc:operation=''/>", "bad-attribute /et:top/settings"},
            {"<settings nc:operation='none'/>", "bad-attribute /et:top/settings"},
            {"<settings><level nc:operation='destroy'/></settings>", "bad-attribute /et:top/settings/level"},
            {"<item nc:operation='destroy'><name>a</name></item>", "bad-attribute /et:top/item[name='a']"},
            {"<pair nc:operation='destroy'><left>it's</left><right>1</right></pair>",
             R"(bad-attribute /et:top/pair[left="it's"][right='1'])"},
            {"<settings><tag nc:operation='destroy'>x</tag></settings>", "bad-attribute /et:top/settings/tag[.='x']"},
            {"<stage yang:insert='middle'><name>c</name></stage>", "bad-attribute /et:top/stage[name='c']"},
            {"<item operation='delete'><name>a</name></item>", "unknown-attribute /et:top/item[name='a']"},
            {"<settings><level operation='delete'/></settings>", "unknown-attribute /et:top/settings/level"},
            {"<stage insert='first'><name>c</name></stage>", "unknown-attribute /et:top/stage[name='c']"},
            {"<item nc:insert='first'><name>a</name></item>", "unknown-attribute /et:top/item[name='a']"},
            {"<item yang:operation='delete'><name>a</name></item>", "unknown-attribute /et:top/item[name='a']"},
            {"<item x:operation='delete' xmlns:x='urn:nobody'><name>a</name></item>",
             "unknown-attribute /et:top/item[name='a']"},
            {"<nothing colour='red'/>", "unknown-attribute /et:top/nothing"},
        });
}

TEST(EditRefusal, SaysHowAnAttributeWithoutItsNamespaceIsWritten)
{
    struct Case {
        const char* edit;
        const char* reason;
    };
    const std::vector<Case> cases = {
        {"<item operation='delete'><name>a</name></item>",
         "attribute \"operation\" has no namespace; write nc:operation=\"delete\" with "
         "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""},
        {"<stage insert='first'><name>c</name></stage>",
         "attribute \"insert\" has no namespace; write yang:insert=\"first\" with "
         "xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\""},
        {"<item colour='red'><name>a</name></item>", "attribute \"colour\" has no namespace and no meaning here"},
        {"<item x:operation='delete' xmlns:x='urn:nobody'><name>a</name></item>",
         "attribute \"operation\" of namespace \"urn:nobody\" has no meaning here; write nc:operation=\"delete\" with "
         "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\""},
        {"<settings nc:operation='destroy'/>",
         "\"destroy\" is not an operation; expected merge, replace, create, delete or remove"},
        {"<stage yang:insert='middle'><name>c</name></stage>",
         "\"middle\" is not a place; expected first, last, before or after"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(reason_of([&] { edit_of(test.edit); }), test.reason) << test.edit;
}

TEST(EditRefusal, NodesThatDoNotFitTheSchema)
{
    expect_refused(
        "merge",
        {
            {"<nothing/>", "unknown-element /et:top/nothing"},
            {"<settings><x xmlns='urn:nobody'/></settings>", "unknown-namespace /et:top/settings/x"},
            {"<settings><level>11</level></settings>", "invalid-value /et:top/settings/level"},
            {"<settings><level>high</level></settings>", "invalid-value /et:top/settings/level"},
            {"<settings><level/></settings>", "invalid-value /et:top/settings/level"},
            {"<settings><level nc:operation='delete'>high</level></settings>", "invalid-value /et:top/settings/level"},
            {"<item><size>1</size></item>", "missing-element /et:top/item/name"},
            {"<item><name>A</name></item>", "invalid-value /et:top/item/name"},
            {"<pair><left>a</left></pair>", "missing-element /et:top/pair/right"},
            {"<item><name>a</name><size>many</size></item>", "invalid-value /et:top/item[name='a']/size"},
            {"<status><uptime>1</uptime></status>", "unknown-element /et:top/status"},
            {"<settings>text</settings>", "bad-element /et:top/settings"},
        });
}

TEST(EditRefusal, NamesTheNamespaceFoundAndTheOneExpected)
{
    struct Case {
        const char* content; // of <config>, in the namespace of NETCONF
        const char* error;
        const char* reason;
    };
    const std::vector<Case> cases = {
        {"<top/>", "unknown-element /nc:top",
         "element <top> of namespace \"urn:ietf:params:xml:ns:netconf:base:1.0\" is not known here; expected "
         "xmlns=\"urn:quorin:test:engine\""},
        {"<top xmlns='urn:nobody'/>", "unknown-namespace /top",
         "element <top> of namespace \"urn:nobody\" is not known here; expected xmlns=\"urn:quorin:test:engine\""},
        {"<top xmlns=''/>", "unknown-namespace /top",
         "element <top> without a namespace is not known here; expected xmlns=\"urn:quorin:test:engine\""},
        {"<top xmlns='urn:quorin:test:engine'><settings xmlns='urn:nobody'/></top>",
         "unknown-namespace /et:top/settings",
         "element <settings> of namespace \"urn:nobody\" is not known here; expected "
         "xmlns=\"urn:quorin:test:engine\""},
        {"<top xmlns='urn:quorin:test:engine'><nothing xmlns='urn:nobody'/></top>", "unknown-namespace /et:top/nothing",
         "element <nothing> of namespace \"urn:nobody\" is not known here"},
        {"<top xmlns='urn:quorin:test:engine'><nothing/></top>", "unknown-element /et:top/nothing",
         "element <nothing> is not known here"},
    };
    for (const Case& test : cases) {
        ConfigTree tree;
        const auto edit = [&] { const AppliedEdit applied(tree, request_of("merge", test.content)); };
        EXPECT_EQ(error_of(edit), test.error) << test.content;
        EXPECT_EQ(reason_of(edit), test.reason) << test.content;
    }
}

TEST(EditRefusal, SaysWhichValuesAreAllowed)
{
    struct Case {
        const char* edit;
        const char* reason;
    };
    const std::vector<Case> cases = {
        {"<settings><level>11</level></settings>",
         "Unsatisfied range - value \"11\" is out of the allowed range. Allowed: 1..10."},
        {"<settings><level>300</level></settings>",
         "Value \"300\" is out of type uint8 min/max bounds. Allowed: 1..10."},
        {"<settings><label/></settings>", "The length is not allowed. Allowed: 1..20 characters."},
        {"<settings><label>twenty-one characters</label></settings>",
         "The length is not allowed. Allowed: 1..20 characters."},
        {"<feature><mode>medium</mode></feature>", "Invalid enumeration value \"medium\". Allowed: fast, slow."},
        {"<item><name>a</name><strict>TRUE</strict></item>", "Invalid boolean value \"TRUE\". Allowed: true, false."},
        {"<item><name>a</name><size>70000</size></item>", "Value \"70000\" is out of type uint16 min/max bounds."},
    };
    for (const Case& test : cases) {
        ConfigTree tree;
        EXPECT_EQ(reason_of([&] { const AppliedEdit edit(tree, request_of("merge", top(test.edit))); }), test.reason)
            << test.edit;
    }
}

TEST(EditRefusal, TheSameNodeTwice)
{
    expect_refused("merge",
                   {
                       {"<item><name>c</name></item><item><name>c</name></item>", "bad-element /et:top/item[name='c']"},
                       {"<settings><level>4</level><level>5</level></settings>", "bad-element /et:top/settings/level"},
                       {"<settings><tag>a</tag><tag>a</tag></settings>", "bad-element /et:top/settings/tag[.='a']"},
                       {"<settings/><settings/>", "bad-element /et:top/settings"},
                       {"<settings><level>5</level><level nc:operation='remove'/></settings>",
                        "bad-element /et:top/settings/level"},
                   });
}

TEST(EditRefusal, TwoCasesOfAChoice)
{
    expect_refused("merge", {
                                {"<range><start>1</start></range>", "bad-element /et:top/range"},
                                {"<part>1</part>", "bad-element /et:top/part[.='1']"},
                                {"<full>1</full>", "bad-element /et:top/full"},
                            });
    ConfigTree tree;
    EXPECT_EQ(error_of([&] {
                  const AppliedEdit edit(tree, request_of("merge", top("<single>x</single>") + top("<full>1</full>")));
              }),
              "bad-element /et:top/full");
}

} // namespace
} // namespace qnips::test
