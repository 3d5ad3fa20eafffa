// A program on a terminal of its own, typed at and watched as by a user.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qnips::test
{

class PseudoTerminal
{
public:
    // Runs the built qn-ips with this build's module and YANG folders. Throws std::system_error when it cannot.
    explicit PseudoTerminal(const std::vector<std::string>& arguments);

    // Ends the program if it is still there.
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    void type(const std::string& keys) const;

    // Whether the program prints the text behind what was waited for before. Waits for half a minute at most.
    bool shows(const std::string& text);

    // All that was printed since `shows` was last true.
    [[nodiscard]] const std::string& unread() const { return output_; }

    // All that was printed in front of the text that `shows` has last found, behind the one before.
    [[nodiscard]] const std::string& skipped() const { return skipped_; }

    // Waits for the program to end and gives its exit status; -1 when a signal has ended it, or had to because the
    // program was silent for half a minute.
    int exit_status();

private:
    bool read_more();

    pid_t child_ = -1;
    int terminal_ = -1;
    std::string output_;
    std::string skipped_;
    bool is_silent_ = false;
};

} // namespace qnips::test
