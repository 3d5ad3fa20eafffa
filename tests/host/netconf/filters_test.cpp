// What filters select (RFC 6241, 6 and 8.9).
#include "netconf/filters.h"

#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "netconf_fixture.h"
#include "server/rpc_error.h"

namespace qnips::test
{
namespace
{

const std::string web = profile("web", "<description>a</description>");
const std::string mail =
    profile("mail", "<description>b</description><associated-check-enable>true</associated-check-enable>");

TreePtr data()
{
    return netconf_world().schema.parse_configuration(config_with(web + mail));
}

std::string selected(const std::string& filter)
{
    const ParsedRpc rpc("<get>" + filter + "</get>");
    return compact(Filter(rpc.node()).selected_of(data()).get());
}

// The data with these profiles, as `compact` writes them.
std::string with(const std::string& profiles)
{
    return compact(netconf_world().schema.parse_configuration(config_with(profiles)).get());
}

std::string all()
{
    return with(web + mail);
}

struct Case {
    std::string filter;
    std::string expected;
};

void expect_all(const std::vector<Case>& cases)
{
    for (const Case& one : cases)
        EXPECT_EQ(selected(one.filter), one.expected) << one.filter;
}

TEST(Filter, IsNotNeeded)
{
    EXPECT_EQ(selected(""), all());
}

TEST(Filter, SelectsByElementsOfTheData)
{
    const std::string top = fmt::format("<ips-config xmlns=\"{}\"", ips_namespace);
    expect_all({
        {subtree(""), ""},
        {subtree(top + "/>"), all()},
        {subtree(config_with("<profile><name/></profile>")), with(profile("web") + profile("mail"))},
        {subtree(config_with("<profile><description/></profile>")),
         with(web + profile("mail", "<description>b</description>"))},
        {subtree(config_with("<profile><name>mail</name></profile>")), with(mail)},
        {subtree(config_with("<profile><name> mail\n</name></profile>")), with(mail)},
        {subtree(config_with("<profile><description>a</description></profile>")), with(web)},
        {subtree(config_with("<profile><name>mail</name><description/></profile>")),
         with(profile("mail", "<description>b</description>"))},
        // What matches is part of the answer, also where nothing else is there.
        {subtree(config_with("<profile><name>mail</name><collect-attack-evidence-enable/></profile>")),
         with(profile("mail"))},
    });
}

TEST(Filter, UnitesWhatItsElementsSelect)
{
    expect_all({
        {subtree(config_with("<profile><name>mail</name></profile><profile><name>web</name></profile>")), all()},
        {subtree(config_with("<profile><name>mail</name><description/></profile><profile><name>web</name></profile>")),
         with(web + profile("mail", "<description>b</description>"))},
    });
}

// The name of the virtual system has matched, so it is part of the answer (6.2.5).
TEST(Filter, LeavesOutEntriesThatDoNotMatch)
{
    const std::string expected = "<ips-config><user-defined-ips><vsys><name>branch</name></vsys></user-defined-ips>"
                                 "</ips-config>";
    const std::vector<std::string> filters = {
        "<profile><name>none</name></profile>",
        "<profile><name>web</name><description>b</description></profile>",
        "<nothing/>",
        "<profile><description>a<b/></description></profile>",
    };
    for (const std::string& filter : filters)
        EXPECT_EQ(selected(subtree(config_with(filter))), expected) << filter;
}

TEST(Filter, SelectsNothingWhereNothingMatches)
{
    const std::string top = fmt::format("<ips-config xmlns=\"{}\"><user-defined-ips><vsys>", ips_namespace);
    const std::string end = "</vsys></user-defined-ips></ips-config>";
    EXPECT_EQ(selected(subtree(top + "<name>other</name>" + end)), "");
    EXPECT_EQ(selected(subtree(top + "<name>other</name><profiles/>" + end)), "");
    EXPECT_EQ(selected(subtree(top + "<nothing/>" + end)), "");
}

TEST(Filter, HeedsNamespaces)
{
    expect_all({
        {subtree("<ips-config xmlns=\"\"/>"), all()}, // 6.2.1: any namespace
        {subtree("<ips-config xmlns=\"urn:other\"/>"), ""},
        {subtree("<ips-config/>"), ""}, // that is NETCONF's own
    });
}

TEST(Filter, SelectsByExpression)
{
    expect_all({
        {xpath("/ips:ips-config"), all()},
        {xpath("ips:ips-config"), all()},
        {xpath("//ips:profile[ips:name='mail']"), with(mail)},
        {xpath("//ips:profile/ips:description"), with(web + profile("mail", "<description>b</description>"))},
        {xpath("//ips:profile[ips:associated-check-enable='true']/ips:description | //ips:profile[ips:name='web']"),
         with(web + profile("mail", "<description>b</description>"))},
        {xpath("//ips:profile[ips:name='none']"), ""},
    });
}

TEST(Filter, RefusesWhatSelectsNoNodes)
{
    struct Fault {
        std::string filter;
        const char* tag;
    };
    const std::vector<Fault> faults = {{xpath("count(//ips:profile)"), "invalid-value"},
                                       {xpath("'text'"), "invalid-value"},
                                       {"<filter type=\"xpath\"/>", "missing-attribute"}};
    for (const Fault& fault : faults) {
        try {
            ADD_FAILURE() << fault.filter << " selects " << selected(fault.filter);
        } catch (const RpcError& error) {
            EXPECT_EQ(error.tag(), fault.tag) << fault.filter;
        }
    }
}

TEST(Filter, IsCheckedWhereThereAreNoData)
{
    const ParsedRpc wrong("<get>" + xpath("count(//ips:profile)") + "</get>");
    EXPECT_THROW(static_cast<void>(Filter(wrong.node()).selected_of(nullptr)), RpcError);
    const ParsedRpc right("<get>" + xpath("//ips:profile") + "</get>");
    EXPECT_EQ(Filter(right.node()).selected_of(nullptr), nullptr);
}

TEST(Filter, TellsWhichRootsItCannotSelect)
{
    const auto may_select = [](const std::string& filter, std::string_view root) {
        const ParsedRpc rpc("<get>" + filter + "</get>");
        return Filter(rpc.node()).may_select(ips_namespace, root);
    };
    const std::string state = subtree(fmt::format("<ips-state xmlns=\"{}\"/>", ips_namespace));
    EXPECT_TRUE(may_select(state, "ips-state"));
    EXPECT_FALSE(may_select(state, "ips-config"));
    EXPECT_FALSE(may_select(subtree(""), "ips-state"));
    EXPECT_TRUE(may_select(subtree("<ips-state xmlns=\"\"/>"), "ips-state"));
    EXPECT_TRUE(may_select("", "ips-state"));
    EXPECT_TRUE(may_select(xpath("/ips:ips-config"), "ips-state"));
}

} // namespace
} // namespace qnips::test
