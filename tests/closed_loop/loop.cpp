#include "loop.h"

#include <random>

#include <fmt/format.h>

#include "configuration_edit.h"
#include "server/device_restore.h"
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

} // namespace

std::optional<PlatformError> CountedDevice::execute(std::span<const CommandLine> script, int operation)
{
    std::optional<PlatformError> error = device_->execute(script, operation);
    if (!error && !script.empty())
        ++effects_;
    return error;
}

std::optional<PlatformError> CountedDevice::remove_vsys(std::string_view name)
{
    ++effects_;
    return device_->remove_vsys(name);
}

Loop::Outcome Loop::edit(const std::string& default_operation, const std::string& edit_xml, ErrorOption error_option)
{
    const std::size_t effects = device_.effects();
    try {
        EditRequest request = request_of(default_operation, edit_xml);
        request.error_option = error_option;
        const EditOutcome outcome = datastore_.edit(request, {"tester", "edit-config"});
        std::size_t sent = outcome.pass.removed_vsys.size();
        for (const CallbackRecord& record : outcome.pass.trace) {
            sent += record.scripts.size();
            for (const CommittedScript& script : record.scripts)
                for (const CommandLine& line : script.lines)
                    commands_.add(line);
        }
        Outcome result{.accepted = outcome.errors.empty(), .effects = sent, .effect = outcome.effect};
        for (const RpcError& error : outcome.errors)
            result.reason +=
                fmt::format("{}{} {}: {}", result.reason.empty() ? "" : "; ", error.tag(), error.path(), error.what());
        return result;
    } catch (const RpcError& error) {
        return {.accepted = false,
                .reason = fmt::format("{} {}: {}", error.tag(), error.path(), error.what()),
                .effects = device_.effects() - effects};
    }
}

std::string Loop::difference()
{
    const ConfigTree device(parse_device_configuration(world().schema, device_text()));
    std::string text;
    for (const Difference& difference : differences(datastore_.configuration(), device))
        text += fmt::format("  only {}: {}\n", difference.on_device ? "on the device" : "in the datastore",
                            difference.line);
    return text;
}

std::string Loop::completion_fault()
{
    const ConfigTree completed =
        complete(ConfigTree(parse_device_configuration(world().schema, device_text())), datastore_.configuration());
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
    device_.renew();
    std::string text;
    for (const RpcError& error : datastore_.start().errors)
        text += fmt::format("{} {}: {}\n", error.tag(), error.path(), error.what());
    return text;
}

std::string edit_xml_of(const Config& config)
{
    std::mt19937 unused; // NOLINT(cert-msc51-cpp): the plain style leaves nothing to chance
    return xml_of(edit_between({}, config, plain_style, unused));
}

} // namespace qnips::test
