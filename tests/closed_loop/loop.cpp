#include "loop.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

#include <fmt/format.h>

#include "configuration_edit.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"
#include "server/unsent_nodes.h"

namespace qnips::test
{

namespace
{

EditRequest request_of(const std::string& default_operation, const std::string& edit_xml)
{
    return parse_edit_request(world().schema,
                              fmt::format(R"(<edit-config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)"
                                          "<target><running/></target><default-operation>{}</default-operation>"
                                          "<config>{}</config></edit-config>",
                                          default_operation, edit_xml));
}

std::string lines_only_in(const std::vector<std::string>& these, const std::vector<std::string>& others,
                          const char* whose)
{
    std::vector<std::string> only;
    std::set_difference(these.begin(), these.end(), others.begin(), others.end(), std::back_inserter(only));
    std::string text;
    for (const std::string& line : only)
        text += fmt::format("  only {}: {}\n", whose, line);
    return text;
}

} // namespace

const World& world()
{
    static const World all;
    return all;
}

std::optional<PlatformError> CountedDevice::execute(std::span<const CommandLine> script, int operation)
{
    std::optional<PlatformError> error = device_.execute(script, operation);
    if (!error && !script.empty())
        ++effects_;
    return error;
}

void CountedDevice::remove_vsys(std::string_view name)
{
    ++effects_;
    device_.remove_vsys(name);
}

Loop::Loop() : engine_(world().schema, world().table), device_(std::make_unique<CountedDevice>()) {}

Loop::Outcome Loop::edit(const std::string& default_operation, const std::string& edit_xml)
{
    const std::size_t effects = device_->effects();
    try {
        const PassResult pass = engine_.edit(request_of(default_operation, edit_xml), *device_, AfterEdit::keep);
        for (const CallbackRecord& record : pass.trace)
            for (const CommittedScript& script : record.scripts)
                for (const CommandLine& line : script.lines)
                    commands_.add(line);
        return {.accepted = true, .reason = {}, .effects = device_->effects() - effects};
    } catch (const RpcError& error) {
        return {.accepted = false,
                .reason = fmt::format("{} {}: {}", error.tag(), error.path(), error.what()),
                .effects = device_->effects() - effects};
    }
}

std::string Loop::difference()
{
    const ConfigTree device(parse_device_configuration(world().schema, device_text()));
    const std::vector<std::string> ours = normal_form(engine_.running());
    const std::vector<std::string> its = normal_form(device);
    return lines_only_in(ours, its, "in the datastore") + lines_only_in(its, ours, "on the device");
}

std::string Loop::completion_fault()
{
    const ConfigTree completed =
        complete(ConfigTree(parse_device_configuration(world().schema, device_text())), engine_.running());
    if (canonical(config_of(completed.first())) != canonical(running()))
        return "  a read of the device, completed, is not what the datastore has\n";
    try {
        validate_tree(world().schema, completed);
    } catch (const RpcError& error) {
        return fmt::format("  a read of the device, completed, is not valid: {} {}\n", error.path(), error.what());
    }
    return {};
}

std::string Loop::replace_device()
{
    device_ = std::make_unique<CountedDevice>();
    EditEngine fresh(world().schema, world().table);
    const std::string xml = edit_xml_of(running());
    if (xml.empty())
        return {};
    try {
        fresh.edit(request_of("merge", xml), *device_, AfterEdit::keep);
        return {};
    } catch (const RpcError& error) {
        return fmt::format("{} {}: {}", error.tag(), error.path(), error.what());
    }
}

std::string edit_xml_of(const Config& config)
{
    std::mt19937 unused; // NOLINT(cert-msc51-cpp): the plain style leaves nothing to chance
    return xml_of(edit_between({}, config, plain_style, unused));
}

} // namespace qnips::test
