// The deletion flag that an entry point hands to the handlers of addresses and of conditions' qualifiers, and how the
// two entry points of such a node share its operations. A change below a range reaches the range's handler through
// both.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "module/handler_case.h"
#include "module/node_table.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

TableNode table_node(const std::string& handler)
{
    for (const TableNode& node : handled_nodes()) {
        if (node.handler == handler)
            return node;
    }
    throw std::invalid_argument(handler);
}

// A handler that takes the flag: the operations on which it makes a difference, and how.
struct Flagged {
    const char* handler;
    std::set<int> changes;  // these set without the flag and remove with it
    std::string undo;       // the line that removes
    std::string undo_start; // of the line's debug line
    unsigned operation;     // of its commit

    friend void PrintTo(const Flagged& test, std::ostream* out) { *out << test.handler; }
};

const std::set<int> leaf_changes = {XMLDIFF_MOD, XMLDIFF_MOD | XMLDIFF_CHAIN, XMLDIFF_MOD | XMLDIFF_ROLLBACK,
                                    XMLDIFF_MOD | XMLDIFF_REM, XMLDIFF_MOD | undone_addition};
const std::set<int> range_changes = {XMLDIFF_ADD,
                                     XMLDIFF_ADD | XMLDIFF_CHAIN,
                                     XMLDIFF_ADD | XMLDIFF_SIBLING,
                                     XMLDIFF_MOD,
                                     XMLDIFF_MOD | XMLDIFF_CHAIN,
                                     XMLDIFF_MOD | XMLDIFF_ROLLBACK,
                                     XMLDIFF_CHAIN,
                                     XMLDIFF_CHAIN | XMLDIFF_REORDER,
                                     XMLDIFF_CHAIN | XMLDIFF_SIBLING,
                                     XMLDIFF_CHAIN | XMLDIFF_ROLLBACK,
                                     XMLDIFF_CHAIN | 64};

const std::string named_removal = "[IPS]Operation: XMLDIFF_REM, acCmdMes: ";
const std::string two_blanks = "[IPS]Operation:  ";
const std::string plain = "[IPS]Operation: ";

const std::vector<Flagged> flagged_handlers = {
    {"IPS_UD_SigRuleSourceIP", leaf_changes, "undo source-ip", named_removal, 1},
    {"IPS_UD_SigRuleSourceIP_Range", range_changes, "undo source-ip", named_removal, 1},
    {"IPS_UD_SigRuleDesIP", leaf_changes, "undo destination-ip", two_blanks, 1},
    {"IPS_UD_SigRuleDesIP_Range", range_changes, "undo destination-ip", two_blanks, 1},
    {"IPS_UD_SigRuleBasicCondOffset", leaf_changes, "undo condition 1", plain, 0},
    {"IPS_UD_SigRuleBasicCondDepth", leaf_changes, "undo condition 1", plain, 0},
    {"IPS_UD_SigRuleBasicCondDirection", leaf_changes, "undo condition 1", plain, 0},
    {"IPS_UD_SigRuleBasicCondHTTPMethod", leaf_changes, "undo condition 1", plain, 0},
};

class DeletionFlag : public ServerTestBase<testing::TestWithParam<Flagged>>
{
protected:
    static const HandlerCase& promises() { return handler_case(GetParam().handler); }
    static std::string edit() { return nested(promises().above, promises().node); }

    static Lines undo_line()
    {
        return {{"branch", "ips-signature-7-rule-login", "ips-signature-rule", GetParam().undo}};
    }

    // What both entry points of the node do with an operation as received, the adding one first.
    std::vector<CallResult> enter(int op)
    {
        const TableNode node = table_node(GetParam().handler);
        return {server.enter(node.set.function, op, edit(), promises().xpath),
                server.enter(node.remove.function, op, edit(), promises().xpath)};
    }
};

TEST_P(DeletionFlag, TurnsChangesIntoRemovalsAndNothingElse)
{
    const HandlerCase& test = promises();
    for (const OpCase& op_case : op_cases()) {
        const bool is_change = GetParam().changes.contains(op_case.op);
        const Outcome outcome = test.outcome(op_case);
        const bool is_undo = is_change || outcome == Outcome::undo;
        SCOPED_TRACE(op_text(op_case.op));
        const CallResult r = test.call(server, op_case.op, edit(), 1);
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.errors, ClientErrors{});
        EXPECT_EQ(r.lines, is_change ? undo_line() : test.lines(outcome, op_case.op));
        ASSERT_EQ(r.commits.size(), 1U);
        EXPECT_EQ(r.commits[0].operation, is_undo ? GetParam().operation : 0U);
    }
}

