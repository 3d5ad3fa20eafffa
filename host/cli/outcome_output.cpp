#include "cli/outcome_output.h"

#include <fmt/format.h>

#include <string>

#include "cli/edit_output.h"

namespace qnips::cli
{

namespace
{

std::size_t lines_of(const PassResult& pass)
{
    std::size_t lines = 0;
    for (const CallbackRecord& record : pass.trace) {
        for (const CommittedScript& script : record.scripts)
            lines += script.lines.size();
    }
    return lines;
}

std::string consequence(const EditOutcome& outcome)
{
    switch (outcome.effect) {
    case EditOutcome::Effect::whole:
        return "the device has all of it";
    case EditOutcome::Effect::part:
        return "a part of it stands, on the device and in the datastore";
    case EditOutcome::Effect::unknown:
        return "and the device could not be brought back; see qn-ips drift";
    case EditOutcome::Effect::none:
        break;
    }
    const std::size_t lines = lines_of(outcome.pass);
    return lines == 0 ? "the device keeps its configuration"
                      : fmt::format("the device has its configuration back ({} taken, then taken back)",
                                    counted(lines, "command line"));
}

} // namespace

ExitCode print_outcome(const EditOutcome& outcome, bool test_only, bool trace)
{
    if (outcome.errors.empty()) {
        print_text({.pass = outcome.pass, .test_only = test_only}, trace);
        return exit_ok;
    }
    print_refusal_text(outcome.errors.front(), consequence(outcome));
    for (std::size_t i = 1; i < outcome.errors.size(); ++i)
        print_error_text(outcome.errors[i]);
    return exit_refused;
}

} // namespace qnips::cli
