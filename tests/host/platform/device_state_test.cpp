// The state tree: valid against the YANG module, complete, and as the configuration and the catalogue say.
#include "platform/device_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "state_document.h"

namespace qnips
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

SignatureCatalogue small_catalogue()
{
    std::istringstream text(
        "category | Injection | SQL, Command\n"
        "category | Flood | -\n"
        "signature | 2001 | SQL | a | high | server | windows | web | HTTP | block | enable | - | d\n"
        "signature | 2002 | SQL | b | low | client | ios | - | HTTP | alert | disable | 40 50 60 source | d\n"
        "signature | 2003 | Flood | c | low | both | other | - | DNS | alert | enable | - | d\n");
    return SignatureCatalogue(text);
}

const SignatureCatalogue& catalogue()
{
    static const SignatureCatalogue catalogue = small_catalogue();
    return catalogue;
}

// Facts without profiles beyond those that are configured.
DeviceFacts plain_facts()
{
    DeviceFacts facts;
    facts.built_in_profiles.clear();
    return facts;
}

StateDocument state_of(const DeviceTree& tree, const DeviceFacts& facts = plain_facts())
{
    return StateDocument(state_xml(tree, catalogue(), facts));
}

DevicePath operator/(DevicePath path, DeviceStep step)
{
    path.push_back(std::move(step));
    return path;
}

DevicePath operator/(DevicePath path, const char* name)
{
    return std::move(path) / DeviceStep{name, ""};
}

DevicePath vsys(const std::string& name)
{
    return {{"user-defined-ips", ""}, {"vsys", name}};
}

DevicePath profile(const std::string& vsys_name, const std::string& name)
{
    return vsys(vsys_name) / "profiles" / DeviceStep{"profile", name};
}

DevicePath signature_set(const std::string& vsys_name, const std::string& profile_name, const std::string& name)
{
    return profile(vsys_name, profile_name) / "signature-sets" / DeviceStep{"signature-set", name};
}

DevicePath user_defined(const std::string& vsys_name, const std::string& id)
{
    return vsys(vsys_name) / "user-defined-signatures" / DeviceStep{"signature", id};
}

DevicePath basic_rule(const DevicePath& signature, const std::string& name)
{
    return signature / "signature-rule-information" / "protocol-rules" / "rules" / DeviceStep{"signature-rule", name};
}

DevicePath associated_rule(const DevicePath& signature, const std::string& name)
{
    return signature / "signature-rule-information" / "associated-rule" / DeviceStep{"signature-rule", name};
}

DevicePath predefined(const std::string& id)
{
    return {{"predefined-signatures", ""}, {"signature", id}};
}

TEST(DeviceState, HasEveryNodeOfTheModuleButThoseThatNeedTraffic)
{
    DeviceTree tree;
    tree.set(signature_set("branch", "webguard", "a"));
    tree.set(user_defined("branch", "1"));
    DeviceFacts facts;
    facts.previous_database_version = "0.9";
    facts.last_update_time = "2026-11-20T03:00:12.5+01:00";
    facts.last_update_result = "succeeded";

    std::set<std::string> missing = StateDocument::schema_paths_of_module();
    ASSERT_EQ(missing.size(), 73U);
    for (const std::string& path : state_of(tree, facts).schema_paths())
        EXPECT_EQ(missing.erase(path), 1U) << path;
    EXPECT_THAT(missing,
                UnorderedElementsAre("ips-state/statistics/vsys/profiles/profile/last-hit-time",
                                     "ips-state/statistics/vsys/user-defined-signatures/signature/last-hit-time"));
}

