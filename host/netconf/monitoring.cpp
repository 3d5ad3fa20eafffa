#include "netconf/monitoring.h"

#include <cstdint>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"
#include "server/libyang_memory.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

constexpr const char* monitoring_module = "ietf-netconf-monitoring";

std::string date_and_time(std::time_t time)
{
    char* text = nullptr;
    if (ly_time_time2str(time, nullptr, &text) != LY_SUCCESS)
        throw RpcError("operation-failed", {}, "the time cannot be written");
    return TextPtr(text).get();
}

// A state tree that grows by one node a call.
class StateTree
{
public:
    StateTree(const ly_ctx* context, const char* module, const char* root)
    {
        lyd_node* node = nullptr;
        const lys_module* found = ly_ctx_get_module_implemented(context, module);
        if (found == nullptr || lyd_new_inner(nullptr, found, root, 0, &node) != LY_SUCCESS)
            throw RpcError("operation-failed", {}, fmt::format("the server has no YANG module {}", module));
        tree_.reset(node);
    }

    [[nodiscard]] lyd_node* root() const { return tree_.get(); }
    TreePtr release() { return std::move(tree_); }

    static lyd_node* inner(lyd_node* parent, const char* name)
    {
        lyd_node* node = nullptr;
        check(lyd_new_inner(parent, nullptr, name, 0, &node), parent, "extend");
        return node;
    }

    template <class... Key>
    static lyd_node* entry(lyd_node* parent, const char* name, const Key&... keys)
    {
        lyd_node* node = nullptr;
        check(lyd_new_list(parent, nullptr, name, 0, &node, keys.c_str()...), parent, "extend");
        return node;
    }

    static void leaf(lyd_node* parent, const char* name, const std::string& value)
    {
        check(lyd_new_term(parent, nullptr, name, value.c_str(), 0, nullptr), parent, "extend");
    }
    static void leaf(lyd_node* parent, const char* name, std::uint32_t value)
    {
        leaf(parent, name, std::to_string(value));
    }

private:
    TreePtr tree_;
};

// What get-schema can give: modules and their submodules.
struct Schema {
    std::string identifier;
    std::string version;
    const lys_module* module = nullptr;
    const lysp_submodule* submodule = nullptr; // null for the module itself
};

std::vector<Schema> schemas_of(const ly_ctx* context)
{
    std::vector<Schema> schemas;
    std::uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(context, &index)) {
        schemas.push_back({module->name, module->revision != nullptr ? module->revision : "", module});
        if (module->parsed == nullptr)
            continue;
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(module->parsed->includes, i)
        {
            const lysp_submodule* submodule = module->parsed->includes[i].submodule;
            schemas.push_back(
                {submodule->name, submodule->revs != nullptr ? submodule->revs[0].date : "", module, submodule});
        }
    }
    return schemas;
}

void add_datastores(lyd_node* root, const std::vector<HeldLock>& locks)
{
    lyd_node* list = StateTree::inner(root, "datastores");
    for (const DatastoreName name : {DatastoreName::running, DatastoreName::candidate, DatastoreName::startup}) {
        lyd_node* datastore = StateTree::entry(list, "datastore", std::string(datastore_word(name)));
        for (const HeldLock& lock : locks) {
            if (lock.datastore != name)
                continue;
            lyd_node* global = StateTree::inner(StateTree::inner(datastore, "locks"), "global-lock");
            StateTree::leaf(global, "locked-by-session", lock.session);
            StateTree::leaf(global, "locked-time", date_and_time(lock.since));
        }
    }
}

void add_counters(lyd_node* parent, const SessionCounters& counters)
{
    StateTree::leaf(parent, "in-rpcs", counters.in_rpcs);
    StateTree::leaf(parent, "in-bad-rpcs", counters.in_bad_rpcs);
    StateTree::leaf(parent, "out-rpc-errors", counters.out_rpc_errors);
    StateTree::leaf(parent, "out-notifications", counters.out_notifications);
}

void add_sessions(lyd_node* root, const SessionTable& sessions)
{
    lyd_node* list = StateTree::inner(root, "sessions");
    for (const SessionInfo& session : sessions.list()) {
        lyd_node* entry = StateTree::entry(list, "session", std::to_string(session.id));
        StateTree::leaf(entry, "transport", session.transport);
        StateTree::leaf(entry, "username", session.user);
        if (!session.host.empty())
            StateTree::leaf(entry, "source-host", session.host);
        StateTree::leaf(entry, "login-time", date_and_time(session.login));
        add_counters(entry, session.counters);
    }
}

