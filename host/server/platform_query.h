// The questions that a module puts to the command platform: its configuration, its state, a profile's first signature
// set.
#pragma once

#include <optional>

#include "platform/command_platform.h"
#include "transapi/command_platform.h"

namespace qnips
{

// Asks the platform and stores its reply, which the caller releases with SOS_Free. "Nothing" as an answer is a reply
// without payload. `extra` is the payload record of the module's own query. An error says why there is no reply.
std::optional<PlatformError> answer_query(CommandPlatform& platform, const msg_dp_zell_head_t& header,
                                          const void* extra, msg_to_dp_t*& reply);

} // namespace qnips
