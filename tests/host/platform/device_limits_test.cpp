// Lists that are full: one entry too many is refused for each list of the device, and nothing else is.
#include "platform/device_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/device_tree.h"
#include "platform/emulator.h"
#include "transapi/netconf_error.h"

namespace
{

using qnips::CommandLine;
using qnips::DeviceLimits;
using qnips::DeviceNode;
using qnips::DevicePath;
using qnips::DeviceTree;
using qnips::EmulatedPlatform;
using qnips::ListFull;
using qnips::ListLimit;
using qnips::PlatformError;
using qnips::SignatureCatalogue;
using Lines = std::vector<CommandLine>;

constexpr int limit = 3;

CommandLine on_device(std::string text)
{
    return {.vsys = {}, .view = "system", .view_type = {}, .text = std::move(text)};
}
CommandLine in_vsys(std::string text)
{
    return {.vsys = "branch", .view = "system", .view_type = {}, .text = std::move(text)};
}
CommandLine in_profile(std::string text)
{
    return {.vsys = "branch", .view = "profile-ips-web", .view_type = "profile-ips", .text = std::move(text)};
}
CommandLine in_set(std::string text)
{
    return {.vsys = "branch", .view = "profile-ips-web-sigset-all", .view_type = "ips-sigset", .text = std::move(text)};
}
CommandLine in_signature(std::string text)
{
    return {.vsys = "branch", .view = "ips-signature-7", .view_type = "ips-signature", .text = std::move(text)};
}
CommandLine in_rule(std::string text)
{
    return {
        .vsys = "branch", .view = "ips-signature-7-rule-r", .view_type = "ips-signature-rule", .text = std::move(text)};
}

Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

// The line with the number in place of its #.
CommandLine numbered(CommandLine line, int number)
{
    line.text.replace(line.text.find('#'), 1, std::to_string(number));
    return line;
}

SignatureCatalogue small_catalogue()
{
    std::istringstream text("category | C | S0, S1, S2, S3\n"
                            "category | C0 | -\ncategory | C1 | -\ncategory | C2 | -\ncategory | C3 | -\n");
    return SignatureCatalogue(text);
}

// One list: how its entries are added and removed, and what has to be there before.
struct ListCase {
    const char* name;
    const char* holder;
    const char* entry;
    const char* title;
    Lines before;
    CommandLine add;
    std::optional<CommandLine> remove; // none: no command takes an entry away

    friend void PrintTo(const ListCase& test, std::ostream* out) { *out << test.name; }
};

class DeviceLimit : public testing::TestWithParam<ListCase>
{
protected:
    DeviceLimit() : catalogue_(small_catalogue())
    {
        DeviceLimits limits;
        limits.set(GetParam().holder, GetParam().entry, limit);
        device_.emplace(catalogue_, limits);
        expect_taken(GetParam().before);
        for (int number = 0; number < limit; ++number)
            expect_taken({numbered(GetParam().add, number)});
    }

    void expect_taken(const Lines& script)
    {
        const std::optional<PlatformError> error = device_->execute(script, 0);
        EXPECT_FALSE(error.has_value()) << error->message << ": " << error->line->text;
    }

    void expect_full(int number, Lines script = {})
    {
        const CommandLine line = numbered(GetParam().add, number);
        script.push_back(line);
        EXPECT_EQ(device_->execute(script, 0),
                  (PlatformError{NC_ERR_COMMAND_EXECUTE,
                                 std::string("the list of ") + GetParam().title + " is full: it holds 3", line}));
    }

    std::string configuration() { return device_->configuration().text(); }

