// The normal form of configurations, and a device's configuration completed from the datastore.
#include "server/unsent_nodes.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "callback_fixture.h"
#include "configuration_model.h"
#include "engine_fixture.h"
#include "server/edit_validation.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

// As a device gives it: not checked for what is missing.
ConfigTree device(const std::string& xml)
{
    return ConfigTree(parse_device_configuration(ips_schema(), xml));
}

std::string profile(const std::string& content)
{
    return branch("<profiles><profile><name>web</name>" + content + "</profile></profiles>");
}

std::string set(const std::string& content)
{
    return profile("<signature-sets><signature-set><name>s</name>" + content + "</signature-set></signature-sets>");
}

std::string signature(const std::string& content)
{
    return branch("<user-defined-signatures><signature><id>7</id>" + content +
                  "</signature></user-defined-signatures>");
}

std::string rule(const std::string& content)
{
    return signature("<signature-rule-information><protocol-rules><protocol>HTTP</protocol><rules><signature-rule>"
                     "<name>r</name>" +
                     content + "</signature-rule></rules></protocol-rules></signature-rule-information>");
}

std::string exception(const std::string& content)
{
    return profile("<exception-signatures><exception-signature><id>5</id>" + content +
                   "</exception-signature></exception-signatures>");
}

std::string predefined(const std::string& content)
{
    return ips_config("<predefined-signatures><signature><id>1025</id>" + content +
                      "</signature></predefined-signatures>");
}

// ------------------------------------------------------------------------------------------------ normal form --

// Two configurations that are the same to a device, because of a row of the table.
struct SameCase {
    const char* node; // the row
    std::string with;
    std::string without;
};

const std::vector<SameCase>& same_cases()
{
    static const std::vector<SameCase> cases = {
        {"*", profile("<collect-attack-evidence-enable>false</collect-attack-evidence-enable>"), profile("")},
        {"*", rule("<scope>message</scope><sequence>random-order</sequence>"), rule("")},
        {"*", ips_config("<global-config><log-merge-switch>false</log-merge-switch></global-config>"), ""},
        {"*", predefined("<config-state>enable</config-state>"), ""},
        {"user-defined-ips/vsys", branch(""), ""},
        {"user-defined-ips/vsys", branch("<ips-enable>true</ips-enable>"), ""},
        {"command-and-control-domain-filter/domain-filter-enable",
         profile("<command-and-control-domain-filter><domain-filter-enable>false</domain-filter-enable>"
                 "</command-and-control-domain-filter>"),
         profile("")},
        {"command-and-control-domain-filter/action",
         profile("<command-and-control-domain-filter><domain-filter-enable>false</domain-filter-enable>"
                 "<action>block</action></command-and-control-domain-filter>"),
         profile("")},
        {"application/all-application", set("<application><all-application>false</all-application></application>"),
         set("")},
        {"application/specifed-application",
         set("<application><all-application>true</all-application><specifed-application>a</specifed-application>"
             "</application>"),
         set("<application><all-application>true</all-application></application>")},
        {"signature-set/protocol/all-protocol", set("<protocol><all-protocol>false</all-protocol></protocol>"),
         set("")},
        {"signature-set/protocol/specifed-protocol",
         set("<protocol><all-protocol>true</all-protocol><specifed-protocol>TLS</specifed-protocol></protocol>"),
         set("<protocol><all-protocol>true</all-protocol></protocol>")},
        {"category/all-category", set("<category><all-category>false</all-category></category>"), set("")},
        {"category/specifed-category",
         set("<category><specifed-category><name>A</name><sub-category><name>x</name></sub-category>"
             "</specifed-category></category>"),
         set("<category><specifed-category><name>B</name><sub-category><name>x</name></sub-category>"
             "</specifed-category></category>")},
        {"specifed-category/all-sub-category",
         set("<category><specifed-category><name>A</name><all-sub-category>false</all-sub-category>"
             "</specifed-category></category>"),
         set("")},
        {"exception-signature/timeout", exception("<action>alert</action><timeout>5</timeout>"),
         exception("<action>alert</action>")},
        {"exception-signature/interworking", exception("<interworking>block-both</interworking>"), exception("")},
        {"user-defined-signatures/signature/associated-enable",
         signature("<associated-enable>true</associated-enable>"),
         signature("<associated-enable>false</associated-enable>")},
        {"user-defined-signatures/signature/target",
         signature("<associated-enable>true</associated-enable><target>client</target>"), signature("")},
        {"start-ip",
         rule("<source-ip-range><start-ip>10.0.0.1/32</start-ip><end-ip>10.0.0.2</end-ip></source-ip-range>"),
         rule("<source-ip-range><start-ip>10.0.0.1</start-ip><end-ip>10.0.0.2</end-ip></source-ip-range>")},
        {"end-ip",
         rule("<destination-ip-range><start-ip>fc00::1</start-ip><end-ip>fc00::2/128</end-ip></destination-ip-range>"),
         rule("<destination-ip-range><start-ip>fc00::1</start-ip><end-ip>fc00::2</end-ip></destination-ip-range>")},
        {"associated-rule/protocol",
         signature("<signature-rule-information><associated-rule><protocol>SSH</protocol></associated-rule>"
                   "</signature-rule-information>"),
         signature("")},
        {"predefined-signatures/signature", predefined(""), ""},
    };
    return cases;
}

