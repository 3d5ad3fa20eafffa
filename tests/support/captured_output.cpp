// Redirects file descriptor 1 into memory for as long as a piece of code runs.
#include "support/captured_output.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace qnips::test
{

namespace
{

class Redirection
{
public:
    Redirection() : memory_(memfd_create("output", 0))
    {
        std::fflush(stdout);
        saved_ = dup(STDOUT_FILENO);
        if (memory_ < 0 || saved_ < 0 || dup2(memory_, STDOUT_FILENO) < 0)
            throw std::system_error(errno, std::generic_category(), "standard output");
    }

    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

    ~Redirection()
    {
        restore();
        close(memory_);
    }

    // Ends the redirection and returns what went there.
    std::string text()
    {
        restore();
        lseek(memory_, 0, SEEK_SET);
        std::string text;
        std::array<char, 4096> part{};
        for (ssize_t count = 0; (count = read(memory_, part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
        return text;
    }

private:
    void restore()
    {
        if (saved_ < 0)
            return;
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
        saved_ = -1;
    }

    int memory_;
    int saved_ = -1;
};

} // namespace

std::string captured_output(const std::function<void()>& body)
{
    Redirection redirection;
    body();
    return redirection.text();
}

} // namespace qnips::test
