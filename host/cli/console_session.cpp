#include "cli/console_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <variant>
#include <vector>

#include "platform/command_grammar.h"
#include "transapi/command_platform.h"
#include "transapi/netconf_error.h"

namespace qnips::cli
{

// A word of the console's own.
struct ConsoleSession::Word {
    CommandPattern pattern;
    ConsoleAnswer (ConsoleSession::*answer)(const Captures& parts);
    std::string_view help;
};

const std::vector<ConsoleSession::Word>& ConsoleSession::words()
{
    static const std::vector<Word> table = {
        {CommandPattern(":vsys <vsys>"), &ConsoleSession::go_to_vsys, "enter a virtual system"},
        {CommandPattern(":manage <vsys>"), &ConsoleSession::go_to_management,
         "enter the view in which the root system manages a virtual system"},
        {CommandPattern(":view <view> [<type>]"), &ConsoleSession::go_to_view,
         "enter a view of this virtual system by the names that `qn-ips plan` shows"},
        {CommandPattern(":up"), &ConsoleSession::go_up, "go back to the view around this one"},
        {CommandPattern(":top"), &ConsoleSession::go_to_device, "go back to the device"},
        {CommandPattern(":show"), &ConsoleSession::show, "print the device's configuration"},
        {CommandPattern(":state"), &ConsoleSession::state, "print the device's state"},
        {CommandPattern(":remove-vsys <vsys>"), &ConsoleSession::remove_vsys,
         "let a virtual system go, with its configuration"},
        {CommandPattern(":help"), &ConsoleSession::help, "print this"},
        {CommandPattern(":quit"), &ConsoleSession::quit, "end the console"},
    };
    return table;
}

namespace
{

constexpr char word_mark = ':';
constexpr char comment_mark = '#';

std::string_view error_name(int code)
{
    switch (code) {
    case NC_ERR_PARSE_COMMAND:
        return "NC_ERR_PARSE_COMMAND";
    case NC_ERR_SET_VIEW:
        return "NC_ERR_SET_VIEW";
    case NC_ERR_COMMAND_EXECUTE:
        return "NC_ERR_COMMAND_EXECUTE";
    default:
        return "NC_ERR_OP_FAILED";
    }
}

ConsoleAnswer refused(std::string reason)
{
    return {ConsoleAnswer::Kind::refused, std::move(reason)};
}

ConsoleAnswer refused(const PlatformError& error)
{
    return refused(fmt::format("{} ({}, {})", error.message, error_name(error.code), error.code));
}

ConsoleAnswer printed(const PlatformAnswer& answer, std::string_view none)
{
    if (answer.is_failure())
        return refused(answer.error());
    std::string text = answer.is_text() && !answer.text().empty() ? answer.text() : std::string(none);
    text.erase(text.find_last_not_of('\n') + 1);
    return {.text = std::move(text)};
}

std::string_view trimmed(std::string_view line)
{
    constexpr std::string_view blanks = " \t\r";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    return line.substr(0, line.find_last_not_of(blanks) + 1);
}

bool is_control(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

// The bytes of the character that starts the text; nothing when it is no character in UTF-8 (RFC 3629, section 4).
std::optional<std::size_t> character_length(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    if (byte(0) < 0x80)
        return 1;
    const std::size_t length = byte(0) < 0xe0 ? 2 : byte(0) < 0xf0 ? 3 : 4;
    if (byte(0) < 0xc2 || byte(0) > 0xf4 || text.size() < length)
        return std::nullopt;
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xc0U) != 0x80)
            return std::nullopt;
    }
    const unsigned start = byte(0) * 0x100U + byte(1);
    const bool is_overlong = (start >= 0xe080 && start < 0xe0a0) || (start >= 0xf080 && start < 0xf090);
    const bool is_beyond = (start >= 0xeda0 && start < 0xee00) || start >= 0xf490;
    return is_overlong || is_beyond ? std::nullopt : std::optional(length);
}

bool is_utf8(std::string_view text)
{
    while (!text.empty()) {
        const std::optional<std::size_t> length = character_length(text);
        if (!length)
            return false;
        text.remove_prefix(*length);
    }
    return true;
}

// A command that makes an object, and the view that the object has.
struct Opening {
    std::string_view node;
    CommandView view;
    std::string_view holder;
    std::string_view entry;
    std::string_view part;
};

constexpr std::array openings = {
    Opening{"profiles/profile[name]", CommandView::profile, "profiles", "profile", "name"},
    Opening{"signature-sets/signature-set[name]", CommandView::signature_set, "signature-sets", "signature-set",
            "name"},
    Opening{"user-defined-signatures/signature[id]", CommandView::signature, "user-defined-signatures", "signature",
            "id"},
};

// The view of what a line makes; nothing when it makes no object, or one without a view.
std::optional<Place> opened_by(const DeviceTree& device, const Place& place, std::string_view line)
{
    for (const Command& command : commands()) {
        if (command.view != place.view)
            continue;
        const std::optional<Captures> parts = command.pattern.match(line);
        if (!parts)
            continue;
        if (command.meaning == Meaning::create_rule)
            return Place{CommandView::rule, rule_path(device, place.node, parts->at("name"))};
        const auto* opening = std::ranges::find(openings, command.node, &Opening::node);
        if (command.meaning != Meaning::create || opening == openings.end())
            return std::nullopt;
        return Place{opening->view, below(below(place.node, std::string(opening->holder)), std::string(opening->entry),
                                          parts->at(opening->part))};
    }
    return std::nullopt;
}

} // namespace

