// The families of a rule's source and destination, which have to be the same, compared while an edit changes one of
// them.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "quorin-intrusion-prevention-core/checks/address_check.h"
#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr char ipv4 = 0;
constexpr char ipv6 = 1;
constexpr char destination = 0;
constexpr char source = 1;

// ------------------------------------------------------------------------------------------------ the other address --

using SiblingAddress = ServerTest;

struct LeafCase {
    std::string text;
    char family; // of the leaf
};

TEST_F(SiblingAddress, FamilyIsIpv6WithAColonOnly)
{
    const std::vector<LeafCase> cases = {{"10.0.0.1", ipv4},
                                         {"10.0.0.0/8", ipv4},
                                         {"2001:db8::/32", ipv6},
                                         {"::1", ipv6},
                                         {":", ipv6},
                                         {"10.0.0.1:", ipv6},
                                         {"host", ipv4},
                                         {" ", ipv4},
                                         {std::string(126, '1') + ':', ipv6},
                                         {std::string(127, '1'), ipv4}};
    for (const LeafCase& test : cases) {
        for (const char is_source : {source, destination}) {
            const std::string name = is_source == source ? "source-ip" : "destination-ip";
            for (const char family : {ipv4, ipv6}) {
                SCOPED_TRACE(name + ' ' + test.text);
                const CallResult r = server.run(
                    "<rule>" + leaf(name, test.text) + "<changed/></rule>", "//changed",
                    [&](API_ENV_S* env) { return ips_signature_rule_compare_ip_type(env, family, is_source); });
                EXPECT_EQ(r.result, family == test.family ? 0 : 1);
                EXPECT_EQ(r.errors, ClientErrors{});
                EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{1, name}}));
                EXPECT_EQ(r.output, "");
            }
        }
    }
}

TEST_F(SiblingAddress, FlagOtherThan1AsksForTheDestination)
{
    const std::string xml =
        "<rule><source-ip>::1</source-ip><destination-ip>10.0.0.1</destination-ip><changed/></rule>";
    for (const char flag : {'\0', '\2', '\x7f'}) {
        const CallResult r = server.run(
            xml, "//changed", [=](API_ENV_S* env) { return ips_signature_rule_compare_ip_type(env, ipv4, flag); });
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{1, "destination-ip"}}));
    }
}

class UnreadableAddress : public ServerTest
{
protected:
    void expect_conflict(const std::string& element, char is_source, const std::string& message)
    {
        for (const char family : {ipv4, ipv6}) {
            for (const DebugSetting setting : all_debug_settings) {
                const DebugSwitches switches(setting);
                const CallResult r =
                    server.run("<rule>" + element + "<changed/></rule>", "//changed", [=](API_ENV_S* env) {
                        return ips_signature_rule_compare_ip_type(env, family, is_source);
                    });
                EXPECT_EQ(r.result, 1);
                EXPECT_EQ(r.errors, ClientErrors{});
                EXPECT_EQ(r.output, setting.messages ? message : "");
            }
        }
    }
};

TEST_F(UnreadableAddress, IsOfNoFamily)
{
    for (const char is_source : {source, destination}) {
        const std::string name = is_source == source ? "source-ip" : "destination-ip";
        for (const std::string& element :
             {std::string(), '<' + name + "/>", '<' + name + " text=''/>", leaf(name, std::string(128, '1'))}) {
            SCOPED_TRACE(element);
            expect_conflict(element, is_source, "[IPS]ERROR: Get error " + name + " value.\r\n\r\n");
        }
    }
}

// -------------------------------------------------------------------------------------------------- the other range --

std::string find_line(const std::string& direction, int found)
{
    return "[IPS]Find " + direction + ": The cIsFindValue = " + std::to_string(found) + ".\r\n\r\n";
}

const std::string found_behind = find_line("next", 1);
const std::string found_before = find_line("next", 0) + find_line("prev", 1);
const std::string found_nowhere = find_line("next", 0) + find_line("prev", 0);

enum class Found { nothing, four, six };

struct SearchCase {
    const char* name;
    std::string rule; // RANGE stands for the range's name
    Found found;
    std::string output; // but for the line of what is not found

    friend void PrintTo(const SearchCase& test, std::ostream* out) { *out << test.rule; }
};

// Both searches: for the destination's range beside a source, and the mirror.
struct Search {
    int (*compare)(xmlNodePtr node, char family);
    std::string range;
    std::string not_found;
};

