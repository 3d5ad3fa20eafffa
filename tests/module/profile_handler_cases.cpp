// What the handlers of a virtual system's switch, its exception domain names, profiles and their leaves are promised
// to do.
#include "module/handler_case.h"

#include "quorin-intrusion-prevention-core/handlers/handlers.h"

namespace qnips::test
{

namespace
{

const std::string vsys_message = "[IPS]SUCCESS: The vsys operation is delete.\r\n";

Line profile_line(const char* line)
{
    return {"branch", "profile-ips-webguard", "profile-ips", line};
}

Line system_line(const char* line)
{
    return {"branch", "system", std::nullopt, line};
}

Line vsys_line(const char* line)
{
    return {"public", "vsys-branch", "mgmt-vsys", line};
}

Steps in_filter(const std::string& content)
{
    return in_profile("branch", "webguard") / Step{"command-and-control-domain-filter", content};
}

std::vector<HandlerCase> vsys_cases()
{
    return {
        {.name = "IPS_UD_Assign_IPS_Function",
         .handler = IPS_UD_Assign_IPS_Function,
         .decoding = Decoding::undo_first,
         .above = in_vsys("branch"),
         .node = leaf("ips-enable", "false"),
         .xpath = "//ips-enable",
         .set_line = vsys_line("undo assign function ips"),
         .undo_line = vsys_line("assign function ips"),
         .commit_failure = "The leaf of assign-ips-enable is wrong.",
         .guards = {1},
         .guard_message = vsys_message,
         .vsys_level = 1,
         .banner = true},
        {.name = "IPS_ExceptionDomainName",
         .handler = IPS_ExceptionDomainName,
         .decoding = Decoding::set_first,
         .above = in_vsys("branch") / Step{"exception-domain-name-information"},
         .node = leaf("exception-domain-name", "mail.example"),
         .xpath = "//exception-domain-name",
         .set_line = system_line("cnc domain-filter exception domain-name mail.example"),
         .undo_line = system_line("undo cnc domain-filter exception domain-name mail.example"),
         .commit_failure = "The leaf of cnc domain name is wrong.",
         .guards = {2},
         .guard_message = vsys_message,
         .vsys_level = 2},
        {.name = "IPS_UD_Profile",
         .handler = IPS_UD_Profile,
         .decoding = Decoding::undo_first,
         .above = in_vsys("branch") / Step{"profiles"},
         .node = "<profile>\n <name>webguard</name> <description>text</description></profile>",
         .xpath = "//profile",
         .set_line = system_line("profile type ips name \"webguard\""),
         .undo_line = system_line("undo profile type ips name \"webguard\""),
         .commit_failure = "The leaf of profile name is wrong.",
         .guards = {2},
         .guard_message = vsys_message,
         .vsys_level = 2,
         .banner = true,
         .quiet_ops = XMLDIFF_CHAIN | XMLDIFF_REORDER,
         .quiet_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n"},
    };
}

std::vector<HandlerCase> leaf_cases()
{
    const Steps above = in_profile("branch", "webguard");
    return {
        {.name = "IPS_UD_ProfileDescription",
         .handler = IPS_UD_ProfileDescription,
         .decoding = Decoding::set_first,
         .above = above,
         .node = leaf("description", "guards \"the\" web"),
         .xpath = "//description",
         .set_line = profile_line("description guards \"the\" web"),
         .undo_line = profile_line("undo description"),
         .commit_failure = "The leaf of profile description is wrong.",
         .guards = {1, 3},
         .guard_message = parent_message,
         .vsys_level = 3,
         .profile_level = 1},
        {.name = "IPS_UD_ProfileCAE_Enable",
         .handler = IPS_UD_ProfileCAE_Enable,
         .decoding = Decoding::set_first,
         .above = above,
         .node = leaf("collect-attack-evidence-enable", "true"),
         .xpath = "//collect-attack-evidence-enable",
         .set_line = profile_line("collect-attack-evidence enable"),
         .undo_line = profile_line("undo collect-attack-evidence enable"),
         .commit_failure = "The leaf of profile collect-attack-evidence is wrong.",
         .guards = {1, 3},
         .guard_message = parent_message,
         .vsys_level = 3,
         .profile_level = 1},
        {.name = "IPS_UD_ProfileASSOC_Enable",
         .handler = IPS_UD_ProfileASSOC_Enable,
         .decoding = Decoding::set_first,
         .above = above,
         .node = leaf("associated-check-enable", "true"),
         .xpath = "//associated-check-enable",
         .set_line = profile_line("assoc-check enable"),
         .undo_line = profile_line("undo assoc-check enable"),
         .commit_failure = "The leaf of profile associated-check-enable is wrong.",
         .guards = {1, 3},
         .guard_message = parent_message,
         .vsys_level = 3,
         .profile_level = 1},
    };
}

std::vector<HandlerCase> filter_cases()
{
    const Line off = profile_line("undo cnc domain-filter enable");
    const Line on = profile_line("cnc domain-filter enable action block");
    return {
        {.name = "IPS_UD_ProfileCNC",
         .handler = IPS_UD_ProfileCNC,
         .decoding = Decoding::container,
         .above = in_profile("branch", "webguard"),
         .node = "<command-and-control-domain-filter/>",
         .xpath = "//command-and-control-domain-filter",
         .set_line = {},
         .undo_line = off,
         .commit_failure = "The leaf of profile cnc domain-filter is wrong.",
         .guards = {1, 3},
         .guard_message = parent_message,
         .vsys_level = 3,
         .profile_level = 1,
         .quiet_message = "[IPS]SUCCESS: The op is ok.\r\n"},
        {.name = "IPS_UD_ProfileCNC_Enable",
         .handler = IPS_UD_ProfileCNC_Enable,
         .decoding = Decoding::undo_first,
         .above = in_filter(leaf("action", "block")),
         .node = leaf("domain-filter-enable", "true"),
         .xpath = "//domain-filter-enable",
         .set_line = on,
         .undo_line = off,
         .commit_failure = "The leaf of profile cnc domain-filter enable is wrong.",
         .guards = {1, 2, 4},
         .guard_message = parent_message,
         .vsys_level = 4,
         .profile_level = 2},
        {.name = "IPS_UD_ProfileCNC_Action",
         .handler = IPS_UD_ProfileCNC_Action,
         .decoding = Decoding::removal_refused,
         .above = in_filter(leaf("domain-filter-enable", "true")),
         .node = leaf("action", "block"),
         .xpath = "//action",
         .set_line = on,
         .undo_line = {},
         .commit_failure = "The leaf of profile cnc domain-filter action is wrong.",
         .guards = {1, 2, 4},
         .guard_message = parent_message,
         .vsys_level = 4,
         .profile_level = 2,
         .refusal = ClientError{NC_ERR_OP_FAILED, "The node could not support the operation(rem)."}},
    };
}

} // namespace

std::vector<HandlerCase> profile_handler_cases()
{
    std::vector<HandlerCase> all = vsys_cases();
    for (const auto& more : {leaf_cases(), filter_cases()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace qnips::test
