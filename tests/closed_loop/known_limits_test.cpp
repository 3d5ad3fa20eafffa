// Edits that the schema accepts and after which datastore and device differ, or after which the device refuses what
// should be possible. The module's lines leave the host no way around them, so they are kept here with what an operator
// should do; one that goes away has to be taken out.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loop.h"

namespace qnips::test
{
namespace
{

struct KnownLimit {
    const char* title;
    const char* advice;
    std::string start; // accepted, without a difference; may be empty
    std::string edit;
    std::string difference; // part of it; empty when there is none
    std::string refusal;    // part of the reason; empty when the edit is accepted
};

std::string profiles(const std::string& content)
{
    return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
           R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips><vsys><name>branch</name><profiles>)" +
           content + "</profiles></vsys></user-defined-ips></ips-config>";
}

std::string profile(const std::string& name, const std::string& set, const std::string& content)
{
    return fmt::format("<profile><name>{}</name><signature-sets><signature-set><name>{}</name>{}</signature-set>"
                       "</signature-sets></profile>",
                       name, set, content);
}

std::string categories(const std::string& content)
{
    return profiles(profile("web", "s", "<category><all-category>false</all-category>" + content + "</category>"));
}

std::string all_of(const std::string& category)
{
    return fmt::format(
        "<specifed-category><name>{}</name><all-sub-category>true</all-sub-category></specifed-category>", category);
}

std::string part_of(const std::string& category, const std::string& sub_category)
{
    return fmt::format("<specifed-category><name>{}</name><all-sub-category>false</all-sub-category><sub-category>"
                       "<name>{}</name></sub-category></specifed-category>",
                       category, sub_category);
}

std::string without(const std::string& category)
{
    return fmt::format(R"(<specifed-category nc:operation="remove"><name>{}</name></specifed-category>)", category);
}

const std::vector<KnownLimit>& known_limits()
{
    static const char* catalogue_places = "Give each sub-category once, below the category that the device has it in.";
    static const std::vector<KnownLimit> limits = {
        {"an entry whose sub-category is of another category cannot be removed",
         "Remove the whole container category and give the categories anew.",
         categories(part_of("Malware", "SQL-Injection")), categories(without("Malware")), "",
         "category Malware is not selected"},
        {"a sub-category that stands below two categories is selected once", catalogue_places, "",
         categories(part_of("Malware", "SQL-Injection") + part_of("Injection", "SQL-Injection")),
         "only in the datastore: ", ""},
        {"a sub-category beside all of the category that it is of is lost in it", catalogue_places,
         categories(all_of("Injection")), categories(part_of("Malware", "SQL-Injection")),
         "/category/specifed-category/sub-category[name='SQL-Injection']", ""},
        {"a sub-category given as a category is taken for what it is", catalogue_places, "",
         categories(all_of("SQL-Injection")), "only on the device: ", ""},
        {"a category given as a sub-category is selected with all that is in it", catalogue_places, "",
         categories(part_of("Injection", "Malware")), "only on the device: ", ""},
        {"two profiles whose names with those of their sets make the same view are taken for one another",
         "Do not use -sigset- in the names of profiles and signature sets.",
         profiles(profile("a", "b-sigset-c", "") + profile("a-sigset-b", "c", "")),
         profiles(profile("a-sigset-b", "c", "<target>client</target>")), "[name='b-sigset-c']/target = client", ""},
    };
    return limits;
}

TEST(KnownLimits, AreStillThere)
{
    for (const KnownLimit& limit : known_limits()) {
        SCOPED_TRACE(limit.title);
        EXPECT_STRNE(limit.advice, "");
        Loop loop;
        if (!limit.start.empty()) {
            EXPECT_TRUE(loop.edit("merge", limit.start).accepted);
            EXPECT_EQ(loop.difference(), "");
        }
        const Loop::Outcome outcome = loop.edit("merge", limit.edit);
        EXPECT_EQ(outcome.accepted, limit.refusal.empty()) << outcome.reason;
        EXPECT_THAT(outcome.reason, testing::HasSubstr(limit.refusal));
        EXPECT_EQ(loop.difference().empty(), limit.difference.empty()) << loop.difference();
        EXPECT_THAT(loop.difference(), testing::HasSubstr(limit.difference));
    }
}

} // namespace
} // namespace qnips::test
