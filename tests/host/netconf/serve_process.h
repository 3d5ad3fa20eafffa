// A running `qn-ips serve`, and a client that writes its messages to the socket byte by byte as the test wants.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qnips::test
{

// Whether the program's memory is its own: a sanitizer keeps what is freed for a while.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool memory_tells = false;
#elif defined(__has_feature)
inline constexpr bool memory_tells = !__has_feature(address_sanitizer);
#else
inline constexpr bool memory_tells = true;
#endif

class ServeProcess
{
public:
    // Starts the program with a state folder and more arguments, and waits until it serves. Throws std::runtime_error
    // with what it has said when it ends before that.
    ServeProcess(const std::filesystem::path& state, const std::vector<std::string>& arguments);
    // Ends it as stop() does.
    ~ServeProcess();
    ServeProcess(const ServeProcess&) = delete;
    ServeProcess& operator=(const ServeProcess&) = delete;

    // Where it listens for SSH, when it has got "--ssh 127.0.0.1:0".
    [[nodiscard]] std::string port() const;

    // The most memory that it has had, in bytes.
    [[nodiscard]] std::size_t peak_memory() const;

    // Asks it to read again what it reads anew while it runs.
    void reload() const;

    // Asks it to end, and waits: it is to end with 0, and where anything has failed its log is shown.
    void stop();

private:
    bool read_output();
    int end();
    [[nodiscard]] std::string log() const;

    pid_t id_ = -1;
    int output_ = -1;
    int log_ = -1; // what it writes to its standard error, a sanitizer's report among it
    std::string text_;
};

class RawClient
{
public:
    // How it begins: with a <hello> of NETCONF 1.1, after which messages are chunked (RFC 6242, 4.2), with one of
    // NETCONF 1.0, after which they end with a mark (4.3), or not at all.
    enum class Greeting { present, old, none };

    // Connects and reads the server's <hello>. Throws std::runtime_error.
    explicit RawClient(const std::filesystem::path& socket, Greeting greeting = Greeting::present);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    [[nodiscard]] const std::string& hello() const { return hello_; }
    [[nodiscard]] std::string session_id() const;

    // The reply to an operation, what stands in <rpc-reply>; "" when the server has closed the session.
    std::string call(const std::string& operation);
    // Sends a message, of NETCONF 1.1 in chunks of this size.
    void send(std::string_view message, std::size_t chunk = 65536) const;
    void send_bytes(std::string_view bytes) const;
    // The next message; "" when the server has closed the session. Throws std::runtime_error after half a minute, and
    // when the connection was reset.
    std::string receive();
    // What the server answers to a whole message.
    std::string answer_to(std::string_view message);
    // Ends the session without saying so.
    void hang_up();
    // Sends no more, and can still receive.
    void close_half() const;

private:
    bool read_more();
    std::string take(std::size_t size);
    std::string take_to(std::string_view end);

    int socket_ = -1;
    bool is_chunked_ = false;
    std::string unread_;
    std::string hello_;
};

} // namespace qnips::test