TEST(DeviceState, OfAFreshDeviceIsThatOfTheRootSystem)
{
    const StateDocument state = state_of(DeviceTree(), DeviceFacts());
    EXPECT_THAT(state.values("statistics/vsys/name"), ElementsAre("public"));
    EXPECT_EQ(state.value("statistics/vsys/ips-assigned"), "true");
    EXPECT_THAT(state.values("statistics/vsys/profiles/profile/name"),
                ElementsAre("default", "ids", "outside_firewall", "dmz", "inside_firewall", "mail_server", "dns_server",
                            "file_server", "web_server", "strict"));
    EXPECT_THAT(state.values("statistics/vsys/user-defined-signatures/signature/id"), IsEmpty());
    EXPECT_EQ(state.value("signature-database/predefined-signature-count"), "3");
    EXPECT_EQ(state.value("signature-database/user-defined-signature-count"), "0");
    EXPECT_EQ(state.value("signature-database/last-update-result"), "none");
    EXPECT_THAT(state.values("signature-database/previous-version"), IsEmpty());
    EXPECT_THAT(state.values("signature-database/last-update-time"), IsEmpty());
}

TEST(DeviceState, TellsTheFacts)
{
    DeviceFacts facts;
    facts.engine_version = "6.2 & later";
    facts.engine_start_time = "2026-11-21T08:30:00Z";
    facts.memory_usage = 41;
    facts.database_version = "2026112000";
    facts.database_release_time = "2026-11-20T00:00:00Z";
    facts.previous_database_version = "2026111300";
    facts.last_update_time = "2026-11-20T03:00:12Z";
    facts.last_update_result = "succeeded";
    facts.built_in_profiles = {"one", "two"};
    DeviceTree tree;
    tree.set(profile("public", "two"));
    const StateDocument state = state_of(tree, facts);
    EXPECT_THAT(state.values("engine/*"), ElementsAre("running", facts.engine_version, facts.engine_start_time, "41",
                                                      "0", "0", "0", "0", "0", "0"));
    EXPECT_THAT(state.values("signature-database/*"),
                ElementsAre(facts.database_version, facts.database_release_time, "2026111300", "2026-11-20T03:00:12Z",
                            "succeeded", "3", "0"));
    EXPECT_THAT(state.values("statistics/vsys/profiles/profile/name"), ElementsAre("two", "one"));
}

TEST(DeviceState, ListsTheCatalogue)
{
    const StateDocument state = state_of(DeviceTree());
    EXPECT_THAT(state.values("predefined-signatures/signature[id='2001']/*[not(*)]"),
                ElementsAre("2001", "a", "d", "high", "server", "windows", "web", "HTTP", "Injection", "SQL", "block",
                            "enable", "", "0"));
    EXPECT_THAT(state.values("predefined-signatures/signature[id='2003']/sub-category"), IsEmpty());
    EXPECT_THAT(state.values("categories/category/name"), ElementsAre("Injection", "Flood"));
    EXPECT_THAT(state.values("categories/category/signature-count"), ElementsAre("2", "1"));
    EXPECT_THAT(state.values("categories/category/sub-category/name"), ElementsAre("SQL", "Command"));
    EXPECT_THAT(state.values("categories/category/sub-category/signature-count"), ElementsAre("2", "0"));
}

TEST(DeviceState, OfThePredefinedSignaturesGoesFromTheSingleSettingToTheGlobalOneToTheDatabase)
{
    const std::string states = "predefined-signatures/signature/state";
    DeviceTree tree;
    EXPECT_THAT(state_of(tree).values(states), ElementsAre("enable", "disable", "enable"));
    tree.set({{"global-config", ""}, {"global-signature-state", ""}}, "disable");
    EXPECT_THAT(state_of(tree).values(states), ElementsAre("disable", "disable", "disable"));
    tree.set(predefined("2001") / "config-state", "enable");
    EXPECT_THAT(state_of(tree).values(states), ElementsAre("enable", "disable", "disable"));
    tree.erase({{"global-config", ""}, {"global-signature-state", ""}});
    tree.set(predefined("2001") / "config-state", "disable");
    EXPECT_THAT(state_of(tree).values(states), ElementsAre("disable", "disable", "enable"));
}

