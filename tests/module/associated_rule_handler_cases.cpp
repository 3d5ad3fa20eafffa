// What the handlers of the rules of an associated signature are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_associated_rule()
{
    Steps steps = in_signature("branch", "7");
    steps.back().content += leaf("associated-enable", "true");
    return steps / Step{"signature-rule-information"} / Step{"associated-rule"};
}

Steps in_rule()
{
    return in_associated_rule() / Step{"signature-rule", leaf("name", "r1")};
}

Line signature_line(const std::string& line)
{
    return {"branch", "ips-signature-7", "ips-signature", line};
}

Line rule_line(const std::string& line)
{
    return {"branch", "ips-signature-7-rule-r1", "ips-signature-rule", line};
}

const std::string signature_id = leaf("signature-id", "1100");

HandlerCase rule_case()
{
    return {.name = "IPS_UD_SigAssociatedSigRule",
            .handler = IPS_UD_SigAssociatedSigRule,
            .decoding = Decoding::set_first,
            .above = in_associated_rule(),
            .node = "<signature-rule>\n <name>r1</name><associated-condition/></signature-rule>",
            .xpath = "//signature-rule",
            .set_line = signature_line("rule name \"r1\""),
            .undo_line = signature_line("undo rule name \"r1\""),
            .commit_failure = "The leaf of signature rule name is wrong.",
            .guards = {3, 5},
            .guard_message = parent_message,
            .vsys_level = 5,
            .quiet_ops = XMLDIFF_CHAIN | XMLDIFF_REORDER,
            .quiet_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n",
            .signature_level = 3,
            .nature = "true"};
}

// The condition is undone before its rule and its signature go, so only the removal of the vsys covers it.
HandlerCase condition_case()
{
    return {.name = "IPS_UD_SigRuleAssocCond",
            .handler = IPS_UD_SigRuleAssocCond,
            .decoding = Decoding::container,
            .above = in_rule(),
            .node = "<associated-condition>" + signature_id + "</associated-condition>",
            .xpath = "//associated-condition",
            .set_line = {},
            .undo_line = rule_line("undo condition associated"),
            .commit_failure = "The leaf of signature condition associated signature-id is wrong.",
            .guards = {6},
            .guard_message = parent_message,
            .vsys_level = 6,
            .quiet_message = "[IPS]SUCCESS: The op is CHAIN\r\n",
            .watched = {1, 4},
            .signature_level = 4,
            .rule_level = 1,
            .nature = "true"};
}

HandlerCase leaf_case(const char* name, Handler handler, const std::string& beside, const std::string& node)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::set_first,
            .above = in_rule() / Step{"associated-condition", beside},
            .node = node,
            .xpath = "//associated-condition/" + node.substr(1, node.find('>') - 1),
            .set_line = {},
            .undo_line = {},
            .commit_failure = "",
            .guards = {1, 2, 5, 7},
            .guard_message = parent_message,
            .vsys_level = 7,
            .signature_level = 5,
            .rule_level = 2,
            .nature = "true"};
}

HandlerCase signature_id_case()
{
    HandlerCase test = leaf_case("IPS_UD_SigRuleAssocCondSigID", nullptr,
                                 leaf("threshold", "10") + leaf("interval", "20") + leaf("block-time", "3") +
                                     leaf("correlation", "source"),
                                 signature_id);
    test.flag_handler = IPS_UD_SigRuleAssocCondSigID;
    test.decoding = Decoding::removal_refused;
    test.set_line =
        rule_line("condition associated signature-id 1100 threshold 10 interval 20 block-time 3 correlateby source ");
    test.commit_failure = "The leaf of signature condition associated signature-id is wrong.";
    test.refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."};
    test.view_limit = 255;
    return test;
}

// A leaf that sends its own value; `restored` is what its removal sends.
HandlerCase value_leaf_case(const char* name, Handler handler, const std::string& node, const std::string& line_start,
                            const std::string& value, const std::string& restored)
{
    HandlerCase test = leaf_case(name, handler, signature_id, node);
    test.set_line = rule_line(line_start + value);
    test.undo_line = rule_line(line_start + restored);
    const std::string leaf_name = node.substr(1, node.find('>') - 1);
    test.commit_failure = "The leaf of signature rule assoc condition " + leaf_name + " is wrong.";
    return test;
}

} // namespace

std::vector<HandlerCase> associated_rule_handler_cases()
{
    return {rule_case(),
            condition_case(),
            signature_id_case(),
            value_leaf_case("IPS_UD_SigRuleAssocCondThreshold", IPS_UD_SigRuleAssocCondThreshold,
                            leaf("threshold", "10"), "condition associated signature-id 1100 threshold ", "10", "30"),
            value_leaf_case("IPS_UD_SigRuleAssocCondInterval", IPS_UD_SigRuleAssocCondInterval, leaf("interval", "20"),
                            "condition associated signature-id 1100 interval ", "20", "60"),
            value_leaf_case("IPS_UD_SigRuleAssocCondBlockTime", IPS_UD_SigRuleAssocCondBlockTime,
                            leaf("block-time", "3"), "condition associated signature-id 1100 block-time ", "3", "5"),
            value_leaf_case("IPS_UD_SigRuleAssocCondCorrelation", IPS_UD_SigRuleAssocCondCorrelation,
                            leaf("correlation", "source"), "condition associated signature-id 1100 correlateby ",
                            "source", "source-destination")};
}

} // namespace qnips::test
