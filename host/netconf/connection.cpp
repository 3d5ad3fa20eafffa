#include "netconf/connection.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <exception>
#include <future>
#include <system_error>
#include <utility>

#include "netconf/session_pipe.h"
#include "netconf/ssh_channel.h"
#include "netconf/unix_channel.h"

namespace qnips
{

namespace
{

// Ends the pipe, and with it the session, whatever else happens.
class SessionThread
{
public:
    SessionThread(NetconfSession& session, SessionPipe& pipe)
        : pipe_(pipe), thread_([this, &session] {
              session.run();
              has_ended_.set_value();
          })
    {
    }
    ~SessionThread() { pipe_.close(); }
    SessionThread(const SessionThread&) = delete;
    SessionThread& operator=(const SessionThread&) = delete;

    // Whether the session ends in this time, now that the pipe does.
    bool ends_within(std::chrono::seconds time)
    {
        pipe_.close();
        return has_ended_.get_future().wait_for(time) == std::future_status::ready;
    }

private:
    SessionPipe& pipe_;
    std::promise<void> has_ended_;
    std::jthread thread_; // the last to come and the first to go
};

} // namespace

Connection::Connection(SessionEnvironment& environment, const ServerSettings& settings, Transport transport,
                       Accepted client)
    : environment_(environment), settings_(settings),
      hello_deadline_(RelayClock::now() + settings.limits.hello_seconds),
      thread_([this, transport, accepted = std::move(client)]() mutable { run(transport, std::move(accepted)); })
{
}

Connection::~Connection() = default;

void Connection::run(Transport transport, Accepted client)
{
    const std::string source = client.source;
    try {
        if (transport == Transport::ssh)
            serve_ssh(std::move(client));
        else
            serve_local(std::move(client));
    } catch (const BadHello& error) {
        environment_.table.count_bad_hello();
        tell("client-refused", source, error.what());
    } catch (const std::exception& error) {
        tell("client-lost", source, error.what());
    }
    has_ended_ = true;
}

void Connection::tell(std::string_view event, const std::string& source, const std::string& reason) const
{
    if (environment_.log != nullptr)
        environment_.log->write(LogLevel::info, event, {{"source", source}, {"reason", reason}});
}

void Connection::serve_local(Accepted client)
{
    UnixChannel channel(std::move(client.socket));
    serve(channel, {local_user(channel.user()), "quorin-netconf-transport:netconf-unix", {}});
}

void Connection::serve_ssh(Accepted client)
{
    // Says of a login that it was refused, and by what means it was tried.
    const auto judged = [this, source = client.source](bool accepted, const std::string& user, std::string_view means) {
        if (!accepted && environment_.log != nullptr)
            environment_.log->write(LogLevel::warning, "login-refused",
                                    {{"user", user}, {"source", source}, {"by", means}});
        return accepted;
    };
    const LoginUsers* users = settings_.users;
    const auto accepts_key = [judged, users](const std::string& user, const std::string& key) {
        return judged(users != nullptr && users->present()->has_key(user, key), user, "key");
    };
    const auto accepts_password = [judged, users](const std::string& user, const std::string& password) {
        return judged(users != nullptr && users->present()->has_password(user, password), user, "password");
    };
    SshChannel channel(std::move(client.socket),
                       {settings_.host_key, accepts_key, accepts_password, settings_.limits.login_attempts});
    const std::string user = channel.open(aborts_, RelayClock::now() + settings_.limits.login_seconds);
    hello_deadline_ = RelayClock::now() + settings_.limits.hello_seconds;
    serve(channel, {AccessUser{.name = user}, "ietf-netconf-monitoring:netconf-ssh", client.source});
}

template <class Channel>
void Connection::serve(Channel& channel, Login login)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "no sockets for a session");
    FileDescriptor own(ends[0]);
    FileDescriptor theirs(ends[1]);
    RefusalQueue refusals;
    NetconfSession session(environment_, std::move(login), refusals, std::move(theirs), stage_);
    SessionPipe pipe(environment_.schema.context(), settings_.limits.message_bytes, refusals, std::move(own));
    std::exception_ptr broken;
    {
        SessionThread thread(session, pipe);
        try {
            relay(channel, pipe, aborts_, hello_deadline_);
        } catch (const SessionBroken&) {
            session.break_off();
            broken = std::current_exception();
        }
        // A client that was killed is not kept until what it has asked for is evaluated.
        if (!thread.ends_within(parting_limit))
            part(channel, aborts_);
    }
    part(channel, aborts_);
    if (broken)
        std::rethrow_exception(broken);
}

} // namespace qnips