TEST(DeviceState, CompletesAConfiguredCorrelationFromTheDatabase)
{
    const auto correlation = [](const DeviceTree& tree, const std::string& id) {
        return state_of(tree).values("predefined-signatures/signature[id='" + id + "']/associated-condition/*");
    };
    DeviceTree tree;
    EXPECT_THAT(correlation(tree, "2001"), IsEmpty());
    EXPECT_THAT(correlation(tree, "2002"), ElementsAre("40", "50", "60", "source"));

    tree.set(predefined("2001") / "associated-condition" / "interval", "7");
    tree.set(predefined("2002") / "associated-condition" / "threshold", "8");
    tree.set(predefined("2002") / "associated-condition" / "correlation", "destination");
    EXPECT_THAT(correlation(tree, "2001"), ElementsAre("30", "7", "5", "source-destination"));
    EXPECT_THAT(correlation(tree, "2002"), ElementsAre("8", "50", "60", "destination"));

    tree.set(predefined("2002") / "associated-condition" / "block-time", "9");
    tree.set(predefined("2002") / "associated-condition" / "interval", "10");
    EXPECT_THAT(correlation(tree, "2002"), ElementsAre("8", "10", "9", "destination"));
}

TEST(DeviceState, CountsWhatIsConfiguredByVirtualSystem)
{
    DeviceTree tree;
    tree.set(vsys("branch") / "ips-enable", "false");
    tree.set(vsys("office") / "ips-enable", "true");
    tree.set(profile("branch", "one"));
    tree.set(profile("branch", "two"));
    tree.set(profile("office", "one"));
    for (const char* id : {"1", "2", "10"})
        tree.set(user_defined("branch", id));
    tree.set(user_defined("public", "1024"));
    const StateDocument state = state_of(tree);
    EXPECT_THAT(state.values("statistics/vsys/name"), ElementsAre("public", "branch", "office"));
    EXPECT_THAT(state.values("statistics/vsys/ips-assigned"), ElementsAre("true", "false", "true"));
    EXPECT_THAT(state.values("statistics/vsys[name='branch']/profiles/profile/name"), ElementsAre("one", "two"));
    EXPECT_THAT(state.values("statistics/vsys[name='office']/profiles/profile/name"), ElementsAre("one"));
    EXPECT_THAT(state.values("statistics/vsys[name='branch']/user-defined-signatures/signature/id"),
                ElementsAre("1", "2", "10"));
    EXPECT_EQ(state.value("signature-database/user-defined-signature-count"), "4");

    tree.erase(vsys("branch"));
    EXPECT_EQ(state_of(tree).value("signature-database/user-defined-signature-count"), "1");
    EXPECT_THAT(state_of(tree).values("statistics/vsys/name"), ElementsAre("public", "office"));
}

TEST(DeviceState, ListsSignatureSetsInTheirOrderWithTheSignaturesTheySelect)
{
    DeviceTree tree;
    tree.set(signature_set("branch", "webguard", "all"));
    tree.set(signature_set("branch", "webguard", "low") / DeviceStep{"severity", "low"});
    tree.set(signature_set("branch", "webguard", "none") / DeviceStep{"severity", "information"});
    tree.set(signature_set("branch", "other", "high") / DeviceStep{"severity", "high"});
    tree.set_order(profile("branch", "webguard") / "signature-sets", {"none", "all", "low"});
    const std::string sets = "statistics/vsys[name='branch']/profiles/profile[name='webguard']/signature-set/";
    EXPECT_THAT(state_of(tree).values(sets + "name"), ElementsAre("none", "all", "low"));
    EXPECT_THAT(state_of(tree).values(sets + "signature-count"), ElementsAre("0", "3", "2"));
    EXPECT_EQ(state_of(tree).value("statistics/vsys/profiles/profile[name='other']/signature-set/signature-count"),
              "1");
}

