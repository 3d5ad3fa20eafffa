#include "transaction_host.h"

#include <stdexcept>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "server/edit_text.h"
#include "server/touched_nodes.h"
#include "transapi/command_platform.h"
#include "transapi/netconf_error.h"

namespace qnips::test
{

std::optional<PlatformError> PickyDevice::execute(std::span<const CommandLine> script, int operation)
{
    for (const CommandLine& line : script)
        if (refuses(line))
            return PlatformError{NC_ERR_COMMAND_EXECUTE, "the device has failed", line};
    auto error = device_.execute(script, operation);
    if (!error && !script.empty())
        sent.push_back({{script.begin(), script.end()}, {}});
    if (!error && !answers)
        return PlatformError{NC_ERR_OP_FAILED, "the command platform does not answer", std::nullopt};
    return error;
}

std::optional<PlatformError> PickyDevice::remove_vsys(std::string_view name)
{
    if (throws_at_removal)
        throw std::runtime_error("the platform's own trouble");
    if (refuses_removal())
        return PlatformError{NC_ERR_OP_FAILED, "not now", std::nullopt};
    sent.push_back({{}, std::string(name)});
    return device_.remove_vsys(name);
}

void PickyDevice::relent()
{
    refuses = [](const CommandLine&) { return false; };
    refuses_removal = [] { return false; };
    answers = true;
    throws_at_removal = false;
}

EditOutcome TransactionHost::edit(const std::string& xml, ErrorOption option)
{
    return datastore.edit(request_of(xml, option), tester);
}

void TransactionHost::prepare(const std::string& xml)
{
    const EditOutcome outcome = edit(xml);
    ASSERT_TRUE(outcome.errors.empty()) << shown(outcome.errors);
    ASSERT_TRUE(drift().empty());
}

void TransactionHost::by_hand(const CommandLine& line)
{
    const auto refused = device.execute(std::vector{line}, API_CMD_MOD);
    ASSERT_FALSE(refused) << refused->message;
}

CommitRecord TransactionHost::newest() const
{
    const std::vector<CommitRecord> records = store.history(1);
    return records.empty() ? CommitRecord{} : store.commit(records.front().id).value();
}

std::vector<std::string> TransactionHost::drift()
{
    return lines_of(datastore.drift());
}

std::vector<std::string> lines_of(const std::vector<Difference>& drift)
{
    std::vector<std::string> lines;
    for (const Difference& difference : drift)
        lines.push_back((difference.on_device ? "+" : "-") + difference.line);
    return lines;
}

std::string in_vsys(const std::string& content, const std::string& name)
{
    return fmt::format(R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                       R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips>)"
                       "<vsys><name>{}</name>{}</vsys></user-defined-ips></ips-config>",
                       name, content);
}

std::string in_profile(const std::string& content, const std::string& name)
{
    return in_vsys(fmt::format("<profiles><profile><name>{}</name>{}</profile></profiles>", name, content));
}

std::string in_set(const std::string& name, const std::string& content)
{
    return fmt::format("<signature-sets><signature-set><name>{}</name>{}</signature-set></signature-sets>", name,
                       content);
}

EditRequest request_of(const std::string& xml, ErrorOption option)
{
    EditRequest request = parse_edit_request(world().schema, xml);
    request.error_option = option;
    return request;
}

std::string text_of_edit(const ConfigTree& before, const EditRequest& request)
{
    ConfigTree tree = copy_of(before);
    const AppliedEdit edit(tree, request);
    return edit_text(edit.changes());
}

std::string shown(const std::vector<Sent>& sent)
{
    std::string text;
    for (const Sent& one : sent) {
        text += one.vsys.empty() ? std::string() : "removal of virtual system " + one.vsys;
        for (const CommandLine& line : one.script)
            text += fmt::format("{}  ({}) ", line.text, line.view);
        text += '\n';
    }
    return text;
}

std::string shown(const std::vector<RpcError>& errors)
{
    std::string text;
    for (const RpcError& error : errors)
        text += fmt::format("{} {}: {}\n", error.tag(), error.path(), error.what());
    return text;
}

} // namespace qnips::test
