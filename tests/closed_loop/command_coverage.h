// Which commands of the device lines were sent for.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/command_platform.h"

namespace qnips::test
{

class CommandCoverage
{
public:
    void add(const CommandLine& line);

    // The commands that no line was, as they stand in the device's grammar, with their view.
    [[nodiscard]] std::vector<std::string> missed() const;

private:
    std::set<std::pair<std::string, std::string>> lines_; // kind of view, text
};

} // namespace qnips::test