TEST(DeviceState, CountsUserDefinedSignaturesOfTheSameVirtualSystemAsSelected)
{
    DeviceTree tree;
    tree.set(signature_set("branch", "p", "all"));
    tree.set(signature_set("branch", "p", "dns") / "protocol" / DeviceStep{"specifed-protocol", "DNS"});
    tree.set(signature_set("branch", "p", "medium") / DeviceStep{"severity", "medium"});
    tree.set(signature_set("branch", "p", "server") / "target", "server");
    tree.set(signature_set("branch", "p", "windows") / DeviceStep{"operating-system", "windows"});
    tree.set(user_defined("branch", "1") / "signature-rule-information" / "protocol-rules" / "protocol", "DNS");
    tree.set(user_defined("branch", "2") / "signature-rule-information" / "associated-rule" / "protocol", "DNS");
    tree.set(user_defined("branch", "2") / "severity", "high");
    tree.set(user_defined("branch", "2") / "target", "client");
    tree.set(user_defined("office", "3"));
    const std::string count = "/signature-count";
    const auto selected = [&](const std::string& set) {
        return state_of(tree).value("statistics/vsys/profiles/profile/signature-set[name='" + set + "']" + count);
    };
    EXPECT_EQ(selected("all"), "5");
    EXPECT_EQ(selected("dns"), "3");     // 2003, 1 and 2
    EXPECT_EQ(selected("medium"), "1");  // 1, which has no severity of its own
    EXPECT_EQ(selected("server"), "3");  // 2001, 2003 and 1
    EXPECT_EQ(selected("windows"), "1"); // 2001
}

TEST(DeviceState, TellsWhetherAUserDefinedSignatureHasACondition)
{
    DeviceTree tree;
    tree.set(user_defined("branch", "1"));
    tree.set(basic_rule(user_defined("branch", "2"), "r"));
    tree.set(basic_rule(user_defined("branch", "3"), "r"));
    tree.set(basic_rule(user_defined("branch", "3"), "s") / "basic-conditions" / DeviceStep{"rule-condition", "0"});
    tree.set(associated_rule(user_defined("branch", "4"), "r"));
    tree.set(associated_rule(user_defined("branch", "5"), "r") / "associated-condition" / "signature-id", "2001");
    EXPECT_THAT(state_of(tree).values("statistics/vsys/user-defined-signatures/signature/load-state"),
                ElementsAre("incomplete", "incomplete", "loaded", "incomplete", "loaded"));
}

TEST(DeviceState, HasSeenNoTraffic)
{
    DeviceTree tree;
    tree.set(signature_set("branch", "webguard", "a"));
    tree.set(user_defined("branch", "1"));
    const StateDocument state = state_of(tree);
    for (const char* counters :
         {"engine/current-sessions", "engine/inspected-packets", "engine/inspected-bytes", "engine/bypassed-packets",
          "engine/blocked-packets", "engine/blocked-addresses", "predefined-signatures/signature/hit-count",
          "statistics//hit-count",
          "statistics//*[contains(local-name(), '-count') and local-name() != 'signature-count']"}) {
        const std::vector<std::string> values = state.values(counters);
        EXPECT_FALSE(values.empty()) << counters;
        EXPECT_THAT(values, ::testing::Each("0")) << counters;
    }
}

TEST(DeviceState, KeepsNamesWithMarkupInThem)
{
    const std::string name = R"(a & b <c> "d" 'e' ]]> &amp;)";
    DeviceTree tree;
    tree.set(signature_set(name, name, name));
    DeviceFacts facts = plain_facts();
    facts.engine_version = name;
    const StateDocument state = state_of(tree, facts);
    EXPECT_EQ(state.value("engine/version"), name);
    EXPECT_EQ(state.value("statistics/vsys[2]/name"), name);
    EXPECT_EQ(state.value("statistics/vsys/profiles/profile/name"), name);
    EXPECT_EQ(state.value("statistics/vsys/profiles/profile/signature-set/name"), name);
}

TEST(DeviceState, OfTheShippedCatalogueIsValid)
{
    const SignatureCatalogue shipped = SignatureCatalogue::load(QN_IPS_CATALOGUE);
    const StateDocument state(state_xml(DeviceTree(), shipped));
    EXPECT_EQ(state.values("predefined-signatures/signature/id").size(), shipped.signatures().size());
    EXPECT_EQ(state.values("categories/category/name").size(), shipped.categories().size());
}

} // namespace

} // namespace qnips
