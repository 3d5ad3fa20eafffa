// Associated rules beyond their values: the signature id that arrives by either entry point, the condition that goes
// before its rule, the protocol, and edits of several nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module/handler_case.h"
#include "module/node_table.h"
#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* rule_handler = "IPS_UD_SigAssociatedSigRule";
constexpr const char* condition_handler = "IPS_UD_SigRuleAssocCond";
constexpr const char* id_handler = "IPS_UD_SigRuleAssocCondSigID";

std::string signature_id(std::string_view text)
{
    return leaf("signature-id", text);
}

// ----------------------------------------------------------------------------------------------- the signature id --

class IdByEitherEntry : public ServerTest
{
protected:
    CallResult call(int op, int is_delete, const std::string& node = signature_id("5"))
    {
        const HandlerCase& test = handler_case(id_handler);
        CallResult r = test.call(server, op, nested(test.above, node), is_delete);
        r.output = without_line_numbers(r.output);
        return r;
    }
};

// Modifications that are no sets besides.
const std::vector<int> plain_changes = {
    XMLDIFF_MOD,
    XMLDIFF_MOD | XMLDIFF_CHAIN,
    XMLDIFF_MOD | XMLDIFF_SIBLING,
    XMLDIFF_MOD | XMLDIFF_ROLLBACK,
    XMLDIFF_MOD | XMLDIFF_ADD | XMLDIFF_ROLLBACK,
};

// The line undoes, but the commit is none of a removal.
TEST_F(IdByEitherEntry, ChangeThatIsTheEndOfTheOldIdUndoesTheCondition)
{
    const Lines undone = {{"branch", "ips-signature-7-rule-r1", "ips-signature-rule", "undo condition associated"}};
    for (const int op : plain_changes) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(op_text(op));
            const DebugSwitches switches(setting);
            const CallResult r = call(op, 1);
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, undone);
            EXPECT_EQ(r.errors, ClientErrors{});
            ASSERT_EQ(r.commits.size(), 1U);
            EXPECT_EQ(r.commits[0].operation, 0U);
            EXPECT_EQ(r.cmd_oper, 0);
            EXPECT_EQ(r.output, opening_lines(handler_case(id_handler), op, setting) +
                                    (setting.messages ? operation_line("undo condition associated") : ""));
        }
    }
}

TEST_F(IdByEitherEntry, ChangeThatIsTheEndOfTheOldIdNeedsNoGoodId)
{
    for (const char* id : {"0", "16777217", "id"})
        EXPECT_EQ(call(XMLDIFF_MOD, 1, signature_id(id)).lines.size(), 1U);
    EXPECT_EQ(call(XMLDIFF_MOD, 1, signature_id("5 ")).errors, (ClientErrors{{NC_ERR_MISSING_ELEM, invalid_value}}));
}

TEST_F(IdByEitherEntry, EntryMattersToAPlainChangeOnly)
{
    for (const OpCase& op_case : op_cases()) {
        SCOPED_TRACE(op_text(op_case.op));
        const CallResult set = call(op_case.op, 0);
        const CallResult removal = call(op_case.op, 1);
        const CallResult other = call(op_case.op, 2);
        const bool differs = std::ranges::find(plain_changes, op_case.op) != plain_changes.end();
        EXPECT_EQ(set.lines != removal.lines, differs);
        EXPECT_EQ(set.errors, removal.errors);
        EXPECT_EQ(set.commits.size(), removal.commits.size());
        EXPECT_EQ(other.lines, set.lines) << "only 1 is the removal entry point";
    }
}

TEST_F(IdByEitherEntry, FailedCommitOfTheUndoneConditionIsReturned)
{
    server.commit_result = 77;
    const DebugSwitches switches({true, false});
    const CallResult r = call(XMLDIFF_MOD, 1);
    EXPECT_EQ(r.result, 77);
    EXPECT_EQ(r.output, operation_line("undo condition associated") +
                            error_line("The leaf of signature condition associated signature-id is wrong."));
}

// ------------------------------------------------------------------------------------------------- the rule entry --

class AssociatedRule : public ServerTest
{
};

// The view of this handler is shorter than the others'.
TEST_F(AssociatedRule, ViewIsCutAt63Characters)
{
    const HandlerCase& test = handler_case(rule_handler);
    for (const std::size_t zeros : {48U, 49U, 62U}) {
        Steps above = in_signature("branch", std::string(zeros, '0') + '7');
        above.back().content += leaf("associated-enable", "true");
        above = above / Step{"signature-rule-information"} / Step{"associated-rule"};
        const CallResult r = test.call(server, XMLDIFF_ADD, nested(above, test.node));
        const std::string view = "ips-signature-" + std::string(zeros, '0') + '7';
        EXPECT_EQ(r.lines, (Lines{{"branch", view.substr(0, 63), "ips-signature", "rule name \"r1\""}}));
    }
}

