#include "end_to_end/pseudo_terminal.h"

#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include "support/argument_vector.h"

namespace qnips::test
{

namespace
{

constexpr int patience_ms = 30'000;
constexpr int exec_failed = 127; // as a shell says it

[[noreturn]] void become_program(const ArgumentVector& words)
{
    if (setenv("QN_IPS_MODULE", QN_IPS_MODULE, 1) == 0 &&
        setenv("QN_IPS_YANG_PATH", QN_IPS_YANG_DIR ":" QN_IPS_IETF_YANG_DIR, 1) == 0 &&
        setenv("LC_ALL", "C.UTF-8", 1) == 0 && setenv("TERM", "vt100", 1) == 0)
        execv(QN_IPS_PROGRAM, words.data());
    _exit(exec_failed);
}

} // namespace

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words = {"qn-ips"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const ArgumentVector vector(std::move(words));

    winsize size{};
    size.ws_row = 50;
    size.ws_col = 200; // no line of a test is folded
    child_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (child_ < 0)
        throw std::system_error(errno, std::generic_category(), "forkpty");
    if (child_ == 0)
        become_program(vector);
}

PseudoTerminal::~PseudoTerminal()
{
    if (child_ > 0) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    close(terminal_);
}

void PseudoTerminal::type(const std::string& keys) const
{
    if (write(terminal_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        throw std::system_error(errno, std::generic_category(), "typing");
}

bool PseudoTerminal::shows(const std::string& text)
{
    for (std::size_t at = 0; (at = output_.find(text)) == std::string::npos;) {
        if (!read_more())
            return false;
    }
    const std::size_t found = output_.find(text);
    skipped_ = output_.substr(0, found);
    output_.erase(0, found + text.size());
    return true;
}

int PseudoTerminal::exit_status()
{
    while (read_more()) {
    }
    if (is_silent_)
        kill(child_, SIGKILL); // it does not want to end
    int status = 0;
    if (waitpid(child_, &status, 0) != child_)
        return -1;
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// False at the end of the output, which the terminal reports as an error once the program is gone, or in vain.
bool PseudoTerminal::read_more()
{
    pollfd wanted{.fd = terminal_, .events = POLLIN, .revents = 0};
    is_silent_ = poll(&wanted, 1, patience_ms) != 1;
    if (is_silent_)
        return false;
    std::array<char, 4096> part{};
    const ssize_t count = read(terminal_, part.data(), part.size());
    if (count <= 0)
        return false;
    output_.append(part.data(), static_cast<std::size_t>(count));
    return true;
}

} // namespace qnips::test