TEST(NormalForm, LeavesOutWhatNoLineCarries)
{
    for (const SameCase& same : same_cases()) {
        SCOPED_TRACE(fmt::format("{}\n{}", same.node, same.with));
        EXPECT_EQ(normal_form(device(same.with)), normal_form(device(same.without)));
    }
}

TEST(UnsentNodes, AreAllTestedAndOfTheSchema)
{
    std::set<std::string_view> tested;
    for (const SameCase& same : same_cases())
        tested.insert(same.node);
    std::vector<std::string> paths;
    for (const Row& row : ips_rows()) {
        std::string path = row.path;
        for (std::size_t at = 0; (at = path.find("qn-ips:", at)) != std::string::npos;)
            path.erase(at, std::string_view("qn-ips:").size());
        paths.push_back(std::move(path));
    }
    for (const UnsentNode& node : unsent_nodes()) {
        EXPECT_TRUE(tested.contains(node.node)) << node.node;
        EXPECT_TRUE(node.reason.ends_with('.')) << node.node;
        const std::string tail = "/" + std::string(node.node);
        EXPECT_TRUE(node.node == "*" || std::any_of(paths.begin(), paths.end(),
                                                    [&](const std::string& path) { return path.ends_with(tail); }))
            << node.node;
    }
}

TEST(NormalForm, HasALineForEverythingThatLinesCarry)
{
    EXPECT_THAT(normal_form(device(set("<signature-set-action><action>block</action></signature-set-action>"
                                       "<application><all-application>true</all-application></application>"
                                       "<severity>high</severity><severity>low</severity>"))),
                ElementsAre("/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets in this order = [name='s']",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets/signature-set[name='s']",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets/signature-set[name='s']/application/all-application = true",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets/signature-set[name='s']/severity = high",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets/signature-set[name='s']/severity = low",
                            "/ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']"
                            "/signature-sets/signature-set[name='s']/signature-set-action/action = block"));
    EXPECT_THAT(normal_form(ConfigTree()), IsEmpty());
}