// Only 1 is a deletion.
TEST_P(DeletionFlag, OfAnotherValueIsNone)
{
    const HandlerCase& test = promises();
    for (const int flag : {0, 2, -1}) {
        for (const OpCase& op_case : op_cases()) {
            SCOPED_TRACE(op_text(op_case.op));
            EXPECT_EQ(test.call(server, op_case.op, edit(), flag).lines, test.lines(test.outcome(op_case), op_case.op));
        }
    }
}

TEST_P(DeletionFlag, DebugLineOfARemovingChangeByteForByte)
{
    const HandlerCase& test = promises();
    for (const int op : GetParam().changes) {
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const std::string output = without_line_numbers(test.call(server, op, edit(), 1).output);
            const std::string checks = test.checks_output == nullptr ? "" : test.checks_output(Outcome::set, op);
            EXPECT_EQ(output, opening_lines(test, op, setting) +
                                  (setting.messages ? checks + GetParam().undo_start + GetParam().undo + " \r\n" : ""));
        }
    }
}

TEST_P(DeletionFlag, FailedCommitOfARemovingChangeIsReturned)
{
    const HandlerCase& test = promises();
    server.commit_result = 77;
    const DebugSwitches switches({true, false});
    const CallResult r = test.call(server, XMLDIFF_MOD, edit(), 1);
    EXPECT_EQ(r.result, 77);
    EXPECT_EQ(r.errors, ClientErrors{});
    EXPECT_TRUE(r.output.ends_with(GetParam().undo + " \r\n" + error_line(test.commit_failure)));
}

// ----------------------------------------------------------------------------------------------------- entry points --

// The server may make a modification of what it called the removing entry point for.
TEST_P(DeletionFlag, IsSetByTheRemovingEntryPointOnly)
{
    server.transform = [](int) { return XMLDIFF_MOD; };
    EXPECT_EQ(enter(XMLDIFF_ADD)[0].lines, promises().sent_lines());
    EXPECT_EQ(enter(XMLDIFF_REM)[1].lines, undo_line());
}

TEST_P(DeletionFlag, IsOfNoInterestToAPlainRemovalOrAddition)
{
    const std::vector<CallResult> added = enter(XMLDIFF_ADD);
    EXPECT_EQ(added[0].lines, promises().sent_lines());
    EXPECT_TRUE(added[1].quiet());
    const std::vector<CallResult> removed = enter(XMLDIFF_REM);
    EXPECT_TRUE(removed[0].quiet());
    EXPECT_EQ(removed[1].lines, promises().lines(Outcome::undo, XMLDIFF_REM));
    const std::vector<CallResult> brought_back = enter(undone_removal);
    EXPECT_TRUE(brought_back[0].quiet());
    EXPECT_EQ(brought_back[1].lines, promises().lines(Outcome::set, undone_removal));
    const std::vector<CallResult> taken_back = enter(undone_addition);
    EXPECT_EQ(taken_back[0].lines, promises().lines(Outcome::undo, undone_addition));
    EXPECT_TRUE(taken_back[1].quiet());
}

INSTANTIATE_TEST_SUITE_P(All, DeletionFlag, testing::ValuesIn(flagged_handlers),
                         [](const auto& test) { return std::string(test.param.handler); });

// -------------------------------------------------------------------------------------------- changes below a range --

enum class Does { nothing, set, undo };

// What each of a range's entry points does with an operation as received.
struct Shared {
    int op;
    Does adding;
    Does removing;
};

