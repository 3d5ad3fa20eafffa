#include "netconf/netconf_session.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <exception>
#include <system_error>
#include <utility>

#include <libyang/libyang.h>
#include <nc_server.h>

#include "netconf/event_messages.h"
#include "netconf/reply_message.h"
#include "netconf/request_log.h"
#include "netconf/subscription.h"

namespace qnips
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds longest_wait = std::chrono::minutes(1);

const char* text_of(SessionEndReason reason)
{
    switch (reason) {
    case SessionEndReason::closed:
        return "closed";
    case SessionEndReason::killed:
        return "killed";
    case SessionEndReason::timeout:
        return "timeout";
    case SessionEndReason::bad_hello:
        return "bad-hello";
    case SessionEndReason::other:
        return "other";
    case SessionEndReason::dropped:
        break;
    }
    return "dropped";
}

} // namespace

// -------------------------------------------------------------------------------------------------- all of them --

void OpenSessions::add(SessionId id, NetconfSession& session)
{
    const std::lock_guard guard(mutex_);
    sessions_[id] = &session;
}

void OpenSessions::remove(SessionId id)
{
    const std::lock_guard guard(mutex_);
    sessions_.erase(id);
}

bool OpenSessions::kill(const Kill& kill)
{
    const std::lock_guard guard(mutex_);
    const auto found = sessions_.find(kill.victim);
    if (found != sessions_.end())
        found->second->kill(kill.by);
    return found != sessions_.end();
}

void OpenSessions::subscribe(SessionId id, const lyd_node* rpc)
{
    NetconfSession* session = nullptr;
    {
        const std::lock_guard guard(mutex_);
        session = sessions_.at(id);
    }
    session->subscribe(rpc); // on its own thread, so it stays meanwhile
}

void OpenSessions::wake_all()
{
    const std::lock_guard guard(mutex_);
    for (const auto& [id, session] : sessions_)
        session->wake();
}

// ------------------------------------------------------------------------------------------------ begin and end --

// The session as the library knows it.
struct NetconfSession::Library {
    Library() = default;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library()
    {
        if (poll != nullptr && session != nullptr)
            nc_ps_del_session(poll, session);
        nc_ps_free(poll);
        nc_session_free(session, nullptr);
    }

    nc_session* session = nullptr;
    nc_pollsession* poll = nc_ps_new();
};

NetconfSession::NetconfSession(SessionEnvironment& environment, Login login, RefusalQueue& refusals,
                               FileDescriptor socket, std::atomic<SessionStage>& stage)
    : environment_(environment), login_(std::move(login)), refusals_(refusals), socket_(std::move(socket)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), library_(std::make_unique<Library>()), stage_(stage)
{
    if (wake_.get() < 0)
        throw std::system_error(errno, std::generic_category(), "no way to wake a session");
}

NetconfSession::~NetconfSession() = default;

void NetconfSession::run()
{
    const auto carry_out = [this](auto step) {
        try {
            step();
        } catch (const std::exception& error) {
            tell(LogLevel::error, "session-failed", {{"message", error.what()}});
        }
    };
    carry_out([this] {
        if (begin())
            work();
    });
    carry_out([this] { end(); });
    library_.reset();
    socket_.reset(); // what the pipe sees
    nc_thread_destroy();
}

bool NetconfSession::begin()
{
    if (nc_accept_inout(socket_.get(), socket_.get(), login_.user.name.c_str(), &library_->session) != NC_MSG_HELLO)
        return false;
    nc_session_set_data(library_->session, this);
    if (nc_ps_add_session(library_->poll, library_->session) != 0)
        return false;
    requester_ = {nc_session_get_id(library_->session), login_.user, login_.source, [this] { return killed_by_ != 0; }};
    last_request_ = Clock::now();
    is_refused_ = !is_admitted();
    if (is_refused_) {
        tell(LogLevel::warning, "session-refused", {{"reason", "limit"}});
        return true;
    }
    stage_ = SessionStage::open;
    environment_.table.add({.id = requester_.session,
                            .user = login_.user.name,
                            .transport = login_.transport,
                            .host = login_.source,
                            .login = std::time(nullptr)});
    environment_.open.add(requester_.session, *this);
    tell(LogLevel::info, "session-start", {{"transport", login_.transport.substr(login_.transport.find(':') + 1)}});
    publish_session_start(environment_.events, environment_.schema, requester_);
    return true;
}

// The local administrator gets in when others keep all the places.
bool NetconfSession::is_admitted()
{
    constexpr std::size_t reserved = 4;
    const std::size_t places = environment_.max_sessions + (login_.user.is_recovery ? reserved : 0);
    is_counted_ = environment_.admitted.fetch_add(1) < places;
    if (!is_counted_)
        environment_.admitted.fetch_sub(1);
    return is_counted_;
}

