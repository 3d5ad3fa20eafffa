#include "netconf/server.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <list>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libyang/libyang.h>
#include <nc_server.h>

#include "netconf/connection.h"
#include "netconf/event_stream.h"
#include "netconf/listener.h"
#include "netconf/netconf_session.h"

namespace qnips
{

namespace
{

constexpr std::chrono::milliseconds tick{100}; // after which threads look whether they are to end
// For the answers that are under way when the server ends.
constexpr std::chrono::seconds last_answers{3};

// The library's global state while this object lives.
class Library
{
public:
    explicit Library(const YangSchema& schema)
    {
        if (nc_server_init(schema.context()) != 0)
            throw std::runtime_error("the NETCONF library cannot be started");
        install_callbacks(schema);
        xmlInitParser(); // which the first threads to parse would do at the same time
    }
    ~Library() { nc_server_destroy(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

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

// Says that threads are to stop when it goes.
class Stopper
{
public:
    explicit Stopper(std::atomic<bool>& stops) : stops_(stops) {}
    Stopper(const Stopper&) = delete;
    Stopper& operator=(const Stopper&) = delete;
    ~Stopper() { stops_ = true; }

private:
    std::atomic<bool>& stops_;
};

struct Listener {
    FileDescriptor socket;
    Connection::Transport transport;
};

} // namespace

class Server::Implementation
{
public:
    Implementation(const YangSchema& schema, Operations& operations, SessionTable& sessions, ServerSettings settings);
    ~Implementation();
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    bool run(const std::function<bool()>& stop);
    [[nodiscard]] const std::vector<SshEndpoint>& ssh_endpoints() const { return settings_.ssh; }

private:
    void set_capabilities();
    void accept_clients();
    void accept_client_of(const Listener& listener);
    void make_room();
    void forget_ended();
    bool has_ended_by(RelayClock::time_point deadline, bool with_newcomers);
    bool end_all();

    ServerSettings settings_;
    EventStream events_;
    SessionEnvironment environment_;
    Library library_;
    std::vector<Listener> listeners_;
    SocketPath socket_path_;            // goes before its socket
    std::mutex mutex_;                  // of the connections
    std::list<Connection> connections_; // the latest first
};

Server::Implementation::Implementation(const YangSchema& schema, Operations& operations, SessionTable& sessions,
                                       ServerSettings settings)
    : settings_(std::move(settings)), environment_{.schema = schema,
                                                   .operations = operations,
                                                   .table = sessions,
                                                   .events = events_,
                                                   .log = settings_.log,
                                                   .max_sessions = settings_.limits.sessions,
                                                   .idle_limit = settings_.limits.idle_seconds},
      library_(schema)
{
    set_capabilities();
    operations.set_events(&events_);
    operations.set_actions(
        {.subscribe = [this](SessionId session, const lyd_node* rpc) { environment_.open.subscribe(session, rpc); },
         .kill = [this](const Kill& kill) { return environment_.open.kill(kill); }});
    if (settings_.unix_socket) {
        UnixListener listener = listen_on_socket(*settings_.unix_socket, settings_.socket_mode);
        listeners_.push_back({std::move(listener.socket), Connection::Transport::unix_socket});
        socket_path_ = std::move(listener.path);
    }
    for (SshEndpoint& endpoint : settings_.ssh) {
        listeners_.push_back({listen_on_port(endpoint.address, endpoint.port), Connection::Transport::ssh});
        endpoint.port = port_of(listeners_.back().socket);
    }
}

Server::Implementation::~Implementation()
{
    end_all();
    environment_.operations.set_events(nullptr);
    environment_.operations.set_actions({});
}

void Server::Implementation::set_capabilities()
{
    // The pipe ends a client that says no <hello>; the library may not be sooner.
    nc_server_set_hello_timeout(std::numeric_limits<std::uint16_t>::max());
    nc_server_set_capab_withdefaults(NC_WD_EXPLICIT, NC_WD_ALL | NC_WD_ALL_TAG | NC_WD_TRIM | NC_WD_EXPLICIT);
    for (const char* capability :
         {"urn:ietf:params:netconf:capability:notification:1.0", "urn:ietf:params:netconf:capability:interleave:1.0"})
        nc_server_set_capability(capability);
    environment_.operations.set_capabilities(announced_capabilities(environment_.schema.context()));
}

// ------------------------------------------------------------------------------------------------------ clients --

void Server::Implementation::accept_clients()
{
    std::vector<pollfd> places;
    for (const Listener& listener : listeners_)
        places.push_back({listener.socket.get(), POLLIN, 0});
    while (!environment_.stops) {
        poll(places.data(), places.size(), static_cast<int>(tick.count()));
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i].revents == 0)
                continue;
            accept_client_of(listeners_[i]);
        }
    }
}

void Server::Implementation::accept_client_of(const Listener& listener)
{
    try {
        const std::lock_guard guard(mutex_);
        make_room();
        Accepted client = accept_client(listener.socket);
        if (client.socket.get() >= 0)
            connections_.emplace_front(environment_, settings_, listener.transport, std::move(client));
        else if (errno == EMFILE || errno == ENFILE)
            std::this_thread::sleep_for(tick);
    } catch (const std::exception& error) { // no memory, no more threads
        if (settings_.log != nullptr)
            settings_.log->write(LogLevel::error, "client-refused", {{"reason", error.what()}});
        std::this_thread::sleep_for(tick);
    }
}

// Newcomers that have waited longest go, so that silent ones keep nobody out.
void Server::Implementation::make_room()
{
    const std::size_t most = std::max(fewest_newcomers, settings_.limits.sessions);
    std::size_t newcomers = 0;
    for (Connection& connection : connections_)
        if (connection.stage() != SessionStage::open && !connection.has_ended() && ++newcomers >= most)
            connection.abort();
}

void Server::Implementation::forget_ended()
{
    const std::lock_guard guard(mutex_);
    connections_.remove_if([](const Connection& connection) { return connection.has_ended(); });
}

bool Server::Implementation::has_ended_by(RelayClock::time_point deadline, bool with_newcomers)
{
    const auto is_waited_for = [with_newcomers](const Connection& connection) {
        return !connection.has_ended() && (with_newcomers || connection.stage() != SessionStage::newcomer);
    };
    while (std::ranges::any_of(connections_, is_waited_for) && RelayClock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return std::ranges::none_of(connections_, is_waited_for);
}

// False when there are clients whose messages cannot be done with.
bool Server::Implementation::end_all()
{
    environment_.stops = true;
    environment_.operations.stop();
    environment_.open.wake_all();
    has_ended_by(RelayClock::now() + last_answers, false);
    for (Connection& connection : connections_)
        connection.abort();
    if (!has_ended_by(RelayClock::now() + last_answers, true))
        return false;
    connections_.clear();
    return true;
}

bool Server::Implementation::run(const std::function<bool()>& stop)
{
    {
        const std::jthread accepting([this] { accept_clients(); });
        const Stopper stopper(environment_.stops); // the thread ends by it, whatever happens here
        while (!stop()) {
            std::this_thread::sleep_for(tick);
            forget_ended();
            environment_.operations.tick();
        }
    }
    return end_all();
}

Server::Server(const YangSchema& schema, Operations& operations, SessionTable& sessions, ServerSettings settings)
    : implementation_(std::make_unique<Implementation>(schema, operations, sessions, std::move(settings)))
{
}

Server::~Server() = default;

const std::vector<SshEndpoint>& Server::ssh_endpoints() const
{
    return implementation_->ssh_endpoints();
}

bool Server::run(const std::function<bool()>& stop)
{
    return implementation_->run(stop);
}

} // namespace qnips
