// Loading a schema, its paths, and configurations as explicit nodes.
#include "server/yang_schema.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

TEST(YangSchema, NamesModuleAndFoldersWhenOneDoesNotLoad)
{
    try {
        const YangSchema schema({QN_IPS_TEST_DATA, QN_IPS_IETF_YANG_DIR}, "no-such-module");
        FAIL() << "loaded";
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find("no-such-module"), std::string::npos) << text;
        EXPECT_NE(text.find(QN_IPS_TEST_DATA), std::string::npos) << text;
    }
}

TEST(YangSchema, FindsNodesByPrefixedPath)
{
    const lysc_node* node = engine_schema().find("/et:top/et:item/et:filters/et:filter");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(schema_path(node), "/et:top/et:item/et:filters/et:filter");
    EXPECT_EQ(engine_schema().find("/et:top/et:nothing"), nullptr);
    EXPECT_EQ(engine_schema().find(""), nullptr);
}

TEST(YangSchema, FindsNodesBelowAChoiceWithoutIt)
{
    const lysc_node* node = engine_schema().find("/et:top/et:range/et:start");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(schema_path(node), "/et:top/et:range/et:start");
}

TEST(YangSchema, KeepsOnlyExplicitNodesOfAConfiguration)
{
    const ConfigTree tree = config("<settings><deep><deeper/></deep></settings><item><name>a</name><filters/></item>");
    EXPECT_EQ(text_of(tree), R"(<top xmlns="urn:quorin:test:engine"><item><name>a</name></item></top>)");
    EXPECT_EQ(config("<settings/>").first(), nullptr);
    EXPECT_EQ(ConfigTree(engine_schema().parse_configuration(" \n")).first(), nullptr);
}

TEST(YangSchema, KeepsADefaultThatIsSaid)
{
    EXPECT_EQ(text_of(config("<settings><level>3</level></settings>")),
              R"(<top xmlns="urn:quorin:test:engine"><settings><level>3</level></settings></top>)");
}

TEST(YangSchema, RefusesConfigurationsThatAreNotValid)
{
    EXPECT_EQ(error_of([] { config("<settings><level>11</level></settings>"); }),
              "invalid-value /et:top/settings/level");
    EXPECT_EQ(error_of([] { config("<status><uptime>1</uptime></status>"); }).substr(0, 13), "invalid-value");
    EXPECT_EQ(error_of([] { config("<pair><left>a</left><right>1</right></pair>"); }).substr(0, 13), "invalid-value");
}

std::string parsed_text(const std::string& xml)
{
    return text_of(ConfigTree(engine_schema().parse_configuration(xml)));
}

TEST(YangSchema, TakesAConfigurationOutOfItsWrapperOfNetconf)
{
    const std::string base = "urn:ietf:params:xml:ns:netconf:base:1.0";
    const std::string bare = top("<item><name>a</name></item>");
    const std::string expected = R"(<top xmlns="urn:quorin:test:engine"><item><name>a</name></item></top>)";
    EXPECT_EQ(parsed_text(bare), expected);
    for (const char* wrapper : {"config", "data"}) {
        const std::string name = wrapper;
        EXPECT_EQ(parsed_text("<" + name + " xmlns='" + base + "'>\n" + bare + "\n</" + name + ">"), expected);
        EXPECT_EQ(parsed_text("<n:" + name + " xmlns:n='" + base + "' xmlns:e='urn:quorin:test:engine'>" +
                              "<e:top><e:item><e:name>a</e:name></e:item></e:top></n:" + name + ">"),
                  expected);
        EXPECT_EQ(parsed_text("<" + name + " xmlns='" + base + "'/>"), "");
        EXPECT_EQ(error_of([&] { parsed_text("<" + name + ">" + bare + "</" + name + ">"); }).substr(0, 13),
                  "invalid-value");
        EXPECT_EQ(
            error_of([&] { parsed_text("<" + name + " xmlns='" + base + "'>text</" + name + ">"); }).substr(0, 13),
            "invalid-value");
    }
    EXPECT_EQ(parsed_text("<data xmlns='" + base + "'>" + bare +
                          "<other xmlns='urn:quorin:test:engine'><value>v</value></other></data>"),
              expected + R"(<other xmlns="urn:quorin:test:engine"><value>v</value></other>)");
}

TEST(YangSchema, NamesTheLineOfAConfigurationThatIsNoXml)
{
    const auto parse = [] { parsed_text("<top xmlns='urn:quorin:test:engine'>\n  <single>x</singel>\n</top>"); };
    EXPECT_EQ(error_of(parse), "malformed-message");
    EXPECT_EQ(reason_of(parse).substr(0, 42), "not well-formed XML at line 2, column 21: ");
}

TEST(InstancePath, HasThePrefixWhereLibyangHasTheModule)
{
    ConfigTree tree =
        config(R"(<part>engine-test:x</part><pair><left>it's</left><right>1</right><weight>1</weight></pair>)");
    std::vector<std::string> paths;
    for (const lyd_node* node = lyd_child(tree.first()); node != nullptr; node = node->next)
        paths.push_back(instance_path(node));
    EXPECT_EQ(paths,
              (std::vector<std::string>{"/et:top/part[.='engine-test:x']", R"(/et:top/pair[left="it's"][right='1'])"}));
}

} // namespace
} // namespace qnips::test
