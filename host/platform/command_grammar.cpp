#include "platform/command_grammar.h"

#include <array>

namespace qnips
{

std::string_view name_of(CommandView view)
{
    switch (view) {
    case CommandView::device:
        return "device";
    case CommandView::vsys:
        return "vsys";
    case CommandView::management:
        return "management";
    case CommandView::profile:
        return "profile";
    case CommandView::signature_set:
        return "signature-set";
    case CommandView::signature:
        return "signature";
    case CommandView::rule:
        return "rule";
    }
    return "";
}

namespace
{

CommandPattern operator""_cmd(const char* text, std::size_t length)
{
    return CommandPattern(std::string_view(text, length));
}

} // namespace

// In the order in which lines are tried: within a view the longer of two commands that start alike comes first.
std::span<const Command> commands()
{
    using enum CommandView;
    using enum Meaning;
    // clang-format off
    static const std::array table = {
        // a virtual system, seen from the root system
        Command{management, "assign function ips"_cmd,      set, ".", "ips-enable=true"},
        Command{management, "undo assign function ips"_cmd, set, ".", "ips-enable=false"},

        // a virtual system
        Command{vsys, "profile type ips name <name>"_cmd,                           create, "profiles/profile[name]"},
        Command{vsys, "undo profile type ips name <name>"_cmd,                      remove, "profiles/profile[name]"},
        Command{vsys, "ips signature-id <id:1..1024>"_cmd,                          create, "user-defined-signatures/signature[id]"},
        Command{vsys, "undo ips signature-id <id:1..1024>"_cmd,                     remove, "user-defined-signatures/signature[id]"},
        Command{vsys, "cnc domain-filter exception domain-name <domain>"_cmd,       create, "exception-domain-name-information/exception-domain-name[domain]"},
        Command{vsys, "undo cnc domain-filter exception domain-name <domain>"_cmd,  remove, "exception-domain-name-information/exception-domain-name[domain]"},

        // a profile
        Command{profile, "description <description...>"_cmd,                        set,    "."},
        Command{profile, "undo description"_cmd,                                    clear,  "description"},
        Command{profile, "collect-attack-evidence enable"_cmd,                      set,    ".", "collect-attack-evidence-enable=true"},
        Command{profile, "undo collect-attack-evidence enable"_cmd,                 clear,  "collect-attack-evidence-enable"},
        Command{profile, "assoc-check enable"_cmd,                                  set,    ".", "associated-check-enable=true"},
        Command{profile, "undo assoc-check enable"_cmd,                             clear,  "associated-check-enable"},
        Command{profile, "cnc domain-filter enable [action <action:alert|block>]"_cmd, replace, "command-and-control-domain-filter", "domain-filter-enable=true"},
        Command{profile, "undo cnc domain-filter enable"_cmd,                       clear,  "command-and-control-domain-filter"},
        Command{profile, "signature-set name <name>"_cmd,                           create, "signature-sets/signature-set[name]"},
        Command{profile, "undo signature-set name <name>"_cmd,                      remove, "signature-sets/signature-set[name]"},
        Command{profile, "signature-set move <name> after <target>"_cmd,            move_after,  "signature-sets/signature-set[name]"},
        Command{profile, "signature-set move <name> before <target>"_cmd,           move_before, "signature-sets/signature-set[name]"},
        Command{profile, "exception ips-signature-id <id:1..16777216> [action <action:alert|block|allow|block-source-ip|block-destination-ip>] "
                         "[timeout <timeout:1..30>] [interwork <interworking:block-source-ip|block-destination-ip|block-both>]"_cmd,
                                                                                    replace, "exception-signatures/exception-signature[id]"},
        Command{profile, "undo exception ips-signature-id <id:1..16777216>"_cmd,    remove, "exception-signatures/exception-signature[id]"},

        // a profile's checks of DNS and HTTP
        Command{profile, "dns malformed-packet check action <malformed-packet-action:alert|block>"_cmd, set, "protocol-controlling/dns-check"},
        Command{profile, "undo dns malformed-packet check"_cmd,                     clear,  "protocol-controlling/dns-check/malformed-packet-action"},
        Command{profile, "dns request-type check default-action <request-type-default-action:alert|block|allow>"_cmd, set, "protocol-controlling/dns-check"},
        Command{profile, "dns request-type check <start-type:0..65535> [to <end-type:0..65535>] action <action:alert|block|allow>"_cmd,
                                                                                    replace, "protocol-controlling/dns-check/request-type[start-type]", "end-type=<start-type>"},
        Command{profile, "undo dns request-type check <start-type:0..65535> [to <end-type:0..65535>]"_cmd,
                                                                                    undo_request_type, "protocol-controlling/dns-check/request-type[start-type]"},
        Command{profile, "http multi-host check action <multi-host-action:alert|block>"_cmd, set, "protocol-controlling/http-check"},
        Command{profile, "undo http multi-host check"_cmd,                          clear,  "protocol-controlling/http-check/multi-host-action"},
        Command{profile, "http ssh-over-http check action <ssh-over-http-action:alert|block>"_cmd, set, "protocol-controlling/http-check"},
        Command{profile, "undo http ssh-over-http check"_cmd,                       clear,  "protocol-controlling/http-check/ssh-over-http-action"},
        Command{profile, "http x-online-host check <type:any|blacklist|multiple> action <action:alert|block>"_cmd,
                                                                                    set,    "protocol-controlling/http-check/x-online-host/check-type-action"},
        Command{profile, "undo http x-online-host check"_cmd,                       clear,  "protocol-controlling/http-check/x-online-host/check-type-action"},
        Command{profile, "http x-online-host blacklist <host>"_cmd,                 create, "protocol-controlling/http-check/x-online-host/blacklist[host]"},
        Command{profile, "undo http x-online-host blacklist <host>"_cmd,            remove, "protocol-controlling/http-check/x-online-host/blacklist[host]"},
        Command{profile, "http x-forwarded-for check <type:any|whitelist> action <action:alert|block>"_cmd,
                                                                                    set,    "protocol-controlling/http-check/x-forwarded-for/check-type-action"},
        Command{profile, "undo http x-forwarded-for check"_cmd,                     clear,  "protocol-controlling/http-check/x-forwarded-for/check-type-action"},
        Command{profile, "http x-forwarded-for whitelist ipv4 <host>"_cmd,          create, "protocol-controlling/http-check/x-forwarded-for/whitelist[host]"},
        Command{profile, "undo http x-forwarded-for whitelist ipv4 <host>"_cmd,     remove, "protocol-controlling/http-check/x-forwarded-for/whitelist[host]"},

        // a signature set
        Command{signature_set, "action <action:default=default-type|alert|block> [interwork <interworking:block-source-ip|block-destination-ip|block-both>]"_cmd,
                                                                                    replace, "signature-set-action"},
        Command{signature_set, "undo action"_cmd,                                   clear,  "signature-set-action"},
        Command{signature_set, "target <target:both|client|server>"_cmd,            set,    "."},
        Command{signature_set, "undo target"_cmd,                                   clear,  "target"},
        Command{signature_set, "severity <severity:high|medium|low|information>"_cmd, create, "severity[severity]"},
        Command{signature_set, "undo severity <severity:high|medium|low|information>"_cmd, remove, "severity[severity]"},
        Command{signature_set, "os <os:other|android|ios|unix-like|windows>"_cmd,   create, "operating-system[os]"},
        Command{signature_set, "undo os <os:other|android|ios|unix-like|windows>"_cmd, remove, "operating-system[os]"},
        Command{signature_set, "application all"_cmd,                               select_all,  "application"},
        Command{signature_set, "undo application all"_cmd,                          select_none, "application"},
        Command{signature_set, "application <application>"_cmd,                     select,      "application/specifed-application[application]"},
        Command{signature_set, "undo application <application>"_cmd,                remove,      "application/specifed-application[application]"},
        Command{signature_set, "protocol all"_cmd,                                  select_all,  "protocol"},
        Command{signature_set, "undo protocol all"_cmd,                             select_none, "protocol"},
        Command{signature_set, "protocol <protocol>"_cmd,                           select,      "protocol/specifed-protocol[protocol]"},
        Command{signature_set, "undo protocol <protocol>"_cmd,                      remove,      "protocol/specifed-protocol[protocol]"},
        Command{signature_set, "category all"_cmd,                                  select_all,  "category"},
        Command{signature_set, "undo category all"_cmd,                             select_none, "category"},
        Command{signature_set, "category <category>"_cmd,                           category,      "category"},
        Command{signature_set, "undo category <category>"_cmd,                      undo_category, "category"},

        // a user-defined signature
        Command{signature, "name <name>"_cmd,                                       set,    "."},
        Command{signature, "undo name"_cmd,                                         clear,  "name"},
        Command{signature, "description <description...>"_cmd,                      set,    "."},
        Command{signature, "undo description"_cmd,                                  clear,  "description"},
        Command{signature, "target <target:both|client|server>"_cmd,                set,    "."},
        Command{signature, "undo target"_cmd,                                       clear,  "target"},
        Command{signature, "severity <severity:high|medium|low|information>"_cmd,   set,    "."},
        Command{signature, "undo severity"_cmd,                                     clear,  "severity"},
        Command{signature, "action <action:alert|block|allow>"_cmd,                 set,    "."},
        Command{signature, "undo action"_cmd,                                       clear,  "action"},
        Command{signature, "protocol <protocol>"_cmd,                               set,    "signature-rule-information/protocol-rules"},
        Command{signature, "undo protocol"_cmd,                                     remove, "signature-rule-information/protocol-rules"},
        Command{signature, "rule name <name>"_cmd,                                  create_rule, ""},
        Command{signature, "undo rule name <name>"_cmd,                             remove_rule, ""},

        // a rule
        Command{rule, "scope <scope:flow|message|packet>"_cmd,                      set,    "."},
        Command{rule, "undo scope"_cmd,                                             clear,  "scope"},
        Command{rule, "check <sequence:sequential|random-order>"_cmd,               set,    "."},
        Command{rule, "undo check"_cmd,                                             clear,  "sequence"},
        Command{rule, "source-ip <family:ipv4|ipv6> <first> [<second>]"_cmd,        address, "source-ip"},
        Command{rule, "undo source-ip"_cmd,                                         undo_address, "source-ip"},
        Command{rule, "destination-ip <family:ipv4|ipv6> <first> [<second>]"_cmd,   address, "destination-ip"},
        Command{rule, "undo destination-ip"_cmd,                                    undo_address, "destination-ip"},
        Command{rule, "source-port <start-port:1..65535> <end-port:1..65535>"_cmd,  set,    "source-port"},
        Command{rule, "undo source-port"_cmd,                                       remove, "source-port"},
        Command{rule, "destination-port <start-port:1..65535> <end-port:1..65535>"_cmd, set, "destination-port"},
        Command{rule, "undo destination-port"_cmd,                                  remove, "destination-port"},
        Command{rule, "condition associated signature-id <signature-id:1..16777216> [threshold <threshold:1..500>] [interval <interval:1..7200>] "
                      "[block-time <block-time:1..1000>] [correlateby <correlation:source|destination|source-destination>]"_cmd,
                                                                                    set,    "associated-condition"},
        Command{rule, "undo condition associated"_cmd,                              remove, "associated-condition"},
        Command{rule, "condition <id:0..4> field <field-name> operate pmatch value <value> offset begin [depth <depth:7..65535>] "
                      "[direction <direction:both|from-client|from-server>] [qualifier http-method <qualifier-http-method>]"_cmd,
                                                                                    replace, "basic-conditions/rule-condition[id]", "operator=prefix-match"},
        Command{rule, "condition <id:0..4> field <field-name> operate <operator:pmatch=pattern-match|equal|gthan=greater-than|lthan=less-than|noequal=not-equal> "
                      "value <value> [offset <offset:0..65535>] [depth <depth:7..65535>] "
                      "[direction <direction:both|from-client|from-server>] [qualifier http-method <qualifier-http-method>]"_cmd,
                                                                                    replace, "basic-conditions/rule-condition[id]"},
        Command{rule, "undo condition <id:0..4>"_cmd,                               remove, "basic-conditions/rule-condition[id]"},

        // the device: predefined signatures
        Command{device, "ips signature-state signature-id <id:1025..16777216> <config-state:enabled=enable|disabled=disable>"_cmd,
                                                                                    set,    "predefined-signatures/signature[id]"},
        Command{device, "ips associated pre-defined signature-id <id:1025..16777216> [threshold <threshold:1..500>] [interval <interval:1..7200>] "
                        "[block-time <block-time:1..1000>] [correlateby <correlation:source|destination|source-destination>]"_cmd,
                                                                                    replace, "predefined-signatures/signature[id]/associated-condition"},
        Command{device, "undo ips associated pre-defined signature-id <id:1025..16777216>"_cmd,
                                                                                    clear,  "predefined-signatures/signature[id]/associated-condition"},

        // the device: global settings
        Command{device, "ips collect-attack-evidence max-session-number <session-number:0..4294967295> signature-id <signature-id:1025..16777216>"_cmd,
                                                                                    set,    "global-config/global-max-session-number/session-number-signature[signature-id]"},
        Command{device, "undo ips collect-attack-evidence max-session-number signature-id <signature-id:1025..16777216>"_cmd,
                                                                                    remove, "global-config/global-max-session-number/session-number-signature[signature-id]"},
        Command{device, "ips collect-attack-evidence max-session-number <default-session-number:0..50>"_cmd, set, "global-config/global-max-session-number"},
        Command{device, "undo ips collect-attack-evidence max-session-number"_cmd,  clear,  "global-config/global-max-session-number/default-session-number"},
        Command{device, "ips signature regular-expression unlimit"_cmd,             set,    "global-config", "regular-expression-unlimit=true"},
        Command{device, "undo ips signature regular-expression unlimit"_cmd,        clear,  "global-config/regular-expression-unlimit"},
        Command{device, "engine log ips enable"_cmd,                                set,    "global-config", "engine-log-switch=true"},
        Command{device, "undo engine log ips enable"_cmd,                           clear,  "global-config/engine-log-switch"},
        Command{device, "ips log merge enable"_cmd,                                 set,    "global-config", "log-merge-switch=true"},
        Command{device, "undo ips log merge enable"_cmd,                            clear,  "global-config/log-merge-switch"},
        Command{device, "ips signature-state <global-signature-state:enabled=enable|disabled=disable>"_cmd, set, "global-config"},
        Command{device, "undo ips signature-state"_cmd,                             clear,  "global-config/global-signature-state"},
    };
    // clang-format on
    return table;
}

} // namespace qnips
