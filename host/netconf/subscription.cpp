#include "netconf/subscription.h"

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/event_messages.h"
#include "netconf/request_parameters.h"
#include "server/libyang_error.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

constexpr std::string_view only_stream = "NETCONF";

TreePtr copy(const lyd_node* node)
{
    lyd_node* made = nullptr;
    check(lyd_dup_single(node, nullptr, LYD_DUP_RECURSIVE, &made), node, "copy");
    return TreePtr(made);
}

std::optional<std::time_t> read_stop_time(const lyd_node* rpc)
{
    const std::optional<std::string> text = read_leaf(rpc, "stopTime");
    if (!text)
        return std::nullopt;
    std::time_t time = 0;
    const std::string path = fmt::format("{}/stopTime", instance_path(rpc));
    if (ly_time_str2time(text->c_str(), &time, nullptr) != LY_SUCCESS)
        throw RpcError("bad-element", path, "the stop time is none");
    if (time <= std::time(nullptr))
        throw RpcError("bad-element", path, "the stop time is over, and the server keeps no earlier events");
    return time;
}

} // namespace

bool Subscription::selects(const lyd_node* notification) const
{
    try {
        return filter_.selected_of(copy(notification)) != nullptr;
    } catch (const RpcError&) {
        return false;
    }
}

std::shared_ptr<const Subscription> read_subscription(const YangSchema& schema, const lyd_node* rpc)
{
    if (const auto stream = read_leaf(rpc, "stream"); stream && *stream != only_stream)
        throw RpcError("invalid-value", fmt::format("{}/stream", instance_path(rpc)),
                       fmt::format("there is no stream \"{}\"", *stream));
    if (read_leaf(rpc, "startTime"))
        throw RpcError("operation-failed", fmt::format("{}/startTime", instance_path(rpc)),
                       "the server keeps no earlier events");
    auto subscription = std::make_shared<const Subscription>(copy(rpc), read_stop_time(rpc));
    subscription->try_filter(notification_complete(schema));
    return subscription;
}

} // namespace qnips
