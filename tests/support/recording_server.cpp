// Calls with a recording server, and what it answers meanwhile.
#include "support/recording_server.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "support/captured_output.h"

namespace qnips::test
{

namespace
{

// The services have no argument that leads here.
RecordingServer* alive = nullptr; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

Text optional_text(const char* text)
{
    return text == nullptr ? std::nullopt : Text(text);
}

} // namespace

RecordingServer::RecordingServer() : context_(this)
{
    if (alive != nullptr)
        throw std::logic_error("there is one recording server at a time");
    alive = this;
}

RecordingServer::~RecordingServer()
{
    free_open_replies();
    alive = nullptr;
}

RecordingServer& RecordingServer::current()
{
    if (alive == nullptr) {
        std::fputs("a service of the server contract was called without a server\n", stderr);
        std::abort();
    }
    return *alive;
}

CallResult RecordingServer::call(Handler handler, int op, std::string_view xml, const std::string& xpath)
{
    return run(xml, xpath, [&](API_ENV_S* env) {
        env->node_oper = op;
        changed_op_ = op;
        return handler(op, env->node, env);
    });
}

CallResult RecordingServer::call(FlagHandler handler, int op, std::string_view xml, const std::string& xpath,
                                 int is_delete)
{
    return run(xml, xpath, [&](API_ENV_S* env) {
        env->node_oper = op;
        changed_op_ = op;
        return handler(op, env->node, env, is_delete);
    });
}

CallResult RecordingServer::enter(transapi_callback entry, int op, std::string_view xml, const std::string& xpath)
{
    CallResult made = run(xml, xpath, [&](const API_ENV_S* env) {
        changed_op_ = op;
        return entry(data(), static_cast<XMLDIFF_OP>(op), env->node, error_slot());
    });
    made.cmd_oper = -1;
    return made;
}

CallResult RecordingServer::run(std::string_view xml, const std::string& xpath, const WithEnvironment& body)
{
    const EditTree tree(xml);
    API_ENV_S env = enter_node(tree.find(xpath));
    changed_op_ = operation(changed_);

    CallResult made = finish([&] { return body(&env); });
    changed_ = nullptr;
    made.cmd_oper = env.cmd_oper;
    return made;
}

CallResult RecordingServer::call_at(xmlNode* node, int op, const WithEnvironment& body)
{
    API_ENV_S env = enter_node(node);
    env.node_oper = op;
    changed_op_ = op;
    start_record();
    const int result = body(&env);
    changed_ = nullptr;
    record_.result = result;
    record_.cmd_oper = env.cmd_oper;
    return std::exchange(record_, {});
}

API_ENV_S RecordingServer::enter_node(xmlNode* node)
{
    API_ENV_S env{};
    env.node = node;
    env.data = data();
    env.error = error_slot();
    env.module = API_MODULE_QN_IPS;
    env.cmd_oper = API_CMD_MOD;
    changed_ = node;
    return env;
}

CallResult RecordingServer::run(const std::function<int()>& body)
{
    return finish(body);
}

CallResult RecordingServer::finish(const std::function<int()>& body)
{
    start_record();
    int result = 0;
    std::string output = captured_output([&] { result = body(); });
    record_.result = result;
    record_.output = std::move(output);
    return std::exchange(record_, {});
}

void RecordingServer::start_record()
{
    record_ = {};
    committed_lines_ = 0;
}

// ----------------------------------------------------------------------------------------------------- services --

int RecordingServer::serve_message(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply,
                                   struct nc_err** error, const void* extra)
{
    if (reply == nullptr) {
        misuse("a message without a reply slot");
        return 1;
    }
    if (*reply != nullptr)
        misuse("a message with a used reply slot");
    if (header.msg_type == API_DP2ZELL_CMD_CONFIG) {
        if (error != error_slot())
            misuse("a commit with a foreign error slot");
        return commit(header, operation, reply, extra);
    }
    if (error != nullptr && error != error_slot())
        misuse("a query with a foreign error slot");
    return answer(header, operation, reply, extra, error != nullptr);
}

int RecordingServer::commit(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply,
                            const void* extra)
{
    if (extra != nullptr)
        misuse("a commit with a payload");
    const auto first = record_.lines.begin() + static_cast<std::ptrdiff_t>(committed_lines_);
    record_.commits.push_back({header, operation, Lines(first, record_.lines.end())});
    committed_lines_ = record_.lines.size();
    if (commit_reply)
        *reply = make_reply(*commit_reply);
    return commit_result;
}

int RecordingServer::answer(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply,
                            const void* extra, bool has_error_slot)
{
    Text payload;
    if (extra != nullptr)
        payload.emplace(static_cast<const char*>(extra), header.msg_check);
    record_.queries.push_back({header, operation, has_error_slot, std::move(payload)});
    if (answers.empty())
        return 1;
    const Answer next = answers.front();
    answers.pop_front();
    if (next.payload)
        *reply = make_reply(next);
    return next.result;
}

// From malloc, as the contract has it, and exact, so that a read behind the payload is one behind the block.
// NOLINTBEGIN(cppcoreguidelines-no-malloc, bugprone-not-null-terminated-result)
msg_to_dp_t* RecordingServer::make_reply(const Answer& answer)
{
    const std::string payload = answer.payload.value_or("");
    auto* reply = static_cast<msg_to_dp_t*>(std::calloc(1, sizeof(msg_to_dp_t) + payload.size()));
    if (reply == nullptr)
        throw std::bad_alloc();
    reply->msg_length = answer.length.value_or(static_cast<unsigned>(payload.size()));
    std::memcpy(reply->data, payload.data(), payload.size());
    open_replies_.insert(reply);
    ++allocated_replies_;
    return reply;
}
// NOLINTEND(cppcoreguidelines-no-malloc, bugprone-not-null-terminated-result)

unsigned RecordingServer::serve_line(const char* vsys, const char* view, const char* view_type, const char* line)
{
    if (view == nullptr || line == nullptr) {
        misuse("a line that is null or has no view");
        return 1;
    }
    record_.lines.push_back({optional_text(vsys), view, optional_text(view_type), line});
    return cache_result;
}

int RecordingServer::serve_error(struct nc_err** error, const char* message, const char* second, int kind, NC_ERR code)
{
    if (error != error_slot())
        misuse("an error for a foreign slot");
    record_.errors.push_back({code, optional_text(message), optional_text(second), kind});
    return fail_result;
}

int RecordingServer::serve_transform(int op) const
{
    return transform ? transform(op) : op;
}

void RecordingServer::check_context(void** data, const char* service)
{
    if (data != &context_ || changed_ == nullptr)
        misuse(std::string(service) + " with a foreign context");
}

int RecordingServer::serve_ancestor_op(void** data, int level)
{
    check_context(data, "an ancestor's operation");
    record_.ancestor_lookups.push_back(level);
    const xmlNode* element = ancestor(changed_, level);
    return element == nullptr ? XMLDIFF_NONE : operation(element);
}

int RecordingServer::serve_child_op(void** data, int level, const char* name)
{
    check_context(data, "a child's operation");
    const xmlNode* element = child(ancestor(changed_, level), name);
    if (element == nullptr)
        return XMLDIFF_ERR;
    return element == changed_ ? changed_op_ : operation(element);
}

const char* RecordingServer::serve_key(int level, const xmlNode* node, const char* name)
{
    if (node != changed_)
        misuse("a key of a foreign node");
    record_.key_lookups.push_back({level, name});
    const xmlNode* element = child(ancestor(node, level), name);
    return element == nullptr ? nullptr : leaf_text(element);
}

void RecordingServer::serve_release(void** slot, const char* file, unsigned long long line)
{
    if (slot == nullptr || open_replies_.erase(*slot) == 0) {
        misuse("a release of what is no open reply");
        return;
    }
    std::free(*slot); // NOLINT(cppcoreguidelines-no-malloc)
    *slot = nullptr;
    ++released_replies_;
    releases_.push_back({file == nullptr ? "" : file, line});
}

void RecordingServer::free_open_replies()
{
    for (void* reply : open_replies_)
        std::free(reply); // NOLINT(cppcoreguidelines-no-malloc)
    open_replies_.clear();
}

} // namespace qnips::test
