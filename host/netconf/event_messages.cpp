#include "netconf/event_messages.h"

#include <string>
#include <utility>

#include <libyang/libyang.h>

#include "server/change_set.h"
#include "server/datastores.h"
#include "server/libyang_error.h"

namespace qnips
{

namespace
{

constexpr std::size_t most_nodes = 200; // in one notification

// A notification that grows by one leaf a call.
class Notification
{
public:
    Notification(const YangSchema& schema, const char* module, const char* name)
    {
        const lys_module* found = ly_ctx_get_module_implemented(schema.context(), module);
        lyd_node* node = nullptr;
        if (found == nullptr || lyd_new_inner(nullptr, found, name, 0, &node) != LY_SUCCESS)
            throw RpcError("operation-failed", {}, "the server has no YANG module for its events");
        tree_.reset(node);
    }

    [[nodiscard]] lyd_node* root() const { return tree_.get(); }
    [[nodiscard]] TreePtr release() { return std::move(tree_); }

    static void leaf(lyd_node* parent, const char* name, const std::string& value)
    {
        check(lyd_new_term(parent, nullptr, name, value.c_str(), 0, nullptr), parent, "extend");
    }

private:
    TreePtr tree_;
};

// The leaves of RFC 6470's grouping of the same name.
void add_session(lyd_node* parent, std::string_view user, SessionId session, std::string_view source)
{
    Notification::leaf(parent, "username", std::string(user));
    Notification::leaf(parent, "session-id", std::to_string(session));
    if (!source.empty())
        Notification::leaf(parent, "source-host", std::string(source));
}

template <class Make>
void publish(EventStream& events, const Make& make)
{
    if (!events.has_subscribers())
        return;
    try {
        events.publish(make());
    } catch (const std::exception&) {
        // What has happened has happened.
    }
}

void add_changes(const Change& change, std::vector<ChangedNode>& nodes)
{
    if (nodes.size() > most_nodes || change.node == nullptr)
        return;
    const auto tell = [&](std::string_view operation) { nodes.push_back({data_path(change.node), operation}); };
    if (change.is(XMLDIFF_ADD))
        return tell("create");
    if (change.is(XMLDIFF_REM))
        return tell("delete");
    if (change.is(XMLDIFF_MOD))
        return tell("replace");
    if (change.is(XMLDIFF_SIBLING)) // moved; RFC 6470 has no word for it
        tell("merge");
    for (const Change* child : change.children)
        add_changes(*child, nodes);
}

const char* event_word(ConfirmedCommitEvent::Kind kind)
{
    using Kind = ConfirmedCommitEvent::Kind;
    switch (kind) {
    case Kind::started:
        return "start";
    case Kind::extended:
        return "extend";
    case Kind::confirmed:
        return "complete";
    case Kind::timed_out:
        return "timeout";
    case Kind::cancelled:
        break;
    }
    return "cancel";
}

} // namespace

std::vector<ChangedNode> changed_nodes(const ChangeSet& changes)
{
    std::vector<ChangedNode> nodes;
    for (const Change* root : changes.roots())
        add_changes(*root, nodes);
    if (nodes.size() <= most_nodes)
        return nodes;
    nodes.clear();
    for (const Change* root : changes.roots())
        if (root->node != nullptr)
            nodes.push_back({data_path(root->node), "merge"});
    return nodes;
}

void publish_session_start(EventStream& events, const YangSchema& schema, const Requester& requester)
{
    publish(events, [&] {
        Notification event(schema, "ietf-netconf-notifications", "netconf-session-start");
        add_session(event.root(), requester.user.name, requester.session, requester.source);
        return event.release();
    });
}

void publish_session_end(EventStream& events, const YangSchema& schema, const Requester& requester,
                         std::string_view reason, SessionId killed_by)
{
    publish(events, [&] {
        Notification event(schema, "ietf-netconf-notifications", "netconf-session-end");
        add_session(event.root(), requester.user.name, requester.session, requester.source);
        if (killed_by != 0)
            Notification::leaf(event.root(), "killed-by", std::to_string(killed_by));
        Notification::leaf(event.root(), "termination-reason", std::string(reason));
        return event.release();
    });
}

void publish_config_change(EventStream& events, const YangSchema& schema, const Requester* requester,
                           std::string_view datastore, const std::vector<ChangedNode>& nodes)
{
    publish(events, [&] {
        Notification event(schema, "ietf-netconf-notifications", "netconf-config-change");
        lyd_node* by = nullptr;
        check(lyd_new_inner(event.root(), nullptr, "changed-by", 0, &by), event.root(), "extend");
        if (requester != nullptr)
            add_session(by, requester->user.name, requester->session, requester->source);
        else
            Notification::leaf(by, "server", "");
        Notification::leaf(event.root(), "datastore", std::string(datastore));
        for (const ChangedNode& node : nodes) {
            lyd_node* edit = nullptr;
            check(lyd_new_list(event.root(), nullptr, "edit", 0, &edit), event.root(), "extend");
            Notification::leaf(edit, "target", node.target);
            Notification::leaf(edit, "operation", std::string(node.operation));
        }
        return event.release();
    });
}

void publish_confirmed_commit(EventStream& events, const YangSchema& schema, const ConfirmedCommitEvent& commit)
{
    publish(events, [&] {
        Notification event(schema, "ietf-netconf-notifications", "netconf-confirmed-commit");
        // A commit that has timed out is nobody's request; one that ends with its session is the server's own.
        if (commit.kind != ConfirmedCommitEvent::Kind::timed_out)
            add_session(event.root(), commit.user, commit.session.value_or(0), {});
        Notification::leaf(event.root(), "confirm-event", event_word(commit.kind));
        if (commit.timeout.count() != 0)
            Notification::leaf(event.root(), "timeout", std::to_string(commit.timeout.count()));
        return event.release();
    });
}

TreePtr notification_complete(const YangSchema& schema)
{
    return Notification(schema, "nc-notifications", "notificationComplete").release();
}

} // namespace qnips
