#include "netconf/operations.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/change_events.h"
#include "netconf/filters.h"
#include "netconf/monitoring.h"
#include "netconf/outcome_reply.h"
#include "netconf/request_access.h"
#include "netconf/request_log.h"
#include "netconf/request_parameters.h"
#include "server/datastores.h"
#include "server/edit_request.h"
#include "server/libyang_error.h"
#include "server/touched_nodes.h"

namespace qnips
{

namespace
{

constexpr std::string_view netconf_module = "ietf-netconf";
constexpr std::string_view monitoring_module = "ietf-netconf-monitoring";
constexpr const char* access_module = "ietf-netconf-acm";

Reply with_data(TreePtr tree, DefaultsMode defaults)
{
    Reply reply;
    reply.data = ReplyData{std::move(tree), defaults};
    return reply;
}

void append(TreePtr& trees, TreePtr more)
{
    lyd_node* next = nullptr;
    for (lyd_node* node = more.release(); node != nullptr; node = next) {
        next = node->next;
        lyd_node* first = trees.release();
        const LY_ERR result = lyd_insert_sibling(first, node, &first);
        trees.reset(first);
        check(result, node, "add");
    }
}

// With the nodes that hold because nothing else was set.
TreePtr with_implicit(const lys_module* module, TreePtr data)
{
    lyd_node* first = data.release();
    const LY_ERR result = lyd_new_implicit_module(&first, module, LYD_IMPLICIT_NO_STATE, nullptr);
    data.reset(first);
    check(result, first, "complete");
    return data;
}

} // namespace

const std::vector<std::string>& server_yang_modules()
{
    static const std::vector<std::string> modules = {
        "ietf-netconf-acm", "ietf-netconf-monitoring", "ietf-netconf-notifications", "ietf-netconf-with-defaults",
        "nc-notifications", "notifications",           "quorin-netconf-transport"};
    return modules;
}

Operations::Operations(const YangSchema& schema, Datastores& datastores, SessionTable& sessions, AccessControl& access,
                       Reads reads)
    : schema_(schema), datastores_(datastores), sessions_(sessions), access_(access), reads_(std::move(reads))
{
    datastores_.observe([this](const ConfirmedCommitEvent& event) {
        if (events_)
            events_->tell(event);
        if (log_ != nullptr)
            log_confirmed_commit(*log_, event);
    });
}

Operations::~Operations() = default;

// Whether an operation waits until the one in progress is done, or looks after that itself.
enum class Operations::Turn { awaited, own };

struct Operations::Row {
    std::string_view module;
    std::string_view name;
    Operation operation;
    Turn turn = Turn::awaited;
};

const Operations::Row* Operations::row_of(const lyd_node* rpc)
{
    static constexpr Row rows[] = {
        {netconf_module, "get", &Operations::get, Turn::own},
        {netconf_module, "get-config", &Operations::get_config, Turn::own},
        {netconf_module, "edit-config", &Operations::edit_config},
        {netconf_module, "copy-config", &Operations::copy_config},
        {netconf_module, "delete-config", &Operations::delete_config},
        {netconf_module, "lock", &Operations::lock},
        {netconf_module, "unlock", &Operations::unlock},
        {netconf_module, "validate", &Operations::validate},
        {netconf_module, "commit", &Operations::commit},
        {netconf_module, "cancel-commit", &Operations::cancel_commit},
        {netconf_module, "discard-changes", &Operations::discard_changes},
        {netconf_module, "kill-session", &Operations::kill_session, Turn::own},
        {monitoring_module, "get-schema", &Operations::get_schema},
        {"notifications", "create-subscription", &Operations::create_subscription, Turn::own},
    };
    for (const Row& row : rows)
        if (row.module == rpc->schema->module->name && row.name == rpc->schema->name)
            return &row;
    return nullptr;
}

Reply Operations::execute(const Requester& requester, const lyd_node* rpc)
{
    const Row* row = row_of(rpc);
    std::unique_lock turn(mutex_, std::defer_lock);
    if (row == nullptr || row->turn == Turn::awaited)
        turn.lock();
    if (turn.owns_lock())
        datastores_.trace_all(log_ != nullptr && log_->keeps(LogLevel::trace)); // which can change between requests
    const auto start = std::chrono::steady_clock::now();
    Reply reply = carried_out(row, requester, rpc);
    if (log_ != nullptr)
        log_request(*log_, requester, rpc, reply, std::chrono::steady_clock::now() - start);
    return reply;
}

Reply Operations::carried_out(const Row* row, const Requester& requester, const lyd_node* rpc)
{
    Reply reply;
    try {
        // It may have waited for what ends it.
        if (is_stopped_ || (requester.is_killed && requester.is_killed()))
            throw RpcError("operation-failed", {}, "the session ends");
        require_execution(access_, requester.user, rpc);
        if (row == nullptr)
            throw RpcError("operation-not-supported", {}, fmt::format("there is no operation <{}>", node_name(rpc)));
        return (this->*row->operation)(requester, rpc);
    } catch (const RpcError& error) {
        reply.errors.push_back({error});
        for (const RpcError& other : error.others())
            reply.errors.push_back({other});
    } catch (const std::exception& error) {
        reply.errors.push_back({RpcError("operation-failed", {}, error.what())});
    }
    return reply;
}

void Operations::close_session(SessionId session)
{
    const std::lock_guard turn(mutex_);
    datastores_.close_session(session);
}

void Operations::tick()
{
    const std::lock_guard turn(mutex_);
    datastores_.tick();
}

void Operations::stop()
{
    const std::lock_guard turn(mutex_);
    is_stopped_ = true;
}

// ------------------------------------------------------------------------------------------------------- reads --

// What is read is selected from after that, out of turn: what a client selects may cost any time.
template <class Read>
TreePtr Operations::in_turn(Read read)
{
    const std::lock_guard turn(mutex_);
    return read();
}

TreePtr Operations::configuration(DatastoreName name) const
{
    switch (name) {
    case DatastoreName::running:
        return reads_.running().release();
    case DatastoreName::candidate:
        // As long as nobody has changed the candidate it is running, and running is what the device has.
        return datastores_.candidate_is_modified() ? copy_of(datastores_.candidate()).release()
                                                   : reads_.running().release();
    case DatastoreName::startup:
        break;
    }
    return datastores_.startup().release();
}

TreePtr Operations::device_state() const
{
    const std::string text = reads_.state();
    lyd_node* tree = nullptr;
    const LY_ERR result = text.empty() ? LY_SUCCESS
                                       : lyd_parse_data_mem(schema_.context(), text.c_str(), LYD_XML,
                                                            LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &tree);
    TreePtr owned(tree);
    if (result != LY_SUCCESS) {
        const LibyangMessage message = last_message(schema_.context());
        throw RpcError("operation-failed", message.path,
                       fmt::format("the device's state does not fit the schema: {}", message.text));
    }
    return owned;
}

TreePtr Operations::state(const Filter& filter) const
{
    TreePtr trees;
    if (filter.may_select(schema_.module()->ns, "ips-state"))
        append(trees, device_state());
    if (filter.may_select("urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring", "netconf-state"))
        append(trees, monitoring_state(schema_, capabilities_, held_locks(), sessions_));
    if (filter.may_select("urn:ietf:params:xml:ns:netmod:notification", "netconf"))
        append(trees, streams_state(schema_));
    constexpr std::string_view library = "urn:ietf:params:xml:ns:yang:ietf-yang-library";
    if (filter.may_select(library, "yang-library") || filter.may_select(library, "modules-state"))
        append(trees, yang_library_state(schema_));
    return trees;
}

TreePtr Operations::reported(const Requester& requester, TreePtr data, const lyd_node* rpc, const Filter& filter) const
{
    const DefaultsMode mode = read_defaults(rpc);
    if (mode == DefaultsMode::report_all || mode == DefaultsMode::report_all_tagged) {
        data = with_implicit(schema_.module(), std::move(data));
        data = with_implicit(ly_ctx_get_module_implemented(schema_.context(), access_module), std::move(data));
    }
    // First what may be read: by what a filter selects it would tell of the rest.
    return filter.selected_of(access_.readable(requester.user, std::move(data)));
}

std::vector<HeldLock> Operations::held_locks() const
{
    std::vector<HeldLock> locks;
    for (const DatastoreName name : {DatastoreName::running, DatastoreName::candidate, DatastoreName::startup})
        if (const auto holder = datastores_.lock_holder(name))
            locks.push_back({name, *holder, locked_since_.at(static_cast<std::size_t>(name))});
    return locks;
}

Reply Operations::get(const Requester& requester, const lyd_node* rpc)
{
    const Filter filter(rpc);
    TreePtr data = in_turn([&] {
        TreePtr all = state(filter);
        if (filter.may_select(schema_.module()->ns, "ips-config"))
            append(all, configuration(DatastoreName::running));
        return all;
    });
    if (filter.may_select(access_namespace, "nacm"))
        append(data, access_.state(schema_));
    return with_data(reported(requester, std::move(data), rpc, filter), read_defaults(rpc));
}

// The access rules are the same in all datastores: nobody can change them here.
Reply Operations::get_config(const Requester& requester, const lyd_node* rpc)
{
    const DatastoreName source = read_datastore(rpc, "source");
    const Filter filter(rpc);
    TreePtr data = in_turn([&] { return configuration(source); });
    if (filter.may_select(access_namespace, "nacm"))
        append(data, access_.configuration());
    return with_data(reported(requester, std::move(data), rpc, filter), read_defaults(rpc));
}

Reply Operations::get_schema(const Requester&, const lyd_node* rpc)
{
    const std::string format = read_leaf(rpc, "format").value_or("ietf-netconf-monitoring:yang");
    if (format != "ietf-netconf-monitoring:yang")
        throw RpcError("invalid-value", fmt::format("{}/format", instance_path(rpc)), "schemas are given as YANG only");
    Reply reply;
    reply.data = ReplyData{
        .tree = nullptr,
        .text = schema_text(schema_, require_leaf(rpc, "identifier"), read_leaf(rpc, "version").value_or(""))};
    return reply;
}

// ------------------------------------------------------------------------------------------------------- edits --

// `nodes` gets what the edit changes, if anybody wants to be told.
EditWatch Operations::watch(const Requester& requester, std::vector<ChangedNode>& nodes) const
{
    ChangeCheck check = check_of(access_, requester.user);
    return {events_ ? events_->watched(std::move(check), nodes) : check, requester.is_killed};
}

Reply Operations::edited(const Requester& requester, DatastoreName target, const EditOutcome& outcome,
                         const std::vector<ChangedNode>& nodes) const
{
    if (events_)
        events_->tell(requester, target, outcome, nodes);
    if (log_ != nullptr)
        log_transaction(*log_, requester, outcome);
    return reply_of(outcome);
}

Reply Operations::edit_config(const Requester& requester, const lyd_node* rpc)
{
    const EditRequest request = read_edit_request(rpc);
    refuse_access_rules(request.edit);
    std::vector<ChangedNode> nodes;
    const EditOutcome outcome = datastores_.edit_config(requester.session, requester.user.name, request.target, request,
                                                        watch(requester, nodes));
    return edited(requester, request.target, outcome, nodes);
}

Reply Operations::copy_config(const Requester& requester, const lyd_node* rpc)
{
    if (read_defaults(rpc) != DefaultsMode::report_explicit)
        throw RpcError("operation-not-supported", fmt::format("{}/with-defaults", instance_path(rpc)),
                       "a datastore is copied as it is; with-defaults can only be \"explicit\" here");
    const DatastoreName target = read_datastore(rpc, "target");
    Datastores::Source source = read_source(rpc);
    if (const auto* tree = std::get_if<ConfigTree>(&source))
        refuse_access_rules(tree->first());
    // Running is kept as startup without regard to what it holds (RFC 8341, 3.2.4), and what is its own source is
    // refused.
    const auto* name = std::get_if<DatastoreName>(&source);
    const bool is_saved = name != nullptr && *name == DatastoreName::running && target == DatastoreName::startup;
    if (!is_saved && (name == nullptr || *name != target))
        source = readable_source(access_, requester.user, datastores_, std::move(source));
    std::vector<ChangedNode> nodes;
    const EditOutcome outcome = datastores_.copy_config(requester.session, requester.user.name, target,
                                                        std::move(source), watch(requester, nodes));
    return edited(requester, target, outcome, nodes);
}

Reply Operations::delete_config(const Requester& requester, const lyd_node* rpc)
{
    const DatastoreName target = read_datastore(rpc, "target");
    return edited(requester, target, datastores_.delete_config(requester.session, target), {});
}

Reply Operations::validate(const Requester& requester, const lyd_node* rpc)
{
    const Datastores::Source source = read_source(rpc);
    if (const auto* tree = std::get_if<ConfigTree>(&source))
        refuse_access_rules(tree->first());
    validate_for(access_, requester.user, datastores_, source);
    return {};
}

Reply Operations::commit(const Requester& requester, const lyd_node* rpc)
{
    std::vector<ChangedNode> nodes;
    const EditOutcome outcome =
        datastores_.commit(requester.session, requester.user.name, read_commit(rpc), watch(requester, nodes));
    return edited(requester, DatastoreName::running, outcome, nodes);
}

Reply Operations::cancel_commit(const Requester& requester, const lyd_node* rpc)
{
    return edited(requester, DatastoreName::running,
                  datastores_.cancel_commit(requester.session, requester.user.name, read_leaf(rpc, "persist-id")), {});
}

Reply Operations::discard_changes(const Requester& requester, const lyd_node*)
{
    datastores_.discard_changes(requester.session);
    return {};
}

// --------------------------------------------------------------------------------------------- locks, sessions --

Reply Operations::lock(const Requester& requester, const lyd_node* rpc)
{
    const DatastoreName target = read_datastore(rpc, "target");
    datastores_.lock(requester.session, target);
    locked_since_.at(static_cast<std::size_t>(target)) = std::time(nullptr);
    return {};
}

Reply Operations::unlock(const Requester& requester, const lyd_node* rpc)
{
    datastores_.unlock(requester.session, read_datastore(rpc, "target"));
    return {};
}

Reply Operations::kill_session(const Requester& requester, const lyd_node* rpc)
{
    const std::string text = require_leaf(rpc, "session-id");
    const std::string path = fmt::format("{}/session-id", instance_path(rpc));
    SessionId victim = 0; // a number, by its type
    std::from_chars(text.data(), text.data() + text.size(), victim);
    if (victim == requester.session)
        throw RpcError("invalid-value", path, "a session cannot kill itself");
    if (!actions_.kill)
        throw RpcError("operation-not-supported", {}, "sessions cannot be killed here");
    if (!actions_.kill({victim, requester.session}))
        throw RpcError("invalid-value", path, fmt::format("there is no session {}", victim));
    // What it was doing is taken back first (RFC 6241, 7.9), and its locks are free when the answer comes, however long
    // its transport takes to end.
    const std::lock_guard turn(mutex_);
    datastores_.close_session(victim);
    return {};
}

// ------------------------------------------------------------------------------------------------------- events --

void Operations::set_events(EventStream* events)
{
    events_ = events != nullptr ? std::make_unique<ChangeEvents>(schema_, *events) : nullptr;
}

bool Operations::may_receive(const Requester& requester, const lyd_node* notification) const
{
    return access_.may_receive(requester.user, notification->schema);
}

// NOLINTNEXTLINE(readability-make-member-function-const): one of the table
Reply Operations::create_subscription(const Requester& requester, const lyd_node* rpc)
{
    if (!actions_.subscribe)
        throw RpcError("operation-not-supported", {}, "nobody tells of events here");
    actions_.subscribe(requester.session, rpc);
    return {};
}

} // namespace qnips
