#include "end_to_end/program.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "support/argument_vector.h"

namespace qnips::test
{

namespace
{

[[noreturn]] void throw_errno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// A file in memory that a child process writes to.
class Captured
{
public:
    explicit Captured(const char* name) : file_(memfd_create(name, MFD_CLOEXEC))
    {
        if (file_ < 0)
            throw_errno(name);
    }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;
    ~Captured() { close(file_); }

    [[nodiscard]] int file() const { return file_; }

    [[nodiscard]] std::string text() const
    {
        lseek(file_, 0, SEEK_SET);
        std::string text;
        std::array<char, 4096> part{};
        for (ssize_t count = 0; (count = read(file_, part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
        return text;
    }

private:
    int file_;
};

constexpr int exec_failed = 127; // as a shell says it

[[noreturn]] void become_program(const ArgumentVector& words, const char* folder, int output, int errors,
                                 const Preparation& prepare)
{
    if (chdir(folder) != 0 || dup2(output, STDOUT_FILENO) < 0 || dup2(errors, STDERR_FILENO) < 0 ||
        setenv("QN_IPS_MODULE", QN_IPS_MODULE, 1) != 0 ||
        setenv("QN_IPS_YANG_PATH", QN_IPS_YANG_DIR ":" QN_IPS_IETF_YANG_DIR, 1) != 0)
        _exit(exec_failed);
    try {
        if (prepare)
            prepare();
    } catch (const std::exception&) {
        _exit(exec_failed);
    }
    execv(QN_IPS_PROGRAM, words.data());
    _exit(exec_failed);
}

int exit_status(int wait_status)
{
    return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

} // namespace

Outcome run_program(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                    const Preparation& prepare)
{
    std::vector<std::string> words = {"qn-ips"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const ArgumentVector vector(std::move(words));

    const Captured output("stdout");
    const Captured errors("stderr");
    const pid_t child = fork();
    if (child < 0)
        throw_errno("fork");
    if (child == 0)
        become_program(vector, folder.c_str(), output.file(), errors.file(), prepare);

    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            throw_errno("waitpid");
    }
    return {output.text(), errors.text(), exit_status(status)};
}

std::string file_text(const std::filesystem::path& file)
{
    const std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (!stream)
        throw std::runtime_error("cannot read " + file.string());
    if (std::filesystem::file_size(file) != 0)
        text << stream.rdbuf();
    return std::move(text).str();
}

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        const std::size_t next = end == std::string::npos ? text.size() : end + 1;
        lines.push_back(text.substr(start, next - start));
        start = next;
    }
    return lines;
}

} // namespace qnips::test
