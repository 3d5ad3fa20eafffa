// What the handlers of a signature's rules, of their addresses and of their ports are promised to do. Those that take
// the deletion flag are called without it here.
#include <set>

#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_rules()
{
    Steps steps =
        in_signature("branch", "7") / Step{"signature-rule-information"} / Step{"protocol-rules"} / Step{"rules"};
    steps.at(4).content += leaf("associated-enable", "false");
    return steps;
}

Steps in_rule()
{
    return in_rules() / Step{"signature-rule", leaf("name", "login")};
}

Line rule_line(const std::string& line)
{
    return {"branch", "ips-signature-7-rule-login", "ips-signature-rule", line};
}

HandlerCase entry_case()
{
    return {.name = "IPS_UD_SigRule",
            .handler = IPS_UD_SigRule,
            .decoding = Decoding::set_first,
            .above = in_rules(),
            .node = "<signature-rule>" + leaf("name", "login") + leaf("scope", "flow") + "</signature-rule>",
            .xpath = "//signature-rule",
            .set_line = {"branch", "ips-signature-7", "ips-signature", "rule name \"login\""},
            .undo_line = {"branch", "ips-signature-7", "ips-signature", "undo rule name \"login\""},
            .commit_failure = "The leaf of signature rule name is wrong.",
            .guards = {2, 4, 6},
            .guard_message = parent_message,
            .vsys_level = 6,
            .quiet_ops = XMLDIFF_CHAIN | XMLDIFF_REORDER,
            .quiet_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n",
            .signature_level = 4,
            .nature = "false"};
}

// A leaf or container of the rule itself.
HandlerCase rule_case(const char* name, Handler handler, Decoding decoding, const std::string& node)
{
    return {.name = name,
            .handler = handler,
            .decoding = decoding,
            .above = in_rule(),
            .node = node,
            .xpath = "//" + node.substr(1, node.find('>') - 1),
            .set_line = {},
            .undo_line = {},
            .commit_failure = "",
            .guards = {1, 3, 5, 7},
            .guard_message = parent_message,
            .vsys_level = 7,
            .signature_level = 5,
            .rule_level = 1,
            .nature = "false"};
}

HandlerCase flag_case(const char* name, FlagHandler handler, Decoding decoding, const std::string& node)
{
    HandlerCase test = rule_case(name, nullptr, decoding, node);
    test.flag_handler = handler;
    return test;
}

HandlerCase with_lines(HandlerCase test, const std::string& on, const std::string& off, const char* commit_failure)
{
    if (!on.empty())
        test.set_line = rule_line(on);
    if (!off.empty())
        test.undo_line = rule_line(off);
    test.commit_failure = commit_failure;
    return test;
}

// -------------------------------------------------------------------------------------------------------- addresses --

// What a check of both directions says where the edit holds nothing of the other.
const std::string other_direction = "[IPS]INFO: uiIP_OP is 4294967295.\r\n\r\n"
                                    "[IPS]INFO: uiRange_OP is 4294967295.\r\n\r\n";

// A new address is not compared with the other direction, a changed one is.
std::string address_output(Outcome /*outcome*/, int op)
{
    static const std::set<int> changes = {XMLDIFF_MOD, XMLDIFF_MOD | XMLDIFF_CHAIN, XMLDIFF_MOD | XMLDIFF_ROLLBACK,
                                          XMLDIFF_MOD | XMLDIFF_REM, XMLDIFF_MOD | XMLDIFF_ADD | XMLDIFF_ROLLBACK};
    return changes.contains(op) ? other_direction : "";
}

// A range that is set is judged, and compared with the other direction unless it is restored.
std::string range_output(Outcome outcome, int op)
{
    static const std::set<int> restores = {XMLDIFF_CFGR, XMLDIFF_CFGR | XMLDIFF_ADD, XMLDIFF_CFGR | XMLDIFF_CHAIN,
                                           XMLDIFF_REM | XMLDIFF_ROLLBACK,
                                           XMLDIFF_REM | XMLDIFF_ROLLBACK | XMLDIFF_CHAIN};
    if (outcome != Outcome::set)
        return "";
    const std::string in_order = "[IPS]Info: The start-ip and end-ip is equal.\r\n\r\n";
    return in_order + (restores.contains(op) ? "" : other_direction);
}

HandlerCase address_case(const char* name, FlagHandler handler, const char* leaf_name)
{
    HandlerCase test = flag_case(name, handler, Decoding::set_first, leaf(leaf_name, "192.0.2.0/24"));
    test.checks_output = address_output;
    return test;
}

// What would be unknown is a change below the range.
HandlerCase range_case(const char* name, FlagHandler handler, const std::string& container)
{
    HandlerCase test = flag_case(name, handler, Decoding::undo_first,
                                 '<' + container + '>' + leaf("start-ip", "10.0.0.1") + leaf("end-ip", "10.0.0.9") +
                                     "</" + container + '>');
    test.set_ops = XMLDIFF_CHAIN;
    test.checks_output = range_output;
    return test;
}

