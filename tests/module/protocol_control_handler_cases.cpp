// What the handlers of protocol checks are promised to do. The end of a range of DNS request types is not among them:
// its handler sends nothing and reads nothing.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

const std::string chain_message = "[IPS]SUCCESS: The op is CHAIN\r\n";

Steps in_check(const char* check)
{
    return in_profile("branch", "webguard") / Step{"protocol-controlling"} / Step{check};
}

Line profile_line(const char* line)
{
    return {"branch", "profile-ips-webguard", "profile-ips", line};
}

// ---------------------------------------------------------------------------------------------- single action leaves
// --

HandlerCase action_case(const char* name, Handler handler, const char* check, const char* leaf_name)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::set_first,
            .above = in_check(check),
            .node = leaf(leaf_name, "block"),
            .xpath = "//" + std::string(leaf_name),
            .set_line = {},
            .undo_line = {},
            .commit_failure = "",
            .guards = {3, 5},
            .guard_message = parent_message,
            .vsys_level = 5,
            .profile_level = 3};
}

std::vector<HandlerCase> action_cases()
{
    HandlerCase malformed = action_case("IPS_UD_ProContDnsMalPacAction", IPS_UD_ProContDnsMalPacAction, "dns-check",
                                        "malformed-packet-action");
    malformed.set_line = profile_line("dns malformed-packet check action block");
    malformed.undo_line = profile_line("undo dns malformed-packet check");
    malformed.commit_failure = "The leaf of profile dns malformed-packet is wrong.";

    HandlerCase standard = action_case("IPS_UD_ProContDnsReqTypeDefAction", IPS_UD_ProContDnsReqTypeDefAction,
                                       "dns-check", "request-type-default-action");
    standard.set_line = profile_line("dns request-type check default-action block");
    standard.undo_line = profile_line("dns request-type check default-action allow");
    standard.commit_failure = "The leaf of profile dns request-type check default-action is wrong.";

    HandlerCase hosts = action_case("IPS_UD_ProContHTTPMulHostAction", IPS_UD_ProContHTTPMulHostAction, "http-check",
                                    "multi-host-action");
    hosts.set_line = profile_line("http multi-host check action block");
    hosts.undo_line = profile_line("undo http multi-host check");
    hosts.commit_failure = "The leaf of profile http multi-host is wrong.";

    HandlerCase tunnel =
        action_case("IPS_UD_ProContHTTPSSHAction", IPS_UD_ProContHTTPSSHAction, "http-check", "ssh-over-http-action");
    tunnel.set_line = profile_line("http ssh-over-http check action block");
    tunnel.undo_line = profile_line("undo http ssh-over-http check");
    tunnel.commit_failure = "The leaf of profile http ssh-over-http is wrong.";

    return {malformed, standard, hosts, tunnel};
}

// ------------------------------------------------------------------------------------------------- DNS request types
// --

std::vector<HandlerCase> request_type_cases()
{
    const std::string start = leaf("start-type", "1");
    const std::string end = leaf("end-type", "255");
    const std::string action = leaf("action", "alert");
    const Line line = profile_line("dns request-type check 1 to 255 action alert");
    return {
        {.name = "IPS_UD_ProContDnsReqType",
         .handler = IPS_UD_ProContDnsReqType,
         .decoding = Decoding::container,
         .above = in_check("dns-check"),
         .node = "<request-type>" + start + end + action + "</request-type>",
         .xpath = "//request-type",
         .set_line = {},
         .undo_line = profile_line("undo dns request-type check 1 to 255"),
         .commit_failure = "The leaf of profile dns request-type is wrong.",
         .guards = {3, 5},
         .guard_message = parent_message,
         .vsys_level = 5,
         .profile_level = 3,
         .quiet_message = chain_message},
        {.name = "IPS_UD_ProContDnsReqStartType",
         .handler = IPS_UD_ProContDnsReqStartType,
         .decoding = Decoding::removal_refused,
         .above = in_check("dns-check") / Step{"request-type", end + action},
         .node = start,
         .xpath = "//start-type",
         .set_line = line,
         .undo_line = {},
         .commit_failure = "The leaf of profile dns request-type is wrong.",
         .guards = {1, 4, 6},
         .guard_message = parent_message,
         .vsys_level = 6,
         .profile_level = 4,
         .refusal = ClientError{NC_ERR_OP_FAILED, "The node could support the operation(rem)."}},
        {.name = "IPS_UD_ProContDnsReqTypeAction",
         .handler = IPS_UD_ProContDnsReqTypeAction,
         .decoding = Decoding::change_only,
         .above = in_check("dns-check") / Step{"request-type", start + end},
         .node = action,
         .xpath = "//action",
         .set_line = line,
         .undo_line = {},
         .commit_failure = "The leaf of profile dns request-type action is wrong.",
         .guards = {1, 4, 6},
         .guard_message = parent_message,
         .vsys_level = 6,
         .profile_level = 4,
         .quiet_message = "[IPS]SUCCESS: The action have been saved, op(",
         .refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."},
         .quiet_names_op = true},
    };
}