// Values and places that the device knows.
TEST(NormalForm, TellsApartWhatLinesTellApart)
{
    const std::pair<std::string, std::string> different[] = {
        {profile(""), ""},
        {exception(""), profile("")},
        {exception("<action>block</action>"), exception("")},
        {signature("<target>both</target>"), signature("")},
        {rule("<source-ip>10.0.0.1/32</source-ip>"), rule("<source-ip>10.0.0.1</source-ip>")},
        {rule("<source-ip-range><start-ip>10.0.0.1</start-ip><end-ip>10.0.0.2</end-ip></source-ip-range>"),
         rule("<source-ip-range><start-ip>10.0.0.2</start-ip><end-ip>10.0.0.2</end-ip></source-ip-range>")},
        {rule("<source-ip>10.0.0.1</source-ip>"), rule("<destination-ip>10.0.0.1</destination-ip>")},
        {predefined("<config-state>disable</config-state>"), ""},
        {branch("<ips-enable>false</ips-enable>"), branch("")},
        {set("<category><specifed-category><name>A</name><all-sub-category>true</all-sub-category>"
             "</specifed-category></category>"),
         set("")},
        {profile("<signature-sets><signature-set><name>a</name></signature-set><signature-set><name>b</name>"
                 "</signature-set></signature-sets>"),
         profile("<signature-sets><signature-set><name>b</name></signature-set><signature-set><name>a</name>"
                 "</signature-set></signature-sets>")},
    };
    for (const auto& [one, other] : different) {
        SCOPED_TRACE(one + "\n" + other);
        EXPECT_NE(normal_form(device(one)), normal_form(device(other)));
    }
}

// Order means nothing but where the user orders.
TEST(NormalForm, IsTheSameForAnyOrderOfOtherEntries)
{
    EXPECT_EQ(normal_form(device(set("<severity>high</severity><severity>low</severity>"))),
              normal_form(device(set("<severity>low</severity><severity>high</severity>"))));
}

// ------------------------------------------------------------------------------------------------- completion --

struct CompletionCase {
    const char* title;
    std::string device;
    std::string datastore;
    std::string result;
};

const std::string false_nature = "<associated-enable>false</associated-enable>";
const std::string true_nature = "<associated-enable>true</associated-enable>";
const std::string ssh_protocol = "<signature-rule-information><associated-rule><protocol>SSH</protocol>"
                                 "</associated-rule></signature-rule-information>";
const std::string http_rules = "<signature-rule-information><protocol-rules><protocol>HTTP</protocol></protocol-rules>"
                               "</signature-rule-information>";
const std::string counting_rule = "<signature-rule-information><associated-rule><signature-rule><name>r</name>"
                                  "</signature-rule></associated-rule></signature-rule-information>";

std::string category(const std::string& name, const std::string& content)
{
    return "<specifed-category><name>" + name + "</name>" + content + "</specifed-category>";
}

std::string categories(const std::string& content)
{
    return set("<category><all-category>false</all-category>" + content + "</category>");
}

const std::string x_of_them = "<all-sub-category>false</all-sub-category><sub-category><name>x</name></sub-category>";
const std::string all_of_them = "<all-sub-category>true</all-sub-category>";

std::string filter(const std::string& content)
{
    return profile("<command-and-control-domain-filter>" + content + "</command-and-control-domain-filter>");
}

