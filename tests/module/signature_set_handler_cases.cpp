// What the handlers of a profile's signature sets are promised to do.
#include "module/handler_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

const std::string container_message = "[IPS]SUCCESS: The op os OK.\r\n";
const ClientError all_refusal{NC_ERR_OP_FAILED, "The operation is not supported."};

// Above a signature set's own nodes.
Steps in_set()
{
    return in_profile("branch", "webguard") / Step{"signature-sets"} / Step{"signature-set", leaf("name", "web")};
}

Line profile_line(const char* line)
{
    return {"branch", "profile-ips-webguard", "profile-ips", line};
}

Line set_line(const std::string& line)
{
    return {"branch", "profile-ips-webguard-sigset-web", "ips-sigset", line};
}

// A node of the set itself; the set's entry is its parent.
HandlerCase in_entry(const char* name, Handler handler, Decoding decoding, std::string node, std::string xpath)
{
    return {.name = name,
            .handler = handler,
            .decoding = decoding,
            .above = in_set(),
            .node = std::move(node),
            .xpath = std::move(xpath),
            .set_line = {},
            .undo_line = {},
            .commit_failure = "",
            .guards = {5, 3, 1},
            .guard_message = parent_message,
            .vsys_level = 5,
            .profile_level = 3};
}

// A node of a container in the set, in which `beside` stands.
HandlerCase in_container(const char* name, Handler handler, Decoding decoding, const char* container,
                         const std::string& beside, std::string node, std::string xpath)
{
    HandlerCase test = in_entry(name, handler, decoding, std::move(node), std::move(xpath));
    test.above = in_set() / Step{container, beside};
    test.guards = {6, 4, 2, 1};
    test.vsys_level = 6;
    test.profile_level = 4;
    return test;
}

HandlerCase with_lines(HandlerCase test, const std::string& on, const std::string& off, const char* commit_failure)
{
    if (!on.empty())
        test.set_line = set_line(on);
    if (!off.empty())
        test.undo_line = set_line(off);
    test.commit_failure = commit_failure;
    return test;
}

// A container of a selection.
HandlerCase selection(const char* name, Handler handler, const std::string& node, const char* off,
                      const char* commit_failure)
{
    HandlerCase test =
        with_lines(in_entry(name, handler, Decoding::container,
                            '<' + node + ">\n " + leaf("all-" + node, "true") + "</" + node + '>', "//" + node),
                   "", off, commit_failure);
    test.quiet_message = container_message;
    return test;
}

// The leaf that selects everything.
HandlerCase all_leaf(const char* name, Handler handler, const std::string& container, const char* on,
                     const char* commit_failure)
{
    const std::string all = "all-" + container;
    HandlerCase test = with_lines(
        in_container(name, handler, Decoding::set_first, container.c_str(), "", leaf(all, "true"), "//" + all), on, "",
        commit_failure);
    test.undo_refused = true;
    test.refusal = all_refusal;
    return test;
}

HandlerCase entry_case()
{
    return {.name = "IPS_UD_ProfileSigSet",
            .handler = IPS_UD_ProfileSigSet,
            .decoding = Decoding::set_first,
            .above = in_profile("branch", "webguard") /
                     Step{"signature-sets", "<signature-set><name>mail</name></signature-set>"},
            .node = "<signature-set>\n <target>both</target><name>web</name></signature-set>",
            .xpath = "//signature-set[last()]",
            .set_line = profile_line("signature-set name \"web\""),
            .undo_line = profile_line("undo signature-set name \"web\""),
            .commit_failure = "The leaf of profile signature-set name is wrong.",
            .guards = {4, 2},
            .guard_message = parent_message,
            .vsys_level = 4,
            .profile_level = 2,
            .place_line = profile_line("signature-set move \"web\" after mail"),
            .unknown_start = "[IPS]INFO: May be SIBLING op("};
}

std::vector<HandlerCase> action_cases()
{
    HandlerCase container = with_lines(in_entry("IPS_UD_SigSetSSAction", IPS_UD_SigSetSSAction, Decoding::container,
                                                "<signature-set-action><action>block</action></signature-set-action>",
                                                "//signature-set-action"),
                                       "", "undo action", "The leaf of profile signature-set action is wrong.");
    container.quiet_message = "[IPS]SUCCESS: The op is ok.\r\n";

    HandlerCase interworking =
        with_lines(in_container("IPS_UD_SigSetInterworking", IPS_UD_SigSetInterworking, Decoding::removal_refused,
                                "signature-set-action", leaf("action", "default-type"),
                                leaf("interworking", "block-source-ip"), "//interworking"),
                   "action default interwork block-source-ip", "",
                   "The leaf of profile signature-set-action interworking is wrong.");
    interworking.refusal = ClientError{NC_ERR_OP_FAILED, "The node could support the operation(rem)."};

    return {container,
            with_lines(in_container("IPS_UD_SigSetAction", IPS_UD_SigSetAction, Decoding::undo_first,
                                    "signature-set-action", leaf("interworking", "block-both"), leaf("action", "block"),
                                    "//action"),
                       "action block interwork block-both", "undo action",
                       "The leaf of profile signature-set-action action is wrong."),
            interworking};
}

