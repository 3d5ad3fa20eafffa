// A user-defined signature's nature as its handlers look at it, its view, and edits of more than one of its nodes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/handler_case.h"
#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

const std::vector<int> all_ops = {XMLDIFF_ADD,   XMLDIFF_MOD, XMLDIFF_REM, XMLDIFF_ADD | XMLDIFF_ROLLBACK,
                                  XMLDIFF_CHAIN, XMLDIFF_NONE};

const std::string unread_nature = "Get error associated-enable node information.";

// ------------------------------------------------------------------------------------------------------- the nature --

class SignatureNature : public ServerTest
{
protected:
    // Calls a handler with this element as the signature's nature.
    CallResult call(const std::string& name, int op, const std::string& nature, const std::string& node)
    {
        const HandlerCase& test = handler_case(name);
        Steps above = test.above;
        above.at(above.size() - static_cast<std::size_t>(test.signature_level)).content = leaf("id", "7") + nature;
        return server.call(test.handler, op, nested(above, node), test.xpath);
    }

    CallResult call(const std::string& name, int op, const std::string& nature)
    {
        return call(name, op, nature, handler_case(name).node);
    }

    void expect_refused(const std::string& name, const std::string& nature, const std::string& node, NC_ERR code,
                        const std::string& message)
    {
        server.fail_result = 42;
        for (const int op : all_ops) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(nature + ' ' + op_text(op));
                const DebugSwitches switches(setting);
                const CallResult r = call(name, op, nature, node);
                EXPECT_EQ(r.result, 42);
                EXPECT_EQ(r.errors, (ClientErrors{{code, message}}));
                EXPECT_EQ(r.lines, Lines{});
                EXPECT_TRUE(r.commits.empty());
                EXPECT_EQ(without_line_numbers(r.output), opening_lines(handler_case(name), op, setting) +
                                                              (setting.messages ? error_line(message) : ""));
            }
        }
    }
};

// Elements that are there but say neither "true" nor "false" in these very letters.
const std::vector<std::string> other_natures = {leaf("associated-enable", "TRUE"), leaf("associated-enable", "False"),
                                                leaf("associated-enable", "true "), leaf("associated-enable", "?"),
                                                leaf("associated-enable", std::string(63, 't'))};

const std::vector<std::string> unreadable_natures = {"", "<associated-enable/>", "<associated-enable text=''/>",
                                                     leaf("associated-enable", std::string(64, 't'))};

TEST_F(SignatureNature, TargetOfAnAssociatedSignatureIsPassedOver)
{
    const std::string name = "IPS_UD_SignatureTarget";
    for (const std::string& node : {leaf("target", "both"), leaf("target", "nothing"), leaf("target", " ?"),
                                    std::string("<target/>"), std::string("<target text=''/>")}) {
        for (const int op : all_ops) {
            for (const DebugSetting setting : all_debug_settings) {
                SCOPED_TRACE(node + op_text(op));
                const DebugSwitches switches(setting);
                const CallResult r = call(name, op, leaf("associated-enable", "true"), node);
                EXPECT_TRUE(r.quiet());
                EXPECT_EQ(r.cmd_oper, 0);
                EXPECT_EQ(without_line_numbers(r.output),
                          opening_lines(handler_case(name), op, setting) +
                              (setting.messages
                                   ? "[IPS]Info: The nature is associated, the current node is protocol.\r\n\r\n"
                                   : ""));
            }
        }
    }
}

TEST_F(SignatureNature, TargetOfAnyOtherReadableNatureIsSent)
{
    for (const std::string& nature : other_natures)
        EXPECT_EQ(call("IPS_UD_SignatureTarget", XMLDIFF_ADD, nature).lines,
                  (Lines{{"branch", "ips-signature-7", "ips-signature", "target both"}}));
}

TEST_F(SignatureNature, TargetNeedsAReadableNatureBeforeItsValue)
{
    for (const std::string& nature : unreadable_natures) {
        for (const char* node : {"<target>both</target>", "<target/>"})
            expect_refused("IPS_UD_SignatureTarget", nature, node, NC_ERR_MISSING_ELEM, unread_nature);
    }
}

