// Children of a test: a part of it that runs in a process of its own, which may be killed, starved or another user's.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <random>
#include <string>

namespace qnips
{

// What a child says to its parent, a line at a time.
class Reports
{
public:
    explicit Reports(int descriptor) : descriptor_(descriptor) {}
    void say(const std::string& line) const;

private:
    int descriptor_;
};

class ChildProcess
{
public:
    // Runs `body` in a child, which ends with it. An exception is its last line: "exception: ...".
    explicit ChildProcess(const std::function<void(const Reports&)>& body);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    // Waits for the child's next line. Empty when it has ended.
    std::string line();

    // Ends it at once, in whatever it is doing.
    void kill();

    // All lines that have not been read, when it has ended by itself or been killed.
    std::string rest();

    [[nodiscard]] pid_t id() const { return id_; }

private:
    bool read_more();
    void wait();

    pid_t id_ = 0;
    int descriptor_ = -1;
    std::string unread_;
    bool has_ended_ = false;
};

// What the child says until it ends.
std::string in_child(const std::function<void(const Reports&)>& body);

// The same as a user who owns nothing. Only root can do that: see may_change_user.
std::string as_nobody(const std::function<void(const Reports&)>& body);
void become_nobody();
bool may_change_user();

// No file of this process may grow beyond this size. To a program that is as a disk that is full, with another number.
void limit_files(std::uintmax_t bytes);
inline constexpr std::uintmax_t any_size = ~std::uintmax_t{0};

// How often the tests kill: a number from the environment (QN_IPS_KILLS), or 25.
int number_of_kills();

// Lets the child work for a random time of up to `most`, and kills it.
void kill_within(ChildProcess& child, std::chrono::microseconds most, std::mt19937& random);

} // namespace qnips
