#include "netconf/session_pipe.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "netconf/request_check.h"

namespace qnips
{

namespace
{

constexpr std::size_t piece = 65536; // of an answer that waits for the client
// Of the first message. Nobody knows yet what its sender is up to, and many attributes cost much to read.
constexpr std::size_t hello_limit = 65536;

} // namespace

void RefusalQueue::push(std::vector<ReplyError> errors)
{
    const std::lock_guard guard(mutex_);
    requests_.push_back(std::move(errors));
}

std::vector<ReplyError> RefusalQueue::front() const
{
    const std::lock_guard guard(mutex_);
    return requests_.empty() ? std::vector<ReplyError>() : requests_.front();
}

void RefusalQueue::pop()
{
    const std::lock_guard guard(mutex_);
    if (!requests_.empty())
        requests_.pop_front();
}

bool RefusalQueue::empty() const
{
    const std::lock_guard guard(mutex_);
    return requests_.empty();
}

SessionPipe::SessionPipe(const ly_ctx* context, std::size_t message_limit, RefusalQueue& refusals,
                         FileDescriptor socket)
    : context_(context), refusals_(refusals), socket_(std::move(socket)), message_limit_(message_limit),
      reader_(std::min(message_limit, hello_limit))
{
}

void SessionPipe::take(std::string_view bytes)
{
    reader_.add(bytes);
    try {
        while (auto message = reader_.next())
            take(std::move(*message));
    } catch (const FramingError& error) {
        throw SessionBroken(error.what());
    }
}

void SessionPipe::take(Message message)
{
    if (!framing_) {
        framing_ = message.is_too_long ? std::nullopt : framing_after_hello(message.text);
        if (!framing_)
            throw BadHello("what the client has said first is no <hello>");
        to_server_ += framed(hello_for(*framing_), Framing::end_of_message);
        reader_.set_framing(*framing_, message_limit_);
        return;
    }
    auto request = check_request(context_, std::move(message), *framing_);
    if (!request)
        throw SessionBroken("a message is malformed");
    refusals_.push(std::move(request->errors));
    to_server_ += framed(request->text, *framing_);
}

short SessionPipe::events() const
{
    int events = 0;
    if (!to_server_.empty())
        events |= POLLOUT;
    if (!server_ended_ && to_client_.size() < piece)
        events |= POLLIN;
    return static_cast<short>(events);
}

void SessionPipe::exchange()
{
    give();
    // Not before everything is answered: the library throws away what it has not read when this side closes.
    if (input_ended_ && !input_closed_ && to_server_.empty() && refusals_.empty()) {
        input_closed_ = true;
        shutdown(socket_.get(), SHUT_WR);
    }
    fetch();
}

void SessionPipe::give()
{
    while (given_ < to_server_.size()) {
        const ssize_t count =
            send(socket_.get(), to_server_.data() + given_, to_server_.size() - given_, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (count < 0)
            break; // the session has ended, which fetch() sees
        given_ += static_cast<std::size_t>(count);
    }
    given_ = 0;
    // A string that was once long is given back.
    to_server_ = {};
}

void SessionPipe::fetch()
{
    std::array<char, piece> part{};
    while (!server_ended_ && to_client_.size() < piece) {
        const ssize_t count = recv(socket_.get(), part.data(), part.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (count <= 0)
            server_ended_ = true;
        else
            to_client_.append(part.data(), static_cast<std::size_t>(count));
    }
}

} // namespace qnips
