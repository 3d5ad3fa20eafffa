// What the handlers of predefined signatures are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_entry()
{
    return {{"ips-config"}, {"predefined-signatures"}, {"signature", leaf("id", "1025")}};
}

// Predefined signatures belong to no vsys.
Line system_line(const char* line)
{
    return {std::nullopt, "system", std::nullopt, line};
}

const ClientError not_supported{NC_ERR_OP_FAILED, "The operation is not supported."};
const std::string threshold = leaf("threshold", "10");
const std::string interval = leaf("interval", "20");
const std::string block_time = leaf("block-time", "3");
const std::string correlation = leaf("correlation", "source");

// A leaf of the condition: whichever changes, the whole condition is sent.
HandlerCase leaf_case(const char* name, Handler handler, const std::string& beside, const std::string& node,
                      const char* commit_failure)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::removal_refused,
            .above = in_entry() / Step{"associated-condition", beside},
            .node = node,
            .xpath = "//associated-condition/" + node.substr(1, node.find('>') - 1),
            .set_line = system_line("ips associated pre-defined signature-id 1025 threshold 10 interval 20 "
                                    "block-time 3 correlateby source "),
            .undo_line = {},
            .commit_failure = commit_failure,
            .guards = {1},
            .guard_message = "[IPS]SUCCESS: The parent op is del.\r\n",
            .refusal = not_supported};
}

} // namespace

std::vector<HandlerCase> predefined_signature_handler_cases()
{
    return {
        {.name = "IPS_PreSigConfigState",
         .handler = IPS_PreSigConfigState,
         .decoding = Decoding::removal_refused,
         .above = in_entry(),
         .node = leaf("config-state", "enable"),
         .xpath = "//config-state",
         .set_line = system_line("ips signature-state signature-id 1025 enabled "),
         .undo_line = {},
         .commit_failure = "The leaf of predefined signature state is wrong.",
         .guards = {},
         .guard_message = "",
         .refusal = not_supported},
        {.name = "IPS_PreSigAssocCond",
         .handler = IPS_PreSigAssocCond,
         .decoding = Decoding::container,
         .above = in_entry(),
         .node = "<associated-condition>" + threshold + "</associated-condition>",
         .xpath = "//associated-condition",
         .set_line = {},
         .undo_line = system_line("undo ips associated pre-defined signature-id 1025 "),
         .commit_failure = "The leaf of predefined signature assoc condition is wrong.",
         .guards = {},
         .guard_message = "",
         .quiet_message = "[IPS]SUCCESS: The parent op is CHAIN.\r\n"},
        leaf_case("IPS_PreSigAssocCondThreshold", IPS_PreSigAssocCondThreshold, interval + block_time + correlation,
                  threshold, "The leaf of predefined signature rule assoc condition threshold is wrong."),
        leaf_case("IPS_PreSigAssocCondInterval", IPS_PreSigAssocCondInterval, threshold + block_time + correlation,
                  interval, "The leaf of predefined signature rule assoc condition interval is wrong."),
        leaf_case("IPS_PreSigAssocCondBlockTime", IPS_PreSigAssocCondBlockTime, threshold + interval + correlation,
                  block_time, "The leaf of prefedined signature rule assoc condition block-time is wrong."),
        leaf_case("IPS_PreSigAssocCondCorrelation", IPS_PreSigAssocCondCorrelation, threshold + interval + block_time,
                  correlation, "The leaf of signature rule assoc condition correlation is wrong."),
    };
}

} // namespace qnips::test
