// When a table fits the schema, and how its rows are found: against the small schema in broken_modules/.
#include "server/node_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "server/load_error.h"
#include "server/yang_schema.h"

namespace
{

using qnips::LoadError;
using qnips::NodeTable;
using qnips::Phase;
using qnips::Row;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

int callback(void**, XMLDIFF_OP, xmlNodePtr, nc_err**)
{
    return 0;
}

// The path of a node of the small schema ("ips-config/house"), with prefixes.
std::string path(std::string_view steps)
{
    std::string text = "/qn-ips:";
    for (const char character : steps)
        text += character == '/' ? std::string("/qn-ips:") : std::string(1, character);
    return text;
}

Row row(std::string_view steps, int priority, std::string name = "nothing")
{
    return {.path = path(steps), .function = callback, .priority = priority, .callback = std::move(name)};
}

std::vector<Row> good_rows()
{
    return {row("ips-config/house", 19, "set_house"),
            row("ips-config/house", 55, "remove_house"),
            row("ips-config/house/name", 18),
            row("ips-config/house/number", 18, "set_number"),
            row("ips-config/house/number", 54, "remove_number"),
            row("ips-config/house/stove", 0),
            row("ips-config/house/stove/fuel", 0),
            row("ips-config/house/stove/wood", 17, "set_wood"),
            row("ips-config/house/stove/wood", 57, "remove_wood"),
            row("ips-config/house/cold", 0),
            row("ips-config/alone", 0),
            row("ips-state", 0),
            row("ips-state/lamps", 0)};
}

class NodeTableTest : public testing::Test
{
protected:
    [[nodiscard]] std::vector<std::string> findings(const std::vector<Row>& rows) const
    {
        return qnips::table_findings(rows, schema_);
    }

    [[nodiscard]] const lysc_node* node(std::string_view steps) const
    {
        const lysc_node* found = schema_.find(path(steps));
        EXPECT_NE(found, nullptr) << steps;
        return found;
    }