const std::vector<Shared> shared_operations = {
    {XMLDIFF_ADD, Does::set, Does::nothing},
    {XMLDIFF_ADD | XMLDIFF_CHAIN, Does::set, Does::nothing},
    {XMLDIFF_MOD, Does::set, Does::nothing},
    {XMLDIFF_CFGR, Does::set, Does::nothing},
    {undone_addition, Does::undo, Does::nothing},
    {undone_addition | XMLDIFF_CHAIN, Does::undo, Does::nothing},
    {XMLDIFF_REM, Does::nothing, Does::undo},
    {XMLDIFF_REM | XMLDIFF_CHAIN, Does::nothing, Does::undo},
    {XMLDIFF_REM | XMLDIFF_ADD, Does::nothing, Does::undo},
    {undone_removal, Does::nothing, Does::set},
    {undone_removal | XMLDIFF_CHAIN, Does::nothing, Does::set},
    // a change below reaches the handler twice, and the second call removes
    {XMLDIFF_CHAIN, Does::set, Does::undo},
    {XMLDIFF_CHAIN | XMLDIFF_MOD, Does::set, Does::undo},
    {XMLDIFF_CHAIN | XMLDIFF_SIBLING, Does::set, Does::undo},
    {XMLDIFF_CHAIN | XMLDIFF_ROLLBACK, Does::set, Does::undo},
    {XMLDIFF_CHAIN | XMLDIFF_CFGR, Does::set, Does::set},
    // added, removed and changed below at once, it reaches the handler not at all
    {XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_CHAIN, Does::nothing, Does::nothing},
};

class RangeEntryPoints : public DeletionFlag
{
protected:
    static void expect(const CallResult& r, Does does)
    {
        if (does == Does::nothing) {
            EXPECT_TRUE(r.quiet());
            EXPECT_EQ(r.ancestor_lookups, std::vector<int>{});
            return;
        }
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.lines, does == Does::undo ? undo_line() : promises().sent_lines());
        ASSERT_EQ(r.commits.size(), 1U);
        EXPECT_EQ(r.commits[0].operation, does == Does::undo ? 1U : 0U);
    }
};

TEST_P(RangeEntryPoints, ShareTheOperations)
{
    for (const Shared& test : shared_operations) {
        SCOPED_TRACE(op_text(test.op));
        const std::vector<CallResult> calls = enter(test.op);
        expect(calls[0], test.adding);
        expect(calls[1], test.removing);
    }
}

TEST_P(RangeEntryPoints, OfTheEndsDoNothing)
{
    for (const char* end : {"start-ip", "end-ip"}) {
        const std::string path = table_node(GetParam().handler).path + "/qn-ips:" + end;
        const auto found = std::ranges::find(node_table(), path, &TableNode::path);
        ASSERT_NE(found, node_table().end());
        EXPECT_FALSE(found->has_handler());
        for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_REM}, int{XMLDIFF_CHAIN}}) {
            const std::string xpath = promises().xpath + '/' + end;
            EXPECT_TRUE(server.enter(found->set.function, op, edit(), xpath).quiet());
            EXPECT_TRUE(server.enter(found->remove.function, op, edit(), xpath).quiet());
        }
    }
}

// Only the end changes: the whole range goes out again, behind the comparison with the other direction.
TEST_P(RangeEntryPoints, ChangedEndSendsTheWholeRange)
{
    const TableNode node = table_node(GetParam().handler);
    const std::string name = path_names(node.path).back();
    const std::string range =
        '<' + name + " op='CHAIN'><start-ip>10.0.0.1</start-ip><end-ip op='MOD'>10.0.0.8</end-ip></" + name + '>';
    Lines promised = promises().sent_lines();
    promised.at(0).line.back() = '8';
    EXPECT_EQ(server.enter(node.set.function, XMLDIFF_CHAIN, nested(promises().above, range), promises().xpath).lines,
              promised);

    const std::string other = name == "source-ip-range" ? "destination-ip" : "source-ip";
    const std::string conflicting = '<' + other + " op='MOD'>2001:db8::1</" + other + '>';
    for (const auto& entry : {node.set.function, node.remove.function}) {
        const CallResult r =
            server.enter(entry, XMLDIFF_CHAIN, nested(promises().above, range + conflicting), promises().xpath);
        EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_BAD_ELEM, "The source-ip and destiantion-ip is conflicted."}}));
        EXPECT_EQ(r.lines, Lines{});
    }
}

std::vector<Flagged> ranges()
{
    return {flagged_handlers[1], flagged_handlers[3]};
}

INSTANTIATE_TEST_SUITE_P(Ranges, RangeEntryPoints, testing::ValuesIn(ranges()),
                         [](const auto& test) { return std::string(test.param.handler); });

} // namespace