std::vector<HandlerCase> word_cases()
{
    return {with_lines(in_entry("IPS_UD_SigSetTarget", IPS_UD_SigSetTarget, Decoding::set_first,
                                leaf("target", "client"), "//target"),
                       "target client", "undo target", "The leaf of profile signature-set target is wrong."),
            with_lines(in_entry("IPS_UD_SigSetSeverity", IPS_UD_SigSetSeverity, Decoding::set_first,
                                leaf("severity", "low"), "//severity"),
                       "severity low", "undo severity low", "The leaf of profile signature-set severity is wrong."),
            with_lines(in_entry("IPS_UD_SigSetOS", IPS_UD_SigSetOS, Decoding::set_first,
                                leaf("operating-system", "ios"), "//operating-system"),
                       "os ios", "undo os ios", "The leaf of profile signature-set os is wrong.")};
}

std::vector<HandlerCase> application_and_protocol_cases()
{
    return {selection("IPS_UD_SigSetApplication", IPS_UD_SigSetApplication, "application", "undo application all",
                      "The leaf of profile signatureset application is wrong."),
            all_leaf("IPS_UD_SigSetAllApplication", IPS_UD_SigSetAllApplication, "application", "application all",
                     "The leaf of profile signature-set all application is wrong."),
            with_lines(in_container("IPS_UD_SigSetSpecifiedApplication", IPS_UD_SigSetSpecifiedApplication,
                                    Decoding::set_first, "application", leaf("all-application", "false"),
                                    leaf("specifed-application", "Mail App"), "//specifed-application"),
                       "application Mail App", "undo application Mail App",
                       "The leaf of profile signature-set application is wrong."),
            selection("IPS_UD_SigSetProtocol", IPS_UD_SigSetProtocol, "protocol", "undo protocol all",
                      "The leaf of profile signatureset protocol is wrong."),
            all_leaf("IPS_UD_SigSetAllProtocol", IPS_UD_SigSetAllProtocol, "protocol", "protocol all",
                     "The leaf of profile signature-set all protocol is wrong."),
            with_lines(in_container("IPS_UD_SigSetSpecifiedProtocol", IPS_UD_SigSetSpecifiedProtocol,
                                    Decoding::set_first, "protocol", leaf("all-protocol", "false"),
                                    leaf("specifed-protocol", "DNS"), "//specifed-protocol"),
                       "protocol DNS", "undo protocol DNS", "The leaf of profile signature-set protocol is wrong.")};
}

std::vector<HandlerCase> category_cases()
{
    HandlerCase specified =
        with_lines(in_container("IPS_UD_SigSetSpecifiedCategory", IPS_UD_SigSetSpecifiedCategory, Decoding::set_first,
                                "category", leaf("all-category", "false"),
                                "<specifed-category>\n <all-sub-category>true</all-sub-category>"
                                "<name>Worm</name></specifed-category>",
                                "//specifed-category"),
                   "category Worm", "undo category Worm", "The leaf of profile signature-set category is wrong.");
    specified.quiet_ops = XMLDIFF_CHAIN;
    specified.quiet_message = "[IPS]SUCCESS: The operation is CHAIN\r\n";

    HandlerCase sub = with_lines(in_entry("IPS_UD_SigSetSSCategory", IPS_UD_SigSetSSCategory, Decoding::set_first,
                                          "<sub-category>\n <name>Mail-Worm</name></sub-category>", "//sub-category"),
                                 "category Mail-Worm", "undo category Mail-Worm",
                                 "The leaf of profile signature-set sub category is wrong.");
    sub.above = in_set() / Step{"category", leaf("all-category", "true")} /
                Step{"specifed-category", leaf("name", "Worm") + leaf("all-sub-category", "false")};
    sub.guards = {7, 5, 3, 2, 1};
    sub.vsys_level = 7;
    sub.profile_level = 5;

    return {selection("IPS_UD_SigSetCategory", IPS_UD_SigSetCategory, "category", "undo category all",
                      "The leaf of profile signatureset category is wrong."),
            all_leaf("IPS_UD_SigSetAllCategory", IPS_UD_SigSetAllCategory, "category", "category all",
                     "The leaf of profile signature-set all category is wrong."),
            specified, sub};
}

} // namespace

std::vector<HandlerCase> signature_set_handler_cases()
{
    std::vector<HandlerCase> all = {entry_case()};
    for (const auto& more : {action_cases(), word_cases(), application_and_protocol_cases(), category_cases()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace qnips::test