const std::vector<Search>& searches()
{
    static const std::vector<Search> both = {{ips_signature_rule_souIP_type_compare_desRange_type,
                                              "destination-ip-range", "[IPS]INFO: Do not find value.\r\n\r\n"},
                                             {ips_signature_rule_desIP_type_compare_sourceRange_type, "source-ip-range",
                                              "[IPS]INFO: not find value.\r\n\r\n"}};
    return both;
}

std::string with_range_name(std::string text, const std::string& name)
{
    static const std::string marker = "RANGE";
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + name.size()))
        text.replace(at, marker.size(), name);
    return text;
}

class SiblingRange : public ServerTestBase<testing::TestWithParam<SearchCase>>
{
};

TEST_P(SiblingRange, FamilyIsThatOfTheFirstValueFound)
{
    const SearchCase& test = GetParam();
    for (const Search& search : searches()) {
        const std::string xml = "<rule>" + with_range_name(test.rule, search.range) + "</rule>";
        const std::string output = test.output + (test.found == Found::nothing ? search.not_found : "");
        for (const char family : {ipv4, ipv6}) {
            const Found wanted = family == ipv6 ? Found::six : Found::four;
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(xml);
                const DebugSwitches switches(setting);
                const CallResult r =
                    server.run(xml, "//changed", [&](API_ENV_S* env) { return search.compare(env->node, family); });
                EXPECT_EQ(r.result, test.found == wanted ? 0 : 1);
                EXPECT_EQ(r.errors, ClientErrors{});
                EXPECT_EQ(r.output, setting.messages ? output : "");
            }
        }
    }
}

const std::string start_four = "<start-ip>10.0.0.1</start-ip>";
const std::string start_six = "<start-ip>2001:db8::1</start-ip>";

std::string range(const std::string& content)
{
    return "<RANGE>" + content + "</RANGE>";
}

INSTANTIATE_TEST_SUITE_P(
    All, SiblingRange,
    testing::Values(
        SearchCase{"Alone", "<changed/>", Found::nothing, found_nowhere},
        SearchCase{"Behind", "<changed/>" + range(start_four), Found::four, found_behind},
        SearchCase{"Before", range(start_six) + "<changed/>", Found::six, found_before},
        SearchCase{"BehindAtADistance", "<changed/>\n<!-- --><a/>text<b/>" + range(start_six) + "<c/>", Found::six,
                   found_behind},
        SearchCase{"BeforeAtADistance", "<c/>" + range(start_four) + "<a/>text<!-- -->\n<changed/>", Found::four,
                   found_before},
        SearchCase{"BehindComesFirst", range(start_four) + "<changed/>" + range(start_six), Found::six, found_behind},
        SearchCase{"FirstBehind", "<changed/>" + range(start_four) + range(start_six), Found::four, found_behind},
        SearchCase{"NearestBefore", range(start_four) + range(start_six) + "<changed/>", Found::six, found_before},
        SearchCase{"EmptyRange", "<changed/><RANGE/>", Found::nothing, found_nowhere},
        SearchCase{"RangeWithoutStart", "<changed/>" + range("<end-ip>::1</end-ip>"), Found::nothing, found_nowhere},
        SearchCase{"RangeWithoutStartIsPassedOver", "<changed/><RANGE/>" + range(start_six), Found::six, found_behind},
        SearchCase{"RangeWithoutStartSendsBack", range(start_six) + "<changed/><RANGE/>", Found::six, found_before},
        SearchCase{"EmptyRangeBeforeIsPassedOver", range(start_six) + "<RANGE/><changed/>", Found::six, found_before},
        SearchCase{"StartWithoutTextIsIpv4", "<changed/>" + range("<start-ip/>") + range(start_six), Found::four,
                   found_behind},
        SearchCase{"EmptyStartIsIpv4", "<changed/>" + range("<start-ip text=''/>") + range(start_six), Found::four,
                   found_behind},
        SearchCase{"StartWithoutTextBefore", range(start_six) + range("<start-ip/>") + "<changed/>", Found::four,
                   found_before},
        SearchCase{"FirstStartCounts", "<changed/>" + range("\n<!-- --><end-ip>::1</end-ip>" + start_four + start_six),
                   Found::four, found_behind},
        SearchCase{"ColonMakesIpv6", "<changed/>" + range("<start-ip>no:address</start-ip>"), Found::six, found_behind},
        SearchCase{"NoColonMakesIpv4", "<changed/>" + range("<start-ip>no address</start-ip>"), Found::four,
                   found_behind},
        SearchCase{"RangeBelowASibling", "<changed/><a>" + range(start_four) + "</a>", Found::nothing, found_nowhere},
        SearchCase{"StartBelowTheRangesChild", "<changed/>" + range("<a>" + start_four + "</a>"), Found::nothing,
                   found_nowhere},
        SearchCase{"RangeInTheNode", "<changed>" + range(start_four) + "</changed>", Found::nothing, found_nowhere},
        SearchCase{"OtherNames", "<changed/><RANGES>" + start_four + "</RANGES><ip-range>" + start_four + "</ip-range>",
                   Found::nothing, found_nowhere}),
    [](const testing::TestParamInfo<SearchCase>& test) { return std::string(test.param.name); });

