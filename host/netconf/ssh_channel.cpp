#include "netconf/ssh_channel.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>
#include <libssh/callbacks.h>
#include <libssh/libssh.h>
#include <libssh/server.h>

namespace qnips
{

namespace
{

// More than the window that the library gives: the library keeps what comes nevertheless.
constexpr int most_unread = 8 * 1024 * 1024;
constexpr int flush_time = 2000; // milliseconds for the last bytes of a session

struct SessionDeleter {
    void operator()(ssh_session session) const noexcept
    {
        ssh_disconnect(session);
        ssh_free(session);
    }
};
struct BindDeleter {
    void operator()(ssh_bind bind) const noexcept { ssh_bind_free(bind); }
};
struct EventDeleter {
    void operator()(ssh_event event) const noexcept { ssh_event_free(event); }
};

} // namespace

class SshChannel::Implementation
{
public:
    Implementation(FileDescriptor socket, SshLogin login);
    ~Implementation();
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    std::string open(const std::atomic<bool>& aborts, RelayClock::time_point deadline);
    std::optional<std::size_t> read(std::span<char> buffer);
    std::size_t write(std::string_view bytes);
    void wait(bool output, pollfd session, std::chrono::milliseconds time);
    void end_output();
    bool discard_input();

private:
    static Implementation& self(void* data) { return *static_cast<Implementation*>(data); }
    static int ask_password(ssh_session session, const char* user, const char* password, void* data);
    static int ask_key(ssh_session session, const char* user, ssh_key key, char state, void* data);
    static ssh_channel ask_channel(ssh_session session, void* data);
    static int ask_subsystem(ssh_session session, ssh_channel channel, const char* name, void* data);

    int judge(const char* user, bool accepted);
    void exchange_keys(const std::atomic<bool>& aborts, RelayClock::time_point deadline);
    void check(const std::atomic<bool>& aborts, RelayClock::time_point deadline) const;
    [[nodiscard]] bool has_unsent() const { return (ssh_get_poll_flags(session_.get()) & SSH_WRITE_PENDING) != 0; }

    SshLogin login_;
    std::unique_ptr<ssh_session_struct, SessionDeleter> session_{ssh_new()};
    std::unique_ptr<ssh_event_struct, EventDeleter> event_{ssh_event_new()};
    ssh_server_callbacks_struct server_callbacks_{};
    ssh_channel_callbacks_struct channel_callbacks_{};
    ssh_channel channel_ = nullptr; // the session's
    std::string user_;
    unsigned failures_ = 0;
    bool is_open_ = false; // with its subsystem
};

SshChannel::Implementation::Implementation(FileDescriptor socket, SshLogin login) : login_(std::move(login))
{
    const std::unique_ptr<ssh_bind_struct, BindDeleter> bind(ssh_bind_new());
    const bool no_file = false; // the system's settings are for its own server
    if (session_ == nullptr || event_ == nullptr || bind == nullptr ||
        ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &no_file) != SSH_OK ||
        ssh_bind_options_set(bind.get(), SSH_BIND_OPTIONS_HOSTKEY, login_.host_key.c_str()) != SSH_OK ||
        ssh_bind_accept_fd(bind.get(), session_.get(), socket.get()) != SSH_OK)
        throw ClientLost(fmt::format("the SSH library does not take the connection: {}",
                                     bind != nullptr ? ssh_get_error(bind.get()) : "no memory"));
    socket.release(); // the library's now
    ssh_set_blocking(session_.get(), 0);

    server_callbacks_.userdata = this;
    server_callbacks_.auth_password_function = ask_password;
    server_callbacks_.auth_pubkey_function = ask_key;
    server_callbacks_.channel_open_request_session_function = ask_channel;
    ssh_callbacks_init(&server_callbacks_);
    ssh_set_server_callbacks(session_.get(), &server_callbacks_);
    channel_callbacks_.userdata = this;
    channel_callbacks_.channel_subsystem_request_function = ask_subsystem;
    ssh_callbacks_init(&channel_callbacks_);
    ssh_set_auth_methods(session_.get(), SSH_AUTH_METHOD_PUBLICKEY | SSH_AUTH_METHOD_PASSWORD);
}

SshChannel::Implementation::~Implementation()
{
    end_output();
    ssh_event_remove_session(event_.get(), session_.get());
}

// ------------------------------------------------------------------------------------------------------- login --

int SshChannel::Implementation::judge(const char* user, bool accepted)
{
    if (!accepted || failures_ >= login_.attempts) {
        ++failures_;
        return SSH_AUTH_DENIED;
    }
    user_ = user;
    return SSH_AUTH_SUCCESS;
}

int SshChannel::Implementation::ask_password(ssh_session, const char* user, const char* password, void* data)
{
    return self(data).judge(user, self(data).login_.accepts_password(user, password));
}

// It is asked twice: whether the key would do, and with a signature that the library has checked.
int SshChannel::Implementation::ask_key(ssh_session, const char* user, ssh_key key, char state, void* data)
{
    char* text = nullptr;
    if ((state != SSH_PUBLICKEY_STATE_NONE && state != SSH_PUBLICKEY_STATE_VALID) ||
        ssh_pki_export_pubkey_base64(key, &text) != SSH_OK)
        return SSH_AUTH_DENIED;
    const std::string base64(text);
    ssh_string_free_char(text);
    return self(data).judge(user, self(data).login_.accepts_key(user, base64));
}