    const qnips::YangSchema schema_{{std::filesystem::path(QN_IPS_TEST_DATA) / "broken_modules", QN_IPS_IETF_YANG_DIR}};
};

std::vector<std::string> callbacks(std::span<const Row> rows)
{
    std::vector<std::string> names;
    for (const Row& row : rows)
        names.push_back(row.callback);
    return names;
}

std::vector<Row> without(std::vector<Row> rows, std::string_view steps)
{
    std::erase_if(rows, [&](const Row& row) { return row.path == path(steps); });
    return rows;
}

std::vector<Row> with(std::vector<Row> rows, Row added)
{
    rows.push_back(std::move(added));
    return rows;
}

// Gives the row of `name` another priority.
std::vector<Row> with_priority(std::vector<Row> rows, std::string_view name, int priority)
{
    std::ranges::find_if(rows, [&](const Row& row) { return row.callback == name; })->priority = priority;
    return rows;
}

TEST_F(NodeTableTest, FittingTableHasNoFindings)
{
    EXPECT_THAT(findings(good_rows()), IsEmpty());
}

TEST_F(NodeTableTest, RowForANodeThatTheSchemaDoesNotHave)
{
    EXPECT_THAT(findings(with(good_rows(), row("ips-config/garden", 0))),
                ElementsAre("/qn-ips:ips-config/qn-ips:garden: the schema has no such node"));
}

TEST_F(NodeTableTest, EveryDataNodeNeedsARow)
{
    for (const Row& row : good_rows()) {
        std::vector<Row> rows = good_rows();
        std::erase_if(rows, [&](const Row& other) { return other.path == row.path; });
        EXPECT_THAT(findings(rows), ElementsAre(row.path + ": no row"));
    }
}

TEST_F(NodeTableTest, TopLevelContainerOfTheConfigurationMayHaveARow)
{
    EXPECT_THAT(findings(with(good_rows(), row("ips-config", 0))), IsEmpty());
}

TEST_F(NodeTableTest, ANodeHasOneSetRowAndAtMostOneRemovalRow)
{
    const std::string expected = "expected one set row and at most one removal row";
    EXPECT_THAT(
        findings(with(good_rows(), row("ips-config/house/number", 17))),
        ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:number: 2 set rows and 1 removal rows, " + expected));
    EXPECT_THAT(
        findings(with(good_rows(), row("ips-config/house/number", 50))),
        ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:number: 1 set rows and 2 removal rows, " + expected));
    EXPECT_THAT(findings(with(good_rows(), row("ips-config/house/cold", 1))),
                ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:cold: 2 set rows and 0 removal rows, " + expected));
    EXPECT_THAT(
        findings(with_priority(good_rows(), "set_number", 50)),
        ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:number: 0 set rows and 2 removal rows, " + expected));
    EXPECT_THAT(findings(with(without(good_rows(), "ips-config/house/cold"), row("ips-config/house/cold", 50))),
                ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:cold: 0 set rows and 1 removal rows, " + expected));
}

TEST_F(NodeTableTest, AParentIsSetBeforeItsChildren)
{
    EXPECT_THAT(findings(with_priority(good_rows(), "set_number", 19)), IsEmpty());
    EXPECT_THAT(findings(with_priority(good_rows(), "set_number", 20)),
                ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:number: set priority 20 is above the 19 of "
                            "/qn-ips:ips-config/qn-ips:house, which has to be set before it"));
}

TEST_F(NodeTableTest, SetPrioritiesAreComparedAcrossNodesWithoutAPair)
{
    EXPECT_THAT(findings(with_priority(good_rows(), "set_wood", 20)),
                ElementsAre("/qn-ips:ips-config/qn-ips:house/qn-ips:stove/qn-ips:wood: set priority 20 is above the 19 "
                            "of /qn-ips:ips-config/qn-ips:house, which has to be set before it"));
}

TEST_F(NodeTableTest, PrioritiesOfNodesWithoutAPairAreFree)
{
    std::vector<Row> rows = without(good_rows(), "ips-config/house/name");
    EXPECT_THAT(findings(with(rows, row("ips-config/house/name", 49))), IsEmpty());
}

TEST_F(NodeTableTest, RemovalPrioritiesAreFree)
{
    EXPECT_THAT(findings(with_priority(good_rows(), "remove_number", 63)), IsEmpty());
    EXPECT_THAT(findings(with_priority(good_rows(), "remove_number", 50)), IsEmpty());
}

TEST_F(NodeTableTest, RefusesAMisfitWithAllReasons)
{
    const std::vector<Row> rows = with(without(good_rows(), "ips-config/alone"), row("ips-config/garden", 0));
    try {
        const NodeTable table(rows, schema_);
        FAIL() << "accepted";
    } catch (const LoadError& error) {
        EXPECT_THAT(error.findings(), UnorderedElementsAre("/qn-ips:ips-config/qn-ips:alone: no row",
                                                           "/qn-ips:ips-config/qn-ips:garden: the schema has no such "
                                                           "node"));
    }
}

TEST_F(NodeTableTest, FindsTheRowsOfANodeByPhase)
{
    const NodeTable table(good_rows(), schema_);
    EXPECT_THAT(callbacks(table.rows(node("ips-config/house"), Phase::set)), ElementsAre("set_house"));
    EXPECT_THAT(callbacks(table.rows(node("ips-config/house"), Phase::removal)), ElementsAre("remove_house"));
    EXPECT_THAT(callbacks(table.rows(node("ips-config/house/cold"), Phase::set)), ElementsAre("nothing"));
    EXPECT_THAT(callbacks(table.rows(node("ips-config/house/cold"), Phase::removal)), IsEmpty());
    EXPECT_THAT(callbacks(table.rows(node("ips-config"), Phase::set)), IsEmpty());
}

TEST_F(NodeTableTest, FirstRemovalPriorityDividesThePhases)
{
    EXPECT_EQ(qnips::phase_of(row("ips-config", 49)), Phase::set);
    EXPECT_EQ(qnips::phase_of(row("ips-config", 50)), Phase::removal);
}

TEST_F(NodeTableTest, LeavesWithoutAPairSpeakThroughTheNearestAncestorThatHasOne)
{
    const NodeTable table(good_rows(), schema_);
    EXPECT_TRUE(table.speaks_through_parent(node("ips-config/house/stove/fuel")));
    EXPECT_EQ(table.speaker(node("ips-config/house/stove/fuel")), node("ips-config/house"));
    EXPECT_TRUE(table.speaks_through_parent(node("ips-config/house/cold")));
    EXPECT_EQ(table.speaker(node("ips-config/house/cold")), node("ips-config/house"));
}

TEST_F(NodeTableTest, NobodySpeaksForALeafWithoutSuchAnAncestor)
{
    const NodeTable table(good_rows(), schema_);
    EXPECT_TRUE(table.speaks_through_parent(node("ips-config/alone")));
    EXPECT_EQ(table.speaker(node("ips-config/alone")), nullptr);
    EXPECT_EQ(table.speaker(node("ips-config")), nullptr);
}

TEST_F(NodeTableTest, KeysContainersStateAndLeavesWithAPairDoNotSpeakThroughAParent)
{
    const NodeTable table(good_rows(), schema_);
    for (const char* steps : {"ips-config", "ips-config/house", "ips-config/house/name", "ips-config/house/number",
                              "ips-config/house/stove", "ips-config/house/stove/wood", "ips-state/lamps"})
        EXPECT_FALSE(table.speaks_through_parent(node(steps))) << steps;
}

TEST_F(NodeTableTest, HasPairOnlyWithBothRows)
{
    const NodeTable table(good_rows(), schema_);
    EXPECT_TRUE(table.has_pair(node("ips-config/house/stove/wood")));
    EXPECT_FALSE(table.has_pair(node("ips-config/house/name")));
    EXPECT_FALSE(table.has_pair(node("ips-config")));
}

} // namespace
