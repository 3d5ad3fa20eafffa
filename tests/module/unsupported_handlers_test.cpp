// Handlers that cannot carry a change out yet refuse it openly: with a code and a text that name the fault, and without
// a line.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "module/handler_case.h"
#include "module/node_table.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

class Handled : public ServerTestBase<testing::TestWithParam<TableNode>>
{
};

bool is_unsupported(const CallResult& r)
{
    return std::ranges::any_of(r.errors,
                               [](const ClientError& error) { return error.code == NC_ERR_OP_NOT_SUPPORTED; });
}

TEST_P(Handled, RefusesOpenlyOrNotAtAll)
{
    const TableNode& node = GetParam();
    const std::string name = path_names(node.path).back();
    server.fail_result = 42;
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        for (const bool removal : {false, true}) {
            const CallResult r =
                server.enter(removal ? node.remove.function : node.set.function, removal ? XMLDIFF_REM : XMLDIFF_ADD,
                             bare_edit(node.path, "text"), bare_xpath(node.path));
            if (!is_unsupported(r))
                continue;
            EXPECT_EQ(r.result, 42);
            EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_OP_NOT_SUPPORTED, "The node " + name + " is not supported."}}));
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_TRUE(r.commits.empty());
            EXPECT_EQ(r.output, setting.messages ? "[IPS]ERROR: The node " + name + " is not supported.\r\n\r\n" : "");
        }
    }
}

std::string handler_of(const testing::TestParamInfo<TableNode>& test)
{
    return test.param.handler;
}

INSTANTIATE_TEST_SUITE_P(All, Handled, testing::ValuesIn(handled_nodes()), handler_of);

// Every handler either has promises, which other tests hold it to, or refuses: none is quietly left out.
TEST(SupportedHandlers, AreThoseWithPromisesAndNoOthers)
{
    RecordingServer server;
    std::set<std::string> promised = {"IPS_UD_ProContDnsReqEndType"}; // sends nothing, so it is tested by itself
    for (const HandlerCase& test : handler_cases())
        EXPECT_TRUE(promised.insert(test.name).second) << test.name << " has two cases";
    std::set<std::string> supported;
    for (const TableNode& node : handled_nodes()) {
        const CallResult r =
            server.enter(node.set.function, XMLDIFF_ADD, bare_edit(node.path, "text"), bare_xpath(node.path));
        if (!is_unsupported(r))
            supported.insert(node.handler);
    }
    EXPECT_EQ(supported, promised);
}

TEST(SupportedHandlers, DoNotRefuse)
{
    RecordingServer server;
    for (const HandlerCase& test : handler_cases()) {
        SCOPED_TRACE(test.name);
        EXPECT_FALSE(is_unsupported(server.call(test.handler, XMLDIFF_ADD, nested(test.above, test.node), test.xpath)));
    }
}

} // namespace