const std::vector<CompletionCase>& completion_cases()
{
    static const std::vector<CompletionCase> cases = {
        {"nothing anywhere", "", "", ""},
        {"what only the device has stays", profile("<description>d</description>"), "",
         profile("<description>d</description>")},
        {"what only the datastore has and a line carries is not on the device", "", profile(""), branch("")},
        {"another value on the device stays", profile("<description>a</description>"),
         profile("<description>b</description>"), profile("<description>a</description>")},
        {"a virtual system without content", "", branch(""), branch("")},
        {"a default that was given", profile(""), profile("<associated-check-enable>false</associated-check-enable>"),
         profile("<associated-check-enable>false</associated-check-enable>")},
        {"a default that was not given", set("<target>both</target>"), set(""), set("")},
        {"a default that the device has not", set("<target>client</target>"), set("<target>both</target>"),
         set("<target>client</target>")},
        {"the nature of a signature", signature(false_nature), signature(true_nature + ssh_protocol),
         signature(true_nature + ssh_protocol)},
        {"a nature that the device does not give", signature(""), signature(true_nature), signature(true_nature)},
        {"a nature that nobody knows", signature(""), "", signature(false_nature)},
        {"rules that say that the signature is associated", signature(counting_rule), "",
         signature(true_nature + counting_rule)},
        {"rules that contradict the datastore", signature(http_rules), signature(true_nature + ssh_protocol),
         signature(false_nature + http_rules)},
        {"a filter that is off", profile(""),
         filter("<domain-filter-enable>false</domain-filter-enable>"
                "<action>block</action>"),
         filter("<domain-filter-enable>false</domain-filter-enable><action>block</action>")},
        {"a filter that is only on on the device", filter("<domain-filter-enable>true</domain-filter-enable>"),
         filter("<domain-filter-enable>false</domain-filter-enable><action>block</action>"),
         filter("<domain-filter-enable>true</domain-filter-enable>")},
        {"a container that selects nothing", set(""),
         set("<application><all-application>false</all-application></application>"),
         set("<application><all-application>false</all-application></application>")},
        {"a container that selects nothing and only the device has",
         set("<application><all-application>false</all-application></application>"), set(""), set("")},
        {"a mask of full length",
         rule("<source-ip-range><start-ip>10.0.0.1</start-ip><end-ip>10.0.0.2</end-ip></source-ip-range>"),
         rule("<source-ip-range><start-ip>10.0.0.1/32</start-ip><end-ip>10.0.0.3/32</end-ip></source-ip-range>"),
         signature(false_nature + "<signature-rule-information><protocol-rules><protocol>HTTP</protocol><rules>"
                                  "<signature-rule><name>r</name><source-ip-range><start-ip>10.0.0.1/32</start-ip>"
                                  "<end-ip>10.0.0.2</end-ip></source-ip-range></signature-rule></rules>"
                                  "</protocol-rules></signature-rule-information>")},
        {"a sub-category of another category", categories(category("A", x_of_them)),
         categories(category("B", x_of_them)), categories(category("B", x_of_them))},
        {"a category of which the device has all", categories(category("A", all_of_them)),
         categories(category("A", x_of_them)), categories(category("A", all_of_them))},
        {"a category of which the device has a part", categories(category("A", x_of_them)),
         categories(category("A", all_of_them)), categories(category("A", x_of_them))},
        {"a category that the device has not", categories(""), categories(category("A", x_of_them)), categories("")},
        {"a predefined signature without settings", "", predefined(""), predefined("")},
        {"signature sets in the device's order",
         profile("<signature-sets><signature-set><name>b</name></signature-set><signature-set><name>a</name>"
                 "</signature-set></signature-sets>"),
         profile("<signature-sets><signature-set><name>a</name></signature-set><signature-set><name>b</name>"
                 "</signature-set></signature-sets>"),
         profile("<signature-sets><signature-set><name>b</name></signature-set><signature-set><name>a</name>"
                 "</signature-set></signature-sets>")},
    };
    return cases;
}

TEST(Completion, TakesFromTheDatastoreWhatNoLineCarries)
{
    for (const CompletionCase& completion : completion_cases()) {
        SCOPED_TRACE(completion.title);
        const ConfigTree datastore = device(completion.datastore);
        const std::vector<std::string> known = normal_form(device(completion.device));
        const ConfigTree result = complete(device(completion.device), datastore);
        EXPECT_EQ(canonical(config_of(result.first())), canonical(config_of(device(completion.result).first())))
            << text_of(result);
        EXPECT_EQ(normal_form(result), known) << "the device's own part has changed";
        EXPECT_EQ(error_of([&] { validate_tree(ips_schema(), result); }), "") << text_of(result);
    }
}

TEST(DeviceConfiguration, MayLackWhatNoLineCarries)
{
    EXPECT_THAT(normal_form(device(signature(""))), testing::SizeIs(1));
    EXPECT_EQ(device("").first(), nullptr);
    EXPECT_EQ(device(" \n").first(), nullptr);
}

TEST(DeviceConfiguration, IsRefusedWhenItIsNoDataOfTheModule)
{
    EXPECT_THAT(error_of([] { device("<other xmlns=\"urn:x\"/>"); }), testing::StartsWith("operation-failed"));
    EXPECT_THAT(error_of([] { device("no xml"); }), testing::StartsWith("operation-failed"));
    EXPECT_THAT(error_of([] { device(profile("<unknown/>")); }), testing::StartsWith("operation-failed"));
}

} // namespace
} // namespace qnips::test
