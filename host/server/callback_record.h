// What one callback did: the trace that the dry run, the log and the tests are made from.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/command_platform.h"
#include "server/shared_text.h"
#include "transapi/netconf_error.h"

namespace qnips
{

// An error that the module raised for the client, or the server for it when the platform refused a line.
struct ReportedError {
    NC_ERR code = NC_ERR_EMPTY;
    std::string message;

    bool operator==(const ReportedError&) const = default;
};

// Lines that were executed as one unit.
struct CommittedScript {
    std::vector<CommandLine> lines;
    int operation = 0; // API_CMD_OPERATION

    bool operator==(const CommittedScript&) const = default;
};

// Where a line is executed, for a reader: "vsys public, view ips-profile, type webguard".
std::string place_of(const CommandLine& line);

struct CallbackRecord {
    SharedText path;     // instance path of the changed node
    unsigned op = 0;     // XMLDIFF_OP bits that the callback got
    SharedText callback; // name of the entry point
    int priority = 0;
    int result = 0; // what the callback returned: 0 done
    std::chrono::nanoseconds duration{};

    std::vector<CommittedScript> scripts;                // accepted by the platform, empty ones left out
    std::vector<CommandLine> dropped;                    // cached, and then neither committed nor refused
    std::vector<ReportedError> errors;                   // in the order in which they were raised
    std::shared_ptr<const PlatformError> platform_error; // what the platform said when it refused; else null

    // True when an ancestor is being removed and this callback had nothing to add to that.
    bool covered = false;

    // The callback has sent nothing and has nothing to tell.
    [[nodiscard]] bool is_quiet() const { return result == 0 && scripts.empty() && dropped.empty() && errors.empty(); }

    // The callback has done its work and raised an error all the same: a warning for the client.
    [[nodiscard]] bool has_warning() const { return result == 0 && !errors.empty(); }
};

// The error-tag (RFC 6241, appendix A) of an error number. Numbers that the RFC does not know are operation-failed.
std::string_view error_tag(NC_ERR code);

} // namespace qnips
