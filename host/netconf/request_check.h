// What the NETCONF library does not look at in a message, looked at before it gets the message.
//
// The library answers every request that it cannot parse with "operation-failed", drops attributes that belong to no
// namespace, and does not miss a message-id. A client has a right to be told (RFC 6241, 3, 4.1 and appendix A), and an
// "operation" attribute that is dropped turns a delete into a merge.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "netconf/message_framing.h"
#include "netconf/reply.h"

struct ly_ctx;

namespace qnips
{

// The framing after a client's <hello>; nullopt for one with which no session can begin (RFC 6241, 8.1).
std::optional<Framing> framing_after_hello(const std::string& hello);
// A <hello> that says no more than that.
std::string_view hello_for(Framing framing);

struct CheckedRequest {
    // What goes on to the library: the message (see default_tags.h for what is translated), or where it is refused a
    // request in its place that has the same attributes, so that the reply has them as well.
    std::string text;
    // Why it is refused; empty when it is not.
    std::vector<ReplyError> errors;
};

// A request of a session with this framing; nullopt when the session has to end, because NETCONF 1.0 knows no answer to
// a malformed message.
std::optional<CheckedRequest> check_request(const ly_ctx* context, Message message, Framing framing);

} // namespace qnips
