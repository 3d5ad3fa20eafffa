// Entry points: which of a pair acts, what its handler and the server get, and what the other one says.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "module/node_table.h"
#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

struct DispatchCase {
    int op;
    bool set;
    bool removal;
    bool range_removal; // of an address range
};

// clang-format off
const std::vector<DispatchCase> dispatch_cases = {
    //                                               set    removal range
    {XMLDIFF_NONE,                                   true,  false, false},
    {XMLDIFF_ADD,                                    true,  false, false},
    {XMLDIFF_MOD,                                    true,  false, false},
    {XMLDIFF_SIBLING,                                true,  false, false},
    {XMLDIFF_REORDER,                                true,  false, false},
    {XMLDIFF_ADD | XMLDIFF_CFGR,                     true,  false, false},
    {XMLDIFF_ADD | XMLDIFF_ROLLBACK,                 true,  false, false},
    {XMLDIFF_REM,                                    false, true,  true},
    {XMLDIFF_REM | XMLDIFF_MOD,                      false, true,  true},
    {XMLDIFF_REM | XMLDIFF_ROLLBACK,                 false, true,  true},
    {XMLDIFF_ADD | XMLDIFF_REM,                      false, true,  true},
    {XMLDIFF_CHAIN,                                  true,  false, true},
    {XMLDIFF_CHAIN | XMLDIFF_MOD,                    true,  false, true},
    {XMLDIFF_CHAIN | XMLDIFF_SIBLING,                true,  false, true},
    {XMLDIFF_CHAIN | XMLDIFF_CFGR,                   true,  false, true},
    {XMLDIFF_CHAIN | XMLDIFF_ADD,                    true,  false, false},
    {XMLDIFF_CHAIN | XMLDIFF_ADD | XMLDIFF_ROLLBACK, true,  false, false},
    {XMLDIFF_CHAIN | XMLDIFF_REM,                    false, true,  true},
    {XMLDIFF_CHAIN | XMLDIFF_REM | XMLDIFF_ROLLBACK, false, true,  true},
    {XMLDIFF_CHAIN | XMLDIFF_REM | XMLDIFF_ADD,      false, true,  false},
    {64,                                             true,  false, false},
};
// clang-format on

std::string skip_trace(const std::string& entry, int op)
{
    return "[IPS]Success:Current Function is " + entry + " , current line is #, , current op is " + std::to_string(op) +
           ".\r\n\r\n";
}

class Pair : public ServerTestBase<testing::TestWithParam<TableNode>>
{
protected:
    CallResult enter(const EntryPoint& entry, int op)
    {
        CallResult r =
            server.enter(entry.function, op, bare_edit(GetParam().path, "text"), bare_xpath(GetParam().path));
        r.output = without_line_numbers(r.output);
        return r;
    }

    void expect_entry(const EntryPoint& entry, int op, bool acts)
    {
        SCOPED_TRACE(entry.name + ' ' + op_text(op));
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = enter(entry, op);
            if (!acts) {
                EXPECT_TRUE(r.quiet());
                EXPECT_TRUE(r.ancestor_lookups.empty());
                EXPECT_TRUE(r.key_lookups.empty());
                EXPECT_EQ(r.output, setting.traces ? skip_trace(entry.name, op) : "");
                continue;
            }
            EXPECT_EQ(r.output.find("[IPS]Success:"), std::string::npos);
            if (setting.traces && !refuses(r)) {
                EXPECT_EQ(traced_handlers(r.output, op), GetParam().handler);
            }
        }
    }

    // A handler that is not there yet says so instead of tracing.
    static bool refuses(const CallResult& r)
    {
        return std::ranges::any_of(r.errors,
                                   [](const ClientError& error) { return error.code == NC_ERR_OP_NOT_SUPPORTED; });
    }

    // The names in the entry traces of handlers with that operation, each once: one handler runs.
    static std::string traced_handlers(const std::string& output, int op)
    {
        const std::string start = "[IPS]Current Function is ";
        const std::string end = " , current line is #, current op is " + std::to_string(op) + "\r\n";
        std::string names;
        for (std::size_t at = 0; (at = output.find(start, at)) != std::string::npos;) {
            at += start.size();
            const std::size_t stop = output.find(" , ", at);
            if (output.compare(stop, end.size(), end) == 0)
                names += output.substr(at, stop - at);
        }
        return names;
    }
};

TEST_P(Pair, OneActsByTheReceivedOperationAndTheOtherTracesIt)
{
    for (const DispatchCase& test : dispatch_cases) {
        expect_entry(GetParam().set, test.op, test.set);
        expect_entry(GetParam().remove, test.op,
                     GetParam().kind == NodeKind::range_pair ? test.range_removal : test.removal);
    }
}

TEST_P(Pair, DispatchLooksAtTheReceivedAndTheHandlerAtTheTransformedOperation)
{
    server.transform = [](int op) { return op == XMLDIFF_REM ? XMLDIFF_ADD : XMLDIFF_REM; };
    const DebugSwitches switches({false, true});
    for (const auto& [entry, received, transformed] :
         {std::tuple{GetParam().set, XMLDIFF_ADD, XMLDIFF_REM}, {GetParam().remove, XMLDIFF_REM, XMLDIFF_ADD}}) {
        const CallResult r = enter(entry, received);
        if (!refuses(r)) {
            EXPECT_EQ(traced_handlers(r.output, transformed), GetParam().handler);
        }
    }
    EXPECT_EQ(enter(GetParam().set, XMLDIFF_REM).output, skip_trace(GetParam().set.name, XMLDIFF_REM));
}