TEST_F(SiblingAddress, EachSearchLooksForTheOtherSidesRangeOnly)
{
    const std::string xml = "<rule><changed/><source-ip-range>" + start_four +
                            "</source-ip-range><destination-ip-range>" + start_six + "</destination-ip-range></rule>";
    const auto result = [&](int (*compare)(xmlNodePtr, char), char family) {
        return server.run(xml, "//changed", [=](API_ENV_S* env) { return compare(env->node, family); }).result;
    };
    EXPECT_EQ(result(ips_signature_rule_souIP_type_compare_desRange_type, ipv6), 0);
    EXPECT_EQ(result(ips_signature_rule_souIP_type_compare_desRange_type, ipv4), 1);
    EXPECT_EQ(result(ips_signature_rule_desIP_type_compare_sourceRange_type, ipv4), 0);
    EXPECT_EQ(result(ips_signature_rule_desIP_type_compare_sourceRange_type, ipv6), 1);
}

// ------------------------------------------------------------------------------------------------------- the guard --

// What the guard does with an edit's operations on the other side. The address and the range there are IPv6, so that
// either comparison refuses an IPv4 address and accepts an IPv6 one.
enum class Guard { accepts, compares_address, compares_range, refuses_choice };

constexpr const char* absent = "absent";

struct GuardCase {
    const char* address; // the operation, or absent
    const char* range;
    Guard guard;
};

constexpr const char* compare_ok = "[IPS]INFO: compare ip ok.\r\n\r\n";

class AddressGuard : public ServerTest
{
protected:
    static std::string side(const std::string& prefix, const GuardCase& test)
    {
        std::string xml;
        if (std::string(test.address) != absent)
            xml += '<' + prefix + "-ip op='" + test.address + "'>2001:db8::1</" + prefix + "-ip>";
        if (std::string(test.range) != absent)
            xml += '<' + prefix + "-ip-range op='" + test.range + "'>" + start_six + "</" + prefix + "-ip-range>";
        return xml;
    }

    static unsigned number(const char* op)
    {
        return static_cast<unsigned>(std::string(op) == absent ? XMLDIFF_ERR : op_from_text(op));
    }

    static std::string opening(const GuardCase& test)
    {
        return "[IPS]INFO: uiIP_OP is " + std::to_string(number(test.address)) + ".\r\n\r\n" +
               "[IPS]INFO: uiRange_OP is " + std::to_string(number(test.range)) + ".\r\n\r\n";
    }

    CallResult guard(const std::string& rule, char family, char is_source)
    {
        return server.run("<rule><changed/>" + rule + "</rule>", "//changed", [=](API_ENV_S* env) {
            return ips_signature_rule_IP_type_compare_IP_And_Range_type(env, env->node, family, is_source);
        });
    }

    void expect_guard(const GuardCase& test, char family, char is_source)
    {
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r =
                guard(side(is_source == destination ? "source" : "destination", test), family, is_source);
            const bool compares = test.guard == Guard::compares_address || test.guard == Guard::compares_range;
            const int compared = compares && family == ipv4 ? 1 : 0;
            EXPECT_EQ(r.result, test.guard == Guard::refuses_choice ? 42 : compared);
            EXPECT_EQ(r.errors, test.guard == Guard::refuses_choice
                                    ? (ClientErrors{{NC_ERR_BAD_ELEM, "The choice node is wrong."}})
                                    : ClientErrors{});
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.output, setting.messages ? opening(test) + closing(test, compared) : "");
        }
    }

    static std::string closing(const GuardCase& test, int compared)
    {
        if (test.guard == Guard::refuses_choice)
            return "[IPS]ERROR: The choice node is wrong.\r\n\r\n";
        if (test.guard == Guard::compares_range)
            return found_behind + (compared == 0 ? compare_ok : "");
        return "";
    }

    void SetUp() override { server.fail_result = 42; }
};