void add_statistics(lyd_node* root, const ServerStatistics& statistics)
{
    lyd_node* node = StateTree::inner(root, "statistics");
    StateTree::leaf(node, "netconf-start-time", date_and_time(statistics.started));
    StateTree::leaf(node, "in-bad-hellos", statistics.in_bad_hellos);
    StateTree::leaf(node, "in-sessions", statistics.in_sessions);
    StateTree::leaf(node, "dropped-sessions", statistics.dropped_sessions);
    add_counters(node, statistics.counters);
}

} // namespace

TreePtr monitoring_state(const YangSchema& schema, const std::vector<std::string>& capabilities,
                         const std::vector<HeldLock>& locks, const SessionTable& sessions)
{
    StateTree tree(schema.context(), monitoring_module, "netconf-state");
    lyd_node* list = StateTree::inner(tree.root(), "capabilities");
    for (const std::string& capability : capabilities)
        StateTree::leaf(list, "capability", capability);
    add_datastores(tree.root(), locks);
    list = StateTree::inner(tree.root(), "schemas");
    for (const Schema& known : schemas_of(schema.context())) {
        lyd_node* entry = StateTree::entry(list, "schema", known.identifier, known.version, std::string("yang"));
        StateTree::leaf(entry, "namespace", std::string(known.module->ns));
        StateTree::leaf(entry, "location", std::string("NETCONF"));
    }
    add_sessions(tree.root(), sessions);
    add_statistics(tree.root(), sessions.statistics());
    return tree.release();
}

TreePtr yang_library_state(const YangSchema& schema)
{
    ly_ctx* context = schema.context();
    lyd_node* root = nullptr;
    // The same text as in the capability of the server's <hello>.
    if (ly_ctx_get_yanglib_data(context, &root, "%u", ly_ctx_get_change_count(context)) != LY_SUCCESS)
        throw RpcError("operation-failed", {}, "the YANG library cannot be told");
    TreePtr tree(root);
    for (const DatastoreName name : {DatastoreName::running, DatastoreName::candidate, DatastoreName::startup}) {
        const std::string path = fmt::format(
            "/ietf-yang-library:yang-library/datastore[name='ietf-datastores:{}']/schema", datastore_word(name));
        check(lyd_new_path(root, context, path.c_str(), "complete", 0, nullptr), root, "extend");
    }
    return tree;
}

std::string schema_text(const YangSchema& schema, const std::string& identifier, const std::string& version)
{
    const Schema* match = nullptr;
    const std::vector<Schema> schemas = schemas_of(schema.context());
    for (const Schema& known : schemas) {
        if (known.identifier != identifier || (!version.empty() && known.version != version))
            continue;
        if (match != nullptr)
            throw RpcError("operation-failed", {}, fmt::format("there are several versions of {}", identifier),
                           "data-not-unique");
        match = &known;
    }
    if (match == nullptr)
        throw RpcError(
            "invalid-value", {},
            fmt::format("there is no schema {}{}{}", identifier, version.empty() ? "" : " of version ", version));
    ly_out* raw = nullptr;
    char* text = nullptr;
    if (ly_out_new_memory(&text, 0, &raw) != LY_SUCCESS)
        throw std::bad_alloc();
    const LY_ERR result = match->submodule != nullptr ? lys_print_submodule(raw, match->submodule, LYS_OUT_YANG, 0, 0)
                                                      : lys_print_module(raw, match->module, LYS_OUT_YANG, 0, 0);
    ly_out_free(raw, nullptr, 0);
    const TextPtr owned(text);
    if (result != LY_SUCCESS || text == nullptr)
        throw RpcError("operation-failed", {}, fmt::format("the schema {} cannot be written", identifier));
    return text;
}

TreePtr streams_state(const YangSchema& schema)
{
    StateTree tree(schema.context(), "nc-notifications", "netconf");
    lyd_node* streams = StateTree::inner(tree.root(), "streams");
    lyd_node* stream = StateTree::entry(streams, "stream", std::string("NETCONF"));
    StateTree::leaf(stream, "description", "Changes of the configuration, sessions, and confirmed commits");
    StateTree::leaf(stream, "replaySupport", "false");
    return tree.release();
}

} // namespace qnips
