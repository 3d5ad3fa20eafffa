// What subcommands print of an edit that was carried out, or was not.
#pragma once

#include "cli/command.h"
#include "server/running_datastore.h"

namespace qnips::cli
{

// Lines and totals on standard output; errors, and what has become of the edit, on standard error. With `trace` also
// every callback.
ExitCode print_outcome(const EditOutcome& outcome, bool test_only, bool trace);

} // namespace qnips::cli
