#include "server/callback_record.h"

#include <fmt/format.h>

namespace qnips
{

std::string place_of(const CommandLine& line)
{
    std::string text = line.vsys ? fmt::format("vsys {}, ", *line.vsys) : std::string();
    text += fmt::format("view {}", line.view);
    if (line.view_type)
        text += fmt::format(", type {}", *line.view_type);
    return text;
}

std::string_view error_tag(NC_ERR code)
{
    switch (code) {
    case NC_ERR_IN_USE:
        return "in-use";
    case NC_ERR_INVALID_VALUE:
        return "invalid-value";
    case NC_ERR_TOO_BIG:
        return "too-big";
    case NC_ERR_MISSING_ATTR:
        return "missing-attribute";
    case NC_ERR_BAD_ATTR:
        return "bad-attribute";
    case NC_ERR_UNKNOWN_ATTR:
        return "unknown-attribute";
    case NC_ERR_MISSING_ELEM:
        return "missing-element";
    case NC_ERR_BAD_ELEM:
        return "bad-element";
    case NC_ERR_UNKNOWN_ELEM:
        return "unknown-element";
    case NC_ERR_UNKNOWN_NS:
        return "unknown-namespace";
    case NC_ERR_ACCESS_DENIED:
        return "access-denied";
    case NC_ERR_LOCK_DENIED:
        return "lock-denied";
    case NC_ERR_RES_DENIED:
        return "resource-denied";
    case NC_ERR_ROLLBACK_FAILED:
        return "rollback-failed";
    case NC_ERR_DATA_EXISTS:
        return "data-exists";
    case NC_ERR_DATA_MISSING:
        return "data-missing";
    case NC_ERR_OP_NOT_SUPPORTED:
        return "operation-not-supported";
    case NC_ERR_MALFORMED_MSG:
        return "malformed-message";
    case NC_ERR_EMPTY:
    case NC_ERR_OP_FAILED:
    case NC_ERR_BACKUP_DEVICE:
    case NC_ERR_SYSTEM_BUSY:
    case NC_ERR_PARSE_COMMAND:
    case NC_ERR_SET_VIEW:
    case NC_ERR_COMMAND_EXECUTE:
        break;
    }
    return "operation-failed";
}

} // namespace qnips