// -------------------------------------------------------------------------------------------------- the condition --

class AssociatedCondition : public ServerTest
{
protected:
    CallResult call(int op, const Steps& above)
    {
        const HandlerCase& test = handler_case(condition_handler);
        CallResult r = test.call(server, op, nested(above, test.node));
        r.output = without_line_numbers(r.output);
        return r;
    }
};

TEST_F(AssociatedCondition, IsUndoneBeforeItsRuleAndItsSignatureGo)
{
    const Steps above = handler_case(condition_handler).above;
    for (const Steps& going :
         {with_op(above, 1, "REM"), with_op(above, 4, "REM"), with_op(with_op(above, 1, "REM"), 4, "REM")}) {
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            const CallResult r = call(XMLDIFF_REM, going);
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, (Lines{{"branch", "ips-signature-7-rule-r1", "ips-signature-rule",
                                       "undo condition associated"}}));
            EXPECT_EQ(r.commits.size(), 1U);
            EXPECT_EQ(r.cmd_oper, 1);
            EXPECT_EQ(r.output,
                      opening_lines(handler_case(condition_handler), XMLDIFF_REM, setting) +
                          (setting.messages
                               ? "[IPS]INFO: The parent operation is deleted, delete the condition first.\r\n" +
                                     operation_line("undo condition associated")
                               : ""));
        }
    }
}

TEST_F(AssociatedCondition, IsQuietWhileTheVsysGoesWithEverythingBelow)
{
    const Steps above = handler_case(condition_handler).above;
    EXPECT_TRUE(call(XMLDIFF_REM, with_op(with_op(with_op(above, 1, "REM"), 4, "REM"), 6, "REM")).quiet());
}

// --------------------------------------------------------------------------------------------------- the protocol --

class AssociatedProtocol : public ServerTest
{
protected:
    static Steps above(const std::string& nature)
    {
        Steps steps = in_signature("branch", "7");
        steps.back().content += nature;
        return steps / Step{"signature-rule-information"} / Step{"associated-rule"};
    }

    CallResult call(int op, const Steps& steps, const std::string& node = leaf("protocol", "tcp"))
    {
        CallResult r = server.call(IPS_UD_SigAssociatedRuleProtocol, op, nested(steps, node), "//protocol");
        r.output = without_line_numbers(r.output);
        return r;
    }

    static std::string trace(int op, DebugSetting setting)
    {
        return setting.traces ? "[IPS]Current Function is IPS_UD_SigAssociatedRuleProtocol , current line is #, "
                                "current op is " +
                                    std::to_string(op) + "\r\n"
                              : "";
    }

    void expect_quiet(int op, const Steps& steps, const std::string& debug, const std::string& node)
    {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE(op_text(op) + ' ' + nested(steps, node));
            const DebugSwitches switches(setting);
            const CallResult r = call(op, steps, node);
            EXPECT_TRUE(r.quiet());
            EXPECT_EQ(r.cmd_oper, 0);
            EXPECT_EQ(r.output, trace(op, setting) + (setting.messages ? debug : ""));
        }
    }

    void expect_refused(const Steps& steps, NC_ERR code, const std::string& message)
    {
        server.fail_result = 42;
        for (const OpCase& op_case : op_cases()) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(op_text(op_case.op) + ' ' + nested(steps, ""));
                const DebugSwitches switches(setting);
                const CallResult r = call(op_case.op, steps);
                EXPECT_EQ(r.result, 42);
                EXPECT_EQ(r.errors, (ClientErrors{{code, message}}));
                EXPECT_EQ(r.lines, Lines{});
                EXPECT_TRUE(r.commits.empty());
                EXPECT_EQ(r.output, trace(op_case.op, setting) + (setting.messages ? error_line(message) : ""));
            }
        }
    }
};

TEST_F(AssociatedProtocol, SendsNothingForAnAssociatedSignature)
{
    const std::string debug = "[IPS]Info: The nature is associated, the current node is protocol.\r\n\r\n";
    for (const OpCase& op_case : op_cases()) {
        for (const char* node : {"<protocol>tcp</protocol>", "<protocol/>", "<protocol> ?</protocol>"})
            expect_quiet(op_case.op, above(leaf("associated-enable", "true")), debug, node);
    }
}

TEST_F(AssociatedProtocol, RefusesEveryOtherNature)
{
    for (const char* nature : {"false", "TRUE", "True", "true ", "truetrue", "?"})
        expect_refused(above(leaf("associated-enable", nature)), NC_ERR_BAD_ELEM,
                       "The nature is not associated, the operation is not supported.");
}

