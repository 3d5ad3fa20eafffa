// `qn-ips nodes --json`: the whole node table, by its numbers and by nodes of every kind.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <string>

#include "end_to_end/program.h"

namespace qnips::test
{

namespace
{

using Json = nlohmann::json;

class Nodes : public testing::Test
{
protected:
    void SetUp() override
    {
        const Outcome outcome = run_program({"nodes", "--json"}, QN_IPS_TEST_DATA);
        ASSERT_EQ(outcome.status, 0) << outcome;
        ASSERT_EQ(outcome.errors, "");
        json_ = Json::parse(outcome.output);
    }

    // Null for a path that is not listed.
    [[nodiscard]] Json node(const std::string& path) const
    {
        const auto is_it = [&path](const Json& node) { return node["path"] == path; };
        const auto found = std::find_if(json_["nodes"].begin(), json_["nodes"].end(), is_it);
        return found != json_["nodes"].end() ? *found : Json();
    }

    [[nodiscard]] const Json& json() const { return json_; }

private:
    Json json_;
};

const std::string vsys = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys";
const std::string profile = vsys + "/qn-ips:profiles/qn-ips:profile";

Json listed(const std::string& path, const Json& set, const Json& removal)
{
    return {{"path", path}, {"set", set}, {"removal", removal}, {"pair", !removal.is_null()}, {"speaker", nullptr}};
}

Json row(const std::string& callback, int priority)
{
    return {{"callback", callback}, {"priority", priority}};
}

TEST_F(Nodes, ListsEveryRowOnce)
{
    std::set<std::string> paths;
    std::size_t rows = 0;
    for (const Json& node : json()["nodes"]) {
        paths.insert(node["path"]);
        rows += node["pair"] ? 2U : 1U;
    }
    EXPECT_EQ(json()["module"], QN_IPS_MODULE);
    EXPECT_EQ(json()["rows"], 308);
    EXPECT_EQ(rows, 308U);
    EXPECT_EQ(paths.size(), json()["nodes"].size());
    EXPECT_EQ(std::count_if(paths.begin(), paths.end(),
                            [](const std::string& path) { return path.starts_with("/qn-ips:ips-state"); }),
              73);
}

TEST_F(Nodes, GivesPairsTheirCallbacksAndPriorities)
{
    EXPECT_EQ(node(profile), listed(profile, row("callback_Profile_ADD", 19), row("callback_Profile_Delete", 55)));
    EXPECT_EQ(node(vsys + "/qn-ips:ips-enable"), listed(vsys + "/qn-ips:ips-enable", row("callback_AssignIPS_ADD", 23),
                                                        row("callback_AssignIPS_Delete", 56)));
}

TEST_F(Nodes, GivesNodesWithoutHandlerOneRow)
{
    const Json container = node(vsys);
    EXPECT_EQ(container["pair"], false);
    EXPECT_EQ(container["removal"], nullptr);
    EXPECT_EQ(container["speaker"], nullptr);
}

TEST_F(Nodes, NamesWhoSpeaksForALeafWithoutHandler)
{
    const std::string rules = vsys + "/qn-ips:user-defined-signatures/qn-ips:signature"
                                     "/qn-ips:signature-rule-information/qn-ips:protocol-rules";
    EXPECT_EQ(node(rules + "/qn-ips:protocol")["speaker"], rules);
}

} // namespace

} // namespace qnips::test
