// Every handler of the node table is held to promises: none is quietly left out, and each is reached by its own entry
// points at its own place in the tree.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "module/handler_case.h"
#include "module/node_table.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

// These send nothing, whatever they are told, so they are tested by themselves.
const std::set<std::string> silent_handlers = {"IPS_UD_ProContDnsReqEndType", "IPS_UD_SigAssociatedRuleProtocol"};

TEST(SupportedHandlers, AreThoseWithPromisesAndNoOthers)
{
    std::set<std::string> promised = silent_handlers;
    for (const HandlerCase& test : handler_cases())
        EXPECT_TRUE(promised.insert(test.name).second) << test.name << " has two cases";
    std::set<std::string> handlers;
    for (const TableNode& node : handled_nodes())
        EXPECT_TRUE(handlers.insert(node.handler).second) << node.handler << " has two nodes";
    EXPECT_EQ(handlers.size(), 97U);
    EXPECT_EQ(promised, handlers);
}

class NodeOfCase : public ServerTestBase<testing::TestWithParam<TableNode>>
{
};

// The names from the root to the changed node.
std::vector<std::string> case_path(const HandlerCase& test)
{
    std::vector<std::string> names;
    for (const Step& step : test.above)
        names.push_back(step.name);
    names.push_back(test.node.substr(1, test.node.find_first_of("/ >") - 1));
    return names;
}

TEST_P(NodeOfCase, StandsAtItsRegisteredPath)
{
    EXPECT_EQ(case_path(handler_case(GetParam().handler)), path_names(GetParam().path));
}

TEST_P(NodeOfCase, IsHandledAlikeThroughItsEntryPoints)
{
    const HandlerCase& test = handler_case(GetParam().handler);
    const std::string xml = nested(test.above, test.node);
    for (const DebugSetting setting : all_debug_settings) {
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_REM}, XMLDIFF_ADD | XMLDIFF_ROLLBACK,
                             XMLDIFF_REM | XMLDIFF_ROLLBACK}) {
            SCOPED_TRACE(op_text(op));
            const DebugSwitches switches(setting);
            const bool removal = (op & XMLDIFF_REM) != 0;
            const CallResult direct = test.call(server, op, xml, removal ? 1 : 0);
            const CallResult entered =
                server.enter(removal ? GetParam().remove.function : GetParam().set.function, op, xml, test.xpath);
            EXPECT_EQ(entered.result, direct.result);
            EXPECT_EQ(entered.lines, direct.lines);
            EXPECT_EQ(entered.errors, direct.errors);
            EXPECT_EQ(entered.commits.size(), direct.commits.size());
            EXPECT_EQ(entered.output, direct.output);
        }
    }
}

// A refusal as a whole is told by a code that no handler needs.
TEST_P(NodeOfCase, IsSupported)
{
    const HandlerCase& test = handler_case(GetParam().handler);
    for (const OpCase& op_case : op_cases()) {
        for (const ClientError& error : test.call(server, op_case.op, nested(test.above, test.node)).errors)
            EXPECT_NE(error.code, NC_ERR_OP_NOT_SUPPORTED) << op_text(op_case.op);
    }
}

std::vector<TableNode> nodes_with_cases()
{
    std::vector<TableNode> nodes = handled_nodes();
    std::erase_if(nodes, [](const TableNode& node) { return silent_handlers.contains(node.handler); });
    return nodes;
}

std::string handler_of(const testing::TestParamInfo<TableNode>& test)
{
    return test.param.handler;
}

INSTANTIATE_TEST_SUITE_P(All, NodeOfCase, testing::ValuesIn(nodes_with_cases()), handler_of);

} // namespace
