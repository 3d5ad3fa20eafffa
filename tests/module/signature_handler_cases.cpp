// What the handlers of user-defined signatures and of their own leaves are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

const std::string chain_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n";

Line system_line(const char* line)
{
    return {"branch", "system", std::nullopt, line};
}

Line signature_line(const std::string& line)
{
    return {"branch", "ips-signature-7", "ips-signature", line};
}

Steps in_basic_signature()
{
    Steps steps = in_signature("branch", "7");
    steps.back().content += leaf("associated-enable", "false");
    return steps;
}

HandlerCase entry_case()
{
    return {.name = "IPS_UD_Signature",
            .handler = IPS_UD_Signature,
            .decoding = Decoding::set_first,
            .above = in_vsys("branch") / Step{"user-defined-signatures"},
            .node = "<signature>\n <id>7</id> <associated-enable>false</associated-enable></signature>",
            .xpath = "//signature",
            .set_line = system_line("ips signature-id 7"),
            .undo_line = system_line("undo ips signature-id 7"),
            .commit_failure = "The leaf of signature id is wrong.",
            .guards = {2},
            .guard_message = "[IPS]SUCCESS: The vsys operation is delete.\r\n",
            .vsys_level = 2,
            .quiet_ops = XMLDIFF_CHAIN | XMLDIFF_REORDER,
            .quiet_message = chain_message};
}

HandlerCase leaf_case(const char* name, Handler handler, const std::string& leaf_name, const std::string& text)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::set_first,
            .above = in_signature("branch", "7"),
            .node = leaf(leaf_name, text),
            .xpath = "//signature/" + leaf_name,
            .set_line = signature_line(leaf_name + ' ' + text),
            .undo_line = signature_line("undo " + leaf_name),
            .commit_failure = "The leaf of signature " + leaf_name + " is wrong.",
            .guards = {1, 3},
            .guard_message = parent_message,
            .vsys_level = 3,
            .signature_level = 1};
}

HandlerCase target_case()
{
    HandlerCase test = leaf_case("IPS_UD_SignatureTarget", IPS_UD_SignatureTarget, "target", "both");
    test.above = in_basic_signature();
    return test;
}

HandlerCase protocol_case()
{
    return {.name = "IPS_UD_SignatureProtocolRules",
            .handler = IPS_UD_SignatureProtocolRules,
            .decoding = Decoding::set_first,
            .above = in_basic_signature() / Step{"signature-rule-information"},
            .node = "<protocol-rules>\n <protocol>HTTP</protocol><rules/></protocol-rules>",
            .xpath = "//protocol-rules",
            .set_line = signature_line("protocol HTTP"),
            .undo_line = signature_line("undo protocol"),
            .commit_failure = "The leaf of signature protocol is wrong.",
            .guards = {2, 4},
            .guard_message = parent_message,
            .vsys_level = 4,
            .quiet_ops = XMLDIFF_CHAIN | XMLDIFF_REORDER,
            .quiet_message = chain_message,
            .signature_level = 2,
            .nature = "false"};
}

} // namespace

std::vector<HandlerCase> signature_handler_cases()
{
    return {entry_case(),
            leaf_case("IPS_UD_SignatureName", IPS_UD_SignatureName, "name", "probe"),
            leaf_case("IPS_UD_SignatureDescription", IPS_UD_SignatureDescription, "description", "two words"),
            target_case(),
            leaf_case("IPS_UD_SignatureSeverity", IPS_UD_SignatureSeverity, "severity", "low"),
            leaf_case("IPS_UD_SignatureAction", IPS_UD_SignatureAction, "action", "block"),
            protocol_case()};
}

} // namespace qnips::test
