#include "command_coverage.h"

#include <algorithm>

#include <fmt/format.h>

#include "platform/command_grammar.h"

namespace qnips::test
{

namespace
{

// The type of a view that lines name, or which of the two without a type it is.
std::string kind_of(CommandView view)
{
    switch (view) {
    case CommandView::device:
        return "device";
    case CommandView::vsys:
        return "vsys";
    case CommandView::management:
        return "mgmt-vsys";
    case CommandView::profile:
        return "profile-ips";
    case CommandView::signature_set:
        return "ips-sigset";
    case CommandView::signature:
        return "ips-signature";
    case CommandView::rule:
        return "ips-signature-rule";
    }
    return {};
}

} // namespace

void CommandCoverage::add(const CommandLine& line)
{
    const std::string kind = line.view_type.value_or(line.vsys ? "vsys" : "device");
    lines_.emplace(kind, line.text);
}

std::vector<std::string> CommandCoverage::missed() const
{
    std::vector<std::string> texts;
    for (const Command& command : commands()) {
        const bool sent = std::any_of(lines_.begin(), lines_.end(), [&](const auto& line) {
            return line.first == kind_of(command.view) && command.pattern.match(line.second);
        });
        if (!sent)
            texts.push_back(fmt::format("{}: {}", kind_of(command.view), command.pattern.text()));
    }
    return texts;
}

} // namespace qnips::test