// ------------------------------------------------------------------------------------------------------------ ports --

HandlerCase ports_case(const char* name, Handler handler, const std::string& container)
{
    HandlerCase test =
        rule_case(name, handler, Decoding::container,
                  '<' + container + '>' + leaf("start-port", "80") + leaf("end-port", "90") + "</" + container + '>');
    test.quiet_message = "[IPS]SUCCESS: The op is CHAIN.\r\n";
    return test;
}

// A leaf of the container, with its neighbour beside it.
HandlerCase port_case(const char* name, Handler handler, const char* container, bool is_start)
{
    const std::string start = leaf("start-port", "80");
    const std::string end = leaf("end-port", "90");
    HandlerCase test = rule_case(name, handler, Decoding::removal_refused, is_start ? start : end);
    test.above.push_back({container, is_start ? end : start});
    test.guards = {1, 2, 4, 6, 8};
    test.vsys_level = 8;
    test.signature_level = 6;
    test.rule_level = 2;
    test.refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."};
    return test;
}

// ----------------------------------------------------------------------------------------------- the two directions --

std::vector<HandlerCase> source_cases()
{
    const std::string undo_address = "undo source-ip";
    const std::string ports = "source-port 80 90";
    return {with_lines(address_case("IPS_UD_SigRuleSourceIP", IPS_UD_SigRuleSourceIP, "source-ip"),
                       "source-ip ipv4 192.0.2.0 24", undo_address, "The leaf of signature rule source-ip is wrong."),
            with_lines(range_case("IPS_UD_SigRuleSourceIP_Range", IPS_UD_SigRuleSourceIP_Range, "source-ip-range"),
                       "source-ip ipv4 10.0.0.1 10.0.0.9", undo_address,
                       "The leaf of signature rule source-range is wrong."),
            with_lines(ports_case("IPS_UD_SigRuleSourcePort", IPS_UD_SigRuleSourcePort, "source-port"), "",
                       "undo source-port", "The leaf of signature rule source-port is wrong."),
            with_lines(port_case("IPS_UD_SigRuleSourceStartPort", IPS_UD_SigRuleSourceStartPort, "source-port", true),
                       ports, "", "The leaf of signature rule source-port start-port is wrong."),
            with_lines(port_case("IPS_UD_SigRuleSourceEndPort", IPS_UD_SigRuleSourceEndPort, "source-port", false),
                       ports, "", "The leaf of signature rule source-port end-port is wrong.")};
}

std::vector<HandlerCase> destination_cases()
{
    const std::string undo_address = "undo destination-ip";
    const std::string ports = "destination-port 80 90";
    return {with_lines(address_case("IPS_UD_SigRuleDesIP", IPS_UD_SigRuleDesIP, "destination-ip"),
                       "destination-ip ipv4 192.0.2.0 24", undo_address,
                       "The leaf of signature rule destination-ip is wrong."),
            with_lines(range_case("IPS_UD_SigRuleDesIP_Range", IPS_UD_SigRuleDesIP_Range, "destination-ip-range"),
                       "destination-ip ipv4 10.0.0.1 10.0.0.9", undo_address,
                       "The leaf of signature rule destination-ip-range is wrong."),
            with_lines(ports_case("IPS_UD_SigRuleDesPort", IPS_UD_SigRuleDesPort, "destination-port"), "",
                       "undo destination-port", "The leaf of signature rule destination-port is wrong."),
            with_lines(port_case("IPS_UD_SigRuleDesStartPort", IPS_UD_SigRuleDesStartPort, "destination-port", true),
                       ports, "", "The leaf of signature rule destination-port start-port is wrong."),
            with_lines(port_case("IPS_UD_SigRuleDesEndPort", IPS_UD_SigRuleDesEndPort, "destination-port", false),
                       ports, "", "The leaf of signature rule destination-port end-port is wrong.")};
}

} // namespace

std::vector<HandlerCase> signature_rule_handler_cases()
{
    std::vector<HandlerCase> all = {
        entry_case(),
        with_lines(rule_case("IPS_UD_SigRuleScope", IPS_UD_SigRuleScope, Decoding::set_first, leaf("scope", "flow")),
                   "scope flow", "undo scope", "The leaf of signature rule scope is wrong."),
        with_lines(rule_case("IPS_UD_SigRuleSequence", IPS_UD_SigRuleSequence, Decoding::set_first,
                             leaf("sequence", "sequential")),
                   "check sequential", "undo check", "The leaf of signature rule sequence is wrong.")};
    for (const auto& more : {source_cases(), destination_cases()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace qnips::test
