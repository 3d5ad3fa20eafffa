// What a client has subscribed to by <create-subscription> (RFC 5277, 2.1.1).
#pragma once

#include <ctime>
#include <memory>
#include <optional>

#include "netconf/filters.h"
#include "server/yang_schema.h"

namespace qnips
{

class Subscription
{
public:
    // `rpc` is the request, which is kept.
    Subscription(TreePtr rpc, std::optional<std::time_t> stop_time)
        : rpc_(std::move(rpc)), filter_(rpc_.get()), stop_time_(stop_time)
    {
    }

    [[nodiscard]] std::optional<std::time_t> stop_time() const { return stop_time_; }
    // Whether the filter lets a notification through. Nothing is thrown: an expression that fails selects nothing.
    [[nodiscard]] bool selects(const lyd_node* notification) const;
    // Throws RpcError for a filter that cannot be evaluated, as on this notification.
    void try_filter(TreePtr notification) const { static_cast<void>(filter_.selected_of(std::move(notification))); }

private:
    TreePtr rpc_;
    Filter filter_;
    std::optional<std::time_t> stop_time_;
};

// Throws RpcError for a stream that there is not, for a replay, which the server does not have, for a stop time that is
// over, and for a filter that is none.
std::shared_ptr<const Subscription> read_subscription(const YangSchema& schema, const lyd_node* rpc);

} // namespace qnips