// Undoes what begin() has done, as far as that came.
void NetconfSession::end()
{
    if (!is_counted_)
        return;
    stage_ = SessionStage::leaving;
    environment_.open.remove(requester_.session);
    if (queue_) {
        environment_.events.unsubscribe(queue_);
        queue_->close();
    }
    environment_.operations.close_session(requester_.session);
    const SessionEndReason reason = end_reason();
    leave(reason != SessionEndReason::closed && reason != SessionEndReason::killed);
    tell(LogLevel::info, "session-end", {{"reason", text_of(reason)}});
    publish_session_end(environment_.events, environment_.schema, requester_, text_of(reason), killed_by_);
}

// Gives its place to others.
void NetconfSession::leave(bool is_dropped)
{
    if (has_left_.exchange(true))
        return;
    environment_.table.remove(requester_.session, is_dropped);
    environment_.admitted.fetch_sub(1);
}

SessionEndReason NetconfSession::end_reason() const
{
    if (killed_by_ != 0)
        return SessionEndReason::killed;
    if (nc_session_get_term_reason(library_->session) == NC_SESSION_TERM_CLOSED)
        return SessionEndReason::closed;
    if (has_idled_out_)
        return SessionEndReason::timeout;
    return is_broken_ || environment_.stops ? SessionEndReason::other : SessionEndReason::dropped;
}

void NetconfSession::kill(SessionId by)
{
    killed_by_ = by;
    leave(false);                       // what it reads for a client may keep its thread for long
    shutdown(socket_.get(), SHUT_RDWR); // it may be writing
    wake();
}

// The subscriber does not read, and the session's thread may be waiting for it.
void NetconfSession::give_up()
{
    if (is_broken_.exchange(true))
        return;
    tell(LogLevel::warning, "subscriber-too-slow", {});
    shutdown(socket_.get(), SHUT_RDWR);
    wake();
}

void NetconfSession::wake()
{
    constexpr std::uint64_t one = 1;
    // It fails when the session is woken already.
    static_cast<void>(!write(wake_.get(), &one, sizeof one));
}

// ----------------------------------------------------------------------------------------------------- requests --

void NetconfSession::work()
{
    while (killed_by_ == 0 && !is_broken_ && !environment_.stops && wait()) {
        if (!sends_events())
            return;
    }
}

bool NetconfSession::has_idled() const
{
    // A subscriber may be silent (RFC 5277, 2.1.1).
    return environment_.idle_limit.count() != 0 && queue_ == nullptr &&
           Clock::now() - last_request_ >= environment_.idle_limit;
}

// Waits until there is something to do, and carries out a request. False when the session is over.
bool NetconfSession::wait()
{
    Clock::duration time = longest_wait;
    if (environment_.idle_limit.count() != 0 && queue_ == nullptr)
        time = std::min<Clock::duration>(time, last_request_ + environment_.idle_limit - Clock::now());
    if (queue_ && queue_->stop_time())
        time = std::min<Clock::duration>(time, std::chrono::seconds(1));
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(std::max<Clock::duration>(time, {})).count();
    std::array<pollfd, 2> places{{{socket_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}}};
    poll(places.data(), places.size(), static_cast<int>(count));
    if (places[1].revents != 0) {
        std::uint64_t number = 0;
        static_cast<void>(!read(wake_.get(), &number, sizeof number));
    }
    if (places[0].revents != 0)
        return answers_request();
    has_idled_out_ = has_idled();
    return !has_idled_out_;
}

bool NetconfSession::answers_request()
{
    nc_session* session = nullptr;
    const int result = nc_ps_poll(library_->poll, 0, &session);
    if ((result & (NC_PSPOLL_RPC | NC_PSPOLL_BAD_RPC | NC_PSPOLL_REPLY_ERROR)) != 0) {
        if (!is_refused_)
            count(result);
        refusals_.pop();
        last_request_ = Clock::now();
    }
    return (result & (NC_PSPOLL_SESSION_TERM | NC_PSPOLL_ERROR)) == 0 && !is_refused_;
}

void NetconfSession::count(int result)
{
    SessionTable& table = environment_.table;
    const std::vector<ReplyError> refusals = refusals_.front();
    // What the layer of requests finds wrong (RFC 6022, in-bad-rpcs); operations and data are further up.
    const bool is_bad = (result & NC_PSPOLL_BAD_RPC) != 0 || (!refusals.empty() && refusals.front().layer == "rpc");
    table.count(requester_.session, is_bad ? &SessionCounters::in_bad_rpcs : &SessionCounters::in_rpcs);
    if ((result & (NC_PSPOLL_REPLY_ERROR | NC_PSPOLL_BAD_RPC)) != 0)
        table.count(requester_.session, &SessionCounters::out_rpc_errors);
}

