// One NETCONF session as the library has it, on a thread of its own: reads requests from its end of the pipe, has them
// carried out, and writes answers and notifications. What it writes it writes alone, so that a client who does not read
// keeps nobody but itself waiting.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "netconf/event_stream.h"
#include "netconf/file_descriptor.h"
#include "netconf/operations.h"
#include "netconf/requester.h"
#include "netconf/server_log.h"
#include "netconf/session_pipe.h"
#include "netconf/sessions.h"
#include "server/yang_schema.h"

struct lyd_node;
struct nc_server_reply;
struct nc_session;

namespace qnips
{

class NetconfSession;
class Subscription;

// The sessions that can be killed, by their number. Threads share it.
class OpenSessions
{
public:
    void add(SessionId id, NetconfSession& session);
    void remove(SessionId id);
    // Ends a session and what it is doing. False when there is no such session.
    bool kill(const Kill& kill);
    // Gives a session the subscription that `rpc` asks for, on the session's own thread. Throws RpcError.
    void subscribe(SessionId id, const lyd_node* rpc);
    // The server ends.
    void wake_all();

private:
    std::mutex mutex_;
    std::map<SessionId, NetconfSession*> sessions_;
};

// What all sessions of a server share.
struct SessionEnvironment {
    const YangSchema& schema;
    Operations& operations;
    SessionTable& table;
    EventStream& events;
    ServerLog* log = nullptr;
    std::size_t max_sessions = 0;       // and some more for the local administrator, who can end others
    std::chrono::seconds idle_limit{0}; // 0: none
    OpenSessions open{};
    std::atomic<std::size_t> admitted = 0;
    std::atomic<bool> stops = false;
};

// Who has come, and how.
struct Login {
    AccessUser user;
    std::string transport; // an identity derived from ietf-netconf-monitoring:transport
    std::string source;    // the address; empty for a client of this machine
};

enum class SessionStage {
    newcomer, // who may be anybody, and be silent
    open,
    leaving // its last answers are under way
};

class NetconfSession
{
public:
    // `socket` is the session's end of the pipe, `stage` is kept up to date. Everything has to outlive the session.
    NetconfSession(SessionEnvironment& environment, Login login, RefusalQueue& refusals, FileDescriptor socket,
                   std::atomic<SessionStage>& stage);
    ~NetconfSession();
    NetconfSession(const NetconfSession&) = delete;
    NetconfSession& operator=(const NetconfSession&) = delete;

    // The session from <hello> to end. Nothing is thrown.
    void run();

    // The rest is for other threads.

    void kill(SessionId by);
    // Lets the session look at its queue of events, and whether it is to end.
    void wake();
    // Why the pipe has ended, of a client that has broken the protocol.
    void break_off() { is_broken_ = true; }

    // Of the session's own thread: the subscription that `rpc` asks for. Throws RpcError.
    void subscribe(const lyd_node* rpc);

private:
    struct Library;

    bool begin();
    bool is_admitted();
    void work();
    bool answers_request();
    bool wait();
    void count(int result);
    Reply reply_to(lyd_node* rpc);
    bool sends_events();
    bool send(const Event& event);
    void give_up();
    void end();
    void leave(bool is_dropped);
    [[nodiscard]] SessionEndReason end_reason() const;
    [[nodiscard]] bool has_idled() const;
    void tell(LogLevel level, std::string_view event, LogFields fields);

    static nc_server_reply* answer(lyd_node* rpc, nc_session* session);

    void tell_library_message(const char* message) const;
    friend void install_callbacks(const YangSchema& schema);

    SessionEnvironment& environment_;
    Login login_;
    RefusalQueue& refusals_;
    FileDescriptor socket_;
    FileDescriptor wake_;
    std::unique_ptr<Library> library_;
    Requester requester_;
    std::shared_ptr<EventQueue> queue_; // of a session with a subscription
    std::shared_ptr<const Subscription> subscription_;
    std::chrono::steady_clock::time_point last_request_{};
    bool is_counted_ = false; // among those that were admitted
    bool is_refused_ = false; // there are as many sessions as may be
    bool has_idled_out_ = false;
    std::atomic<SessionStage>& stage_;
    std::atomic<bool> is_broken_ = false;
    std::atomic<bool> has_left_ = false;
    std::atomic<SessionId> killed_by_ = 0;
};

// Lets the library, once it is started, hand requests to the sessions.
void install_callbacks(const YangSchema& schema);

} // namespace qnips
