// The operations of a NETCONF server (RFC 6241, 7 and 8; RFC 6022, 3.1), without the messages and sessions around them.
//
// Running is read from the device through the module, as is the state; what edits do happens in Datastores. Every
// request is held against the rules of access control, which are part of what is read. Threads share the operations,
// of which those that change or read a datastore have their turns one after the other: the module's callbacks never
// meet. This header names no type of the server contract, whose error numbers bear the same names as those of the
// NETCONF library.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "netconf/reply.h"
#include "netconf/requester.h"
#include "netconf/sessions.h"
#include "server/change_set.h"
#include "server/config_tree.h"
#include "server/datastore_locks.h"
#include "server/yang_schema.h"

namespace qnips
{

class AccessControl;
class Datastores;
class ChangeEvents;
class EventStream;
class Filter;
class ServerLog;
struct ChangedNode;
struct EditOutcome;
struct HeldLock;

// YANG modules that a NETCONF server has besides ietf-netconf and the module's own.
const std::vector<std::string>& server_yang_modules();

class Operations
{
public:
    // How the device is asked. Both may throw RpcError.
    struct Reads {
        std::function<ConfigTree()> running;
        std::function<std::string()> state; // XML text of the state's root; empty for none
    };

    // Everything has to outlive the operations.
    Operations(const YangSchema& schema, Datastores& datastores, SessionTable& sessions, AccessControl& access,
               Reads reads);
    ~Operations();
    Operations(const Operations&) = delete;
    Operations& operator=(const Operations&) = delete;

    // Where requests are told from now on.
    void set_log(ServerLog& log) { log_ = &log; }

    // What the <hello> announces.
    void set_capabilities(std::vector<std::string> capabilities) { capabilities_ = std::move(capabilities); }

    // Where events are told from now on, null for nowhere.
    void set_events(EventStream* events);

    // What the server does with its sessions. Nothing is supported that it cannot do.
    struct SessionActions {
        // Gives a session the subscription that its request asks for. May throw RpcError.
        std::function<void(SessionId, const lyd_node*)> subscribe{};
        // Ends a session at once, and what it is doing. False when there is no such session.
        std::function<bool(const Kill&)> kill{};
    };
    void set_actions(SessionActions actions) { actions_ = std::move(actions); }

    // Whether a requester may be told of a notification.
    bool may_receive(const Requester& requester, const lyd_node* notification) const;

    // Carries out the operation whose node is `rpc`. Throws nothing: whatever fails is in the reply.
    Reply execute(const Requester& requester, const lyd_node* rpc);

    // A session has ended: its locks and unconfirmed commits go with it. Throws nothing.
    void close_session(SessionId session);

    // Takes back a confirmed commit whose time is over; to be called several times a second. Throws nothing.
    void tick();

    // No operation begins from now on. Waits until the one in progress is done.
    void stop();

private:
    using Operation = Reply (Operations::*)(const Requester&, const lyd_node*);
    enum class Turn;
    struct Row;

    static const Row* row_of(const lyd_node* rpc);
    Reply carried_out(const Row* row, const Requester& requester, const lyd_node* rpc);
    Reply get(const Requester& requester, const lyd_node* rpc);
    Reply get_config(const Requester& requester, const lyd_node* rpc);
    Reply edit_config(const Requester& requester, const lyd_node* rpc);
    Reply copy_config(const Requester& requester, const lyd_node* rpc);
    Reply delete_config(const Requester& requester, const lyd_node* rpc);
    Reply lock(const Requester& requester, const lyd_node* rpc);
    Reply unlock(const Requester& requester, const lyd_node* rpc);
    Reply validate(const Requester& requester, const lyd_node* rpc);
    Reply commit(const Requester& requester, const lyd_node* rpc);
    Reply cancel_commit(const Requester& requester, const lyd_node* rpc);
    Reply discard_changes(const Requester& requester, const lyd_node* rpc);
    Reply kill_session(const Requester& requester, const lyd_node* rpc);
    Reply get_schema(const Requester& requester, const lyd_node* rpc);
    Reply create_subscription(const Requester& requester, const lyd_node* rpc);

    template <class Read>
    TreePtr in_turn(Read read);
    [[nodiscard]] TreePtr configuration(DatastoreName name) const;
    [[nodiscard]] TreePtr device_state() const;
    [[nodiscard]] TreePtr state(const Filter& filter) const;
    [[nodiscard]] TreePtr reported(const Requester& requester, TreePtr data, const lyd_node* rpc,
                                   const Filter& filter) const;
    [[nodiscard]] EditWatch watch(const Requester& requester, std::vector<ChangedNode>& nodes) const;
    Reply edited(const Requester& requester, DatastoreName target, const EditOutcome& outcome,
                 const std::vector<ChangedNode>& nodes) const;
    [[nodiscard]] std::vector<HeldLock> held_locks() const;

    const YangSchema& schema_;
    Datastores& datastores_;
    SessionTable& sessions_;
    AccessControl& access_;
    Reads reads_;
    ServerLog* log_ = nullptr;
    std::unique_ptr<ChangeEvents> events_; // null: nobody is told
    SessionActions actions_;
    std::mutex mutex_; // held by the one that has its turn
    std::atomic<bool> is_stopped_ = false;
    std::vector<std::string> capabilities_;
    std::array<std::time_t, datastore_count> locked_since_{};
};

} // namespace qnips
