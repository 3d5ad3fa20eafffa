// The view that a command line is executed in, and the node of the configuration that it stands for.
#pragma once

#include <variant>

#include "platform/command_grammar.h"
#include "platform/command_platform.h"
#include "platform/device_tree.h"

namespace qnips
{

struct Place {
    CommandView view;
    DevicePath node;
};

// The place of a line, or NC_ERR_SET_VIEW when the device has no such view.
std::variant<Place, PlatformError> find_place(const DeviceTree& device, const CommandLine& line);

// A line for the place, without its text.
CommandLine line_at(const Place& place);

// The place that encloses the place: a profile's for a signature set, the device for a virtual system and for itself.
Place place_above(const Place& place);

DevicePath vsys_node_path(std::string_view vsys);

// Where a signature's rules are: below its protocol if it has one, else in the associated rule.
DevicePath rule_path(const DeviceTree& device, const DevicePath& signature, std::string_view rule);

// The path with another step at its end.
DevicePath below(DevicePath path, std::string name, std::string key = {});

} // namespace qnips