// ------------------------------------------------------------------------------------------------------ HTTP headers
// --

// The container of a header check's type and action.
HandlerCase header_case(const char* name, Handler handler, const char* header)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::container,
            .above = in_check("http-check") / Step{header},
            .node = "<check-type-action>" + leaf("type", "any") + leaf("action", "block") + "</check-type-action>",
            .xpath = "//check-type-action",
            .set_line = {},
            .undo_line = {},
            .commit_failure = "",
            .guards = {4, 6},
            .guard_message = parent_message,
            .vsys_level = 6,
            .profile_level = 4,
            .quiet_message = chain_message};
}

// A leaf of it, with its neighbour beside it.
HandlerCase header_leaf_case(const char* name, Handler handler, const char* header, bool is_type)
{
    const std::string type = leaf("type", "any");
    const std::string action = leaf("action", "block");
    HandlerCase test = header_case(name, handler, header);
    test.decoding = Decoding::removal_refused;
    test.above.push_back({"check-type-action", is_type ? action : type});
    test.node = is_type ? type : action;
    test.xpath = is_type ? "//check-type-action/type" : "//check-type-action/action";
    test.guards = {1, 5, 7};
    test.vsys_level = 7;
    test.profile_level = 5;
    test.refusal = ClientError{NC_ERR_OP_FAILED, "The operation is not supported."};
    return test;
}

// An entry of a header's list of hosts.
HandlerCase host_case(const char* name, Handler handler, const char* header, const char* list, const char* host)
{
    HandlerCase test = header_case(name, handler, header);
    test.decoding = Decoding::set_first;
    test.node = leaf(list, host);
    test.xpath = "//" + std::string(list);
    return test;
}

std::vector<HandlerCase> online_host_cases()
{
    constexpr const char* header = "x-online-host";
    const Line line = profile_line("http x-online-host check any action block");

    HandlerCase container = header_case("IPS_UD_ProContHTTPXOHTypeAction", IPS_UD_ProContHTTPXOHTypeAction, header);
    container.undo_line = profile_line("undo http x-online-host check");
    container.commit_failure = "The leaf of profile http x-online-host is wrong.";

    HandlerCase type = header_leaf_case("IPS_UD_ProContHTTPXOHType", IPS_UD_ProContHTTPXOHType, header, true);
    type.set_line = line;
    type.commit_failure = "The leaf of profile http x-online-host type is wrong.";

    HandlerCase action = header_leaf_case("IPS_UD_ProContHTTPXOHAction", IPS_UD_ProContHTTPXOHAction, header, false);
    action.set_line = line;
    action.commit_failure = "The leaf of profile http x-online-host action is wrong.";

    HandlerCase blacklist =
        host_case("IPS_UD_ProContHTTPBlacklist", IPS_UD_ProContHTTPBlacklist, header, "blacklist", "mail.example");
    blacklist.set_line = profile_line("http x-online-host blacklist mail.example");
    blacklist.undo_line = profile_line("undo http x-online-host blacklist mail.example");
    blacklist.commit_failure = "The leaf of profile http x-online-host blacklist is wrong.";

    return {container, type, action, blacklist};
}

std::vector<HandlerCase> forwarded_for_cases()
{
    constexpr const char* header = "x-forwarded-for";
    const Line line = profile_line("http x-forwarded-for check any action block");

    HandlerCase container = header_case("IPS_UD_ProContHTTPXFFTypeAction", IPS_UD_ProContHTTPXFFTypeAction, header);
    container.undo_line = profile_line("undo http x-forwarded-for check");
    container.commit_failure = "The leaf of profile http x-forwarded-for is wrong.";
    container.quiet_message = "[IPS]SUCCESS: The op is CHAIN.\r\n";
    container.undo_start = "[IPS]Operation: XMLDIFF_REM, acCmdMes: ";

    HandlerCase type = header_leaf_case("IPS_UD_ProContHTTPXFFType", IPS_UD_ProContHTTPXFFType, header, true);
    type.set_line = line;
    type.commit_failure = "The leaf of profile http x-forwarded-for type is wrong.";

    HandlerCase action = header_leaf_case("IPS_UD_ProContHTTPXFFAction", IPS_UD_ProContHTTPXFFAction, header, false);
    action.set_line = line;
    action.commit_failure = "The leaf of profile http x-forwarded-for action is wrong.";

    HandlerCase whitelist =
        host_case("IPS_UD_ProContHTTPWhitelist", IPS_UD_ProContHTTPWhitelist, header, "whitelist", "192.0.2.7");
    whitelist.set_line = profile_line("http x-forwarded-for whitelist ipv4 192.0.2.7");
    whitelist.undo_line = profile_line("undo http x-forwarded-for whitelist ipv4 192.0.2.7");
    whitelist.commit_failure = "The leaf of profile http x-forwarded-for whitelist is wrong.";

    return {container, type, action, whitelist};
}

} // namespace

std::vector<HandlerCase> protocol_control_handler_cases()
{
    std::vector<HandlerCase> all = action_cases();
    for (const auto& more : {request_type_cases(), online_host_cases(), forwarded_for_cases()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace qnips::test