TEST_P(Pair, HandlersResultIsTheResult)
{
    // Without names and values every handler either fails with the server's result or has nothing to do.
    server.fail_result = 42;
    const CallResult r = enter(GetParam().set, XMLDIFF_ADD);
    EXPECT_EQ(r.result, r.errors.empty() ? 0 : 42);
}

INSTANTIATE_TEST_SUITE_P(All, Pair, testing::ValuesIn(handled_nodes()),
                         [](const auto& test) { return test.param.handler; });

// ------------------------------------------------------------------------------------------------------ environment --

class EntryPoints : public ServerTest
{
protected:
    static EntryPoint entry(const std::string& name)
    {
        for (const TableNode& node : node_table()) {
            for (const EntryPoint& entry : {node.set, node.remove}) {
                if (entry.name == name)
                    return entry;
            }
        }
        throw std::invalid_argument(name);
    }

    CallResult description(const std::string& name, int op)
    {
        return server.enter(entry(name).function, op,
                            nested(in_profile("branch", "webguard"), leaf("description", "text")), "//description");
    }
};

// The server recognises its own context, error slot and node in what the handler hands back; the fixture tells any
// other.
TEST_F(EntryPoints, ServersContextSlotAndNodeComeBackToTheServer)
{
    const CallResult r = description("callback_ProfileDescription_ADD", XMLDIFF_ADD);
    EXPECT_EQ(r.result, 0);
    EXPECT_FALSE(r.ancestor_lookups.empty());
    EXPECT_FALSE(r.key_lookups.empty());
    ASSERT_EQ(r.commits.size(), 1U);

    const CallResult refused =
        server.enter(entry("callback_ProfileDescription_ADD").function, XMLDIFF_ADD,
                     nested(in_profile("branch", "webguard"), "<description/>"), "//description");
    EXPECT_EQ(refused.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, "The current value is NULL."}}));
    EXPECT_EQ(server.misuses(), std::vector<std::string>{});
}

TEST_F(EntryPoints, CommitNamesThisModuleAndTheOperation)
{
    const CallResult set = description("callback_ProfileDescription_ADD", XMLDIFF_MOD);
    const CallResult removal = description("callback_ProfileDescription_Delete", XMLDIFF_REM);
    ASSERT_EQ(set.commits.size(), 1U);
    ASSERT_EQ(removal.commits.size(), 1U);
    EXPECT_EQ(set.commits[0].operation, 0U);
    EXPECT_EQ(removal.commits[0].operation, 1U);
    for (const CallResult& r : {set, removal}) {
        msg_dp_zell_head_t promised;
        std::memset(&promised, 0, sizeof(promised));
        promised.msg_type = 1;
        promised.model_type = 2;
        EXPECT_EQ(std::memcmp(&r.commits[0].header, &promised, sizeof(promised)), 0);
    }
    EXPECT_EQ(set.lines[0].line, "description text");
    EXPECT_EQ(removal.lines[0].line, "undo description");
}

TEST_F(EntryPoints, HandlerActsOnTheTransformedOperation)
{
    server.transform = [](int) { return XMLDIFF_REM; };
    EXPECT_EQ(description("callback_ProfileDescription_ADD", XMLDIFF_ADD).lines.at(0).line, "undo description");
    server.transform = [](int) { return XMLDIFF_ADD; };
    EXPECT_EQ(description("callback_ProfileDescription_Delete", XMLDIFF_REM).lines.at(0).line, "description text");
}

TEST_F(EntryPoints, SkippingTraceByteForByte)
{
    const DebugSwitches switches({false, true});
    const std::string output = description("callback_ProfileDescription_Delete", XMLDIFF_CFGR).output;
    EXPECT_EQ(
        without_line_numbers(output),
        "[IPS]Success:Current Function is callback_ProfileDescription_Delete , current line is #, , current op is "
        "16384.\r\n\r\n");
    EXPECT_NE(output, without_line_numbers(output)) << "a line number stands there";
}

// -------------------------------------------------------------------------------------------------------------- no-op
// --

TEST_F(EntryPoints, NoOpOnesReturnAtOnceAndPrintNothing)
{
    std::vector<EntryPoint> entries = unregistered_entry_points();
    EXPECT_EQ(entries.size(), 4U);
    for (const TableNode& node : node_table()) {
        if (node.has_handler())
            continue;
        entries.push_back(node.set);
        if (node.is_pair())
            entries.push_back(node.remove);
    }
    EXPECT_EQ(entries.size(), 118U);

    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        for (const EntryPoint& entry : entries) {
            for (const DispatchCase& test : dispatch_cases) {
                SCOPED_TRACE(entry.name);
                const CallResult r = server.run(
                    [&] { return entry.function(nullptr, static_cast<XMLDIFF_OP>(test.op), nullptr, nullptr); });
                EXPECT_TRUE(r.quiet());
                EXPECT_EQ(r.output, "");
            }
        }
    }
}

} // namespace
