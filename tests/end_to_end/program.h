// Runs the built qn-ips as a user would and keeps what it says.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace qnips::test
{

struct Outcome {
    std::string output; // standard output
    std::string errors; // standard error
    int status = -1;    // exit status, or 128 and the number of the signal that has ended the program

    friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
    {
        return stream << "status " << outcome.status << "\n--- stdout\n"
                      << outcome.output << "--- stderr\n"
                      << outcome.errors << "---";
    }
};

// Runs in the process that becomes the program: narrows its rights, limits its files.
using Preparation = std::function<void()>;

// Runs the program in `folder`, with this build's module and YANG folders in its environment. Throws std::system_error
// when it cannot be started; its status is 127 when the preparation throws.
Outcome run_program(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                    const Preparation& prepare = {});

// Throws std::runtime_error when the file cannot be read.
std::string file_text(const std::filesystem::path& file);

// Line ends belong to the lines, so that a missing one at the end of the text counts.
std::vector<std::string> lines_of(const std::string& text);

} // namespace qnips::test
