// What Tab does to a line of the console: how the word before the cursor goes on, from the device's commands and the
// names of what the device has.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/command_pattern.h"
#include "platform/device_tree.h"
#include "platform/device_view.h"

namespace qnips::cli
{

struct Completion {
    std::string insertion;               // goes in at the cursor; empty when there is no telling
    std::vector<std::string> candidates; // for the word before the cursor, sorted; <...> is something to think of

    bool operator==(const Completion&) const = default;
};

// `line` is what stands before the cursor. One that starts with a colon is completed by the console's own words, any
// other by the commands of the view.
Completion complete_line(const DeviceTree& device, const Place& place, std::span<const CommandPattern> console_words,
                         std::string_view line);

} // namespace qnips::cli
