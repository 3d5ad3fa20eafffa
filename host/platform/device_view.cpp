#include "platform/device_view.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

constexpr std::string_view profile_prefix = "profile-ips-";
constexpr std::string_view set_infix = "-sigset-";
constexpr std::string_view signature_prefix = "ips-signature-";
constexpr std::string_view rule_infix = "-rule-";
constexpr std::string_view management_prefix = "vsys-";

constexpr std::string_view profile_type = "profile-ips";
constexpr std::string_view set_type = "ips-sigset";
constexpr std::string_view signature_type = "ips-signature";
constexpr std::string_view rule_type = "ips-signature-rule";
constexpr std::string_view management_type = "mgmt-vsys";

// Where a virtual system and an object of it, a profile or a signature, stand in the path of a place.
constexpr std::size_t vsys_step = 1;
constexpr std::size_t object_step = 3;

DevicePath profile_path(std::string_view vsys, std::string_view profile)
{
    return below(below(vsys_node_path(vsys), "profiles"), "profile", std::string(profile));
}

DevicePath signature_path(std::string_view vsys, std::string_view id)
{
    return below(below(vsys_node_path(vsys), "user-defined-signatures"), "signature", std::string(id));
}

// A profile's name may hold the text that stands between it and the set's, so every place of it is tried.
std::optional<Place> find_set(const DeviceTree& device, std::string_view vsys, std::string_view names)
{
    for (std::size_t at = names.find(set_infix); at != std::string_view::npos; at = names.find(set_infix, at + 1)) {
        const std::string set(names.substr(at + set_infix.size()));
        DevicePath path = below(below(profile_path(vsys, names.substr(0, at)), "signature-sets"), "signature-set", set);
        if (device.find(path) != nullptr)
            return Place{CommandView::signature_set, std::move(path)};
    }
    return std::nullopt;
}

std::optional<Place> find_rule(const DeviceTree& device, std::string_view vsys, std::string_view names)
{
    const std::size_t at = names.find(rule_infix);
    if (at == std::string_view::npos)
        return std::nullopt;
    DevicePath path =
        rule_path(device, signature_path(vsys, names.substr(0, at)), names.substr(at + rule_infix.size()));
    if (device.find(path) == nullptr)
        return std::nullopt;
    return Place{CommandView::rule, std::move(path)};
}

std::optional<Place> existing(const DeviceTree& device, CommandView view, DevicePath path)
{
    if (device.find(path) == nullptr)
        return std::nullopt;
    return Place{view, std::move(path)};
}

// The view without its prefix; nothing when it is another kind of view.
std::optional<std::string_view> without(std::string_view prefix, std::string_view view)
{
    if (!view.starts_with(prefix))
        return std::nullopt;
    return view.substr(prefix.size());
}

// The view of an object of a virtual system; nothing when it does not exist.
std::optional<Place> object_view(const DeviceTree& device, const std::string& vsys, std::string_view type,
                                 std::string_view view)
{
    const bool of_profile = type == profile_type || type == set_type;
    const bool of_signature = type == signature_type || type == rule_type;
    if (!of_profile && !of_signature)
        return std::nullopt;
    const auto names = without(of_profile ? profile_prefix : signature_prefix, view);
    if (!names)
        return std::nullopt;
    if (type == profile_type)
        return existing(device, CommandView::profile, profile_path(vsys, *names));
    if (type == set_type)
        return find_set(device, vsys, *names);
    if (type == signature_type)
        return existing(device, CommandView::signature, signature_path(vsys, *names));
    return find_rule(device, vsys, *names);
}

std::optional<Place> place_of(const DeviceTree& device, const CommandLine& line)
{
    if (!line.view_type) {
        if (line.view != "system")
            return std::nullopt;
        return line.vsys ? Place{CommandView::vsys, vsys_node_path(*line.vsys)} : Place{CommandView::device, {}};
    }
    if (!line.vsys)
        return std::nullopt;
    if (*line.view_type != management_type)
        return object_view(device, *line.vsys, *line.view_type, line.view);
    const auto vsys = without(management_prefix, line.view);
    if (*line.vsys != "public" || !vsys)
        return std::nullopt;
    return Place{CommandView::management, vsys_node_path(*vsys)};
}

CommandLine line_in(std::string vsys, std::string view, std::string_view type)
{
    return {.vsys = std::move(vsys), .view = std::move(view), .view_type = std::string(type), .text = {}};
}

} // namespace

CommandLine line_at(const Place& place)
{
    if (place.view == CommandView::device)
        return {.vsys = {}, .view = "system", .view_type = {}, .text = {}};
    const std::string& vsys = place.node.at(vsys_step).key;
    if (place.view == CommandView::vsys)
        return {.vsys = vsys, .view = "system", .view_type = {}, .text = {}};
    if (place.view == CommandView::management)
        return line_in("public", std::string(management_prefix) + vsys, management_type);

    const bool of_profile = place.view == CommandView::profile || place.view == CommandView::signature_set;
    const std::string object =
        std::string(of_profile ? profile_prefix : signature_prefix) + place.node.at(object_step).key;
    if (place.view == CommandView::profile)
        return line_in(vsys, object, profile_type);
    if (place.view == CommandView::signature)
        return line_in(vsys, object, signature_type);
    return line_in(vsys, object + std::string(of_profile ? set_infix : rule_infix) + place.node.back().key,
                   of_profile ? set_type : rule_type);
}

Place place_above(const Place& place)
{
    const auto up_to = [&](std::size_t step) {
        return DevicePath(place.node.begin(), place.node.begin() + static_cast<std::ptrdiff_t>(step) + 1);
    };
    switch (place.view) {
    case CommandView::signature_set:
        return {CommandView::profile, up_to(object_step)};
    case CommandView::rule:
        return {CommandView::signature, up_to(object_step)};
    case CommandView::profile:
    case CommandView::signature:
        return {CommandView::vsys, up_to(vsys_step)};
    case CommandView::vsys:
    case CommandView::management:
    case CommandView::device:
        break;
    }
    return {CommandView::device, {}};
}

DevicePath below(DevicePath path, std::string name, std::string key)
{
    path.push_back({std::move(name), std::move(key)});
    return path;
}

DevicePath vsys_node_path(std::string_view vsys)
{
    return {{"user-defined-ips", ""}, {"vsys", std::string(vsys)}};
}

DevicePath rule_path(const DeviceTree& device, const DevicePath& signature, std::string_view rule)
{
    const DevicePath information = below(signature, "signature-rule-information");
    const DevicePath protocol = below(information, "protocol-rules");
    const DevicePath rules =
        device.find(protocol) != nullptr ? below(protocol, "rules") : below(information, "associated-rule");
    return below(rules, "signature-rule", std::string(rule));
}

std::variant<Place, PlatformError> find_place(const DeviceTree& device, const CommandLine& line)
{
    if (std::optional<Place> place = place_of(device, line))
        return *std::move(place);
    const std::string vsys = line.vsys ? "virtual system " + *line.vsys : std::string("the device");
    return PlatformError{NC_ERR_SET_VIEW, vsys + " has no view " + line.view, line};
}

} // namespace qnips
