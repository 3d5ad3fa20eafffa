#include "host/platform/random_script.h"

#include <array>
#include <cstddef>
#include <optional>
#include <sstream>
#include <string_view>

namespace qnips
{

namespace
{

// '%' is a name, '#' a number.
struct LinePattern {
    const char* view;
    const char* type; // null: none, and the device itself if the view is "device"
    const char* text;
};

constexpr std::array patterns = {
    LinePattern{"system", nullptr, "profile type ips name \"%\""},
    LinePattern{"system", nullptr, "profile type ips name \"%\""},
    LinePattern{"system", nullptr, "undo profile type ips name \"%\""},
    LinePattern{"system", nullptr, "ips signature-id #"},
    LinePattern{"system", nullptr, "ips signature-id #"},
    LinePattern{"system", nullptr, "undo ips signature-id #"},
    LinePattern{"system", nullptr, "cnc domain-filter exception domain-name %.example"},
    LinePattern{"profile-ips-%", "profile-ips", "description % and ; %"},
    LinePattern{"profile-ips-%", "profile-ips", "undo description"},
    LinePattern{"profile-ips-%", "profile-ips", "signature-set name \"%\""},
    LinePattern{"profile-ips-%", "profile-ips", "signature-set name \"%\""},
    LinePattern{"profile-ips-%", "profile-ips", "undo signature-set name \"%\""},
    LinePattern{"profile-ips-%", "profile-ips", "signature-set move \"%\" after %"},
    LinePattern{"profile-ips-%", "profile-ips", "signature-set move \"%\" before %"},
    LinePattern{"profile-ips-%", "profile-ips", "exception ips-signature-id # action block timeout #"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "severity high"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "undo severity high"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "application %"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "application all"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "category Worm"},
    LinePattern{"profile-ips-%-sigset-%", "ips-sigset", "category Heap-Overflow"},
    LinePattern{"ips-signature-#", "ips-signature", "protocol HTTP"},
    LinePattern{"ips-signature-#", "ips-signature", "undo protocol"},
    LinePattern{"ips-signature-#", "ips-signature", "rule name \"%\""},
    LinePattern{"device", nullptr, "ips signature-state signature-id 204# disable"},
    LinePattern{"device", nullptr, "ips log merge enable"},
    LinePattern{"device", nullptr, "undo ips log merge enable"},
};

} // namespace

SignatureCatalogue catalogue_for_scripts()
{
    std::istringstream text("category | Overflow | Stack-Overflow, Heap-Overflow\n"
                            "category | Worm | -\n");
    return SignatureCatalogue(text);
}

std::vector<CommandLine> RandomScripts::script()
{
    std::vector<CommandLine> lines(static_cast<std::size_t>(number(1, 6)));
    for (CommandLine& each : lines)
        each = line();
    return lines;
}

std::string RandomScripts::vsys()
{
    return number(0, 1) == 0 ? "branch" : "head office";
}

CommandLine RandomScripts::line()
{
    const LinePattern& pattern =
        patterns.at(static_cast<std::size_t>(number(0, static_cast<int>(patterns.size()) - 1)));
    const std::string view = filled(pattern.view);
    if (view == "device")
        return {.vsys = {}, .view = "system", .view_type = {}, .text = filled(pattern.text)};
    return {.vsys = vsys(),
            .view = view,
            .view_type = pattern.type == nullptr ? std::nullopt : std::optional<std::string>(pattern.type),
            .text = filled(pattern.text)};
}

std::string RandomScripts::filled(std::string_view pattern)
{
    std::string text;
    for (const char c : pattern) {
        if (c == '%')
            text += static_cast<char>(number('a', 'd'));
        else if (c == '#')
            text += static_cast<char>(number('1', '4'));
        else
            text += c;
    }
    return text;
}

} // namespace qnips
