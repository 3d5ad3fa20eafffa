// What an operation answers, without the message around it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/command_platform.h"
#include "server/rpc_error.h"
#include "server/yang_schema.h"

namespace qnips
{

// How default values are reported (RFC 6243, 3).
enum class DefaultsMode { report_explicit, trim, report_all, report_all_tagged };

struct ReplyError {
    enum class Severity { error, warning };

    RpcError error;
    Severity severity = Severity::error;
    std::optional<PlatformError> platform{}; // what the device said, where it is at fault
    // The error-type, where tag and path do not tell it (a literal).
    std::string_view layer{};
    // More of the error-info: names of elements (literals) and their text, such as "bad-attribute".
    std::vector<std::pair<std::string_view, std::string>> info{};
};

// The <data> of a reply: nodes, or a text.
struct ReplyData {
    TreePtr tree;
    DefaultsMode defaults = DefaultsMode::report_explicit;
    std::optional<std::string> text{};
};

// Errors, or data, or neither: then the answer is <ok>.
struct Reply {
    std::vector<ReplyError> errors{};
    std::optional<ReplyData> data{};
    std::int64_t transaction = 0; // of an edit its number in the history, for the log; 0: none
};

} // namespace qnips
