#include "netconf_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <regex>
#include <stdexcept>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"
#include "server/module_reads.h"
#include "server/unsent_nodes.h"

namespace qnips::test
{

namespace
{

struct InputDeleter {
    void operator()(ly_in* input) const noexcept { ly_in_free(input, 0); }
};

std::uint32_t print_option(DefaultsMode mode)
{
    switch (mode) {
    case DefaultsMode::trim:
        return LYD_PRINT_WD_TRIM;
    case DefaultsMode::report_all:
        return LYD_PRINT_WD_ALL;
    case DefaultsMode::report_all_tagged:
        return LYD_PRINT_WD_ALL_TAG;
    case DefaultsMode::report_explicit:
        break;
    }
    return LYD_PRINT_WD_EXPLICIT;
}

std::string text_of(const ReplyError& error)
{
    const char* severity = error.severity == ReplyError::Severity::warning ? "warning " : "";
    return fmt::format("{}{} {}: {}\n", severity, error.error.tag(), error.error.path(), error.error.what());
}

std::string text_of(const Reply& reply)
{
    std::string text;
    for (const ReplyError& error : reply.errors)
        text += text_of(error);
    if (!text.empty())
        return text;
    if (!reply.data)
        return "ok";
    return reply.data->text ? *reply.data->text : compact(reply.data->tree.get(), reply.data->defaults);
}

} // namespace

const NetconfWorld& netconf_world()
{
    static const NetconfWorld all;
    return all;
}

ParsedRpc::ParsedRpc(const std::string& operation)
{
    ly_ctx* context = netconf_world().schema.context();
    const std::string text =
        fmt::format(R"(<rpc xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" message-id="1">{}</rpc>)", operation);
    ly_in* raw = nullptr;
    ly_in_new_memory(text.c_str(), &raw);
    const std::unique_ptr<ly_in, InputDeleter> input(raw);
    lyd_node* envelope = nullptr;
    lyd_node* rpc = nullptr;
    const LY_ERR result = lyd_parse_op(context, nullptr, raw, LYD_XML, LYD_TYPE_RPC_NETCONF, &envelope, &rpc);
    envelope_.reset(envelope);
    rpc_.reset(rpc);
    if (result != LY_SUCCESS)
        throw std::runtime_error(fmt::format("{}: {}", operation, last_message(context).text));
}

std::string compact(const lyd_node* tree, DefaultsMode mode)
{
    char* text = nullptr;
    const std::uint32_t options = LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK | print_option(mode);
    if (tree == nullptr || lyd_print_mem(&text, tree, LYD_XML, options) != LY_SUCCESS || text == nullptr)
        return {};
    const std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
    return std::regex_replace(text, std::regex(R"re( xmlns(:[\w-]+)?="[^"]*")re"), "");
}

NetconfServer::NetconfServer()
    : operations_(netconf_world().schema, datastores_, sessions_, access_,
                  {[this] {
                       const std::string text = read_configuration(netconf_world().module, channel_);
                       return complete(ConfigTree(parse_device_configuration(netconf_world().schema, text)),
                                       running_.configuration());
                   },
                   [this] { return read_state(netconf_world().module, channel_); }})
{
    running_.start();
    operations_.set_actions({.kill = [this](const Kill& kill) {
        const std::vector<SessionInfo> all = sessions_.list();
        if (std::ranges::none_of(all, [&](const SessionInfo& session) { return session.id == kill.victim; }))
            return false;
        kills_.push_back(kill);
        return true;
    }});
    for (const SessionId id : {1U, 2U})
        sessions_.add({.id = id,
                       .user = fmt::format("user{}", id),
                       .transport = "ietf-netconf-monitoring:netconf-ssh",
                       .host = {},
                       .login = 0});
}

Reply NetconfServer::reply_to(const std::string& operation, SessionId session)
{
    return reply_to({session, {.name = fmt::format("user{}", session)}}, operation);
}

Reply NetconfServer::reply_to(const Requester& requester, const std::string& operation)
{
    const ParsedRpc rpc(operation);
    return operations_.execute(requester, rpc.node());
}

std::string NetconfServer::call(const std::string& operation, SessionId session)
{
    return text_of(reply_to(operation, session));
}

std::string NetconfServer::call_as(const AccessUser& user, const std::string& operation)
{
    return text_of(reply_to({1, user}, operation));
}

void NetconfServer::wait(std::chrono::seconds time)
{
    time_ += time;
    operations_.tick();
}

} // namespace qnips::test