const std::vector<GuardCase> guard_cases = {
    {absent, absent, Guard::accepts},

    // the address alone
    {"ADD", absent, Guard::compares_address},
    {"MOD", absent, Guard::compares_address},
    {"ADD|CHAIN", absent, Guard::compares_address},
    {"MOD|SIBLING", absent, Guard::compares_address},
    {"ADD|REM", absent, Guard::compares_address},
    {"NONE", absent, Guard::accepts},
    {"CHAIN", absent, Guard::accepts},
    {"REM", absent, Guard::accepts},
    {"REORDER|SIBLING", absent, Guard::accepts},
    {"ADD|ROLLBACK", absent, Guard::accepts},
    {"MOD|ROLLBACK", absent, Guard::accepts},
    {"REM|ROLLBACK", absent, Guard::accepts},
    {"ADD|CFGR", absent, Guard::accepts},
    {"MOD|CFGR", absent, Guard::accepts},
    {"CFGR", absent, Guard::accepts},

    // the range alone
    {absent, "ADD", Guard::compares_range},
    {absent, "MOD", Guard::compares_range},
    {absent, "CHAIN", Guard::compares_range},
    {absent, "REM|CHAIN", Guard::compares_range},
    {absent, "NONE", Guard::accepts},
    {absent, "REM", Guard::accepts},
    {absent, "SIBLING|REORDER", Guard::accepts},
    {absent, "ADD|ROLLBACK", Guard::accepts},
    {absent, "MOD|ROLLBACK", Guard::accepts},
    {absent, "CHAIN|ROLLBACK", Guard::accepts},
    {absent, "ADD|CFGR", Guard::accepts},
    {absent, "CHAIN|CFGR", Guard::accepts},

    // both, and the address stays
    {"ADD", "ADD", Guard::refuses_choice},
    {"MOD", "ADD", Guard::refuses_choice},
    {"NONE", "ADD", Guard::refuses_choice},
    {"ADD", "REM", Guard::refuses_choice},
    {"CHAIN", "NONE", Guard::refuses_choice},
    {"NONE", "NONE", Guard::refuses_choice},
    {"ADD|ROLLBACK", "ADD", Guard::refuses_choice},
    {"ADD|CFGR", "ADD|CFGR", Guard::refuses_choice},

    // both, and the address goes
    {"REM", "ADD", Guard::compares_range},
    {"REM", "MOD", Guard::compares_range},
    {"REM", "CHAIN", Guard::compares_range},
    {"REM|ROLLBACK", "ADD", Guard::compares_range},
    {"ADD|REM", "CHAIN", Guard::compares_range},
    {"REM", "NONE", Guard::accepts},
    {"REM", "REM", Guard::accepts},
    {"REM", "ADD|ROLLBACK", Guard::accepts},
    {"REM", "CHAIN|CFGR", Guard::accepts},
};

TEST_F(AddressGuard, LooksAtTheOtherSideAsItsOperationsDemand)
{
    for (const GuardCase& test : guard_cases) {
        for (const char family : {ipv4, ipv6}) {
            for (const char is_source : {destination, source, '\2'}) {
                SCOPED_TRACE(std::string(test.address) + ' ' + test.range +
                             (is_source == destination ? " source" : ""));
                expect_guard(test, family, is_source);
            }
        }
    }
}

TEST_F(AddressGuard, OwnSideIsOfNoInterest)
{
    for (const GuardCase& test : guard_cases) {
        EXPECT_TRUE(guard(side("source", test), ipv4, source).quiet());
        EXPECT_TRUE(guard(side("destination", test), ipv4, destination).quiet());
    }
}

TEST_F(AddressGuard, Ipv4SourceDoesNotGoWithAnIpv6DestinationRange)
{
    const std::string added_range = side("destination", {absent, "ADD", Guard::compares_range});
    EXPECT_EQ(guard(added_range, ipv4, source).result, 1);
    EXPECT_EQ(guard(added_range, ipv6, source).result, 0);
}

TEST_F(AddressGuard, DestinationGivenTwiceIsRefusedForASource)
{
    const CallResult r = guard(side("destination", {"ADD", "ADD", Guard::refuses_choice}), ipv6, source);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_BAD_ELEM, "The choice node is wrong."}}));
}

// What takes part in the edit and has no address to compare is a conflict for either family.
TEST_F(AddressGuard, OtherSideWithoutATextIsAConflict)
{
    for (const char family : {ipv4, ipv6}) {
        EXPECT_EQ(guard("<destination-ip op='ADD'/>", family, source).result, 1);
        EXPECT_EQ(guard("<destination-ip-range op='ADD'/>", family, source).result, 1);
        EXPECT_EQ(guard("<source-ip op='MOD' text=''/>", family, destination).result, 1);
        EXPECT_EQ(guard("<source-ip-range op='CHAIN'/>", family, destination).result, 1);
    }
}

} // namespace