nc_server_reply* NetconfSession::answer(lyd_node* rpc, nc_session* session)
{
    try {
        return reply_message(rpc, static_cast<NetconfSession*>(nc_session_get_data(session))->reply_to(rpc));
    } catch (const std::exception&) {
        return nullptr; // the library answers "operation-failed"
    }
}

Reply NetconfSession::reply_to(lyd_node* rpc)
{
    Reply reply;
    reply.errors = refusals_.front();
    if (is_refused_) {
        reply.errors = {{RpcError("resource-denied", {}, "there are as many sessions as this server has")}};
        reply.errors.front().layer = "transport";
    }
    if (!reply.errors.empty() && environment_.log != nullptr)
        log_request(*environment_.log, requester_, nullptr, reply, {});
    return reply.errors.empty() ? environment_.operations.execute(requester_, rpc) : std::move(reply);
}

// ------------------------------------------------------------------------------------------------ notifications --

void NetconfSession::subscribe(const lyd_node* rpc)
{
    if (queue_)
        throw RpcError("operation-failed", {}, "the session has a subscription already");
    subscription_ = read_subscription(environment_.schema, rpc);
    const auto may_receive = [&operations = environment_.operations, requester = requester_](const lyd_node* event) {
        return operations.may_receive(requester, event);
    };
    queue_ = std::make_shared<EventQueue>(
        may_receive, subscription_->stop_time(), [this] { wake(); }, [this] { give_up(); });
    nc_session_inc_notif_status(library_->session);
    environment_.events.subscribe(queue_);
}

// False when the session is over.
bool NetconfSession::sends_events()
{
    while (queue_) {
        const bool is_over = queue_->stop_time() && *queue_->stop_time() <= std::time(nullptr);
        const std::optional<Event> event = queue_->pop();
        // Here, where it keeps nobody else waiting: what a client selects may cost any time.
        if (event && subscription_->selects(event->tree.get()) && !send(*event))
            return false;
        if (event)
            continue;
        if (!is_over)
            return true;
        environment_.events.unsubscribe(queue_);
        queue_->close();
        queue_.reset();
        const bool sent = send(event_now(notification_complete(environment_.schema)));
        nc_session_dec_notif_status(library_->session);
        return sent;
    }
    return true;
}

bool NetconfSession::send(const Event& event)
{
    lyd_node* copy = nullptr;
    if (lyd_dup_single(event.tree.get(), nullptr, LYD_DUP_RECURSIVE, &copy) != LY_SUCCESS)
        return false;
    std::string time = event.time;
    nc_server_notif* message = nc_server_notif_new(copy, time.data(), NC_PARAMTYPE_CONST);
    const bool sent = message != nullptr && nc_server_notif_send(library_->session, message, 0) == NC_MSG_NOTIF;
    nc_server_notif_free(message);
    lyd_free_all(copy);
    if (sent)
        environment_.table.count(requester_.session, &SessionCounters::out_notifications);
    return sent;
}

void NetconfSession::tell(LogLevel level, std::string_view event, LogFields fields)
{
    if (environment_.log == nullptr)
        return;
    LogFields all{{"session", requester_.session}, {"user", login_.user.name}, {"source", login_.source}};
    all.insert(all.end(), fields.begin(), fields.end());
    environment_.log->write(level, event, all);
}

// --------------------------------------------------------------------------------------------------- the library --

void install_callbacks(const YangSchema& schema)
{
    nc_set_global_rpc_clb(NetconfSession::answer);
    // The library's own answer to this request reads memory that is already freed.
    const lysc_node* get_schema = lys_find_path(schema.context(), nullptr, "/ietf-netconf-monitoring:get-schema", 0);
    if (get_schema != nullptr)
        nc_set_rpc_callback(const_cast<lysc_node*>(get_schema), reinterpret_cast<void*>(&NetconfSession::answer));
    nc_verbosity(NC_VERB_ERROR);
    nc_set_print_clb_session([](const nc_session* session, NC_VERB_LEVEL, const char* message) {
        const void* data = session != nullptr ? nc_session_get_data(session) : nullptr;
        if (data != nullptr)
            static_cast<const NetconfSession*>(data)->tell_library_message(message);
    });
}

void NetconfSession::tell_library_message(const char* message) const
{
    if (environment_.log != nullptr)
        environment_.log->write(LogLevel::debug, "netconf-library",
                                {{"session", requester_.session}, {"message", message}});
}

} // namespace qnips
