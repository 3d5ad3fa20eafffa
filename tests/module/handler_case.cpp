// All handlers' cases in one list, and the promised decoding of operations.
#include "module/handler_case.h"

#include <algorithm>
#include <stdexcept>

namespace qnips::test
{

const std::vector<HandlerCase>& handler_cases()
{
    static const std::vector<HandlerCase> cases = [] {
        std::vector<HandlerCase> all = profile_handler_cases();
        for (const auto& more :
             {signature_set_handler_cases(), exception_signature_handler_cases(), protocol_control_handler_cases(),
              signature_handler_cases(), signature_rule_handler_cases(), basic_condition_handler_cases(),
              associated_rule_handler_cases(), predefined_signature_handler_cases(), global_setting_handler_cases()})
            all.insert(all.end(), more.begin(), more.end());
        return all;
    }();
    return cases;
}

const HandlerCase& handler_case(const std::string& name)
{
    for (const HandlerCase& test : handler_cases()) {
        if (name == test.name)
            return test;
    }
    throw std::invalid_argument("no handler is called " + name);
}

const std::vector<OpCase>& op_cases()
{
    using enum Outcome;
    constexpr Outcome nothing = unknown;
    // clang-format off
    static const std::vector<OpCase> cases = {
        //                                               undo first, set first, container, removal refused, change only, change of entry
        {XMLDIFF_ADD,                                       set,     set,     quiet,   set,             quiet,           quiet},
        {XMLDIFF_ADD | XMLDIFF_CHAIN,                       set,     set,     quiet,   set,             quiet,           quiet},
        {XMLDIFF_MOD,                                       set,     set,     quiet,   set,             set,             set},
        {XMLDIFF_CHAIN | XMLDIFF_MOD,                       set,     set,     quiet,   set,             set,             set},
        {XMLDIFF_MOD | XMLDIFF_ROLLBACK,                    set,     set,     quiet,   set,             set,             set},
        {XMLDIFF_ADD | XMLDIFF_SIBLING,                     set,     set,     quiet,   set,             quiet,           quiet},
        {XMLDIFF_ADD | XMLDIFF_CFGR,                        set,     set,     quiet,   set,             quiet,           quiet},
        {XMLDIFF_CFGR,                                      set,     set,     nothing, set,             quiet,           nothing},
        {XMLDIFF_CFGR | XMLDIFF_CHAIN,                      set,     set,     quiet,   set,             quiet,           nothing},
        {XMLDIFF_REM | XMLDIFF_ROLLBACK,                    set,     set,     nothing, set,             quiet,           nothing},
        {XMLDIFF_REM | XMLDIFF_ROLLBACK | XMLDIFF_CHAIN,    set,     set,     quiet,   set,             quiet,           nothing},

        {XMLDIFF_REM,                                       undo,    undo,    undo,    refused,         refused,         refused},
        {XMLDIFF_REM | XMLDIFF_CHAIN,                       undo,    undo,    undo,    refused,         refused,         refused},
        {XMLDIFF_REM | XMLDIFF_SIBLING,                     undo,    undo,    undo,    refused,         refused,         refused},
        {XMLDIFF_ADD | XMLDIFF_ROLLBACK,                    undo,    undo,    undo,    nothing,         quiet,           quiet},
        {XMLDIFF_ADD | XMLDIFF_ROLLBACK | XMLDIFF_CHAIN,    undo,    undo,    undo,    nothing,         quiet,           quiet},

        // both tests hold
        {XMLDIFF_ADD | XMLDIFF_REM,                         undo,    set,     undo,    refused,         refused,         refused},
        {XMLDIFF_REM | XMLDIFF_MOD,                         undo,    set,     undo,    refused,         refused,         refused},
        {XMLDIFF_REM | XMLDIFF_CFGR,                        undo,    set,     undo,    refused,         refused,         refused},
        {XMLDIFF_ADD | XMLDIFF_ROLLBACK | XMLDIFF_CFGR,     undo,    set,     undo,    set,             quiet,           quiet},
        {XMLDIFF_ADD | XMLDIFF_ROLLBACK | XMLDIFF_MOD,      undo,    set,     undo,    set,             set,             quiet},
        {XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_ROLLBACK,      undo,    set,     undo,    set,             quiet,           quiet},
        {XMLDIFF_ERR,                                       undo,    set,     undo,    set,             set,             quiet},

        // neither does
        {XMLDIFF_NONE,                                      nothing, nothing, nothing, nothing,         quiet,           nothing},
        {XMLDIFF_CHAIN,                                     nothing, nothing, quiet,   nothing,         quiet,           nothing},
        {XMLDIFF_REORDER,                                   nothing, nothing, nothing, nothing,         quiet,           nothing},
        {XMLDIFF_CHAIN | XMLDIFF_REORDER,                   nothing, nothing, quiet,   nothing,         quiet,           nothing},
        {XMLDIFF_SIBLING,                                   nothing, nothing, nothing, nothing,         quiet,           nothing},
        {XMLDIFF_SIBLING | XMLDIFF_CHAIN,                   nothing, nothing, quiet,   nothing,         quiet,           nothing},
        {XMLDIFF_ROLLBACK,                                  nothing, nothing, nothing, nothing,         quiet,           nothing},
        {XMLDIFF_ROLLBACK | XMLDIFF_CHAIN,                  nothing, nothing, quiet,   nothing,         quiet,           nothing},
        {64,                                                nothing, nothing, nothing, nothing,         quiet,           nothing},
        {64 | XMLDIFF_CHAIN,                                nothing, nothing, quiet,   nothing,         quiet,           nothing},
    };
    // clang-format on
    return cases;
}

namespace
{

bool is_undo(int op)
{
    return std::ranges::any_of(
        op_cases(), [op](const OpCase& op_case) { return op_case.op == op && op_case.undo_first == Outcome::undo; });
}

} // namespace

CallResult HandlerCase::call(RecordingServer& server, int op, const std::string& xml, int is_delete) const
{
    if (flag_handler != nullptr)
        return server.call(flag_handler, op, xml, xpath, is_delete);
    return server.call(handler, op, xml, xpath);
}

Outcome HandlerCase::outcome(const OpCase& op_case) const
{
    const Outcome outcome = decoding == Decoding::undo_first        ? op_case.undo_first
                            : decoding == Decoding::set_first       ? op_case.set_first
                            : decoding == Decoding::container       ? op_case.container
                            : decoding == Decoding::change_only     ? op_case.change_only
                            : decoding == Decoding::change_of_entry ? op_case.change_of_entry
                                                                    : op_case.removal_refused;
    if (outcome == Outcome::undo && undo_refused)
        return Outcome::refused;
    if (outcome == Outcome::unknown && (op_case.op & quiet_ops) != 0)
        return Outcome::quiet;
    if (outcome == Outcome::unknown && (op_case.op & set_ops) != 0)
        return Outcome::set;
    return outcome;
}

Lines HandlerCase::lines(Outcome outcome, int op) const
{
    if (outcome == Outcome::quiet || outcome == Outcome::refused)
        return {};
    Lines lines;
    if (outcome == Outcome::set)
        lines.push_back(going_set && is_undo(op) ? *going_set : set_line);
    if (outcome == Outcome::undo)
        lines.push_back(undo_line);
    if (outcome == Outcome::undo && after_undo)
        lines.push_back(*after_undo);
    if (place_line && (op & (XMLDIFF_ADD | XMLDIFF_SIBLING)) != 0)
        lines.push_back(*place_line);
    return lines;
}

int HandlerCase::sending_op() const
{
    if (decoding == Decoding::change_only || decoding == Decoding::change_of_entry)
        return XMLDIFF_MOD;
    return decoding == Decoding::container ? XMLDIFF_REM : XMLDIFF_ADD;
}

Lines HandlerCase::sent_lines() const
{
    return lines(decoding == Decoding::container ? Outcome::undo : Outcome::set, sending_op());
}

std::string opening_lines(const HandlerCase& test, int op, DebugSetting setting)
{
    std::string lines;
    if (setting.messages && test.banner)
        lines += "[IPS]-------Current version is 2017053101 -----------\r\n";
    if (setting.traces)
        lines += "[IPS]Current Function is " + std::string(test.name) + " , current line is #, current op is " +
                 std::to_string(op) + "\r\n";
    return lines;
}

std::string operation_line(const std::string& line)
{
    return "[IPS]Operation: " + line + " \r\n";
}

std::string error_line(const std::string& text)
{
    return "[IPS]ERROR: " + text + "\r\n\r\n";
}

} // namespace qnips::test
