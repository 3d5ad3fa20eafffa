// What the handlers of a rule's basic conditions are promised to do. Those that take the deletion flag are called
// without it here.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_conditions()
{
    Steps steps = in_signature("branch", "7") / Step{"signature-rule-information"} / Step{"protocol-rules"} /
                  Step{"rules"} / Step{"signature-rule", leaf("name", "login")} / Step{"basic-conditions"};
    steps.at(4).content += leaf("associated-enable", "false");
    return steps;
}

Line rule_line(const std::string& line)
{
    return {"branch", "ips-signature-7-rule-login", "ips-signature-rule", line};
}

const std::string id = leaf("id", "1");
const std::string field = leaf("field-name", "http.uri");
const std::string oper = leaf("operator", "pattern-match");
const std::string value = leaf("value", "admin");
const std::string mandatory = id + field + oper + value;
const std::string bare_line = "condition 1 field http.uri operate pmatch value admin ";

HandlerCase entry_case()
{
    return {.name = "IPS_UD_SigRuleBasicCond",
            .handler = IPS_UD_SigRuleBasicCond,
            .decoding = Decoding::container,
            .above = in_conditions(),
            .node = "<rule-condition>" + mandatory + "</rule-condition>",
            .xpath = "//rule-condition",
            .set_line = {},
            .undo_line = rule_line("undo condition 1"),
            .commit_failure = "The leaf of signature rule condition is wrong.",
            .guards = {2, 4, 6, 8},
            .guard_message = parent_message,
            .vsys_level = 8,
            .quiet_message = "[IPS]SUCCESS: The op is CHAIN\r\n",
            .signature_level = 6,
            .rule_level = 2,
            .nature = "false"};
}

// A leaf of the condition, with its neighbours beside it.
HandlerCase leaf_case(const char* name, const std::string& node, const std::string& beside)
{
    HandlerCase test = entry_case();
    test.name = name;
    test.handler = nullptr;
    test.above.push_back({"rule-condition", beside});
    test.node = node;
    test.xpath = "//rule-condition/" + node.substr(1, node.find('>') - 1);
    test.guards = {1, 3, 5, 7, 9};
    test.vsys_level = 9;
    test.quiet_message = "";
    test.signature_level = 7;
    test.rule_level = 3;
    test.view_limit = 255; // of the whole condition's line
    return test;
}

// No leaf has a line of its own: each set sends the whole condition. One that the condition cannot do without goes with
// it only.
HandlerCase mandatory_case(const char* name, Handler handler, const std::string& node, const std::string& beside,
                           const char* text)
{
    HandlerCase test = leaf_case(name, node, beside + leaf("depth", "100"));
    test.handler = handler;
    test.decoding = Decoding::removal_refused;
    test.set_line = rule_line(bare_line + "depth 100 ");
    test.undo_line = {};
    test.commit_failure = "The leaf of signature rule condition " + std::string(text) + " is wrong.";
    test.refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."};
    return test;
}

// One that the condition can do without: an undo removes the condition and sends it again as it is without the leaf,
// which for the server is no removal. A set sends what is left, too, when the server takes the leaf for one that goes.
HandlerCase qualifier_case(const char* name, FlagHandler handler, const char* leaf_name, const char* text,
                           const std::string& part)
{
    HandlerCase test = leaf_case(name, leaf(leaf_name, text), mandatory);
    test.flag_handler = handler;
    test.decoding = Decoding::set_first;
    test.set_line = rule_line(bare_line + part);
    test.after_undo = rule_line(bare_line);
    test.going_set = rule_line(bare_line);
    test.undo_operation = 0;
    test.commit_failure = "The leaf of signature rule condition " + std::string(leaf_name) + " is wrong.";
    return test;
}

} // namespace

std::vector<HandlerCase> basic_condition_handler_cases()
{
    return {
        entry_case(),
        mandatory_case("IPS_UD_SigRuleBasicCondID", IPS_UD_SigRuleBasicCondID, id, field + oper + value, "id"),
        mandatory_case("IPS_UD_SigRuleBasicCondFieldName", IPS_UD_SigRuleBasicCondFieldName, field, id + oper + value,
                       "field-name"),
        mandatory_case("IPS_UD_SigRuleBasicCondOperator", IPS_UD_SigRuleBasicCondOperator, oper, id + field + value,
                       "operation"),
        mandatory_case("IPS_UD_SigRuleBasicCondValue", IPS_UD_SigRuleBasicCondValue, value, id + field + oper, "value"),
        qualifier_case("IPS_UD_SigRuleBasicCondOffset", IPS_UD_SigRuleBasicCondOffset, "offset", "10", "offset 10 "),
        qualifier_case("IPS_UD_SigRuleBasicCondDepth", IPS_UD_SigRuleBasicCondDepth, "depth", "100", "depth 100 "),
        qualifier_case("IPS_UD_SigRuleBasicCondDirection", IPS_UD_SigRuleBasicCondDirection, "direction", "both",
                       "direction both "),
        qualifier_case("IPS_UD_SigRuleBasicCondHTTPMethod", IPS_UD_SigRuleBasicCondHTTPMethod, "qualifier-http-method",
                       "get", "qualifier http-method get "),
    };
}

} // namespace qnips::test
