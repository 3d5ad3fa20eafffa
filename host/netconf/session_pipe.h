// What stands between a client and its session in the NETCONF library: the library gets whole messages that were looked
// at, and never more than one limit allows; the client gets what the library writes, and makes nobody wait but itself.
//
// The library's end is one of a pair of sockets. When the client does not read, the pipe does not either, so that only
// the session's own thread waits; a pipe holds one message of a client and a piece of an answer.
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "netconf/file_descriptor.h"
#include "netconf/message_framing.h"
#include "netconf/reply.h"

struct ly_ctx;

namespace qnips
{

// What the pipe has found wrong with the requests that the session has not answered yet, in their order; nothing for
// most of them. Shared by the threads of the pipe and of the session.
class RefusalQueue
{
public:
    void push(std::vector<ReplyError> errors);
    // Of the request that is being answered.
    [[nodiscard]] std::vector<ReplyError> front() const;
    // It is answered.
    void pop();
    [[nodiscard]] bool empty() const;

private:
    mutable std::mutex mutex_;
    std::deque<std::vector<ReplyError>> requests_;
};

// A client with which the session cannot go on.
class SessionBroken : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
// One that has never begun.
class BadHello : public SessionBroken
{
public:
    using SessionBroken::SessionBroken;
};

class SessionPipe
{
public:
    // `socket` is the pipe's own end of the pair. Everything has to outlive the pipe.
    SessionPipe(const ly_ctx* context, std::size_t message_limit, RefusalQueue& refusals, FileDescriptor socket);

    // Whether there is room for bytes of the client.
    [[nodiscard]] bool wants_input() const { return to_server_.empty() && !input_ended_ && !server_ended_; }
    // Throws SessionBroken.
    void take(std::string_view bytes);
    // The client sends no more. What it has sent is answered.
    void end_input() { input_ended_ = true; }
    [[nodiscard]] bool input_ended() const { return input_ended_; }

    // For the client.
    [[nodiscard]] std::string_view output() const { return to_client_; }
    void sent(std::size_t size) { to_client_.erase(0, size); }

    // Whether the client has said a <hello>.
    [[nodiscard]] bool is_greeted() const { return framing_.has_value(); }
    // The session has ended.
    [[nodiscard]] bool is_ending() const { return server_ended_; }
    // The same, and everything is sent.
    [[nodiscard]] bool has_ended() const { return server_ended_ && to_client_.empty(); }

    // What to wait for at the session's side, as for poll(2), and at which descriptor: -1 for nothing.
    [[nodiscard]] short events() const;
    [[nodiscard]] int descriptor() const { return events() != 0 ? socket_.get() : -1; }
    // Gives the session what it takes and takes what it gives, without waiting.
    void exchange();
    // Ends the session from this side.
    void close() { socket_.reset(); }

private:
    void take(Message message);
    void give();
    void fetch();

    const ly_ctx* context_;
    RefusalQueue& refusals_;
    FileDescriptor socket_;
    std::size_t message_limit_;
    MessageReader reader_;
    std::optional<Framing> framing_; // of what follows the client's <hello>
    std::string to_server_;
    std::size_t given_ = 0; // of it
    std::string to_client_;
    bool input_ended_ = false;
    bool input_closed_ = false;
    bool server_ended_ = false;
};

} // namespace qnips
