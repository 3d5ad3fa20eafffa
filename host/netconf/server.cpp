#include "netconf/server.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>
#include <nc_server.h>

#include "netconf/reply_message.h"

namespace qnips
{

namespace
{

constexpr int accept_wait = 200; // milliseconds after which a thread looks whether it is to end
constexpr int poll_wait = 100;
constexpr std::chrono::milliseconds pause{20}; // where the library returns at once
constexpr int accept_threads = 4;              // the library's queues are made for six threads in all

constexpr const char* host_key_name = "host-key";

// The library's global state while this object lives.
class Library
{
public:
    explicit Library(ly_ctx* context)
    {
        nc_verbosity(NC_VERB_ERROR);
        nc_set_print_clb_session([](const nc_session*, NC_VERB_LEVEL, const char* message) {
            fmt::print(stderr, "qn-ips: netconf: {}\n", message);
        });
        if (nc_server_init(context) != 0)
            throw std::runtime_error("the NETCONF library cannot be started");
    }
    ~Library() { nc_server_destroy(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

struct PollDeleter {
    void operator()(nc_pollsession* poll) const noexcept { nc_ps_free(poll); }
};

std::string transport_of(const nc_session* session)
{
    return nc_session_get_ti(session) == NC_TI_UNIX ? "quorin-netconf-transport:netconf-unix"
                                                    : "ietf-netconf-monitoring:netconf-ssh";
}

SessionInfo info_of(const nc_session* session)
{
    SessionInfo info;
    info.id = nc_session_get_id(session);
    info.user = nc_session_get_username(session);
    info.transport = transport_of(session);
    if (nc_session_get_ti(session) != NC_TI_UNIX && nc_session_get_host(session) != nullptr)
        info.host = nc_session_get_host(session);
    info.login = std::time(nullptr);
    return info;
}

std::vector<std::string> announced_capabilities(ly_ctx* context)
{
    std::vector<std::string> capabilities;
    const char** texts = nc_server_get_cpblts(context);
    for (std::size_t i = 0; texts != nullptr && texts[i] != nullptr; ++i) {
        capabilities.emplace_back(texts[i]);
        lydict_remove(context, texts[i]);
    }
    std::free(texts);
    return capabilities;
}

std::string source_of(const nc_session* session)
{
    const char* host = nc_session_get_ti(session) == NC_TI_UNIX ? nullptr : nc_session_get_host(session);
    return host != nullptr ? host : "";
}

Requester requester_of(const nc_session* session)
{
    const std::string name = nc_session_get_username(session);
    AccessUser user = nc_session_get_ti(session) == NC_TI_UNIX ? local_user(name) : AccessUser{.name = name};
    return {nc_session_get_id(session), std::move(user), source_of(session)};
}

// Says of a login that it was refused, and by what means it was tried.
int judged(const nc_session* session, const ServerSettings& settings, bool accepted, std::string_view means)
{
    if (!accepted && settings.log != nullptr)
        settings.log->write(
            LogLevel::warning, "login-refused",
            {{"user", nc_session_get_username(session)}, {"source", source_of(session)}, {"by", means}});
    return accepted ? 0 : 1;
}

int accepts_key(const nc_session* session, ssh_key key, void* data)
{
    const auto& settings = *static_cast<const ServerSettings*>(data);
    char* text = nullptr;
    if (settings.users == nullptr || ssh_pki_export_pubkey_base64(key, &text) != SSH_OK)
        return 1;
    const std::string base64(text);
    ssh_string_free_char(text);
    return judged(session, settings, settings.users->present()->has_key(nc_session_get_username(session), base64),
                  "key");
}

int accepts_password(const nc_session* session, const char* password, void* data)
{
    const auto& settings = *static_cast<const ServerSettings*>(data);
    return judged(session, settings,
                  settings.users != nullptr &&
                      settings.users->present()->has_password(nc_session_get_username(session), password),
                  "password");
}

// The library asks for the key at every connection, and frees the path.
int give_host_key(const char*, void* file, char** path, char**, NC_SSH_KEY_TYPE*)
{
    *path = strdup(static_cast<const std::filesystem::path*>(file)->c_str());
    return *path != nullptr ? 0 : 1;
}

} // namespace

class Server::Implementation
{
public:
    Implementation(const YangSchema& schema, Operations& operations, SessionTable& sessions, ServerSettings settings);
    ~Implementation();
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    void run(const std::function<bool()>& stop);

private:
    static nc_server_reply* answer(lyd_node* rpc, nc_session* session);

    void set_capabilities();
    void listen_on_socket(const std::filesystem::path& socket);
    void listen_on_ssh(const SshEndpoint& endpoint, std::size_t number);
    void accept_sessions();
    void admit(nc_session* session);
    void poll_once();
    Requester requester(const nc_session* session);
    void tell(LogLevel level, std::string_view event, const LogFields& fields);
    void count(SessionId session, int result);
    void forget(nc_session* session, bool dropped);
    void end_session(nc_session* session);
    void end_killed_sessions();
    void end_all_sessions();

    const YangSchema& schema_;
    Operations& operations_;
    SessionTable& table_;
    ServerSettings settings_;
    Library library_;
    std::unique_ptr<nc_pollsession, PollDeleter> poll_{nc_ps_new()};
    std::atomic<bool> stops_ = false;
    std::mutex mutex_; // of what follows
    struct Open {
        nc_session* session = nullptr;
        Requester requester;
    };
    std::map<SessionId, Open> open_;
};

// ------------------------------------------------------------------------------------------------------ listen --

Server::Implementation::Implementation(const YangSchema& schema, Operations& operations, SessionTable& sessions,
                                       ServerSettings settings)
    : schema_(schema), operations_(operations), table_(sessions), settings_(std::move(settings)),
      library_(schema.context())
{
    set_capabilities();
    nc_set_global_rpc_clb(answer);
    // The library's own answer to this request reads memory that is already freed.
    const lysc_node* get_schema = lys_find_path(schema.context(), nullptr, "/ietf-netconf-monitoring:get-schema", 0);
    if (get_schema != nullptr)
        nc_set_rpc_callback(const_cast<lysc_node*>(get_schema), reinterpret_cast<void*>(&Implementation::answer));
    if (settings_.unix_socket)
        listen_on_socket(*settings_.unix_socket);
    for (std::size_t i = 0; i < settings_.ssh.size(); ++i)
        listen_on_ssh(settings_.ssh[i], i);
}

Server::Implementation::~Implementation()
{
    end_all_sessions();
    std::error_code ignored;
    if (settings_.unix_socket)
        std::filesystem::remove(*settings_.unix_socket, ignored);
}

void Server::Implementation::set_capabilities()
{
    nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL | NC_WD_ALL_TAG | NC_WD_TRIM | NC_WD_EXPLICIT);
    nc_server_set_hello_timeout(static_cast<std::uint16_t>(settings_.limits.hello_seconds.count()));
    nc_server_set_idle_timeout(static_cast<std::uint16_t>(settings_.limits.idle_seconds.count()));
    operations_.set_capabilities(announced_capabilities(schema_.context()));
}

void Server::Implementation::listen_on_socket(const std::filesystem::path& socket)
{
    constexpr const char* name = "unix";
    // The library removes what is in the way: that may be the socket of an earlier process, and nothing else.
    std::error_code ignored;
    if (std::filesystem::exists(socket, ignored) && !std::filesystem::is_socket(socket, ignored))
        throw std::runtime_error(fmt::format("{} is there and is no socket", socket.string()));
    constexpr auto same_user = static_cast<uid_t>(-1);
    constexpr auto same_group = static_cast<gid_t>(-1);
    if (nc_server_add_endpt(name, NC_TI_UNIX) != 0 ||
        nc_server_endpt_set_perms(name, settings_.socket_mode, same_user, same_group) != 0 ||
        nc_server_endpt_set_address(name, socket.c_str()) != 0)
        throw std::runtime_error(fmt::format("cannot listen on the socket {}", socket.string()));
}

void Server::Implementation::listen_on_ssh(const SshEndpoint& endpoint, std::size_t number)
{
    nc_server_ssh_set_hostkey_clb(give_host_key, &settings_.host_key, nullptr);
    nc_server_ssh_set_pubkey_auth_clb(accepts_key, &settings_, nullptr);
    nc_server_ssh_set_passwd_auth_clb(accepts_password, &settings_, nullptr);
    const std::string name = fmt::format("ssh-{}", number);
    if (nc_server_add_endpt(name.c_str(), NC_TI_LIBSSH) != 0 ||
        nc_server_ssh_endpt_add_hostkey(name.c_str(), host_key_name, -1) != 0 ||
        nc_server_ssh_endpt_set_auth_methods(name.c_str(), NC_SSH_AUTH_PUBLICKEY | NC_SSH_AUTH_PASSWORD) != 0 ||
        nc_server_ssh_endpt_set_auth_attempts(name.c_str(), settings_.limits.login_attempts) != 0 ||
        nc_server_ssh_endpt_set_auth_timeout(name.c_str(),
                                             static_cast<std::uint16_t>(settings_.limits.login_seconds.count())) != 0 ||
        nc_server_endpt_set_address(name.c_str(), endpoint.address.c_str()) != 0 ||
        nc_server_endpt_set_port(name.c_str(), endpoint.port) != 0)
        throw std::runtime_error(fmt::format("cannot listen on {} port {}", endpoint.address, endpoint.port));
}

// ---------------------------------------------------------------------------------------------------- sessions --

void Server::Implementation::accept_sessions()
{
    while (!stops_) {
        nc_session* session = nullptr;
        switch (nc_accept(accept_wait, &session)) {
        case NC_MSG_HELLO:
            admit(session);
            break;
        case NC_MSG_BAD_HELLO:
            table_.count_bad_hello();
            break;
        case NC_MSG_ERROR: // a login that has failed, or a client that went away
            std::this_thread::sleep_for(pause);
            break;
        default:
            break;
        }
    }
    nc_thread_destroy();
}

void Server::Implementation::admit(nc_session* session)
{
    if (stops_ || table_.size() >= settings_.limits.sessions) {
        tell(LogLevel::warning, "session-refused",
             {{"user", nc_session_get_username(session)}, {"source", source_of(session)}, {"reason", "limit"}});
        nc_session_free(session, nullptr);
        return;
    }
    nc_session_set_data(session, this);
    table_.add(info_of(session));
    tell(LogLevel::info, "session-start",
         {{"session", nc_session_get_id(session)},
          {"user", nc_session_get_username(session)},
          {"source", source_of(session)},
          {"transport", nc_session_get_ti(session) == NC_TI_UNIX ? "unix" : "ssh"}});
    {
        const std::lock_guard guard(mutex_);
        open_[nc_session_get_id(session)] = {session, requester_of(session)};
    }
    if (nc_ps_add_session(poll_.get(), session) != 0)
        forget(session, true); // it has not done anything yet
}

// Leaves nothing of a session but what it has changed.
void Server::Implementation::forget(nc_session* session, bool dropped)
{
    const SessionId id = nc_session_get_id(session);
    table_.remove(id, dropped);
    tell(LogLevel::info, "session-end",
         {{"session", id}, {"user", nc_session_get_username(session)}, {"reason", dropped ? "dropped" : "closed"}});
    {
        const std::lock_guard guard(mutex_);
        open_.erase(id);
    }
    nc_session_free(session, nullptr);
}

void Server::Implementation::end_session(nc_session* session)
{
    const NC_SESSION_TERM_REASON reason = nc_session_get_term_reason(session);
    operations_.close_session(nc_session_get_id(session));
    nc_ps_del_session(poll_.get(), session);
    forget(session, reason != NC_SESSION_TERM_CLOSED && reason != NC_SESSION_TERM_KILLED);
}

// The library notices at the next poll that the session is to end.
void Server::Implementation::end_killed_sessions()
{
    for (const Kill& kill : table_.take_kills()) {
        const std::lock_guard guard(mutex_);
        const auto found = open_.find(kill.victim);
        if (found == open_.end())
            continue;
        nc_session_set_term_reason(found->second.session, NC_SESSION_TERM_KILLED);
        nc_session_set_killed_by(found->second.session, kill.by);
        nc_session_set_status(found->second.session, NC_STATUS_INVALID);
    }
}

void Server::Implementation::end_all_sessions()
{
    while (nc_ps_session_count(poll_.get()) != 0)
        end_session(nc_ps_get_session(poll_.get(), 0));
}

// ---------------------------------------------------------------------------------------------------- requests --

nc_server_reply* Server::Implementation::answer(lyd_node* rpc, nc_session* session)
{
    try {
        auto* self = static_cast<Implementation*>(nc_session_get_data(session));
        return reply_message(rpc, self->operations_.execute(self->requester(session), rpc));
    } catch (const std::exception&) {
        return nullptr; // the library answers "operation-failed"
    }
}

Requester Server::Implementation::requester(const nc_session* session)
{
    const std::lock_guard guard(mutex_);
    return open_.at(nc_session_get_id(session)).requester;
}

void Server::Implementation::tell(LogLevel level, std::string_view event, const LogFields& fields)
{
    if (settings_.log != nullptr)
        settings_.log->write(level, event, fields);
}

void Server::Implementation::count(SessionId session, int result)
{
    if ((result & NC_PSPOLL_RPC) != 0)
        table_.count(session, &SessionCounters::in_rpcs);
    if ((result & NC_PSPOLL_BAD_RPC) != 0)
        table_.count(session, &SessionCounters::in_bad_rpcs);
    if ((result & (NC_PSPOLL_REPLY_ERROR | NC_PSPOLL_BAD_RPC)) != 0)
        table_.count(session, &SessionCounters::out_rpc_errors);
}

void Server::Implementation::poll_once()
{
    nc_session* session = nullptr;
    const int result = nc_ps_poll(poll_.get(), poll_wait, &session);
    if ((result & (NC_PSPOLL_NOSESSIONS | NC_PSPOLL_ERROR)) != 0)
        std::this_thread::sleep_for(pause);
    if (session == nullptr)
        return;
    count(nc_session_get_id(session), result);
    if ((result & NC_PSPOLL_SSH_CHANNEL) != 0) {
        nc_session* further = nullptr;
        if (nc_session_accept_ssh_channel(session, &further) == NC_MSG_HELLO)
            admit(further);
    }
    if ((result & NC_PSPOLL_SESSION_TERM) != 0)
        end_session(session);
}

void Server::Implementation::run(const std::function<bool()>& stop)
{
    std::vector<std::jthread> threads;
    if (nc_server_endpt_count() != 0)
        for (int i = 0; i < accept_threads; ++i)
            threads.emplace_back([this] { accept_sessions(); });
    while (!stop()) {
        poll_once();
        end_killed_sessions();
        const auto deadline = operations_.deadline();
        if (deadline && *deadline <= std::chrono::steady_clock::now())
            operations_.tick();
    }
    stops_ = true;
    threads.clear();
    end_all_sessions();
}

Server::Server(const YangSchema& schema, Operations& operations, SessionTable& sessions, ServerSettings settings)
    : implementation_(std::make_unique<Implementation>(schema, operations, sessions, std::move(settings)))
{
}

Server::~Server() = default;

void Server::run(const std::function<bool()>& stop)
{
    implementation_->run(stop);
}

} // namespace qnips
