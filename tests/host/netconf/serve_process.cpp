#include "serve_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/argument_vector.h"

namespace qnips::test
{

namespace
{

constexpr int patience = 30000; // milliseconds
constexpr int exec_failed = 127;
constexpr std::string_view end_of_hello = "]]>]]>";

[[noreturn]] void become_server(const ArgumentVector& words, int output, int log)
{
    if (dup2(output, STDOUT_FILENO) >= 0 && dup2(log, STDERR_FILENO) >= 0 &&
        setenv("QN_IPS_MODULE", QN_IPS_MODULE, 1) == 0 &&
        setenv("QN_IPS_YANG_PATH", QN_IPS_YANG_DIR ":" QN_IPS_IETF_YANG_DIR, 1) == 0)
        execv(QN_IPS_PROGRAM, words.data());
    _exit(exec_failed);
}

} // namespace

ServeProcess::ServeProcess(const std::filesystem::path& state, const std::vector<std::string>& arguments)
    : log_(memfd_create("log", MFD_CLOEXEC))
{
    std::vector<std::string> words = {"qn-ips", "serve", "--state", state.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const ArgumentVector vector(std::move(words));

    std::array<int, 2> ends{};
    if (log_ < 0 || pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no log, or no pipe");
    id_ = fork();
    if (id_ == 0)
        become_server(vector, ends[1], log_);
    close(ends[1]);
    output_ = ends[0];
    // It says for every place that it serves there, all at once.
    while (text_.find("serving") == std::string::npos)
        if (!read_output()) {
            const int status = end();
            const std::string said = text_ + log();
            close(output_);
            close(log_);
            throw std::runtime_error(fmt::format("the server has ended with status {}: {}", status, said));
        }
}

ServeProcess::~ServeProcess()
{
    if (id_ > 0)
        stop();
    close(output_);
    close(log_);
}

std::string ServeProcess::log() const
{
    std::string text;
    std::array<char, 65536> part{};
    for (ssize_t count = 0; (count = pread(log_, part.data(), part.size(), static_cast<off_t>(text.size()))) > 0;)
        text.append(part.data(), static_cast<std::size_t>(count));
    return text;
}

std::string ServeProcess::port() const
{
    const std::string before = "127.0.0.1 port ";
    const std::size_t begin = text_.find(before);
    if (begin == std::string::npos)
        throw std::runtime_error(fmt::format("no port in \"{}\"", text_));
    return text_.substr(begin + before.size(), text_.find('\n', begin) - begin - before.size());
}

bool ServeProcess::read_output()
{
    std::array<char, 4096> part{};
    const ssize_t count = read(output_, part.data(), part.size());
    if (count > 0)
        text_.append(part.data(), static_cast<std::size_t>(count));
    return count > 0;
}

void ServeProcess::reload() const
{
    kill(id_, SIGHUP);
}

void ServeProcess::stop()
{
    EXPECT_EQ(end(), 0);
    if (testing::Test::HasFailure())
        std::cerr << log();
}

// The exit status, or 128 and the number of the signal that has ended it.
int ServeProcess::end()
{
    int status = 0;
    kill(id_, SIGTERM);
    waitpid(id_, &status, 0);
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::size_t ServeProcess::peak_memory() const
{
    std::ifstream status(fmt::format("/proc/{}/status", id_));
    const std::string label = "VmHWM:";
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(label))
            return std::stoul(line.substr(label.size())) * 1024;
    throw std::runtime_error("the system does not tell how much memory the server has");
}

RawClient::RawClient(const std::filesystem::path& socket, Greeting greeting)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), is_chunked_(greeting == Greeting::present)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socket.c_str(), sizeof address.sun_path - 1);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error(fmt::format("no connection to {}: {}", socket.string(), strerror(errno)));
    if (greeting != Greeting::none)
        send_bytes(fmt::format("<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities>"
                               "<capability>urn:ietf:params:netconf:base:1.{}</capability></capabilities></hello>"
                               "]]>]]>",
                               is_chunked_ ? 1 : 0));
    hello_ = take_to(end_of_hello);
}

RawClient::~RawClient()
{
    hang_up();
}

void RawClient::hang_up()
{
    if (socket_ >= 0)
        close(std::exchange(socket_, -1));
}

std::string RawClient::session_id() const
{
    const std::string open = "<session-id>";
    const std::size_t begin = hello_.find(open) + open.size();
    return hello_.substr(begin, hello_.find('<', begin) - begin);
}

std::string RawClient::call(const std::string& operation)
{
    send(fmt::format("<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"7\">{}</rpc>", operation));
    std::string reply = receive();
    const std::string open = "<rpc-reply xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"7\">";
    const std::string close = "</rpc-reply>";
    if (!reply.starts_with(open) || !reply.ends_with(close))
        return reply;
    return reply.substr(open.size(), reply.size() - open.size() - close.size());
}

std::string RawClient::answer_to(std::string_view message)
{
    send(message);
    return receive();
}

void RawClient::close_half() const
{
    shutdown(socket_, SHUT_WR);
}

void RawClient::send(std::string_view message, std::size_t chunk) const
{
    if (!is_chunked_)
        return send_bytes(fmt::format("{}{}", message, end_of_hello));
    std::string framed;
    for (; !message.empty(); message.remove_prefix(std::min(chunk, message.size()))) {
        const std::string_view part = message.substr(0, chunk);
        framed += fmt::format("\n#{}\n{}", part.size(), part);
    }
    send_bytes(framed + "\n##\n");
}

void RawClient::send_bytes(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            throw std::runtime_error("the server does not take the message");
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool RawClient::read_more()
{
    pollfd waiting{socket_, POLLIN, 0};
    if (poll(&waiting, 1, patience) == 0)
        throw std::runtime_error("the server does not answer");
    std::array<char, 65536> part{};
    const ssize_t count = read(socket_, part.data(), part.size());
    if (count < 0)
        throw std::runtime_error(fmt::format("the connection has broken: {}", strerror(errno)));
    if (count > 0)
        unread_.append(part.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::string RawClient::take(std::size_t size)
{
    while (unread_.size() < size)
        if (!read_more())
            return {};
    std::string taken = unread_.substr(0, size);
    unread_.erase(0, size);
    return taken;
}

std::string RawClient::take_to(std::string_view end)
{
    std::size_t at = 0;
    while ((at = unread_.find(end)) == std::string::npos)
        if (!read_more())
            return {};
    std::string taken = take(at);
    take(end.size());
    return taken;
}

std::string RawClient::receive()
{
    std::string message;
    if (!is_chunked_)
        return take_to(end_of_hello);
    while (true) {
        if (take(2) != "\n#")
            return {};
        const std::string size = take_to("\n");
        if (size == "#" || size.empty())
            return message;
        message += take(std::stoul(size));
    }
}

} // namespace qnips::test
