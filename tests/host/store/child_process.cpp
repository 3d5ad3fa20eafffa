#include "host/store/child_process.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <thread>

namespace qnips
{

namespace
{

constexpr uid_t nobody = 65534;

} // namespace

void Reports::say(const std::string& line) const
{
    const std::string text = line + '\n';
    // A pipe takes so short a text whole or not at all.
    if (write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        _exit(3);
}

ChildProcess::ChildProcess(const std::function<void(const Reports&)>& body)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    id_ = fork();
    if (id_ < 0)
        throw std::runtime_error("no child");
    if (id_ == 0) {
        close(ends[0]);
        const Reports reports(ends[1]);
        try {
            body(reports);
        } catch (const std::exception& error) {
            reports.say("exception: " + std::string(error.what()));
        }
        _exit(0); // nothing of the parent's is to be ended twice
    }
    close(ends[1]);
    descriptor_ = ends[0];
}

ChildProcess::~ChildProcess()
{
    kill();
    close(descriptor_);
}

bool ChildProcess::read_more()
{
    std::array<char, 4096> part{};
    ssize_t size = 0;
    do {
        size = read(descriptor_, part.data(), part.size());
    } while (size < 0 && errno == EINTR);
    if (size <= 0)
        return false;
    unread_.append(part.data(), static_cast<std::size_t>(size));
    return true;
}

std::string ChildProcess::line()
{
    while (unread_.find('\n') == std::string::npos) {
        if (!read_more())
            return {};
    }
    const std::size_t end = unread_.find('\n');
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    return line;
}

void ChildProcess::wait()
{
    if (has_ended_)
        return;
    while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
    }
    has_ended_ = true;
}

void ChildProcess::kill()
{
    if (!has_ended_)
        ::kill(id_, SIGKILL);
    wait();
}

std::string ChildProcess::rest()
{
    while (read_more()) {
    }
    wait();
    return std::move(unread_);
}

std::string in_child(const std::function<void(const Reports&)>& body)
{
    return ChildProcess(body).rest();
}

std::string as_nobody(const std::function<void(const Reports&)>& body)
{
    return in_child([&body](const Reports& reports) {
        become_nobody();
        body(reports);
    });
}

void become_nobody()
{
    if (setresgid(nobody, nobody, nobody) != 0 || setresuid(nobody, nobody, nobody) != 0)
        throw std::runtime_error("cannot become another user");
}

bool may_change_user()
{
    return geteuid() == 0;
}

void limit_files(std::uintmax_t bytes)
{
    rlimit limit{};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || getrlimit(RLIMIT_FSIZE, &limit) != 0)
        throw std::runtime_error("the limit of files cannot be read");
    limit.rlim_cur = std::min<std::uintmax_t>(bytes, limit.rlim_max);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        throw std::runtime_error("the limit of files cannot be set");
}

int number_of_kills()
{
    const char* number = std::getenv("QN_IPS_KILLS");
    return number == nullptr ? 25 : std::stoi(number);
}

void kill_within(ChildProcess& child, std::chrono::microseconds most, std::mt19937& random)
{
    std::uniform_int_distribution<std::int64_t> microseconds(0, most.count());
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
    child.kill();
}

} // namespace qnips
