// What the handlers of device-wide settings are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_settings()
{
    return {{"ips-config"}, {"global-config"}};
}

Steps in_session_numbers()
{
    return in_settings() / Step{"global-max-session-number"};
}

// Settings of the device belong to no vsys.
Line system_line(const char* line)
{
    return {std::nullopt, "system", std::nullopt, line};
}

std::vector<HandlerCase> session_number_cases()
{
    return {
        {.name = "IPS_GlobalMaxSessionNumDefNum",
         .handler = IPS_GlobalMaxSessionNumDefNum,
         .decoding = Decoding::undo_first,
         .above = in_session_numbers(),
         .node = leaf("default-session-number", "20"),
         .xpath = "//default-session-number",
         .set_line = system_line("ips collect-attack-evidence max-session-number 20 "),
         .undo_line = system_line("undo ips collect-attack-evidence max-session-number"),
         .commit_failure = "The leaf of ips collect-attack-evidence max-session-number is wrong.",
         .guards = {},
         .guard_message = ""},
        {.name = "IPS_GlobalMaxSessionNumSig",
         .handler = IPS_GlobalMaxSessionNumSig,
         .decoding = Decoding::undo_first,
         .above = in_session_numbers(),
         .node = "<session-number-signature>\n <signature-id>1025</signature-id> <session-number>10</session-number>"
                 "</session-number-signature>",
         .xpath = "//session-number-signature",
         .set_line = system_line("ips collect-attack-evidence max-session-number 10 signature-id 1025 "),
         .undo_line = system_line("undo ips collect-attack-evidence max-session-number signature-id 1025 "),
         .commit_failure = "The leaf of session_number_signatureID is wrong.",
         .guards = {},
         .guard_message = "",
         .quiet_ops = XMLDIFF_CHAIN,
         .quiet_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n"},
        {.name = "IPS_GlobalMaxSessionSigNum",
         .handler = IPS_GlobalMaxSessionSigNum,
         .decoding = Decoding::change_of_entry,
         .above = in_session_numbers() / Step{"session-number-signature", leaf("signature-id", "1025")},
         .node = leaf("session-number", "10"),
         .xpath = "//session-number",
         .set_line = system_line("ips collect-attack-evidence max-session-number 10 signature-id 1025 "),
         .undo_line = {},
         .commit_failure = "The leaf of session_number_signatureID acSessionNumber is wrong.",
         .guards = {1},
         .guard_message = "[IPS]SUCCESS: The parent op is delete.\r\n",
         .quiet_message = "[IPS]SUCCESS: The children op is add\r\n",
         .refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."}},
    };
}

HandlerCase switch_case(const char* name, Handler handler, const std::string& node, const char* set_line,
                        const char* undo_line, const char* commit_failure)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::undo_first,
            .above = in_settings(),
            .node = node,
            .xpath = "//" + node.substr(1, node.find('>') - 1),
            .set_line = system_line(set_line),
            .undo_line = system_line(undo_line),
            .commit_failure = commit_failure,
            .guards = {},
            .guard_message = ""};
}

} // namespace

std::vector<HandlerCase> global_setting_handler_cases()
{
    HandlerCase unlimited = switch_case(
        "IPS_GlobalRegularExpressionUnlimit", IPS_GlobalRegularExpressionUnlimit,
        leaf("regular-expression-unlimit", "true"), "ips signature regular-expression unlimit ",
        "undo ips signature regular-expression unlimit ", "The leaf of regular_expression_unlimit is wrong.");
    unlimited.failure_end = "\r\n";

    std::vector<HandlerCase> all = session_number_cases();
    all.push_back(unlimited);
    all.push_back(switch_case("IPS_GlobalEngineLog", IPS_GlobalEngineLog, leaf("engine-log-switch", "true"),
                              "engine log ips enable ", "undo engine log ips enable ",
                              "The leaf of engine log switch is wrong."));
    all.push_back(switch_case("IPS_GlobalLogMerge", IPS_GlobalLogMerge, leaf("log-merge-switch", "true"),
                              "ips log merge enable ", "undo ips log merge enable ",
                              "The leaf of merge-log-switch is wrong."));
    all.push_back(switch_case("IPS_GlobalSigState", IPS_GlobalSigState, leaf("global-signature-state", "enable"),
                              "ips signature-state enabled ", "undo ips signature-state ",
                              "The leaf of state is wrong."));
    return all;
}

} // namespace qnips::test