TEST_F(SignatureNature, ProtocolOfAnAssociatedSignatureIsRefusedBeforeItsValue)
{
    for (const char* node : {"<protocol-rules><protocol>HTTP</protocol></protocol-rules>", "<protocol-rules/>"})
        expect_refused("IPS_UD_SignatureProtocolRules", leaf("associated-enable", "true"), node, NC_ERR_BAD_ELEM,
                       "The nature is associated, the operation is not supported.");
}

TEST_F(SignatureNature, ProtocolOfAnyOtherReadableNatureIsSent)
{
    for (const std::string& nature : other_natures)
        EXPECT_EQ(call("IPS_UD_SignatureProtocolRules", XMLDIFF_ADD, nature).lines,
                  (Lines{{"branch", "ips-signature-7", "ips-signature", "protocol HTTP"}}));
}

TEST_F(SignatureNature, ProtocolNeedsAReadableNatureBeforeItsValue)
{
    for (const std::string& nature : unreadable_natures) {
        for (const char* node : {"<protocol-rules><protocol>HTTP</protocol></protocol-rules>", "<protocol-rules/>"})
            expect_refused("IPS_UD_SignatureProtocolRules", nature, node, NC_ERR_MISSING_ELEM, unread_nature);
    }
}

TEST_F(SignatureNature, IsOfNoMatterToTheOtherLeaves)
{
    for (const char* name : {"IPS_UD_SignatureName", "IPS_UD_SignatureDescription", "IPS_UD_SignatureSeverity",
                             "IPS_UD_SignatureAction"}) {
        for (const std::string nature : {"", "<associated-enable/>", "<associated-enable>true</associated-enable>"}) {
            SCOPED_TRACE(name + nature);
            const CallResult r = call(name, XMLDIFF_ADD, nature);
            EXPECT_EQ(r.lines, handler_case(name).sent_lines());
            EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{3, "name"}, {1, "id"}}));
        }
    }
}

// Names come before the nature.
TEST_F(SignatureNature, IsNotReadOfASignatureThatCannotBeNamed)
{
    for (const char* name : {"IPS_UD_SignatureTarget", "IPS_UD_SignatureProtocolRules"}) {
        const HandlerCase& test = handler_case(name);
        Steps above = test.above;
        above.at(above.size() - static_cast<std::size_t>(test.signature_level)).content = leaf("id", "1025");
        const CallResult r = server.call(test.handler, XMLDIFF_ADD, nested(above, test.node), test.xpath);
        EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, "Invalid signature-id, because of range(<1-1024>)."}}));
    }
}

// --------------------------------------------------------------------------------------------------------- the view --

using SignatureView = ServerTest;

TEST_F(SignatureView, HoldsTheIdAsItIsWritten)
{
    const std::string zeros = std::string(62, '0') + '7';
    for (const HandlerCase& test : signature_handler_cases()) {
        if (test.signature_level == 0)
            continue;
        for (const std::string& id : {std::string("1"), std::string("1024"), std::string("007"), zeros}) {
            SCOPED_TRACE(test.name + (' ' + id));
            Steps above = test.above;
            above.at(above.size() - static_cast<std::size_t>(test.signature_level)).content =
                leaf("id", id) + leaf("associated-enable", "false");
            Lines promised = test.sent_lines();
            promised.at(0).view = "ips-signature-" + id;
            EXPECT_EQ(server.call(test.handler, XMLDIFF_ADD, nested(above, test.node), test.xpath).lines, promised);
        }
    }
}

// -------------------------------------------------------------------------------------- edits of more than one node --

class SignatureEdit : public ServerTest
{
protected:
    // The lines of each handler for a signature of which every node has the operation.
    std::vector<Lines> edit(int op, const std::string& nature, const Steps& list)
    {
        const std::string mark = " op='" + op_text(op) + "'>";
        const auto marked = [&](const std::string& name, const std::string& content) {
            return '<' + name + mark + content + "</" + name + '>';
        };
        const std::string xml =
            nested(list, marked("signature", marked("id", "7") + marked("associated-enable", nature) +
                                                 marked("name", "probe") + marked("description", "text") +
                                                 marked("target", "client") + marked("severity", "high") +
                                                 marked("action", "alert") +
                                                 marked("signature-rule-information",
                                                        marked("protocol-rules", marked("protocol", "DNS")))));
        std::vector<Lines> lines;
        for (const HandlerCase& test : signature_handler_cases()) {
            const CallResult r = server.call(test.handler, op, xml, test.xpath);
            EXPECT_EQ(r.commits.size(), r.lines.size()) << test.name;
            lines.push_back(r.lines);
        }
        return lines;
    }

