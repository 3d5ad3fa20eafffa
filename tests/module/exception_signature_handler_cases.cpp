// What the handlers of exception signatures are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

Steps in_exceptions()
{
    return in_profile("branch", "webguard") / Step{"exception-signatures"};
}

Line profile_line(const std::string& line)
{
    return {"branch", "profile-ips-webguard", "profile-ips", line};
}

// Every leaf of this entry is set by the entry's whole line.
const Line whole_line =
    profile_line("exception ips-signature-id 100 action block-source-ip timeout 10 interwork block-both");
const std::string id = leaf("id", "100");
const std::string action = leaf("action", "block-source-ip");
const std::string timeout = leaf("timeout", "10");
const std::string interworking = leaf("interworking", "block-both");

// A leaf of the entry: set test first, and the names that all leaves are found by.
HandlerCase leaf_case(const char* name, Handler handler, const std::string& beside, const std::string& node)
{
    return {.name = name,
            .handler = handler,
            .decoding = Decoding::set_first,
            .above = in_exceptions() / Step{"exception-signature", beside},
            .node = node,
            .xpath = "//exception-signature/" + node.substr(1, node.find('>') - 1),
            .set_line = whole_line,
            .undo_line = {},
            .commit_failure = "",
            .guards = {1, 3, 5},
            .guard_message = parent_message,
            .vsys_level = 5,
            .profile_level = 3};
}

HandlerCase entry_case()
{
    return {.name = "IPS_UD_ExcSignature",
            .handler = IPS_UD_ExcSignature,
            .decoding = Decoding::container,
            .above = in_exceptions(),
            .node = "<exception-signature>" + id + action + "</exception-signature>",
            .xpath = "//exception-signature",
            .set_line = {},
            .undo_line = profile_line("undo exception ips-signature-id 100"),
            .commit_failure = "The leaf of profile exception ips-signature-id is wrong.",
            .guards = {2, 4},
            .guard_message = parent_message,
            .vsys_level = 4,
            .profile_level = 2,
            .quiet_message = "[IPS]SUCCESS: The op is CHAIN\r\n"};
}

} // namespace

std::vector<HandlerCase> exception_signature_handler_cases()
{
    HandlerCase of_id = leaf_case("IPS_UD_ExcSigID", IPS_UD_ExcSigID, action + timeout + interworking, id);
    of_id.decoding = Decoding::removal_refused;
    of_id.commit_failure = "The leaf of profile exception signature id is wrong.";
    of_id.refusal = ClientError{NC_ERR_OP_FAILED, "The node could support the operation(rem)."};

    HandlerCase of_action = leaf_case("IPS_UD_ExcSigAction", IPS_UD_ExcSigAction, id + timeout + interworking, action);
    of_action.undo_line = profile_line("exception ips-signature-id 100 action allow");
    of_action.commit_failure = "The leaf of profile exception ips-signature-id action is wrong.";

    HandlerCase of_timeout =
        leaf_case("IPS_UD_ExcSigTimeout", IPS_UD_ExcSigTimeout, id + action + interworking, timeout);
    of_timeout.undo_line = profile_line("exception ips-signature-id 100 action block-source-ip interwork block-both");
    of_timeout.commit_failure = "The leaf of profile exception ips-signature-id timeout is wrong.";
    of_timeout.failure_start = "[IPS]ERROR:";

    HandlerCase of_interworking =
        leaf_case("IPS_UD_ExcSigInterworking", IPS_UD_ExcSigInterworking, id + action + timeout, interworking);
    of_interworking.undo_line = profile_line("exception ips-signature-id 100 action block-source-ip timeout 10");
    of_interworking.commit_failure = "The leaf of profile exception ips-signature-id interworking is wrong.";

    return {entry_case(), of_id, of_action, of_timeout, of_interworking};
}

} // namespace qnips::test