ssh_channel SshChannel::Implementation::ask_channel(ssh_session session, void* data)
{
    Implementation& own = self(data);
    if (own.channel_ != nullptr) // one session a connection
        return nullptr;
    own.channel_ = ssh_channel_new(session);
    if (own.channel_ != nullptr)
        ssh_set_channel_callbacks(own.channel_, &own.channel_callbacks_);
    return own.channel_;
}

int SshChannel::Implementation::ask_subsystem(ssh_session, ssh_channel, const char* name, void* data)
{
    if (std::string_view(name) != "netconf" || self(data).is_open_)
        return 1;
    self(data).is_open_ = true;
    return 0;
}

void SshChannel::Implementation::check(const std::atomic<bool>& aborts, RelayClock::time_point deadline) const
{
    if (aborts)
        throw ClientLost("others need the place");
    if (failures_ >= login_.attempts)
        throw ClientLost("the client has failed to log in too often");
    if (RelayClock::now() > deadline)
        throw ClientLost("the client has not logged in in time");
    if (ssh_is_connected(session_.get()) == 0)
        throw ClientLost("the client has hung up");
}

void SshChannel::Implementation::exchange_keys(const std::atomic<bool>& aborts, RelayClock::time_point deadline)
{
    int result = SSH_AGAIN;
    while ((result = ssh_handle_key_exchange(session_.get())) == SSH_AGAIN) {
        check(aborts, deadline);
        const int events = POLLIN | (has_unsent() ? POLLOUT : 0);
        pollfd place{ssh_get_fd(session_.get()), static_cast<short>(events), 0};
        poll(&place, 1, static_cast<int>(relay_tick.count()));
    }
    if (result != SSH_OK)
        throw ClientLost(fmt::format("no key exchange: {}", ssh_get_error(session_.get())));
}

std::string SshChannel::Implementation::open(const std::atomic<bool>& aborts, RelayClock::time_point deadline)
{
    exchange_keys(aborts, deadline);
    if (ssh_event_add_session(event_.get(), session_.get()) != SSH_OK)
        throw ClientLost("no memory");
    while (!is_open_) {
        check(aborts, deadline);
        if (ssh_event_dopoll(event_.get(), static_cast<int>(relay_tick.count())) == SSH_ERROR)
            throw ClientLost("the client has hung up");
    }
    return user_;
}

// ------------------------------------------------------------------------------------------------------- bytes --

std::optional<std::size_t> SshChannel::Implementation::read(std::span<char> buffer)
{
    const int count =
        ssh_channel_read_nonblocking(channel_, buffer.data(), static_cast<std::uint32_t>(buffer.size()), 0);
    if (count > 0)
        return static_cast<std::size_t>(count);
    if (count == SSH_ERROR || count == SSH_EOF || ssh_channel_is_eof(channel_) != 0)
        return std::nullopt;
    return 0;
}

std::size_t SshChannel::Implementation::write(std::string_view bytes)
{
    if (ssh_channel_is_closed(channel_) != 0)
        throw ClientLost("the client has closed its channel");
    // What the library has not sent yet it keeps: then the client is not reading.
    const std::size_t size = std::min<std::size_t>(bytes.size(), ssh_channel_window_size(channel_));
    if (size == 0 || has_unsent())
        return 0;
    const int count = ssh_channel_write(channel_, bytes.data(), static_cast<std::uint32_t>(size));
    if (count < 0)
        throw ClientLost(ssh_get_error(session_.get()));
    return static_cast<std::size_t>(count);
}

void SshChannel::Implementation::wait(bool output, pollfd session, std::chrono::milliseconds time)
{
    // The library takes what comes, whether the session has room or not: windows open and channels close.
    const int events = POLLIN | (has_unsent() ? POLLOUT : 0);
    std::array<pollfd, 2> places{{{ssh_get_fd(session_.get()), static_cast<short>(events), 0}, session}};
    poll(places.data(), places.size(), static_cast<int>(time.count()));
    if (ssh_event_dopoll(event_.get(), 0) == SSH_ERROR || ssh_is_connected(session_.get()) == 0)
        throw ClientLost("the client has hung up");
    if (output && ssh_channel_is_closed(channel_) != 0)
        throw ClientLost("the client has closed its channel");
    if (ssh_channel_poll(channel_, 0) > most_unread)
        throw ClientLost("the client sends more than it may");
}

void SshChannel::Implementation::end_output()
{
    if (!is_open_ || ssh_channel_is_closed(channel_) != 0)
        return;
    ssh_channel_request_send_exit_status(channel_, 0);
    ssh_channel_send_eof(channel_);
    ssh_channel_close(channel_);
    ssh_blocking_flush(session_.get(), flush_time);
}

bool SshChannel::Implementation::discard_input()
{
    std::array<char, 65536> buffer{};
    while (read(buffer) > 0) {
    }
    return ssh_is_connected(session_.get()) != 0;
}

SshChannel::SshChannel(FileDescriptor socket, SshLogin login)
    : implementation_(std::make_unique<Implementation>(std::move(socket), std::move(login)))
{
}

SshChannel::~SshChannel() = default;

std::string SshChannel::open(const std::atomic<bool>& aborts, RelayClock::time_point deadline)
{
    return implementation_->open(aborts, deadline);
}

std::optional<std::size_t> SshChannel::read(std::span<char> buffer)
{
    return implementation_->read(buffer);
}

std::size_t SshChannel::write(std::string_view bytes)
{
    return implementation_->write(bytes);
}

void SshChannel::wait(bool, bool output, pollfd session, std::chrono::milliseconds time)
{
    implementation_->wait(output, session, time);
}

void SshChannel::end_output()
{
    implementation_->end_output();
}

bool SshChannel::discard_input()
{
    return implementation_->discard_input();
}

} // namespace qnips