    static Steps list(const std::string& op = "CHAIN")
    {
        return in_vsys("branch") / Step{"user-defined-signatures", "", op};
    }

    static Lines own(const std::string& line) { return {{"branch", "system", std::nullopt, line}}; }
    static Lines inner(const std::string& line) { return {{"branch", "ips-signature-7", "ips-signature", line}}; }
};

TEST_F(SignatureEdit, NewBasicSignatureSendsALineForEachNode)
{
    for (const int op : {int{XMLDIFF_ADD}, XMLDIFF_ADD | XMLDIFF_CFGR})
        EXPECT_EQ(edit(op, "false", list()),
                  (std::vector<Lines>{own("ips signature-id 7"), inner("name probe"), inner("description text"),
                                      inner("target client"), inner("severity high"), inner("action alert"),
                                      inner("protocol DNS")}));
}

TEST_F(SignatureEdit, NewAssociatedSignatureSendsNeitherTargetNorProtocol)
{
    EXPECT_EQ(edit(XMLDIFF_ADD, "true", list()), (std::vector<Lines>{own("ips signature-id 7"),
                                                                     inner("name probe"),
                                                                     inner("description text"),
                                                                     {},
                                                                     inner("severity high"),
                                                                     inner("action alert"),
                                                                     {}}));
}

TEST_F(SignatureEdit, AdditionTakenBackUndoesEachNode)
{
    EXPECT_EQ(edit(XMLDIFF_ADD | XMLDIFF_ROLLBACK, "false", list()),
              (std::vector<Lines>{own("undo ips signature-id 7"), inner("undo name"), inner("undo description"),
                                  inner("undo target"), inner("undo severity"), inner("undo action"),
                                  inner("undo protocol")}));
}

TEST_F(SignatureEdit, RemovedSignatureSendsItsOwnLineOnly)
{
    for (const char* nature : {"false", "true"})
        EXPECT_EQ(edit(XMLDIFF_REM, nature, list()),
                  (std::vector<Lines>{own("undo ips signature-id 7"), {}, {}, {}, {}, {}, {}}));
}

// The leaves of a signature whose removal is taken back wait for an edit of their own.
TEST_F(SignatureEdit, RemovalTakenBackSendsTheSignaturesOwnLineOnly)
{
    EXPECT_EQ(edit(XMLDIFF_REM | XMLDIFF_ROLLBACK, "false", list()),
              (std::vector<Lines>{own("ips signature-id 7"), {}, {}, {}, {}, {}, {}}));
}

TEST_F(SignatureEdit, SignatureOfARemovedVirtualSystemSendsNothing)
{
    EXPECT_EQ(edit(XMLDIFF_REM, "false", with_op(list("REM"), 2, "REM")), std::vector<Lines>(7));
}

TEST_F(SignatureEdit, ChangeBelowALeafIsUnknownAndCommitsAnEmptyScript)
{
    const HandlerCase& test = handler_case("IPS_UD_SignatureName");
    const DebugSwitches switches({true, false});
    const CallResult r = server.call(test.handler, XMLDIFF_CHAIN, nested(test.above, test.node), test.xpath);
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.lines, Lines{});
    EXPECT_EQ(r.commits.size(), 1U);
    EXPECT_EQ(r.output, "[IPS]ERROR: Unknown op(8).\r\n\r\n");
}

TEST_F(SignatureEdit, BadNatureIsToldBeforeABadId)
{
    const HandlerCase& test = handler_case("IPS_UD_Signature");
    const std::string node = "<signature><id>1025</id><associated-enable>TRUE</associated-enable></signature>";
    const CallResult r = server.call(test.handler, XMLDIFF_ADD, nested(test.above, node), test.xpath);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_BAD_ELEM, "Failed to check the value of associated-enable."}}));
    EXPECT_TRUE(r.commits.empty());
}

} // namespace