    SignatureCatalogue catalogue_;
    std::optional<EmulatedPlatform> device_;
};

TEST_P(DeviceLimit, RefusesOneEntryTooManyAndTakesItsScriptBack)
{
    const std::string full = configuration();
    expect_full(limit);
    EXPECT_EQ(configuration(), full);
    expect_full(limit, {on_device("engine log ips enable")});
    EXPECT_EQ(configuration(), full) << "the line before the refused one does not stay either";
}

TEST_P(DeviceLimit, TakesAnEntryAgainThatItHas)
{
    const std::string full = configuration();
    for (int number = 0; number < limit; ++number)
        expect_taken({numbered(GetParam().add, number)});
    EXPECT_EQ(configuration(), full);
    expect_full(limit);
}

// Of a list whose entries a command takes away.
class DeviceLimitWithRemoval : public DeviceLimit
{
};

TEST_P(DeviceLimitWithRemoval, HasRoomAgainForWhatIsRemoved)
{
    expect_taken({numbered(*GetParam().remove, 0)});
    expect_taken({numbered(GetParam().add, limit)});
    expect_full(0);

    expect_taken({numbered(*GetParam().remove, 1), numbered(GetParam().add, 0)});
    expect_full(1);
}

TEST_P(DeviceLimitWithRemoval, CountsNothingOfAScriptThatIsTakenBack)
{
    // The place that the script makes is filled again when it is taken back.
    EXPECT_NE(device_->execute(Lines{numbered(*GetParam().remove, 0), on_device("no such command")}, 0), std::nullopt);
    expect_full(limit);
    // The place that the script fills is free again.
    expect_taken({numbered(*GetParam().remove, 0)});
    EXPECT_NE(device_->execute(Lines{numbered(GetParam().add, limit), on_device("no such command")}, 0), std::nullopt);
    expect_taken({numbered(GetParam().add, limit)});
    expect_full(0);
}

TEST_P(DeviceLimit, IsThatOfItsOwnListOnly)
{
    DeviceLimits limits = DeviceLimits::of_all(1'000'000);
    limits.set(GetParam().holder, GetParam().entry, limit - 1);
    EmulatedPlatform device(catalogue_, limits);
    EXPECT_EQ(device.execute(GetParam().before, 0), std::nullopt);
    for (int number = 0; number <= limit; ++number)
        EXPECT_EQ(device.execute(Lines{numbered(GetParam().add, number)}, 0).has_value(), number >= limit - 1);
}

const Lines profile = {in_vsys("profile type ips name web")};
const Lines set = {in_vsys("profile type ips name web"), in_profile("signature-set name all")};
const Lines associated = {in_vsys("ips signature-id 7")};
const Lines basic = {in_vsys("ips signature-id 7"), in_signature("protocol HTTP")};
const Lines rule = {in_vsys("ips signature-id 7"), in_signature("protocol HTTP"), in_signature("rule name r")};

const ListCase list_cases[] = {
    {"Profiles",
     "profiles",
     "profile",
     "profiles",
     {},
     in_vsys("profile type ips name p#"),
     in_vsys("undo profile type ips name p#")},
    {"Signatures",
     "user-defined-signatures",
     "signature",
     "user-defined signatures",
     {},
     in_vsys("ips signature-id 1#"),
     in_vsys("undo ips signature-id 1#")},
    {"DomainNames",
     "exception-domain-name-information",
     "exception-domain-name",
     "exception domain names",
     {},
     in_vsys("cnc domain-filter exception domain-name d#.example"),
     in_vsys("undo cnc domain-filter exception domain-name d#.example")},
    {"SignatureSets", "signature-sets", "signature-set", "signature sets of a profile", profile,
     in_profile("signature-set name s#"), in_profile("undo signature-set name s#")},
    {"ExceptionSignatures", "exception-signatures", "exception-signature", "exception signatures of a profile", profile,
     in_profile("exception ips-signature-id 1# action block"), in_profile("undo exception ips-signature-id 1#")},
    {"RequestTypes", "dns-check", "request-type", "DNS request types of a profile",
     profile + Lines{in_profile("dns malformed-packet check action alert")},
     in_profile("dns request-type check # action block"), in_profile("undo dns request-type check #")},
    {"Blacklist", "x-online-host", "blacklist", "blacklisted hosts of a profile",
     profile + Lines{in_profile("http x-online-host check any action alert")},
     in_profile("http x-online-host blacklist h#.example"), in_profile("undo http x-online-host blacklist h#.example")},
    {"Whitelist", "x-forwarded-for", "whitelist", "whitelisted addresses of a profile",
     profile + Lines{in_profile("http x-forwarded-for check any action alert")},
     in_profile("http x-forwarded-for whitelist ipv4 192.0.2.#"),
     in_profile("undo http x-forwarded-for whitelist ipv4 192.0.2.#")},
    {"Applications", "application", "specifed-application", "applications of a signature set", set,
     in_set("application a#"), in_set("undo application a#")},
    {"Protocols", "protocol", "specifed-protocol", "protocols of a signature set", set, in_set("protocol p#"),
     in_set("undo protocol p#")},
    {"Categories", "category", "specifed-category", "categories of a signature set", set, in_set("category C#"),
     in_set("undo category C#")},
    {"SubCategories", "specifed-category", "sub-category", "sub-categories of a category", set, in_set("category S#"),
     in_set("undo category S#")},
    {"Rules", "rules", "signature-rule", "rules of a signature", basic, in_signature("rule name r#"),
     in_signature("undo rule name r#")},
    {"RulesOfAnAssociatedSignature", "associated-rule", "signature-rule", "rules of an associated signature",
     associated, in_signature("rule name r#"), in_signature("undo rule name r#")},
    {"Conditions", "basic-conditions", "rule-condition", "conditions of a rule", rule,
     in_rule("condition # field f operate equal value v"), in_rule("undo condition #")},
    {"PredefinedSignatures",
     "predefined-signatures",
     "signature",
     "predefined signatures with settings",
     {},
     on_device("ips associated pre-defined signature-id 103# threshold 5"),
     std::nullopt},
    {"SessionNumbers",
     "global-max-session-number",
     "session-number-signature",
     "session numbers of signatures",
     {on_device("ips collect-attack-evidence max-session-number 5")},
     on_device("ips collect-attack-evidence max-session-number 9 signature-id 200#"),
     on_device("undo ips collect-attack-evidence max-session-number signature-id 200#")},
};

std::string list_case_name(const testing::TestParamInfo<ListCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, DeviceLimit, testing::ValuesIn(list_cases), list_case_name);

std::vector<ListCase> cases_with_removal()
{
    std::vector<ListCase> cases;
    std::ranges::copy_if(list_cases, std::back_inserter(cases),
                         [](const ListCase& test) { return test.remove.has_value(); });
    return cases;
}

INSTANTIATE_TEST_SUITE_P(All, DeviceLimitWithRemoval, testing::ValuesIn(cases_with_removal()), list_case_name);

TEST(DeviceLimits, AreTriedForEveryListOfTheTable)
{
    const DeviceLimits limits;
    std::set<std::string> untried;
    for (const ListLimit& list : limits.lists())
        untried.insert(std::string(list.holder) + '/' + std::string(list.entry));
    for (const ListCase& test : list_cases)
        EXPECT_EQ(untried.erase(std::string(test.holder) + '/' + test.entry), 1U) << test.name;
    EXPECT_EQ(untried, std::set<std::string>{});
}

TEST(DeviceLimits, HaveRoomForLargeConfigurations)
{
    const DeviceLimits limits;
    EXPECT_GT(limits.find("profiles", "profile")->most, 100'000U);
    EXPECT_GT(limits.find("signature-sets", "signature-set")->most, 10'000U);
    EXPECT_EQ(limits.find("user-defined-signatures", "signature")->most, 1024U) << "all identifiers there are";
    EXPECT_EQ(limits.find("basic-conditions", "rule-condition")->most, 5U) << "all identifiers there are";
    EXPECT_EQ(limits.find("signature-set", "severity"), nullptr);
}

TEST(DeviceLimits, AreSetForListsThatThereAre)
{
    DeviceLimits limits;
    limits.set("predefined-signatures", "signature", 7);
    EXPECT_EQ(limits.find("predefined-signatures", "signature")->most, 7U);
    EXPECT_EQ(limits.find("user-defined-signatures", "signature")->most, 1024U);
    EXPECT_THROW(limits.set("profiles", "signature", 7), std::out_of_range);
}

TEST(DeviceLimits, OfNothingLeaveNoRoom)
{
    DeviceTree tree(DeviceLimits::of_all(0));
    EXPECT_THROW(tree.set({{"profiles", ""}, {"profile", "web"}, {"description", ""}}, "x"), ListFull);
    tree.roll_back();
    EXPECT_TRUE(tree.root().children.empty());
}

// -------------------------------------------------------------------------------------------------------- counts --

void expect_true_counts(const DeviceNode& node)
{
    std::map<std::string, std::size_t> counts;
    for (const auto& [step, child] : node.children) {
        counts[step.name] += step.key.empty() ? 0U : 1U;
        expect_true_counts(*child);
    }
    for (const auto& [name, kept] : node.entry_counts)
        EXPECT_EQ(kept, counts[name]) << name;
    for (const auto& [name, count] : counts)
        EXPECT_EQ(node.count_of(name), count) << name;
}

class EntryCounts : public testing::TestWithParam<unsigned>
{
};

TEST_P(EntryCounts, StayTrueWhateverIsDoneAndTakenBack)
{
    std::mt19937 random(GetParam());
    const auto below = [&](unsigned bound) { return random() % bound; };
    const auto key = [&] { return std::string(1, static_cast<char>('a' + below(4))); };
    DeviceTree tree;
    for (int change = 0; change < 400; ++change) {
        DevicePath path{{"list", ""}, {"entry", key()}};
        if (below(2) == 0)
            path.insert(path.end(), {{"inner", key()}, {"leaf", ""}});
        if (below(4) == 0)
            path = {{"list", ""}, {below(2) == 0 ? "other" : "leaf", ""}};
        if (below(3) == 0)
            tree.erase(path);
        else
            tree.set(path, std::to_string(change));
        if (below(10) == 0)
            tree.roll_back();
        else if (below(10) == 0)
            tree.commit();
        expect_true_counts(tree.root());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, EntryCounts, testing::Range(1U, 9U));

} // namespace
