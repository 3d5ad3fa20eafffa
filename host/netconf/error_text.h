// An error as a NETCONF client reads it.
#pragma once

#include <string>

#include "netconf/reply.h"

struct ly_ctx;

namespace qnips
{

// The namespace of what the error-info says of a refusal of the command platform.
inline constexpr const char* platform_error_namespace = "urn:quorin:params:xml:ns:netconf:platform-error:1.0";

// The XML text of an <rpc-error> (RFC 6241, 4.3). The context knows the prefixes of the error-path.
std::string rpc_error_text(const ly_ctx* context, const ReplyError& reply);

} // namespace qnips