TEST_F(AssociatedProtocol, RefusesANatureThatCannotBeRead)
{
    for (const std::string& nature :
         {std::string(), std::string("<associated-enable/>"), std::string("<associated-enable text=''/>"),
          leaf("associated-enable", std::string(64, 't'))})
        expect_refused(above(nature), NC_ERR_MISSING_ELEM, "Get error signature nature information.");
}

TEST_F(AssociatedProtocol, IsQuietWhileTheSignatureOrTheVsysGoes)
{
    for (const std::string& nature :
         {leaf("associated-enable", "true"), leaf("associated-enable", "false"), std::string()}) {
        for (const int level : {3, 5})
            expect_quiet(XMLDIFF_REM, with_op(above(nature), level, "REM"), parent_message, leaf("protocol", "tcp"));
    }
}

TEST_F(AssociatedProtocol, AsksForTheSignatureAndTheVsysAndForNoNames)
{
    const CallResult r = call(XMLDIFF_ADD, above(leaf("associated-enable", "true")));
    std::vector<int> asked = r.ancestor_lookups;
    std::ranges::sort(asked);
    EXPECT_EQ(asked, (std::vector<int>{3, 5}));
    EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{3, "associated-enable"}}));
    for (const int level : {1, 2, 4})
        EXPECT_FALSE(call(XMLDIFF_ADD, with_op(above(leaf("associated-enable", "false")), level, "REM")).quiet());
}

// ------------------------------------------------------------------------------------ edits of more than one node --

class AssociatedEdit : public ServerTest
{
protected:
    // Calls both entry points of every handled node of a rule, each with the operation.
    Lines edit(int op, const std::string& nature, const std::string& signature_op = "CHAIN")
    {
        const std::string mark = " op='" + op_text(op) + "'>";
        Steps steps = in_signature("branch", "7");
        steps.back().content += nature;
        steps.back().op = signature_op;
        const std::string condition = "<associated-condition" + mark + "<signature-id" + mark +
                                      "1100</signature-id><threshold" + mark + "10</threshold><interval" + mark +
                                      "20</interval><block-time" + mark + "3</block-time><correlation" + mark +
                                      "source</correlation></associated-condition>";
        const std::string xml =
            nested(steps / Step{"signature-rule-information", "", "CHAIN"} / Step{"associated-rule", "", "CHAIN"},
                   "<signature-rule" + mark + "<name>r1</name>" + condition + "</signature-rule>");
        Lines lines;
        errors_ = {};
        for (const TableNode& node : handled_nodes()) {
            if (node.path.find("associated-rule/qn-ips:signature-rule") == std::string::npos)
                continue;
            for (const transapi_callback entry : {node.set.function, node.remove.function}) {
                const CallResult r = server.enter(entry, op, xml, bare_xpath(node.path));
                lines.insert(lines.end(), r.lines.begin(), r.lines.end());
                errors_.insert(errors_.end(), r.errors.begin(), r.errors.end());
            }
        }
        return lines;
    }

    ClientErrors errors_;
    const std::string associated_ = leaf("associated-enable", "true");
    const Line undone_ = {"branch", "ips-signature-7-rule-r1", "ips-signature-rule", "undo condition associated"};
};

TEST_F(AssociatedEdit, NewRuleIsSentByItselfThenByEachLeafOfItsCondition)
{
    const Lines lines = edit(XMLDIFF_ADD, associated_);
    EXPECT_EQ(errors_, ClientErrors{});
    std::vector<std::string> texts;
    for (const Line& line : lines)
        texts.push_back(line.line);
    EXPECT_EQ(
        texts,
        (std::vector<std::string>{
            "rule name \"r1\"",
            "condition associated signature-id 1100 threshold 10 interval 20 block-time 3 correlateby source ",
            "condition associated signature-id 1100 threshold 10", "condition associated signature-id 1100 interval 20",
            "condition associated signature-id 1100 block-time 3",
            "condition associated signature-id 1100 correlateby source"}));
}

TEST_F(AssociatedEdit, RemovedRuleSendsTheConditionsEndAndItsOwn)
{
    EXPECT_EQ(edit(XMLDIFF_REM, associated_),
              (Lines{{"branch", "ips-signature-7", "ips-signature", "undo rule name \"r1\""}, undone_}));
    EXPECT_EQ(errors_, ClientErrors{});
}

TEST_F(AssociatedEdit, RemovedSignatureStillUndoesTheCondition)
{
    EXPECT_EQ(edit(XMLDIFF_REM, associated_, "REM"), Lines{undone_});
    EXPECT_EQ(errors_, ClientErrors{});
}

TEST_F(AssociatedEdit, OfABasicSignatureIsRefused)
{
    EXPECT_EQ(edit(XMLDIFF_ADD, leaf("associated-enable", "false")), Lines{});
    EXPECT_EQ(errors_,
              ClientErrors(7, {NC_ERR_BAD_ELEM, "The nature is not associated, the operation is not supported."}));
}

} // namespace