ConsoleAnswer ConsoleSession::enter(std::string_view line)
{
    leave_what_has_gone();
    line = trimmed(line);
    if (line.empty() || line.front() == comment_mark)
        return {};
    if (std::ranges::any_of(line, is_control))
        return refused("the line holds a control character");
    if (!is_utf8(line))
        return refused("the line is not in UTF-8");
    return line.front() == word_mark ? enter_word(line) : execute(line);
}

ConsoleAnswer ConsoleSession::execute(std::string_view line)
{
    CommandLine command = line_at(place_);
    command.text = line;
    if (const std::optional<PlatformError> error = device_.execute(std::span(&command, 1), API_CMD_MOD))
        return refused(*error);
    if (std::optional<Place> opened = opened_by(device_.device(), place_, line))
        place_ = *std::move(opened);
    return {};
}

ConsoleAnswer ConsoleSession::enter_word(std::string_view line)
{
    const std::string_view name = line.substr(0, line.find(' '));
    for (const Word& word : words()) {
        const std::string_view usage = word.pattern.text();
        if (usage.substr(0, usage.find(' ')) != name)
            continue;
        if (const std::optional<Captures> parts = word.pattern.match(line))
            return (this->*word.answer)(*parts);
        return refused(fmt::format("usage: {}", usage));
    }
    return refused(fmt::format("the console has no word {}; :help shows what there is", name));
}

ConsoleAnswer ConsoleSession::go_to_vsys(const Captures& parts)
{
    place_ = {CommandView::vsys, vsys_node_path(parts.at("vsys"))};
    return {};
}

ConsoleAnswer ConsoleSession::go_to_management(const Captures& parts)
{
    place_ = {CommandView::management, vsys_node_path(parts.at("vsys"))};
    return {};
}

ConsoleAnswer ConsoleSession::go_to_view(const Captures& parts)
{
    const std::string* type = parts.find("type");
    const CommandLine target{.vsys = line_at(place_).vsys,
                             .view = parts.at("view"),
                             .view_type = type == nullptr ? std::nullopt : std::optional(*type),
                             .text = {}};
    std::variant<Place, PlatformError> found = find_place(device_.device(), target);
    if (const auto* error = std::get_if<PlatformError>(&found))
        return refused(*error);
    place_ = std::get<Place>(std::move(found));
    return {};
}

ConsoleAnswer ConsoleSession::go_up(const Captures&)
{
    place_ = place_above(place_);
    return {};
}

ConsoleAnswer ConsoleSession::go_to_device(const Captures&)
{
    place_ = {CommandView::device, {}};
    return {};
}

ConsoleAnswer ConsoleSession::show(const Captures&)
{
    return printed(device_.configuration(), "The device's configuration is empty.");
}

ConsoleAnswer ConsoleSession::state(const Captures&)
{
    return printed(device_.state(), "The device has no state.");
}

ConsoleAnswer ConsoleSession::remove_vsys(const Captures& parts)
{
    if (const std::optional<PlatformError> error = device_.remove_vsys(parts.at("vsys")))
        return refused(*error);
    leave_what_has_gone();
    return {};
}

ConsoleAnswer ConsoleSession::help(const Captures&)
{
    std::string text = "Words of the console:\n";
    for (const Word& word : words())
        text += fmt::format("  {:<22} {}\n", word.pattern.text(), word.help);
    text += fmt::format("\nCommands of the view {}:", prompt());
    for (const Command& command : commands()) {
        if (command.view == place_.view)
            text += fmt::format("\n  {}", command.pattern.text());
    }
    return {.text = std::move(text)};
}

ConsoleAnswer ConsoleSession::quit(const Captures&)
{
    return {.kind = ConsoleAnswer::Kind::end};
}

std::string ConsoleSession::prompt()
{
    leave_what_has_gone();
    if (place_.view == CommandView::device)
        return "[device]";
    constexpr std::size_t vsys_steps = 2;
    const std::string& vsys = place_.node.at(vsys_steps - 1).key;
    if (place_.view == CommandView::management)
        return fmt::format("[management of vsys {}]", vsys);

    std::string text = fmt::format("[vsys {}", vsys);
    for (const DeviceStep& step : std::span(place_.node).subspan(vsys_steps)) {
        if (!step.key.empty())
            text += fmt::format(", {} {}", step.name == "signature-rule" ? "rule" : step.name, step.key);
    }
    return text + ']';
}

Completion ConsoleSession::complete(std::string_view line)
{
    leave_what_has_gone();
    std::vector<CommandPattern> patterns;
    for (const Word& word : words())
        patterns.push_back(word.pattern);
    return complete_line(device_.device(), place_, patterns, line);
}

// The view of an object goes with it, and a rule's path changes with the protocol of its signature.
void ConsoleSession::leave_what_has_gone()
{
    std::variant<Place, PlatformError> found = find_place(device_.device(), line_at(place_));
    while (std::holds_alternative<PlatformError>(found)) {
        place_ = place_above(place_);
        found = find_place(device_.device(), line_at(place_));
    }
    place_ = std::get<Place>(std::move(found));
}

} // namespace qnips::cli
